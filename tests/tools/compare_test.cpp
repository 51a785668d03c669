// Differences in words, and the commands over them.
#include <gtest/gtest.h>

#include "tests/file_tree.h"
#include "tests/quillo_run.h"
#include "tests/tools/round_trip.h"
#include "tools/compare/difference.h"
#include "tools/compare/line_diff.h"
#include "tools/compiled/assembly.h"
#include "tools/decompile/spelling.h"

namespace {

std::string Bytes(const std::string& source, int transport, int16_t trace) {
  const bool masks = source.starts_with("WINDOW");
  TextFiles files;
  const std::string name = masks ? "a.msk" : "a.mac";
  files.texts[name] = source + "\n";
  return CompileBytes(&files, name, {transport, trace});
}

std::string DiffText(const std::string& a, const std::string& b) {
  const Difference difference = FindDifference(a, "a", b, "b");
  if (!difference.trouble.empty()) return difference.trouble;
  ToolText out;
  PrintDifference(&out, difference);
  EXPECT_TRUE(out.finish());
  return out.text;
}

constexpr char INTERNAL[] =
    "the change is internal: no caller or user is affected\n";
constexpr char AFFECTED[] = "callers or users are affected\n";

struct DiffCase {
  const char* a;
  const char* b;
  std::string words;
};
const DiffCase DIFFERENCES[] = {
    {"PROGRAM p; INTEGER i; i = 1; PRINT i;",
     "PROGRAM p; INTEGER i[1:2]; i = 2; PRINT i;",
     "main program: variable changed\n  - INTEGER i;\n  + INTEGER i[1:2];\n"
     "main program: statement changed\n  - i = 1;\n  + i = 2;\n" +
         std::string(INTERNAL)},
    {"PROGRAM p; IMPORT a FROM l; IMPORT b; PRINT 2.5;",
     "PROGRAM p; IMPORT a FROM m; IMPORT c; PRINT \"x\";",
     "import changed\n  - IMPORT a FROM l;\n  + IMPORT a FROM m;\n"
     "import removed\n  - IMPORT b;\nimport added\n  + IMPORT c;\n"
     "main program: statement changed\n  - PRINT 2.5;\n  + PRINT \"x\";\n"
     "constant in use removed\n  - 2.5\nconstant in use added\n  + \"x\"\n" +
         std::string(INTERNAL)},
    {"MODULE m; SUB s (REAL a) ; SUBEND SUB t ; SUBEND",
     "MODULE m; SUB s (REAL a, b) ; SUBEND SUB u ; SUBEND",
     "SUB s: parameters changed  (affects callers or users)\n"
     "  - SUB s (REAL a)\n  + SUB s (REAL a, b)\n"
     "SUB removed  (affects callers or users)\n  - SUB t\n"
     "SUB added\n  + SUB u\n" +
         std::string(AFFECTED)},
    {"MODULE m; SUB s COMMON c INTEGER x; END COMMON ; SUBEND",
     "PROGRAM m; SUB s COMMON c REAL x; END COMMON ; SUBEND ;",
     "name changed  (affects callers or users)\n  - MODULE m;\n  + PROGRAM m;\n"
     "SUB s / COMMON c: COMMON variable changed  (affects callers or users)\n"
     "  - INTEGER x;\n  + REAL x;\nmain program added\n  + main program\n" +
         std::string(AFFECTED)},
    {"WINDOW w { x = 1; ON ENTER DO a; BUTTON b { ; } }",
     "WINDOW w { x = 2; ON ENTER DO c; ON EXIT DO a; LABEL b { ; } }",
     "WINDOW w: attribute changed\n  - x = 1;\n  + x = 2;\n"
     "WINDOW w / ON ENTER: action changed\n  - DO a;\n  + DO c;\n"
     "WINDOW w: object removed  (affects callers or users)\n  - BUTTON b\n"
     "WINDOW w: handler added\n  + ON EXIT\nWINDOW w: object added\n"
     "  + LABEL b\n" +
         std::string(AFFECTED)},
    {"PROGRAM p; PRINT 1; PRINT 2.5;",
     "PROGRAM p; INTEGER a(\"x\"); PRINT 1; PRINT 2.5;",
     "tables changed\n  + other unused entries, or another order of entries\n" +
         std::string(INTERNAL)},
    {"WINDOW w { ON ENTER EXECUTE { PRINT 1; } }",
     "WINDOW w { ON ENTER DO x; ON EXIT EXECUTE { ; } }",
     "WINDOW w / ON ENTER: action added\n  + DO x;\n"
     "WINDOW w / ON ENTER: EXECUTE block removed\n  - EXECUTE block\n"
     "WINDOW w: handler added\n  + ON EXIT\n" +
         std::string(INTERNAL)},
    {"WINDOW w { ON ENTER EXECUTE { PRINT 1; } }",
     "WINDOW w { ON ENTER EXECUTE { PRINT 2; } }",
     "WINDOW w / ON ENTER / EXECUTE block: statement changed\n"
     "  - PRINT 1;\n  + PRINT 2;\n" +
         std::string(INTERNAL)},
    // Orders.
    {"WINDOW w { z = 1; a = 1; b = 2; BUTTON x { ; } LABEL y { ; } }",
     "WINDOW w { z = 1; b = 2; a = 1; LABEL y { ; } BUTTON x { ; } }",
     "WINDOW w: order of attributes changed\n  - a, b\n  + b, a\n"
     "WINDOW w: order changed\n  - BUTTON x, LABEL y\n"
     "  + LABEL y, BUTTON x\n" +
         std::string(INTERNAL)},
    {"MODULE m; IMPORT a; IMPORT b; SUB s INTEGER a, b, c, d, e, f; ; SUBEND"
     " SUB t ; SUBEND SUB u ; SUBEND SUB v ; SUBEND",
     "MODULE m; IMPORT b; IMPORT a; SUB u ; SUBEND SUB t ; SUBEND"
     " SUB s INTEGER f, e, d, c, b, a; ; SUBEND SUB v ; SUBEND",
     "order of imports changed\n  - a, b\n  + b, a\n"
     "SUB s: order of variables changed\n  - a, b, c, d, e, ...\n"
     "  + f, e, d, c, b, ...\n"
     "order changed\n  - SUB s, SUB t, SUB u\n  + SUB u, SUB t, SUB s\n" +
         std::string(INTERNAL)},
    {"PROGRAM p; COMMON c INTEGER x; END COMMON COMMON d REAL y; END COMMON ;",
     "PROGRAM p; COMMON d REAL y; END COMMON COMMON c INTEGER x; END COMMON ;",
     "main program: order of COMMON blocks changed\n  - c, d\n  + d, c\n" +
         std::string(INTERNAL)},
    {"PROGRAM p; COMMON c INTEGER x, y; END COMMON ;",
     "PROGRAM p; COMMON c INTEGER y, x; END COMMON ;",
     "main program / COMMON c: order of COMMON variables changed"
     "  (affects callers or users)\n  - x, y\n  + y, x\n" +
         std::string(AFFECTED)},
    {"PROGRAM p; ;", "WINDOW w { ; }",
     "masks and programs have nothing in common to compare: b holds masks, "
     "a a program or module"},
};

TEST(Diff, SaysWhatChanged) {
  for (const DiffCase& row : DIFFERENCES)
    EXPECT_EQ(row.words, DiffText(Bytes(row.a, 1, 0), Bytes(row.b, 4, 0)))
        << row.a;
  const char* const source = "PROGRAM p; PRINT 1;\nPRINT 2;";
  EXPECT_EQ("same file content\n",
            DiffText(Bytes(source, 1, 0), Bytes(source, 1, 0)));
  EXPECT_EQ("same program, other encoding\n",
            DiffText(Bytes(source, 1, 1), Bytes(source, 4, 1)));
  EXPECT_EQ(
      "recorded lines changed\n  - none\n  + there\n" + std::string(INTERNAL),
      DiffText(Bytes(source, 1, 0), Bytes(source, 4, 1)));
}

// An edit too long to be searched is one hunk, in which some lines agree.
TEST(Diff, LeavesOutEqualLinesOfAHunk) {
  std::string a = "PROGRAM p;", b = a;
  for (int i = 0; i < 1000; i++) {
    a += " BREAK";
    b += i % 2 == 0 ? " CONTINUE" : " BREAK";
  }
  const std::string text = DiffText(Bytes(a, 1, 0), Bytes(b, 1, 0));
  EXPECT_NE(std::string::npos, text.find("  - BREAK\n  + CONTINUE\n"));
  EXPECT_EQ(std::string::npos, text.find("  - BREAK\n  + BREAK\n"));
}

// A range that begins with a NaN of these bits.
std::string NanBytes(const std::string& bits) {
  XdMemory file;
  CompiledAssemblyError error;
  EXPECT_TRUE(CompiledAssemble(
      "quillo-assembly 1\nfile program plain\nname \"p\"\nbody {\n  PRINT\n}\n"
      "variables {\n  REAL \"r\" range " +
          bits + " 1\n}\n",
      &file, &error))
      << error.message;
  return std::string(file.bytes());
}

TEST(Diff, ShowsWhatNoSourceGives) {
  std::string other = Bytes("PROGRAM p; ;", 1, 0);
  const std::string usual = other;
  other[5] = 'a';
  EXPECT_EQ("format version changed\n  - 17.0.32\n  + 17.0.97\n" +
                std::string(INTERNAL),
            DiffText(usual, other));
  const std::string strange = NanBytes("0x7ff8000000000001");
  std::string nan;
  ASSERT_TRUE(SpellRealByIntegers(
      &nan, std::bit_cast<double>(uint64_t{0xfff8000000000000})));
  EXPECT_EQ("main program: variable changed\n  - REAL r[" + nan +
                ":1];\n  + REAL r[NaN(0x7ff8000000000001):1];\n" + INTERNAL,
            DiffText(NanBytes("0xfff8000000000000"), strange));
  const Decompiled none = Decompile(strange, "x");
  EXPECT_EQ(DecompileOutcome::REFUSED, none.outcome);
  EXPECT_EQ(
      "main program: no expression gives a bound that is the NaN "
      "0x7ff8000000000001",
      none.message);
}

// Taking out of one text what a hunk has in it, and putting in what it has of
// the other, leads from the one to the other.
TEST(Diff, LeadsFromOneTextToTheOther) {
  static const std::string WORDS[] = {"a", "b", "c", "d", "e", "f", "g"};
  uint32_t state = 1;
  const auto next = [&](uint32_t limit) {
    state = state * 1664525 + 1013904223;
    return (state >> 8) % limit;
  };
  for (int round = 0; round < 2000; round++) {
    std::vector<std::string_view> a, b;
    const uint32_t kinds = 1 + next(7);
    for (uint32_t i = next(round % 20 == 0 ? 900 : 12); i > 0; i--)
      a.push_back(WORDS[next(kinds)]);
    for (uint32_t i = next(round % 20 == 0 ? 900 : 12); i > 0; i--)
      b.push_back(WORDS[next(kinds)]);
    std::vector<std::string_view> made;
    size_t at = 0;
    for (const LineHunk& hunk : DiffLines(a, b)) {
      ASSERT_LE(at, hunk.a_first);
      made.insert(made.end(), a.begin() + static_cast<ptrdiff_t>(at),
                  a.begin() + static_cast<ptrdiff_t>(hunk.a_first));
      made.insert(made.end(), b.begin() + static_cast<ptrdiff_t>(hunk.b_first),
                  b.begin() + static_cast<ptrdiff_t>(hunk.b_end));
      at = hunk.a_end;
    }
    made.insert(made.end(), a.begin() + static_cast<ptrdiff_t>(at), a.end());
    ASSERT_EQ(b, made);
  }
}

class ToolCommands : public FileTree {};

struct CommandCase {
  const char* script;
  int status;
  const char* out;  // begins like this; nullptr: not looked at
  const char* err;  // the same
};
constexpr CommandCase COMMANDS[] = {
    {"quillo -noxdr a.mac && quillo-tools decompile a.cm", 0,
     "! quillo -noxdr a.mac\nPROGRAM p;\n\nPRINT 1;\n", ""},
    {"quillo-tools match a.mac a.cm", 0, "yes\n", ""},
    {"quillo-tools match b.mac a.cm", 1,
     "no\nmain program: statement changed\n  - PRINT 2;\n  + PRINT 1;\n", ""},
    {"quillo -w -cg w.msk && quillo-tools match a.mac w.cg", 1,
     "no\nmasks and programs have nothing in common to compare: w.cg holds "
     "masks, a.mac a program or module\n",
     ""},
    {"quillo-tools match w.msk a.cm", 1,
     "no\nmasks and programs have nothing in common to compare: w.msk holds "
     "masks, a.cm a program or module\n",
     ""},
    {"cat a.mac | quillo-tools match /dev/stdin a.cm", 0, "yes\n", ""},
    {"quillo-tools match none.mac a.cm", 2, "", "file 'none.mac' not found"},
    // What is there under the name and is another text stays.
    {"quillo-tools decompile -o . a.cm", 2, "",
     "quillo-tools: a.cm: './a.mac' is there, is another text"},
    {"mkdir e && echo mine >e/i_1.inc && quillo -t 1 i.mac &&"
     " ! quillo-tools decompile -o e i.cm 2>/dev/null && ls e && cat e/* &&"
     " quillo-tools decompile --force -o e i.cm && ls e",
     0, "i_1.inc\nmine\ni.mac\ni_1.inc\n", ""},
    {"mkdir f g && cp a.cm f && quillo-tools decompile -o g a.cm f/a.cm; ls g",
     0, "", "quillo-tools: 'a.cm' and 'f/a.cm' would be written to one"},
    {"cp a.cm ./-t.cm && quillo-tools decompile ./-t.cm", 0,
     "! quillo -noxdr ./-t.mac\n", ""},
    {"mkdir d && quillo-tools decompile -o d a.cm && "
     "quillo-tools decompile -o d a.cm && cat d/a.mac && "
     "cd d && quillo -noxdr a.mac && cmp a.cm ../a.cm",
     0, "! quillo -noxdr a.mac\nPROGRAM p;\n\nPRINT 1;\n", ""},
    {"quillo -t 1 i.mac && quillo-tools decompile i.cm", 1, "",
     "quillo-tools: i.cm: the source needs 1 include files"},
    {"quillo-tools decompile -o d i.cm && cd d && quillo -t 1 i.mac && "
     "cmp i.cm ../i.cm",
     0, "", ""},
    {"quillo-tools decompile b.mac", 2, "",
     "quillo-tools: b.mac: not a compiled file"},
    {"quillo-tools diff --json a.cm a.cm", 0, "{\"version\":1,\"same\":true,",
     ""},
    {"quillo b.mac; quillo-tools diff a.cm b.cm", 1, nullptr, ""},
    {"quillo-tools disassemble a.cm | quillo-tools assemble - | cmp - a.cm", 0,
     "", ""},
    {"echo x | quillo-tools assemble /dev/stdin", 1, "",
     "/dev/stdin:1:1: expected quillo-assembly 1\n"},
    {"quillo-tools --help >/dev/full", 2, "",
     "quillo-tools: cannot write the output\n"},
    {"quillo-tools diff --help >/dev/full", 2, "",
     "quillo-tools: cannot write the output\n"},
    {"quillo-tools validate --json none.cm a.cm", 2,
     "{\"version\":1,\"files\":[\n"
     "{\"file\":\"none.cm\",\"error\":\"cannot be read\",\"valid\":false},\n"
     "{\"file\":\"a.cm\",\"findings\":[],\"valid\":true}\n]}\n",
     "quillo-tools: cannot read"},
    {"quillo-tools diff a.cm none.cm", 2, "", "quillo-tools: cannot read"},
};

TEST_F(ToolCommands, DoWhatTheyShould) {
  write("a.mac", "PROGRAM p; PRINT 1;\n");
  write("b.mac", "PROGRAM p; PRINT 2;\n");
  write("w.msk", "WINDOW w { ; }\n");
  write("i.mac", "PROGRAM p; INCLUDE \"i.inc\"; PRINT 1;\n");
  write("i.inc", "SUB s\n\nPRINT 2;\nSUBEND\n");
  for (const CommandCase& row : COMMANDS) {
    const RunResult run = RunShell(row.script);
    EXPECT_EQ(row.status, run.status) << row.script << run.err;
    if (row.out != nullptr) {
      EXPECT_EQ(row.out, run.out.substr(0, std::string(row.out).size()))
          << row.script;
    }
    EXPECT_TRUE(run.err.starts_with(row.err)) << run.err;
  }
}

// What the documents show: blocks "text NAME" are files, "sh" runs, "output" is
// what came out.
TEST_F(ToolCommands, DoWhatTheDocumentsShow) {
  for (const char* document :
       {"README.md", "docs/decompiling.md", "docs/version-control.md"}) {
    std::istringstream lines(
        ReadWhole(std::string(SOURCE_DIRECTORY "/") + document).value());
    std::string kind, block;
    RunResult run = {0, "", ""};
    bool tools = false;
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("## ")) tools = line.find("lost") != line.npos;
      if (std::string(document) == "README.md" && !tools) continue;
      if (!line.starts_with("```")) {
        block += line + "\n";
        continue;
      }
      if (kind.starts_with("text ")) write(kind.substr(5), block);
      if (kind == "sh") {
        run = RunShell(block);
        EXPECT_EQ("", run.err) << document;
      }
      if (kind == "output") {
        EXPECT_EQ(block, run.out) << document;
      }
      kind = kind.empty() ? line.substr(3) : "";
      block.clear();
    }
  }
}

}  // namespace
