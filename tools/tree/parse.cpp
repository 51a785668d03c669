// The parser runs the automaton and writes a node for each rule that has one,
// when it is reduced: children first. Such a list knows how many nodes are
// below each one, from which finish() works out the order with parents first.
#include "tools/tree/parse.h"

#include <algorithm>
#include <new>

namespace {

constexpr const McGrammarTables& G = MC_GRAMMAR;

// The compiler's parser stops when its stack would need more entries.
constexpr size_t COMPILER_STACK = 150;

// What a rule leaves.
enum class Leaves : uint8_t {
  NODE,     // a node when it has two children
  ALWAYS,   // a node
  NOTHING,  // its children become those of the rule that it is part of
  SPECIAL,  // see reduce_special
};

constexpr bool LeavesNothing(int symbol) {
  switch (symbol) {
    case SYMBOL_expression_list:
    case SYMBOL_imports:
    case SYMBOL_name_list:
    case SYMBOL_subs:
    case SYMBOL_sub_section:
    case SYMBOL_parameter_groups:
    case SYMBOL_parameter_group:
    case SYMBOL_star_list:
    case SYMBOL_declaration_list:
    case SYMBOL_variable_declarations:
    case SYMBOL_declarators:
    case SYMBOL_dimension_list:
    case SYMBOL_statement_list:
    case SYMBOL_allocate_items:
    case SYMBOL_free_items:
    case SYMBOL_case_clauses:
    case SYMBOL_case_labels:
    case SYMBOL_argument_list:
    case SYMBOL_expression_args:
    case SYMBOL_masks:
    case SYMBOL_windows:
    case SYMBOL_applications:
    case SYMBOL_window_members:
    case SYMBOL_application_members:
    case SYMBOL_simple_members:
    case SYMBOL_menu_members:
    case SYMBOL_table_members:
    case SYMBOL_text_members:
    case SYMBOL_group_members:
    case SYMBOL_attributes:
    case SYMBOL_event_list:
    case SYMBOL_input: return true;
    default: return false;
  }
}

struct RuleTable {
  Leaves leaves[G.rules + 1] = {};

  constexpr RuleTable() {
    for (int rule = 1; rule <= G.rules; rule++) {
      const int symbol = G.lhs[rule];
      if (symbol == SYMBOL_include || symbol == SYMBOL_expression_check ||
          symbol == SYMBOL_mask_check || symbol == SYMBOL_handler_check ||
          G.names[symbol][0] == '$')
        leaves[rule] = Leaves::SPECIAL;
      else if (symbol == SYMBOL_statement || symbol == SYMBOL_body)
        leaves[rule] = Leaves::ALWAYS;
      else if (LeavesNothing(symbol))
        leaves[rule] = Leaves::NOTHING;
    }
  }
};
constexpr RuleTable RULES;

// The form of a text that begins with a token, AUTO when that does not tell.
SyntaxForm FormOf(int token, bool first) {
  switch (token) {
    case TOKEN_PROGRAM:
    case TOKEN_MODULE:
    case TOKEN_IMPORT: return SyntaxForm::PROGRAM;
    case TOKEN_SUB:
    case TOKEN_INCLUDE:
      return first ? SyntaxForm::FRAGMENT : SyntaxForm::PROGRAM;
    case TOKEN_WINDOW:
    case TOKEN_APPLICATION:
    case TOKEN_LEFT_BRACE: return SyntaxForm::MASK;
    default: return SyntaxForm::AUTO;
  }
}

// The first token that tells it decides.
SyntaxForm FindForm(const SyntaxFile& file) {
  SyntaxTree scratch;
  scratch.files.push_back({file.name, file.text});
  SyntaxScanner scanner(&scratch, nullptr);  // it opens none
  for (bool first = true;; first = false) {
    scratch.tokens.clear();
    scanner.next();
    const SyntaxForm form = FormOf(scratch.tokens[0].kind, first);
    if (form != SyntaxForm::AUTO) return form;
    if (scratch.tokens[0].kind == TOKEN_END_OF_INPUT)
      return SyntaxForm::PROGRAM;
  }
}

// Makes room for as many elements as a text has bytes. Memory that nobody
// writes to is only an address, while a vector that grows holds two copies for
// a while.
template <class Element>
void MakeRoom(size_t text_size, std::vector<Element>* elements) {
  try {
    elements->reserve(text_size + 1);
  } catch (const std::bad_alloc&) {
    // Fewer will do.
  }
}

}  // namespace

SyntaxParser::SyntaxParser(SyntaxTree* tree, const SyntaxOptions& options)
    : tree_(tree),
      scanner_(tree, options.files),
      follow_includes_(options.follow_includes) {
  stack_.reserve(2 * COMPILER_STACK);
  stack_.push_back({0, 0, 0, 0});
}

// The kind of the token at hand.
int SyntaxParser::token() {
  if (at_ == tree_->tokens.size()) scanner_.next();
  return tree_->tokens[at_].kind;
}

void SyntaxParser::report(SyntaxFault fault, uint32_t token, int missing) {
  tree_->errors.push_back(
      {fault, static_cast<uint8_t>(missing), token, token, SYNTAX_NONE, {}});
}

void SyntaxParser::push(int state, unsigned children, uint32_t first_token,
                        uint32_t first_node) {
  stack_.push_back({static_cast<uint16_t>(state),
                    static_cast<uint16_t>(children), first_token, first_node});
  if (stack_.size() > COMPILER_STACK && !too_deep_) [[unlikely]] {
    too_deep_ = true;
    report(SyntaxFault::TOO_DEEP,
           std::min<uint32_t>(at_,
                              static_cast<uint32_t>(tree_->tokens.size()) - 1));
  }
}

void SyntaxParser::shift(int state) {
  periods_[0].counts.push_back(0);
  push(state, 1, at_, static_cast<uint32_t>(tree_->nodes.size()));
  at_++;
}

// Until finish() the field `end` is the number of nodes of the subtree.
void SyntaxParser::add_node(int symbol, int rule, uint32_t first_token,
                            uint32_t first_node) {
  const auto number = static_cast<uint32_t>(tree_->nodes.size());
  tree_->nodes.push_back({static_cast<uint16_t>(symbol),
                          static_cast<uint16_t>(rule), first_token, at_,
                          number - first_node + 1, SYNTAX_NONE});
}

void SyntaxParser::reduce(int rule) {
  const int length = G.length[rule];
  const int symbol = G.lhs[rule];
  const Leaves leaves = RULES.leaves[rule];
  Period& period = periods_[0];
  period.counts.push_back(static_cast<uint8_t>(length));
  if (length == 1) {
    // Its child takes its place.
    SyntaxEntry& top = stack_.back();
    period.saved.push_back(top);
    if (leaves == Leaves::ALWAYS &&
        !(symbol == SYMBOL_statement &&
          tree_->tokens[at_ - 1].kind == TOKEN_SEMICOLON)) {
      add_node(symbol, rule, top.first_token, top.first_node);
      top.children = 1;
    }
    const int below = stack_[stack_.size() - 2].state;
    top.state = static_cast<uint16_t>(G.after(below, symbol));
    return;
  }
  if (length == 0) {
    const int next = G.after(state(), symbol);
    push(next, 0, at_, static_cast<uint32_t>(tree_->nodes.size()));
    if (leaves == Leaves::SPECIAL) reduce_special(rule);
    return;
  }
  const size_t first = stack_.size() - static_cast<size_t>(length);
  unsigned children = 0;
  for (size_t i = first; i < stack_.size(); i++) {
    children += stack_[i].children;
    period.saved.push_back(stack_[i]);
  }
  children = std::min(children, 2U);
  SyntaxEntry& entry = stack_[first];
  if (leaves != Leaves::NOTHING && (children > 1 || leaves == Leaves::ALWAYS)) {
    add_node(symbol, rule, entry.first_token, entry.first_node);
    children = 1;
  }
  entry.children = static_cast<uint16_t>(children);
  entry.state = static_cast<uint16_t>(G.after(stack_[first - 1].state, symbol));
  stack_.resize(first + 1);
  if (leaves == Leaves::SPECIAL) reduce_special(rule);
}

// Rules with a consequence. The symbol is on top of the stack.
void SyntaxParser::reduce_special(int rule) {
  const auto check = [&](SyntaxForm form) {
    if (tree_->form == form || wrong_form_) return;
    wrong_form_ = true;
    report(SyntaxFault::FORM, static_cast<uint32_t>(tree_->tokens.size()) - 1);
  };
  switch (G.lhs[rule]) {
    case SYMBOL_include:
      if (at_ == tree_->tokens.size() && follow_includes_ &&
          stack_.size() > fragment_depth_)
        scanner_.include(at_ - 2);
      return;
    case SYMBOL_expression_check:
    case SYMBOL_handler_check: return check(SyntaxForm::AUTO);
    case SYMBOL_mask_check: return check(SyntaxForm::MASK);
    default:
      // Behind the header of a program or module.
      if (stack_.size() == 5 && tree_->form == SyntaxForm::MASK &&
          (symbol_at(1) == SYMBOL_PROGRAM || symbol_at(1) == SYMBOL_MODULE))
        check(SyntaxForm::PROGRAM);
  }
}

// A fragment is parsed as if it was included where the SUBs of a program are.
// The tokens in front of it are not part of the tree.
void SyntaxParser::enter_fragment() {
  static constexpr int BEFORE[] = {TOKEN_PROGRAM,   TOKEN_IDENT,
                                   TOKEN_SEMICOLON, TOKEN_INCLUDE,
                                   TOKEN_SCONST,    TOKEN_SEMICOLON};
  fragment_depth_ = SIZE_MAX;
  for (const int next : BEFORE) {
    for (;;) {
      const auto step = G.step(state(), next);
      if (step.kind == McGrammarTables::Step::SHIFT) {
        push(step.number, 0, 0, 0);
        break;
      }
      reduce(step.number);
    }
  }
  while (G.reduces_at_once(state())) reduce(G.defact[state()]);
  fragment_depth_ = stack_.size();
}

bool SyntaxParser::is_whole_fragment() const {
  return stack_.size() == fragment_depth_ &&
         G.symbol[state()] == SYMBOL_sub_section;
}

void SyntaxParser::begin_period() {
  std::swap(periods_[0], periods_[1]);
  Period& period = periods_[0];
  period.token = at_;
  period.nodes = static_cast<uint32_t>(tree_->nodes.size());
  period.saved.clear();
  period.counts.clear();
}

void SyntaxParser::run() {
  if (tree_->form == SyntaxForm::AUTO) tree_->form = FormOf(token(), true);
  if (tree_->form == SyntaxForm::AUTO) tree_->form = FindForm(tree_->files[0]);
  if (tree_->form == SyntaxForm::FRAGMENT) enter_fragment();
  for (;;) {
    const int now = state();
    if (G.reduces_at_once(now)) {
      reduce(G.defact[now]);
      continue;
    }
    const int next = token();
    if (periods_[0].token != at_) begin_period();
    if (next == TOKEN_END_OF_INPUT && fragment_depth_ > 0 &&
        is_whole_fragment())
      break;
    const auto step = G.step(now, next);
    if (step.kind == McGrammarTables::Step::REDUCE) {
      reduce(step.number);
    } else if (step.kind == McGrammarTables::Step::ERROR) {
      if (!recover()) break;
    } else if (next == TOKEN_END_OF_INPUT) {
      break;
    } else {
      shift(step.number);
    }
  }
  finish();
}

// Puts the root on top and brings the nodes into their final order, in their
// place. A node that is number i with parents last, has s nodes in its subtree
// and d above it, is number i - s + 1 + d with parents first. Until the nodes
// are there, their field `parent` holds that number.
void SyntaxParser::finish() {
  at_ = static_cast<uint32_t>(tree_->tokens.size()) - 1;
  add_node(SYMBOL_input, 0, 0, 0);
  std::vector<SyntaxNode>& nodes = tree_->nodes;
  const auto count = static_cast<uint32_t>(nodes.size());
  std::vector<uint32_t>
      open;  // first nodes of the subtrees round a node, then the nodes
  for (uint32_t i = count; i-- > 0;) {
    const uint32_t first = i - nodes[i].end + 1;
    while (!open.empty() && open.back() > i) open.pop_back();
    nodes[i].parent = first + static_cast<uint32_t>(open.size());
    open.push_back(first);
  }
  for (uint32_t i = 0; i < count; i++)
    while (nodes[i].parent != i) std::swap(nodes[i], nodes[nodes[i].parent]);
  open.clear();
  for (uint32_t i = 0; i < count; i++) {
    while (!open.empty() && nodes[open.back()].end <= i) open.pop_back();
    nodes[i].parent = open.empty() ? SYNTAX_NONE : open.back();
    nodes[i].end += i;
    open.push_back(i);
  }
  std::stable_sort(tree_->errors.begin(), tree_->errors.end(),
                   [](const SyntaxError& a, const SyntaxError& b) {
                     return a.token < b.token;
                   });
}

SyntaxTree SyntaxParse(std::string name, std::string text,
                       const SyntaxOptions& options) {
  SyntaxTree tree;
  tree.form = options.form;
  MakeRoom(text.size(), &tree.tokens);
  MakeRoom(text.size(), &tree.nodes);
  tree.files.push_back({std::move(name), std::move(text)});
  McSrcFiles system;
  SyntaxOptions chosen = options;
  if (chosen.files == nullptr) chosen.files = &system;
  SyntaxParser(&tree, chosen).run();
  return tree;
}
