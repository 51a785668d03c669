// The states are printed by the build (syntax/make_parser.cpp) into the middle
// of one function, whose variables they share: the top of the stack, and the
// token with its value while one is at hand. The address of none of them is
// taken, which keeps them in registers.
//
// An error leaves this function for another, which follows the tables until the
// parse has recovered: as long as the error flag is not 0, each token that is
// shifted decreases it by one. Then it goes on here, in the state on top.
#include "elut/compile/parser.h"

#include <utility>

#include "Cutil/codes.h"
#include "elut/compile/actions.h"
#include "elut/grammar.h"
#include "elut/syntax/lexer.h"

namespace {

// The stack refuses an entry once this many are in use, and notices when it has
// stored one.
constexpr int STACK_ENTRIES = 150;
constexpr int NO_TOKEN = -1;

struct McStackEntry {
  McSemantic value;
  uint32_t state;  // unsigned: a switch then needs one comparison less

  int number() const { return static_cast<int>(state); }
};

enum class ParseEnd { ACCEPTED, FAILED };

#define YYERROR return false
#include "elut/grammar_actions.inc"

void ReportOverflow(McFront* front) {
  McParseError(&front->scanner, front->scanner.error_code,
               "yacc stack overflow");
}

// Recovery ------------------------------------------------------------------

class Recovery {
 public:
  Recovery(McFront* front, McStackEntry* stack, McStackEntry* top)
      : front_(front), stack_(stack), top_(top), ahead_(&front->parse.ahead) {}

  // Goes on after an error. False when the parse cannot; otherwise it goes on
  // in the state on top, which needs a token, if it is not at its end.
  bool run() { return shift_error() && follow(); }
  bool accepted() const { return top_->number() == MC_GRAMMAR.final_state; }
  McStackEntry* top() const { return top_; }

 private:
  int token() const { return static_cast<int>(ahead_->token); }

  bool push(int state) {
    top_++;
    top_->state = static_cast<uint32_t>(state);
    if (top_ - stack_ < STACK_ENTRIES) return true;
    ReportOverflow(front_);
    return false;
  }

  // Drops entries until one can shift the token error, and shifts it.
  bool shift_error() {
    front_->parse.error_flag = 3;
    for (;;) {
      const int state = MC_GRAMMAR.after_error(top_->number());
      if (state != 0) return push(state);
      if (top_ == stack_) return false;
      Discard(front_, MC_GRAMMAR.symbol[top_->number()], &top_->value);
      top_--;
    }
  }

  bool shift(int state) {
    top_[1].value.token = ahead_->value;
    ahead_->token = NO_TOKEN;
    if (front_->parse.error_flag > 0) front_->parse.error_flag--;
    return push(state);
  }

  bool reduce(int rule) {
    const bool done = RunAction(front_, top_, token(), rule);
    top_ -= MC_GRAMMAR.length[rule];
    if (!done) return shift_error();
    return push(MC_GRAMMAR.after(top_->number(), MC_GRAMMAR.lhs[rule]));
  }

  // The token leads nowhere. The first one after an error is dropped, others
  // are a new error, without a report of its own.
  bool fail() {
    if (front_->parse.error_flag < 3) return shift_error();
    if (ahead_->token == TOKEN_END_OF_INPUT) return false;
    ahead_->token = NO_TOKEN;
    return true;
  }

  // Does what the tables say until the error flag is 0.
  bool follow() {
    for (bool going_on = true; going_on;) {
      if (accepted()) return true;
      if (!MC_GRAMMAR.reduces_at_once(top_->number())) {
        if (front_->parse.error_flag == 0) return true;
        if (ahead_->token == NO_TOKEN) *ahead_ = McLex(&front_->scanner);
      }
      const auto step = MC_GRAMMAR.step(top_->number(), token());
      switch (step.kind) {
        case McGrammarTables::Step::SHIFT: going_on = shift(step.number); break;
        case McGrammarTables::Step::REDUCE:
          going_on = reduce(step.number);
          break;
        case McGrammarTables::Step::ERROR: going_on = fail(); break;
      }
    }
    return false;
  }

  McFront* front_;
  McStackEntry* stack_;
  McStackEntry* top_;
  McToken* ahead_;
};

// States --------------------------------------------------------------------

#define NEXT_TOKEN()                             \
  do {                                           \
    const McToken next = McLex(&front->scanner); \
    token = static_cast<int>(next.token);        \
    value = next.value;                          \
  } while (false)

#define PUSH() \
  if (++top == limit) goto overflow

#define FAIL(length)    \
  do {                  \
    top -= (length);    \
    goto failed_action; \
  } while (false)

ParseEnd Parse(McFront* front) {
  McStackEntry stack[STACK_ENTRIES + 1];
  McStackEntry* top = stack;
  McStackEntry* const limit = stack + STACK_ENTRIES;
  int token = NO_TOKEN;
  TokenValue value = {};
  top->state = 0;

#include "elut/grammar_states.inc"

overflow:
  ReportOverflow(front);
  return ParseEnd::FAILED;

syntax_error:
  McParseError(&front->scanner, front->scanner.error_code, "syntax error");
failed_action:
  front->parse.ahead = {token, value};
  Recovery recovery(front, stack, top);
  if (!recovery.run()) return ParseEnd::FAILED;
  if (recovery.accepted()) return ParseEnd::ACCEPTED;
  top = recovery.top();
  token = static_cast<int>(front->parse.ahead.token);
  value = front->parse.ahead.value;
  goto resume;
}

}  // namespace

bool McYyParse(McFront* front) {
  front->parse.error_flag = 0;
  return Parse(front) == ParseEnd::ACCEPTED;
}
