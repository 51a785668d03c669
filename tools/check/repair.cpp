// The parser keeps the last tokens and, every few of them, its stack, so that
// it can go back to where a repair begins. A change is tried on a copy of the
// states alone: a few tokens for each of some hundred changes, and then further
// for those that did not fail at once.
#include "tools/check/repair.h"

#include <algorithm>
#include <deque>
#include <set>

#include "elut/grammar.h"
#include "tools/check/words.h"
#include "tools/findings/columns.h"

namespace {

// The compiler refuses what nests deeper (parser.cpp).
constexpr size_t STACK_ENTRIES = 150;
constexpr size_t HISTORY = 64;      // tokens that can be gone back
constexpr size_t SNAPSHOT = 16;     // a stack is kept every so many
constexpr size_t LOOK_SHORT = 12;   // tokens that each change is tried on
constexpr size_t LOOK_LONG = 1000;  // and the best ones
constexpr size_t TO_THE_END = 1000000;
constexpr ptrdiff_t WORDS_BACK = 16;  // tokens that are asked for lost words
// A repair that the parser follows no further than that has mended little; of
// more than so many in a row only the first ones are told.
constexpr size_t LITTLE = 6;
constexpr size_t MOST_LITTLE = 2;

struct Entry {
  int state;
  CheckToken token;  // the first one of the symbol
};

enum class Outcome { SHIFTED, ACCEPTED, ERROR, TOO_DEEP };

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

// Tokens, file over file ------------------------------------------------------

class Stream {
 public:
  explicit Stream(CheckFile* main) {
    levels_.push_back({main, 0, {}, {}, false});
  }

  void include(CheckFile* file) { levels_.push_back({file, 0, {}, {}, false}); }
  size_t depth() const { return levels_.size(); }

  CheckToken next() {
    for (;;) {
      Level& level = levels_.back();
      if (fill(&level, 1)) {
        const CheckToken token = level.ahead.front();
        level.ahead.pop_front();
        return token;
      }
      if (levels_.size() == 1) return level.end;
      levels_.pop_back();
    }
  }

  void put_back(const CheckToken& token) {
    if (token.kind == TOKEN_END_OF_INPUT) return;
    levels_.back().ahead.push_front(token);
  }

  // The next tokens, `count` of them if there are so many; END_OF_INPUT last.
  std::vector<CheckToken> look(size_t count) {
    std::vector<CheckToken> tokens;
    for (size_t i = levels_.size(); i-- > 0;) {
      Level& level = levels_[i];
      fill(&level, count - tokens.size());
      for (const CheckToken& token : level.ahead) {
        if (tokens.size() == count) return tokens;
        tokens.push_back(token);
      }
      if (tokens.size() == count) return tokens;
      if (i == 0) tokens.push_back(level.end);
    }
    return tokens;
  }

  // Reads the current file again from `offset` on.
  void rescan(size_t offset) {
    Level& level = levels_.back();
    level.ahead.clear();
    level.at = offset;
    level.ended = false;
  }
  const CheckFile* file() const { return levels_.back().file; }

 private:
  struct Level {
    CheckFile* file;
    size_t at;
    std::deque<CheckToken> ahead;
    CheckToken end;
    bool ended;
  };

  static bool fill(Level* level, size_t count) {
    while (level->ahead.size() < count && !level->ended) {
      level->file->scanner.move(level->at);
      const CheckToken token = level->file->scanner.next();
      level->at = token.end;
      level->ended = token.kind == TOKEN_END_OF_INPUT;
      if (level->ended)
        level->end = token;
      else
        level->ahead.push_back(token);
    }
    return level->ahead.size() >= count;
  }

  std::deque<Level> levels_;
};

// Changes ---------------------------------------------------------------------

struct Change {
  enum Kind {
    PUT_IN,
    TAKE_OUT,
    SPELL,         // another keyword was meant
    KEYWORD_NAME,  // a keyword stands for a name
    WRONG_END,
    SUB_END,  // in other words
    BRACKETS,
    CALL_WORD,
    OPERATOR,   // of another language
    NOT_EQUAL,  // "!=", which begins a comment
    COMMENT,    // of another language
    COMMA,      // in a number
    POINT,      // behind a number
    MISPLACED,  // a whole construct
    SKIPPED,    // a statement that nothing helps
  } kind;
  size_t back;    // tokens in front of the error that it begins at
  size_t remove;  // tokens from there on
  std::vector<int> put;
  int cost;
  bool only = false;  // SPELL: no other keyword is as near
  std::string text;   // in the place of what is removed, if not `put`
  size_t progress = 0;
};

size_t Indentation(const CheckToken& token) {
  const std::string_view line =
      token.source->line(token.source->line_of(token.begin));
  return std::min(line.find_first_not_of(" \t"), line.size());
}

// Whether the token is the first one of its line.
bool BeginsLine(const CheckToken& token) {
  return token.begin ==
         token.source->line_start(token.source->line_of(token.begin)) +
             Indentation(token);
}

class Repair {
 public:
  Repair(CheckFiles* files, CheckFile* main, CheckKind kind, size_t most,
         CheckNames* dropped)
      : files_(files),
        stream_(main),
        kind_(kind),
        left_(most),
        dropped_(dropped) {
    stack_.push_back({0, {}});
  }

  bool run() {
    begin_file();
    for (;;) {
      const CheckToken token = stream_.next();
      switch (feed(token)) {
        case Outcome::ACCEPTED: return true;
        case Outcome::SHIFTED: break;
        case Outcome::TOO_DEEP: return too_deep(token);
        case Outcome::ERROR:
          stream_.put_back(token);
          if (left_ == 0) return false;
          left_--;
          if (!repair(token)) return false;
      }
    }
  }

 private:
  // Takes a token; on an error the stack is as before.
  Outcome feed(const CheckToken& token) {
    std::vector<int> states;
    for (const Entry& entry : stack_) states.push_back(entry.state);
    if (const Outcome outcome = shift(&states, token.kind);
        outcome != Outcome::SHIFTED)
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
    return Outcome::SHIFTED;
  }

  // Whether something ends in front of the next token, of which a SUB may be
  // the next one.
  bool ends_part() const {
    if (history_.empty()) return false;
    const int last = history_.back().kind;
    return last == TOKEN_SUBEND || last == TOKEN_SEMICOLON || last == TOKEN_SUB;
  }
  bool could_take(int token) const {
    std::vector<int> states;
    for (const Entry& entry : stack_) states.push_back(entry.state);
    return shift(&states, token) == Outcome::SHIFTED;
  }

  // The same with the tokens of the entries.
  void apply(const CheckToken& token) {
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

  void reduce(int rule, const CheckToken& token) {
    const auto length = static_cast<size_t>(MC_GRAMMAR.length[rule]);
    const CheckToken first =
        length == 0 ? token : stack_[stack_.size() - length].token;
    stack_.resize(stack_.size() - length);
    stack_.push_back(
        {MC_GRAMMAR.after(stack_.back().state, MC_GRAMMAR.lhs[rule]), first});
  }

  void include(const CheckToken& token) {
    if (!std::exchange(include_now_, false) || history_.size() < 2) return;
    const CheckToken& text = history_[history_.size() - 2];
    if (token.kind != TOKEN_SEMICOLON || text.kind != TOKEN_SCONST) return;
    std::string name(text.text());
    if (name.size() >= 2) name = name.substr(1, name.size() - 2);
    if (stream_.depth() >= size_t{MC_SRC_LEVELS} || ++included_ > 10000) return;
    if (CheckFile* file = files_->open(name)) stream_.include(file);
  }

  // Takes a token on a stack of states.
  Outcome shift(std::vector<int>* states, int token) const {
    for (;;) {
      const auto step = MC_GRAMMAR.step(states->back(), token);
      if (step.kind == McGrammarTables::Step::ERROR) return Outcome::ERROR;
      if (step.kind == McGrammarTables::Step::SHIFT) {
        if (step.number == MC_GRAMMAR.final_state) return Outcome::ACCEPTED;
        states->push_back(step.number);
        break;
      }
      if (!Allowed(step.number, kind_)) return Outcome::ERROR;
      states->resize(states->size() -
                     static_cast<size_t>(MC_GRAMMAR.length[step.number]));
      states->push_back(
          MC_GRAMMAR.after(states->back(), MC_GRAMMAR.lhs[step.number]));
      if (states->size() > STACK_ENTRIES) return Outcome::TOO_DEEP;
    }
    if (states->size() > STACK_ENTRIES) return Outcome::TOO_DEEP;
    while (MC_GRAMMAR.reduces_at_once(states->back())) {
      const int rule = MC_GRAMMAR.defact[states->back()];
      if (rule == 0) break;
      states->resize(states->size() -
                     static_cast<size_t>(MC_GRAMMAR.length[rule]));
      states->push_back(MC_GRAMMAR.after(states->back(), MC_GRAMMAR.lhs[rule]));
    }
    return Outcome::SHIFTED;
  }

  bool repair(const CheckToken& error);
  void begin_file();
  void put_back_made(CheckToken made, const std::vector<int>& tokens) {
    made.made = true;
    for (size_t i = tokens.size(); i-- > 0;) {
      made.kind = tokens[i];
      stream_.put_back(made);
    }
  }
  bool too_deep(const CheckToken& token);

  // Candidates.
  void collect(const CheckToken& error);
  void collect_spellings();
  void collect_ends();
  void collect_words();
  void collect_constructs();
  void collect_skips();
  void collect_foreign(const CheckToken& error);
  void consider(Change change) {
    if (change.back <= static_cast<size_t>(-back_limit()))
      changes_.push_back(std::move(change));
  }
  const std::vector<int>& states_at(size_t back);
  size_t progress(const Change& change, size_t limit);
  size_t advance(const Change& change, size_t limit);
  std::vector<int> expected();

  // The token `at` tokens behind the error, or in front of it when negative.
  const CheckToken& near(ptrdiff_t at) const {
    return at < 0
               ? history_[history_.size() - static_cast<size_t>(-at)]
               : ahead_[std::min(static_cast<size_t>(at), ahead_.size() - 1)];
  }
  int kind_at(ptrdiff_t at) const { return near(at).kind; }
  // How far tokens can be gone back: to the first stack that was kept since the
  // first token of the history. Where that was gone back before, it may be no
  // token at all.
  ptrdiff_t back_limit() const {
    for (const auto& [count, stack] : snapshots_)
      if (count + history_.size() >= count_)
        return static_cast<ptrdiff_t>(count) - static_cast<ptrdiff_t>(count_);
    return 0;
  }
  ptrdiff_t statement_start() const;

  // Where a part of the source began, and the stack in front of it.
  struct Part {
    std::vector<Entry> stack;
    CheckToken begin;
  };
  bool goes_on(const Part& part, size_t sync, size_t progress) const;
  size_t end_of_routine(const Change& change);
  size_t end_of_body(const Change& change);
  void leave(const Part& part, size_t sync);
  void mute(const Change& change);
  void make(const Change& change, const CheckToken& error);
  void report(const Change& change, const CheckToken& error);
  void report_missing(const Change& change, const CheckToken& error);
  void report_missing_end(const Change& change, const CheckToken& error);
  void report_wrong_end(const Change& change, const CheckToken& error);
  void report_unexpected(const CheckToken& error, size_t first, size_t last,
                         ptrdiff_t from, ptrdiff_t to);
  CheckFault* fault(const char* rule, const CheckToken& first,
                    const CheckToken& last, std::string message,
                    std::string hint = "");
  CheckFault* fault_behind(const char* rule, ptrdiff_t at, std::string message,
                           std::string hint = "");
  const Entry* opening(int symbol) const;
  bool is_sub(std::string_view name);

  CheckFiles* files_;
  Stream stream_;
  CheckKind kind_;
  size_t left_;
  CheckNames* dropped_;
  std::vector<Entry> stack_;
  std::deque<CheckToken> history_;
  std::deque<std::pair<size_t, std::vector<Entry>>> snapshots_;
  size_t count_ = 0;
  Part routine_;       // the last SUB
  Part body_;          // what came last where a SUB could have come
  size_t little_ = 0;  // repairs in a row that mended little
  size_t included_ = 0;
  bool include_now_ = false;

  // While a repair is looked for.
  std::vector<CheckToken> ahead_;  // the error first
  std::vector<Change> changes_;
  std::map<size_t, std::vector<int>> states_;
  std::vector<std::vector<int>> next_words_;  // that the error may stand for
  CheckFault* fault_ = nullptr;

  std::set<std::string, std::less<>> names_of_keywords_;
  std::map<std::string, CheckFault*, std::less<>> keyword_faults_;
  std::set<std::string, std::less<>> subs_;
  bool has_subs_ = false;
};

// The states in front of the token `back` tokens before the error.
const std::vector<int>& Repair::states_at(size_t back) {
  auto [found, fresh] = states_.try_emplace(back);
  if (!fresh) return found->second;
  std::vector<int>& states = found->second;
  if (back == 0) {
    for (const Entry& entry : stack_) states.push_back(entry.state);
    return states;
  }
  const size_t target = count_ - back;
  size_t i = snapshots_.size();
  while (i > 0 && snapshots_[i - 1].first > target) i--;
  for (const Entry& entry : snapshots_[i - 1].second)
    states.push_back(entry.state);
  for (size_t at = snapshots_[i - 1].first; at < target; at++)
    (void)shift(&states, near(-static_cast<ptrdiff_t>(count_ - at)).kind);
  return states;
}

// How many tokens from the error on the parser takes after the change. Behind a
// token that was missing there may be a misspelled one.
size_t Repair::progress(const Change& change, size_t limit) {
  // Tokens that are left out prove nothing.
  const auto end = static_cast<ptrdiff_t>(change.remove) -
                   static_cast<ptrdiff_t>(change.back + change.put.size());
  const auto left_out = static_cast<size_t>(std::max<ptrdiff_t>(0, end));
  size_t most = advance(change, limit + left_out);
  if (most != TO_THE_END) most -= std::min(most, left_out);
  if (change.kind != Change::PUT_IN || change.back != 0 || most > 3 ||
      ahead_[0].kind != TOKEN_IDENT)
    return most;
  for (const std::vector<int>& word : next_words_) {
    Change both = change;
    both.put.insert(both.put.end(), word.begin(), word.end());
    both.remove = 1;
    most = std::max(most, advance(both, limit));
  }
  return most;
}

size_t Repair::advance(const Change& change, size_t limit) {
  std::vector<int> states = states_at(change.back);
  for (const int token : change.put)
    if (shift(&states, token) != Outcome::SHIFTED) return 0;
  const auto begin = -static_cast<ptrdiff_t>(change.back);
  ptrdiff_t at = begin + static_cast<ptrdiff_t>(change.remove);
  while (at < static_cast<ptrdiff_t>(std::min(limit, ahead_.size()))) {
    const Outcome outcome = shift(&states, kind_at(at));
    if (outcome == Outcome::ACCEPTED) return TO_THE_END;
    if (outcome != Outcome::SHIFTED) break;
    at++;
  }
  return at < 0 ? 0 : static_cast<size_t>(at);
}

std::vector<int> Repair::expected() {
  std::vector<int> tokens;
  for (int token = 0; token < TOKEN_WITH + 1; token++) {
    if (token == 1 || token == 2) continue;
    std::vector<int> states = states_at(0);
    const Outcome outcome = shift(&states, token);
    if (outcome == Outcome::SHIFTED || outcome == Outcome::ACCEPTED)
      tokens.push_back(token);
  }
  return tokens;
}

// Where the statement or declaration that the error is in begins: at most 40
// tokens in front of it.
ptrdiff_t Repair::statement_start() const {
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

bool Repair::is_sub(std::string_view name) {
  if (!std::exchange(has_subs_, true)) {
    const std::string& text = stream_.file()->source.text;
    for (size_t at = text.find("SUB "); at != std::string::npos;
         at = text.find("SUB ", at + 4)) {
      size_t begin = at + 4;
      while (text[begin] == ' ') begin++;
      size_t end = begin;
      while (isalnum(static_cast<unsigned char>(text[end])) != 0 ||
             text[end] == '_')
        end++;
      subs_.insert(text.substr(begin, end - begin));
    }
  }
  return subs_.contains(name);
}

// Misspelled keywords from the beginning of the statement on.
void Repair::collect_spellings() {
  const ptrdiff_t start =
      std::max(statement_start() - 1, std::max<ptrdiff_t>(back_limit(), -24));
  for (ptrdiff_t at = start; at <= 1; at++) {
    if (at == 1 && kind_at(0) == TOKEN_END_OF_INPUT) break;
    const CheckToken& token = near(at);
    const auto back = static_cast<size_t>(std::max<ptrdiff_t>(0, -at));
    if (at > 0) break;
    if (token.kind == TOKEN_IDENT || token.kind == TOKEN_BUILTIN) {
      if (token.made) continue;
      const CheckMeant meant = CheckMeantBy(token.text());
      if (meant.tokens.empty()) continue;
      if (meant.distance == 0 || meant.tokens.size() == 2) {
        const bool two =
            meant.tokens.size() == 2 &&
            (meant.tokens[0] == TOKEN_END || meant.tokens[0] == TOKEN_ELSE);
        if (meant.tokens.size() == 1 || two)
          consider({Change::SPELL, back, 1, meant.tokens,
                    std::max(1, meant.distance), true, ""});
        if (!two)
          for (const int keyword : meant.tokens)
            consider({Change::SPELL,
                      back,
                      1,
                      {keyword},
                      std::max(1, meant.distance),
                      meant.only,
                      ""});
        continue;
      }
      for (const int keyword : meant.tokens)
        consider({Change::SPELL,
                  back,
                  1,
                  {keyword},
                  std::max(1, meant.distance),
                  meant.only,
                  ""});
    } else if (CheckIsKeyword(token.kind) && at >= -1) {
      consider({Change::KEYWORD_NAME,
                back,
                1,
                {TOKEN_IDENT},
                keyword_faults_.contains(token.text()) ? 0 : 3,
                false,
                ""});
    }
  }
}

// END of another block, or a block that is not closed.
void Repair::collect_ends() {
  static constexpr int BLOCKS[] = {TOKEN_IF, TOKEN_WHILE, TOKEN_SELECT,
                                   TOKEN_SUB, TOKEN_COMMON};
  const bool behind_end = !history_.empty() && kind_at(-1) == TOKEN_END;
  for (const int block : BLOCKS) {
    consider({Change::PUT_IN, 0, 0, {TOKEN_END, block}, 3, false, ""});
    if (behind_end) {
      consider({Change::PUT_IN, 1, 0, {TOKEN_END, block}, 3, false, ""});
      consider({Change::WRONG_END, 0, 1, {block}, 3, false, ""});
      consider({Change::PUT_IN, 0, 0, {block}, 4, false, ""});
    }
  }
  if (behind_end) {
    consider({Change::TAKE_OUT, 1, 2, {}, 4, false, ""});
    consider({Change::TAKE_OUT, 1, 1, {}, 5, false, ""});
    consider({Change::PUT_IN, 1, 0, {TOKEN_SUBEND}, 4, false, ""});
  }
  if (kind_at(0) == TOKEN_SUBEND) {
    for (const int block : BLOCKS)
      consider({Change::WRONG_END, 0, 1, {TOKEN_END, block}, 4, false, ""});
  } else if (kind_at(0) == TOKEN_END) {
    consider({Change::TAKE_OUT, 0, 2, {}, 4, false, ""});
    consider({Change::WRONG_END, 0, 2, {TOKEN_RIGHT_BRACE}, 5, false, ""});
  } else if (kind_at(0) == TOKEN_RIGHT_BRACE) {
    for (const int block : BLOCKS)
      consider({Change::WRONG_END, 0, 1, {TOKEN_END, block}, 5, false, ""});
  }
}

// Words at the beginning of a line that are lost, or a part of them: what a
// statement begins with, END of END IF, the end of a SUB.
void Repair::collect_words() {
  static constexpr int FIRST[] = {TOKEN_IF,     TOKEN_WHILE, TOKEN_SELECT,
                                  TOKEN_COMMON, TOKEN_SUB,   TOKEN_INTEGER,
                                  TOKEN_END};
  const auto begins = [&](ptrdiff_t at) { return BeginsLine(near(at)); };
  for (ptrdiff_t at = 0; at >= std::max(back_limit(), -WORDS_BACK); at--) {
    if (!begins(at) || near(at).made) continue;
    const auto back = static_cast<size_t>(-at);
    for (const int word : FIRST) {
      if (word != TOKEN_END && at < 0)
        consider({Change::PUT_IN, back, 0, {word}, 6, false, ""});
      if (kind_at(at) == TOKEN_IDENT &&
          CheckSpelling(word).starts_with(near(at).text()))
        consider({Change::SPELL, back, 1, {word}, 3, false, ""});
    }
  }
  for (ptrdiff_t at = 0; at > std::max(back_limit(), -WORDS_BACK); at--) {
    const auto back = static_cast<size_t>(-at);
    const int kind = kind_at(at);
    const bool after_end = kind_at(at - 1) == TOKEN_END;
    const bool is_block = kind == TOKEN_IF || kind == TOKEN_WHILE ||
                          kind == TOKEN_SELECT || kind == TOKEN_COMMON ||
                          kind == TOKEN_SUB;
    if (is_block && begins(at) && !after_end && at < 0)
      consider({Change::PUT_IN, back, 0, {TOKEN_END}, 4, false, ""});
    // END, and SUB on a line below it.
    if (kind == TOKEN_SUB && begins(at) && after_end && begins(at - 1))
      consider({Change::SUB_END, back + 1, 1, {TOKEN_SUBEND}, 2, false, ""});
    // The file that a SUB begins in ends in front of SUBEND.
    if (near(at - 1).source != near(at).source)
      consider({Change::PUT_IN, back, 0, {TOKEN_SUBEND}, 4, false, ""});
  }
  if (kind_at(0) == TOKEN_SUB && kind_at(1) == TOKEN_END)
    consider({Change::SUB_END, 0, 2, {TOKEN_SUBEND}, 2, false, ""});
  if (kind_at(0) == TOKEN_END && begins(0) && begins(1))
    consider({Change::SUB_END, 0, 1, {TOKEN_SUBEND}, 3, false, ""});
}

// What is on the lines of the error: up to the ";", or to their end. A few
// tokens round it.
void Repair::collect_skips() {
  const auto line_of = [&](ptrdiff_t at) {
    const CheckToken& token = near(at);
    return std::pair(token.source, token.source->line_of(std::min<size_t>(
                                       token.begin, token.source->size())));
  };
  const auto count = static_cast<ptrdiff_t>(ahead_.size());
  ptrdiff_t end = 0;
  while (end + 1 < count && line_of(end) == line_of(0)) end++;
  ptrdiff_t semicolon = 0;
  while (semicolon + 1 < count && kind_at(semicolon) != TOKEN_SEMICOLON)
    semicolon++;
  ptrdiff_t start = 0;
  for (int lines = 0; lines < 2; lines++) {
    if (start > back_limit()) {
      const auto line = line_of(lines == 0 ? 0 : start - 1);
      while (start > back_limit() && line_of(start - 1) == line) start--;
    }
    for (const ptrdiff_t last : {end, semicolon + 1})
      if (last > start && last < count)
        consider({Change::SKIPPED,
                  static_cast<size_t>(-start),
                  static_cast<size_t>(last - start),
                  {},
                  9,
                  false,
                  ""});
  }
  // Of the statement and of the line that the error is in.
  ptrdiff_t first = 0, behind = 0;
  while (first > std::max<ptrdiff_t>(back_limit(), -2) &&
         kind_at(first - 1) != TOKEN_SEMICOLON &&
         line_of(first - 1) == line_of(0))
    first--;
  while (behind < std::min<ptrdiff_t>(end, 3) &&
         kind_at(behind) != TOKEN_SEMICOLON)
    behind++;
  for (ptrdiff_t from = first; from <= 0; from++)
    for (ptrdiff_t to = std::max<ptrdiff_t>(0, from + 2); to <= behind; to++)
      consider({Change::TAKE_OUT,
                static_cast<size_t>(-from),
                static_cast<size_t>(to - from),
                {},
                7,
                false,
                ""});
}

// Whole constructs that stand in a wrong place.
void Repair::collect_constructs() {
  const auto up_to = [&](ptrdiff_t from, int closing, int alternative) {
    for (auto at = static_cast<size_t>(from); at < ahead_.size(); at++) {
      if (ahead_[at].kind == closing) return at + 1;
      if (alternative != 0 && ahead_[at].kind == alternative && at > 0 &&
          ahead_[at - 1].kind == TOKEN_END)
        return at + 1;
    }
    return size_t{0};
  };
  size_t end = 0;
  switch (kind_at(0)) {
    case TOKEN_IMPORT:
    case TOKEN_INCLUDE:
    case TOKEN_PROGRAM:
    case TOKEN_MODULE:
    case TOKEN_INTEGER:
    case TOKEN_REAL:
    case TOKEN_STRING:
    case TOKEN_POINT: end = up_to(0, TOKEN_SEMICOLON, 0); break;
    case TOKEN_SUB: end = up_to(0, TOKEN_SUBEND, TOKEN_SUB); break;
    case TOKEN_COMMON: end = up_to(1, -1, TOKEN_COMMON); break;
    case TOKEN_ON: {
      // Up to the brace that closes it, or the ";".
      int depth = 0;
      for (size_t at = 1; at < ahead_.size() && end == 0; at++) {
        const int kind = ahead_[at].kind;
        depth += kind == TOKEN_LEFT_BRACE;
        depth -= kind == TOKEN_RIGHT_BRACE;
        if ((kind == TOKEN_RIGHT_BRACE || kind == TOKEN_SEMICOLON) &&
            depth == 0)
          end = at + 1;
        if (depth < 0) break;
      }
      break;
    }
    case TOKEN_BUTTON:
    case TOKEN_SCROLLBAR:
    case TOKEN_RECORD:
    case TOKEN_DIALOG:
    case TOKEN_GRAPHIC:
    case TOKEN_MENU:
    case TOKEN_MENUBAR:
    case TOKEN_ITEM:
    case TOKEN_TABLE:
    case TOKEN_TEXT:
    case TOKEN_GROUP:
    case TOKEN_LABEL:
    case TOKEN_WINDOW:
    case TOKEN_APPLICATION:
    case TOKEN_HELP: {
      int depth = 0;
      for (size_t at = 1; at < ahead_.size() && end == 0; at++) {
        depth += ahead_[at].kind == TOKEN_LEFT_BRACE;
        depth -= ahead_[at].kind == TOKEN_RIGHT_BRACE;
        if (ahead_[at].kind == TOKEN_RIGHT_BRACE && depth == 0) end = at + 1;
        if (depth < 0) break;
      }
      break;
    }
    default: break;
  }
  if (end > 0) consider({Change::MISPLACED, 0, end, {}, 5, false, ""});
}

// Habits from other languages.
void Repair::collect_foreign(const CheckToken& error) {
  const ptrdiff_t limit = back_limit();
  const auto adjacent = [&](ptrdiff_t at) {
    return near(at - 1).end == near(at).begin;
  };
  const auto has = [&](ptrdiff_t at) { return at >= limit; };
  const auto replace = [&](Change::Kind kind, ptrdiff_t from, size_t count,
                           std::vector<int> put, std::string text) {
    consider({kind, static_cast<size_t>(std::max<ptrdiff_t>(0, -from)), count,
              std::move(put), 1, false, std::move(text)});
  };
  for (ptrdiff_t at = -1; at <= 1; at++) {
    if (!has(at - 1) || !adjacent(at)) continue;
    const int first = kind_at(at - 1), second = kind_at(at);
    const auto is = [&](const char* text) {
      return near(at - 1).source == near(at).source &&
             near(at).source->part(near(at - 1).begin, near(at).end) == text;
    };
    if (is("&&")) replace(Change::OPERATOR, at - 1, 2, {TOKEN_AND}, "AND");
    if (is("=>"))
      replace(Change::OPERATOR, at - 1, 2, {TOKEN_GREATER_EQUAL}, ">=");
    if (is("=<"))
      replace(Change::OPERATOR, at - 1, 2, {TOKEN_LESS_EQUAL}, "<=");
    if (is("><")) replace(Change::OPERATOR, at - 1, 2, {TOKEN_NOT_EQUAL}, "<>");
    if (is(":=")) replace(Change::OPERATOR, at - 1, 2, {TOKEN_ASSIGNOP}, "=");
    if (is("===")) replace(Change::OPERATOR, at - 1, 2, {TOKEN_EQUAL}, "==");
    if (is("++") && kind_at(at + 1) != TOKEN_IDENT)
      replace(Change::OPERATOR, at - 1, 2, {TOKEN_ASSIGNOP, TOKEN_ICONST},
              " += 1");
    if (is("--") && kind_at(at + 1) != TOKEN_IDENT)
      replace(Change::OPERATOR, at - 1, 2, {TOKEN_ASSIGNOP, TOKEN_ICONST},
              " -= 1");
    if (is("++") && kind_at(at + 1) == TOKEN_IDENT)
      replace(Change::OPERATOR, at - 1, 3,
              {TOKEN_IDENT, TOKEN_ASSIGNOP, TOKEN_ICONST},
              std::string(near(at + 1).text()) + " += 1");
    if (is("--") && kind_at(at + 1) == TOKEN_IDENT)
      replace(Change::OPERATOR, at - 1, 3,
              {TOKEN_IDENT, TOKEN_ASSIGNOP, TOKEN_ICONST},
              std::string(near(at + 1).text()) + " -= 1");
    // 08, 0X1F
    if (first == TOKEN_ICONST && near(at - 1).text().starts_with('0') &&
        (second == TOKEN_ICONST || second == TOKEN_RCONST ||
         (second == TOKEN_IDENT && near(at).text().starts_with('X')))) {
      std::string number =
          std::string(near(at - 1).text()) + std::string(near(at).text());
      if (second == TOKEN_IDENT)
        number[1] = 'x';
      else
        number.erase(
            0, std::min(number.find_first_not_of('0'), number.size() - 1));
      replace(Change::POINT, at - 1, 2, {TOKEN_ICONST}, number);
    }
    // Comments: up to the end of the line, or to what closes them.
    const bool slashes = first == TOKEN_SLASH && second == TOKEN_SLASH;
    const bool star =
        first == TOKEN_SLASH && (second == TOKEN_STAR || second == TOKEN_POWER);
    if (slashes || star) {
      const CheckToken& open = near(at - 1);
      const std::string& text = open.source->text;
      size_t end = slashes ? text.find('\n', open.begin)
                           : text.find("*/", open.begin + 2);
      if (end == std::string::npos)
        end = open.source->size();
      else if (star)
        end += 2;
      size_t count = 0;
      for (ptrdiff_t i = at - 1; i < static_cast<ptrdiff_t>(ahead_.size());
           i++) {
        if (near(i).source != open.source || near(i).begin >= end ||
            near(i).kind == TOKEN_END_OF_INPUT)
          break;
        count++;
      }
      replace(Change::COMMENT, at - 1, count, {}, "");
    }
  }
  // 10,5 and 10.
  if (has(-1) && error.kind == TOKEN_COMMA && kind_at(-1) == TOKEN_ICONST &&
      kind_at(1) == TOKEN_ICONST && adjacent(0) && adjacent(1))
    replace(Change::COMMA, -1, 3, {TOKEN_RCONST},
            std::string(near(-1).text()) + "." + std::string(near(1).text()));
  if (has(-2) && kind_at(-1) == TOKEN_DOT && kind_at(-2) == TOKEN_ICONST &&
      adjacent(-1))
    replace(Change::POINT, -2, 2, {TOKEN_RCONST},
            std::string(near(-2).text()) + ".0");
  if (has(-1) && error.kind == TOKEN_DOT && kind_at(-1) == TOKEN_ICONST &&
      adjacent(0))
    replace(Change::POINT, -1, 2, {TOKEN_RCONST},
            std::string(near(-1).text()) + ".0");
  // hole[k]
  for (ptrdiff_t at = 0; at >= std::max<ptrdiff_t>(limit, -8); at--) {
    if (kind_at(at) == TOKEN_SEMICOLON) break;
    const bool square = kind_at(at) == TOKEN_LEFT_BRACKET;
    if (!square && kind_at(at) != TOKEN_LEFT_BRACE) continue;
    const int close = square ? TOKEN_RIGHT_BRACKET : TOKEN_RIGHT_BRACE;
    std::vector<int> put = {TOKEN_LEFT_PAREN};
    for (ptrdiff_t i = at + 1;
         i < std::min<ptrdiff_t>(40, static_cast<ptrdiff_t>(ahead_.size()));
         i++) {
      if (kind_at(i) == TOKEN_SEMICOLON) break;
      if (kind_at(i) == close) {
        put.push_back(TOKEN_RIGHT_PAREN);
        if (i >= 0)
          replace(Change::BRACKETS, at, static_cast<size_t>(i - at) + 1,
                  std::move(put), "");
        break;
      }
      put.push_back(kind_at(i));
    }
  }
}

void Repair::collect(const CheckToken& error) {
  changes_.clear();
  states_.clear();
  ahead_ = stream_.look(LOOK_LONG);
  const bool new_line = !history_.empty() && near(-1).source == error.source &&
                        error.source->line_of(near(-1).begin) <
                            error.source->line_of(std::min<size_t>(
                                error.begin, error.source->size()));
  // Tokens that are missing.
  for (int token = 3; token <= TOKEN_WITH; token++) {
    int cost = 6;
    switch (token) {
      case TOKEN_SEMICOLON: cost = new_line ? 2 : 3; break;
      case TOKEN_RIGHT_PAREN:
      case TOKEN_RIGHT_BRACKET:
      case TOKEN_THEN:
      case TOKEN_DO: cost = 2; break;
      case TOKEN_RIGHT_BRACE:
      case TOKEN_LEFT_BRACE:
      case TOKEN_SUBEND:
      case TOKEN_COLON: cost = 3; break;
      case TOKEN_COMMA:
      case TOKEN_LEFT_PAREN:
      case TOKEN_ASSIGNOP:
      case TOKEN_ICONST: cost = 4; break;
      case TOKEN_END: cost = 4; break;
      case TOKEN_IF:
      case TOKEN_WHILE:
      case TOKEN_SELECT:
      case TOKEN_SUB:
      case TOKEN_COMMON: cost = 7; break;
      default: cost = CheckIsKeyword(token) ? 6 : 5;
    }
    consider({Change::PUT_IN, 0, 0, {token}, cost, false, ""});
  }
  if (error.kind != TOKEN_END_OF_INPUT) {
    const bool light =
        (error.kind == TOKEN_SEMICOLON && !history_.empty() &&
         kind_at(-1) == TOKEN_SEMICOLON) ||
        error.kind == TOKEN_COMMA || error.kind == TOKEN_RIGHT_PAREN ||
        error.kind == TOKEN_RIGHT_BRACE || error.kind == TOKEN_RIGHT_BRACKET;
    consider({Change::TAKE_OUT, 0, 1, {}, light ? 3 : 5, false, ""});
    if (!history_.empty() && kind_at(-1) != TOKEN_END)
      consider(
          {Change::TAKE_OUT,
           1,
           1,
           {},
           kind_at(-1) == TOKEN_SEMICOLON || kind_at(-1) == TOKEN_COMMA ? 4 : 6,
           false,
           ""});
    for (const int token :
         {TOKEN_SEMICOLON, TOKEN_COMMA, TOKEN_RIGHT_PAREN, TOKEN_COLON,
          TOKEN_ASSIGNOP, TOKEN_EQUAL, TOKEN_THEN, TOKEN_DO, TOKEN_IDENT,
          TOKEN_SCONST, TOKEN_ICONST, TOKEN_RIGHT_BRACE, TOKEN_LEFT_BRACE,
          TOKEN_RIGHT_BRACKET})
      if (token != error.kind)
        consider({Change::TAKE_OUT, 0, 1, {token}, 5, false, ""});
  }
  next_words_.clear();
  if (error.kind == TOKEN_IDENT && !error.made) {
    const CheckMeant meant = CheckMeantBy(error.text());
    if (meant.tokens.size() == 2 && meant.distance == 0)
      next_words_.push_back(meant.tokens);
    else
      for (const int token : meant.tokens) next_words_.push_back({token});
  }
  collect_spellings();
  collect_ends();
  collect_words();
  collect_skips();
  collect_constructs();
  collect_foreign(error);
  const ptrdiff_t start = statement_start();
  if (start < 0 && kind_at(start) == TOKEN_IDENT)
    consider({Change::CALL_WORD,
              static_cast<size_t>(-start),
              0,
              {TOKEN_CALL},
              is_sub(near(start).text()) ? 1 : 5,
              false,
              ""});
  // The statement up to its ";", or up to where a line begins a new one.
  size_t end = 0;
  while (end + 1 < ahead_.size() && ahead_[end].kind != TOKEN_SEMICOLON) end++;
  if (end + 1 < ahead_.size()) {
    consider({Change::SKIPPED, 0, end, {}, 9, false, ""});
    consider({Change::SKIPPED,
              static_cast<size_t>(-start),
              end + 1 + static_cast<size_t>(-start),
              {},
              9,
              false,
              ""});
    consider({Change::SKIPPED, 0, end + 1, {}, 9, false, ""});
  }
}

bool Repair::repair(const CheckToken& error) {
  // "!=" begins a comment: what follows it on the line is read again.
  if (!history_.empty() && near(-1).source == error.source) {
    CheckSource* source = error.source;
    const size_t gap = near(-1).end;
    const std::string_view text = source->part(gap, error.begin);
    const size_t at = text.find_first_not_of(" \t");
    if (at != std::string_view::npos && text.substr(at).starts_with("!=")) {
      fault_ =
          source->add("foreign-operator", gap + at, gap + at + 2,
                      "\"!=\" begins a comment", "write <> for \"not equal\"");
      source->repair(fault_, gap + at, gap + at + 2, "<>");
      fault_->refused = true;
      stream_.rescan(gap + at + 2);
      const CheckToken made = {TOKEN_NOT_EQUAL, static_cast<uint32_t>(gap + at),
                               static_cast<uint32_t>(gap + at + 2), source,
                               true};
      stream_.put_back(made);
      return true;
    }
  }
  collect(error);
  size_t best = 0;
  for (Change& change : changes_) {
    change.progress = progress(change, LOOK_SHORT);
    best = std::max(best, change.progress);
  }
  std::erase_if(changes_, [&](const Change& change) {
    return change.progress == 0 || std::min(change.progress, LOOK_SHORT) + 1 <
                                       std::min(best, LOOK_SHORT);
  });
  best = 0;
  for (Change& change : changes_) {
    change.progress = progress(change, LOOK_LONG);
    best = std::max(best, change.progress);
  }
  const Change* chosen = nullptr;
  for (const Change& change : changes_) {
    if (change.progress + 2 < best) continue;
    if (chosen == nullptr || change.cost < chosen->cost ||
        (change.cost == chosen->cost && change.progress > chosen->progress))
      chosen = &change;
  }
  if (chosen == nullptr) {
    report_unexpected(error, 0, 0, 0, 0);
    return false;
  }
  const Change change = *chosen;
  if (const size_t behind = end_of_routine(change); behind > 0) {
    fault_ = nullptr;
    report(change, error);
    leave(routine_, behind);
  } else if (const size_t end = end_of_body(change); end > 0) {
    fault("wrong-end", error, error, "SUBEND closes nothing that is open here",
          "there is no SUB for it");
    leave(body_, end);
  } else {
    make(change, error);
  }
  mute(change);
  return true;
}

// Whether the parser, with what was in front of a part, follows the tokens from
// `sync` on further than another change would lead it.
bool Repair::goes_on(const Part& part, size_t sync, size_t progress) const {
  std::vector<int> states;
  for (const Entry& entry : part.stack) states.push_back(entry.state);
  for (size_t at = sync; at < ahead_.size(); at++) {
    const Outcome outcome = shift(&states, ahead_[at].kind);
    if (outcome == Outcome::ACCEPTED) return true;
    if (outcome != Outcome::SHIFTED) return at > progress + LOOK_SHORT;
  }
  return true;
}

// The same for a SUBEND whose SUB is lost: what stands in front of it was taken
// for the main program.
size_t Repair::end_of_body(const Change& change) {
  if (ahead_[0].kind != TOKEN_SUBEND || opening(TOKEN_SUB) != nullptr ||
      body_.stack.empty() || body_.begin.source != ahead_[0].source ||
      change.progress >= LOOK_SHORT || !goes_on(body_, 1, change.progress))
    return 0;
  return 1;
}

// Where the parser can go on when it leaves out the routine that it is in: the
// number of a token ahead, or 0. That is better than a change behind which the
// parser stumbles over the end of the routine, or the beginning of something,
// because it has lost what is around it.
size_t Repair::end_of_routine(const Change& change) {
  const auto is_structure = [](int kind) {
    return kind == TOKEN_SUBEND || kind == TOKEN_SUB || kind == TOKEN_IMPORT ||
           kind == TOKEN_COMMON || kind == TOKEN_INTEGER ||
           kind == TOKEN_REAL || kind == TOKEN_STRING || kind == TOKEN_POINT ||
           kind == TOKEN_END_OF_INPUT;
  };
  // The token that it stumbles over; those that are left out count.
  const size_t reach = advance(change, LOOK_LONG);
  const Entry* sub = opening(TOKEN_SUB);
  if (sub == nullptr || sub->token.source != ahead_[0].source ||
      routine_.stack.empty() || routine_.begin.source != sub->token.source ||
      routine_.begin.begin != sub->token.begin || reach >= ahead_.size())
    return 0;
  const CheckSource& source = *sub->token.source;
  const bool in_header =
      source.line_of(sub->token.begin) == source.line_of(ahead_[0].begin);
  if (!is_structure(ahead_[reach].kind) &&
      !(in_header && reach < 2 * LOOK_SHORT))
    return 0;
  size_t sync = 0;
  for (size_t at = 0; at < ahead_.size() && sync == 0; at++) {
    const CheckToken& token = ahead_[at];
    if (token.source != sub->token.source) return 0;
    if (token.kind == TOKEN_SUBEND) sync = at + 1;
    if (at > 0 && token.kind == TOKEN_SUB && BeginsLine(token) &&
        ahead_[at - 1].kind != TOKEN_END)
      sync = at;
  }
  return sync > 0 && goes_on(routine_, sync, reach) ? sync : 0;
}

// Goes on as if a part was not there.
void Repair::leave(const Part& part, size_t sync) {
  CheckSource* source = part.begin.source;
  const size_t begin = part.begin.begin, end = ahead_[sync - 1].end;
  std::string blanks(source->part(begin, end));
  for (char& c : blanks)
    if (c != '\n') c = ' ';
  source->repair(fault_, begin, end, blanks);
  CheckScanner scanner(source);
  scanner.note_faults(false);
  scanner.move(begin);
  for (CheckToken token = scanner.next();
       token.kind != TOKEN_END_OF_INPUT && token.begin < end;
       token = scanner.next())
    if (token.kind == TOKEN_IDENT) dropped_->emplace(token.text());
  for (size_t i = 0; i < sync; i++) (void)stream_.next();
  stack_ = std::vector<Entry>(part.stack);
  history_.clear();
  snapshots_.clear();
  count_ += SNAPSHOT - count_ % SNAPSHOT;  // a stack is kept at once
  include_now_ = false;
}

// Of faults that come one behind the other, without a statement between them,
// the later ones follow from the first.
void Repair::mute(const Change& change) {
  const bool is_vague =
      change.kind == Change::TAKE_OUT || change.kind == Change::SKIPPED ||
      change.kind == Change::KEYWORD_NAME ||
      (change.kind == Change::PUT_IN && change.put[0] != TOKEN_SEMICOLON);
  bool little = change.progress < LITTLE;
  for (size_t at = 0; at < change.progress && little; at++)
    little = kind_at(static_cast<ptrdiff_t>(at)) != TOKEN_SEMICOLON;
  if (!little || !is_vague) {
    if (!little) little_ = 0;
    return;
  }
  if (++little_ > MOST_LITTLE && fault_ != nullptr) fault_->follows = true;
}

// Findings --------------------------------------------------------------------

CheckFault* Repair::fault(const char* rule, const CheckToken& first,
                          const CheckToken& last, std::string message,
                          std::string hint) {
  const bool same = first.source == last.source;
  fault_ = first.source->add(rule, first.begin, same ? last.end : first.end,
                             std::move(message), std::move(hint));
  fault_->refused = true;
  return fault_;
}

// A fault behind the token in front of `at`.
CheckFault* Repair::fault_behind(const char* rule, ptrdiff_t at,
                                 std::string message, std::string hint) {
  const bool has = at > back_limit() && near(at - 1).source == near(at).source;
  CheckSource* source = near(at).source;
  const size_t place = has ? near(at - 1).end : near(at).begin;
  fault_ = source->add(rule, place, place, std::move(message), std::move(hint));
  fault_->refused = true;
  return fault_;
}

// The innermost open construct that begins with that token.
const Entry* Repair::opening(int symbol) const {
  for (size_t i = stack_.size(); i-- > 1;)
    if (MC_GRAMMAR.symbol[stack_[i].state] == symbol) return &stack_[i];
  return nullptr;
}

const char* BlockEnd(int block) {
  switch (block) {
    case TOKEN_IF: return "END IF";
    case TOKEN_WHILE: return "END WHILE";
    case TOKEN_SELECT: return "END SELECT";
    case TOKEN_SUB: return "SUBEND";
    case TOKEN_COMMON: return "END COMMON";
    case TOKEN_LEFT_BRACE: return "'}'";
    case TOKEN_LEFT_PAREN: return "')'";
    case TOKEN_LEFT_BRACKET: return "']'";
    default: return "END";
  }
}

// Blocks that are open, by the indentation of their lines: of two that an END
// could close, it closes the one that it stands below.
struct Unclosed {
  CheckToken token;
  CheckToken closed_by;  // what looks like the end of an outer block
  bool found = false;
};

Unclosed FindUnclosed(const CheckToken& opening, const CheckToken& end) {
  Unclosed unclosed = {opening, end, false};
  if (opening.source != end.source) return unclosed;
  const int kind = opening.kind;
  CheckScanner scanner(opening.source);
  scanner.note_faults(false);
  scanner.move(opening.begin);
  std::vector<CheckToken> open;
  CheckToken before = {};
  for (CheckToken token = scanner.next();
       token.kind != TOKEN_END_OF_INPUT && token.begin < end.begin;
       token = scanner.next()) {
    const bool closes = kind == TOKEN_LEFT_BRACE
                            ? token.kind == TOKEN_RIGHT_BRACE
                            : token.kind == kind && before.kind == TOKEN_END;
    if (closes && open.size() > 1) {
      // It closes the innermost block, but stands below an outer one.
      const CheckToken& at =
          closes && kind == TOKEN_LEFT_BRACE ? token : before;
      if (BeginsLine(at) && Indentation(at) < Indentation(open.back()) &&
          std::ranges::any_of(open, [&](const CheckToken& outer) {
            return Indentation(outer) == Indentation(at);
          }))
        return {open.back(), at, true};
      open.pop_back();
    } else if (token.kind == kind && !closes) {
      open.push_back(token);
    }
    before = token;
  }
  return unclosed;
}

void Repair::report_missing_end(const Change& change, const CheckToken& error) {
  const int block = change.put.size() == 2               ? change.put[1]
                    : change.put[0] == TOKEN_SUBEND      ? TOKEN_SUB
                    : change.put[0] == TOKEN_RIGHT_BRACE ? TOKEN_LEFT_BRACE
                    : change.put[0] == TOKEN_RIGHT_PAREN ? TOKEN_LEFT_PAREN
                                                         : TOKEN_LEFT_BRACKET;
  const Entry* open = opening(block);
  const auto at = -static_cast<ptrdiff_t>(change.back);
  if (open == nullptr || !open->token.source) {
    report_missing(change, error);
    return;
  }
  CheckToken token = open->token;
  std::string what = CheckWordOf(block);
  if (block == TOKEN_LEFT_BRACE) {
    // The object that the brace belongs to.
    what = "this '{'";
  } else {
    what = "this " + what;
  }
  const Unclosed unclosed = FindUnclosed(token, near(at));
  if (unclosed.found) token = unclosed.token;
  fault("missing-end", token, token, what + " has no " + BlockEnd(block));
  const CheckToken& stumble = unclosed.closed_by;
  if (unclosed.found) {
    fault_->related.push_back(
        {stumble.source->range(stumble.begin, stumble.end),
         "this END closes it, and stands below another one"});
  } else if (stumble.source != nullptr) {
    const std::string found = stumble.kind == TOKEN_END && at + 1 <= 0
                                  ? "END " + std::string(near(at + 1).text())
                                  : CheckWordOf(stumble.kind);
    fault_->related.push_back(
        {stumble.source->range(stumble.begin, stumble.end),
         std::string(BlockEnd(block)) + " is missing in front of " + found});
  }
}

void Repair::report_missing(const Change& change, const CheckToken&) {
  const auto at = -static_cast<ptrdiff_t>(change.back);
  const int token = change.put[0];
  switch (token) {
    case TOKEN_SEMICOLON:
      fault_behind("missing-semicolon", at, "';' is missing here");
      fault_->safe = true;
      return;
    case TOKEN_PRINT:
      if (kind_at(at) == TOKEN_FNNAME) {
        fault("missing-call", near(at), near(at),
              "an FN call is an expression, and no statement",
              "CALL " + std::string(near(at).text().substr(2)) +
                  " calls the SUB for itself");
        return;
      }
      break;
    case TOKEN_IDENT:
    case TOKEN_ICONST: {
      const std::string words = CheckWordsOf(expected());
      const bool expression = words.find("an expression") != std::string::npos;
      const bool statement = words.find("a statement") != std::string::npos;
      fault_behind("missing-part", at,
                   (expression  ? std::string("an expression")
                    : statement ? std::string("a statement")
                                : CheckWordOf(token)) +
                       " is missing in front of " + CheckWordOf(kind_at(at)));
      return;
    }
    default: break;
  }
  fault_behind("missing-part", at,
               (token == TOKEN_INTEGER ? "a type" : CheckWordOf(token)) +
                   " is missing in front of " + CheckWordOf(kind_at(at)));
}

void Repair::report_wrong_end(const Change& change, const CheckToken&) {
  const int block = change.put.back() == TOKEN_RIGHT_BRACE ? TOKEN_LEFT_BRACE
                                                           : change.put.back();
  const CheckToken& first =
      change.put.size() == 1 && change.remove == 1 && block != TOKEN_LEFT_BRACE
          ? near(-1)
          : near(0);
  const CheckToken& last = near(static_cast<ptrdiff_t>(change.remove) - 1);
  const std::string found(first.source->part(first.begin, last.end));
  fault("wrong-end", first, last, found + " closes nothing that is open here",
        std::string("write ") + BlockEnd(block));
  if (const Entry* open = opening(block))
    fault_->related.push_back(
        {open->token.source->range(open->token.begin, open->token.end),
         "the block to be closed is this " + CheckWordOf(block)});
}

// Without its article.
std::string BareWordOf(int token) {
  std::string word = CheckWordOf(token);
  for (const std::string_view article : {"a ", "an ", "the "})
    if (word.starts_with(article)) return word.substr(article.size());
  return word;
}

void Repair::report_unexpected(const CheckToken& error, size_t, size_t,
                               ptrdiff_t from, ptrdiff_t to) {
  // ELSEIF, which would take one END IF more.
  if (!history_.empty() && kind_at(-1) == TOKEN_IDENT) {
    const CheckToken& word = near(-1);
    const CheckMeant meant = CheckMeantBy(word.text());
    if (meant.tokens.size() == 2 && meant.tokens[0] == TOKEN_ELSE) {
      fault("misspelled-keyword", word, word,
            "'" + std::string(word.text()) + "' is no keyword",
            "write ELSE IF, which has an END IF of its own");
      return;
    }
  }
  std::string message =
      error.kind == TOKEN_END_OF_INPUT
          ? "the file ends too early"
          : "unexpected " + (error.kind == TOKEN_IDENT ||
                                     error.kind == TOKEN_FNNAME ||
                                     error.kind == TOKEN_CFNNAME
                                 ? "name '" + std::string(error.text()) + "'"
                                 : BareWordOf(error.kind));
  const std::string words = CheckWordsOf(expected());
  (void)from;
  (void)to;
  fault("syntax-error", error, error, std::move(message),
        words.empty() ? "" : "expected is " + words);
}

void Repair::report(const Change& change, const CheckToken& error) {
  const auto at = -static_cast<ptrdiff_t>(change.back);
  const CheckToken& first = near(at);
  const CheckToken& last =
      near(at + static_cast<ptrdiff_t>(std::max<size_t>(change.remove, 1)) - 1);
  switch (change.kind) {
    case Change::PUT_IN:
      if (change.put.size() == 2 || change.put[0] == TOKEN_SUBEND ||
          change.put[0] == TOKEN_RIGHT_BRACE)
        return report_missing_end(change, error);
      return report_missing(change, error);
    case Change::SPELL: {
      const CheckMeant meant = CheckMeantBy(first.text());
      std::string word;
      for (const int token : change.put)
        word += (word.empty() ? "" : " ") + CheckSpelling(token);
      const std::string found(first.text());
      if (meant.distance == 0 && !meant.tokens.empty() &&
          change.put.size() == 1)
        fault("keyword-case", first, first,
              "'" + found + "' is no keyword: keywords are written in capitals",
              "write " + word);
      else
        fault("misspelled-keyword", first, first,
              "'" + found + "' is no keyword", "did you mean '" + word + "'?");
      fault_->safe = change.only;
      return;
    }
    case Change::KEYWORD_NAME: {
      const std::string name(first.text());
      if (CheckFault* known = keyword_faults_[name]) {
        if (known->related.size() < 3)
          known->related.push_back(
              {first.source->range(first.begin, first.end), "here, too"});
        fault_ = nullptr;
        return;
      }
      fault("keyword-as-name", first, first,
            name + " is a keyword and cannot be a name",
            "keywords are reserved in capitals only: " + name +
                "_ or small letters would do");
      keyword_faults_[name] = fault_;
      return;
    }
    case Change::WRONG_END: return report_wrong_end(change, error);
    case Change::SUB_END: {
      const std::string found(first.source->part(first.begin, last.end));
      fault("wrong-end", first, last, found + " does not end a SUB",
            "write SUBEND");
      return;
    }
    case Change::BRACKETS:
      fault("wrong-bracket", first, first,
            "subscripts and arguments stand between '(' and ')'");
      return;
    case Change::CALL_WORD:
      fault("missing-call", first, first,
            "a SUB is called with CALL" + std::string(),
            "write CALL " + std::string(first.text()));
      return;
    case Change::OPERATOR:
      fault("foreign-operator", first, last,
            "there is no operator '" +
                std::string(first.source->part(first.begin, last.end)) + "'",
            "write " + change.text);
      return;
    case Change::COMMENT:
      fault("foreign-comment", first, near(at + 1), "this begins no comment",
            "a comment begins with ! and ends with the line");
      return;
    case Change::COMMA:
      fault("decimal-comma", first, last,
            "a number has a decimal point, not a comma",
            "write " + change.text);
      return;
    case Change::POINT:
      fault("number-form", first, last,
            change.put[0] == TOKEN_RCONST
                ? "a digit is missing behind the decimal point"
            : change.text.starts_with("0x")
                ? "a hexadecimal number begins with 0x, with a small x"
                : "a number with a leading 0 is octal, and has no 8 or 9",
            "write " + change.text);
      return;
    case Change::MISPLACED: {
      const char* where = "";
      switch (first.kind) {
        case TOKEN_IMPORT:
          where = "IMPORT stands in front of SUBs, declarations and statements";
          break;
        case TOKEN_SUB:
        case TOKEN_INCLUDE:
          where =
              "SUBs and INCLUDEs stand behind IMPORT, in front of "
              "declarations and statements";
          break;
        case TOKEN_INTEGER:
        case TOKEN_REAL:
        case TOKEN_STRING:
        case TOKEN_POINT:
        case TOKEN_COMMON:
          where =
              "declarations stand in front of the first statement of their "
              "routine";
          break;
        default: where = "it has no place among what stands around it";
      }
      fault("misplaced-part", first, first,
            CheckWordOf(first.kind) + " cannot stand here", where);
      return;
    }
    case Change::TAKE_OUT:
      if (change.put.empty() && change.remove == 2 && first.kind == TOKEN_END) {
        fault("wrong-end", first, last,
              std::string(first.source->part(first.begin, last.end)) +
                  " closes nothing that is open here");
        return;
      }
      if (change.back > 0) {
        fault("syntax-error", first, last,
              "unexpected " + BareWordOf(first.kind));
        return;
      }
      return report_unexpected(error, 0, 0, 0, 0);
    case Change::SKIPPED:
    case Change::NOT_EQUAL: return report_unexpected(error, 0, 0, 0, 0);
  }
}

// Notes the fault, and goes on in the source as it would be without it.
void Repair::make(const Change& change, const CheckToken& error) {
  fault_ = nullptr;
  report(change, error);
  const auto at = -static_cast<ptrdiff_t>(change.back);
  const auto end = at + static_cast<ptrdiff_t>(change.remove);
  // The text.
  CheckSource* source = near(at).source;
  std::string text = change.text;
  if (text.empty() && change.kind != Change::COMMENT)
    for (const int token : change.put)
      text += (text.empty() ? "" : " ") + CheckSpelling(token);
  if (change.kind == Change::BRACKETS) {
    source->repair(fault_, near(at).begin, near(at).end, "(");
    source->repair(nullptr, near(end - 1).begin, near(end - 1).end, ")");
  } else if (change.kind == Change::KEYWORD_NAME) {
    source->repair(fault_, near(at).begin, near(at).end,
                   "x_" + std::string(near(at).text()));
  } else if (change.remove == 0) {
    const bool has = at > back_limit() && near(at - 1).source == source;
    const size_t place = has ? near(at - 1).end : near(at).begin;
    if (change.put[0] != TOKEN_SEMICOLON) text = " " + text + " ";
    // A last line without a line feed would not be read.
    if (place == source->size()) text += '\n';
    source->repair(fault_, place, place, text);
  } else {
    size_t from = near(at).begin;
    size_t to = near(at).end;
    for (ptrdiff_t i = at; i < end; i++)
      if (near(i).source == source) to = std::max<size_t>(to, near(i).end);
    if (change.kind == Change::COMMENT) {
      const bool line = source->part(from, from + 2) == "//";
      const size_t close = source->text.find(line ? "\n" : "*/", from + 2);
      to = close == std::string::npos ? source->size() : close + (line ? 0 : 2);
    }
    if (text.empty())
      for (const char c : source->part(from, to))
        text.push_back(c == '\n' ? c : ' ');
    source->repair(fault_, from, to, text);
  }
  // The tokens: those from the change on are read again.
  std::vector<CheckToken> again;
  for (const int token : change.put) {
    CheckToken made = near(at);
    made.kind = token;
    made.made = true;
    again.push_back(made);
  }
  if (change.kind == Change::BRACKETS)
    for (size_t i = 0; i < again.size(); i++)
      again[i] = near(at + static_cast<ptrdiff_t>(i)),
      again[i].kind = change.put[i];
  for (ptrdiff_t i = end; i < 0; i++) again.push_back(near(i));
  if (change.put.empty())
    for (ptrdiff_t i = at; i < end; i++)
      if (near(i).kind == TOKEN_IDENT) dropped_->emplace(near(i).text());
  for (ptrdiff_t i = 0; i < end; i++) (void)stream_.next();
  // The stack in front of the change.
  if (change.back > 0) {
    const size_t target = count_ - change.back;
    size_t i = snapshots_.size();
    while (i > 0 && snapshots_[i - 1].first > target) i--;
    std::vector<CheckToken> replay;
    for (size_t n = snapshots_[i - 1].first; n < target; n++)
      replay.push_back(near(-static_cast<ptrdiff_t>(count_ - n)));
    stack_ = snapshots_[i - 1].second;
    history_.resize(history_.size() - change.back);
    snapshots_.resize(i);
    count_ = target;
    for (const CheckToken& token : replay) apply(token);
    include_now_ = false;
  }
  for (size_t i = again.size(); i-- > 0;) stream_.put_back(again[i]);
}

bool Repair::too_deep(const CheckToken& token) {
  fault("nesting-too-deep", token, token,
        "this is nested deeper than the compiler can follow",
        "it gives up at 150 levels of its stack");
  return false;
}

// A header that is missing.
void Repair::begin_file() {
  ahead_ = stream_.look(4);
  const CheckToken first = ahead_[0];
  const bool mask = kind_ == CheckKind::MASK;
  if (mask ? first.kind == TOKEN_WINDOW || first.kind == TOKEN_APPLICATION
           : first.kind == TOKEN_PROGRAM || first.kind == TOKEN_MODULE)
    return;
  if (first.kind == TOKEN_IDENT) {
    const CheckMeant meant = CheckMeantBy(first.text());
    for (const int token : meant.tokens)
      if (mask ? token == TOKEN_WINDOW || token == TOKEN_APPLICATION
               : token == TOKEN_PROGRAM || token == TOKEN_MODULE)
        return;  // its spelling is repaired where it is met
  }
  if (mask) {
    if (first.kind != TOKEN_IDENT && first.kind != TOKEN_SCONST) return;
    fault("no-header", first, first,
          "masks begin with WINDOW NAME { or APPLICATION NAME {");
    first.source->repair(fault_, first.begin, first.begin, "WINDOW name { ");
    put_back_made(first, {TOKEN_WINDOW, TOKEN_IDENT, TOKEN_LEFT_BRACE});
    return;
  }
  fault("no-header", first, first,
        "a program begins with PROGRAM NAME;, a module with MODULE NAME;");
  if (first.kind == TOKEN_END_OF_INPUT)
    fault_->message = "the file has no PROGRAM and no MODULE in it";
  // A file of nothing but SUBs would be a module.
  const std::string_view text = first.source->part(0, first.source->size());
  const size_t last = text.find_last_not_of(" \t\n\f");
  const bool module = first.kind == TOKEN_SUB && last != text.npos &&
                      (text.substr(0, last + 1).ends_with("SUBEND") ||
                       text.substr(0, last + 1).ends_with("END SUB"));
  const bool empty = first.kind == TOKEN_END_OF_INPUT;
  std::vector<int> tokens = {module ? TOKEN_MODULE : TOKEN_PROGRAM, TOKEN_IDENT,
                             TOKEN_SEMICOLON};
  if (empty) tokens.push_back(TOKEN_SEMICOLON);
  first.source->repair(fault_, first.begin, first.begin,
                       module  ? "MODULE name; "
                       : empty ? "PROGRAM name; ;\n"
                               : "PROGRAM name; ");
  put_back_made(first, tokens);
}

}  // namespace

CheckFile* CheckFiles::open(const std::string& name) {
  const auto found = files_.find(name);
  if (found != files_.end()) return found->second.get();
  UtPtr<McSrcBytes> bytes = provider_.open(name.c_str());
  if (bytes == nullptr) return nullptr;
  std::string text;
  char block[65536];
  for (ptrdiff_t got; (got = bytes->read(block, sizeof block)) > 0;)
    text.append(block, static_cast<size_t>(got));
  auto file = std::make_unique<CheckFile>(name, std::move(text));
  return files_.emplace(name, std::move(file)).first->second.get();
}

CheckTexts CheckFiles::repaired(const CheckSource* of,
                                const CheckFault* fault) const {
  CheckTexts texts;
  for (const auto& [name, file] : files_) {
    const CheckSource& source = file->source;
    std::string_view text =
        std::string_view(source.text).substr(0, source.size());
    size_t without = CheckEdits::NONE;
    if (&source == of) {
      if (fault->cut_line > 0)
        text = text.substr(0, source.line_start(fault->cut_line));
      else
        without = fault->repair;
    }
    texts[name] = source.repairs.apply(text, without);
  }
  return texts;
}

bool CheckRepair(CheckFiles* files, CheckFile* main, CheckKind kind,
                 size_t most, CheckNames* dropped) {
  const bool done = Repair(files, main, kind, most, dropped).run();
  for (const auto& [name, file] : files->all()) file->source.repairs.sort();
  return done;
}

void CheckScanAll(CheckFile* file) {
  file->scanner.move(0);
  while (file->scanner.next().kind != TOKEN_END_OF_INPUT) {
  }
  file->source.repairs.sort();
}
