// Prints the states of the compiler's parser as C++, from the tables of the
// grammar. The build runs it; parser.cpp includes what it prints.
//
// A state becomes a label and a switch over tokens, a rule a block that runs
// its action, and each nonterminal a switch over the state below, which leads
// to the next state. Token and value stay in registers. Whether a token is at
// hand is known at every place, so rules and nonterminals that are met both
// with and without one are printed twice: names that end in _t have a token.
//
// A state that reduces at once has no label: whoever would go there goes to its
// rule.
//
// States that nobody could tell from each other are one. The operators of one
// binding have such states, since their actions are the same and take what
// differs from the value of the token; which of them it is then is no matter of
// jumps, which a processor would guess wrong.
#include <array>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "elut/grammar.h"

namespace {

constexpr const McGrammarTables& G = MC_GRAMMAR;

// A place in the code to be printed: kind, number, with a token or without.
enum class Kind { STATE, SHIFT, RULE, NONTERMINAL };
struct Place {
  Kind kind;
  int number;
  bool token;
  auto operator<=>(const Place&) const = default;
};

std::string LabelOf(const Place& place) {
  constexpr const char* NAMES[] = {"state", "shift", "rule", "after"};
  return std::string(NAMES[static_cast<int>(place.kind)]) + "_" +
         std::to_string(place.number) + (place.token ? "_t" : "");
}

// For each state and each rule, the first one that is like it.
//
// Rules are alike that have the same left side, length and action. States are
// alike that follow the same nonterminal, or tokens with or without a value,
// and that take each symbol to states and rules that are alike. (No token has
// a destructor, so an error need not know which of them it discards.) All
// states are one group at first, which is divided until it says so of each.
class Merger {
 public:
  Merger()
      : states_(static_cast<size_t>(G.states)),
        rules_(static_cast<size_t>(G.rules) + 1) {
    std::map<std::array<int, 3>, int> first;
    for (int number = 1; number <= G.rules; number++) {
      const auto found = first.try_emplace(
          {G.lhs[number], G.length[number], G.action(number)}, number);
      rules_[static_cast<size_t>(number)] = found.first->second;
    }
    for (size_t groups = 0;;) {
      const size_t before = groups;
      groups = divide();
      if (groups == before) return;
    }
  }

  int state(int number) const { return states_[static_cast<size_t>(number)]; }

  int rule(int number) const { return rules_[static_cast<size_t>(number)]; }

  McGrammarTables::Step step(int state_number, int token) const {
    McGrammarTables::Step step = G.step(state_number, token);
    if (step.kind == McGrammarTables::Step::SHIFT)
      step.number = state(step.number);
    if (step.kind == McGrammarTables::Step::REDUCE)
      step.number = rule(step.number);
    return step;
  }

 private:
  // All that there is to know of a state.
  std::vector<int> describe(int number) const {
    const int symbol = G.symbol[number];
    std::vector<int> lines = {states_[static_cast<size_t>(number)],
                              G.reduces_at_once(number),
                              symbol < G.tokens ? -1 : symbol,
                              G.has_value[symbol], number == G.final_state};
    for (int token = 0; token < G.tokens; token++) {
      const McGrammarTables::Step found = step(number, token);
      lines.push_back(found.kind);
      lines.push_back(found.number);
    }
    lines.push_back(state(G.after_error(number)));
    for (int symbol_after = G.tokens; symbol_after < G.symbols; symbol_after++)
      lines.push_back(state(G.after(number, symbol_after)));
    return lines;
  }

  // Divides groups whose states differ. Returns how many there are.
  size_t divide() {
    std::map<std::vector<int>, int> groups;
    std::vector<int> divided(states_.size());
    for (int number = 0; number < G.states; number++)
      divided[static_cast<size_t>(number)] =
          groups.emplace(describe(number), number).first->second;
    states_ = divided;
    return groups.size();
  }

  std::vector<int> states_, rules_;
};

class Printer {
 public:
  void run() {
    (void)go_to_state(0, false);
    for (int state = 0; state < G.states; state++)
      if (!G.reduces_at_once(state)) (void)go_to_state(state, true);
    while (!wanted_.empty()) {
      const Place place = *wanted_.begin();
      wanted_.erase(wanted_.begin());
      printed_.insert(place);
      switch (place.kind) {
        case Kind::STATE: print_state(place); break;
        case Kind::SHIFT: print_shift(place); break;
        case Kind::RULE: print_rule(place); break;
        case Kind::NONTERMINAL: print_nonterminal(place); break;
      }
    }
    print_resume();
  }

 private:
  std::string want(const Place& place) {
    if (!printed_.contains(place)) wanted_.insert(place);
    return "goto " + LabelOf(place) + ";";
  }

  // The jump to a state that was entered.
  std::string go_to_state(int number, bool token) {
    const int state = same_.state(number);
    if (state == G.final_state) return "return ParseEnd::ACCEPTED;";
    if (G.reduces_at_once(state))
      return want({Kind::RULE, same_.rule(G.defact[state]), token});
    return want({Kind::STATE, state, token});
  }

  // Whether the number of a state is needed once it has been entered: the entry
  // of one that reduces at once is replaced, unless its rule is empty.
  static bool is_looked_at(int state) {
    return !G.reduces_at_once(state) || G.length[G.defact[state]] == 0;
  }

  std::string do_step(const McGrammarTables::Step& step) {
    switch (step.kind) {
      case McGrammarTables::Step::SHIFT:
        return want({Kind::SHIFT, step.number, false});
      case McGrammarTables::Step::REDUCE:
        return want({Kind::RULE, step.number, true});
      case McGrammarTables::Step::ERROR: break;
    }
    return "goto syntax_error;";
  }

  void print_state(const Place& place) {
    const int state = place.number;
    printf("%s:  // after %s\n", LabelOf(place).c_str(),
           state == 0 ? "nothing" : G.names[G.symbol[state]]);
    if (!place.token) {
      printf("  NEXT_TOKEN();\n  %s\n",
             want({Kind::STATE, state, true}).c_str());
      return;
    }
    const McGrammarTables::Step otherwise = default_step(state);
    printf("  switch (token) {\n");
    for (int token = 0; token < G.tokens; token++) {
      const McGrammarTables::Step step = same_.step(state, token);
      if (step.kind == otherwise.kind && step.number == otherwise.number)
        continue;
      if (token == G.ERROR_TOKEN) continue;  // for the recovery
      printf("    case %d: %s\n", token, do_step(step).c_str());
    }
    printf("    default: %s\n  }\n", do_step(otherwise).c_str());
  }

  McGrammarTables::Step default_step(int state) const {
    if (G.defact[state] == 0) return {McGrammarTables::Step::ERROR, 0};
    return {McGrammarTables::Step::REDUCE, same_.rule(G.defact[state])};
  }

  void print_shift(const Place& place) {
    const int state = place.number;
    printf("%s:\n  PUSH();\n", LabelOf(place).c_str());
    if (G.has_value[G.symbol[state]]) printf("  top->value.token = value;\n");
    if (is_looked_at(state)) printf("  top->state = %d;\n", state);
    printf("  %s\n", go_to_state(state, false).c_str());
  }

  void print_rule(const Place& place) {
    const int rule = place.number;
    const int length = G.length[rule];
    printf("%s:  // %s\n", LabelOf(place).c_str(), G.names[G.lhs[rule]]);
    if (G.action(rule) != 0)
      printf("  if (!Action%d(front, top, %s)) FAIL(%d);\n", rule,
             place.token ? "token" : "NO_TOKEN", length);
    if (length == 0) printf("  PUSH();\n");
    if (length > 1) printf("  top -= %d;\n", length - 1);
    printf("  %s\n",
           want({Kind::NONTERMINAL, G.lhs[rule], place.token}).c_str());
  }

  void print_nonterminal(const Place& place) {
    const int symbol = place.number;
    printf("%s:  // %s\n", LabelOf(place).c_str(), G.names[symbol]);
    const int usual = same_.state(G.defgoto[symbol - G.tokens]);
    std::vector<int> others;
    for (int below = 0; below < G.states; below++)
      if (same_.state(G.after(below, symbol)) != usual) others.push_back(below);
    if (!others.empty()) {
      printf("  switch (top[-1].state) {\n");
      for (const int below : others)
        printf("    case %d: %s\n", below,
               enter(same_.state(G.after(below, symbol)), place.token).c_str());
      printf("  }\n");
    }
    printf("  %s\n", enter(usual, place.token).c_str());
  }

  // Enters a state after a nonterminal, whose entry is on top already.
  std::string enter(int state, bool token) {
    std::string code;
    if (is_looked_at(state))
      code = "top->state = " + std::to_string(state) + "; ";
    return code + go_to_state(state, token);
  }

  // Where the parse goes on after a recovery.
  void print_resume() {
    printf("resume:\n  switch (top->state) {\n");
    for (int state = 0; state < G.states; state++)
      if (!G.reduces_at_once(state))
        printf("    case %d: if (token == NO_TOKEN) NEXT_TOKEN(); %s\n", state,
               go_to_state(state, true).c_str());
    printf("  }\n");
  }

  const Merger same_;
  std::set<Place> wanted_, printed_;
};

}  // namespace

int main() {
  printf("// Made by the build from grammar.y, see make_parser.cpp.\n");
  Printer().run();
  return ferror(stdout) || fflush(stdout) != 0;
}
