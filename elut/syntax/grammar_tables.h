// The automaton of the grammar: tables that Bison makes from grammar.y, and how
// they are read.
//
// A parser keeps a stack of states. A state and the next token say what to do:
// shift the token, which leads to another state; reduce a rule, whose symbols
// are on top of the stack; or that the token is an error. After a reduction the
// state below and the symbol on the left of the rule lead to the next state. A
// state that does the same for every token reduces before a token is read.
#pragma once

#include <cstdint>

struct McGrammarTables {
  int states, rules;  // rules are numbered from 1; rule 0 is none
  int tokens;         // symbols below are tokens; 0 end, 1 error, 2 unknown
  int symbols;
  int final_state;  // accepts the end of the input
  int last;
  int no_lookahead;  // in pact: the state only reduces
  int error_entry;   // in table: the token is an error

  // By state.
  const int16_t* pact;
  const int16_t* defact;
  // By nonterminal, which are numbered from `tokens`.
  const int16_t* pgoto;
  const int16_t* defgoto;
  // Actions and states, and the symbols or states that they are for.
  const int16_t* table;
  const int16_t* check;

  const int16_t* symbol;     // by state: the symbol that led to it
  const int16_t* lhs;        // by rule: its left side
  const int16_t* length;     // by rule: symbols of its right side
  const int16_t* line;       // by rule: in grammar.y
  const char* const* names;  // by symbol
  const bool* has_value;     // by symbol
  const int16_t* actions;    // pairs: a rule that has one, and the first rule
                             // that has the same; closed by 0

  static constexpr int ERROR_TOKEN = 1;

  struct Step {
    enum Kind { SHIFT, REDUCE, ERROR } kind;
    int number;  // state or rule
  };

  // True when the state reduces its default rule without a look at a token.
  constexpr bool reduces_at_once(int state) const {
    return pact[state] == no_lookahead;
  }

  constexpr Step step(int state, int token) const {
    if (!reduces_at_once(state)) {
      const int at = pact[state] + token;
      if (at >= 0 && at <= last && check[at] == token) {
        const int entry = table[at];
        if (entry > 0) return {Step::SHIFT, entry};
        if (entry == error_entry || entry == 0) return {Step::ERROR, 0};
        return {Step::REDUCE, -entry};
      }
    }
    if (defact[state] == 0) return {Step::ERROR, 0};
    return {Step::REDUCE, defact[state]};
  }

  // The state that the token `error` leads to; 0 when it cannot be shifted.
  constexpr int after_error(int state) const {
    if (reduces_at_once(state)) return 0;
    const int at = pact[state] + ERROR_TOKEN;
    const bool listed = at >= 0 && at <= last && check[at] == ERROR_TOKEN;
    return listed && table[at] > 0 ? table[at] : 0;
  }

  // The state after a nonterminal in `state`.
  constexpr int after(int state, int nonterminal) const {
    const int row = nonterminal - tokens;
    const int at = pgoto[row] + state;
    return at >= 0 && at <= last && check[at] == state ? table[at]
                                                       : defgoto[row];
  }

  // The first rule with the action of this one; 0 when it has none.
  constexpr int action(int rule) const {
    for (const int16_t* p = actions; *p != 0; p += 2)
      if (*p == rule) return p[1];
    return 0;
  }
};
