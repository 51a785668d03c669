// That a layout has changed nothing but white space.
#ifndef TOOLS_FORMAT_PROOF_H
#define TOOLS_FORMAT_PROOF_H

#include "tools/tree/syntax_tree.h"

// Why `after` is not the same source as `before`: its tokens, its comments, or
// what the compiler makes of it. The empty text when it is the same. `files`
// opens included files; nullptr: those of the system.
[[nodiscard]] std::string FormatDifference(const SyntaxTree& before,
                                           const SyntaxTree& after,
                                           McSrcProvider* files);

#endif
