// quillo-tools check and explain as users call them.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "tests/file_tree.h"

namespace {

class CheckCommand : public FileTree {
 protected:
  // The output of a command line; its exit status is in status_.
  std::string run(const std::string& arguments) {
    const std::string command =
        std::string(QUILLO_TOOLS_BINARY) + " " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    std::string out;
    char block[4096];
    for (size_t got; (got = fread(block, 1, sizeof block, pipe)) > 0;)
      out.append(block, got);
    status_ = WEXITSTATUS(pclose(pipe));
    return out;
  }
  int status_ = -1;
};

constexpr char SOUND[] = "PROGRAM a;\nPRINT 1;\n";
constexpr char WARNED[] = "PROGRAM b;\nINTEGER i;\nPRINT 1;\n";
constexpr char FAULTY[] = "PROGRAM c;\nPRNT 1;\nPRINT 2\nPRINT x;\n";

struct OptionCase {
  const char* arguments;
  int status;
  const char* holds;  // "" for an empty output
};
constexpr OptionCase OPTIONS[] = {
    {"a.mac", 0, ""},
    {"b.mac", 0, "b.mac:2:9: warning: the variable 'i' is never used"},
    {"c.mac", 1, "c.mac:2:1: error: 'PRNT' is no keyword [misspelled-keyword]"},
    {"a.mac c.mac b.mac", 1, "3 files checked: 3 errors, 1 warning in 2 files"},
    {"-j1 .", 1, "3 files checked: 3 errors, 1 warning in 2 files"},
    {"--quiet b.mac a.mac", 0, ""},
    {"--no-rule unread-variable b.mac", 0, ""},
    {"--error unread-variable b.mac", 1, ": error: the variable"},
    {"--no-rule all b.mac", 0, ""},
    {"--no-rule misspelled-keyword c.mac", 1, "[misspelled-keyword]"},
    {"--max-errors 1 c.mac", 1, "2 more errors are not shown"},
    {"--format gcc b.mac", 0,
     "b.mac:2:9: warning: the variable 'i' is never used [unread-variable]\n"},
    {"--color always b.mac", 0, "\033[1;35m"},
    {"missing.mac a.mac", 2, "cannot read 'missing.mac'"},
    {"--no-rule unread-variabel a.mac", 2, "did you mean 'unread-variable'?"},
    {"--format xml a.mac", 2, "xml not in {text,gcc,json,sarif"},
    {"--write-baseline a.mac", 2, "needs --baseline"},
    {"--baseline missing a.mac", 2, "cannot read 'missing'"},
    {"", 2, "SOURCE is required"},
};

TEST_F(CheckCommand, Options) {
  write("a.mac", SOUND);
  write("b.mac", WARNED);
  write("c.mac", FAULTY);
  for (const OptionCase& row : OPTIONS) {
    const std::string out = run(std::string("check ") + row.arguments);
    EXPECT_EQ(status_, row.status) << row.arguments << "\n" << out;
    EXPECT_NE(out.find(row.holds), std::string::npos) << row.arguments << "\n"
                                                      << out;
    EXPECT_EQ(out.empty(), *row.holds == '\0') << row.arguments << "\n" << out;
  }
  EXPECT_EQ(run("check -j1 --format json ."), run("check -j4 --format json ."));
}

TEST_F(CheckCommand, SettingsComeFromFilesAbove) {
  write("x/.quillo-check", "# ours\nunread-variable = error\n");
  write("x/y/b.mac", WARNED);
  write("x/z/.quillo-check", "unread-variable = off\n");
  write("x/z/b.mac", WARNED);
  write("x/w/.quillo-check", "unread-varible = off\n");
  write("x/w/b.mac", WARNED);
  run("check x/y/b.mac");
  EXPECT_EQ(status_, 1);
  EXPECT_EQ(run("check x/z/b.mac"), "");
  EXPECT_NE(run("check x/w/b.mac").find(".quillo-check:1: there is no rule"),
            std::string::npos);
  EXPECT_EQ(status_, 2);
  write("o.mac",
        "PROGRAM o;\nINTEGER i; ! check off: unread-variable\n"
        "REAL r; # check off\nSTRING s; ! check off: other\nPRINT 1;\n");
  EXPECT_EQ(run("check --format gcc o.mac"),
            "o.mac:4:8: warning: the variable 's' is never used "
            "[unread-variable]\n");
}

TEST_F(CheckCommand, BaselineHidesWhatIsKnown) {
  write("c.mac", FAULTY);
  EXPECT_EQ(run("check --baseline known --write-baseline c.mac"), "");
  EXPECT_EQ(status_, 0);
  EXPECT_EQ(run("check --baseline known c.mac"), "");
  EXPECT_EQ(status_, 0);
  // Lines move, and one finding is new.
  write("c.mac",
        "PROGRAM c;\n\n! moved\nPRNT 1;\nPRINT 2\nPRINT x;\nPRNT 1;\n");
  const std::string out = run("check --format gcc --baseline known c.mac");
  EXPECT_EQ(out,
            "c.mac:7:1: error: 'PRNT' is no keyword "
            "[misspelled-keyword]\n");
}

TEST_F(CheckCommand, FixMendsWhatIsSafe) {
  write("c.mac",
        "PROGRAM c\r\nPRINT 0;\r\nif 1 THEN\r\n  PRNT 1;\r\nEND IF\r\nPRINT "
        "+;\r\n"
        "PRINT 2");
  const std::string out = run("check --fix c.mac");
  EXPECT_EQ(*ReadWhole("c.mac"),
            "PROGRAM c;\r\nPRINT 0;\r\nIF 1 THEN\r\n  PRINT 1;\r\nEND "
            "IF\r\nPRINT +;\r\n"
            "PRINT 2;\r\n");
  EXPECT_NE(out.find("c.mac:3:1: fixed: 'if' is now 'IF'"), std::string::npos);
  EXPECT_NE(out.find("c.mac:6:8: error: "), std::string::npos);
  EXPECT_EQ(status_, 1);
}

TEST_F(CheckCommand, LooksIntoWhatIsIncluded) {
  const struct {
    std::string text;
    const char* place;  // found by the program, by the file alone and by both
    const char* rule;
  } rows[] = {
      {"SUB x ; SUBEND\nSUB y ; SUBEND",
       "v.inc:2:1: ", "[no-final-line-feed]\n"},
      {std::string("SUB x ; SUBEND\n\0\nSUB y ;\n", 25),
       "v.inc:2:1: ", "[zero-byte]\n"},
      {"SUB x\n  ?;\nSUBEND\n", "v.inc:2:3: ", "[stray-character]\n"},
      {"SUB x\n  PRINT y;\nSUBEND\n", "v.inc:2:9: ", "[undefined-name]\n"},
  };
  write("v.mac", "PROGRAM p;\nINCLUDE \"v.inc\";\nCALL x;\n");
  for (const auto& row : rows) {
    write("v.inc", row.text);
    for (const char* names : {"v.mac", "v.inc", "v.mac ./v.inc"}) {
      const std::string found = run(std::string("check --format gcc ") + names);
      EXPECT_TRUE(found.starts_with(row.place) && found.ends_with(row.rule) &&
                  found.find('\n') == found.size() - 1)
          << names << ": " << found;
    }
  }
  write("v.inc", "SUB x\n  ;\n");
  EXPECT_EQ(run("check --format gcc v.inc"),
            "v.inc:1:1: error: this SUB has no SUBEND [missing-end]\n");
}

TEST_F(CheckCommand, Explain) {
  EXPECT_NE(run("explain --list").find("undefined-name"), std::string::npos);
  EXPECT_NE(run("explain 5104").find("ALLOCATE"), std::string::npos);
  EXPECT_NE(run("explain undefined-nam").find("did you mean 'undefined-name'?"),
            std::string::npos);
  EXPECT_EQ(status_, 2);
}

}  // namespace
