// What the parser does at a token that fits nowhere.
//
// First the stack goes back to what it was before the parser looked at that
// token: reductions that only a wrong token had caused are undone. Then every
// small edit is tried out on the states alone: one token more, one less, one in
// the place of another. An edit is good when the parser can follow the text for
// some tokens behind it. Where a block is still open although something comes
// that must stand outside, what closes it is put in. When nothing of that
// helps, tokens are skipped up to one that can follow after something on the
// stack.
//
// A trial looks at a limited number of tokens and states, so that recovery
// takes the same time for each error, and a parse as a whole remains linear.
#include <algorithm>
#include <array>

#include "tools/suggest.h"
#include "tools/tree/parse.h"

namespace {

constexpr const McGrammarTables& G = MC_GRAMMAR;

// Tokens that an edit has to lead through, the wrong one included.
constexpr int LOOK = 5;
constexpr int LOOK_ENOUGH = 3;
constexpr int STEPS = 400;     // of the automaton for one token of a trial
constexpr size_t DEPTH = 200;  // entries of the stack that are looked at
constexpr int BOUNDARY = -1;   // the tokens behind are not known yet

bool IsKeyword(int token) {
  const char first = G.names[token][1];
  return G.names[token][0] == '"' && first >= 'A' && first <= 'Z';
}

bool BeginsObject(int token) {
  switch (token) {
    case TOKEN_WINDOW:
    case TOKEN_APPLICATION:
    case TOKEN_BUTTON:
    case TOKEN_SCROLLBAR:
    case TOKEN_RECORD:
    case TOKEN_DIALOG:
    case TOKEN_GRAPHIC:
    case TOKEN_MENUBAR:
    case TOKEN_MENU:
    case TOKEN_ITEM:
    case TOKEN_TABLE:
    case TOKEN_TEXT:
    case TOKEN_GROUP:
    case TOKEN_LABEL: return true;
    default: return false;
  }
}

// What stands outside of the blocks in front of it.
bool EndsBlocks(int token) {
  switch (token) {
    case TOKEN_END_OF_INPUT:
    case TOKEN_END:
    case TOKEN_SUBEND:
    case TOKEN_SUB:
    case TOKEN_ELSE:
    case TOKEN_CASE:
    case TOKEN_RIGHT_BRACE:
    case TOKEN_INCLUDE: return true;
    default: return BeginsObject(token);
  }
}

// Statements, declarations, members: the parser may go on there.
bool BeginsSomething(int token) {
  switch (token) {
    case TOKEN_LET:
    case TOKEN_CALL:
    case TOKEN_IF:
    case TOKEN_PRINT:
    case TOKEN_WHILE:
    case TOKEN_SELECT:
    case TOKEN_RETURN:
    case TOKEN_BREAK:
    case TOKEN_CONTINUE:
    case TOKEN_SUBEXIT:
    case TOKEN_ALLOCATE:
    case TOKEN_FREE:
    case TOKEN_COMMON:
    case TOKEN_IMPORT:
    case TOKEN_INTEGER:
    case TOKEN_REAL:
    case TOKEN_STRING:
    case TOKEN_POINT:
    case TOKEN_ON:
    case TOKEN_HELP:
    case TOKEN_MODULE:
    case TOKEN_PROGRAM: return true;
    default: return EndsBlocks(token);
  }
}

// What opens a block, and what closes it.
struct Closer {
  int opener;
  int tokens[2];  // 0: none
};
constexpr Closer CLOSERS[] = {
    {TOKEN_IF, {TOKEN_END, TOKEN_IF}},
    {TOKEN_WHILE, {TOKEN_END, TOKEN_WHILE}},
    {TOKEN_SELECT, {TOKEN_END, TOKEN_SELECT}},
    {TOKEN_COMMON, {TOKEN_END, TOKEN_COMMON}},
    {TOKEN_SUB, {TOKEN_SUBEND, 0}},
    {TOKEN_LEFT_BRACE, {TOKEN_RIGHT_BRACE, 0}},
    {TOKEN_LEFT_PAREN, {TOKEN_RIGHT_PAREN, 0}},
    {TOKEN_LEFT_BRACKET, {TOKEN_RIGHT_BRACKET, 0}},
};

const Closer* CloserOf(int opener) {
  for (const Closer& closer : CLOSERS)
    if (closer.opener == opener) return &closer;
  return nullptr;
}

// Blocks whose end has a keyword of its own.
bool IsBlock(int symbol) {
  const Closer* closer = CloserOf(symbol);
  return closer != nullptr && symbol != TOKEN_LEFT_PAREN &&
         symbol != TOKEN_LEFT_BRACKET;
}

// What complete statements, declarations and members become part of.
bool IsSequence(int symbol) {
  switch (symbol) {
    case SYMBOL_imports:
    case SYMBOL_sub_section:
    case SYMBOL_declaration_list:
    case SYMBOL_variable_declarations:
    case SYMBOL_statement_list:
    case SYMBOL_case_clauses:
    case SYMBOL_windows:
    case SYMBOL_applications:
    case SYMBOL_window_members:
    case SYMBOL_application_members:
    case SYMBOL_simple_members:
    case SYMBOL_menu_members:
    case SYMBOL_table_members:
    case SYMBOL_text_members:
    case SYMBOL_group_members:
    case SYMBOL_attributes: return true;
    default: return false;
  }
}

// What may be missing in front of a closer, so that there is something that it
// can close.
constexpr std::array<int, 4> COMPLETIONS[] = {
    {},
    {TOKEN_SEMICOLON},
    {TOKEN_IDENT},
    {TOKEN_IDENT, TOKEN_SEMICOLON},
    {TOKEN_THEN, TOKEN_SEMICOLON},
    {TOKEN_DO, TOKEN_SEMICOLON},
    {TOKEN_IDENT, TOKEN_THEN, TOKEN_SEMICOLON},
    {TOKEN_IDENT, TOKEN_DO, TOKEN_SEMICOLON},
    {TOKEN_INTEGER, TOKEN_IDENT, TOKEN_SEMICOLON},
    {TOKEN_CASE, TOKEN_IDENT, TOKEN_SEMICOLON, TOKEN_SEMICOLON},
    {TOKEN_LEFT_BRACE, TOKEN_SEMICOLON},
    {TOKEN_ASSIGNOP, TOKEN_IDENT, TOKEN_SEMICOLON},
};

}  // namespace

// The states of the stack, or of the lower part of it, and what a trial has put
// on top of them.
class SyntaxTrial {
 public:
  SyntaxTrial(const SyntaxParser& parser, size_t base)
      : parser_(&parser), base_(base) {}

  // Follows the automaton through a token. False when it does not fit.
  bool feed(int token) {
    for (int steps = 0; steps < STEPS; steps++) {
      const int now = top();
      if (token == TOKEN_END_OF_INPUT && is_whole_fragment()) return true;
      const auto step = G.step(now, token);
      if (step.kind == McGrammarTables::Step::ERROR) return false;
      if (step.kind == McGrammarTables::Step::SHIFT) {
        above_.push_back(step.number);
        while (G.reduces_at_once(top()) && step.number != G.final_state)
          reduce(G.defact[top()]);
        return true;
      }
      reduce(step.number);
    }
    return false;
  }

  // The number of tokens from the one at hand and `ahead` on that fit, up to
  // LOOK. A statement that is complete is nearly as good as that.
  int follow(SyntaxParser* parser, uint32_t ahead) {
    int least = 0;
    for (int count = 0; count < LOOK; count++, ahead++) {
      const int token = parser->peek(ahead);
      if (token == BOUNDARY) return LOOK;
      const int keyword = token == TOKEN_IDENT ? parser->keyword(ahead) : 0;
      const SyntaxTrial before(*this);
      if (!feed(token)) {
        *this = before;
        if (keyword == 0 || !feed(keyword)) return std::max(count, least);
      }
      if (token == TOKEN_END_OF_INPUT) return LOOK;
      if (token == TOKEN_SEMICOLON) least = LOOK - 1;
    }
    return LOOK;
  }

  size_t size() const { return base_ + above_.size(); }
  int symbol(size_t entry) const {
    return G.symbol[entry < base_ ? parser_->stack_[entry].state
                                  : above_[entry - base_]];
  }
  // The innermost block that is open; 0 when there is none.
  size_t innermost_block(bool with_brackets) const {
    const size_t size = this->size();
    for (size_t i = 1; i < std::min(size, DEPTH); i++) {
      const int symbol = this->symbol(size - i);
      if (with_brackets ? CloserOf(symbol) != nullptr : IsBlock(symbol))
        return size - i;
    }
    return 0;
  }
  bool has_block(int kind) const {
    const size_t size = this->size();
    for (size_t i = 1; i < std::min(size, DEPTH); i++)
      if (symbol(size - i) == kind) return true;
    return false;
  }
  // Whether an entry is one of the stack, and not of the trial.
  bool is_real(size_t entry) const { return entry < base_; }

 private:
  int top() const {
    return above_.empty() ? parser_->stack_[base_ - 1].state : above_.back();
  }
  void reduce(int rule) {
    pop(static_cast<size_t>(G.length[rule]));
    above_.push_back(G.after(top(), G.lhs[rule]));
  }
  void pop(size_t count) {
    const size_t above = std::min(count, above_.size());
    above_.resize(above_.size() - above);
    base_ -= count - above;
  }
  bool is_whole_fragment() const {
    return parser_->fragment_depth_ > 0 && size() == parser_->fragment_depth_ &&
           G.symbol[top()] == SYMBOL_sub_section;
  }

  const SyntaxParser* parser_;
  size_t base_;
  std::vector<int> above_;
};

// The kind of a token from the one at hand on, without going beyond an INCLUDE,
// behind which the tokens of another file stand.
int SyntaxParser::peek(uint32_t ahead) {
  const std::vector<SyntaxToken>& tokens = tree_->tokens;
  const size_t wanted = size_t{at_} + ahead;
  while (tokens.size() <= wanted) {
    const size_t size = tokens.size();
    if (size > 0 && tokens[size - 1].kind == TOKEN_END_OF_INPUT)
      return BOUNDARY;
    for (size_t i = 1; i <= std::min<size_t>(size, 3); i++)
      if (tokens[size - i].kind == TOKEN_INCLUDE) return BOUNDARY;
    scanner_.next();
  }
  return tokens[wanted].kind;
}

// The keyword that a name is but for upper and lower case; 0 when it is none.
int SyntaxParser::keyword(uint32_t ahead) const {
  const std::string_view text = tree_->text_of(at_ + ahead);
  for (int kind = 3; kind < G.tokens; kind++) {
    if (!IsKeyword(kind)) continue;
    const std::string_view word = SyntaxTokenText(kind);
    if (std::equal(text.begin(), text.end(), word.begin(), word.end(),
                   [](char a, char b) { return (a & ~0x20) == b; }))
      return kind;
  }
  return 0;
}

// Undoing ---------------------------------------------------------------------

void SyntaxParser::undo(Period* period) {
  while (!period->counts.empty()) {
    const size_t count = period->counts.back();
    period->counts.pop_back();
    stack_.pop_back();
    const auto first = period->saved.end() - static_cast<ptrdiff_t>(count);
    stack_.insert(stack_.end(), first, period->saved.end());
    period->saved.erase(first, period->saved.end());
  }
  tree_->nodes.resize(period->nodes);
}

// The entries at the bottom of the stack that undoing leaves as they are.
size_t SyntaxParser::untouched(const Period& period) const {
  size_t size = stack_.size();
  size_t least = size;
  for (size_t i = period.counts.size(); i-- > 0;) {
    least = std::min(least, --size);
    size += period.counts[i];
  }
  return least;
}

// What was done is done.
void SyntaxParser::forget() {
  for (Period& period : periods_) {
    period.saved.clear();
    period.counts.clear();
    period.token = SYNTAX_NONE;
  }
}

// Edits -----------------------------------------------------------------------

// Takes a token into the stack that stands for `kind`: the next one, or none.
// False when it does not fit after all.
bool SyntaxParser::feed(int kind, bool take) {
  for (int steps = 0; steps < STEPS; steps++) {
    const auto step = G.step(state(), kind);
    if (step.kind == McGrammarTables::Step::ERROR) return false;
    if (step.kind == McGrammarTables::Step::REDUCE) {
      reduce(step.number);
      continue;
    }
    const uint32_t token = at_;
    const auto node = static_cast<uint32_t>(tree_->nodes.size());
    if (take) at_++;
    add_node(SYMBOL_YYerror, kind, token, node);
    push(step.number, 1, token, node);
    return true;
  }
  return false;
}

// Makes the tokens up to `at_` an error node, that goes with the top of the
// stack.
void SyntaxParser::add_error_node(uint32_t first_token, uint32_t first_node) {
  if (first_token == at_ && first_node == tree_->nodes.size()) return;
  add_node(SYMBOL_YYerror, 0, first_token, first_node);
  stack_.back().children = 2;
}

// Begins the report of an error at the token at hand.
SyntaxError* SyntaxParser::begin_error(SyntaxFault fault, int missing) {
  report(fault, std::max(at_, stumbled_), missing);
  tree_->errors.back().place = at_;
  return &tree_->errors.back();
}

bool SyntaxParser::begins_line(uint32_t token) const {
  const SyntaxToken& t = tree_->tokens[token];
  if (token == 0) return true;
  const SyntaxToken& before = tree_->tokens[token - 1];
  if (before.foreign != t.foreign || before.end() > t.begin) return true;
  const std::string& text = tree_->files[tree_->file_of(token)].text;
  return text.find('\n', before.end()) < t.begin;
}

// The column of the first token on the line of a token, from 0.
uint32_t SyntaxParser::indentation(uint32_t token) const {
  const SyntaxToken& t = tree_->tokens[token];
  const std::string& text = tree_->files[tree_->file_of(token)].text;
  const size_t feed = t.begin == 0 ? text.npos : text.rfind('\n', t.begin - 1);
  const size_t begin = feed == text.npos ? 0 : feed + 1;
  return static_cast<uint32_t>(text.find_first_not_of(" \t", begin) - begin);
}

namespace {

// How likely an edit is, when others are possible, too.
enum Likely : int {
  UNLIKELY = 10,
  REPLACE_ANY = 20,
  INSERT_OPERATOR = 30,
  INSERT_OPERAND = 35,
  INSERT_ANY = 40,
  DELETE = 50,
  INSERT_SAME_LINE_SEMICOLON = 55,
  REPLACE_LIKE = 60,
  INSERT_PUNCTUATION = 65,
  INSERT_WORD = 70,
  DELETE_TWICE = 75,
  REPLACE_KEYWORD_BY_NAME = 80,
  INSERT_SEMICOLON = 85,
  REPLACE_MISSPELLED = 95,
};

int InsertLikelihood(int token, bool line_begins) {
  switch (token) {
    case TOKEN_SEMICOLON:
      return line_begins ? INSERT_SEMICOLON : INSERT_SAME_LINE_SEMICOLON;
    case TOKEN_THEN:
    case TOKEN_DO: return INSERT_WORD;
    case TOKEN_RIGHT_PAREN:
    case TOKEN_RIGHT_BRACKET:
    case TOKEN_COMMA: return INSERT_PUNCTUATION;
    case TOKEN_ASSIGNOP:
    case TOKEN_LEFT_PAREN:
    case TOKEN_LEFT_BRACE:
    case TOKEN_RIGHT_BRACE: return INSERT_ANY;
    case TOKEN_IDENT: return INSERT_OPERAND;
    case TOKEN_STAR: return INSERT_OPERATOR;
    default: return UNLIKELY;
  }
}

bool IsPunctuation(int token) {
  return token < TOKEN_IDENT && !IsKeyword(token);
}

int ReplaceLikelihood(int token, int by) {
  if (by == TOKEN_IDENT && IsKeyword(token)) return REPLACE_KEYWORD_BY_NAME;
  const auto closes = [](int t) {
    return t == TOKEN_RIGHT_PAREN || t == TOKEN_RIGHT_BRACKET ||
           t == TOKEN_RIGHT_BRACE;
  };
  const auto opens = [](int t) {
    return t == TOKEN_LEFT_PAREN || t == TOKEN_LEFT_BRACKET ||
           t == TOKEN_LEFT_BRACE;
  };
  const auto separates = [](int t) {
    return t == TOKEN_COMMA || t == TOKEN_SEMICOLON || t == TOKEN_COLON ||
           t == TOKEN_DOT;
  };
  if ((closes(token) && closes(by)) || (opens(token) && opens(by)) ||
      (separates(token) && separates(by)) ||
      (token == TOKEN_EQUAL && by == TOKEN_ASSIGNOP) ||
      (token == TOKEN_COLON && by == TOKEN_ASSIGNOP))
    return REPLACE_LIKE;
  if (IsPunctuation(token) && IsPunctuation(by)) return REPLACE_ANY;
  return UNLIKELY;
}

}  // namespace

// Whether the text of a token may be a misspelled keyword.
bool SyntaxParser::is_misspelled(uint32_t token, int keyword) const {
  const int kind = tree_->tokens[token].kind;
  if (!IsKeyword(keyword) || (kind != TOKEN_IDENT && !IsKeyword(kind)))
    return false;
  const std::string_view text = tree_->text_of(token);
  const std::string_view word = SyntaxTokenText(keyword);
  if (text.size() + 2 < word.size() || word.size() + 2 < text.size())
    return false;
  return ToolDistance(text, word) <= std::min<size_t>(2, word.size() / 3);
}

// The edit that leads farthest, of equal ones the likeliest.
SyntaxParser::Edit SyntaxParser::best_edit(const std::bitset<128>& expected) {
  Edit best;
  const auto consider = [&](Edit edit) {
    if (edit.reached < LOOK_ENOUGH) return;
    if (edit.reached > best.reached ||
        (edit.reached == best.reached && edit.likely > best.likely))
      best = edit;
  };
  const int token = tree_->tokens[at_].kind;
  const bool line_begins = begins_line(at_);
  const bool at_end = token == TOKEN_END_OF_INPUT;
  for (int kind = 3; kind < G.tokens; kind++) {
    if (!expected[static_cast<size_t>(kind)]) continue;
    SyntaxTrial trial(*this, stack_.size());
    (void)trial.feed(kind);
    SyntaxTrial replaced = trial;
    consider({Edit::INSERT, kind, trial.follow(this, 0),
              InsertLikelihood(kind, line_begins)});
    if (at_end) continue;
    const int likely = is_misspelled(at_, kind)
                           ? int{REPLACE_MISSPELLED}
                           : ReplaceLikelihood(token, kind);
    consider({Edit::REPLACE, kind, replaced.follow(this, 1), likely});
  }
  if (at_end) return best;
  SyntaxTrial without(*this, stack_.size());
  const bool ends_line =
      token == TOKEN_SEMICOLON && peek(1) != BOUNDARY && begins_line(at_ + 1);
  consider({Edit::DELETE, 0, without.follow(this, 1),
            ends_line ? int{UNLIKELY} : int{DELETE}});
  const int next = peek(1);
  if (token == TOKEN_END && next != BOUNDARY && CloserOf(next) != nullptr) {
    SyntaxTrial without_both(*this, stack_.size());
    consider(
        {Edit::DELETE_TWICE, 0, without_both.follow(this, 2), DELETE_TWICE});
  }
  return best;
}

// A misspelled keyword passes for a name: then only the next token is wrong.
bool SyntaxParser::mend_previous() {
  Period& before = periods_[1];
  if (at_ == 0 || before.token != at_ - 1 ||
      tree_->tokens[at_ - 1].kind != TOKEN_IDENT)
    return false;
  // Whether there is a candidate at all is known without undoing anything.
  const std::string_view text = tree_->text_of(at_ - 1);
  std::string upper(text);
  for (char& c : upper)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  int second = 0;  // of a keyword that is two in one: ENDIF
  std::vector<int> kinds;
  for (int kind = 3; kind < G.tokens; kind++) {
    if (is_misspelled(at_ - 1, kind)) kinds.push_back(kind);
    if (IsKeyword(kind) && upper == "END" + std::string(SyntaxTokenText(kind)))
      second = kind;
  }
  if (kinds.empty() && second == 0) return false;
  const Period kept = before;
  const std::vector<SyntaxNode> nodes(tree_->nodes.begin() + before.nodes,
                                      tree_->nodes.end());
  const size_t kept_entries = untouched(before);
  const std::vector<SyntaxEntry> entries(
      stack_.begin() + static_cast<ptrdiff_t>(kept_entries), stack_.end());
  undo(&before);
  Edit best;
  for (const int kind : kinds) {
    SyntaxTrial trial(*this, stack_.size());
    if (!trial.feed(kind)) continue;
    const int reached = trial.follow(this, 0);
    const auto distance =
        static_cast<int>(ToolDistance(text, SyntaxTokenText(kind)));
    if (reached > best.reached ||
        (reached == best.reached && -distance > best.likely))
      best = {Edit::REPLACE, kind, reached, -distance};
  }
  bool split = false;
  if (second != 0) {
    SyntaxTrial trial(*this, stack_.size());
    split = trial.feed(TOKEN_END) && trial.feed(second) &&
            trial.follow(this, 0) >= LOOK_ENOUGH - 1;
  }
  const bool same_letters = best.likely == 0 && best.reached > 0;
  if (!split && !same_letters && best.reached < LOOK_ENOUGH) {
    stack_.resize(kept_entries);
    stack_.insert(stack_.end(), entries.begin(), entries.end());
    tree_->nodes.insert(tree_->nodes.end(), nodes.begin(), nodes.end());
    before = kept;
    return false;
  }
  at_--;
  if (split) {
    begin_error(SyntaxFault::REPLACED, TOKEN_END);
    return feed(TOKEN_END, true) && feed(second, false);
  }
  begin_error(SyntaxFault::REPLACED, best.kind);
  return feed(best.kind, true);
}

void SyntaxParser::apply(const Edit& edit) {
  const uint32_t token = at_;
  const auto node = static_cast<uint32_t>(tree_->nodes.size());
  switch (edit.what) {
    case Edit::INSERT: (void)feed(edit.kind, false); return;
    case Edit::REPLACE: (void)feed(edit.kind, true); return;
    case Edit::DELETE_TWICE: at_++; [[fallthrough]];
    case Edit::DELETE:
      at_++;
      add_error_node(token, node);
      return;
  }
}

// Blocks
// ------------------------------------------------------------------------

// Finds the tokens that close blocks until `token` fits. The stack is looked at
// from `depth` entries on. False when that does not help.
bool SyntaxParser::find_closing(size_t depth, int token, uint32_t ahead,
                                std::vector<Missing>* missing) {
  missing->clear();
  SyntaxTrial trial(*this, depth);
  const int next = token == TOKEN_END ? peek(ahead + 1) : BOUNDARY;
  for (size_t round = 0; round < DEPTH; round++) {
    SyntaxTrial with(trial);
    if (with.feed(token)) {
      SyntaxTrial further(with);
      if (next == BOUNDARY || further.feed(next) || !trial.has_block(next))
        return true;
    }
    const size_t block = trial.innermost_block(true);
    if (block == 0) return false;
    const Closer* closer = CloserOf(trial.symbol(block));
    const uint32_t opener =
        trial.is_real(block) ? stack_[block].first_token : SYNTAX_NONE;
    // An object inside of another one is no reason to close that.
    if (BeginsObject(token) && closer->opener == TOKEN_LEFT_BRACE &&
        opener != SYNTAX_NONE && indentation(at_ + ahead) > indentation(opener))
      return false;
    bool closed = false;
    for (const auto& completion : COMPLETIONS) {
      SyntaxTrial attempt(trial);
      bool fits = true;
      for (const int kind : completion)
        fits = fits && (kind == 0 || attempt.feed(kind));
      for (const int kind : closer->tokens)
        fits = fits && (kind == 0 || attempt.feed(kind));
      if (!fits) continue;
      for (const int kind : completion)
        if (kind != 0) missing->push_back({kind, SYNTAX_NONE});
      for (const int kind : closer->tokens)
        if (kind != 0) missing->push_back({kind, opener});
      trial = attempt;
      closed = true;
      break;
    }
    if (!closed) return false;
  }
  return false;
}

// Puts the tokens in that find_closing has found.
void SyntaxParser::close(const std::vector<Missing>& missing,
                         const std::bitset<128>& expected) {
  uint32_t reported = SYNTAX_NONE;
  for (const Missing& one : missing) {
    if (one.opener != SYNTAX_NONE && one.opener != reported) {
      SyntaxError* error = begin_error(SyntaxFault::MISSING, one.kind);
      error->opener = reported = one.opener;
      error->expected = expected;
    }
    if (!feed(one.kind, false)) return;
  }
  if (reported == SYNTAX_NONE)
    begin_error(SyntaxFault::MISSING, missing.empty() ? 0 : missing[0].kind)
        ->expected = expected;
}

// END stands in front of the token at hand, which names another kind of block
// than the innermost one. When such a block is open further out, what is inside
// of it was not closed; otherwise the wrong kind was named.
bool SyntaxParser::mend_block_end(const std::bitset<128>& expected) {
  const int token = tree_->tokens[at_].kind;
  if (at_ == 0 || tree_->tokens[at_ - 1].kind != TOKEN_END ||
      CloserOf(token) == nullptr)
    return false;
  SyntaxTrial trial(*this, stack_.size());
  const size_t block = trial.innermost_block(false);
  if (block == 0) return false;
  std::vector<Missing> missing;
  Period& before = periods_[1];
  if (trial.has_block(token) && before.token == at_ - 1) {
    undo(&before);
    at_--;
    if (find_closing(stack_.size(), TOKEN_END, 0, &missing) &&
        !missing.empty()) {
      close(missing, expected);
      return true;
    }
    // As far as it was.
    const uint32_t end = at_;
    while (at_ == end) {
      const auto step = G.step(state(), TOKEN_END);
      if (step.kind == McGrammarTables::Step::SHIFT)
        shift(step.number);
      else if (step.kind == McGrammarTables::Step::REDUCE)
        reduce(step.number);
      else
        return false;
    }
  }
  const Closer* closer = CloserOf(trial.symbol(block));
  const int kind = closer->tokens[1];
  SyntaxTrial replaced(*this, stack_.size());
  if (kind == 0 || !replaced.feed(kind)) return false;
  SyntaxError* error = begin_error(SyntaxFault::REPLACED, kind);
  error->opener = stack_[block].first_token;
  error->expected = expected;
  return feed(kind, true);
}

// Skipping
// ----------------------------------------------------------------------

// The number of entries that stay on the stack so that `token` fits; 0 when
// there is no such number. `missing` closes what is open.
size_t SyntaxParser::find_depth(int token, uint32_t ahead,
                                std::vector<Missing>* missing) {
  missing->clear();
  const bool leaves_blocks = EndsBlocks(token) || token == TOKEN_IMPORT;
  for (size_t popped = 0; popped < std::min(stack_.size() - 1, DEPTH);
       popped++) {
    const size_t depth = stack_.size() - popped;
    SyntaxTrial direct(*this, depth);
    if (direct.feed(token) &&
        (token != TOKEN_IDENT || direct.follow(this, ahead + 1) > 0))
      return depth;
    if (leaves_blocks && find_closing(depth, token, ahead, missing))
      return depth;
    SyntaxTrial completed(*this, depth);
    if (leaves_blocks && completed.feed(TOKEN_SEMICOLON) &&
        completed.feed(token)) {
      *missing = {{TOKEN_SEMICOLON, SYNTAX_NONE}};
      return depth;
    }
    missing->clear();
    if (!leaves_blocks && IsBlock(symbol_at(depth - 1))) return 0;
  }
  return 0;
}

// Drops everything from a wrong token up to one that the parser can go on with.
// False when there is none.
bool SyntaxParser::skip(const std::bitset<128>& expected, bool at_least_one) {
  const uint32_t wrong = at_;
  if (!follows_) begin_error(SyntaxFault::SKIPPED, 0)->expected = expected;
  const auto node = static_cast<uint32_t>(tree_->nodes.size());
  std::vector<Missing> missing;
  int braces = 0;  // that were skipped and not closed
  bool may_go_on = false;
  size_t depth = 0;
  for (bool first = true;; first = false) {
    const int kind = token();
    if (kind == TOKEN_END_OF_INPUT) may_go_on = true;
    const bool now = may_go_on || BeginsSomething(kind) ||
                     (kind == TOKEN_IDENT && begins_line(at_));
    if (now && (braces <= 0 || kind == TOKEN_END_OF_INPUT) &&
        !(first && at_least_one)) {
      depth = find_depth(kind, 0, &missing);
      if (depth != 0 || kind == TOKEN_END_OF_INPUT) break;
    }
    if (kind == TOKEN_END_OF_INPUT) break;
    if (kind == TOKEN_LEFT_BRACE) braces++;
    if (kind == TOKEN_RIGHT_BRACE) braces--;
    may_go_on = kind == TOKEN_SEMICOLON;
    at_++;
  }
  if (depth == 0) {
    add_error_node(wrong, node);
    return false;
  }
  // Entries behind the last sequence belong to what was not understood.
  size_t first = stack_.size();
  while (first > depth && !IsSequence(symbol_at(first - 1))) first--;
  uint32_t first_token = wrong;
  uint32_t first_node = node;
  if (first < stack_.size()) {
    first_token = stack_[first].first_token;
    first_node = stack_[first].first_node;
  }
  if (stack_.size() > depth) {
    stack_.resize(depth);
    stack_.back().children = 2;
  }
  add_error_node(first_token, first_node);
  for (const Missing& one : missing) {
    if (one.opener != SYNTAX_NONE &&
        (one.kind == TOKEN_END || CloserOf(one.kind) == nullptr)) {
      SyntaxError* error = begin_error(SyntaxFault::MISSING, one.kind);
      error->opener = one.opener;
    }
    if (!feed(one.kind, false)) break;
  }
  return true;
}

// The recovery
// ------------------------------------------------------------------

bool SyntaxParser::recover() {
  undo(&periods_[0]);
  const uint32_t wrong = at_;
  // Edits in front of a token may need another one at it.
  times_ = wrong == stumbled_ ? times_ + 1 : 0;
  const bool again = times_ > 2;
  // A fault shortly behind another one most likely follows from it.
  const bool follows =
      stumbled_ != SYNTAX_NONE && wrong - stumbled_ < 3 && times_ == 0;
  stumbled_ = wrong;
  std::bitset<128> expected;
  for (int kind = 0; kind < G.tokens; kind++) {
    if (kind == G.ERROR_TOKEN || kind == TOKEN_YYUNDEF) continue;
    SyntaxTrial trial(*this, stack_.size());
    if (trial.feed(kind)) expected.set(static_cast<size_t>(kind));
  }
  follows_ = follows;
  const bool going_on = again ? skip(expected, true) : mend(expected);
  forget();
  return going_on;
}

bool SyntaxParser::mend(const std::bitset<128>& expected) {
  if (mend_block_end(expected)) return true;
  const int token = tree_->tokens[at_].kind;
  if (mend_previous()) return true;
  const Edit edit = best_edit(expected);
  std::vector<Missing> missing;
  const bool sure = edit.reached == LOOK && edit.likely >= DELETE_TWICE;
  if (!sure && EndsBlocks(token) &&
      find_closing(stack_.size(), token, 0, &missing) && !missing.empty()) {
    close(missing, expected);
    return true;
  }
  if (edit.reached == LOOK ||
      (edit.reached >= LOOK_ENOUGH && edit.likely >= INSERT_PUNCTUATION)) {
    const SyntaxFault fault = edit.what == Edit::INSERT ? SyntaxFault::MISSING
                              : edit.what == Edit::REPLACE
                                  ? SyntaxFault::REPLACED
                                  : SyntaxFault::UNWANTED;
    begin_error(fault, edit.kind)->expected = expected;
    apply(edit);
    return true;
  }
  return skip(expected, false);
}
