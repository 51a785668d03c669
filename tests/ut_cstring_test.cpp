#include "Cutil/ut_cstring.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "rows.h"

namespace {

constexpr uint16_t UTF8 = 65001, LE = 1200, BE = 1201, WINDOWS = 1252;

// A text written in UTF-8, stored in a code page.
UtCString Text(std::string_view utf8, uint16_t stored = UTF8) {
  UtCString text;
  EXPECT_EQ(RC_OK, text.assign(utf8, UTF8, stored));
  return text;
}

// The bytes in UTF-8.
std::string Utf8(const UtCString& text) {
  UtCString converted;
  EXPECT_EQ(RC_OK, text.convert(UTF8, &converted));
  return converted.buffer();
}

uint16_t Page(const std::string& number) {
  return static_cast<uint16_t>(stoul(number));
}

// Looked up once in a process, so each row has one of its own; and so has this
// test, which comes first.
TEST(UtCString, DefaultCodePage) {
  // LC_ALL, LC_CTYPE, LANG; "-" is not set.
  constexpr char ROWS[] = R"(
    - | - | - | 65001 ;; - | - | de_DE.ISO-8859-1 | 28591
    - | - | de_DE.ISO8859-15@euro | 28605 ;; - | - | de_DE | 65001
    - | de_DE.CP1252 | de_DE.ISO-8859-1 | 1252 ;; | x.CP850 | | 850
    C | cs_CZ.ISO-8859-2 | - | 65001 ;; en.UTF-8 | x.ISO-8859-2 | - | 65001)";
  for (const auto& [all, type, lang, code_page] : Rows<4>(ROWS)) {
    const pid_t child = fork();
    if (child == 0) {
      for (const auto& [name, value] :
           {std::pair("LC_ALL", all), std::pair("LC_CTYPE", type),
            std::pair("LANG", lang)})
        value == "-" ? unsetenv(name) : setenv(name, value.c_str(), 1);
      _exit(UtDefaultCodePage() == Page(code_page) ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status) << all << type << lang;
  }
}

TEST(UtCString, Converts) {
  // From a code page to another one; the bytes with the closing zero of UTF-16,
  // and the number of characters.
  constexpr char ROWS[] = R"(
    65001 | K{{C3 B6}}ln | 1252  | K{{F6}}ln | 4
    65001 | K{{C3 B6}}ln | 65001 | K{{C3 B6}}ln | 4
    65001 | {{E2 82 AC}} | 1200 | {{AC 20 00 00}} | 1
    1252  | {{80}} | 1201 | {{20 AC 00 00}} | 1
    // ISO 8859: the last digits are the part.
    28591 | {{E8 A4}} | 65001 | {{C3 A8 C2 A4}} | 2
    28592 | {{E8}} | 65001 | {{C4 8D}} | 1 ;; 65001 | {{C4 8D}} | 28592 | {{E8}} | 1
    28605 | {{A4}} | 65001 | {{E2 82 AC}} | 1 ;; 28606 | {{E8}} | 65001 | {{C3 A8}} | 1
    28607 | a | 65001 | | 0 ;; 28590 | a | 65001 | | 0 ;; 9999 | a | 65001 | | 0
    // Outside the 16-bit range: two units, one character.
    65001 | {{F0 9F 98 80}}z | 1200 | {{3D D8 00 DE}}z^@^@^@ | 2
    65001 | {{F0 9F 98 80}}z | 1201 | {{D8 3D DE 00 00}}z^@^@ | 2
    // What the target cannot hold, and what is no character at all.
    65001 | a{{E2 82 AC}}b | 28591 | a?b | 3
    1200  | {{3D D8 00 DE}}z^@ | 28591 | ?z | 2
    1201  | {{D8 3D DE 00 00}}z | 28591 | ?z | 2
    65001 | a{{FF}}b | 1201 | ^@a^@?^@b^@^@ | 3
    65001 | a{{FF}}b | 1200 | a^@?^@b^@^@^@ | 3
    // More than the converter's buffer takes.
    65001 | {{2000*x}} | 28591 | {{2000*x}} | 2000)";
  UtCString text;
  for (const auto& [from, bytes, to, converted, length] : Rows<5>(ROWS)) {
    ASSERT_EQ(RC_OK,
              text.assign(std::string_view(bytes), Page(from), Page(to)));
    const bool wide = Page(to) == LE || Page(to) == BE;
    const std::string closed = wide ? converted : converted + '\0';
    EXPECT_EQ(closed, std::string(text.buffer(), closed.size()))
        << from << bytes << to;
    EXPECT_EQ(stoul(length), text.length()) << from << bytes << to;
    EXPECT_EQ(Page(to), text.code_page());
  }
  for (const uint16_t page : {UTF8, LE, BE}) {
    ASSERT_EQ(RC_OK, text.assign(u"K\u00F6ln", page));
    EXPECT_EQ("K\xC3\xB6ln", Utf8(text));
    ASSERT_EQ(RC_OK, text.assign(static_cast<char16_t*>(nullptr), page));
    EXPECT_EQ("", Utf8(text));
    ASSERT_EQ(RC_OK, text.assign(static_cast<char*>(nullptr), UTF8, page));
    EXPECT_EQ("", Utf8(text));
  }
}

TEST(UtCString, Substrings) {
  // Start and count in Köln.
  constexpr char ROWS[] = R"(
    0 | -1 | Köln ;; 1 | 2 | öl ;; 1 | 1 | ö ;; -1 | -1 | n ;; -4 | 2 | Kö
    -5 | 1 | ;; 3 | 1 | n ;; 3 | 9 | n ;; 4 | 1 | ;; 2 | 0 |
    -9223372036854775808 | 1 | ;; 9223372036854775807 | 1 |)";
  UtCString part;
  for (const uint16_t page : {UTF8, LE, BE, WINDOWS})
    for (const auto& [start, count, expected] : Rows<3>(ROWS)) {
      EXPECT_EQ(
          RC_OK,
          Text("Köln", page).substring(stoll(start), stoll(count), &part));
      EXPECT_EQ(expected, Utf8(part)) << start << " " << count;
      EXPECT_EQ(page, part.code_page());
    }
  // A pair counts as two here.
  EXPECT_EQ(RC_OK, Text("\xF0\x9F\x98\x80z", LE).substring(2, -1, &part));
  EXPECT_EQ("z", Utf8(part));
}

TEST(UtCString, Replaces) {
  // The text, what is replaced in it and by what, and what comes out. As UTF-16
  // the bytes of "aba" hold those of U+6100 at odd places.
  constexpr char ROWS[] = R"(
    aaaaa | aa | b | bba ;; a | a | aa | aa ;; abc | | x | abc
    abcabc | b | | acac ;; {{E6 84 80}}a | {{E6 84 80}} | - | -a
    aba | {{E6 84 80}} | - | aba ;; aba{{E6 84 80}} | {{E6 84 80}} | - | aba-)";
  for (const uint16_t page : {UTF8, LE, BE}) {
    for (const auto& [source, old_text, new_text, replaced] : Rows<4>(ROWS)) {
      UtCString text = Text(source, page);
      ASSERT_EQ(RC_OK, text.replace(Text(old_text), Text(new_text)));
      EXPECT_EQ(0, text.compare(Text(replaced))) << source;
    }
    UtCString joined;
    ASSERT_EQ(RC_OK, Text("a", page).concatenate(Text("b", BE), &joined));
    ASSERT_EQ(RC_OK, joined.append(Text("c", LE)));
    EXPECT_EQ("abc", Utf8(joined));
    EXPECT_EQ(page, joined.code_page());
  }
}

TEST(UtCString, ComparesAndSearches) {
  // Found at the start and without case there, at the end and without case.
  constexpr char ROWS[] = R"(
    Bolt | Bo | 1100 ;; Bolt | bO | 0100 ;; Bolt | LT | 0001 ;; Bolt | lt | 0011
    Bolt | | 1111 ;; Bolt | Bolts | 0000 ;; ÄnÀ | ä | 0100 ;; ÄnÀ | à | 0001
    Þ | þ | 0101 ;; ß | ÿ | 0000
    // No letters, or behind Latin-1.
    × | ÷ | 0000 ;; [ | { | 0000 ;; @ | ` | 0000 ;; Z | z | 0101 ;; Ā | Ġ | 0000)";
  for (const auto& [in, part, expected] : Rows<3>(ROWS))
    for (const uint16_t page : {UTF8, LE, BE}) {
      const UtCString text = Text(in), wanted = Text(part, page);
      std::string found;
      for (const bool with_case : {true, false})
        found += text.starts_with(wanted, with_case) ? '1' : '0';
      for (const bool with_case : {true, false})
        found += text.ends_with(wanted, with_case) ? '1' : '0';
      EXPECT_EQ(expected, found) << in << " " << part;
    }
  for (const uint16_t page : {UTF8, LE, BE}) {
    EXPECT_EQ(0, Text("ö").compare(Text("ö", page)));
    EXPECT_NE(0, Text("ö").compare(Text("Ö", page)));
    EXPECT_LT(Text("a", page).compare(Text("b")), 0);
    EXPECT_GT(Text("b").compare(Text("a", page)), 0);
  }
  EXPECT_EQ(0, Text("a").compare(Text("\xEF\xBB\xBF"
                                      "a",
                                      LE)));  // a mark
  EXPECT_EQ(0, Text("a", LE).compare("a"));
  EXPECT_NE(0, Text("a").compare(static_cast<char*>(nullptr)));
}

}  // namespace
