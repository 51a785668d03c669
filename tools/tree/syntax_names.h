// What the names in a source mean.
//
// A name is looked up as the compiler does: in the routine that it stands in,
// among its variables, then its parameters, then its COMMON blocks in the order
// of their declaration; of two that are equal the first one counts. A routine
// sees nothing of another one. Routines are found in the whole file.
#ifndef TOOLS_TREE_SYNTAX_NAMES_H
#define TOOLS_TREE_SYNTAX_NAMES_H

#include "elut/model/program.h"
#include "tools/tree/syntax_tree.h"

enum class SyntaxMeaning : uint8_t {
  PROGRAM,       // the name of the program or module
  SUB,           // a SUB of the file
  PARAMETER,     // of a SUB
  LOCAL,         // a variable of a SUB or of the main program
  COMMON_BLOCK,  // the name of a COMMON block of a routine
  COMMON,        // a variable in one
  IMPORT,        // a name that IMPORT brings in
  ROUTINE,       // called, though neither a SUB of the file nor imported
  CFUNCTION,     // called by CFN, and not imported
  EXTERNAL,      // %name, $name, &name, @name
  UNDECLARED,    // used as a variable, and not declared
};

// A routine: the main program, a SUB, or the variables of a MODULE block.
struct SyntaxScope {
  // The SUB, the program or module, or, in a mask, the handler or MODULE block.
  uint32_t node;
  uint32_t program;  // number of the program that it belongs to, from 0: each
                     // EXECUTE handler and MODULE block of a mask is one
  uint32_t name;     // symbol of the SUB; SYNTAX_NONE: no SUB
};

struct SyntaxSymbol {
  SyntaxMeaning meaning;
  McValueType type;  // of a variable
  // Selector and number of a variable, as nodes of the compiled program name
  // it.
  McScope selector;
  uint16_t index;
  uint8_t dimensions;   // as declared; 0: a scalar
  McStorage storage;    // of a variable
  bool refused;         // the declaration has no effect: a bound fails
  uint32_t scope;       // of variables and COMMON blocks; else SYNTAX_NONE
  uint32_t program;     // as in SyntaxScope
  uint32_t block;       // of a COMMON member: symbol of its block
  uint32_t definition;  // token; SYNTAX_NONE: none
  uint32_t shadowed;    // equal symbol of the routine that this one hides, or
                        // that hides this one; SYNTAX_NONE: none
};

enum class SyntaxRole : uint8_t {
  DEFINE,
  READ,
  WRITE,     // target of "="
  UPDATE,    // target of "+=" and the like
  ALLOCATE,  // in ALLOCATE or FREE
  WHOLE,     // NAME(*)
  CALL,
};

struct SyntaxUse {
  uint32_t token;
  uint32_t symbol;
  SyntaxRole role;
};

struct SyntaxNames {
  std::vector<SyntaxScope> scopes;
  std::vector<SyntaxSymbol> symbols;
  std::vector<SyntaxUse> uses;  // definitions among them, in token order

  // The use at a token, or nullptr.
  const SyntaxUse* at(uint32_t token) const;
};

[[nodiscard]] SyntaxNames SyntaxResolve(const SyntaxTree& tree);

#endif
