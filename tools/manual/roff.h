// Text for manual pages, in the mdoc language.
//
// Its checker wants a new line for each sentence and lines of less than 80
// characters; nothing in a text may be taken for a macro or an escape.
#pragma once

#include <string>
#include <string_view>

// Characters as they are, in running text and in examples.
std::string RoffEscape(std::string_view text);

// A word that is one argument of a macro.
std::string RoffArgument(std::string_view text);

// Text that is escaped already, in lines.
std::string RoffFill(std::string_view escaped);

// One paragraph of plain text, in lines.
std::string RoffText(std::string_view text);
