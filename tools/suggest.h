// The name that somebody meant: the nearest of a list, counted in letters that
// were changed, left out, added, or exchanged with their neighbour.
#ifndef TOOLS_SUGGEST_H
#define TOOLS_SUGGEST_H

#include <string>
#include <string_view>
#include <vector>

// The number of such changes between a and b, upper and lower case taken for
// the same. Takes time in proportion to the product of their lengths.
size_t ToolDistance(std::string_view a, std::string_view b);

// The one name of names that is nearer to word than a third of its letters (one
// change at least is allowed); empty when there is none, or more than one at
// the same distance.
std::string ToolNearest(std::string_view word,
                        const std::vector<std::string>& names);

#endif
