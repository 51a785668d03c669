#include "Cutil/ut_cstring.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_view_literals;

constexpr uint16_t UTF8 = CODE_PAGE_UTF8, LE = CODE_PAGE_UTF16_LE,
                   BE = CODE_PAGE_UTF16_BE, LATIN1 = CODE_PAGE_LATIN1,
                   WINDOWS = 1252;

// A text written in UTF-8, stored in a code page.
UtCString Text(std::string_view utf8, uint16_t stored = UTF8) {
  UtCString text;
  EXPECT_EQ(RC_OK, text.assign(utf8, UTF8, stored));
  return text;
}

struct ConversionCase {
  uint16_t from;
  std::string_view bytes;
  uint16_t to;
  std::string_view converted;
  uint32_t length;
};
constexpr ConversionCase CONVERSIONS[] = {
    {UTF8, "K\xC3\xB6ln", WINDOWS, "K\xF6ln", 4},
    {UTF8, "\xE2\x82\xAC", LE, "\xAC\x20\0\0"sv, 1},
    {WINDOWS, "\x80", BE, "\x20\xAC\0\0"sv, 1},
    // Outside the 16-bit range: two units, one character.
    {UTF8, "\xF0\x9F\x98\x80z", LE, "\x3D\xD8\x00\xDEz\0\0\0"sv, 2},
    // What the target cannot hold, and what is no character at all.
    {UTF8, "a\xE2\x82\xAC\x62", LATIN1, "a?b", 3},
    {LE, "\x3D\xD8\x00\xDEz\0"sv, LATIN1, "?z", 2},
    {UTF8, "a\xFF\x62", BE, "\0a\0?\0b\0\0"sv, 3},
};

TEST(UtCString, Converts) {
  UtCString text;
  for (const ConversionCase& row : CONVERSIONS) {
    ASSERT_EQ(RC_OK, text.assign(row.bytes, row.from, row.to));
    EXPECT_EQ(row.converted,
              std::string_view(text.buffer(), row.converted.size()))
        << row.bytes << " to " << row.to;
    EXPECT_EQ(row.length, text.length()) << row.bytes << " to " << row.to;
  }
}

TEST(UtCString, Replaces) {
  // The text, what is replaced in it and by what, and what comes out. As UTF-16
  // the bytes of U+6100 U+0061 hold those of "a" at odd places.
  constexpr const char* REPLACEMENTS[][4] = {
      {"aaaaa", "aa", "b", "bba"},
      {"a", "a", "aa", "aa"},
      {"\xE6\x84\x80\x61", "\xE6\x84\x80", "-", "-a"},
      {"\xE6\x85\xA1", "\xE6\x84\x80", "-", "\xE6\x85\xA1"}};
  for (const uint16_t page : {UTF8, LE, BE}) {
    for (const auto& [source, old_text, new_text, replaced] : REPLACEMENTS) {
      UtCString text = Text(source, page);
      ASSERT_EQ(RC_OK, text.replace(Text(old_text), Text(new_text)));
      EXPECT_EQ(0, text.compare(Text(replaced))) << source;
    }
    EXPECT_NE(0, Text("\xC3\xB6").compare(Text("\xC3\x96", page)));
  }
}

}  // namespace
