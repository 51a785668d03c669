// The layout of a source: the same tokens and comments, with other white space
// between them. docs/formatting.md describes it.
#ifndef TOOLS_FORMAT_LAYOUT_H
#define TOOLS_FORMAT_LAYOUT_H

#include <string>

#include "tools/tree/syntax_tree.h"

struct FormatStyle {
  uint32_t indent = 2;  // columns per level
  uint32_t width = 79;  // columns of a line, where it can be broken
  // Lines of the text that are laid out, from 1; the others stay as they are.
  uint32_t first_line = 1;
  uint32_t last_line = UINT32_MAX;
};

// The text of the tree, laid out. Lines in error, what stands between the
// comments "format off" and "format on", gaps with stray characters, and what
// the compiler does not read stay as they are.
[[nodiscard]] std::string FormatLayout(const SyntaxTree& tree,
                                       const FormatStyle& style);

#endif
