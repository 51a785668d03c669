#include "elut/compile/eval.h"

#include <gtest/gtest.h>

#include <initializer_list>

#include "Cutil/codes.h"
#include "elut/compile/arithmetic.h"
#include "elut/compile/builtins.h"
#include "services/channels.h"
#include "tests/value_text.h"

namespace {

class Eval : public testing::Test {
 protected:
  void SetUp() override {
    McEvalReset();
    ChannelReset();
    ASSERT_EQ(ChannelBind(1, CHANNEL_STDERR, 0), RC_OK);
  }

  McNodeRef node(McNodeKind kind, std::initializer_list<McNodeRef> children) {
    const McNodeRef ref = program_.nodes.take();
    program_.nodes[ref] = {};
    program_.nodes[ref].kind = kind;
    McNodeRef* link = &program_.nodes[ref].child;
    for (const McNodeRef child : children) {
      *link = child;
      link = &program_.nodes[child].sibling;
    }
    return ref;
  }

  McNodeRef integer(int32_t value) {
    const McNodeRef ref = node(McNodeKind::INT, {});
    program_.nodes[ref].integer = value;
    return ref;
  }

  McNodeRef text(const std::string& characters) {
    const McNodeRef ref = node(McNodeKind::STRING, {});
    const auto length = static_cast<uint32_t>(characters.size());
    EXPECT_EQ(RC_OK, program_.constants.add_string(
                         &program_.arena, characters.c_str(), length,
                         &program_.nodes[ref].number));
    return ref;
  }

  McNodeRef opera(uint8_t op, std::initializer_list<McNodeRef> operands) {
    const McNodeRef ref = node(McNodeKind::OPERA, operands);
    program_.nodes[ref].op = op;
    return ref;
  }

  McNodeRef func(uint16_t function, std::initializer_list<McNodeRef> args) {
    const McNodeRef ref = node(McNodeKind::FUNC, args);
    program_.nodes[ref].index = function;
    return ref;
  }

  // 1/0: prints a line and fails, so evaluating it shows.
  McNodeRef fault() { return opera(MC_DIVIDE, {integer(1), integer(0)}); }

  std::string outcome(McNodeRef expression) {
    McValue result;
    testing::internal::CaptureStderr();
    const int code = McEvalConst(&program_, expression, &result);
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(code == RC_OK || result.type == McValueType::VOID);
    return OutcomeText(code, &result, printed);
  }

  McProgram program_;
};

constexpr char DIVISION[] = "5670 DIVISION: DOMAIN ERROR\n";

TEST_F(Eval, Expressions) {
  const McNodeRef six = opera(MC_MULTIPLY, {integer(2), integer(3)});
  EXPECT_EQ(outcome(opera(MC_SUBTRACT, {integer(1), six})), "-5");
  EXPECT_EQ(outcome(fault()), DIVISION);
  EXPECT_EQ(outcome(integer(7)), "7");  // the failure left nothing behind
  // Operands that are missing; nodes without value.
  EXPECT_EQ(outcome(opera(MC_AND, {integer(1)})), "5292");
  EXPECT_EQ(outcome(opera(MC_EQUAL, {text("a")})), "5292");
  EXPECT_EQ(outcome(node(McNodeKind::BLOCK, {fault()})), "9000");
  // A variable evaluates its subscripts first.
  EXPECT_EQ(outcome(node(McNodeKind::VAR, {integer(1), fault()})), DIVISION);
  // AND and OR stop early. The truth of a text is its first byte.
  EXPECT_EQ(outcome(opera(MC_OR, {text("A"), fault()})), "65");
  EXPECT_EQ(outcome(opera(MC_OR, {integer(0), fault()})), DIVISION);
  EXPECT_EQ(outcome(opera(MC_AND, {integer(0), fault()})), "0");
  EXPECT_EQ(outcome(opera(MC_AND, {text("A"), text("\xFF")})), "-1");
}

TEST_F(Eval, FailedFunctionIsReportedOnce) {
  // An argument that fails: the function is not called.
  EXPECT_EQ(outcome(func(MC_FN_LEN, {integer(1), fault()})), DIVISION);
  EXPECT_EQ(outcome(func(MC_FN_INT, {integer(3)})),
            "5294 Fehler bei Funktionsaufruf: 5294\n");
  EXPECT_EQ(outcome(func(MC_FN_TIME, {})), "5277");
  EXPECT_EQ(outcome(func(99, {})), "5277");
}

TEST_F(Eval, LongestMessageReference) {
  const std::string tail = "\4" + std::string("0\4Open\4");
  const std::string longest = "\4" + std::string(1023 - 1 - tail.size(), 'n');
  EXPECT_EQ(outcome(text(longest + tail)), "'Open'");
  EXPECT_EQ(outcome(text(longest + "n" + tail)),
            "'" + longest + "n" + tail + "'");
}

TEST_F(Eval, DeepExpressions) {
  McNodeRef right = integer(1), calls = integer(-1), texts = text("");
  for (int i = 1; i < 1000000; i++) {
    right = opera(MC_ADD, {integer(1), right});
    calls = func(MC_FN_ABS, {calls});
    texts = opera(MC_ADD, {texts, text("ab")});
  }
  EXPECT_EQ(outcome(right), "1000000");
  EXPECT_EQ(outcome(calls), "1");
  EXPECT_EQ(outcome(func(MC_FN_LEN, {texts})), "1999998");
}

}  // namespace
