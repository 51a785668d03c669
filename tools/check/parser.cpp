// Each token costs a walk over the automaton's tables and nothing more; stacks
// are copied now and then, so that a repair can begin some tokens back.
#include "tools/check/parser.h"

#include <algorithm>

#include "elut/grammar.h"

namespace {

// The compiler refuses what nests deeper (elut/compile/parser.cpp).
constexpr size_t STACK_ENTRIES = 150;
constexpr size_t HISTORY = 64;  // tokens that can be gone back

// Whether the rule may be reduced in a source of that kind: the forms that are
// not accepted fail.
bool Allowed(int rule, CheckKind kind) {
  switch (MC_GRAMMAR.lhs[rule]) {
    case SYMBOL_mask_check: return kind == CheckKind::MASK;
    case SYMBOL_expression_check:
    case SYMBOL_handler_check: return false;
    default: return true;
  }
}

}  // namespace

CheckTaken CheckParser::feed(const CheckToken& token) {
  std::vector<int> states;
  for (const CheckEntry& entry : stack_) states.push_back(entry.state);
  if (const CheckTaken outcome = shift(&states, token.kind);
      outcome != CheckTaken::SHIFTED)
    return outcome;
  if (count_ % SNAPSHOT == 0) snapshots_.push_back({count_, stack_});
  if (token.kind == TOKEN_SUB &&
      (history_.empty() || history_.back().kind != TOKEN_END))
    routine_ = {stack_, token};
  else if (ends_part() && could_take(TOKEN_SUB))
    body_ = {stack_, token};
  apply(token);
  history_.push_back(token);
  count_++;
  if (history_.size() > HISTORY) history_.pop_front();
  while (snapshots_.size() > HISTORY / SNAPSHOT + 1) snapshots_.pop_front();
  include(token);
  return CheckTaken::SHIFTED;
}

// Whether something ends in front of the next token, which may be a SUB.
bool CheckParser::ends_part() const {
  if (history_.empty()) return false;
  const int last = history_.back().kind;
  return last == TOKEN_SUBEND || last == TOKEN_SEMICOLON || last == TOKEN_SUB;
}

bool CheckParser::could_take(int token) const {
  std::vector<int> states;
  for (const CheckEntry& entry : stack_) states.push_back(entry.state);
  return shift(&states, token) == CheckTaken::SHIFTED;
}

// The same with the tokens of the entries.
void CheckParser::apply(const CheckToken& token) {
  for (;;) {
    const auto step = MC_GRAMMAR.step(stack_.back().state, token.kind);
    if (step.kind == McGrammarTables::Step::SHIFT) {
      stack_.push_back({step.number, token});
      break;
    }
    reduce(step.number, token);
  }
  while (MC_GRAMMAR.reduces_at_once(stack_.back().state)) {
    const int rule = MC_GRAMMAR.defact[stack_.back().state];
    if (rule == 0) break;
    include_now_ |= MC_GRAMMAR.lhs[rule] == SYMBOL_include;
    reduce(rule, token);
  }
}

void CheckParser::reduce(int rule, const CheckToken& token) {
  const auto length = static_cast<size_t>(MC_GRAMMAR.length[rule]);
  const CheckToken first =
      length == 0 ? token : stack_[stack_.size() - length].token;
  stack_.resize(stack_.size() - length);
  stack_.push_back(
      {MC_GRAMMAR.after(stack_.back().state, MC_GRAMMAR.lhs[rule]), first});
}

void CheckParser::include(const CheckToken& token) {
  if (!std::exchange(include_now_, false) || history_.size() < 2) return;
  const CheckToken& text = history_[history_.size() - 2];
  if (token.kind != TOKEN_SEMICOLON || text.kind != TOKEN_SCONST) return;
  std::string name(text.text());
  if (name.size() >= 2) name = name.substr(1, name.size() - 2);
  if (stream_.depth() >= size_t{MC_SRC_LEVELS} || ++included_ > 10000) return;
  if (CheckFile* file = files_->open(name)) stream_.include(file);
}

CheckTaken CheckParser::shift(std::vector<int>* states, int token) const {
  for (;;) {
    const auto step = MC_GRAMMAR.step(states->back(), token);
    if (step.kind == McGrammarTables::Step::ERROR) return CheckTaken::ERROR;
    if (step.kind == McGrammarTables::Step::SHIFT) {
      if (step.number == MC_GRAMMAR.final_state) return CheckTaken::ACCEPTED;
      states->push_back(step.number);
      break;
    }
    if (!Allowed(step.number, kind_)) return CheckTaken::ERROR;
    states->resize(states->size() -
                   static_cast<size_t>(MC_GRAMMAR.length[step.number]));
    states->push_back(
        MC_GRAMMAR.after(states->back(), MC_GRAMMAR.lhs[step.number]));
    if (states->size() > STACK_ENTRIES) return CheckTaken::TOO_DEEP;
  }
  if (states->size() > STACK_ENTRIES) return CheckTaken::TOO_DEEP;
  while (MC_GRAMMAR.reduces_at_once(states->back())) {
    const int rule = MC_GRAMMAR.defact[states->back()];
    if (rule == 0) break;
    states->resize(states->size() -
                   static_cast<size_t>(MC_GRAMMAR.length[rule]));
    states->push_back(MC_GRAMMAR.after(states->back(), MC_GRAMMAR.lhs[rule]));
  }
  return CheckTaken::SHIFTED;
}

void CheckParser::look_ahead(size_t count) {
  ahead_ = stream_.look(count);
  states_.clear();
}

ptrdiff_t CheckParser::statement_start() const {
  ptrdiff_t at = 0;
  const ptrdiff_t limit = std::max<ptrdiff_t>(back_limit(), -40);
  while (at > limit) {
    switch (kind_at(at - 1)) {
      case TOKEN_SEMICOLON:
      case TOKEN_THEN:
      case TOKEN_DO:
      case TOKEN_ELSE:
      case TOKEN_BREAK:
      case TOKEN_CONTINUE:
      case TOKEN_SUBEXIT:
      case TOKEN_SUBEND:
      case TOKEN_LEFT_BRACE:
      case TOKEN_RIGHT_BRACE: return at;
      case TOKEN_IF:
      case TOKEN_WHILE:
      case TOKEN_SELECT:
      case TOKEN_SUB:
      case TOKEN_COMMON:
        if (at - 1 > limit && kind_at(at - 2) == TOKEN_END) return at;
        return at - 1;
      default: break;
    }
    at--;
  }
  return at;
}

const std::vector<int>& CheckParser::states_at(size_t back) {
  auto [found, fresh] = states_.try_emplace(back);
  if (!fresh) return found->second;
  std::vector<int>& states = found->second;
  if (back == 0) {
    for (const CheckEntry& entry : stack_) states.push_back(entry.state);
    return states;
  }
  const size_t target = count_ - back;
  size_t i = snapshots_.size();
  while (i > 0 && snapshots_[i - 1].first > target) i--;
  for (const CheckEntry& entry : snapshots_[i - 1].second)
    states.push_back(entry.state);
  for (size_t at = snapshots_[i - 1].first; at < target; at++)
    (void)shift(&states, near(-static_cast<ptrdiff_t>(count_ - at)).kind);
  return states;
}

std::vector<int> CheckParser::expected() {
  std::vector<int> tokens;
  for (int token = 0; token < TOKEN_WITH + 1; token++) {
    if (token == 1 || token == 2) continue;
    std::vector<int> states = states_at(0);
    const CheckTaken outcome = shift(&states, token);
    if (outcome == CheckTaken::SHIFTED || outcome == CheckTaken::ACCEPTED)
      tokens.push_back(token);
  }
  return tokens;
}

const CheckEntry* CheckParser::opening(int symbol) const {
  for (size_t i = stack_.size(); i-- > 1;)
    if (MC_GRAMMAR.symbol[stack_[i].state] == symbol) return &stack_[i];
  return nullptr;
}

void CheckParser::go_back(size_t back) {
  const size_t target = count_ - back;
  size_t i = snapshots_.size();
  while (i > 0 && snapshots_[i - 1].first > target) i--;
  std::vector<CheckToken> replay;
  for (size_t n = snapshots_[i - 1].first; n < target; n++)
    replay.push_back(near(-static_cast<ptrdiff_t>(count_ - n)));
  stack_ = snapshots_[i - 1].second;
  history_.resize(history_.size() - back);
  snapshots_.resize(i);
  count_ = target;
  for (const CheckToken& token : replay) apply(token);
  include_now_ = false;
}

void CheckParser::go_back_to(const CheckPart& part) {
  stack_ = std::vector<CheckEntry>(part.stack);
  history_.clear();
  snapshots_.clear();
  count_ += SNAPSHOT - count_ % SNAPSHOT;  // a stack is kept at once
  include_now_ = false;
}

void CheckParser::put_back_made(CheckToken made,
                                const std::vector<int>& tokens) {
  made.made = true;
  for (size_t i = tokens.size(); i-- > 0;) {
    made.kind = tokens[i];
    stream_.put_back(made);
  }
}
