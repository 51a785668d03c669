#include "elut/compile/arithmetic.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "compile.h"
#include "rows.h"
#include "value_text.h"

namespace {

class Arithmetic : public testing::Test {
 protected:
  ReportText reports;
  McMath math{&reports};
};

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

TEST_F(Arithmetic, TypesOfResults) {
  for (const OperatorCase& row : OPERATORS) {
    std::string found;
    for (const char* left : {"void", "2", "0.5", "'ab'", "(1,2,3)"}) {
      for (const char* right : {"void", "2", "0.5", "'ab'", "(1,2,3)"}) {
        McValue a = ValueFromText(left), b = ValueFromText(right), result;
        const int code = McValueBinary(&math, row.op, &a, &b, &result);
        EXPECT_EQ(code, result.type == McValueType::VOID ? 5684 : 0);
        found += ".IRSP"[static_cast<int>(result.type)];
      }
      found += ' ';
    }
    EXPECT_EQ(found, std::string("..... ") + row.types + " ") << row.name;
  }
}

TEST_F(Arithmetic, BinaryOperators) {
  constexpr char ROWS[] = R"(
    2147483647 + 1 | -2147483648 ;; 2.5 + 1 | 3.5 ;; 2.5 - 1 | 1.5
    (1,2,3) + (4,5,6) | (5,7,9) ;; (1,2,3) - (4,6,8) | (-3,-4,-5)
    2 - (1,2,3) | (1,0,-1) ;; 'ab' + 'cd' | 'abcd' ;; 7 / 2 | 3.5
    (2,4,6) / 2 | (1,2,3)
    // A point divided by a point: the cross product.
    (1,2,3) / (4,5,6) | (-3,6,-3) ;; 1 / 0 | 5670 ;; 1.5 / -0.0 | 5670
    (1,2,3) / 0 | 5670 ;; 65536 * 65537 | 65536 ;; 2.5 * 2 | 5.0
    2 * (1,2,3) | (2,4,6) ;; (1,2,3) * (4,5,6) | 32.0
    // Texts of 16 MiB and one byte are too long.
    'ab' * 5 | 'ababababab' ;; 'ab' * -2147483648 | '' ;; '' * 2147483647 | ''
    'x' * 16777217 | 1001
    // As an INTEGER, one half is rounded up.
    2 ** -1 | 1 ;; -2 ** 31 | -2147483648 ;; 2 ** 31 | 5672 ;; -3 ** 21 | 5673
    0 ** -1 | 5672 ;; 2.5 ** 2 | 6.25 ;; -8.0 ** 0.5 | nan ;; -7 MOD 2 | -1
    7 MOD -2 | 1 ;; 7.5 MOD 2 | 1.5 ;; 7 MOD 0.0 | nan ;; 7 MOD 0 | 5670
    -2147483648 MOD -1 | 5670 ;; -7 DIV 2 | -3 ;; -7.0 DIV 2 | -4.0
    7.0 DIV 0 | 5670 ;; 7 DIV 0 | 5670 ;; -2147483648 DIV -1 | 5670
    // What is no number is neither less nor greater; bytes are not signed here.
    16777217 == 16777216.0 | 0 ;; nan == 1 | 1 ;; nan >= 1 | 0
    (1,2,3) <> (0,2,3) | 1 ;; (1,2,3) == (1,0,3) | 0 ;; (1,2,3) == (1,2,0) | 0
    (1,2,3) == (1,2,3) | 1 ;; 'a' == 'a' | 1 ;; 'a' <> 'a' | 0 ;; 2 > 2 | 0
    2 >= 2 | 1 ;; 2 < 2 | 0 ;; 3 <= 2.5 | 0 ;; 'ab' > 'a' | 1 ;; 'a' < 'a' | 0
    'a' <= 'a' | 1 ;; 'b' >= 'c' | 0 ;; '{{E4}}' > 'z' | 1)";
  for (const auto& [operation, expected] : Rows<2>(ROWS)) {
    std::istringstream words(operation);
    std::string left, name, right;
    words >> left >> name >> right;
    const auto op = std::ranges::find(OPERATORS, name, &OperatorCase::name)->op;
    McValue a = ValueFromText(left), b = ValueFromText(right), result;
    const int code = McValueBinary(&math, op, &a, &b, &result);
    EXPECT_EQ(OutcomeText(code, result), expected) << operation;
  }
}

TEST_F(Arithmetic, UnaryOperators) {
  constexpr char ROWS[] = R"(
    2 | 7 | -7 ;; 2 | -2147483648 | -2147483648 ;; 2 | 2.5 | -2.5
    2 | 'abc' | 'cba' ;; 2 | '' | '' ;; 2 | (1,-2,3) | (-1,2,-3)
    2 | void | 5698 ;; 1 | 7 | 7 ;; 1 | 'abc' | 'abc' ;; 1 | (1,2,3) | (1,2,3)
    1 | void | 5698 ;; 0 | 'abc' | 'abc' ;; 0 | void | void ;; 3 | 1 | 5603)";
  for (const auto& [op, operand, expected] : Rows<3>(ROWS)) {
    McValue value = ValueFromText(operand);
    const int code = McValueUnary(static_cast<uint8_t>(stoi(op)), &value);
    EXPECT_EQ(OutcomeText(code, value), expected) << op << operand;
  }
}

TEST_F(Arithmetic, Conversions) {
  // To the type of that code; the value then, the code, and the report.
  constexpr char ROWS[] = R"(
    1 | -2.5 | -2 | 0 ;; 1 | 2.5 | 3 | 0 ;; 1 | 2147483647.4 | 2147483647 | 0
    1 | 2147483647.5 | 2147483647 | 5672 | INTEGER: OVERFLOW ERROR^J
    1 | -2147483648.5 | -2147483648 | 0
    1 | -2147483649.0 | -2147483648 | 5673 | INTEGER: UNDERFLOW ERROR^J
    1 | nan | -2147483648 | 0 ;; 1 | '7' | '7' | 5698 ;; 2 | 7 | 7.0 | 0
    2 | (1,2,3) | (1,2,3) | 5698 ;; 3 | 7 | 7 | 5698 ;; 3 | '7' | '7' | 0)";
  for (const auto& [type, text, converted, code, report] : Rows<5>(ROWS)) {
    reports.text.clear();
    McValue value = ValueFromText(text);
    EXPECT_EQ(McValueConvert(&math, McValueType(stoi(type)), &value),
              stoi(code))
        << text;
    EXPECT_EQ(ValueText(value), converted);
    EXPECT_EQ(reports.text, report) << text;
  }
}

TEST_F(Arithmetic, TruthValues) {
  constexpr char ROWS[] =
      "7|1\n0|0\n-1e-300|1\n1e-300|1\nnan|0\n''|0\n'a'|97\n'{{FF}}'|-1\n"
      "(0,-0,0)|0\n(0,0,1)|1\n(0,-1,0)|1\n(1,0,0)|1\nvoid|5698";
  for (const auto& [text, expected] : Rows<2>(ROWS)) {
    int32_t truth;
    const int code = McValueTruth(ValueFromText(text), &truth);
    EXPECT_EQ(code == 0 ? truth : code, stoi(expected)) << text;
  }
}

TEST_F(Arithmetic, Faults) {
  // Fault and subject by their codes; the report, the code, and the number that
  // takes the place of 7.5.
  constexpr char ROWS[] = R"(
    1 | 1 | DIVISION: DOMAIN | 5670 | 0
    2 | 2 | FLOATINGPOINT: SINGULARITY | 5671 | 7.5
    3 | 0 | INTEGER: OVERFLOW | 5672 | 2147483647
    3 | 2 | FLOATINGPOINT: OVERFLOW | 5672 | 7.5
    4 | 0 | INTEGER: UNDERFLOW | 5673 | -2147483648
    4 | 1 | DIVISION: UNDERFLOW | 5673 | 0
    5 | 2 | FLOATINGPOINT: TLOSS | 5674 | 7.5
    6 | 2 | FLOATINGPOINT: PLOSS | 5675 | 7.5
    16 | 0 | INTEGER: TYPE CAST | 5685 | 7.5)";
  for (const auto& [fault, subject, report, code, value] : Rows<5>(ROWS)) {
    reports.text.clear();
    EXPECT_EQ(McMathError(&math, McMathFault(stoi(fault)),
                          McMathSubject(stoi(subject)), 7.5),
              stod(value));
    EXPECT_EQ(reports.text, report + " ERROR\n");
    EXPECT_EQ(math.code, stoi(code)) << report;
  }
}

}  // namespace
