// Programs printed as text; the listing itself is among the cases.
#include "elut/listing.h"

#include <gtest/gtest.h>

#include "elut/parse.h"
#include "elut/token_strings.h"
#include "elut/variables.h"
#include "mask_support.h"

namespace {

TEST(PrintExpr, Statements) {
  const struct {
    const char* statements;
    int code;
    const char* printed;
  } rows[] = {
      {"PRINT 1 + 2, \"a\";", 0, "  PRINT (1 + 2), \"a\";\n"},
      {"PRINT;", 0, "  PRINT;\n"},
      {";", 0, ""},
      {"PRINT 1; a = 1; PRINT 2;", 0, "  PRINT 1;\n  PRINT 2;\n"},
      {"PRINT -1, a, (a), FNx(1), $(\"v\"), %v, ABS(1), a = 1;", 0,
       "  PRINT , , , , , , , ;\n"},
      {"IF 1 THEN PRINT 1; END IF PRINT 2;", 0, "  PRINT 2;\n"},
      {"PRINT 1 - 2 / 3 * 4 ** 5 MOD 6 DIV 7;", 0,
       "  PRINT (1 - ((((2 / 3) * (4 ** 5)) MOD 6) DIV 7));\n"},
      {"PRINT 1 == 2 <> 3, 1 > 2, 1 >= 2, 1 < 2, 1 <= 2, 1 AND 2 OR 3;", 0,
       "  PRINT ((1 == 2) <> 3), (1 > 2), (1 >= 2), (1 < 2), (1 <= 2), "
       "((1 AND 2) OR 3);\n"},
      {"PRINT 2.5, 1e300, 0.1 + a, \"\";", 0,
       "  PRINT 2.5, 1e+300, (0.1 + ), \"\";\n"},
      // A failing item ends its PRINT, and the rest.
      {"PRINT 1, e(*), 2; PRINT 3;", 9000, "  PRINT 1, ;\n"},
      {"PRINT e(*);", 9000, "  PRINT ;\n"},
  };
  for (const auto& row : rows) {
    McProgram program;
    ChannelCapture output(0);
    const std::string source =
        std::string("PROGRAM p; INTEGER a, e(*); ") + row.statements;
    ASSERT_EQ(RC_OK, McSrcSetText(source.c_str()));
    ASSERT_EQ(RC_OK, McParseProgram(&program, nullptr)) << row.statements;
    EXPECT_EQ(row.code, McPrintExpr(0, "  ", &program)) << row.statements;
    EXPECT_EQ(row.printed, output.text());
    ASSERT_EQ(RC_OK, McCompileEnter(nullptr));
  }
  McTokenStringsFree();
}

TEST(PrintExpr, NothingToPrint) {
  McProgram program;
  EXPECT_EQ(RC_NO_EXPRESSION, McPrintExpr(0, "", &program));
}

}  // namespace
