// Tables written as text: cells between bars, rows between ";;" and to a line
// each, lines that begin with "//" left out; one that begins with "+" goes on
// with the row before.
//
// In all texts {{80*ab}} stands for 80 times ab, {{80#a# = 1;}} for a0 = 1; to
// a79 = 1;, {{C3 B6}} for these bytes, and {{cut}} takes what follows away. In
// cells, ^J is a line feed, ^D the byte 4.
#pragma once

#include <array>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

// "\x01\x0A" as "01 0A".
inline std::string ToHex(std::string_view bytes) {
  std::string hex;
  for (const char byte : bytes)
    for (const int shift : {4, 0})
      hex += "0123456789ABCDEF"[static_cast<uint8_t>(byte) >> shift & 15];
  for (size_t i = 2; i < hex.size(); i += 3) hex.insert(i, " ");
  return hex;
}

// The other way round; white space is skipped, and remarks from "#" to the end
// of a line.
inline std::string FromHex(std::string_view hex) {
  std::string bytes, digits;
  for (size_t i = 0; i < hex.size(); i++) {
    if (hex[i] == '#') i = std::min(hex.find('\n', i), hex.size() - 1);
    if (isxdigit(static_cast<uint8_t>(hex[i])) != 0) digits += hex[i];
    if (digits.size() < 2) continue;
    bytes += static_cast<char>(strtol(digits.c_str(), nullptr, 16));
    digits.clear();
  }
  return bytes;
}

inline std::string Expanded(const std::string& text) {
  std::string result;
  size_t from = 0;
  for (;;) {
    const size_t open = text.find("{{", from);
    if (open == std::string::npos) return result + text.substr(from);
    const size_t close = text.find("}}", open);
    const std::string word = text.substr(open + 2, close - open - 2);
    result += text.substr(from, open - from);
    from = close + 2;
    if (word == "cut") return result;
    const size_t mark = word.find_first_of("*#");
    if (mark == std::string::npos) result += FromHex(word);
    const int times = mark == std::string::npos ? 0 : std::stoi(word);
    for (int i = 0; i < times; i++)
      for (const char c : word.substr(mark + 1))
        result += c == '#' && word[mark] == '#' ? std::to_string(i)
                                                : std::string(1, c);
  }
}

inline std::string Cell(const std::string& text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  std::string cell = text.substr(first, text.find_last_not_of(' ') + 1 - first);
  for (size_t i = 0; i + 1 < cell.size(); i++)
    if (cell[i] == '^' && cell[i + 1] >= '@' && cell[i + 1] <= '_')
      cell.replace(i, 2, 1, static_cast<char>(cell[i + 1] - '@'));
  return Expanded(cell);
}

// Cells that a row does not have are empty.
template <size_t CELLS>
std::vector<std::array<std::string, CELLS>> Rows(const char* table) {
  std::vector<std::string> lines;
  std::istringstream text(table);
  for (std::string line; std::getline(text >> std::ws, line);)
    if (line[0] == '+')
      lines.back() += line.substr(1);
    else if (!line.starts_with("//"))
      for (size_t end = 0; end != line.npos; line.erase(0, end + 2))
        lines.push_back(line.substr(0, end = line.find(";;")));
  std::vector<std::array<std::string, CELLS>> rows;
  for (const std::string& line : lines) {
    std::istringstream cells(line);
    auto& row = rows.emplace_back();
    for (std::string& cell : row) {
      std::string part;
      std::getline(cells, part, '|');
      cell = Cell(part);
    }
  }
  return rows;
}
