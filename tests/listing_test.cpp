// Programs printed as text; the listing itself is among the cases.
#include "elut/files/listing.h"

#include <gtest/gtest.h>

#include "elut/compile/parse.h"
#include "elut/compile/variables.h"
#include "elut/syntax/token_strings.h"
#include "mask_support.h"

namespace {

TEST(PrintExpr, Statements) {
  McProgram program;
  ChannelCapture output(0);
  const char* source =
      "PROGRAM p; INTEGER a, e(*);"
      "PRINT -1, a, (a), FNx(1), $(\"v\"), %v, ABS(1), a = 1;"
      "PRINT 1 == 2 <> 3, 1 > 2, 1 >= 2, 1 < 2, 1 <= 2, 1 AND 2 OR 3;"
      "PRINT 2.5, 1e300, 0.1 + a, \"\"; PRINT 1, e(*), 2; PRINT 3;";
  ASSERT_EQ(RC_OK, McSrcSetText(source));
  ASSERT_EQ(RC_OK, McParseProgram(&program, nullptr));
  EXPECT_EQ(9000, McPrintExpr(0, "  ", &program));
  EXPECT_EQ(
      "  PRINT , , , , , , , ;\n"
      "  PRINT ((1 == 2) <> 3), (1 > 2), (1 >= 2), (1 < 2), (1 <= 2), "
      "((1 AND 2) OR 3);\n"
      "  PRINT 2.5, 1e+300, (0.1 + ), \"\";\n"
      "  PRINT 1, ;\n",  // a failing item ends its PRINT, and the rest
      output.text());
  ASSERT_EQ(RC_OK, McCompileEnter(nullptr));
  McTokenStringsFree();
}

}  // namespace
