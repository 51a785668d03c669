#include "trt/catalog.h"

#include "file_tree.h"
#include "rows.h"
#include "trt/messages.h"

namespace {

const std::string H = "1 TRT 1 : MMSGID 950:Messages\n";

class Catalog : public FileTree {
 protected:
  Catalog() {
    for (const char* name : {"HD_VE", "HD_LA", "TQS_MSG_ID"})
      set_environment(name, nullptr);
    set_environment("HD_U", root().c_str());
  }

  // The text of a message of "cad.txt"; "-" when there is none.
  static std::string find(CatalogSet* catalogs, int number) {
    const std::string text = catalogs->lookup("cad.txt", number, nullptr);
    return text.ends_with("  cad.txt") ? "-" : text;
  }
  static std::string find(int number) {
    CatalogSet catalogs;
    return find(&catalogs, number);
  }
};

TEST_F(Catalog, ReadsFiles) {
  // "H" at the start of a file is a header. What messages 0 to 9 are then, each
  // with a comma behind it.
  constexpr char ROWS[] = R"(
    H | -,Messages,-,-,-,-,-,-,-,-,
    H2 two^J3^Ithree^J4,four | -,Messages,two,three,four,-,-,-,-,-,
    H^J {{09}}^J2 two^M^J^M^J  3  three{{20}}^J
      + | -,Messages,two, three ,-,-,-,-,-,-,
    H2;two^J3^J4 four^J5,^J | -,Messages,-,-,four,,-,-,-,-,
    H2 two^Jx^J3 three^J | -,Messages,two,-,-,-,-,-,-,-,
    H5 five^J4 four^J5 again^J$6 x^J6 six | -,Messages,-,-,-,five,six,-,-,-,
    H2147483648 x^J7 seven^J | -,Messages,-,-,-,-,-,-,-,-,
    H{{40*0}}7 seven^J8 eight^J | -,Messages,-,-,-,-,-,-,eight,-,
    H{{39*0}}7 seven^J8 eight^J | -,Messages,-,-,-,-,-,seven,eight,-,
    H2 {{10000*a}}^J3 {{10000*a}}b^J
      + | -,Messages,{{10000*a}},{{10000*a}},-,-,-,-,-,-,
    // Marks: what is handed out ends at the first "##".
    H2 a#b^J3 a##b^J4 ##^J5 a###b^J6 a##b##c^J7 a#^J
      + | -,Messages,a#b,a,,a#,a#,a#,-,-,
    // Headers, whose text has 100 characters.
    1^ITRT1:MMSGID1:^J2 two^J | -,,two,-,-,-,-,-,-,-,
    1 TRT 1 : MMSGID 1:{{200*t}}^J | -,{{83*t}},-,-,-,-,-,-,-,-,
    2 two^JH | -,-,-,-,-,-,-,-,-,-,
    1 TRT 2 : MMSGID 950:x^J2 two^J | -,-,-,-,-,-,-,-,-,-,
    1 TRT 1 : MMSGID 0:x^J2 two^J | -,-,-,-,-,-,-,-,-,-,
    1 TRT 1 MMSGID 1:x^J2 two^J | -,-,-,-,-,-,-,-,-,-,)";
  for (const auto& [file, messages] : Rows<2>(ROWS)) {
    write("1700/msg_c/de/cad.txt", file[0] == 'H' ? H + file.substr(1) : file);
    CatalogSet catalogs;
    std::string found;
    for (int number = 0; number < 10; number++)
      found += find(&catalogs, number) + ",";
    EXPECT_EQ(messages, found) << file.substr(0, 80);
  }
  // No memory for the numbers in between.
  write("1700/msg_c/de/cad.txt", H + "2000000000 far\n2147483647 last\n");
  EXPECT_EQ("far-last", find(2000000000) + find(1999999999) + find(2147483647));
  EXPECT_EQ("-", find(-3));
}

TEST_F(Catalog, FallsBackPlaceByPlace) {
  // Each file is preferred to those before it.
  CatalogSet first;
  std::filesystem::create_directories("1700/msg_c/de/cad.txt");  // no catalog
  write("1700/msg/en/cad.txt", H + "2 en\n7 only en\n");
  EXPECT_EQ("en", find(&first, 2));
  write("1700/msg_c/en/cad.txt", H + "2 en of msg_c\n7 only en\n");
  EXPECT_EQ("en", find(&first, 2)) << "read once";
  EXPECT_EQ("en of msg_c", find(2));
  write("1700/msg/de/cad.txt", H + "2 de\n");
  CatalogSet both;
  for (const auto& [number, text] :
       {std::pair(2, "de"), std::pair(7, "only en"), std::pair(2, "de")})
    EXPECT_EQ(text, find(&both, number));
  write("1600/msg/fr/cad.txt", H + "2 fr\n");
  set_environment("HD_LA", "fr");
  set_environment("HD_VE", "1600");
  EXPECT_EQ("fr", find(2));
  // A setting that is empty is no part of a path.
  write("msg/de/cad.txt", H + "2 of no version\n");
  write("1600/msg/cad.txt", H + "2 of no language\n");
  for (const char* name : {"HD_LA", "HD_VE"}) {
    set_environment(name, "");
    EXPECT_EQ("-", find(2)) << name;
    set_environment(name, nullptr);
  }
}

TEST_F(Catalog, KeepsDefaults) {
  // Name, number, default or "-". A default becomes an entry.
  constexpr char ROWS[] = R"(
    cad.txt | 9  | -     | 0009 {{33* }}cad.txt
    cad.txt | 9  | Close | Close
    cad.txt | 9  | -     | Close
    cad.txt | 10 | a##b  | a
    cad.txt | 0  | zero  | zero
    cad.txt | 0  | -     | 0000 {{33* }}cad.txt
            | 9  | Close | 0009 {{40* }}
    n{{50*.}} | 7 | -    | 0007 n{{39*.}})";
  write("1700/msg_c/de/cad.txt", H + "2 two\n");
  CatalogSet catalogs;
  for (const auto& [name, number, given, text] : Rows<4>(ROWS))
    EXPECT_EQ(text, catalogs.lookup(name.c_str(), stoi(number),
                                    given == "-" ? nullptr : given.c_str()))
        << name << number;
  for (const auto& [setting, text] :
       {std::pair("0", "two"), std::pair("12x", "c2two")}) {
    set_environment("TQS_MSG_ID", setting);
    EXPECT_EQ(text, find(2));
  }
}

TEST_F(Catalog, ExpandsReferences) {
  constexpr char ROWS[] = R"(
    ^Dcad.txt^D2^DClose^D | two ;; ^Dcad.txt^D0^Da##b^D | a##b
    ^Dno.txt^D5^D{{1012*d}}^D | {{1012*d}}
    ^Dno.txt^D5^D{{1012*d}}^Dx | ^Dno.txt^D5^D{{1012*d}}^Dx
    ^Dcad.txt^D2^DClose | ^Dcad.txt^D2^DClose ;; ^Dcad.txt^D2 | ^Dcad.txt^D2
    ^D | ^D ;; | ;; cad.txt^D2^DClose^D | cad.txt^D2^DClose^D)";
  write("1700/msg_c/de/cad.txt", H + "2 two\n");
  CatalogSet catalogs;
  for (const auto& [text, expanded] : Rows<2>(ROWS))
    EXPECT_EQ(expanded, catalogs.expand_reference(text.c_str()));
}

TEST(Messages, AreTheTextsThatUsersRead) {
  constexpr char ROWS[] = R"(
    0 | no message found^J ;; 1 | file '%s' not found^J
    2 | syntax error in line %d^J%s^J ;; 3 | undefined variable '%s'^J
    4 | error in declaration^J ;; 5 | unresolved external subroutine: '%s'^J
    6 | unresolved external function: 'FN%s'^J
    7 | unresolved C - function: 'CFN%s'^J
    8 | C - function 'CFN%s' has other than standard-params^J
    // 16 bits count.
    65540 | error in declaration^J)";
  for (const auto& [number, text] : Rows<2>(ROWS))
    EXPECT_EQ(text, MessageText(static_cast<unsigned>(stoi(number))));
  EXPECT_EQ(nullptr, MessageText(9));
}

}  // namespace
