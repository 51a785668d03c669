// Builders of syntax trees: one call per reduced rule of the grammar.
//
// Trees lie in the array of the current program (node.h), where the one under
// construction is always the last. So an expression or a list of them is known
// by the number of its first node and ends with the array; builders take those
// numbers, add a node over what they name, and hand the first number on. What
// begins at the end of the array is none, as after an undefined name.
//
// An operand that is none ends the children of the new node: the operands after
// it are dropped. An element that is none adds nothing to its list.
//
// Without a current program the trees of a scratch program are built and
// dropped with it.
//
// They throw bad_alloc.
#pragma once

#include "elut/compile/front.h"

// A variable with its subscripts and coordinates, before its node is made: that
// comes after them.
struct McReference {
  McNodeRef first;
  uint32_t variable;  // payload of the node; 0: none
};

// Statements one after the other.
struct McStatements {
  McNodeRef first;
  bool is_block;  // not a single statement
};

inline McNodes& McNodesOf(McFront* front) {
  return *front->compile.nodes;
}

// What begins at the end of the array.
inline McNodeRef McNodeNone(McFront* front) {
  return McNodesOf(front).count();
}
inline bool McIsNone(McFront* front, McNodeRef first) {
  return first == McNodesOf(front).count();
}

inline McNodeRef McNodeLeaf(McFront* front, McNodeKind kind, uint32_t payload) {
  const McNodeRef first = McNodesOf(front).count();
  McNodesOf(front).add_leaf(kind, payload);
  return first;
}

// A node over a list of children, which may be none.
inline McNodeRef McNodeOver(McFront* front, McNodeKind kind, uint32_t payload,
                            McNodeRef children) {
  McNodesOf(front).add_over(kind, payload, children);
  return children;
}

// A node over an operand and what follows it.
inline McNodeRef McNodeOverTwo(McFront* front, McNodeKind kind,
                               uint32_t payload, McNodeRef operand,
                               McNodeRef rest) {
  if (operand == rest) McNodesOf(front).cut(operand);
  return McNodeOver(front, kind, payload, operand);
}

// Expressions.
inline McNodeRef McNodeInt(McFront* front, int32_t value) {
  return McNodeLeaf(front, McNodeKind::INT, static_cast<uint32_t>(value));
}
inline McNodeRef McNodeBinary(McFront* front, uint8_t op, McNodeRef left,
                              McNodeRef right) {
  return McNodeOverTwo(front, McNodeKind::OPERA, McPayloadOfOperator(op), left,
                       right);
}
inline McNodeRef McNodeTest(McFront* front, uint8_t op, McNodeRef operand) {
  return McNodeOver(front, McNodeKind::OPERA, McPayloadOfOperator(op), operand);
}
inline McNodeRef McNodeUnary(McFront* front, uint8_t op, McNodeRef operand) {
  return McNodeOver(front, McNodeKind::UNARY, McPayloadOfOperator(op), operand);
}
inline McNodeRef McNodeFunc(McFront* front, int32_t function,
                            McNodeRef arguments) {
  const auto number = static_cast<uint16_t>(function);
  return McNodeOver(front, McNodeKind::FUNC, McPayloadOf(number, number),
                    arguments);
}
[[nodiscard]] McNodeRef McNodeReal(McFront* front, double value);
// Takes the text: one that the program has already is released.
[[nodiscard]] McNodeRef McNodeString(McFront* front, McTokenText* text);
[[nodiscard]] McNodeRef McNodeExtern(McFront* front, const char* name);
[[nodiscard]] inline McNodeRef McNodeExtInd(McFront* front, uint8_t sigil,
                                            McNodeRef expression) {
  return McNodeOver(front, McNodeKind::EXTIND, McPayloadOfOperator(sigil),
                    expression);
}

// The node of a reference that is complete.
inline McNodeRef McNodeVar(McFront* front, const McReference& reference) {
  if (reference.variable != 0)
    McNodesOf(front).add_over(McNodeKind::VAR, reference.variable,
                              reference.first);
  return reference.first;
}

// Adds the coordinate `member` to a reference. Subscripts of a coordinate that
// there is not are dropped: RC_INVALID when the variable is not in a table,
// RC_NO_REFERENCE, RC_MEMBER_STORAGE, RC_SCALAR_MEMBER, RC_MEMBER_TYPE or
// RC_NO_MEMBER when it has no such member.
int McNodeRefer(McFront* front, const McReference& reference,
                const char* member, McNodeRef subscripts);

// NAME(*), or none when the name is not declared.
[[nodiscard]] McNodeRef McNodeRefVar(McFront* front, const McName* name);

// Statements. An assignment without target or value is none.
[[nodiscard]] inline McNodeRef McNodeAssign(McFront* front, uint8_t op,
                                            McNodeRef target, McNodeRef value) {
  if (target == value || McIsNone(front, value)) {
    McNodesOf(front).cut(target);
    return target;
  }
  return McNodeOver(front, McNodeKind::ASSIGN, McPayloadOfOperator(op), target);
}

// The call of a routine; none, with a report, when the table of calls is full.
[[nodiscard]] McNodeRef McNodeCall(McFront* front, McName* name,
                                   McCallKind kind, McNodeRef arguments);

// One branch of SELECT. Its statements stand after its labels in the source,
// and in front of them in the tree.
[[nodiscard]] McNodeRef McNodeCase(McFront* front, McNodeRef labels,
                                   McNodeRef body);

// The bounds of a dimension. The upper one stands first in the tree; `low` is
// `high` when only that is given.
[[nodiscard]] McNodeRef McNodeDim(McFront* front, McNodeRef low,
                                  McNodeRef high);

// A statement with its line; none stays none.
inline void McNodeTrace(McFront* front, McNodeRef statement, uint32_t line) {
  if (!McIsNone(front, statement))
    McNodesOf(front).add_over(McNodeKind::TRACE, line, statement);
}

// Ends a list of statements: a single one stays as it is, others become a
// BLOCK.
inline McNodeRef McNodeStatements(McFront* front,
                                  const McStatements& statements) {
  if (statements.is_block)
    McNodesOf(front).add_over(McNodeKind::BLOCK, 0, statements.first);
  return statements.first;
}
