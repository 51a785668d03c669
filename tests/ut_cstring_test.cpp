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
    {UTF8, "abc", UTF8, "abc", 3},
    {UTF8, "K\xC3\xB6ln", UTF8, "K\xC3\xB6ln", 4},
    {UTF8, "K\xC3\xB6ln", WINDOWS, "K\xF6ln", 4},
    {LATIN1, "K\xF6ln", UTF8, "K\xC3\xB6ln", 4},
    {UTF8, "\xE2\x82\xAC", LE, "\xAC\x20\0\0"sv, 1},
    {UTF8, "\xE2\x82\xAC", BE, "\x20\xAC\0\0"sv, 1},
    {WINDOWS, "\x80", BE, "\x20\xAC\0\0"sv, 1},
    {UTF8, "", LE, "\0\0"sv, 0},
    // Outside the 16-bit range: two units, one character.
    {UTF8, "\xF0\x9F\x98\x80z", LE, "\x3D\xD8\x00\xDEz\0\0\0"sv, 2},
    // What the target cannot hold, and what is no character at all.
    {UTF8, "a\xE2\x82\xAC\x62", LATIN1, "a?b", 3},
    {LE, "\x3D\xD8\x00\xDEz\0"sv, LATIN1, "?z", 2},
    {UTF8, "a\xFF\x62", BE, "\0a\0?\0b\0\0"sv, 3},
    {UTF8, "a\xC3", LATIN1, "a?", 2},
    {UTF8, "abc", UNKNOWN, "", 0},
};

TEST(UtCString, Converts) {
  for (const ConversionCase& row : CONVERSIONS) {
    UtCString text;
    ASSERT_EQ(RC_OK, text.assign(row.bytes, row.from, row.to));
    EXPECT_EQ(row.converted,
              std::string_view(text.buffer(), row.converted.size()))
        << row.bytes << " to " << row.to;
    EXPECT_EQ(row.length, text.length()) << row.bytes << " to " << row.to;
    EXPECT_EQ(row.to, text.code_page());
  }
}

TEST(UtCString, TakesUtf16AndTheDefaultCodePage) {
  UtCString text;
  ASSERT_EQ(RC_OK, text.assign(u"K\u00F6ln", UTF8));
  EXPECT_STREQ("K\xC3\xB6ln", text.buffer());
  ASSERT_EQ(RC_OK, text.assign("abc", CODE_PAGE_DEFAULT, CODE_PAGE_DEFAULT));
  EXPECT_EQ(UtDefaultCodePage(), text.code_page());
  EXPECT_EQ(0, text.compare("abc"));
  EXPECT_NE(0, text.compare("abd"));
  const char* no_text = nullptr;
  EXPECT_NE(0, text.compare(no_text));
  ASSERT_EQ(RC_OK, text.assign(no_text, UTF8, LE));
  EXPECT_NE(0, text.compare(no_text));
  EXPECT_EQ(0, text.compare(""));
}

struct SubstringCase {
  const char* text;
  uint16_t code_page;
  int64_t start, count;
  const char* part;
};

constexpr SubstringCase SUBSTRINGS[] = {
    {"abcdef", UTF8, 0, 6, "abcdef"},
    {"abcdef", UTF8, 0, 100, "abcdef"},
    {"abcdef", UTF8, 0, 2, "ab"},
    {"abcdef", UTF8, -2, 5, "ef"},
    {"abcdef", UTF8, -6, 1, "a"},
    {"abcdef", UTF8, -7, 1, ""},
    {"abcdef", UTF8, 6, 1, ""},
    {"abcdef", UTF8, 1, 0, ""},
    {"abcdef", UTF8, 1, -1, "bcdef"},
    {"abcdef", UTF8, 2, INT64_MAX, "cdef"},
    {"abcdef", UTF8, INT64_MIN, 1, ""},
    {"K\xC3\xB6ln", UTF8, 1, 2, "\xC3\xB6l"},
    {"K\xC3\xB6ln", UTF8, -3, 1, "\xC3\xB6"},
    {"K\xC3\xB6ln", LATIN1, 1, 2, "\xC3\xB6l"},
    {"K\xC3\xB6ln", LE, 1, 2, "\xC3\xB6l"},
    {"\xF0\x9F\x98\x80z", BE, 2, 1, "z"},  // the pair counts as two
    {"\xF0\x9F\x98\x80z", UTF8, 1, 1, "z"},
    {"", UTF8, 0, 0, ""},
};

TEST(UtCString, Substring) {
  for (const SubstringCase& row : SUBSTRINGS) {
    UtCString part;
    ASSERT_EQ(
        RC_OK,
        Text(row.text, row.code_page).substring(row.start, row.count, &part));
    EXPECT_EQ(row.part, Utf8(part)) << row.text << " " << row.start;
    EXPECT_EQ(row.code_page, part.code_page());
  }
}

struct ReplaceCase {
  const char *text, *old_text, *new_text, *replaced;
};

constexpr ReplaceCase REPLACEMENTS[] = {
    {"a/b/c", "/", "\\", "a\\b\\c"},
    {"aaaaa", "aa", "b", "bba"},
    {"abc", "", "x", "abc"},
    {"abc", "abc", "", ""},
    {"abc", "d", "x", "abc"},
    {"a", "a", "aa", "aa"},
    // As UTF-16 the bytes of U+6100 U+0061 hold those of "a" at odd places.
    {"\xE6\x84\x80\x61", "\xE6\x84\x80", "-", "-a"},
    {"\xE6\x85\xA1", "\xE6\x84\x80", "-", "\xE6\x85\xA1"},
};

TEST(UtCString, ReplacesAndAppends) {
  for (const uint16_t page : {UTF8, LE, BE}) {
    for (const ReplaceCase& row : REPLACEMENTS) {
      UtCString text = Text(row.text, page);
      ASSERT_EQ(RC_OK, text.replace(Text(row.old_text), Text(row.new_text)));
      EXPECT_EQ(row.replaced, Utf8(text)) << row.text;
    }
    UtCString text = Text("a", page), both;
    ASSERT_EQ(RC_OK, text.append(Text("\xC3\xB6", LATIN1)));
    ASSERT_EQ(RC_OK, text.append(text));
    ASSERT_EQ(RC_OK, text.concatenate(Text("."), &both));
    EXPECT_EQ("a\xC3\xB6\x61\xC3\xB6.", Utf8(both));
    EXPECT_EQ(page, both.code_page());
  }
}

struct CompareCase {
  const char *one, *other;
  bool equal, starts, starts_without_case, ends, ends_without_case;
};

constexpr CompareCase COMPARISONS[] = {
    {"abc", "abc", true, true, true, true, true},
    {"abc", "ab", false, true, true, false, false},
    {"abc", "bc", false, false, false, true, true},
    {"abc", "BC", false, false, false, false, true},
    {"abc", "", false, true, true, true, true},
    {"", "a", false, false, false, false, false},
    {"\xC3\xB6l", "\xC3\x96L", false, false, true, false, true},
    {"\xC3\x97", "\xC3\xB7", false, false, false, false, false},  // x and :
};

TEST(UtCString, ComparesAcrossCodePages) {
  for (const uint16_t page : {UTF8, LE, BE, LATIN1}) {
    for (const CompareCase& row : COMPARISONS) {
      const UtCString one = Text(row.one), other = Text(row.other, page);
      EXPECT_EQ(row.equal, one.compare(other) == 0) << row.other << page;
      EXPECT_EQ(row.starts, one.starts_with(other, true)) << row.other;
      EXPECT_EQ(row.starts_without_case, one.starts_with(other, false));
      EXPECT_EQ(row.ends, one.ends_with(other, true)) << row.other;
      EXPECT_EQ(row.ends_without_case, one.ends_with(other, false));
    }
  }
  EXPECT_EQ(0, Text("\xEF\xBB\xBF\x61").compare(Text("a", LE)));
  EXPECT_NE(0, Text("\xEF\xBB\xBF\x61").compare(Text("a")));
}

TEST(UtCString, StaysAsItWasWithoutMemory) {
  const std::string tail(100, 't');
  for (uint64_t nth = 1;; nth++) {
    ASSERT_LT(nth, 50u);
    UtCString text = Text("abc");
    const UtCString long_text = Text(tail), wide = Text("b", LE);
    UtFailAllocation(nth);
    int code = text.append(long_text);
    if (code == RC_OK) code = text.replace(wide, long_text);
    if (code == RC_OK && !text.ends_with(wide, false))
      code = text.convert(LE, &text);
    const bool struck = UtPendingFault() == 0;
    UtFailAllocation(0);
    const std::string left = Utf8(text);
    EXPECT_TRUE(left == "abc" || left == "abc" + tail ||
                left == "a" + tail + "c" + tail);
    if (!struck) {
      EXPECT_EQ(RC_OK, code);
      EXPECT_EQ(LE, text.code_page());
      break;
    }
  }
}

}  // namespace
