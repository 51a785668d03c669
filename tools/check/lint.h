// What the compiler accepts, and somebody should look at all the same: what it
// drops without a word, and what is suspicious. All of it is found in the tree
// of a source without syntax errors and in its table of names.
#pragma once

#include <string>
#include <vector>

#include "tools/check/catalogs.h"
#include "tools/tree/syntax_names.h"
#include "tools/tree/syntax_tree.h"

// A finding by its tokens.
struct LintFinding {
  const char* rule;
  uint32_t first, last;  // tokens
  std::string message;
  std::string hint;
  uint32_t related = SYNTAX_NONE;  // token of another place
  std::string related_message;
  bool refused = false;  // the compiler refuses the source for it
};

struct LintResult {
  std::vector<LintFinding> findings;
  // Names whose declaration has no effect, and the finding that says so.
  std::vector<std::pair<std::string, size_t>> refused_names;
};

// What only others know.
struct LintQuestions {
  bool real_equality = false;  // that rule is on, which costs time
  uint32_t file = 0;           // of the tree, whose findings are asked for
  CheckCatalogs* catalogs = nullptr;  // nullptr: there is nobody to ask
};

LintResult Lint(const SyntaxTree& tree, const SyntaxNames& names,
                const LintQuestions& questions);
