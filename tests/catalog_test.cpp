#include "trt/catalog.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/file_tree.h"

namespace {

const std::string H = "1 TRT 1 : MMSGID 950:Messages\n";

class Catalog : public FileTree {
 protected:
  Catalog() {
    for (const char* name : {"HD_VE", "HD_LA", "TQS_MSG_ID"})
      set_environment(name, nullptr);
    set_environment("HD_U", root().c_str());
    CatalogReset();
  }
  ~Catalog() override { CatalogReset(); }

  // The text of a message of "cad.txt"; "-" when there is none.
  static std::string find(int number) {
    const std::string text = CatalogLookup("cad.txt", number, nullptr);
    return text.ends_with("  cad.txt") ? "-" : text;
  }
};

const std::string A10000(10000, 'a');

using Messages = std::vector<std::pair<int, std::string>>;
const std::pair<std::string, Messages> FILES[] = {
    {H, {{1, "Messages"}, {0, "-"}, {-3, "-"}, {2, "-"}}},
    {H + "2 two\n3\tthree\n4,four", {{2, "two"}, {3, "three"}, {4, "four"}}},
    {H + "\n \t\n2 two\r\n\r\n  3  three \n", {{2, "two"}, {3, " three "}}},
    {H + "2;two\n3\n4 four\n5,\n", {{2, "-"}, {3, "-"}, {4, "four"}, {5, ""}}},
    {H + "2 two\nx\n3 three\n", {{2, "two"}, {3, "-"}}},
    // No memory for the numbers in between.
    {H + "2000000000 far\n2147483647 last\n",
     {{2000000000, "far"}, {1999999999, "-"}, {2147483647, "last"}}},
    {H + "2147483648 x\n7 seven\n", {{7, "-"}}},
    {H + std::string(40, '0') + "7 seven\n8 eight\n", {{7, "-"}, {8, "eight"}}},
    {H + "2 " + A10000 + "\n3 " + A10000 + "b\n", {{2, A10000}, {3, A10000}}},
    // Marks: what is handed out ends at the first "##".
    {H + "2 a#b\n3 a##b\n4 ##\n5 a###b\n6 a##b##c\n7 a#\n",
     {{2, "a#b"}, {3, "a"}, {4, ""}, {5, "a#"}, {6, "a#"}, {7, "a#"}}},
    // Headers.
    {"1\tTRT1:MMSGID1:\n2 two\n", {{1, ""}, {2, "two"}}},
    {"1 TRT 1 : MMSGID 1:" + std::string(200, 't') + "\n",
     {{1, std::string(83, 't')}}},  // the header's text has 100 characters
    {"2 two\n" + H, {{1, "-"}, {2, "-"}}},
    {"1 TRT 2 : MMSGID 950:x\n2 two\n", {{2, "-"}}},
};

TEST_F(Catalog, ReadsFiles) {
  for (const auto& [file, messages] : FILES) {
    CatalogReset();
    write("1700/msg_c/de/cad.txt", file);
    for (const auto& [number, text] : messages)
      EXPECT_EQ(text, find(number)) << file.substr(0, 80) << number;
  }
}

TEST_F(Catalog, FallsBackPlaceByPlace) {
  // Each file is preferred to those before it.
  std::filesystem::create_directories("1700/msg_c/de/cad.txt");  // no catalog
  write("1700/msg/en/cad.txt", H + "2 en\n7 only en\n");
  EXPECT_EQ("en", find(2));
  write("1700/msg_c/en/cad.txt", H + "2 en of msg_c\n7 only en\n");
  EXPECT_EQ("en", find(2)) << "read once";
  CatalogReset();
  EXPECT_EQ("en of msg_c", find(2));
  write("1700/msg/de/cad.txt", H + "2 de\n");
  CatalogReset();
  EXPECT_EQ("de", find(2));
  EXPECT_EQ("only en", find(7));
  write("1600/msg/fr/cad.txt", H + "2 fr\n");
  set_environment("HD_LA", "fr");
  set_environment("HD_VE", "1600");
  CatalogReset();
  EXPECT_EQ("fr", find(2));
}

TEST_F(Catalog, KeepsDefaults) {
  const std::string blanks(33, ' '), points(50, '.');
  const std::tuple<std::string, int, const char*, std::string> rows[] = {
      {"cad.txt", 9, nullptr, "0009 " + blanks + "cad.txt"},
      {"cad.txt", 9, "Close", "Close"},
      {"cad.txt", 9, nullptr, "Close"},  // has become an entry
      {"cad.txt", 10, "a##b", "a"},
      {"name" + points, 7, nullptr, "0007 name" + points.substr(14)},
  };
  write("1700/msg_c/de/cad.txt", H + "2 two\n");
  for (const auto& [name, number, given, text] : rows)
    EXPECT_EQ(text, CatalogLookup(name.c_str(), number, given)) << number;
  set_environment("TQS_MSG_ID", "12x");
  CatalogReset();
  EXPECT_EQ("c2two", find(2));
}

// "%" stands for the separator, byte 4.
TEST_F(Catalog, ExpandsReferences) {
  write("1700/msg_c/de/cad.txt", H + "2 two\n");
  const std::string d(1023 - 11, 'd');
  const std::pair<std::string, std::string> rows[] = {
      {"%cad.txt%2%Close%", "two"},
      {"%cad.txt%0%a##b%", "a##b"},
      {"%no.txt%5%" + d + "%", d},
      {"%no.txt%5%" + d + "%x", "%no.txt%5%" + d + "%x"},
      {"%cad.txt%2%Close", "%cad.txt%2%Close"},
      {"%", "%"},
  };
  for (auto [text, expanded] : rows) {
    std::replace(text.begin(), text.end(), '%', '\4');
    std::replace(expanded.begin(), expanded.end(), '%', '\4');
    EXPECT_EQ(expanded, CatalogExpandReference(text.c_str()));
  }
}

}  // namespace
