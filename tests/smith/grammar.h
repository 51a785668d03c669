// The grammar that sources are made from: rows of a rule's name, a weight and
// forms. A form is a list of symbols, separated by blanks:
//
//     WHILE  (  ;      tokens
//     expression       a rule, or an action when no row has that name
//     statement+       one or more
//     argument+,       the same with a token between them
//     statement++      as many as the size of the source asks for
//
// Each form is a production that is counted, and so are the two outcomes of
// "+".
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <vector>

enum class SymbolKind : uint8_t { TOKEN, RULE, ACTION };
enum class SymbolRepeat : uint8_t { ONCE, SOME, MANY };

struct Symbol {
  SymbolKind kind = SymbolKind::TOKEN;
  SymbolRepeat repeat = SymbolRepeat::ONCE;
  size_t number = 0;      // of the rule or the action
  size_t production = 0;  // of SOME: one; the next: several
  std::string text;       // of a token
  std::string separator;
};

// Height: how many rows lie on top of each other in the smallest text of a row
// or rule; NEVER when it has none.
using Height = uint32_t;
constexpr Height NEVER = std::numeric_limits<Height>::max();

struct Row {
  uint32_t weight;
  size_t production;
  std::vector<Symbol> symbols;
  // While no variable is visible, and when there are some.
  std::array<Height, 2> height = {NEVER, NEVER};
};

struct Rule {
  std::vector<Row> rows;
  std::array<Height, 2> height = {NEVER, NEVER};
};

// The action that needs a visible variable.
constexpr std::string_view VARIABLE_ACTION = "variable";

class Grammar {
 public:
  // The actions are numbered in the order of their names here. Ends the process
  // when a symbol is neither a rule nor an action.
  explicit Grammar(std::vector<std::string_view> actions);

  size_t rule(std::string_view name) const;  // its number
  const Rule& operator[](size_t rule) const { return rules_[rule]; }
  const std::vector<std::string>& productions() const { return productions_; }

 private:
  void add_row(std::string_view rule, uint32_t weight, std::string_view form);
  Symbol symbol(std::string_view word, size_t row);
  void measure(size_t variables);

  std::vector<std::string_view> actions_;
  std::map<std::string, size_t, std::less<>> numbers_;  // of rules
  std::vector<Rule> rules_;
  std::vector<std::string> productions_;
};
