// A node is filled in one step when all that hangs in it is known.
#include "elut/compile/node_build.h"

#include <cstring>

#include "Cutil/codes.h"
#include "elut/compile/variables.h"

namespace {

McNode& Node(McFront* front, McNodeRef node) {
  return front->compile.program->nodes[node];
}

bool HasSibling(McFront* front, McNodeRef node) {
  return node != 0 && Node(front, node).sibling != 0;
}

// Takes a node and gives it its kind, its children and its payload. None
// without a program, or when there is no node to be had.
inline McNodeRef Make(McFront* front, McNodeKind kind, McNodeRef children,
                      uint32_t payload) {
  if (front->compile.program == nullptr) return 0;
  const McNodeRef made = front->compile.program->nodes.take();
  McNode node;
  node.kind = kind;
  node.child = children;
  node.sibling = 0;
  node.number = payload;
  Node(front, made) = node;
  return made;
}

// Makes a leaf.
inline int MakeLeaf(McFront* front, McNodeKind kind, uint32_t payload,
                    McNodeRef* out) {
  *out = Make(front, kind, 0, payload);
  return *out == 0 ? RC_NO_NODE : RC_OK;
}

// Makes a node over a list of children, or releases them.
inline int MakeOver(McFront* front, McNodeKind kind, uint32_t payload,
                    McNodeRef* out, McNodeRef children) {
  *out = Make(front, kind, children, payload);
  if (*out != 0) return RC_OK;
  McTreeFree(front, &children);
  return RC_NO_NODE;
}

// Makes a node over an operand and the list of what follows it, or releases
// both. An operand that is none ends the children: the rest is released.
inline int MakeOverTwo(McFront* front, McNodeKind kind, uint32_t payload,
                       McNodeRef* out, McNodeRef first, McNodeRef rest) {
  *out = 0;
  int code = RC_OPERAND_LINKED;
  if (!HasSibling(front, first)) {
    *out = Make(front, kind, first, payload);
    code = *out == 0 ? RC_NO_NODE : RC_OK;
  }
  if (code == RC_OK && first != 0) {
    Node(front, first).sibling = rest;
    return RC_OK;
  }
  McTreeFree(front, &rest);
  if (code != RC_OK) McTreeFree(front, &first);
  return code;
}

// The payload of a VAR or REFVAR node.
uint32_t VariablePayload(McScope scope, uint16_t index) {
  McNode node;
  node.variable = {scope, index};
  return node.number;
}

// A variable that has members, or the code that says why it has not.
int MemberVariable(McFront* front, McNodeRef reference) {
  const McNode& node = Node(front, reference);
  const McVarTable* table = McScopeTable(front, node.variable.scope);
  if (table == nullptr || node.variable.index >= table->entries.size())
    return RC_INVALID;
  const McVar& variable = table->entries[node.variable.index];
  // What a parameter refers to is known at run time only.
  if (variable.storage == McStorage::REF) return RC_NO_REFERENCE;
  if (variable.storage == McStorage::DIM) return RC_MEMBER_STORAGE;
  switch (variable.type) {
    case McValueType::INTEGER:
    case McValueType::REAL:
    case McValueType::STRING: return RC_SCALAR_MEMBER;
    case McValueType::POINT: return RC_OK;
    case McValueType::VOID: break;
  }
  return RC_MEMBER_TYPE;
}

}  // namespace

McNodeRef McNodeNew(McFront* front) {
  return Make(front, McNodeKind::EMPTY, 0, 0);
}

// Works off a list of what is to be released; the children of a node are put in
// front of it, so that nothing is left on the native stack.
void McTreeFree(McFront* front, McNodeRef* slot) {
  McNodeRef node = *slot;
  *slot = 0;
  if (front->compile.program == nullptr) return;
  McNodePool& nodes = front->compile.program->nodes;
  while (node != 0) {
    McNodeRef next = nodes[node].sibling;
    const McNodeRef child = nodes[node].child;
    if (child != 0) {
      McNodeRef last = child;
      while (nodes[last].sibling != 0) last = nodes[last].sibling;
      nodes[last].sibling = next;
      next = child;
    }
    nodes.give(node);
    node = next;
  }
}

void McNodeAppendSibling(McFront* front, McNodeList* list, McNodeRef node) {
  if (node == 0) return;
  if (list->first == 0)
    list->first = node;
  else
    Node(front, list->last).sibling = node;
  list->last = node;
}

void McNodeAppendChild(McFront* front, McNodeRef parent, McNodeRef* last,
                       McNodeRef node) {
  if (node == 0) return;
  if (*last == 0)
    Node(front, parent).child = node;
  else
    Node(front, *last).sibling = node;
  *last = node;
}

int McNodeVar(McFront* front, McName* name, McNodeRef* out,
              McNodeRef subscripts) {
  McScope scope;
  uint16_t index;
  const int code = McVarFind(front, name, &scope, &index);
  if (code == RC_OK)
    return MakeOver(front, McNodeKind::VAR, VariablePayload(scope, index), out,
                    subscripts);
  *out = 0;
  McTreeFree(front, &subscripts);
  return code;
}

int McNodeRefVar(McFront* front, McName* name, McNodeRef* out) {
  const int code = McNodeVar(front, name, out, 0);
  if (code == RC_OK) Node(front, *out).kind = McNodeKind::REFVAR;
  return code;
}

int McNodeInt(McFront* front, McNodeRef* out, int32_t value) {
  return MakeLeaf(front, McNodeKind::INT, static_cast<uint32_t>(value), out);
}

int McNodeReal(McFront* front, McNodeRef* out, double value) {
  *out = 0;
  if (front->compile.program == nullptr) return RC_NO_NODE;
  return MakeLeaf(front, McNodeKind::REAL,
                  front->compile.program->constants.add_real(value), out);
}

int McNodeString(McFront* front, McNodeRef* out, const char* text,
                 uint32_t length) {
  *out = 0;
  if (front->compile.program == nullptr) return RC_NO_NODE;
  McProgram* program = front->compile.program;
  return MakeLeaf(front, McNodeKind::STRING,
                  program->constants.add_string(&program->arena, text, length),
                  out);
}

int McNodeFunc(McFront* front, McNodeRef* out, uint16_t function,
               McNodeRef arguments) {
  return MakeOver(front, McNodeKind::FUNC, function, out, arguments);
}

int McNodeBinary(McFront* front, uint8_t op, McNodeRef* out, McNodeRef left,
                 McNodeRef right) {
  return MakeOverTwo(front, McNodeKind::OPERA, op, out, left, right);
}

int McNodeTest(McFront* front, uint8_t op, McNodeRef* out, McNodeRef operand) {
  return MakeOverTwo(front, McNodeKind::OPERA, op, out, operand, 0);
}

int McNodeUnary(McFront* front, uint8_t op, McNodeRef* out, McNodeRef operand) {
  return MakeOver(front, McNodeKind::UNARY, op, out, operand);
}

int McNodeExtern(McFront* front, const char* name, McNodeRef* out) {
  *out = 0;
  if (front->compile.program == nullptr) return RC_NO_NODE;
  uint32_t slot;
  if (StringPoolAdd(&front->compile.program->strings, name, &slot) != RC_OK)
    throw std::bad_alloc();
  return MakeLeaf(front, McNodeKind::EXTERN, slot, out);
}

int McNodeExtInd(McFront* front, char sigil, McNodeRef* out,
                 McNodeRef expression) {
  return MakeOver(front, McNodeKind::EXTIND, static_cast<uint8_t>(sigil), out,
                  expression);
}

int McNodeRefer(McFront* front, McNodeRef variable, McNodeRef* last,
                const char* member, McNodeRef subscripts) {
  int code = variable == 0 ? RC_INVALID : MemberVariable(front, variable);
  // The whole name counts: XX is no member.
  if (code == RC_OK &&
      (member[0] < 'X' || member[0] > 'Z' || member[1] != '\0'))
    code = RC_NO_MEMBER;
  if (code != RC_OK) {
    McTreeFree(front, &subscripts);
    return code;
  }
  McNodeRef made;
  code = MakeOver(front, McNodeKind::REFER,
                  static_cast<uint32_t>(member[0] - 'X'), &made, subscripts);
  if (code == RC_OK) McNodeAppendChild(front, variable, last, made);
  return code;
}

int McNodeAssign(McFront* front, uint8_t op, McNodeRef* out, McNodeRef target,
                 McNodeRef value) {
  int code = RC_OK;
  if (target == 0 || value == 0 || HasSibling(front, target)) {
    code = RC_OPERAND_LINKED;
  } else {
    const McNodeKind kind = Node(front, target).kind;
    if (kind != McNodeKind::VAR && kind != McNodeKind::EXTERN &&
        kind != McNodeKind::EXTIND)
      code = RC_BAD_OPERAND;
  }
  if (code == RC_OK)
    return MakeOverTwo(front, McNodeKind::ASSIGN, op, out, target, value);
  *out = 0;
  McTreeFree(front, &target);
  McTreeFree(front, &value);
  return code;
}

int McNodeCall(McFront* front, McNodeRef* out, McName* name, McCallKind kind,
               McNodeRef arguments) {
  uint16_t index;
  const int code = front->compile.program == nullptr
                       ? RC_NO_NODE
                       : McCallOf(front, name, kind, &index);
  if (code == RC_OK)
    return MakeOver(front, McNodeKind::CALL, index, out, arguments);
  *out = 0;
  McTreeFree(front, &arguments);
  return code;
}

int McNodeIf(McFront* front, McNodeRef* out, McNodeRef condition,
             McNodeRef then_part, McNodeRef else_part) {
  // The two parts make one list; a missing or linked first one cannot.
  const bool linked = HasSibling(front, then_part);
  if (then_part != 0 && !linked)
    Node(front, then_part).sibling = else_part;
  else
    McTreeFree(front, &else_part);
  if (!linked)
    return MakeOverTwo(front, McNodeKind::IF, 0, out, condition, then_part);
  *out = 0;
  McTreeFree(front, &condition);
  McTreeFree(front, &then_part);
  return RC_OPERAND_LINKED;
}

int McNodeWhile(McFront* front, McNodeRef* out, McNodeRef condition,
                McNodeRef body) {
  return MakeOverTwo(front, McNodeKind::WHILE, 0, out, condition, body);
}

int McNodeSelect(McFront* front, McNodeRef* out, McNodeRef selector,
                 McNodeRef cases) {
  return MakeOverTwo(front, McNodeKind::SELECT, 0, out, selector, cases);
}

int McNodeCase(McFront* front, McNodeRef* out, McNodeRef body,
               McNodeRef tests) {
  return MakeOverTwo(front, McNodeKind::CASE, 0, out, body, tests);
}

int McNodeDim(McFront* front, McNodeRef* out, McNodeRef last, McNodeRef first) {
  return MakeOverTwo(front, McNodeKind::DIM, 0, out, last, first);
}

int McNodeTrace(McFront* front, McNodeRef* out, McNodeRef statement,
                uint32_t line) {
  *out = 0;
  if (statement == 0) return RC_NOT_FOUND;
  return MakeOver(front, McNodeKind::TRACE, line, out, statement);
}

int McNodeAllocate(McFront* front, McNodeRef* out, McNodeRef list) {
  return MakeOver(front, McNodeKind::ALLOC, 0, out, list);
}

int McNodeRelease(McFront* front, McNodeRef* out, McNodeRef list) {
  return MakeOver(front, McNodeKind::FREE, 0, out, list);
}

int McNodePrint(McFront* front, McNodeRef* out, McNodeRef list) {
  return MakeOver(front, McNodeKind::PRINT, 0, out, list);
}

int McNodeMake(McFront* front, McNodeKind kind, McNodeRef* out,
               McNodeRef child) {
  return MakeOverTwo(front, kind, 0, out, child, 0);
}
