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

  // What happened since a token was first looked at, so that it can be undone.
  // A step put one entry in the place of some others.
  struct Period {
    uint32_t token = SYNTAX_NONE;
    uint32_t nodes = 0;              // that there were
    std::vector<SyntaxEntry> saved;  // the others
    std::vector<uint8_t> counts;     // by step: how many there were
  };
  void begin_period();
  void undo(Period* period);
  size_t untouched(const Period& period) const;
  void forget();

  // recovery.cpp
  friend class SyntaxTrial;
  struct Edit {
    enum What { INSERT, REPLACE, DELETE, DELETE_TWICE } what = INSERT;
    int kind = 0;     // of the token that is missing
    int reached = 0;  // tokens that then fit
    int likely = -1000;
  };
  // A token to be put in, and the one that opened what it closes.
  struct Missing {
    int kind;
    uint32_t opener;
  };
  bool recover();
  bool mend(const std::bitset<128>& expected);
  bool mend_block_end(const std::bitset<128>& expected);
  bool mend_previous();
  Edit best_edit(const std::bitset<128>& expected);
  void apply(const Edit& edit);
  bool find_closing(size_t depth, int token, uint32_t ahead,
                    std::vector<Missing>* missing);
  void close(const std::vector<Missing>& missing,
             const std::bitset<128>& expected);
  size_t find_depth(int token, uint32_t ahead, std::vector<Missing>* missing);
  bool skip(const std::bitset<128>& expected, bool at_least_one);
  int peek(uint32_t ahead);
  int keyword(uint32_t ahead) const;
  bool feed(int kind, bool take);
  void add_error_node(uint32_t first_token, uint32_t first_node);
  SyntaxError* begin_error(SyntaxFault fault, int missing);
  bool begins_line(uint32_t token) const;
  uint32_t indentation(uint32_t token) const;
  bool is_misspelled(uint32_t token, int keyword) const;

  SyntaxTree* tree_;
  SyntaxScanner scanner_;
  bool follow_includes_;
  uint32_t modes_ = 0;  // forms that are accepted
  std::vector<SyntaxEntry> stack_;
  uint32_t at_ = 0;            // the token to be looked at next
  size_t fragment_depth_ = 0;  // of the stack in front of a fragment
  bool too_deep_ = false;
  bool wrong_form_ = false;
  Period periods_[2];  // of the token at hand, and of the one before
  uint32_t stumbled_ = SYNTAX_NONE;  // the last token that did not fit
  bool follows_ = false;  // it most likely follows from a fault before
  int times_ = 0;         // that it did not, but for the first one
};

#endif
