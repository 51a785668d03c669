// Builders of syntax trees: one call per reduced rule of the grammar.
//
// Nodes come from the pool of the current program (mc_compile.program). Every
// builder sets its result to none first, takes the trees handed to it, and
// returns 0 or a code; when it fails it has released them, with all their
// siblings and children. An operand that is none, after an undefined name, ends
// the child list of the new node: the operands behind it are released.
//
//   RC_OPERAND_LINKED  an operand already has a sibling; an assignment lacks
//                      its target or value
//   RC_NO_NODE         no current program, or no node to be had
//   RC_BAD_OPERAND     the target is not VAR, EXTERN or EXTIND
//   RC_NO_VARIABLE, RC_NOT_FOUND   variables.h
//   RC_NO_MEMORY
#pragma once

#include <cstdint>

#include "elut/model/node.h"
#include "elut/model/program.h"
#include "elut/syntax/lexer.h"

// A new node of kind EMPTY without links, or none.
[[nodiscard]] McNodeRef McNodeNew();

// Releases the list that begins at `*slot`, with all children, and clears the
// slot. Does nothing when no program is current.
[[gnu::cold]] void McTreeFree(McNodeRef* slot);

// Append a node to a list, or to the children of a node, whose last child is
// `*last`. None adds nothing.
void McNodeAppendSibling(McNodeList* list, McNodeRef node);
void McNodeAppendChild(McNodeRef parent, McNodeRef* last, McNodeRef node);

// Expressions.
[[nodiscard]] int McNodeVar(McName* name, McNodeRef* out, McNodeRef subscripts);
[[nodiscard]] int McNodeRefVar(McName* name, McNodeRef* out);
[[nodiscard]] int McNodeInt(McNodeRef* out, int32_t value);
[[nodiscard]] int McNodeReal(McNodeRef* out, double value);
[[nodiscard]] int McNodeString(McNodeRef* out, const char* text,
                               uint32_t length);
[[nodiscard]] int McNodeFunc(McNodeRef* out, uint16_t function,
                             McNodeRef arguments);
[[nodiscard]] int McNodeBinary(uint8_t op, McNodeRef* out, McNodeRef left,
                               McNodeRef right);
[[nodiscard]] int McNodeTest(uint8_t op, McNodeRef* out, McNodeRef operand);
[[nodiscard]] int McNodeUnary(uint8_t op, McNodeRef* out, McNodeRef operand);
[[nodiscard]] int McNodeExtern(const char* name, McNodeRef* out);
[[nodiscard]] int McNodeExtInd(char sigil, McNodeRef* out,
                               McNodeRef expression);

// Appends the coordinate `member` to the VAR node `variable`, whose last child
// is `*last`. RC_INVALID when the variable is not in a table,
// RC_NO_REFERENCE, RC_MEMBER_STORAGE, RC_SCALAR_MEMBER, RC_MEMBER_TYPE or
// RC_NO_MEMBER when it has no such member.
[[nodiscard]] int McNodeRefer(McNodeRef variable, McNodeRef* last,
                              const char* member, McNodeRef subscripts);

// Statements.
[[nodiscard]] int McNodeAssign(uint8_t op, McNodeRef* out, McNodeRef target,
                               McNodeRef value);
[[nodiscard]] int McNodeCall(McNodeRef* out, McName* name, McCallKind kind,
                             McNodeRef arguments);
[[nodiscard]] int McNodeIf(McNodeRef* out, McNodeRef condition,
                           McNodeRef then_part, McNodeRef else_part);
[[nodiscard]] int McNodeWhile(McNodeRef* out, McNodeRef condition,
                              McNodeRef body);
[[nodiscard]] int McNodeSelect(McNodeRef* out, McNodeRef selector,
                               McNodeRef cases);
[[nodiscard]] int McNodeCase(McNodeRef* out, McNodeRef body, McNodeRef tests);
[[nodiscard]] int McNodeDim(McNodeRef* out, McNodeRef last, McNodeRef first);
[[nodiscard]] int McNodeTrace(McNodeRef* out, McNodeRef statement,
                              uint32_t line);

// ALLOC, FREE and PRINT nodes over a list, which may be none.
[[nodiscard]] int McNodeAllocate(McNodeRef* out, McNodeRef list);
[[nodiscard]] int McNodeRelease(McNodeRef* out, McNodeRef list);
[[nodiscard]] int McNodePrint(McNodeRef* out, McNodeRef list);

// A node without payload and with at most one child.
[[nodiscard]] int McNodeMake(McNodeKind kind, McNodeRef* out, McNodeRef child);
