// The width of a character comes from two tables of ranges: that of the C
// library depends on the locale of the process, which is not ours to set.
#include "tools/findings/columns.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace {

struct Range {
  uint32_t first, last;
};

// Characters that take two columns, and those that take none.
// clang-format off
constexpr Range WIDE[] = {
    {0x1100, 0x115F}, {0x231A, 0x231B}, {0x2329, 0x232A}, {0x23E9, 0x23EC},
    {0x23F0, 0x23F0}, {0x23F3, 0x23F3}, {0x25FD, 0x25FE}, {0x2614, 0x2615},
    {0x2648, 0x2653}, {0x267F, 0x267F}, {0x2693, 0x2693}, {0x26A1, 0x26A1},
    {0x26AA, 0x26AB}, {0x26BD, 0x26BE}, {0x26C4, 0x26C5}, {0x26CE, 0x26CE},
    {0x26D4, 0x26D4}, {0x26EA, 0x26EA}, {0x26F2, 0x26F3}, {0x26F5, 0x26F5},
    {0x26FA, 0x26FA}, {0x26FD, 0x26FD}, {0x2705, 0x2705}, {0x270A, 0x270B},
    {0x2728, 0x2728}, {0x274C, 0x274C}, {0x274E, 0x274E}, {0x2753, 0x2755},
    {0x2757, 0x2757}, {0x2795, 0x2797}, {0x27B0, 0x27B0}, {0x27BF, 0x27BF},
    {0x2B1B, 0x2B1C}, {0x2B50, 0x2B50}, {0x2B55, 0x2B55}, {0x2E80, 0x303E},
    {0x3041, 0x3247}, {0x3250, 0x4DBF}, {0x4E00, 0xA4C6}, {0xA960, 0xA97C},
    {0xAC00, 0xD7A3}, {0xF900, 0xFAD9}, {0xFE10, 0xFE19}, {0xFE30, 0xFE6B},
    {0xFF01, 0xFF60}, {0xFFE0, 0xFFE6}, {0x16FE0, 0x1B2FB}, {0x1F004, 0x1F004},
    {0x1F0CF, 0x1F0CF}, {0x1F18E, 0x1F18E}, {0x1F191, 0x1F19A},
    {0x1F200, 0x1F320}, {0x1F32D, 0x1F335}, {0x1F337, 0x1F37C},
    {0x1F37E, 0x1F393}, {0x1F3A0, 0x1F3CA}, {0x1F3CF, 0x1F3D3},
    {0x1F3E0, 0x1F3F0}, {0x1F3F4, 0x1F3F4}, {0x1F3F8, 0x1F43E},
    {0x1F440, 0x1F440}, {0x1F442, 0x1F4FC}, {0x1F4FF, 0x1F53D},
    {0x1F54B, 0x1F54E}, {0x1F550, 0x1F567}, {0x1F57A, 0x1F57A},
    {0x1F595, 0x1F596}, {0x1F5A4, 0x1F5A4}, {0x1F5FB, 0x1F64F},
    {0x1F680, 0x1F6C5}, {0x1F6CC, 0x1F6CC}, {0x1F6D0, 0x1F6D2},
    {0x1F6D5, 0x1F6DF}, {0x1F6EB, 0x1F6EC}, {0x1F6F4, 0x1F6FC},
    {0x1F7E0, 0x1F7F0}, {0x1F90C, 0x1F93A}, {0x1F93C, 0x1F945},
    {0x1F947, 0x1F9FF}, {0x1FA70, 0x1FAF6}, {0x20000, 0x3FFFD},
};
constexpr Range ZERO[] = {
    {0x300, 0x36F}, {0x483, 0x489}, {0x591, 0x5BD}, {0x5BF, 0x5BF},
    {0x5C1, 0x5C2}, {0x5C4, 0x5C5}, {0x5C7, 0x5C7}, {0x600, 0x605},
    {0x610, 0x61A}, {0x61C, 0x61C}, {0x64B, 0x65F}, {0x670, 0x670},
    {0x6D6, 0x6DD}, {0x6DF, 0x6E4}, {0x6E7, 0x6E8}, {0x6EA, 0x6ED},
    {0xE31, 0xE31}, {0xE34, 0xE3A}, {0xE47, 0xE4E}, {0x1AB0, 0x1B03},
    {0x1DC0, 0x1DFF}, {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x206F},
    {0x20D0, 0x20F0}, {0x2CEF, 0x2CF1}, {0x2D7F, 0x2D7F}, {0x2DE0, 0x2DFF},
    {0x302A, 0x302D}, {0x3099, 0x309A}, {0xA66F, 0xA672}, {0xA674, 0xA67D},
    {0xA69E, 0xA69F}, {0xA6F0, 0xA6F1}, {0xA802, 0xA802}, {0xA806, 0xA806},
    {0xA80B, 0xA80B}, {0xA825, 0xA826}, {0xA82C, 0xA82C}, {0xA8C4, 0xA8C5},
    {0xA8E0, 0xA8F1}, {0xA8FF, 0xA8FF}, {0xA926, 0xA92D}, {0xA947, 0xA951},
    {0xA980, 0xA982}, {0xA9B3, 0xA9B3}, {0xA9B6, 0xA9B9}, {0xA9BC, 0xA9BD},
    {0xA9E5, 0xA9E5}, {0xAA29, 0xAA2E}, {0xAA31, 0xAA32}, {0xAA35, 0xAA36},
    {0xAA43, 0xAA43}, {0xAA4C, 0xAA4C}, {0xAA7C, 0xAA7C}, {0xAAB0, 0xAAB0},
    {0xAAB2, 0xAAB4}, {0xAAB7, 0xAAB8}, {0xAABE, 0xAABF}, {0xAAC1, 0xAAC1},
    {0xAAEC, 0xAAED}, {0xAAF6, 0xAAF6}, {0xABE5, 0xABE5}, {0xABE8, 0xABE8},
    {0xABED, 0xABED}, {0xFB1E, 0xFB1E}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F},
    {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0001, 0xE01EF},
};
// clang-format on

template <size_t N>
bool Holds(const Range (&ranges)[N], uint32_t character) {
  const Range* range =
      std::ranges::upper_bound(ranges, character, {}, &Range::first);
  return range != ranges && character <= std::prev(range)->last;
}

size_t Width(uint32_t character) {
  if (Holds(ZERO, character)) return 0;
  return Holds(WIDE, character) ? 2 : 1;
}

// Takes the character at the front of the text; false when it is malformed.
bool TakeUtf8(std::string_view* text, uint32_t* character) {
  const auto first = static_cast<uint8_t>(text->front());
  const size_t more = first < 0x80   ? 0
                      : first < 0xC2 ? 9
                      : first < 0xE0 ? 1
                      : first < 0xF0 ? 2
                      : first < 0xF5 ? 3
                                     : 9;
  if (more >= text->size()) return false;
  uint32_t value = more == 0 ? first : first & (0x3Fu >> more);
  for (size_t i = 1; i <= more; i++) {
    const auto next = static_cast<uint8_t>((*text)[i]);
    if ((next & 0xC0) != 0x80) return false;
    value = value << 6 | (next & 0x3F);
  }
  if ((more == 2 && value < 0x800) || (more == 3 && value < 0x10000) ||
      (value >= 0xD800 && value < 0xE000) || value > 0x10FFFF)
    return false;
  *character = value;
  text->remove_prefix(more + 1);
  return true;
}

void AppendUtf8(std::string* out, uint32_t character) {
  const auto byte = [&](uint32_t value) {
    out->push_back(static_cast<char>(value));
  };
  if (character < 0x80) return byte(character);
  if (character < 0x800) {
    byte(0xC0 | character >> 6);
  } else if (character < 0x10000) {
    byte(0xE0 | character >> 12);
    byte(0x80 | (character >> 6 & 0x3F));
  } else {
    byte(0xF0 | character >> 18);
    byte(0x80 | (character >> 12 & 0x3F));
    byte(0x80 | (character >> 6 & 0x3F));
  }
  byte(0x80 | (character & 0x3F));
}

std::vector<uint32_t> Characters(std::string_view text) {
  std::vector<uint32_t> characters;
  std::string_view rest = text;
  uint32_t character = 0;
  while (!rest.empty() && TakeUtf8(&rest, &character))
    characters.push_back(character);
  if (rest.empty()) return characters;
  characters.clear();
  for (const char byte : text) characters.push_back(static_cast<uint8_t>(byte));
  return characters;
}

bool IsControl(uint32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0) ||
         (character >= 0x202A && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

constexpr uint32_t REPLACEMENT = 0xFFFD;
// Of a longer line as many characters in front of the marks and behind are
// shown.
constexpr uint32_t SHOWN_WHOLE = 200;
constexpr uint32_t SHOWN_AROUND = 60;

}  // namespace

bool ToolIsUtf8(std::string_view text) {
  uint32_t character;
  while (!text.empty())
    if (!TakeUtf8(&text, &character)) return false;
  return true;
}

uint32_t ToolColumn(std::string_view line, size_t offset) {
  const std::string_view before = line.substr(0, offset);
  size_t count = offset;
  if (ToolIsUtf8(line)) {
    count -= before.size();
    for (const char c : before)
      count += (static_cast<uint8_t>(c) & 0xC0) != 0x80;
    // In the middle of a character.
    if (offset < line.size() &&
        (static_cast<uint8_t>(line[offset]) & 0xC0) == 0x80)
      count--;
  }
  return static_cast<uint32_t>(count) + 1;
}

std::string ToolUtf8(std::string_view text) {
  if (ToolIsUtf8(text)) return std::string(text);
  std::string out;
  for (const char byte : text) AppendUtf8(&out, static_cast<uint8_t>(byte));
  return out;
}

ToolMarkedLine ToolMark(std::string_view line, uint32_t begin, uint32_t end) {
  const std::vector<uint32_t> characters = Characters(line);
  const auto count = static_cast<uint32_t>(characters.size());
  begin = std::max(begin, 1u);
  end = std::max(end, begin + 1);
  uint32_t from = 1, to = count + 1;
  ToolMarkedLine marked;
  if (count > SHOWN_WHOLE) {
    from = begin > SHOWN_AROUND ? begin - SHOWN_AROUND : 1;
    from = std::min(from, count);
    to = std::min(count + 1, std::max(from, begin) + 2 * SHOWN_AROUND);
    end = std::min(end, std::max(to, begin + 1));
    if (from > 1) marked.line = marked.marks = "...";
    if (from > 1) marked.marks = "   ";
  }
  bool first = true;
  for (uint32_t column = from; column < std::max(to, end); column++) {
    uint32_t character = column <= count ? characters[column - 1] : ' ';
    const bool tab = character == '\t';
    if (!tab && IsControl(character)) character = REPLACEMENT;
    if (column <= count) AppendUtf8(&marked.line, character);
    if (column >= end) continue;
    // The marks go on behind a tab among them where the text does.
    if (column < begin || (tab && !first)) {
      marked.marks.append(tab ? 1 : Width(character), tab ? '\t' : ' ');
      continue;
    }
    const size_t width =
        first ? std::max<size_t>(1, Width(character)) : Width(character);
    for (size_t i = 0; i < width; i++, first = false)
      marked.marks.push_back(first ? '^' : '~');
  }
  if (to <= count) marked.line += "...";
  return marked;
}
