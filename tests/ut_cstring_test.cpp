#include "Cutil/ut_cstring.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_view_literals;

constexpr uint16_t UTF8 = CODE_PAGE_UTF8, LE = CODE_PAGE_UTF16_LE,
                   BE = CODE_PAGE_UTF16_BE, LATIN1 = CODE_PAGE_LATIN1,
                   WINDOWS = 1252, UNKNOWN = 4711;

// A text written in UTF-8, stored in a code page.
UtCString Text(std::string_view utf8, uint16_t stored = UTF8) {
  UtCString text;
  EXPECT_EQ(RC_OK, text.assign(utf8, UTF8, stored));
  return text;
}

std::string Utf8(const UtCString& text) {
  UtCString utf8;
  EXPECT_EQ(RC_OK, text.convert(UTF8, &utf8));
  return utf8.buffer();
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
    {LATIN1, "K\xF6ln", UTF8, "K\xC3\xB6ln", 4},
    {UTF8, "\xE2\x82\xAC", LE, "\xAC\x20\0\0"sv, 1},
    {WINDOWS, "\x80", BE, "\x20\xAC\0\0"sv, 1},
    {UTF8, "", LE, "\0\0"sv, 0},
    // Outside the 16-bit range: two units, one character.
    {UTF8, "\xF0\x9F\x98\x80z", LE, "\x3D\xD8\x00\xDEz\0\0\0"sv, 2},
    // What the target cannot hold, and what is no character at all.
    {UTF8, "a\xE2\x82\xAC\x62", LATIN1, "a?b", 3},
    {LE, "\x3D\xD8\x00\xDEz\0"sv, LATIN1, "?z", 2},
    {UTF8, "a\xFF\x62", BE, "\0a\0?\0b\0\0"sv, 3},
    {UTF8, "abc", UNKNOWN, "", 0},
};

TEST(UtCString, Converts) {
  UtCString text;
  for (const ConversionCase& row : CONVERSIONS) {
    ASSERT_EQ(RC_OK, text.assign(row.bytes, row.from, row.to));
    EXPECT_EQ(row.converted,
              std::string_view(text.buffer(), row.converted.size()))
        << row.bytes << " to " << row.to;
    EXPECT_EQ(row.length, text.length()) << row.bytes << " to " << row.to;
    EXPECT_EQ(row.to, text.code_page());
  }
  ASSERT_EQ(RC_OK, text.assign(u"K\u00F6ln", UTF8));
  EXPECT_STREQ("K\xC3\xB6ln", text.buffer());
  ASSERT_EQ(RC_OK, text.assign("abc", CODE_PAGE_DEFAULT, CODE_PAGE_DEFAULT));
  EXPECT_EQ(UtDefaultCodePage(), text.code_page());
  const char* no_text = nullptr;
  EXPECT_NE(0, text.compare(no_text));
  ASSERT_EQ(RC_OK, text.assign(no_text, UTF8, LE));
  EXPECT_EQ(0, text.compare(""));
}

struct SubstringCase {
  const char* text;
  uint16_t code_page;
  int64_t start, count;
  const char* part;
};
constexpr SubstringCase SUBSTRINGS[] = {
    {"abcdef", UTF8, 0, 100, "abcdef"},
    {"abcdef", UTF8, -2, 5, "ef"},
    {"abcdef", UTF8, -7, 1, ""},
    {"abcdef", UTF8, 6, 1, ""},
    {"abcdef", UTF8, 1, -1, "bcdef"},
    {"abcdef", UTF8, 2, INT64_MAX, "cdef"},
    {"K\xC3\xB6ln", UTF8, -3, 2, "\xC3\xB6l"},
    {"\xF0\x9F\x98\x80z", BE, 2, 1, "z"},  // the pair counts as two
    {"\xF0\x9F\x98\x80z", UTF8, 1, 1, "z"},
};

TEST(UtCString, Substring) {
  for (const auto& [text, code_page, start, count, expected] : SUBSTRINGS) {
    UtCString part;
    EXPECT_EQ(RC_OK, Text(text, code_page).substring(start, count, &part));
    EXPECT_EQ(expected, Utf8(part)) << text << " " << start;
    EXPECT_EQ(code_page, part.code_page());
  }
}

TEST(UtCString, ReplacesAndAppends) {
  // The text, what is replaced in it and by what, and what comes out. As UTF-16
  // the bytes of U+6100 U+0061 hold those of "a" at odd places.
  constexpr const char* REPLACEMENTS[][4] = {
      {"aaaaa", "aa", "b", "bba"},
      {"abc", "", "x", "abc"},
      {"a", "a", "aa", "aa"},
      {"\xE6\x84\x80\x61", "\xE6\x84\x80", "-", "-a"},
      {"\xE6\x85\xA1", "\xE6\x84\x80", "-", "\xE6\x85\xA1"}};
  for (const uint16_t page : {UTF8, LE, BE}) {
    for (const auto& [source, old_text, new_text, replaced] : REPLACEMENTS) {
      UtCString text = Text(source, page);
      ASSERT_EQ(RC_OK, text.replace(Text(old_text), Text(new_text)));
      EXPECT_EQ(replaced, Utf8(text)) << source;
    }
    const UtCString tail = Text(std::string(100, 't'));
    UtCString text = Text("a", page), both;
    ASSERT_EQ(RC_OK, text.append(Text("\xC3\xB6", LATIN1)));
    UtFailAllocation(1);
    EXPECT_EQ(RC_NO_MEMORY, text.append(tail));
    UtFailAllocation(0);
    ASSERT_EQ(RC_OK, text.append(text));
    ASSERT_EQ(RC_OK, text.concatenate(Text("."), &both));
    EXPECT_EQ("a\xC3\xB6\x61\xC3\xB6.", Utf8(both));
    EXPECT_EQ(page, both.code_page());
  }
}

// What holds: = equal, s and S starts with and without case, e and E ends.
constexpr const char* COMPARISONS[][3] = {
    {"abc", "abc", "=sSeE"},
    {"abc", "ab", "sS"},
    {"abc", "BC", "E"},
    {"\xC3\xB6l", "\xC3\x96L", "SE"},
    {"abc", "", "sSeE"},
    {"\xC3\x97", "\xC3\xB7", ""}};  // the signs for times and by

TEST(UtCString, ComparesAcrossCodePages) {
  for (const uint16_t page : {UTF8, LE, BE, LATIN1})
    for (const auto& [one_text, other_text, expected] : COMPARISONS) {
      const UtCString one = Text(one_text), other = Text(other_text, page);
      std::string held = one.compare(other) == 0 ? "=" : "";
      if (one.starts_with(other, true)) held += 's';
      if (one.starts_with(other, false)) held += 'S';
      if (one.ends_with(other, true)) held += 'e';
      if (one.ends_with(other, false)) held += 'E';
      EXPECT_EQ(expected, held) << one_text << " and " << other_text;
    }
  EXPECT_EQ(0, Text("\xEF\xBB\xBF\x61").compare(Text("a", LE)));
  EXPECT_NE(0, Text("\xEF\xBB\xBF\x61").compare(Text("a")));
}

}  // namespace
