// Limits of the machine, and surroundings that change: many compiles, a source
// replaced while it is read, compiled files that claim more than there is.
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <functional>

#include "compile.h"
#include "file_tree.h"
#include "quillo_run.h"
#include "rows.h"
#include "util/xd_header.h"

namespace {

using Limits = FileTree;

// Many of them --------------------------------------------------------------

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
    EXPECT_EQ(0, RunDriverHere({"-dump", "good.mac"}).status);
    EXPECT_EQ(0, RunDriverHere({"-noxdr", "-t", "1", "good.mac"}).status);
    EXPECT_NE(0, RunDriverHere({"bad.mac"}).status);
    EXPECT_EQ(0, RunDriverHere({"-w", "-cg", "good.msk"}).status);
    EXPECT_NE(0, RunDriverHere({"-w", "bad.msk"}).status);
  };
  const auto used_behind = [&](int rounds) {
    for (int i = 0; i < rounds; i++) round();
    return InUse();
  };
  used_behind(20);
  const auto before = used_behind(1);
  EXPECT_EQ(before, used_behind(2000));
}

// Files that change ---------------------------------------------------------

// The reports of a compile of "a.mac", some hundred kilobytes with an error at
// its start and one at its end; with the first report, `change` is called.
class Changed : public ReportText {
 public:
  explicit Changed(std::function<void()> change)
      : change_(std::move(change)), front_(&run_, &files_, this) {
    std::ofstream("a.mac") << source("old");
    EXPECT_EQ(RC_OK, McSrcOpen(&front_.scanner.source, "a.mac"));
    McProgram program;
    EXPECT_EQ(RC_SYNTAX, McParseProgram(&front_, &program));
  }
  static std::string source(const std::string& last) {
    std::string text = "PROGRAM p;\nPRINT first );\n";
    for (int i = 0; i < 30000; i++) text += "PRINT 1;\n";
    return text + "PRINT " + last + " );\nPRINT 2;\n";
  }
  bool holds(const char* part) const { return text.find(part) != text.npos; }

 private:
  void report(const McReport& report) override {
    if (text.empty()) change_();
    ReportText::report(report);
  }

  std::function<void()> change_;
  McRun run_;
  McSrcFiles files_;
  McFront front_;
};

// An editor that saves a file writes a new one in its place: the compile stays
// with the one it has opened, to its last report.
TEST_F(Limits, SourceReplacedWhileRead) {
  const Changed reports([this] {
    write("new", Changed::source("new"));
    std::filesystem::rename("new", "a.mac");
  });
  EXPECT_TRUE(reports.holds("in line 2\nPRINT first );\n"));
  EXPECT_TRUE(reports.holds("in line 30003\nPRINT old );\n"));
}

// One that is cut while it is read ends there, and its lines are gone for
// reports.
TEST_F(Limits, SourceCutWhileRead) {
  const Changed reports([] { std::filesystem::resize_file("a.mac", 4); });
  EXPECT_TRUE(reports.holds("syntax error in line 2\n\n"));
  EXPECT_FALSE(reports.holds("30003"));
}

// Files that claim too much -------------------------------------------------

// Each claims four billion of something, or 65535 where the count has 16 bits.
// Zeros follow. P: a program in the plain transport, with an empty string pool
// and without a name; X: the same in XDR; M: masks, plain.
constexpr char CLAIMS[] = R"(
  // Slots, of own texts too; the text buffer, its capacity; the name.
  EEEE 01 11 00 20 04 00 01 0001 FFFFFFFF 00000004
  EEEE 01 11 00 20 01 00 00000001 00000001 FFFFFFFF 00000004
  EEEE 01 11 00 20 04 00 01 0001 FFFFFFFF 00000002
  EEEE 01 11 00 20 04 00 01 0001 00000000 00000004 00000000 00000000 FFFFFFF0
    + FFFFFFF0 FFFFFFF0
  EEEE 01 11 00 20 04 00 01 0001 00000000 00000004 00000000 00000000 00000000
    + FFFFFA00 00000000
  EEEE 01 11 00 20 04 00 01 0001 00000000 00000004 00000000 00000000 00000000
    + 00000000 00000000 FFFFFFF0
  // Imports; constants and their length; variables, COMMON blocks, SUBs, calls.
  P FFFF 00 ;; P 0000 FFFFFFFF 02 ;; X 00000000 FFFFFFFF 00000003 FFFFFFF0
  P 0000 00000001 03 FFFFFFFE ;; P 0000 00000000 FFFFFFFF 00 FFFF 0000
  P 0000 00000000 00000000 00 0000 0000 FFFF
  P 0000 00000000 00000000 00 0000 0000 0000 FFFF
  P 0000 00000000 00000000 00 0000 0000 0000 0000 FFFF
  // Editors, a name, attributes, handlers.
  M FFFFFFFF 02 ;; EEEE 03 11 00 20 01 00 FFFFFFFF 00000002
  M 00000001 02 FFFFFFF0 ;; M 00000001 02 00000000 FFFF 01
  M 00000001 02 00000000 0000 FFFF 01)";

std::string Claim(std::string hex) {
  constexpr std::pair<char, const char*> STARTS[] = {
      {'P',
       "EEEE 01 11 00 20 04 00 01 0001 00000000 00000004 00000000 00000000"
       "00000000 00000000 00000000 FFFFFFFF"},
      {'X',
       "EEEE 01 11 00 20 01 00 00000001 00000001 00000000 00000004 00000000"
       "00000000 00000000 00000000 00000000 FFFFFFFF"},
      {'M', "EEEE 03 11 00 20 04 00"}};
  for (const auto& [letter, start] : STARTS)
    if (hex[0] == letter) hex.replace(0, 1, start);
  return FromHex(hex) + std::string(32, '\0');
}

long PeakKilobytes() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST_F(Limits, ClaimsAreRefusedWithoutBelievingThem) {
  using std::chrono::steady_clock;
  for (const auto& [claim] : Rows<1>(CLAIMS)) {
    const std::string bytes = Claim(claim);
    const auto read = [&] {
      McRun run;
      EditorList masks(&run.attribute_names);
      UtPtr<McProgram> program;
      EXPECT_EQ(3016, bytes[2] == XD_KIND_MASK
                          ? MaskListReadFromBytes(bytes, &masks)
                          : McXdrReadFromBytes(bytes, &program))
          << claim;
    };
    read();
    const long before = PeakKilobytes();
    auto fastest = steady_clock::duration::max();
    for (int i = 0; i < 20; i++) {
      const auto start = steady_clock::now();
      read();
      fastest = std::min(fastest, steady_clock::now() - start);
    }
    EXPECT_LE(PeakKilobytes() - before, 1024) << claim;
    EXPECT_LT(fastest, std::chrono::milliseconds(1)) << claim;
  }
}

}  // namespace
