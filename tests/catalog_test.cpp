#include "trt/catalog.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "Cutil/ut_memory.h"
#include "tests/file_tree.h"

namespace {

constexpr char HEADER[] = "1 TRT 1 : MMSGID 950:Messages\n";

class Catalog : public FileTree {
 protected:
  Catalog() {
    for (const char* name : {"HD_VE", "HD_LA", "TQS_MSG_ID"})
      set_environment(name, nullptr);
    set_environment("HD_U", root().c_str());
    CatalogReset();
  }
  ~Catalog() override { CatalogReset(); }

  void write_catalog(const std::string& place, std::string_view records) {
    write("1700/" + place, std::string(HEADER).append(records));
  }

  // The text of a message of "cad.txt"; "-" when there is none.
  static std::string find(int number) {
    const std::string text = CatalogLookup("cad.txt", number, nullptr);
    return text == numbered(number) ? "-" : text;
  }

  static std::string numbered(int number) {
    char text[64];
    snprintf(text, sizeof text, "%.4d %*s%s", number, 33, "", "cad.txt");
    return text;
  }
};

struct FileCase {
  std::string text;
  std::vector<std::pair<int, std::string>> found;
};

const std::string H = HEADER;
const std::string A10000(10000, 'a');

const FileCase FILES[] = {
    {H, {{1, "Messages"}, {0, "-"}, {-3, "-"}, {2, "-"}}},
    {H + "2 two\n3\tthree\n4,four", {{2, "two"}, {3, "three"}, {4, "four"}}},
    {H + "\n \t\n2 two\r\n\r\n  3  three \n", {{2, "two"}, {3, " three "}}},
    {H + "$ 2 two\n3 three\n", {{2, "-"}, {3, "three"}}},
    {H + "2;two\n3\n4 four\n5,\n", {{2, "-"}, {3, "-"}, {4, "four"}, {5, ""}}},
    {H + "2 two\nx\n3 three\n", {{2, "two"}, {3, "-"}}},
    {H + "2 two\n-3 three\n4 four\n", {{2, "two"}, {4, "-"}}},
    // A search stops at a higher number, and takes the first of two.
    {H + "5 five\n3 three\n5 again\n6 six\n",
     {{3, "-"}, {5, "five"}, {6, "six"}}},
    // No memory for the numbers in between.
    {H + "2000000000 far\n2147483647 last\n",
     {{2000000000, "far"}, {1999999999, "-"}, {2147483647, "last"}}},
    {H + "2147483648 x\n7 seven\n", {{7, "-"}}},
    {H + std::string(39, '0') + "7 seven\n", {{7, "seven"}}},
    {H + std::string(40, '0') + "7 seven\n8 eight\n", {{7, "-"}, {8, "eight"}}},
    {H + "2 " + A10000 + "\n3 " + A10000 + "b\n", {{2, A10000}, {3, A10000}}},
    // Marks: what is handed out ends at the first "##".
    {H + "2 a#b\n3 a##b\n4 ##\n5 a###b\n6 a##b##c\n7 a#\n",
     {{2, "a#b"}, {3, "a"}, {4, ""}, {5, "a#"}, {6, "a#"}, {7, "a#"}}},
    // Headers.
    {"\n$ comment\n9;x\n" + H + "2 two\n", {{1, "Messages"}, {2, "two"}}},
    {"1\tTRT1:MMSGID1:\n2 two\n", {{1, ""}, {2, "two"}}},
    {"1   TRT  1  : \t MMSGID  7  : t \n2 two\n", {{1, " t "}, {2, "two"}}},
    {"1 TRT 1 : MMSGID 1:" + std::string(200, 't') + "\n",
     {{1, std::string(83, 't')}}},  // the header's text has 100 characters
    {"2 two\n" + H, {{1, "-"}, {2, "-"}}},
    {"1 TRT 2 : MMSGID 950:x\n2 two\n", {{2, "-"}}},
    {"1 TRT 1 : MMSGID 0:x\n2 two\n", {{2, "-"}}},
    {"1 TRT 1 : MMSGID 950\n2 two\n", {{2, "-"}}},
    {"1 TRT 1 MMSGID 950:x\n2 two\n", {{2, "-"}}},
    {"1 TRT", {{1, "-"}}},
    {"", {{1, "-"}}},
};

TEST_F(Catalog, ReadsFiles) {
  for (const FileCase& row : FILES) {
    CatalogReset();
    write("1700/msg_c/de/cad.txt", row.text);
    for (const auto& [number, text] : row.found)
      EXPECT_EQ(text, find(number)) << row.text.substr(0, 80) << number;
  }
}

TEST_F(Catalog, FallsBackPlaceByPlace) {
  // Each file is preferred to those before it.
  std::filesystem::create_directories("1700/msg_c/de/cad.txt");  // no catalog
  write_catalog("msg/en/cad.txt", "2 en\n7 only en\n");
  EXPECT_EQ("en", find(2));
  write_catalog("msg_c/en/cad.txt", "2 en of msg_c\n7 only en\n");
  EXPECT_EQ("en", find(2)) << "read once";
  CatalogReset();
  EXPECT_EQ("en of msg_c", find(2));
  write_catalog("msg/de/cad.txt", "2 de\n8 only de\n");
  CatalogReset();
  EXPECT_EQ("de", find(2));
  EXPECT_EQ("only en", find(7));
  EXPECT_EQ("only de", find(8));
  EXPECT_EQ("de", find(2));  // still, after a message of the other language

  set_environment("HD_LA", "fr");
  write("1600/msg/fr/cad.txt", H + "2 fr\n");
  CatalogReset();
  EXPECT_EQ("en of msg_c", find(2));
  set_environment("HD_VE", "1600");
  CatalogReset();
  EXPECT_EQ("fr", find(2));
  write("elsewhere/cad.txt", H + "2 absolute\n");
  set_environment("HD_LA", (root() + "/elsewhere").c_str());
  CatalogReset();
  EXPECT_EQ("absolute", find(2));
  set_environment("HD_LA", "");
  CatalogReset();
  EXPECT_EQ(numbered(2), CatalogLookup("cad.txt", 2, "Close"));
}

struct DefaultCase {
  const char* name;
  int number;
  const char* default_text;
  std::string text;
};

TEST_F(Catalog, KeepsDefaults) {
  const std::string blanks(33, ' '), points(50, '.');
  const std::string long_name = "name" + points;
  const DefaultCase rows[] = {
      {"cad.txt", 9, nullptr, "0009 " + blanks + "cad.txt"},
      {"cad.txt", 9, "Close", "Close"},
      {"cad.txt", 9, nullptr, "Close"},  // has become an entry
      {"cad.txt", 9, "Other", "Close"},
      {"cad.txt", 10, "a##b", "a"},
      {"cad.txt", 11, "", ""},
      {"cad.txt", 2, "Close", "two"},
      {"cad.txt", 0, "Close", "Close"},
      {"cad.txt", 0, nullptr, "0000 " + blanks + "cad.txt"},
      {"other.txt", 9, "There", "There"},
      {"other.txt", 9, nullptr, "There"},
      {"12345678", 7, nullptr, "0007 " + blanks.substr(1) + "12345678"},
      {"x", -7, nullptr, "-0007 " + blanks + "      x"},
      {"x", 123456, nullptr, "123456 " + blanks + "      x"},
      {long_name.c_str(), 7, nullptr, "0007 name" + points.substr(14)},
      {"", 7, "Close", "0007 " + blanks + "       "},
  };
  write_catalog("msg_c/de/cad.txt", "2 two\n");
  for (const auto& [name, number, given, text] : rows)
    EXPECT_EQ(text, CatalogLookup(name, number, given)) << name << number;
}

TEST_F(Catalog, PrefixesNumbers) {
  write_catalog("msg_c/de/cad.txt", "40 Hello\n");
  constexpr std::pair<const char*, const char*> ROWS[] = {
      {"1", "c40Hello"}, {"12x", "c40Hello"}, {"0", "Hello"}, {"on", "Hello"}};
  for (const auto& [value, text] : ROWS) {
    set_environment("TQS_MSG_ID", value);
    CatalogReset();
    EXPECT_EQ("Messages", find(1));
    EXPECT_EQ(text, find(40)) << value;
    EXPECT_STREQ("Close", CatalogLookup("cad.txt", 9, "Close"));
  }
}

// "%" stands for the separator, byte 4.
TEST_F(Catalog, ExpandsReferences) {
  write_catalog("msg_c/de/cad.txt", "2 two\n");
  const std::string d(1023 - 11, 'd');
  const std::pair<std::string, std::string> rows[] = {
      {"%cad.txt%2%Close%", "two"},
      {"%cad.txt%3%Close%", "Close"},
      {"%cad.txt%0%a##b%", "a##b"},
      {"%cad.txt%-2%%", ""},
      {"%%12%txt%", "0012" + std::string(41, ' ')},
      {"%no.txt%5%" + d + "%", d},
      {"%no.txt%5%" + d + "%x", "%no.txt%5%" + d + "%x"},
      {"\3cad.txt%2%Close%", "\3cad.txt%2%Close%"},
      {"%cad.txt%2%Close", "%cad.txt%2%Close"},
      {"%", "%"},
      {"", ""},
  };
  for (auto [text, expanded] : rows) {
    SCOPED_TRACE(text);
    std::replace(text.begin(), text.end(), '%', '\4');
    std::replace(expanded.begin(), expanded.end(), '%', '\4');
    EXPECT_EQ(expanded, CatalogExpandReference(text.c_str()));
  }
}

TEST_F(Catalog, IsNotHeldUpByPipes) {
  std::filesystem::create_directories("1700/msg_c/de");
  make_pipe("1700/msg_c/de/cad.txt");
  EXPECT_STREQ("Close", CatalogLookup("cad.txt", 2, "Close"));
}

TEST_F(Catalog, SurvivesWithoutMemory) {
  write_catalog("msg_c/de/cad.txt", "2 a text that is not short\n");
  for (uint64_t nth = 1; nth == 1 || UtPendingFault() == 0; nth++) {
    CatalogReset();
    UtFailAllocation(nth);
    EXPECT_TRUE(find(2) == "-" || find(2) == "a text that is not short");
    EXPECT_STREQ("Close", CatalogLookup("cad.txt", 3, "Close"));
    EXPECT_EQ("a text that is not short", find(2)) << nth;  // read again
  }
  UtFailAllocation(0);
}

}  // namespace
