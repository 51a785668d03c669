// The parser of the syntax tree: the automaton of the grammar, without actions.
#ifndef TOOLS_TREE_PARSE_H
#define TOOLS_TREE_PARSE_H

#include "tools/tree/scan.h"

// An entry of the parser's stack: a state, and what the symbol that led to it
// stands for.
struct SyntaxEntry {
  uint16_t state;
  uint16_t children;  // that it gives to the node it becomes part of; 2: many
  uint32_t first_token;  // where it begins
  uint32_t first_node;
};

class SyntaxParser {
 public:
  SyntaxParser(SyntaxTree* tree, const SyntaxOptions& options);
  void run();

 private:
  // parse.cpp
  int state() const { return stack_.back().state; }
  int symbol_at(size_t entry) const {
    return MC_GRAMMAR.symbol[stack_[entry].state];
  }
  int token();
  void push(int state, unsigned children, uint32_t first_token,
            uint32_t first_node);
  void shift(int state);
  void reduce(int rule);
  void reduce_special(int rule);
  void add_node(int symbol, int rule, uint32_t first_token,
                uint32_t first_node);
  void report(SyntaxFault fault, uint32_t token, int missing = 0);
  void enter_fragment();
  bool is_whole_fragment() const;
  void finish();

  // recovery.cpp
  void recover();

  SyntaxTree* tree_;
  SyntaxScanner scanner_;
  bool follow_includes_;
  uint32_t modes_ = 0;  // forms that are accepted
  std::vector<SyntaxEntry> stack_;
  uint32_t at_ = 0;            // the token to be looked at next
  size_t fragment_depth_ = 0;  // of the stack in front of a fragment
  bool too_deep_ = false;
  uint32_t include_ = SYNTAX_NONE;  // the literal of the last INCLUDE
};

#endif
