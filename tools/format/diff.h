// Differences between two texts, line by line.
#ifndef TOOLS_FORMAT_DIFF_H
#define TOOLS_FORMAT_DIFF_H

#include <string>
#include <string_view>

// The unified form, with three lines of context; empty for equal texts.
[[nodiscard]] std::string UnifiedDiff(std::string_view name,
                                      std::string_view before,
                                      std::string_view after);

#endif
