#include "elut/compile/eval.h"

#include <gtest/gtest.h>

#include "compile.h"
#include "elut/files/listing.h"
#include "rows.h"
#include "tree_text.h"

namespace {

// The value of an expression, or the code and what was reported.
std::string Outcome(McRun* run, const std::string& expression) {
  Compile program(run);
  (void)program.program_of("PROGRAM p;\nINTEGER v(3);\nPRINT " + expression +
                           ";\n");
  program.reports.text.clear();
  McValue result;
  const int code =
      McEvalConst(&program.front, PrintedItem(program.program), &result);
  EXPECT_TRUE(code == 0 || result.type == McValueType::VOID);
  return OutcomeText(code, result) +
         (program.reports.text.empty() ? "" : " " + program.reports.text);
}

TEST(Eval, Expressions) {
  constexpr char ROWS[] = R"(
    1 - 2 * 3 | -5 ;; -"ab" + +"c" | 'bac'
    LEN("abc") == 3 AND POS("abc", "c") > 2 | 1
    1 / 0 | 5670 DIVISION: DOMAIN ERROR^J
    1 + (2 - 1/0) | 5670 DIVISION: DOMAIN ERROR^J
    // The failure left nothing behind.
    7 | 7
    // Nodes without value; a variable evaluates its subscripts first.
    FNx | 9000 ;; %x | 9000 ;; $("x") | 9000 ;; v = 1 | 9000 ;; v(*) | 9000
    v | 9000 ;; v(1, 2) | 9000 ;; v(1, 1/0) | 5670 DIVISION: DOMAIN ERROR^J
    1 + v(1) | 9000
    // Operands that are missing.
    1 + none | 5292 ;; none | 5292 ;; 1 AND none | 5292
    // The first failure of a call is reported.
    LEN(none) | 5294 p: Fehler bei Funktionsaufruf: 5294^J ;; TIME | 5277
    // An argument that fails: the function is not called.
    LEN(1, 1/0) | 5670 DIVISION: DOMAIN ERROR^J
    // AND and OR stop early. The truth of a text is its first byte.
    "A" OR 1/0 | 65 ;; 0 OR 1/0 | 5670 DIVISION: DOMAIN ERROR^J ;; 0 OR 0.0 | 0
    0 AND 1/0 | 0 ;; "A" AND "{{FF}}" | -1 ;; 2.5 AND 7 OR 1/0 | 1
    MSGGET("none", 0, "Open") | 'Open')";
  McRun run;
  for (const auto& [expression, outcome] : Rows<2>(ROWS))
    EXPECT_EQ(outcome, Outcome(&run, expression)) << expression;
  Compile empty;
  McValue result;
  EXPECT_EQ(5292, McEvalConst(&empty.front, {}, &result));
}

TEST(Eval, LongestMessageReference) {
  McRun run;
  const std::string tail = "\4" + std::string("0\4Open\4");
  const std::string longest = "\4" + std::string(1023 - 1 - tail.size(), 'n');
  EXPECT_EQ("'Open'", Outcome(&run, '"' + longest + tail + '"'));
  EXPECT_EQ("1024", Outcome(&run, "LEN(\"" + longest + "n" + tail + "\")"));
}

// Depth costs no native stack: a million operators are evaluated, printed as
// text, written and read.
TEST(Eval, DeepExpressions) {
  Compile deep;
  ASSERT_EQ(0, deep.program_of("PROGRAM p;\nPRINT 1" +
                               Expanded("{{1000000*+1\n}};\n")));
  UtPtr<McProgram> again;
  const std::string bytes = Written(&deep.program, XD_TRANSPORT_PLAIN);
  ASSERT_EQ(0, McXdrReadFromBytes(bytes, &again));
  EXPECT_TRUE(bytes == Written(again.get(), XD_TRANSPORT_PLAIN));
  std::string printed;
  Channels channels;
  ASSERT_EQ(0, channels.bind_callback(
                   CHANNEL_MASKS, 0,
                   [](const char* text, void* to) {
                     *static_cast<std::string*>(to) += text;
                     return 0;
                   },
                   &printed));
  EXPECT_EQ(0, McPrintExpr(&channels, CHANNEL_MASKS, "", again.get()));
  EXPECT_TRUE(printed == "PRINT " + std::string(1000000, '(') + "1" +
                             Expanded("{{1000000* + 1)}};\n"));
  McRun run;
  EXPECT_EQ("1000001",
            Outcome(&run, Expanded("1{{100000*+1+1+1+1+1+1+1+1+1+1\n}}")));
  EXPECT_EQ("200000",
            Outcome(&run, Expanded("LEN({{99999*\"ab\"+\n}}\"ab\")")));
}

}  // namespace
