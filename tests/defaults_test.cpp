#include "quillo/defaults.h"

#include <string>
#include <utility>
#include <vector>

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
      {nullptr, "u/1700/util_c/glob/dflt/macro.dflt", true},
      {"", "u/1700/util_c/glob/dflt/macro.dflt", true},  // as if not set
      {"A; B ;", "A/glob/dflt/macro.dflt", true},
      {"A; B ;", "A/dflt/macro.dflt", true},
      {" ;\t; ", "dflt/macro.dflt", false},
      {"A;B", "macro.dflt", true},
      {" ; ", "macro.dflt", true},
      {"A;B", std::string("macro-") + host + ".dflt", true},
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
}

using Values = std::vector<std::pair<const char*, std::string>>;
const std::pair<std::string, Values> LINES[] = {
    {" a : \t1 \nb.c*d:2", {{"a", "1 "}, {"b.c*d", "2"}}},
    {"! a: 1\n!a: 2\nb: 3", {{"a", "-"}, {"!a", "-"}, {"b", "3"}}},
    {"# a: 1\n#b: 2\n# include \"f\"\nc: 3", {{"#b", "-"}, {"c", "3"}}},
    {"no value\n: no name\na b: 1\nc\n: 2\nd: 3",
     {{"no", "-"}, {"", "-"}, {"a", "-"}, {"b", "-"}, {"c", "-"}, {"d", "3"}}},
    {"a: 1\\\n  2\\\n3\nb: x", {{"a", "1  23"}, {"b", "x"}}},
    {"a: 1\\", {{"a", "1"}}},
    {"a: x\\ny\\101\\60\\8\\1019\\t\\\"", {{"a", "x\nyA608A9t\""}}},
    {"a\r: 1\r\n\x1Az: \x1A\x32\r", {{"a", "1"}, {"z", "2"}}},
    {std::string("a: 1\0x\nb: 2", 11), {{"a", "1"}, {"b", "2"}}},
    // References to messages.
    {"a: MSGGET(\"cad.txt\", 12, \"Close\") it", {{"a", "Schliessen it"}}},
    {"a: MSGGET ( \"no.txt\" , 12 , \"Close\" ; ) ;", {{"a", "Close ;"}}},
    {"a: MSGGET(\"no.txt\", 12, \"" + std::string(5000, 'd') + "\")",
     {{"a", std::string(5000, 'd')}}},
    // The first reference that is not complete ends the replacing.
    {"a: MSGGET(\"cad.txt\", 12, \"Close\"\nb: x",
     {{"a", "MSGGET(\"cad.txt\", 12, \"Close\""}, {"b", "x"}}},
};

TEST_F(Defaults, ReadsLines) {
  write("u/1700/msg_c/de/cad.txt", "1 TRT 1 : MMSGID 20:Test\n12 Schliessen\n");
  for (const auto& [lines, values] : LINES) {
    DefaultsReset();
    CatalogReset();
    write("f", lines);
    EXPECT_EQ(RC_OK, load("f"));
    for (const auto& [resource, text] : values)
      EXPECT_EQ(text, value(resource)) << lines << "\n" << resource;
  }
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

TEST_F(Defaults, SkipWhatCannotBeRead) {
  for (const char* name : {"A/dflt", "B/dflt/macro.dflt", "u/1700"})
    std::filesystem::create_directories(name);
  make_pipe("A/dflt/macro.dflt");
  const std::string large(1 << 20, '"');
  write("macro.dflt", large + "MSGGET(" + large + "\na: 1");
  set_environment("MCPATH", "A;B;/dev/zero;missing");
  start_up();
  EXPECT_EQ("1", value("a"));
  for (const char* name : {"A/dflt/macro.dflt", "B/dflt", "missing"})
    EXPECT_EQ(RC_NO_DEFAULTS_FILE, load(name)) << name;
}

}  // namespace
