#include "elut/arithmetic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

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

// Evaluates "left operator right".
std::string Binary(uint8_t op, const std::string& left_text,
                   const std::string& right_text) {
  McValue left = ValueFromText(left_text), right = ValueFromText(right_text);
  McValue result;
  CaptureStderr();
  const int code = McValueBinary(op, &left, &right, &result);
  McValueRelease(&left);
  McValueRelease(&right);
  return OutcomeText(code, &result, GetCapturedStderr());
}

TEST(Arithmetic, TypesOfResults) {
  constexpr const char* SAMPLES[] = {"void", "2", "0.5", "'ab'", "(1,2,3)"};
  for (int op = 0; op < 256; op++) {
    std::string expected = "..... ..... ..... .....", found;
    for (const OperatorCase& row : OPERATORS)
      if (row.op == op) expected = row.types;
    for (const char* left : SAMPLES) {
      for (const char* right : SAMPLES) {
        McValue a = ValueFromText(left), b = ValueFromText(right), result;
        const int code =
            McValueBinary(static_cast<uint8_t>(op), &a, &b, &result);
        EXPECT_EQ(code, result.type == McValueType::VOID ? 5684 : 0);
        found += ".IRSP"[static_cast<int>(result.type)];
        for (McValue* value : {&a, &b, &result}) McValueRelease(value);
      }
      found += ' ';
    }
    EXPECT_EQ(found, "..... " + expected + " ") << "operator " << op;
  }
}

constexpr char BINARY[] =
    "2147483647 + 1 gives -2147483648; -2147483648 - 1 gives 2147483647; "
    "1 + 0.5 gives 1.5; 2 - (1,2,3) gives (1,0,-1); "
    "(1,2,3) - 0.5 gives (0.5,1.5,2.5); (1,2,3) + (4,5,6) gives (5,7,9); "
    "'ab' + 'cd' gives 'abcd'; "
    // A point divided by a point: the cross product.
    "7 / 2 gives 3.5; (2,4,6) / 4 gives (0.5,1,1.5); "
    "(1,2,3) / (4,5,6) gives (-3,6,-3); 1 / 0 gives domain; "
    "1.5 / -0.0 gives domain; (1,2,3) / 0 gives domain; "
    // Texts of 512 MiB and one byte are too long.
    "65536 * 65537 gives 65536; 2 * (1,2,3) gives (2,4,6); "
    "(1,2,3) * 0.5 gives (0.5,1,1.5); (1,2,3) * (4,5,6) gives 32.0; "
    "'ab' * 5 gives 'ababababab'; 'ab' * -2147483648 gives ''; "
    "'' * 2147483647 gives ''; 'x' * 536870913 gives 1001; "
    "'xxx' * 2147483647 gives 1001; "
    // As an INTEGER, one half is rounded up.
    "2 ** 10 gives 1024; 2 ** -1 gives 1; -2 ** 31 gives -2147483648; "
    "2 ** 31 gives overflow; -3 ** 21 gives underflow; "
    "0 ** -1 gives overflow; 2 ** 0.5 gives 1.4142135623730951; "
    "2.0 ** 31 gives 2147483648.0; -8.0 ** 0.5 gives nan; "
    "-7 MOD 2 gives -1; 7 MOD -2 gives 1; -7.5 MOD 2 gives -1.5; "
    "7 MOD 0.0 gives nan; 7 MOD 0 gives domain; "
    "-2147483648 MOD -1 gives domain; -7 DIV 2 gives -3; "
    "-7.0 DIV 2 gives -4.0; 7 DIV 0 gives domain; 7.0 DIV 0 gives domain; "
    "-2147483648 DIV -1 gives domain; "
    // What is no number is neither less nor greater; bytes are not signed here.
    "1 == 1.0 gives 1; 16777217 == 16777216.0 gives 0; nan == 1 gives 1; "
    "nan >= 1 gives 0; 'ab' <> 'AB' gives 1; (1,2,3) == (1,2,4) gives 0; "
    "(1,2,3) <> (0,2,3) gives 1; 2 > 2 gives 0; 2 >= 2 gives 1; "
    "2 < 2 gives 0; 3 <= 2.5 gives 0; 'ab' > 'a' gives 1; 'a' < 'B' gives 0; "
    "'\xE4' > 'z' gives 1";

TEST(Arithmetic, BinaryOperators) {
  const std::map<std::string, std::string> faults = {
      {"domain", "5670 DIVISION: DOMAIN ERROR\n"},
      {"overflow", "5672 INTEGER: OVERFLOW ERROR\n"},
      {"underflow", "5673 INTEGER: UNDERFLOW ERROR\n"}};
  std::istringstream rows(BINARY);
  for (std::string row; std::getline(rows >> std::ws, row, ';');) {
    const auto words = SplitAtBlanks(row);  // left, operator, right, "gives"
    const auto op =
        std::find_if(std::begin(OPERATORS), std::end(OPERATORS),
                     [&](const auto& known) { return known.name == words[1]; });
    const auto fault = faults.find(words[4]);
    EXPECT_EQ(Binary(op->op, words[0], words[2]),
              fault == faults.end() ? words[4] : fault->second)
        << row;
  }
}

struct ConvertCase {
  const char* value;
  McValueType type;
  const char* converted;  // also after a failure
  int code;
};
constexpr McValueType INTEGER = McValueType::INTEGER, REAL = McValueType::REAL;
constexpr ConvertCase CONVERSIONS[] = {
    {"2.5", INTEGER, "3", RC_OK},
    {"-2.5", INTEGER, "-2", RC_OK},
    {"2147483647.4", INTEGER, "2147483647", RC_OK},
    {"2147483647.5", INTEGER, "2147483647", RC_OVERFLOW},
    {"-2147483648.5", INTEGER, "-2147483648", RC_OK},
    {"-2147483649.0", INTEGER, "-2147483648", RC_UNDERFLOW},
    {"inf", INTEGER, "2147483647", RC_OVERFLOW},
    {"nan", INTEGER, "-2147483648", RC_OK},
    {"-2147483648", REAL, "-2147483648.0", RC_OK},
    {"'7'", INTEGER, "'7'", RC_BAD_CONVERSION},
    {"7", McValueType::STRING, "7", RC_BAD_CONVERSION},
    {"(1,2,3)", REAL, "(1,2,3)", RC_BAD_CONVERSION},
    {"0.5", McValueType::VOID, "0.5", RC_BAD_CONVERSION},
    {"void", INTEGER, "void", RC_BAD_CONVERSION},
};

TEST(Arithmetic, Conversions) {
  for (const ConvertCase& row : CONVERSIONS) {
    McValue value = ValueFromText(row.value);
    CaptureStderr();
    EXPECT_EQ(McValueConvert(row.type, &value), row.code) << row.value;
    const bool fault = row.code == RC_OVERFLOW || row.code == RC_UNDERFLOW;
    EXPECT_EQ(GetCapturedStderr().empty(), !fault) << row.value;
    EXPECT_EQ(ValueText(value), row.converted) << row.value;
    McValueRelease(&value);
  }
}

TEST(Arithmetic, UnaryOperators) {
  struct {
    uint8_t op;
    const char *value, *outcome;
  } const rows[] = {{MC_VALUE, "void", "void"},
                    {MC_PLUS, "-7", "-7"},
                    {MC_PLUS, "void", "5698"},
                    {MC_NEGATE, "-2147483648", "-2147483648"},
                    {MC_NEGATE, "0.0", "-0.0"},
                    {MC_NEGATE, "'abc'", "'cba'"},
                    {MC_NEGATE, "''", "''"},
                    {MC_NEGATE, "(1,-2,3)", "(-1,2,-3)"},
                    {3, "7", "5603"}};
  for (const auto& row : rows) {
    McValue value = ValueFromText(row.value);
    const int code = McValueUnary(row.op, &value);
    EXPECT_EQ(OutcomeText(code, &value, ""), row.outcome) << row.value;
  }
  McValue broken = McValueNone();
  broken.type = static_cast<McValueType>(5);
  EXPECT_EQ(McValueUnary(MC_PLUS, &broken), RC_BAD_CONVERSION);
}

TEST(Arithmetic, TruthValues) {
  constexpr std::pair<const char*, int32_t> TRUTHS[] = {
      {"0", 0},        {"-5", 1},      {"0.0", 0},     {"-1e-300", 1},
      {"nan", 0},      {"''", 0},      {"'A0'", 65},   {"'\xFF'", -1},
      {"(0,-0,0)", 0}, {"(0,0,1)", 1}, {"(0,2,0)", 1}, {"(3,0,0)", 1}};
  int32_t truth = 99;
  for (const auto& [text, expected] : TRUTHS) {
    McValue value = ValueFromText(text);
    EXPECT_EQ(McValueTruth(value, &truth), RC_OK) << text;
    EXPECT_EQ(truth, expected) << text;
    McValueRelease(&value);
  }
  EXPECT_EQ(McValueTruth(McValueNone(), &truth), RC_BAD_CONVERSION);
  EXPECT_EQ(truth, 0);
}

struct FaultCase {
  McMathFault fault;
  McMathSubject subject;
  double goes_on_with;  // instead of 9
  const char* outcome;  // code and line
};
constexpr McMathSubject FLOATING = McMathSubject::FLOATINGPOINT;
constexpr FaultCase FAULTS[] = {
    {McMathFault::DOMAIN, McMathSubject::DIVISION, 0,
     "5670 DIVISION: DOMAIN ERROR\n"},
    {McMathFault::SINGULARITY, FLOATING, 9,
     "5671 FLOATINGPOINT: SINGULARITY ERROR\n"},
    {McMathFault::UNDERFLOW, McMathSubject::INTEGER, -2147483648.0,
     "5673 INTEGER: UNDERFLOW ERROR\n"},
    {McMathFault::OVERFLOW, FLOATING, 9,
     "5672 FLOATINGPOINT: OVERFLOW ERROR\n"},
    {McMathFault::TLOSS, FLOATING, 9, "5674 FLOATINGPOINT: TLOSS ERROR\n"},
    {McMathFault::PLOSS, FLOATING, 9, "5675 FLOATINGPOINT: PLOSS ERROR\n"},
    {McMathFault::TYPE_CAST, McMathSubject::INTEGER, 9,
     "5685 INTEGER: TYPE CAST ERROR\n"},
};

TEST(Arithmetic, MathErrorHandler) {
  for (const auto& [fault, subject, goes_on_with, outcome] : FAULTS) {
    McMathReset();
    CaptureStderr();
    EXPECT_EQ(McMathError(fault, subject, 9), goes_on_with) << outcome;
    const std::string line = GetCapturedStderr();
    EXPECT_EQ(std::to_string(McMathErrorCode()) + " " + line, outcome);
  }
  EXPECT_EQ(Binary(MC_ADD, "1", "1"), "2");
  EXPECT_EQ(McMathErrorCode(), RC_OK) << "a fault ends with its operation";
}

}  // namespace
