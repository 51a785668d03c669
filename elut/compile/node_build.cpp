#include "elut/compile/node_build.h"

#include <cstring>

#include "Cutil/codes.h"
#include "elut/compile/variables.h"

namespace {

McNode& Node(McNodeRef node) {
  return mc_compile.program->nodes[node];
}

bool HasSibling(McNodeRef node) {
  return node != 0 && Node(node).sibling != 0;
}

// Takes a node and gives it its kind, its children and its payload. None
// without a program, or when there is no node to be had.
inline McNodeRef Make(McNodeKind kind, McNodeRef children, uint32_t payload) {
  if (mc_compile.program == nullptr) return 0;
  const McNodeRef made = mc_compile.program->nodes.take();
  if (made == 0) return 0;
  McNode node;
  node.kind = kind;
  node.child = children;
  node.sibling = 0;
  node.number = payload;
  Node(made) = node;
  return made;
}

// Makes a leaf.
inline int MakeLeaf(McNodeKind kind, uint32_t payload, McNodeRef* out) {
  *out = Make(kind, 0, payload);
  return *out == 0 ? RC_NO_NODE : RC_OK;
}

// Makes a node over a list of children, or releases them.
inline int MakeOver(McNodeKind kind, uint32_t payload, McNodeRef* out,
                    McNodeRef children) {
  *out = Make(kind, children, payload);
  if (*out != 0) return RC_OK;
  McTreeFree(&children);
  return RC_NO_NODE;
}

// Makes a node over an operand and the list of what follows it, or releases
// both. An operand that is none ends the children: the rest is released.
inline int MakeOverTwo(McNodeKind kind, uint32_t payload, McNodeRef* out,
                       McNodeRef first, McNodeRef rest) {
  *out = 0;
  int code = RC_OPERAND_LINKED;
  if (!HasSibling(first)) {
    *out = Make(kind, first, payload);
    code = *out == 0 ? RC_NO_NODE : RC_OK;
  }
  if (code == RC_OK && first != 0) {
    Node(first).sibling = rest;
    return RC_OK;
  }
  McTreeFree(&rest);
  if (code != RC_OK) McTreeFree(&first);
  return code;
}

// The payload of a VAR or REFVAR node.
uint32_t VariablePayload(McScope scope, uint16_t index) {
  McNode node;
  node.variable = {scope, index};
  return node.number;
}

// A variable that has members, or the code that says why it has not.
int MemberVariable(McNodeRef reference) {
  const McNode& node = Node(reference);
  const McVarTable* table = McScopeTable(node.variable.scope);
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

McNodeRef McNodeNew() {
  return Make(McNodeKind::EMPTY, 0, 0);
}

// Works off a list of what is to be released; the children of a node are put in
// front of it, so that nothing is left on the native stack.
void McTreeFree(McNodeRef* slot) {
  McNodeRef node = *slot;
  *slot = 0;
  if (mc_compile.program == nullptr) return;
  McNodePool& nodes = mc_compile.program->nodes;
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

void McNodeAppendSibling(McNodeList* list, McNodeRef node) {
  if (node == 0) return;
  if (list->first == 0)
    list->first = node;
  else
    Node(list->last).sibling = node;
  list->last = node;
}

void McNodeAppendChild(McNodeRef parent, McNodeRef* last, McNodeRef node) {
  if (node == 0) return;
  if (*last == 0)
    Node(parent).child = node;
  else
    Node(*last).sibling = node;
  *last = node;
}

int McNodeVar(McName* name, McNodeRef* out, McNodeRef subscripts) {
  McScope scope;
  uint16_t index;
  const int code = McVarFind(name, &scope, &index);
  if (code == RC_OK)
    return MakeOver(McNodeKind::VAR, VariablePayload(scope, index), out,
                    subscripts);
  *out = 0;
  McTreeFree(&subscripts);
  return code;
}

int McNodeRefVar(McName* name, McNodeRef* out) {
  const int code = McNodeVar(name, out, 0);
  if (code == RC_OK) Node(*out).kind = McNodeKind::REFVAR;
  return code;
}

int McNodeInt(McNodeRef* out, int32_t value) {
  return MakeLeaf(McNodeKind::INT, static_cast<uint32_t>(value), out);
}

int McNodeReal(McNodeRef* out, double value) {
  *out = 0;
  if (mc_compile.program == nullptr) return RC_NO_NODE;
  uint32_t index;
  const int code = mc_compile.program->constants.add_real(value, &index);
  return code != RC_OK ? code : MakeLeaf(McNodeKind::REAL, index, out);
}

int McNodeString(McNodeRef* out, const char* text, uint32_t length) {
  *out = 0;
  if (mc_compile.program == nullptr) return RC_NO_NODE;
  uint32_t index;
  const int code = mc_compile.program->constants.add_string(
      &mc_compile.program->arena, text, length, &index);
  return code != RC_OK ? code : MakeLeaf(McNodeKind::STRING, index, out);
}

int McNodeFunc(McNodeRef* out, uint16_t function, McNodeRef arguments) {
  return MakeOver(McNodeKind::FUNC, function, out, arguments);
}

int McNodeBinary(uint8_t op, McNodeRef* out, McNodeRef left, McNodeRef right) {
  return MakeOverTwo(McNodeKind::OPERA, op, out, left, right);
}

int McNodeTest(uint8_t op, McNodeRef* out, McNodeRef operand) {
  return MakeOverTwo(McNodeKind::OPERA, op, out, operand, 0);
}

int McNodeUnary(uint8_t op, McNodeRef* out, McNodeRef operand) {
  return MakeOver(McNodeKind::UNARY, op, out, operand);
}

int McNodeExtern(const char* name, McNodeRef* out) {
  *out = 0;
  if (mc_compile.program == nullptr) return RC_NO_NODE;
  uint32_t slot;
  const int code = StringPoolAdd(&mc_compile.program->strings, name, &slot);
  return code != RC_OK ? code : MakeLeaf(McNodeKind::EXTERN, slot, out);
}

int McNodeExtInd(char sigil, McNodeRef* out, McNodeRef expression) {
  return MakeOver(McNodeKind::EXTIND, static_cast<uint8_t>(sigil), out,
                  expression);
}

int McNodeRefer(McNodeRef variable, McNodeRef* last, const char* member,
                McNodeRef subscripts) {
  int code = variable == 0 ? RC_INVALID : MemberVariable(variable);
  // The whole name counts: XX is no member.
  if (code == RC_OK &&
      (member[0] < 'X' || member[0] > 'Z' || member[1] != '\0'))
    code = RC_NO_MEMBER;
  if (code != RC_OK) {
    McTreeFree(&subscripts);
    return code;
  }
  McNodeRef made;
  code = MakeOver(McNodeKind::REFER, static_cast<uint32_t>(member[0] - 'X'),
                  &made, subscripts);
  if (code == RC_OK) McNodeAppendChild(variable, last, made);
  return code;
}

int McNodeAssign(uint8_t op, McNodeRef* out, McNodeRef target,
                 McNodeRef value) {
  int code = RC_OK;
  if (target == 0 || value == 0 || HasSibling(target)) {
    code = RC_OPERAND_LINKED;
  } else {
    const McNodeKind kind = Node(target).kind;
    if (kind != McNodeKind::VAR && kind != McNodeKind::EXTERN &&
        kind != McNodeKind::EXTIND)
      code = RC_BAD_OPERAND;
  }
  if (code == RC_OK)
    return MakeOverTwo(McNodeKind::ASSIGN, op, out, target, value);
  *out = 0;
  McTreeFree(&target);
  McTreeFree(&value);
  return code;
}

int McNodeCall(McNodeRef* out, McName* name, McCallKind kind,
               McNodeRef arguments) {
  uint16_t index;
  const int code =
      mc_compile.program == nullptr ? RC_NO_NODE : McCallOf(name, kind, &index);
  if (code == RC_OK) return MakeOver(McNodeKind::CALL, index, out, arguments);
  *out = 0;
  McTreeFree(&arguments);
  return code;
}

int McNodeIf(McNodeRef* out, McNodeRef condition, McNodeRef then_part,
             McNodeRef else_part) {
  // The two parts make one list; a missing or linked first one cannot.
  const bool linked = HasSibling(then_part);
  if (then_part != 0 && !linked)
    Node(then_part).sibling = else_part;
  else
    McTreeFree(&else_part);
  if (!linked) return MakeOverTwo(McNodeKind::IF, 0, out, condition, then_part);
  *out = 0;
  McTreeFree(&condition);
  McTreeFree(&then_part);
  return RC_OPERAND_LINKED;
}

int McNodeWhile(McNodeRef* out, McNodeRef condition, McNodeRef body) {
  return MakeOverTwo(McNodeKind::WHILE, 0, out, condition, body);
}

int McNodeSelect(McNodeRef* out, McNodeRef selector, McNodeRef cases) {
  return MakeOverTwo(McNodeKind::SELECT, 0, out, selector, cases);
}

int McNodeCase(McNodeRef* out, McNodeRef body, McNodeRef tests) {
  return MakeOverTwo(McNodeKind::CASE, 0, out, body, tests);
}

int McNodeDim(McNodeRef* out, McNodeRef last, McNodeRef first) {
  return MakeOverTwo(McNodeKind::DIM, 0, out, last, first);
}

int McNodeTrace(McNodeRef* out, McNodeRef statement, uint32_t line) {
  *out = 0;
  if (statement == 0) return RC_NOT_FOUND;
  return MakeOver(McNodeKind::TRACE, line, out, statement);
}

int McNodeAllocate(McNodeRef* out, McNodeRef list) {
  return MakeOver(McNodeKind::ALLOC, 0, out, list);
}

int McNodeRelease(McNodeRef* out, McNodeRef list) {
  return MakeOver(McNodeKind::FREE, 0, out, list);
}

int McNodePrint(McNodeRef* out, McNodeRef list) {
  return MakeOver(McNodeKind::PRINT, 0, out, list);
}

int McNodeMake(McNodeKind kind, McNodeRef* out, McNodeRef child) {
  return MakeOverTwo(kind, 0, out, child, 0);
}
