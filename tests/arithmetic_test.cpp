#include "elut/arithmetic.h"

#include <gtest/gtest.h>

#include "Cutil/codes.h"
#include "Cutil/ut_memory.h"
#include "tests/value_text.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

uint8_t OperatorOf(const std::string& name) {
  static const std::pair<const char*, McOperator> NAMES[] = {
      {"+", MC_ADD},        {"-", MC_SUBTRACT},       {"/", MC_DIVIDE},
      {"*", MC_MULTIPLY},   {"**", MC_POWER},         {"MOD", MC_MOD},
      {"DIV", MC_DIV},      {"==", MC_EQUAL},         {"<>", MC_NOT_EQUAL},
      {">", MC_GREATER},    {">=", MC_GREATER_EQUAL}, {"<", MC_LESS},
      {"<=", MC_LESS_EQUAL}};
  for (const auto& [text, op] : NAMES)
    if (name == text) return op;
  abort();
}

// Evaluates "left operator right".
std::string Binary(uint8_t op, const std::string& left_text,
                   const std::string& right_text) {
  McValue left = ValueFromText(left_text);
  McValue right = ValueFromText(right_text);
  McValue result;
  CaptureStderr();
  const int code = McValueBinary(op, &left, &right, &result);
  McValueRelease(&left);
  McValueRelease(&right);
  return OutcomeText(code, &result, GetCapturedStderr());
}

// The type of each result: I, R, S, P, or "." where there is none. A word has
// the right operands VOID, INTEGER, REAL, STRING, POINT.
struct TypesCase {
  uint8_t op;
  const char* integer;  // on the left
  const char* real;
  const char* string;
  const char* point;
};
constexpr TypesCase TYPES[] = {
    {MC_ADD, ".IR.P", ".RR.P", "...S.", ".PP.P"},
    {MC_SUBTRACT, ".IR.P", ".RR.P", ".....", ".PP.P"},
    {MC_DIVIDE, ".RR..", ".RR..", ".....", ".PP.P"},
    {MC_MULTIPLY, ".IR.P", ".RR.P", ".S...", ".PP.R"},
    {MC_POWER, ".IR..", ".RR..", ".....", "....."},
    {MC_MOD, ".IR..", ".RR..", ".....", "....."},
    {MC_DIV, ".IR..", ".RR..", ".....", "....."},
    {MC_EQUAL, ".II..", ".II..", "...I.", "....I"},
    {MC_NOT_EQUAL, ".II..", ".II..", "...I.", "....I"},
    {MC_GREATER, ".II..", ".II..", "...I.", "....."},
    {MC_GREATER_EQUAL, ".II..", ".II..", "...I.", "....."},
    {MC_LESS, ".II..", ".II..", "...I.", "....."},
    {MC_LESS_EQUAL, ".II..", ".II..", "...I.", "....."},
};

TEST(Arithmetic, TypesOfResults) {
  constexpr const char* SAMPLES[] = {"void", "2", "0.5", "'ab'", "(1,2,3)"};
  for (int op = 0; op < 256; op++) {
    TypesCase expected = {0, ".....", ".....", ".....", "....."};
    for (const TypesCase& row : TYPES)
      if (row.op == op) expected = row;
    const char* lines[] = {".....", expected.integer, expected.real,
                           expected.string, expected.point};
    for (int left = 0; left < 5; left++) {
      std::string found;
      for (const char* right_text : SAMPLES) {
        McValue a = ValueFromText(SAMPLES[left]);
        McValue b = ValueFromText(right_text);
        McValue result;
        const int code =
            McValueBinary(static_cast<uint8_t>(op), &a, &b, &result);
        EXPECT_EQ(code, result.type == McValueType::VOID ? 5684 : 0);
        found += ".IRSP"[static_cast<int>(result.type)];
        for (McValue* value : {&a, &b, &result}) McValueRelease(value);
      }
      EXPECT_EQ(found, lines[left]) << SAMPLES[left] << " operator " << op;
    }
  }
}

struct OutcomeCase {
  const char* operation;
  const char* outcome;  // the value, or the code and what was printed
};

constexpr OutcomeCase BINARY[] = {
    {"7 + 2", "9"},
    {"2147483647 + 1", "-2147483648"},
    {"-2147483648 - 1", "2147483647"},
    {"65536 * 65537", "65536"},
    {"1 + 0.5", "1.5"},
    {"0.5 - 1", "-0.5"},
    {"2 + (1,2,3)", "(3,4,5)"},
    {"2 - (1,2,3)", "(1,0,-1)"},
    {"(1,2,3) - 0.5", "(0.5,1.5,2.5)"},
    {"(1,2,3) + (4,5,6)", "(5,7,9)"},
    {"(4,5,6) - (1,2,4)", "(3,3,2)"},
    {"'ab' + 'cd'", "'abcd'"},
    {"'' + ''", "''"},

    {"7 / 2", "3.5"},
    {"6 / 2", "3.0"},
    {"(2,4,6) / 4", "(0.5,1,1.5)"},
    {"(1,2,3) / (4,5,6)", "(-3,6,-3)"},  // cross product
    {"(0,0,0) / (0,0,0)", "(0,0,0)"},
    {"1 / 0", "5670 DIVISION: DOMAIN ERROR\n"},
    {"1.5 / -0.0", "5670 DIVISION: DOMAIN ERROR\n"},
    {"(1,2,3) / 0", "5670 DIVISION: DOMAIN ERROR\n"},

    {"2 * 0.25", "0.5"},
    {"2 * (1,2,3)", "(2,4,6)"},
    {"(1,2,3) * 0.5", "(0.5,1,1.5)"},
    {"(1,2,3) * (4,5,6)", "32.0"},
    {"'ab' * 5", "'ababababab'"},
    {"'ab' * 0", "''"},
    {"'ab' * -2147483648", "''"},
    {"'' * 2147483647", "''"},
    {"'x' * 536870913", "1001"},  // 512 MiB and one byte
    {"'xxx' * 2147483647", "1001"},

    {"2 ** 10", "1024"},
    {"2 ** -1", "1"},  // one half is rounded up
    {"3 ** -1", "0"},
    {"-2 ** 31", "-2147483648"},
    {"2 ** 31", "5672 INTEGER: OVERFLOW ERROR\n"},
    {"-3 ** 21", "5673 INTEGER: UNDERFLOW ERROR\n"},
    {"0 ** -1", "5672 INTEGER: OVERFLOW ERROR\n"},
    {"2 ** 0.5", "1.4142135623730951"},
    {"2.0 ** 31", "2147483648.0"},
    {"-8.0 ** 0.5", "nan"},

    {"7 MOD 2", "1"},
    {"-7 MOD 2", "-1"},
    {"7 MOD -2", "1"},
    {"-7.5 MOD 2", "-1.5"},
    {"7 MOD 0.0", "nan"},
    {"7 MOD 0", "5670 DIVISION: DOMAIN ERROR\n"},
    {"-2147483648 MOD -1", "5670 DIVISION: DOMAIN ERROR\n"},
    {"7 DIV 2", "3"},
    {"-7 DIV 2", "-3"},
    {"-7.0 DIV 2", "-4.0"},
    {"7 DIV 0", "5670 DIVISION: DOMAIN ERROR\n"},
    {"7.0 DIV 0", "5670 DIVISION: DOMAIN ERROR\n"},
    {"-2147483648 DIV -1", "5670 DIVISION: DOMAIN ERROR\n"},
    {"-2147483648 DIV 1", "-2147483648"},

    {"1 == 1.0", "1"},
    {"16777217 == 16777216.0", "0"},
    {"nan == 1", "1"},  // neither less nor greater
    {"nan <> 1", "0"},
    {"nan >= 1", "0"},
    {"'ab' == 'ab'", "1"},
    {"'ab' <> 'AB'", "1"},
    {"(1,2,3) == (1,2,3)", "1"},
    {"(1,2,3) == (1,2,4)", "0"},
    {"(1,2,3) <> (0,2,3)", "1"},
    {"2 > 1.5", "1"},
    {"2 > 2", "0"},
    {"2 >= 2", "1"},
    {"2 < 2", "0"},
    {"1.5 < 2", "1"},
    {"2 <= 2", "1"},
    {"3 <= 2.5", "0"},
    {"'ab' > 'a'", "1"},
    {"'a' < 'B'", "0"},
    {"'\xE4' > 'z'", "1"},  // bytes are not signed here
    {"'' >= ''", "1"},
};

TEST(Arithmetic, BinaryOperators) {
  for (const OutcomeCase& row : BINARY) {
    const auto words = SplitAtBlanks(row.operation);
    EXPECT_EQ(Binary(OperatorOf(words[1]), words[0], words[2]), row.outcome)
        << row.operation;
  }
}

TEST(Arithmetic, FaultEndsWithItsOperation) {
  EXPECT_EQ(Binary(MC_DIVIDE, "1", "0"), "5670 DIVISION: DOMAIN ERROR\n");
  EXPECT_EQ(McMathErrorCode(), RC_DOMAIN);
  EXPECT_EQ(Binary(MC_ADD, "1", "1"), "2");
  EXPECT_EQ(McMathErrorCode(), RC_OK);
}

struct ConvertCase {
  const char* value;
  McValueType type;
  const char* converted;  // also after a failure
  int code;
};
constexpr ConvertCase CONVERSIONS[] = {
    {"2.5", McValueType::INTEGER, "3", RC_OK},
    {"-2.5", McValueType::INTEGER, "-2", RC_OK},
    {"2.4", McValueType::INTEGER, "2", RC_OK},
    {"2147483647.4", McValueType::INTEGER, "2147483647", RC_OK},
    {"2147483647.5", McValueType::INTEGER, "2147483647", RC_OVERFLOW},
    {"-2147483648.5", McValueType::INTEGER, "-2147483648", RC_OK},
    {"-2147483649.0", McValueType::INTEGER, "-2147483648", RC_UNDERFLOW},
    {"inf", McValueType::INTEGER, "2147483647", RC_OVERFLOW},
    {"nan", McValueType::INTEGER, "-2147483648", RC_OK},
    {"-2147483648", McValueType::REAL, "-2147483648.0", RC_OK},
    {"7", McValueType::INTEGER, "7", RC_OK},
    {"0.5", McValueType::REAL, "0.5", RC_OK},
    {"'7'", McValueType::STRING, "'7'", RC_OK},
    {"void", McValueType::VOID, "void", RC_OK},
    {"'7'", McValueType::INTEGER, "'7'", RC_BAD_CONVERSION},
    {"7", McValueType::STRING, "7", RC_BAD_CONVERSION},
    {"(1,2,3)", McValueType::REAL, "(1,2,3)", RC_BAD_CONVERSION},
    {"7", McValueType::POINT, "7", RC_BAD_CONVERSION},
    {"0.5", McValueType::VOID, "0.5", RC_BAD_CONVERSION},
    {"void", McValueType::INTEGER, "void", RC_BAD_CONVERSION},
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

struct UnaryCase {
  uint8_t op;
  const char* value;
  const char* outcome;
};
constexpr UnaryCase UNARY[] = {
    {MC_VALUE, "void", "void"},
    {MC_PLUS, "-7", "-7"},
    {MC_PLUS, "void", "5698"},
    {MC_NEGATE, "7", "-7"},
    {MC_NEGATE, "-2147483648", "-2147483648"},
    {MC_NEGATE, "0.0", "-0.0"},
    {MC_NEGATE, "'abc'", "'cba'"},
    {MC_NEGATE, "''", "''"},
    {MC_NEGATE, "(1,-2,3)", "(-1,2,-3)"},
    {MC_NEGATE, "void", "5698"},
    {3, "7", "5603"},
    {3, "void", "5698"},
};

TEST(Arithmetic, UnaryOperators) {
  for (const UnaryCase& row : UNARY) {
    McValue value = ValueFromText(row.value);
    const int code = McValueUnary(row.op, &value);
    EXPECT_EQ(OutcomeText(code, &value, ""), row.outcome) << row.value;
  }
  McValue broken = McValueNone();
  broken.type = static_cast<McValueType>(5);
  EXPECT_EQ(McValueUnary(MC_PLUS, &broken), RC_BAD_CONVERSION);
}

struct TruthCase {
  const char* value;
  int32_t truth;
};
constexpr TruthCase TRUTHS[] = {
    {"0", 0},       {"-5", 1},       {"0.0", 0},     {"-1e-300", 1},
    {"nan", 0},     {"''", 0},       {"'A0'", 65},   {"'\xFF'", -1},
    {"(0,0,0)", 0}, {"(0,-0,0)", 0}, {"(0,0,1)", 1}, {"(0,2,0)", 1},
    {"(3,0,0)", 1},
};

TEST(Arithmetic, TruthValues) {
  for (const TruthCase& row : TRUTHS) {
    McValue value = ValueFromText(row.value);
    int32_t truth = 99;
    EXPECT_EQ(McValueTruth(value, &truth), RC_OK) << row.value;
    EXPECT_EQ(truth, row.truth) << row.value;
    McValueRelease(&value);
  }
  int32_t truth = 99;
  EXPECT_EQ(McValueTruth(McValueNone(), &truth), RC_BAD_CONVERSION);
  EXPECT_EQ(truth, 0);
}

struct FaultCase {
  McMathFault fault;
  McMathSubject subject;
  double goes_on_with;  // instead of 9
  int code;
  const char* line;
};
constexpr FaultCase FAULTS[] = {
    {McMathFault::DOMAIN, McMathSubject::DIVISION, 0, 5670,
     "DIVISION: DOMAIN ERROR\n"},
    {McMathFault::SINGULARITY, McMathSubject::FLOATINGPOINT, 9, 5671,
     "FLOATINGPOINT: SINGULARITY ERROR\n"},
    {McMathFault::OVERFLOW, McMathSubject::INTEGER, 2147483647, 5672,
     "INTEGER: OVERFLOW ERROR\n"},
    {McMathFault::UNDERFLOW, McMathSubject::INTEGER, -2147483648.0, 5673,
     "INTEGER: UNDERFLOW ERROR\n"},
    {McMathFault::OVERFLOW, McMathSubject::FLOATINGPOINT, 9, 5672,
     "FLOATINGPOINT: OVERFLOW ERROR\n"},
    {McMathFault::TLOSS, McMathSubject::FLOATINGPOINT, 9, 5674,
     "FLOATINGPOINT: TLOSS ERROR\n"},
    {McMathFault::PLOSS, McMathSubject::FLOATINGPOINT, 9, 5675,
     "FLOATINGPOINT: PLOSS ERROR\n"},
    {McMathFault::TYPE_CAST, McMathSubject::INTEGER, 9, 5685,
     "INTEGER: TYPE CAST ERROR\n"},
};

TEST(Arithmetic, MathErrorHandler) {
  for (const FaultCase& row : FAULTS) {
    McMathReset();
    CaptureStderr();
    EXPECT_EQ(McMathError(row.fault, row.subject, 9), row.goes_on_with);
    EXPECT_EQ(GetCapturedStderr(), row.line);
    EXPECT_EQ(McMathErrorCode(), row.code) << row.line;
  }
  McMathReset();
}

}  // namespace
