// The automaton of the grammar over the tokens of a source, which can go back.
//
// It keeps the last tokens and, every few of them, its stack. What the next
// tokens would do is tried on a copy of the states alone.
#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <utility>
#include <vector>

#include "elut/grammar.h"
#include "tools/check/files.h"

// The tokens of a source, file over file: those of an included file come before
// what follows the INCLUDE.
class CheckTokenStream {
 public:
  explicit CheckTokenStream(CheckFile* main) {
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

struct CheckEntry {
  int state;
  CheckToken token;  // the first one of the symbol
};

enum class CheckTaken { SHIFTED, ACCEPTED, ERROR, TOO_DEEP };

// Where a part of the source began, and the stack in front of it.
struct CheckPart {
  std::vector<CheckEntry> stack;
  CheckToken begin;
};

class CheckParser {
 protected:
  CheckParser(CheckFiles* files, CheckFile* main, CheckKind kind)
      : files_(files), stream_(main), kind_(kind) {
    stack_.push_back({0, {}});
  }

  // Takes a token; on an error the stack is as before.
  CheckTaken feed(const CheckToken& token);
  // Takes a token on a stack of states.
  CheckTaken shift(std::vector<int>* states, int token) const;

  // Looks at the next tokens, of which the first is an error.
  void look_ahead(size_t count);
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
  // Where the statement or declaration that the error is in begins: at most 40
  // tokens in front of it.
  ptrdiff_t statement_start() const;
  // The states in front of the token `back` tokens before the error.
  const std::vector<int>& states_at(size_t back);
  // The tokens that could stand in the place of the error.
  std::vector<int> expected();
  // The innermost open construct that begins with that token.
  const CheckEntry* opening(int symbol) const;

  // Takes the stack in front of the token `back` tokens before the error.
  void go_back(size_t back);
  // Takes the stack in front of a part, and forgets all tokens.
  void go_back_to(const CheckPart& part);
  // Puts tokens in front of the next one that are not in the source.
  void put_back_made(CheckToken made, const std::vector<int>& tokens);

  CheckFiles* files_;
  CheckTokenStream stream_;
  CheckKind kind_;
  std::deque<CheckToken> history_;
  std::vector<CheckToken> ahead_;  // the error first
  CheckPart routine_;              // the last SUB
  CheckPart body_;                 // what came last where a SUB could have come

 private:
  static constexpr size_t SNAPSHOT = 16;  // tokens from one stack to the next

  bool ends_part() const;
  bool could_take(int token) const;
  void apply(const CheckToken& token);
  void reduce(int rule, const CheckToken& token);
  void include(const CheckToken& token);

  std::vector<CheckEntry> stack_;
  std::deque<std::pair<size_t, std::vector<CheckEntry>>> snapshots_;
  size_t count_ = 0;
  size_t included_ = 0;
  bool include_now_ = false;
  std::map<size_t, std::vector<int>> states_;  // of states_at
};
