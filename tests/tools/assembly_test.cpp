// Disassembling and assembling.
#include <gtest/gtest.h>

#include "tests/tools/permute.h"
#include "tools/compiled/assembly.h"

namespace {

std::string Disassembled(std::string_view file) {
  ToolText text;
  CompiledDisassemble(file, &text);
  (void)text.finish();
  return text.text;
}

// The file of a text, or "line:column: message".
std::string Assembled(const std::string& text) {
  XdMemory file;
  CompiledAssemblyError error;
  if (CompiledAssemble(text, &file, &error)) return std::string(file.bytes());
  return std::to_string(error.line) + ":" + std::to_string(error.column) +
         ": " + error.message;
}

bool ComesBack(const std::string& bytes) {
  const std::string text = Disassembled(bytes);
  const std::string again = Assembled(text);
  if (again == bytes) return true;
  ADD_FAILURE() << again.substr(0, 200) << "\n" << text.substr(0, 3000);
  return false;
}

// QUILLO_SOURCES sources give more than four times as many permuted files.
TEST(Assembly, GivesTheSameBytes) {
  std::vector<CompiledCase> cases = FullCases();
  for (CompiledCase& more : RandomCases(SourceCount(), false))
    cases.push_back(std::move(more));
  uint64_t permuted = 0, seed = 0;
  for (const CompiledCase& row : cases) {
    ASSERT_TRUE(ComesBack(row.bytes)) << row.name;
    for (int i = 0; i < 3; i++) {
      const std::string bytes = Permuter(++seed).file(row.bytes);
      if (!ReaderTakes(bytes)) continue;
      permuted += bytes != row.bytes;
      ASSERT_TRUE(ComesBack(bytes)) << row.name << " seed " << seed;
    }
  }
  RecordProperty("permuted", std::to_string(permuted));
  printf("%llu permuted files\n", static_cast<unsigned long long>(permuted));
  EXPECT_GT(permuted, 2 * SourceCount());
}

// A pool whose slots own their texts, which the compiler does not write, and
// bytes that are no characters.
constexpr char OWN_TEXTS[] = R"(quillo-assembly 1
file module plain
pool {
  flags 6
  slot 2 "$u"
  free
  slot 1 "a\xff\n\"\\\x01"
  reuse_start 0
}
name "m"
constants {
  real 0x7ff8000000000001
  string "x"
  string "x"
}
sub {
  body {
    PRINT {
      STRING #1 ; "x"
      STRING #2 ; "x"
      REAL 0x7ff8000000000001
      FUNC #43 #7
      OPERA #99
    }
  }
}
)";

TEST(Assembly, TextComesBack) {
  EXPECT_EQ(OWN_TEXTS, Disassembled(Assembled(OWN_TEXTS)));
}

// A new constant and a new variable change two lines, though the numbers of all
// that follow are others.
TEST(Assembly, IsStableUnderSmallChanges) {
  const auto text_of = [](const std::string& source) {
    Compile compile;
    EXPECT_EQ(RC_OK, compile.program_of(source));
    return Disassembled(Written(&compile.program, XD_TRANSPORT_XDR));
  };
  const std::string tail = "s = \"a\"; PRINT 2.5, i;\n";
  const std::string head = "INTEGER i; STRING s;\n";
  std::string text =
      text_of("PROGRAM p; INTEGER n;\n" + head + "PRINT \"new\";\n" + tail);
  const std::string old = text_of("PROGRAM p;\n" + head + "PRINT;\n" + tail);
  for (const char* line :
       {"  string \"new\"\n", "  INTEGER \"n\"\n", "      STRING \"new\"\n"}) {
    const size_t at = text.find(line);
    ASSERT_NE(std::string::npos, at) << line;
    text.erase(at, strlen(line));
  }
  const size_t print = text.find("    PRINT {\n    }\n");
  ASSERT_NE(std::string::npos, print);
  text.replace(print, 18, "    PRINT\n");
  EXPECT_EQ(old, text);
}

struct FaultCase {
  const char* text;  // behind the first two lines
  const char* error;
};
constexpr FaultCase FAULTS[] = {
    {"pool\n", "3:1: expected \"{\""},
    {"pool {\n", "4:1: expected \"}\" before the end of the text"},
    {"pool {\n  slot 1 $u\n}\n", "4:10: expected a text"},
    {"pool {\n  slot 0 \"$u\"\n}\n",
     "4:8: expected a number of references, 1 or more"},
    {"pool {\n  slot 1 \"$u\" at 3\n}\n",
     "5:1: expected the line of the texts, since slots have places of their "
     "own"},
    {"name \"p\" x\n", "3:10: something that does not belong here"},
    {"name \"p\n", "3:6: a text that does not end"},
    {"name \"\\q\"\n", "3:7: an escape that does not exist"},
    {"name \"\\x4\"\n", "3:7: \\x needs two hexadecimal digits"},
    {"name \"a\\x00\"\n", "3:6: a text with a zero byte"},
    {"constants {\n  real 1e\n}\n", "4:8: expected a number"},
    {"constants {\n  integer 1\n}\n", "4:3: expected real or string"},
    {"body {\n  LOOP\n}\n", "4:3: expected a kind of node"},
    {"body {\n  INT 4294967296\n}\n", "4:7: an integer is out of range"},
    {"body {\n  INT 1\n  INT 2\n}\n",
     "5:3: expected \"}\": a body is one node"},
    {"body {\n  BLOCK {\n}\n",
     "6:1: expected \"}\" before the end of the text"},
    {"body {\n  VAR local \"x\"\n}\n", "4:13: there is no such variable"},
    {"body {\n  VAR common \"k\" \"x\"\n}\n",
     "4:14: there is no such COMMON block"},
    {"body {\n  VAR local #2 ; a\n}\nvariables {\n  INTEGER \"a\"\n}\n",
     "4:13: there is no such variable: the table has 1"},
    {"body {\n  VAR local \"a\"\n}\nvariables {\n  INTEGER \"a\"\n  REAL "
     "\"a\"\n}\n",
     "4:13: more than one variable has that name: its #number is needed"},
    {"constants {\n  real 1\n}\nbody {\n  STRING #0\n}\n",
     "7:10: a constant of another type"},
    {"body {\n  CALL \"s\"\n}\n",
     "4:8: expected sub, fn or cfn in front of a "
     "name"},
    {"body {\n  OPERA &\n}\n", "4:9: expected an operator"},
    {"variables {\n  STRING \"s\" range 1 2\n}\n",
     "4:20: only INTEGER and REAL variables have a range"},
    {"variables {\n  INTEGER \"i\" bounds 1\n}\n",
     "4:22: expected an upper bound, too"},
    {"calls {\n  sub \"s\"\n}\n", "4:7: there is no such SUB"},
    {"calls {\n  external cfn \"s\"\n}\n",
     "4:16: CFN routines are always external"},
    {"calls {\n}\nimports {\n}\n",
     "5:1: expected a part of the program that comes later, or the end of the "
     "text"},
    // What only shows when all of the file is there.
    {"name \"p\"\n",
     "2:6: no compiled file has this: header.kind: 1, a program with a main "
     "body, expected 2: there is no main body"},
    {"pool {\n  flags 4\n  slot 1 \"$a\"\n  unused_start 7\n}\n",
     "6:16: no compiled file has this: pool.unused_start: 7, expected 1"},
    {"pool {\n  slot 1 \"$a\"\n  capacity 1\n}\n",
     "5:12: no compiled file has this: pool.capacity: 1, expected 5632"},
};

TEST(Assembly, FaultsAreNamedWithTheirPlace) {
  for (const FaultCase& row : FAULTS)
    EXPECT_EQ(row.error,
              Assembled(std::string("quillo-assembly 1\nfile program plain\n") +
                        row.text))
        << row.text;
  EXPECT_EQ("1:1: expected quillo-assembly 1", Assembled(""));
  std::string long_line;
  for (int i = 0; i < 1000; i++) long_line += "a ";
  EXPECT_EQ("1:1201: too many words", Assembled(long_line));
  const std::string masks = "quillo-assembly 1\nfile masks xdr\n";
  EXPECT_EQ("3:1: expected an object", Assembled(masks + "}\n"));
  EXPECT_EQ("4:3: expected an object",
            Assembled(masks + "WINDOW \"w\" {\n  EDITOR {\n  }\n}\n"));
  EXPECT_EQ(
      "3:8: a name of more than 31 characters",
      Assembled(masks + "WINDOW \"12345678901234567890123456789012\" {\n"));
  std::string many;
  for (int i = 0; i < 9000; i++) many += "  integer \"a\" 1\n";
  EXPECT_EQ(
      "9004:8: no compiled file has this: editors[0].attributes[9000].type: 0, "
      "expected 1 integer or 4 text",
      Assembled(masks + "WINDOW \"w\" {\n" + many + "  type 0 \"b\"\n}\n"));
}

}  // namespace
