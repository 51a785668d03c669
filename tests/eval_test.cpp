#include "elut/eval.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <set>

#include "Cutil/codes.h"
#include "Cutil/ut_memory.h"
#include "elut/arithmetic.h"
#include "elut/builtins.h"
#include "quillo/channels.h"
#include "tests/value_text.h"
#include "trt/catalog.h"

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

  McNodeRef opera(uint8_t op, std::initializer_list<McNodeRef> operands,
                  McNodeKind kind = McNodeKind::OPERA) {
    const McNodeRef ref = node(kind, operands);
    program_.nodes[ref].op = op;
    return ref;
  }

  McNodeRef unary(uint8_t op, std::initializer_list<McNodeRef> operand) {
    return opera(op, operand, McNodeKind::UNARY);
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
  EXPECT_EQ(outcome(unary(MC_NEGATE, {text("abc")})), "'cba'");
  EXPECT_EQ(outcome(opera(MC_RANGE, {integer(1), integer(2)})), "5684");
  EXPECT_EQ(outcome(fault()), DIVISION);
  EXPECT_EQ(outcome(integer(7)), "7");  // the failure left nothing behind
  // Operands that are missing.
  EXPECT_EQ(outcome(0), "5292");
  EXPECT_EQ(outcome(unary(MC_VALUE, {})), "5292");
  EXPECT_EQ(outcome(opera(MC_EQUAL, {text("a")})), "5292");
  EXPECT_EQ(outcome(opera(MC_AND, {integer(1)})), "5292");
  EXPECT_EQ(outcome(opera(MC_AND, {integer(0)})), "0");
  McValue result;
  EXPECT_EQ(McEvalConst(nullptr, 1, &result), RC_NO_EXPRESSION);
  EXPECT_EQ(McEvalNode(1, &result), RC_NO_EXPRESSION);
  // AND and OR stop early.
  EXPECT_EQ(outcome(opera(MC_OR, {integer(1), fault()})), "1");
  EXPECT_EQ(outcome(opera(MC_OR, {integer(0), fault()})), DIVISION);
  EXPECT_EQ(outcome(opera(MC_AND, {integer(0), fault()})), "0");
  EXPECT_EQ(outcome(opera(MC_OR, {integer(0), integer(5)})), "1");
  // The truth of a text is its first byte, also as the result.
  EXPECT_EQ(outcome(opera(MC_OR, {text("A"), fault()})), "65");
  EXPECT_EQ(outcome(opera(MC_AND, {text("A"), text("\xFF")})), "-1");
}

TEST_F(Eval, NodesWithoutValue) {
  const std::set<McNodeKind> with_value = {
      McNodeKind::INT,   McNodeKind::REAL,  McNodeKind::STRING,
      McNodeKind::OPERA, McNodeKind::UNARY, McNodeKind::FUNC,
      McNodeKind::VAR};
  for (int i = 0; i < 256; i++) {
    const auto kind = static_cast<McNodeKind>(i);
    if (with_value.contains(kind)) continue;
    EXPECT_EQ(outcome(node(kind, {fault()})), "9000") << i;
  }
  // A variable evaluates its subscripts first.
  const McNodeRef refer = node(McNodeKind::REFER, {fault()});
  EXPECT_EQ(outcome(node(McNodeKind::VAR, {integer(1), refer})), "9000");
  EXPECT_EQ(outcome(node(McNodeKind::VAR, {integer(1), fault()})), DIVISION);
}

TEST_F(Eval, FailedFunctionIsReportedOnce) {
  const McNodeRef found = func(MC_FN_POS, {text("abc"), text("c")});
  EXPECT_EQ(outcome(opera(MC_ADD, {integer(10), found})), "13");
  // An argument that fails: the function is not called.
  EXPECT_EQ(outcome(func(MC_FN_LEN, {integer(1), fault()})), DIVISION);
  EXPECT_EQ(outcome(func(MC_FN_INT, {integer(3)})),
            "5294 Fehler bei Funktionsaufruf: 5294\n");
  EXPECT_EQ(outcome(func(MC_FN_TIME, {})), "5277");
  McEvalReset();
  program_.name = "DEMO";
  EXPECT_EQ(outcome(func(MC_FN_TIME, {})),
            "5277 DEMO: Fehler bei Funktionsaufruf: 5277\n");
  EXPECT_EQ(outcome(func(MC_FN_TIME, {fault()})), DIVISION);
  EXPECT_EQ(outcome(func(99, {})), "5277");
}

TEST_F(Eval, MessageReferences) {
  setenv("HD_U", "/nonexistent", 1);
  CatalogReset();
  const std::string tail =
      "\4"
      "0\4Open\4";
  const std::string longest = "\4" + std::string(1023 - 1 - tail.size(), 'n');
  EXPECT_EQ(outcome(text("\4no_msg.txt\4"
                         "12\4Close\4")),
            "'Close'");
  EXPECT_EQ(outcome(text("\1\1f\1"
                         "12\1")),
            "'\1\1f\1"
            "12\1'");
  EXPECT_EQ(outcome(text(longest + tail)), "'Open'");
  EXPECT_EQ(outcome(text(longest + "n" + tail)),
            "'" + longest + "n" + tail + "'");
  unsetenv("HD_U");
  CatalogReset();
}

TEST_F(Eval, DeepAndWideExpressions) {
  McNodeRef left = integer(1), right = integer(1), signs = integer(1);
  McNodeRef calls = integer(-1), both = integer(1), texts = text("");
  const McNodeRef wide = func(MC_FN_LEN, {text("a")});
  McNodeRef last = program_.nodes[wide].child;
  for (int i = 1; i < 1000000; i++) {
    left = opera(MC_ADD, {left, integer(1)});
    right = opera(MC_ADD, {integer(1), right});
    signs = unary(MC_NEGATE, {signs});
    calls = func(MC_FN_ABS, {calls});
    both = opera(MC_AND, {integer(1), both});
    texts = opera(MC_ADD, {texts, text("ab")});
    const McNodeRef argument = integer(i);
    program_.nodes[last].sibling = argument;
    last = argument;
  }
  EXPECT_EQ(outcome(left), "1000000");
  EXPECT_EQ(outcome(right), "1000000");
  EXPECT_EQ(outcome(signs), "-1");
  EXPECT_EQ(outcome(calls), "1");
  EXPECT_EQ(outcome(both), "1");
  EXPECT_EQ(outcome(func(MC_FN_LEN, {texts})), "1999998");
  EXPECT_EQ(outcome(wide), "5294 Fehler bei Funktionsaufruf: 5294\n");
}

// Each allocation fails once: 1001, and nothing is left behind.
TEST_F(Eval, MemoryExhausted) {
  const McNodeRef twice = opera(MC_MULTIPLY, {text("ab"), integer(2)});
  const McNodeRef place =
      func(MC_FN_POS, {opera(MC_ADD, {twice, text("cdefghijklmnopqrstuvwxyz")}),
                       func(MC_FN_STR, {integer(7)})});
  program_.name = "DEMO";
  bool struck = true;
  for (uint64_t nth = 1; struck; nth++) {
    McValue result;
    testing::internal::CaptureStderr();
    UtFailAllocation(nth);
    const int code = McEvalConst(&program_, place, &result);
    struck = UtPendingFault() == 0;
    UtFailAllocation(0);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(OutcomeText(code, &result, ""), struck ? "1001" : "0") << nth;
  }
}

}  // namespace
