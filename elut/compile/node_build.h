// Builders of syntax trees: one call per reduced rule of the grammar.
//
// Nodes come from the pool of the current program. Every
// builder sets its result to none first, takes the trees handed to it, and
// returns 0 or a code; when it fails it has released them, with all their
// siblings and children. An operand that is none, after an undefined name, ends
// the child list of the new node: the operands behind it are released.
//
//   RC_OPERAND_LINKED  an operand already has a sibling; an assignment lacks
//                      its target or value
//   RC_NO_NODE         no program is current
//   RC_BAD_OPERAND     the target is not VAR, EXTERN or EXTIND
//   RC_NO_VARIABLE, RC_NOT_FOUND, RC_TABLE_FULL   variables.h
//
// They throw bad_alloc.
#pragma once

#include <cstdint>

#include "elut/compile/front.h"

// A new node of kind EMPTY without links, or none.
[[nodiscard]] McNodeRef McNodeNew(McFront* front);

// Releases the list that begins at `*slot`, with all children, and clears the
// slot. Does nothing when no program is current.
[[gnu::cold]] void McTreeFree(McFront* front, McNodeRef* slot);

// Append a node to a list, or to the children of a node, whose last child is
// `*last`. None adds nothing.
void McNodeAppendSibling(McFront* front, McNodeList* list, McNodeRef node);
void McNodeAppendChild(McFront* front, McNodeRef parent, McNodeRef* last,
                       McNodeRef node);

// Expressions.
[[nodiscard]] int McNodeVar(McFront* front, McName* name, McNodeRef* out,
                            McNodeRef subscripts);
[[nodiscard]] int McNodeRefVar(McFront* front, McName* name, McNodeRef* out);
[[nodiscard]] int McNodeInt(McFront* front, McNodeRef* out, int32_t value);
[[nodiscard]] int McNodeReal(McFront* front, McNodeRef* out, double value);
[[nodiscard]] int McNodeString(McFront* front, McNodeRef* out, const char* text,
                               uint32_t length);
[[nodiscard]] int McNodeFunc(McFront* front, McNodeRef* out, uint16_t function,
                             McNodeRef arguments);
[[nodiscard]] int McNodeBinary(McFront* front, uint8_t op, McNodeRef* out,
                               McNodeRef left, McNodeRef right);
[[nodiscard]] int McNodeTest(McFront* front, uint8_t op, McNodeRef* out,
                             McNodeRef operand);
[[nodiscard]] int McNodeUnary(McFront* front, uint8_t op, McNodeRef* out,
                              McNodeRef operand);
[[nodiscard]] int McNodeExtern(McFront* front, const char* name,
                               McNodeRef* out);
[[nodiscard]] int McNodeExtInd(McFront* front, char sigil, McNodeRef* out,
                               McNodeRef expression);

// Appends the coordinate `member` to the VAR node `variable`, whose last child
// is `*last`. RC_INVALID when the variable is not in a table,
// RC_NO_REFERENCE, RC_MEMBER_STORAGE, RC_SCALAR_MEMBER, RC_MEMBER_TYPE or
// RC_NO_MEMBER when it has no such member.
[[nodiscard]] int McNodeRefer(McFront* front, McNodeRef variable,
                              McNodeRef* last, const char* member,
                              McNodeRef subscripts);

// Statements.
[[nodiscard]] int McNodeAssign(McFront* front, uint8_t op, McNodeRef* out,
                               McNodeRef target, McNodeRef value);
[[nodiscard]] int McNodeCall(McFront* front, McNodeRef* out, McName* name,
                             McCallKind kind, McNodeRef arguments);
[[nodiscard]] int McNodeIf(McFront* front, McNodeRef* out, McNodeRef condition,
                           McNodeRef then_part, McNodeRef else_part);
[[nodiscard]] int McNodeWhile(McFront* front, McNodeRef* out,
                              McNodeRef condition, McNodeRef body);
[[nodiscard]] int McNodeSelect(McFront* front, McNodeRef* out,
                               McNodeRef selector, McNodeRef cases);
[[nodiscard]] int McNodeCase(McFront* front, McNodeRef* out, McNodeRef body,
                             McNodeRef tests);
[[nodiscard]] int McNodeDim(McFront* front, McNodeRef* out, McNodeRef last,
                            McNodeRef first);
[[nodiscard]] int McNodeTrace(McFront* front, McNodeRef* out,
                              McNodeRef statement, uint32_t line);

// ALLOC, FREE and PRINT nodes over a list, which may be none.
[[nodiscard]] int McNodeAllocate(McFront* front, McNodeRef* out,
                                 McNodeRef list);
[[nodiscard]] int McNodeRelease(McFront* front, McNodeRef* out, McNodeRef list);
[[nodiscard]] int McNodePrint(McFront* front, McNodeRef* out, McNodeRef list);

// A node without payload and with at most one child.
[[nodiscard]] int McNodeMake(McFront* front, McNodeKind kind, McNodeRef* out,
                             McNodeRef child);
