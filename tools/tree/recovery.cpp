// What the parser does at a token that fits nowhere.
#include "tools/tree/parse.h"

void SyntaxParser::recover() {
  report(SyntaxFault::SKIPPED, at_);
  const uint32_t first = at_;
  const auto node = static_cast<uint32_t>(tree_->nodes.size());
  while (token() != TOKEN_END_OF_INPUT) at_++;
  add_node(SYMBOL_YYerror, 0, first, node);
}
