// Layouts: nothing but white space changes, a second run changes nothing, and
// the rules of the page about it hold.
#include "tools/format/format.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/tools/smith_sources.h"
#include "tools/format/diff.h"

namespace {

TEST(Format, ChangesNoRandomSource) {
  uint64_t changed = 0;
  for (uint64_t seed = 1; seed <= SourceCount(); seed++)
    for (const bool damaged : {false, true}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + (damaged ? "d" : ""));
      RandomSource source(seed, damaged);
      for (const auto& [name, text] : source.files.texts) {
        const Formatted once = FormatSource(name, text, {}, &source.files);
        ASSERT_EQ(once.refusal, "") << name;
        changed += once.text != text;
        RandomSource again(seed, damaged);
        again.files.texts.find(name)->second = once.text;
        const Formatted twice = FormatSource(name, once.text, {}, &again.files);
        ASSERT_EQ(twice.text, once.text) << name;
      }
    }
  EXPECT_GT(changed, SourceCount());
}

struct LayoutCase {
  const char* source;
  const char* layout;
};
constexpr LayoutCase LAYOUTS[] = {
    {"PROGRAM p;INTEGER a,b(2);REAL c;\n\n\n\nIF a THEN a=-b(1)+2*c;ELSE\n"
     "BREAK END IF\n;;",
     // The last line has no line feed: it is not read.
     "PROGRAM p;\nINTEGER a, b(2);\nREAL    c;\n\nIF a THEN\n"
     "  a = -b(1) + 2 * c;\nELSE\n  BREAK\nEND IF\n;;"},
    {"SUB s(INTEGER a;REAL b)\r\nSELECT a;CASE 1;;CASE ELSE PRINT;END SELECT\r"
     "\nEND SUB\r\n",
     "SUB s (INTEGER a; REAL b)\r\n  SELECT a;\r\n  CASE 1;\r\n    ;\r\n"
     "  CASE ELSE\r\n    PRINT;\r\n  END SELECT\r\nEND SUB\r\n"},
    // Comments.
    {"PROGRAM p; !a\n!b\n\n\n  # c \nINTEGER i; ! d\ni = 1;  ! e\n"
     "IF i ! f\nTHEN\ni=2;\n! g\nEND IF\n\n! h\n",
     "PROGRAM p;  !a\n!b\n\n# c\nINTEGER i;  ! d\ni = 1;      ! e\n"
     "IF i        ! f\n    THEN\n  i = 2;\n  ! g\nEND IF\n\n! h\n"},
    {"\n\n\n! a\n\n\nPROGRAM p;\n;\n\n\n", "! a\n\nPROGRAM p;\n;\n"},
    // What stays.
    {"PROGRAM p;\nINTEGER i;\n! format off\ni  =  1;\n! format on\ni  =  1;\n"
     "i  =  = 2;\ni  =  3;\ni  =  4; ~\ni  =  5;\n",
     "PROGRAM p;\nINTEGER i;\n! format off\ni  =  1;\n! format on\ni = 1;\n"
     "i  =  = 2;\ni = 3;\ni = 4; ~\ni = 5;\n"},
    {"WINDOW w{x=1;y=2;\nMENU m{ITEM i{text=\"a\";}\n"
     "ON KEY < F1 > OR EXIT DO f WITH \"b\";}\nON HIDE EXECUTE{PRINT 1;}}\n",
     "WINDOW w {\n  x = 1; y = 2;\n  MENU m {\n    ITEM i { text = \"a\"; }\n"
     "    ON KEY <F1> OR EXIT DO f WITH \"b\";\n  }\n"
     "  ON HIDE EXECUTE { PRINT 1; }\n}\n"},
};

TEST(Format, LaysOut) {
  for (const LayoutCase& c : LAYOUTS) {
    const Formatted result = FormatSource("a", c.source, {});
    EXPECT_EQ(result.refusal, "");
    EXPECT_EQ(result.text, c.layout);
  }
  FormatStyle range;
  range.first_line = range.last_line = 3;
  EXPECT_EQ(
      FormatSource("a", "PROGRAM p;\nPRINT  1;\nPRINT  2;\nPRINT  3;\n", range)
          .text,
      "PROGRAM p;\nPRINT  1;\nPRINT 2;\nPRINT  3;\n");
}

TEST(Format, ShowsDifferences) {
  EXPECT_EQ(UnifiedDiff("a", "x\n", "x\n"), "");
  EXPECT_EQ(UnifiedDiff("a", "1111\n2222\n3333\n4444\n5555\n66",
                        "1111\n2222\n3333\n4444\nfive\n66"),
            "--- a\n+++ a (formatted)\n@@ -2,5 +2,5 @@\n 2222\n 3333\n 4444\n"
            "-5555\n+five\n 66\n\\ No newline at end of file\n");
}

// The command --------------------------------------------------------------

class FormatCommand : public testing::Test {
 protected:
  FormatCommand()
      : directory_(testing::TempDir() + "quillo_format" +
                   std::to_string(getpid())) {
    std::filesystem::remove_all(directory_);
    std::filesystem::create_directory(directory_);
  }
  ~FormatCommand() override { std::filesystem::remove_all(directory_); }

  void write(const std::string& name, const std::string& text) {
    std::ofstream(directory_ + "/" + name, std::ios::binary) << text;
  }
  std::string read(const std::string& name) {
    std::stringstream text;
    text << std::ifstream(directory_ + "/" + name, std::ios::binary).rdbuf();
    return text.str();
  }
  // The exit status.
  int run(const std::string& arguments) {
    const std::string line = "cd " + directory_ +
                             " && " TOOLS_BINARY " format " + arguments +
                             " > out 2> err < in";
    return WEXITSTATUS(std::system(line.c_str()));
  }

  std::string directory_;
};

TEST_F(FormatCommand, DoesWhatItIsAskedFor) {
  const std::string source = "PROGRAM p;\nPRINT  1,2;\nIF 1 THEN ; END IF\n";
  const std::string layout =
      "PROGRAM p;\nPRINT 1, 2;\nIF 1 THEN\n  ;\nEND IF\n";
  write("in", source);
  write("a.mac", source);
  chmod((directory_ + "/a.mac").c_str(), 0640);
  EXPECT_EQ(run("a.mac"), 0);
  EXPECT_EQ(read("out"), layout);
  EXPECT_EQ(run("-"), 0);
  EXPECT_EQ(read("out"), layout);
  EXPECT_EQ(run("--check a.mac"), 1);
  EXPECT_EQ(read("out"), "a.mac\n");
  EXPECT_EQ(run("--diff a.mac"), 1);
  EXPECT_NE(read("out").find("\n-PRINT  1,2;\n"), std::string::npos);
  EXPECT_EQ(read("a.mac"), source);
  EXPECT_EQ(run("-i a.mac nowhere.mac"), 2);
  EXPECT_EQ(read("a.mac"), layout);
  struct stat status;
  ASSERT_EQ(stat((directory_ + "/a.mac").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640U);
  EXPECT_EQ(run("--check a.mac"), 0);
  write(".quillo-format", "indent = 4  # wide\n");
  EXPECT_EQ(run("a.mac"), 0);
  EXPECT_NE(read("out").find("\n    ;\n"), std::string::npos);
  write(".quillo-format", "indent = x\n");
  for (const char* wrong : {"a.mac", "-i -", "--range 3 a.mac", "-i --check a"})
    EXPECT_EQ(run(wrong), 2) << wrong;
}

TEST_F(FormatCommand, AKillLeavesTheOldFileOrTheNewOne) {
  std::string source = "PROGRAM p;\n";
  for (int i = 0; i < 20000; i++) source += "PRINT  1,2;\n";
  write("in", "");
  write("old", source);
  ASSERT_EQ(run("old"), 0);
  const std::string loop =
      "cd " + directory_ +
      " && for i in $(seq -f %03g 2 3 90); do cp old c.mac;"
      " timeout -s KILL 0.$i " TOOLS_BINARY
      " format -i c.mac;"
      " cmp -s c.mac old || cmp c.mac out || exit 1; done 2>/dev/null";
  EXPECT_EQ(std::system(loop.c_str()), 0);
}

TEST_F(FormatCommand, FindsTheExamplesInOrder) {
  write("in", "");
  EXPECT_EQ(run("--check " SOURCE_DIRECTORY "/examples/*"), 0) << read("out");
}

}  // namespace
