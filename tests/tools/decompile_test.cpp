// Sources that come back: word for word where people look at them, and byte
// for byte everywhere.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "tests/file_tree.h"
#include "tests/tools/compiled_files.h"
#include "tests/tools/round_trip.h"
#include "tools/decompile/spelling.h"

namespace {

std::string BytesOf(const std::string& name, const std::string& text,
                    CompileWay way = {XD_TRANSPORT_PLAIN, 0}) {
  TextFiles files;
  files.texts[name] = text;
  return CompileBytes(&files, name, way);
}

// The text that comes back, or why none does.
std::string Back(const std::string& name, const std::string& text,
                 CompileWay way = {XD_TRANSPORT_PLAIN, 0}) {
  const std::string bytes = BytesOf(name, text, way);
  if (bytes.empty()) return "does not compile";
  std::string back;
  const std::string wrong = RoundTrip(bytes, way, &back);
  return wrong.empty() ? back : wrong;
}

// The text behind the header of a program and in front of its end.
std::string Body(const std::string& text) {
  const std::string header = "PROGRAM p;\n\n";
  const size_t at = text.find(header);
  return at == std::string::npos ? text : text.substr(at + header.size());
}

struct TextCase {
  const char* source;  // behind PROGRAM p;
  const char* back;
};
constexpr TextCase TEXTS[] = {
    {";", ";\n"},
    {"; INTEGER_;", "does not compile"},
    {"INTEGER i;; i = 1;", "INTEGER i;\n\n;\ni = 1;\n"},
    {"INTEGER a,b; REAL c; INTEGER d; a=b;",
     "INTEGER a, b;\nREAL c;\nINTEGER d;\n\na = b;\n"},
    {"INTEGER a; a = ((1 + 2)) * (-(a) - (3 * 4));",
     "INTEGER a;\n\na = (1 + 2) * (-(a) - 3 * 4);\n"},
    {"INTEGER a; a = 1 - (2 - 3) - (4 ** 5) ** 6 ** 7;",
     "INTEGER a;\n\na = 1 - (2 - 3) - (4 ** 5) ** 6 ** 7;\n"},
    {"INTEGER a; a += 1 + a = 2; a = (a = 1) + 2;",
     "INTEGER a;\n\na += 1 + a = 2;\na = (a = 1) + 2;\n"},
    {"IF 1 THEN ; ELSE BREAK BREAK END IF",
     "IF 1 THEN\n  ;\nELSE\n  BREAK\n  BREAK\nEND IF\n"},
    {"SELECT 1; CASE > 2, 3 TO 4, 5 == 6; PRINT; CASE ELSE EXIT 1; END SELECT",
     "SELECT 1;\n  CASE > 2, 3 TO 4, 5 == 6;\n    PRINT;\n  CASE ELSE\n"
     "    EXIT 1;\nEND SELECT\n"},
    {"PRINT 0xFFFFFFFF, 017, 'A', 1E3, .5, 90D, PI, MSG(\"a\", 5);",
     "PRINT 0xFFFFFFFF, 15, 65, 1000.0, 0.5, 90.0, PI, MSG(\"a\", 5);\n"},
    // Ranges keep their value; a constant that they alone have stands there.
    {"INTEGER a[-1 - 1:2.6](LEN(\"ab\")); REAL r[0.5:1e3]; a = 1;",
     "INTEGER a[-2:3](2);\nSTRING unused[2.6:0], unused[\"ab\":0];\n"
     "REAL r[0.5:1000.0];\n\na = 1;\n"},
    {"REAL r[1 / 3:-(2 / 1)]; r = 2.0;", "REAL r[1/3:-2];\n\nr = 2.0;\n"},
    // Subscripts of a coordinate that there is not, far from a declaration.
    {"INTEGER i; PRINT $a; i.X($b) = 1; PRINT $c;",
     "INTEGER i;\n\nPRINT $a;\ni.unused($b) = 1;\nPRINT $c;\n"},
    {"INTEGER n(FNa + $x + $x); PRINT FNb, $y;",
     "STRING unused[$x:0], unused[$x:0], unused[FNa:0];\nPRINT FNb, $y;\n"},
};

TEST(Decompile, WritesAsPeopleDo) {
  for (const TextCase& row : TEXTS)
    EXPECT_EQ(row.back, Body(Back("a.mac", std::string("PROGRAM p;\n") +
                                               row.source + "\n")))
        << row.source;
}

TEST(Decompile, PutsStatementsOnTheirLines) {
  const CompileWay traced = {XD_TRANSPORT_XDR, 1};
  EXPECT_EQ("PROGRAM p; PRINT 1; ! quillo -t 1 again.mac\n\nPRINT 2;\n",
            Back("a.mac", "PROGRAM p; PRINT 1;\n\nPRINT 2;\n", traced));
  // Lines that run backwards need another file.
  TextFiles files;
  files.texts["a.mac"] = "PROGRAM p;\nINCLUDE \"b\"; PRINT 2;\n";
  files.texts["b"] = "SUB s\n\n\n\nPRINT 1;\nSUBEND PRINT 3;\n";
  const Decompiled result =
      Decompile(CompileBytes(&files, "a.mac", traced), "x");
  ASSERT_EQ(2U, result.files.size()) << result.message;
  EXPECT_EQ("! quillo -t 1 x.mac\nPROGRAM p; INCLUDE \"x_1.inc\"; PRINT 2;\n",
            result.files[0].text);
  EXPECT_EQ("x_1.inc", result.files[1].name);
  EXPECT_EQ("SUB s\n\n\n\n  PRINT 1;\nSUBEND PRINT 3;\n", result.files[1].text);
}

TEST(Decompile, WritesMasks) {
  EXPECT_EQ(
      "! quillo -w -cg -noxdr again.msk\n\n"
      "WINDOW \"2 b\" {\n  w = 0xFFFFFFFF;\n  \"a b\" = \"\";\n"
      "  ON BUTTON PRESS OR ENTER DO act WITH \"x\";\n"
      "  ON ENTER OR KEY '1' OR BUTTON PRESS {\n    ;\n  }\n"
      "  ON KEY PF1 EXECUTE {\n    PRINT;\n  }\n"
      "  GROUP {\n    ;\n  }\n}\n",
      Back("a.msk",
           "WINDOW \"2 b\" { GROUP { ; } w = 0xFFFFFFFF; \"a b\" = \"\";\n"
           "ON BUTTON RELEASE OR ENTER DO act WITH x;\n"
           "ON ENTER OR BUTTON PRESS OR KEY 5 OR KEY 49 { ; }\n"
           "ON KEY<PF1> EXECUTE { PRINT; } }\n"));
  // An error is forgotten when the next object begins.
  EXPECT_EQ(
      "! quillo -w -cg -noxdr again.msk\n\nWINDOW w {\n"
      "  ON ENTER EXECUTE {\n    PRINT $c;\n    RETURN $a );\n"
      "    %b = -unknown;\n  }\n}\nWINDOW w { ; }\n",
      Back("a.msk",
           "WINDOW w { ON ENTER EXECUTE { PRINT $c; x = $a ];"
           "%b = -x; } }\nWINDOW w { ; }\n"));
}

// Every pair of operators, nested to the left and to the right. Of the
// parentheses that come back none can be left out.
TEST(Decompile, WritesNoParenthesesThatAreNotNeeded) {
  const char* const operators[] = {"OR",  "AND", "==", "<>", "<", "<=",
                                   ">",   ">=",  "+",  "-",  "*", "/",
                                   "MOD", "DIV", "**", "="};
  const auto source = [](const std::string& expression) {
    return "PROGRAM p;\nINTEGER a, b, c;\nPRINT " + expression + ";\n";
  };
  for (const std::string first : operators)
    for (const std::string second : operators)
      for (const std::string& expression :
           {"(a " + first + " b) " + second + " c",
            "a " + first + " (b " + second + " c)",
            "-(a " + first + " (-b " + second + " c))"}) {
        const std::string bytes = BytesOf("a.mac", source(expression));
        if (bytes.empty()) continue;  // an assignment to no variable
        std::string text;
        ASSERT_EQ("", RoundTrip(bytes, COMPILE_WAYS[1], &text)) << expression;
        for (size_t open = text.find('('); open != std::string::npos;
             open = text.find('(', open + 1)) {
          size_t close = open;
          for (int depth = 0; depth > 0 || close == open; close++)
            depth += (text[close] == '(') - (text[close] == ')');
          std::string without = text;
          without[close - 1] = without[open] = ' ';
          EXPECT_NE(bytes, BytesOf("a.mac", without)) << text;
        }
      }
}

TEST(Decompile, SpellsEveryNumber) {
  std::vector<double> numbers = {
      0.0,
      -0.0,
      0.1,
      1.0 / 3,
      -2.5,
      1e22,
      1e300,
      4.9e-324,
      2.2e-308,
      123456789.123,
      9007199254740993.0,
      1.7976931348623157e308,
      std::numeric_limits<double>::infinity(),
      -std::numeric_limits<double>::infinity(),
      std::numeric_limits<double>::quiet_NaN(),
      std::copysign(std::numeric_limits<double>::quiet_NaN(), -1.0)};
  std::mt19937_64 random(7);
  for (int i = 0; i < 300; i++) {
    const auto number = std::bit_cast<double>(random());
    if (!std::isnan(number)) numbers.push_back(number);
  }
  for (const double number : numbers) {
    std::string text;
    ASSERT_TRUE(SpellRealByIntegers(&text, number));
    Compile compile;
    ASSERT_EQ(RC_OK,
              compile.program_of("PROGRAM p;\nREAL r[" + text + ":0];\n;\n"));
    ASSERT_EQ(0U, compile.program.constants.count()) << text;
    ASSERT_EQ(1U, compile.program.variables.entries.size()) << text;
    EXPECT_EQ(std::bit_cast<uint64_t>(number),
              std::bit_cast<uint64_t>(
                  compile.program.variables.entries[0].range->real.low))
        << text;
  }
}

TEST(Decompile, GivesBackGeneratedSources) {
  for (uint64_t seed = 1; seed <= SourceCount(); seed++)
    for (const bool damaged : {false, true}) {
      RandomSource source(seed, damaged);
      for (const CompileWay way : COMPILE_WAYS) {
        const std::string bytes = CompileBytes(&source.files, source.name, way);
        if (!bytes.empty()) {
          EXPECT_EQ("", RoundTrip(bytes, way)) << seed << damaged;
        }
      }
    }
}

// Everything that stands in the cases of the compiler's tests and compiles.
TEST(Decompile, GivesBackTheCasesOfTheCompiler) {
  unsigned count = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(SOURCE_DIRECTORY "/tests/cases")) {
    std::istringstream lines(ReadWhole(entry.path()).value());
    std::string source;
    for (std::string line; std::getline(lines, line);) {
      if (!line.starts_with("=== ") && !line.starts_with("--- ")) {
        source += line + "\n";
        continue;
      }
      for (const char* name : {"a.mac", "a.msk"})
        for (const CompileWay way : COMPILE_WAYS) {
          const std::string bytes = BytesOf(name, source, way);
          if (bytes.empty()) continue;
          count++;
          EXPECT_EQ("", RoundTrip(bytes, way)) << source;
        }
      source.clear();
    }
  }
  EXPECT_LT(100U, count);
}

// What is read of a file that was changed has a source, or none, or the file is
// damaged; the text that is given has been proved by then.
TEST(Decompile, SurvivesChangedFiles) {
  unsigned refused = 0;
  for (const CompiledCase& row : FullCases())
    for (size_t i = 8; i < row.bytes.size(); i++) {
      std::string bytes = row.bytes;
      bytes[i]++;
      const Decompiled result = Decompile(bytes, "x");
      refused += result.outcome == DecompileOutcome::REFUSED;
      if (result.outcome == DecompileOutcome::TROUBLE) {
        EXPECT_TRUE(result.message.starts_with("damaged") ||
                    result.message.starts_with("a "))
            << row.name << " byte " << i << ": " << result.message;
      }
    }
  EXPECT_LT(100U, refused);
}

TEST(Decompile, TakesChainsAndManyRoutines) {
  std::string chain = "PROGRAM p;\nINTEGER a;\na = a", subs = "MODULE m;\n";
  for (int i = 0; i < 200000; i++) chain += i % 2 == 0 ? " + 1\n" : " - a\n";
  for (int i = 0; i < 20000; i++)
    subs += "SUB s" + std::to_string(i) + "\nPRINT 1;\nSUBEND\n";
  for (const std::string& source : {chain + ";\n", subs})
    EXPECT_EQ("", RoundTrip(BytesOf("a.mac", source), COMPILE_WAYS[1]));
}

}  // namespace
