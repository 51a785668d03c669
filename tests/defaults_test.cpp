#include "quillo/defaults.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Cutil/ut_memory.h"
#include "tests/file_tree.h"
#include "trt/catalog.h"

namespace {

constexpr DefaultsEntry TABLE[] = {{"macro", "util", "glob", "MCPATH"}};

class Defaults : public FileTree {
 protected:
  Defaults() {
    for (const char* name : {"MCPATH", "HD_VE", "HD_LA", "TQS_MSG_ID"})
      set_environment(name, nullptr);
    set_environment("HD_U", (root() + "/u").c_str());
    CatalogReset();
    DefaultsReset();
  }
  ~Defaults() override {
    CatalogReset();
    DefaultsReset();
  }

  static void start_up() {
    EXPECT_EQ(0, DefaultsLoadFiles("default", "1700", TABLE, 1, "dflt"));
  }

  // The value of a resource of the class "default"; "-" when it has none.
  static std::string value(const char* resource) {
    const char* text = DefaultsValue("default", resource);
    return text == nullptr ? "-" : text;
  }

  static int load(const std::string& name) {
    return DefaultsLoadFile("default", name.c_str());
  }
};

// Each file of the search order with its place in the precedence.
TEST_F(Defaults, LaterFilesOverrideEarlierOnes) {
  char host[HOST_NAME_BYTES];
  if (!EnvHostName(host)) GTEST_SKIP() << "the host's name is too long";
  struct Step {
    const char* path_variable;
    std::string file;
    bool counts;
  } const steps[] = {
      {nullptr, "u/1700/util/glob/dflt/macro.dflt", true},
      {nullptr, "u/1700/util_s/glob/dflt/macro.dflt", true},
      {nullptr, "u/1700/util_c/glob/dflt/macro.dflt", true},
      {"", "u/1700/util_c/glob/dflt/macro.dflt", true},  // as if not set
      {"A; B ;", "B/glob/dflt/macro.dflt", true},
      {"A; B ;", "A/glob/dflt/macro.dflt", true},
      {"A; B ;", "A/dflt/macro.dflt", true},
      {" ;\t; ", "dflt/macro.dflt", false},
      {"A;B", "macro.dflt", true},
      {" ; ", "macro.dflt", true},
      {"A;B", std::string("macro-") + host + ".dflt", true},
      {"A;B", "A/dflt/macro-HOST.dflt", false},
  };
  for (const Step& step : steps) {
    write(step.file, "winner: " + step.file + "\n" + step.file + ": here\n");
    set_environment("MCPATH", step.path_variable);
    DefaultsReset();
    start_up();
    const std::string path = step.path_variable ? step.path_variable : "-";
    EXPECT_EQ(step.counts ? "here" : "-", value(step.file.c_str())) << path;
    EXPECT_EQ(step.counts, value("winner") == step.file) << path;
  }
  EXPECT_EQ("-", value("u/1700/util/glob/dflt/macro.dflt"));
}

struct LineCase {
  std::string text;
  std::vector<std::pair<const char*, std::string>> values;
};

const LineCase LINES[] = {
    {"a: 1\nb.c*d:2", {{"a", "1"}, {"b.c*d", "2"}}},
    {" a : \t1 \n", {{"a", "1 "}}},
    {"a:\nb: x", {{"a", ""}, {"b", "x"}}},
    {"a:b:c\n", {{"a", "b:c"}}},
    {"! a: 1\n!a: 2\nb: 3", {{"a", "-"}, {"!a", "-"}, {"b", "3"}}},
    {"# a: 1\n#b: 2\n# include \"f\"\nc: 3", {{"#b", "-"}, {"c", "3"}}},
    {"no value\n: no name\na b: 1\nc\n: 2\nd: 3",
     {{"no", "-"}, {"", "-"}, {"a", "-"}, {"b", "-"}, {"c", "-"}, {"d", "3"}}},
    {"a: 1\\\n  2\\\n3\nb: x", {{"a", "1  23"}, {"b", "x"}}},
    {"a: 1\\\\\nb: x", {{"a", "1\\"}, {"b", "x"}}},
    {"a: 1\\", {{"a", "1"}}},
    {"a: x\\ny\\101\\60\\8\\1019\\t\\\"", {{"a", "x\nyA608A9t\""}}},
    {"a:\\  1", {{"a", "  1"}}},
    {"a: \\377\\777.", {{"a", "\xFF\xFF."}}},
    {"a\r: 1\r\n\x1Az: \x1A\x32\r", {{"a", "1"}, {"z", "2"}}},
    {std::string("a: 1\0x\nb: 2", 11), {{"a", "1"}, {"b", "2"}}},
    // References to messages.
    {"a: MSGGET(\"cad.txt\", 12, \"Close\") it", {{"a", "Schliessen it"}}},
    {"a: MSGGET(\"cad.txt\",13,\"Close\")MSGGET(\"cad.txt\",12,\"\")",
     {{"a", "CloseSchliessen"}}},
    {"a: MSGGET ( \"no.txt\" , 12 , \"Close\" ; ) ;", {{"a", "Close ;"}}},
    {"a: MSGGET(\"cad.txt\",\n12\n,\n\"Close\"\n)\nb: x",
     {{"a", "Schliessen"}, {"b", "x"}}},
    {"a: MSGGET(\"cad.txt\", 14, \"\")", {{"a", "a\nb"}}},
    {"a: MSGGET(\"no.txt\", 12, \"" + std::string(5000, 'd') + "\")",
     {{"a", std::string(5000, 'd')}}},
    // The first reference that is not complete ends the replacing.
    {"a: MSGGET(\"cad.txt\", 12, \"Close\"\nb: x",
     {{"a", "MSGGET(\"cad.txt\", 12, \"Close\""}, {"b", "x"}}},
    {"a: MSGGET(\"cad.txt\", 12, \"Close\nb: MSGGET", {{"b", "MSGGET"}}},
    {"a: MSGGET(\"cad.txt", {{"a", "MSGGET(\"cad.txt"}}},
};

TEST_F(Defaults, ReadsLines) {
  write("u/1700/msg_c/de/cad.txt",
        "1 TRT 1 : MMSGID 20:Test\n12 Schliessen\n14 a\\nb\n");
  for (const LineCase& row : LINES) {
    DefaultsReset();
    CatalogReset();
    write("f", row.text);
    EXPECT_EQ(RC_OK, load("f"));
    for (const auto& [resource, text] : row.values)
      EXPECT_EQ(text, value(resource)) << row.text << "\n" << resource;
  }
}

TEST_F(Defaults, IncludesFiles) {
  write("top", "a: top\n#include \"sub/one\"\nb: top\n#include \"" + root() +
                   "/absolute\"\n#include sub/two\n#include \"sub/two\n"
                   "#include\n#included \"sub/two\"\n#include \"missing\"\n"
                   "#include \"sub\"\nlast: top");
  write("sub/one",
        "a: one\nb: one\n#include\t\"two\" trailing\n#include \"../up\"");
  write("sub/two", "two: two");
  write("up", "up: up");
  write("absolute", "absolute: absolute");
  EXPECT_EQ(RC_OK, load("top"));
  constexpr std::pair<const char*, const char*> VALUES[] = {
      {"a", "one"},
      {"b", "top"},
      {"two", "two"},
      {"up", "up"},
      {"absolute", "absolute"},
      {"last", "top"}};
  for (const auto& [resource, text] : VALUES)
    EXPECT_EQ(text, value(resource)) << resource;
}

TEST_F(Defaults, BoundsIncludes) {
  for (int i = 0; i <= 17; i++) {
    const std::string number = std::to_string(i);
    write("f" + number, "deepest: " + number + "\n#include \"f" +
                            std::to_string(i + 1) + "\"\n");
  }
  std::string many;
  for (int i = 0; i < 100; i++) many += "#include \"many\"\n";
  write("many", many + "end: yes\n");
  // A name of 511 characters with the directory is the longest.
  std::string directory;
  for (int i = 0; i < 5; i++) directory += std::string(99, 'd') + "/";
  write(directory + "elevenchars", "eleven: yes");
  write(directory + "twelve_chars", "twelve: yes");
  write(directory + "g", "#include \"elevenchars\"\n#include \"twelve_chars\"");
  for (const std::string& file :
       {std::string("f0"), std::string("many"), directory + "g"})
    EXPECT_EQ(RC_OK, load(file));
  constexpr std::pair<const char*, const char*> VALUES[] = {
      {"deepest", "16"}, {"end", "yes"}, {"eleven", "yes"}, {"twelve", "-"}};
  for (const auto& [resource, text] : VALUES)
    EXPECT_EQ(text, value(resource)) << resource;
}

TEST_F(Defaults, KeepsClassesApart) {
  const std::string longest(31, 'c');
  write("f", "a: 1\nb: 1\n");
  write("g", "b: 2\n");
  EXPECT_EQ(RC_OK, load("f"));
  EXPECT_EQ(RC_OK, DefaultsLoadFile(longest.c_str(), "g"));
  EXPECT_EQ("1", value("b"));
  EXPECT_STREQ("2", DefaultsValue(longest.c_str(), "b"));
  EXPECT_EQ(RC_OK, load("g"));
  EXPECT_EQ(RC_OK, DefaultsEnsureClass("default"));  // changes nothing
  EXPECT_EQ("1", value("a"));
  EXPECT_EQ("2", value("b"));
  EXPECT_EQ(nullptr, DefaultsValue("none", "a"));
  for (const std::string& bad : {std::string(), longest + "c"}) {
    EXPECT_EQ(RC_BAD_CLASS, DefaultsLoadFile(bad.c_str(), "missing"));
    EXPECT_EQ(RC_BAD_CLASS, DefaultsEnsureClass(bad.c_str()));
  }
}

// The files shown in the documentation set the resources shown there.
TEST_F(Defaults, DoWhatTheDocumentationShows) {
  std::ifstream page(SOURCE_DIRECTORY "/docs/defaults-and-catalogs.md");
  std::map<std::string, std::string> files;
  std::string line, file;
  while (std::getline(page, line)) {
    if (line.starts_with("```"))
      file = line.size() > 8 ? line.substr(8) : "";
    else if (!file.empty())
      files[file] += line + "\n";
  }
  for (const auto& [name, text] : files) write(name, text);
  start_up();
  std::istringstream rows(files["resources"]);
  int count = 0;
  for (; std::getline(rows, line); count++) {
    const size_t equals = line.find(" = ");
    std::string shown = value(line.substr(0, equals).c_str());
    std::replace(shown.begin(), shown.end(), '\n', '|');
    EXPECT_EQ(line.substr(equals + 3), shown);
  }
  EXPECT_EQ(5, count);
}

TEST_F(Defaults, SkipWhatCannotBeRead) {
  for (const char* name : {"A/dflt", "B/dflt/macro.dflt", "u/1700"})
    std::filesystem::create_directories(name);
  make_pipe("A/dflt/macro.dflt");
  const std::string large(1 << 20, '"');
  write("macro.dflt", large + "MSGGET(" + large + "\na: 1");
  set_environment("MCPATH", "A;B;/dev/zero;missing");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  start_up();
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ("1", value("a"));
  for (const char* name : {"A/dflt/macro.dflt", "B/dflt", "missing"})
    EXPECT_EQ(RC_NO_DEFAULTS_FILE, load(name)) << name;
}

TEST_F(Defaults, SurviveWithoutMemory) {
  write("f",
        "a: after, a text that is not short\n#include \"g\"\n"
        "m: MSGGET(\"a_catalog_name.txt\", 1, \"Close\")");
  write("g", "g.with.a.name.that.is.not.short: 1\n");
  write("before", "a: before\n");
  bool struck = true;
  for (uint64_t nth = 1; struck; nth++) {
    DefaultsReset();
    CatalogReset();
    ASSERT_EQ(RC_OK, load("before"));
    UtFailAllocation(nth);
    const bool loaded = load("f") == RC_OK;
    struck = UtPendingFault() == 0;
    UtFailAllocation(0);
    EXPECT_EQ(loaded ? "after, a text that is not short" : "before",
              value("a"));
    EXPECT_EQ(loaded ? "1" : "-", value("g.with.a.name.that.is.not.short"));
    EXPECT_EQ(loaded ? "Close" : "-", value("m"));
  }
  UtFailAllocation(3);
  start_up();  // says nothing, whatever is missing
  UtFailAllocation(0);
}

}  // namespace
