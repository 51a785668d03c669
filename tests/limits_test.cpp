// Limits of the machine, and surroundings that change or resist: many files,
// many compiles, a source replaced while it is read, a directory that cannot be
// written, compiled files that claim more than there is.
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <functional>

#include "Cutil/codes.h"
#include "elut/compile/parse.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"
#include "elut/syntax/token_strings.h"
#include "file_tree.h"
#include "quillo_run.h"
#include "services/channels.h"
#include "util/xd_header.h"
#include "xd_support.h"

namespace {

using std::filesystem::exists;

class Limits : public FileTree {
 protected:
  Limits() { ForgetRuns(); }
  ~Limits() override { ForgetRuns(); }
};

// Many of them --------------------------------------------------------------

TEST_F(Limits, TwoHundredAndFiftySixFiles) {
  std::vector<std::string> arguments = {"-o", "out"};
  for (int i = 0; i < 256; i++) {
    const std::string number = std::to_string(i);
    write("p" + number + ".mac",
          "PROGRAM p" + number + ";\nPRINT " + number + ";\n");
    arguments.push_back("p" + number + ".mac");
  }
  std::filesystem::create_directory("out");
  const RunResult together = RunQuillo(arguments);
  EXPECT_EQ(0, together.status);
  EXPECT_EQ("", together.err);
  for (const int i : {0, 127, 255}) {
    const std::string name = "p" + std::to_string(i);
    EXPECT_EQ(0, RunQuillo({name + ".mac"}).status);
    EXPECT_EQ(ReadWhole(name + ".cm"), ReadWhole("out/" + name + ".cm"));
  }
}

// Open descriptors, and bytes of the heap as far as the allocator tells.
std::pair<ptrdiff_t, size_t> InUse() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  const struct mallinfo2 heap = mallinfo2();
  return {std::distance(begin(all), end(all)), heap.uordblks + heap.hblkhd};
}

// A process that compiled any number of sources holds what it held before the
// last round: nothing of it grows, not by a byte.
TEST_F(Limits, TenThousandCompiles) {
  write("good.mac",
        "PROGRAM p;\nINCLUDE \"part\";\nINTEGER a[1:9](LEN(\"abc\"));\n"
        "a(1) = FNpart(%level) + 2.5;\nPRINT \"text\", a(1);\n");
  write("part", "SUB part (REAL r)\nRETURN r;\nSUBEND\n");
  write("bad.mac", "PROGRAM p;\nINCLUDE \"none\";\nPRINT );\nx = 1;\n(");
  write("good.msk",
        "WINDOW w {\nwidth = 1;\nON ENTER EXECUTE { PRINT 1; }\n"
        "BUTTON b { text = \"t\"; }\n}\n");
  write("bad.msk", "WINDOW w {\nMODULE { INTEGER a(;\n");
  const auto round = [] {
    // Writing over an old file would wait for the disk.
    std::filesystem::remove("good.cm");
    std::filesystem::remove("good.cg");
    EXPECT_EQ(RC_OK, RunDriverHere({"-dump", "good.mac"}).status);
    EXPECT_EQ(RC_OK, RunDriverHere({"-noxdr", "-t", "1", "good.mac"}).status);
    EXPECT_NE(RC_OK, RunDriverHere({"bad.mac"}).status);
    EXPECT_EQ(RC_OK, RunDriverHere({"-w", "-cg", "good.msk"}).status);
    EXPECT_NE(RC_OK, RunDriverHere({"-w", "bad.msk"}).status);
  };
  const auto used_behind = [&](int rounds) {
    for (int i = 0; i < rounds; i++) round();
    return InUse();
  };
  used_behind(20);
  const auto before = used_behind(1);
  EXPECT_EQ(before, used_behind(2000));
}

// Each level would include two below it, and so on: 4 billion files.
TEST_F(Limits, SourceThatIncludesItselfTwice) {
  write("a.mac", "PROGRAM p;\nINCLUDE \"twice\";\nPRINT 1;\n");
  write("twice", "INCLUDE \"twice\";\nINCLUDE \"twice\";\n");
  const RunResult result = RunDriverHere({"a.mac"});
  EXPECT_EQ(RC_CANNOT_OPEN, result.status);
  EXPECT_TRUE(result.err.starts_with(
      "31:twice Line:1 Code:1006 ! too many nested files: 'twice'\n\n"));
  EXPECT_FALSE(exists("a.cm"));
}

// Files that change ---------------------------------------------------------

constexpr char ERROR_LINE[] = "PRINT first );\n";

// A source of some hundred kilobytes with an error at its start and one at its
// end, where the line is `last`.
std::string LongSource(const std::string& last) {
  std::string text = "PROGRAM p;\n" + std::string(ERROR_LINE);
  for (int i = 0; i < 30000; i++) text += "PRINT 1;\n";
  return text + last + "\nPRINT 2;\n";
}

// Reports of a compile of "a.mac"; with the first one, `change` is called.
struct Reports {
  std::function<void()> change;
  std::string text;

  static int Take(const char* text, void* self) {
    auto* reports = static_cast<Reports*>(self);
    if (reports->text.empty()) reports->change();
    reports->text += text;
    return RC_OK;
  }
};

std::string ReportsOf(std::function<void()> change) {
  Reports reports = {std::move(change), ""};
  ChannelReset();
  EXPECT_EQ(RC_OK, ChannelBindCallback(1, 0, Reports::Take, &reports));
  McSrcReset();
  McParseReset();
  McLineStore lines;
  EXPECT_EQ(RC_OK, McSrcOpen("a.mac", &lines));
  McProgram* program = McProgramCreate();
  EXPECT_EQ(RC_SYNTAX, McParseProgram(program, &lines));
  EXPECT_EQ(RC_OK, McCompileEnter(nullptr));
  McProgramFree(&program);
  McTokenStringsFree();
  McSrcReset();
  ChannelReset();
  return reports.text;
}

// An editor that saves a file writes a new one in its place: the compile stays
// with the one it has opened, to its last report.
TEST_F(Limits, SourceReplacedWhileRead) {
  write("a.mac", LongSource("PRINT old );"));
  const std::string reports = ReportsOf([this] {
    write("new", LongSource("PRINT new );"));
    std::filesystem::rename("new", "a.mac");
  });
  EXPECT_NE(std::string::npos, reports.find("in line 2\nPRINT first );\n"));
  EXPECT_NE(std::string::npos, reports.find("in line 30003\nPRINT old );\n"));
}

// One that is cut while it is read ends there, and its lines are gone for
// reports.
TEST_F(Limits, SourceCutWhileRead) {
  write("a.mac", LongSource("PRINT old );"));
  const std::string reports =
      ReportsOf([] { std::filesystem::resize_file("a.mac", 4); });
  EXPECT_NE(std::string::npos, reports.find("syntax error in line 2\n\n"));
  EXPECT_EQ(std::string::npos, reports.find("30003"));
}

// Directories that resist ---------------------------------------------------

TEST_F(Limits, ReadOnlyDirectory) {
  write("a.mac", "PROGRAM p;\nPRINT 1;\n");
  write("closed/keep.cm", "old");
  std::filesystem::permissions("closed/keep.cm", std::filesystem::perms{0444});
  std::filesystem::permissions("closed", std::filesystem::perms{0555});
  std::filesystem::permissions(".", std::filesystem::perms{0755});
  const pid_t child = fork();
  if (child == 0) {
    // For the administrator nothing is read-only.
    if (getuid() == 0 && setuid(65534) != 0) _exit(1);
    for (const char* output : {"closed/a", "closed/keep"})
      if (RunDriverHere({"a.mac", "-o", output}).status != RC_CANNOT_CREATE)
        _exit(2);
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  std::filesystem::permissions("closed", std::filesystem::perms{0755});
  EXPECT_FALSE(exists("closed/a.cm"));
  EXPECT_EQ("old", ReadWhole("closed/keep.cm"));
}

// Files that claim too much -------------------------------------------------

#define PLAIN_PROGRAM "EEEE 01 11 00 20 04 00 01 "
#define XDR_PROGRAM "EEEE 01 11 00 20 01 00 00000001 "
#define PLAIN_MASK "EEEE 03 11 00 20 04 00 "
#define XDR_MASK "EEEE 03 11 00 20 01 00 "
// An empty string pool of unique texts.
#define NO_STRINGS "0001 00000000 00000004 00000000 00000000 00000000 00000000 "
#define XDR_NO_STRINGS \
  "00000001 00000000 00000004 00000000 00000000 00000000 00000000 00000000 "
#define NO_TEXT "FFFFFFFF "
#define REST \
  "00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000"

// Each claims four billion of something, or 65535 where the count has 16 bits.
constexpr const char* CLAIMS[] = {
    PLAIN_PROGRAM "0001 FFFFFFFF 00000004" REST,    // slots
    XDR_PROGRAM "00000001 FFFFFFFF 00000004" REST,  // slots
    PLAIN_PROGRAM "0001 FFFFFFFF 00000002" REST,    // slots of own texts
    PLAIN_PROGRAM
    "0001 00000000 00000004 00000000 00000000 "
    "FFFFFFF0 FFFFFFF0 FFFFFFF0" REST,  // text buffer
    PLAIN_PROGRAM
    "0001 00000000 00000004 00000000 00000000 "
    "00000000 FFFFFA00 00000000" REST,                         // its capacity
    PLAIN_PROGRAM NO_STRINGS "FFFFFFF0" REST,                  // name
    PLAIN_PROGRAM NO_STRINGS NO_TEXT "FFFF 00" REST,           // imports
    PLAIN_PROGRAM NO_STRINGS NO_TEXT "0000 FFFFFFFF 02" REST,  // constants
    XDR_PROGRAM XDR_NO_STRINGS NO_TEXT
    "00000000 FFFFFFFF 00000003 FFFFFFF0" REST,  // constants
    PLAIN_PROGRAM NO_STRINGS NO_TEXT "0000 00000001 03 FFFFFFFE" REST,
    PLAIN_PROGRAM NO_STRINGS NO_TEXT
    "0000 00000000 FFFFFFFF 00 FFFF 0000" REST,  // variables
    PLAIN_PROGRAM NO_STRINGS NO_TEXT
    "0000 00000000 00000000 00 0000 0000 FFFF" REST,  // COMMON blocks
    PLAIN_PROGRAM NO_STRINGS NO_TEXT
    "0000 00000000 00000000 00 0000 0000 0000 FFFF" REST,  // SUBs
    PLAIN_PROGRAM NO_STRINGS NO_TEXT
    "0000 00000000 00000000 00 0000 0000 0000 0000 FFFF" REST,  // calls
    PLAIN_MASK "FFFFFFFF 02" REST,                              // editors
    XDR_MASK "FFFFFFFF 00000002" REST,                          // editors
    PLAIN_MASK "00000001 02 FFFFFFF0" REST,                     // name
    PLAIN_MASK "00000001 02 00000000 FFFF 01" REST,             // attributes
    PLAIN_MASK "00000001 02 00000000 0000 FFFF 01" REST,        // handlers
};

long PeakKilobytes() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST_F(Limits, ClaimsAreRefusedWithoutBelievingThem) {
  using std::chrono::steady_clock;
  for (const char* claim : CLAIMS) {
    SCOPED_TRACE(claim);
    const std::string bytes = FromHex(claim);
    const bool mask = bytes[2] == XD_KIND_MASK;
    write("claim", bytes);
    const auto read = [&] {
      if (mask) {
        EditorList list;
        EXPECT_EQ(RC_BODY_FAILED, MaskListRead("claim", &list));
      } else {
        McProgram* program;
        EXPECT_EQ(RC_BODY_FAILED, McXdrReadFromFile("claim", &program));
      }
    };
    read();
    const long before = PeakKilobytes();
    auto fastest = steady_clock::duration::max();
    for (int i = 0; i < 20; i++) {
      const auto start = steady_clock::now();
      read();
      fastest = std::min(fastest, steady_clock::now() - start);
    }
    EXPECT_LE(PeakKilobytes() - before, 1024);
    EXPECT_LT(fastest, std::chrono::milliseconds(1));
  }
}

}  // namespace
