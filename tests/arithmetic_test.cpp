#include "elut/compile/arithmetic.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Cutil/codes.h"
#include "tests/value_text.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// The operators, and the type of each result: I, R, S, P, or "." where there is
// none. A group has the right operands VOID, INTEGER, REAL, STRING, POINT.
struct OperatorCase {
  uint8_t op;
  const char* name;
  const char* types;  // INTEGER, REAL, STRING and POINT on the left
};
constexpr OperatorCase OPERATORS[] = {
    {MC_ADD, "+", ".IR.P .RR.P ...S. .PP.P"},
    {MC_SUBTRACT, "-", ".IR.P .RR.P ..... .PP.P"},
    {MC_DIVIDE, "/", ".RR.. .RR.. ..... .PP.P"},
    {MC_MULTIPLY, "*", ".IR.P .RR.P .S... .PP.R"},
    {MC_POWER, "**", ".IR.. .RR.. ..... ....."},
    {MC_MOD, "MOD", ".IR.. .RR.. ..... ....."},
    {MC_DIV, "DIV", ".IR.. .RR.. ..... ....."},
    {MC_EQUAL, "==", ".II.. .II.. ...I. ....I"},
    {MC_NOT_EQUAL, "<>", ".II.. .II.. ...I. ....I"},
    {MC_GREATER, ">", ".II.. .II.. ...I. ....."},
    {MC_GREATER_EQUAL, ">=", ".II.. .II.. ...I. ....."},
    {MC_LESS, "<", ".II.. .II.. ...I. ....."},
    {MC_LESS_EQUAL, "<=", ".II.. .II.. ...I. ....."},
};

TEST(Arithmetic, TypesOfResults) {
  constexpr const char* SAMPLES[] = {"void", "2", "0.5", "'ab'", "(1,2,3)"};
  for (const OperatorCase& row : OPERATORS) {
    std::string found;
    for (const char* left : SAMPLES) {
      for (const char* right : SAMPLES) {
        McValue a = ValueFromText(left), b = ValueFromText(right), result;
        const int code = McValueBinary(row.op, &a, &b, &result);
        EXPECT_EQ(code, result.type == McValueType::VOID ? 5684 : 0);
        found += ".IRSP"[static_cast<int>(result.type)];
        for (McValue* value : {&a, &b, &result}) McValueRelease(value);
      }
      found += ' ';
    }
    EXPECT_EQ(found, std::string("..... ") + row.types + " ") << row.name;
  }
}

constexpr char BINARY[] =
    "2147483647 + 1 gives -2147483648; 2 - (1,2,3) gives (1,0,-1); "
    "'ab' + 'cd' gives 'abcd'; "
    // A point divided by a point: the cross product.
    "7 / 2 gives 3.5; (1,2,3) / (4,5,6) gives (-3,6,-3); 1 / 0 gives 5670; "
    "1.5 / -0.0 gives 5670; (1,2,3) / 0 gives 5670; "
    // Texts of 512 MiB and one byte are too long.
    "65536 * 65537 gives 65536; (1,2,3) * (4,5,6) gives 32.0; "
    "'ab' * 5 gives 'ababababab'; 'ab' * -2147483648 gives ''; "
    "'' * 2147483647 gives ''; 'x' * 536870913 gives 1001; "
    // As an INTEGER, one half is rounded up.
    "2 ** -1 gives 1; -2 ** 31 gives -2147483648; 2 ** 31 gives 5672; "
    "-3 ** 21 gives 5673; 0 ** -1 gives 5672; -8.0 ** 0.5 gives nan; "
    "-7 MOD 2 gives -1; 7 MOD -2 gives 1; 7 MOD 0.0 gives nan; "
    "7 MOD 0 gives 5670; -2147483648 MOD -1 gives 5670; -7 DIV 2 gives -3; "
    "-7.0 DIV 2 gives -4.0; 7.0 DIV 0 gives 5670; "
    "-2147483648 DIV -1 gives 5670; "
    // What is no number is neither less nor greater; bytes are not signed here.
    "16777217 == 16777216.0 gives 0; nan == 1 gives 1; nan >= 1 gives 0; "
    "(1,2,3) <> (0,2,3) gives 1; 2 > 2 gives 0; 2 >= 2 gives 1; "
    "2 < 2 gives 0; 3 <= 2.5 gives 0; 'ab' > 'a' gives 1; '\xE4' > 'z' gives 1";

TEST(Arithmetic, BinaryOperators) {
  std::istringstream rows(BINARY);
  for (std::string row; std::getline(rows >> std::ws, row, ';');) {
    const auto words = SplitAtBlanks(row);  // left, operator, right, "gives"
    const auto op =
        std::find_if(std::begin(OPERATORS), std::end(OPERATORS),
                     [&](const auto& known) { return known.name == words[1]; });
    McValue left = ValueFromText(words[0]), right = ValueFromText(words[2]);
    McValue result;
    const int code = McValueBinary(op->op, &left, &right, &result);
    EXPECT_EQ(OutcomeText(code, &result, ""), words[4]) << row;
    for (McValue* value : {&left, &right}) McValueRelease(value);
  }
}

TEST(Arithmetic, ConversionsToInteger) {
  constexpr std::tuple<const char*, const char*, int> ROWS[] = {
      {"-2.5", "-2", RC_OK},
      {"2147483647.4", "2147483647", RC_OK},
      {"2147483647.5", "2147483647", RC_OVERFLOW},
      {"-2147483648.5", "-2147483648", RC_OK},
      {"-2147483649.0", "-2147483648", RC_UNDERFLOW},
      {"nan", "-2147483648", RC_OK},
      {"'7'", "'7'", RC_BAD_CONVERSION}};
  for (const auto& [text, converted, code] : ROWS) {
    McValue value = ValueFromText(text);
    CaptureStderr();
    EXPECT_EQ(McValueConvert(McValueType::INTEGER, &value), code) << text;
    if (code == RC_UNDERFLOW)
      EXPECT_EQ(GetCapturedStderr(), "INTEGER: UNDERFLOW ERROR\n");
    else
      EXPECT_EQ(GetCapturedStderr().empty(), code != RC_OVERFLOW) << text;
    EXPECT_EQ(OutcomeText(RC_OK, &value, ""), converted);
  }
}

TEST(Arithmetic, TruthValues) {
  constexpr std::pair<const char*, int32_t> TRUTHS[] = {
      {"-1e-300", 1}, {"nan", 0},      {"''", 0},
      {"'\xFF'", -1}, {"(0,-0,0)", 0}, {"(0,0,1)", 1}};
  for (const auto& [text, expected] : TRUTHS) {
    int32_t truth = 99;
    McValue value = ValueFromText(text);
    EXPECT_EQ(McValueTruth(value, &truth), RC_OK) << text;
    EXPECT_EQ(truth, expected) << text;
    McValueRelease(&value);
  }
}

}  // namespace
