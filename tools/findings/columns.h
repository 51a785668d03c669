// Lines as people see them: characters, and the columns of a terminal.
//
// A line that is well-formed UTF-8 has its characters. In any other line, which
// an older code page wrote, each byte is one; where text has to leave as UTF-8,
// such bytes stand for the characters of ISO 8859-1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

bool ToolIsUtf8(std::string_view text);

// The column, counted from 1, of the character that byte `offset` belongs to.
// Behind the text columns go on.
uint32_t ToolColumn(std::string_view line, size_t offset);

// The text in UTF-8.
std::string ToolUtf8(std::string_view text);

// A line as a terminal shows it, with the marks below the columns from `begin`
// to `end`; one mark at least. Tabs stay tabs in both, so that they line up
// whatever their width. Control characters, which could be commands for the
// terminal, become U+FFFD. Of a long line what is round the marks is shown.
struct ToolMarkedLine {
  std::string line;
  std::string marks;  // "    ^~~~"
};
ToolMarkedLine ToolMark(std::string_view line, uint32_t begin, uint32_t end);
