#include "elut/node_build.h"

#include <cstring>

#include "Cutil/codes.h"
#include "elut/variables.h"

namespace {

McNode& Node(McNodeRef node) {
  return mc_compile.program->nodes[node];
}

bool HasSibling(McNodeRef node) {
  return node != 0 && Node(node).sibling != 0;
}

// Takes a node and gives it its kind, a child list, and payload 0.
McNodeRef Make(McNodeKind kind, McNodeRef children) {
  if (mc_compile.program == nullptr) return 0;
  const McNodeRef made = mc_compile.program->nodes.take();
  if (made == 0) return 0;
  McNode& node = Node(made);
  node.kind = kind;
  node.child = children;
  node.sibling = 0;
  node.number = 0;
  return made;
}

// A node over `owned`, which is handed on when the node could be made.
int MakeOver(McNodeKind kind, McNodeRef* out, McTreeOwner* owned) {
  *out = Make(kind, owned->get());
  if (*out == 0) return RC_NO_NODE;
  owned->release();
  return RC_OK;
}

// The same over two operands. The second is a list, and none when there is
// none; without the first, which ends the child list, it is released.
int MakeOverTwo(McNodeKind kind, McNodeRef* out, McTreeOwner* first,
                McTreeOwner* rest) {
  *out = 0;
  if (HasSibling(first->get())) return RC_OPERAND_LINKED;
  const int code = MakeOver(kind, out, first);
  if (code != RC_OK) return code;
  const McNodeRef linked = Node(*out).child;
  if (linked != 0) Node(linked).sibling = rest->release();
  return RC_OK;
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
  return Make(McNodeKind::EMPTY, 0);
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
  *out = 0;
  McTreeOwner owned(subscripts);
  McScope scope;
  uint16_t index;
  int code = McVarFind(name, &scope, &index);
  if (code == RC_OK) code = MakeOver(McNodeKind::VAR, out, &owned);
  if (code == RC_OK) Node(*out).variable = {scope, index};
  return code;
}

int McNodeRefVar(McName* name, McNodeRef* out) {
  const int code = McNodeVar(name, out, 0);
  if (code == RC_OK) Node(*out).kind = McNodeKind::REFVAR;
  return code;
}

int McNodeInt(McNodeRef* out, int32_t value) {
  *out = Make(McNodeKind::INT, 0);
  if (*out == 0) return RC_NO_NODE;
  Node(*out).integer = value;
  return RC_OK;
}

int McNodeReal(McNodeRef* out, double value) {
  *out = Make(McNodeKind::REAL, 0);
  if (*out == 0) return RC_NO_NODE;
  return mc_compile.program->constants.add_real(value, &Node(*out).number);
}

int McNodeString(McNodeRef* out, const char* text, uint32_t length) {
  *out = Make(McNodeKind::STRING, 0);
  if (*out == 0) return RC_NO_NODE;
  return mc_compile.program->constants.add_string(
      &mc_compile.program->arena, text, length, &Node(*out).number);
}

int McNodeFunc(McNodeRef* out, uint16_t function, McNodeRef arguments) {
  McTreeOwner owned(arguments);
  const int code = MakeOver(McNodeKind::FUNC, out, &owned);
  if (code == RC_OK) Node(*out).index = function;
  return code;
}

int McNodeBinary(uint8_t op, McNodeRef* out, McNodeRef left, McNodeRef right) {
  McTreeOwner first(left), rest(right);
  const int code = MakeOverTwo(McNodeKind::OPERA, out, &first, &rest);
  if (code == RC_OK) Node(*out).op = op;
  return code;
}

int McNodeTest(uint8_t op, McNodeRef* out, McNodeRef operand) {
  return McNodeBinary(op, out, operand, 0);
}

int McNodeUnary(uint8_t op, McNodeRef* out, McNodeRef operand) {
  McTreeOwner owned(operand);
  const int code = MakeOver(McNodeKind::UNARY, out, &owned);
  if (code == RC_OK) Node(*out).op = op;
  return code;
}

int McNodeExtern(const char* name, McNodeRef* out) {
  *out = Make(McNodeKind::EXTERN, 0);
  if (*out == 0) return RC_NO_NODE;
  uint32_t slot;
  const int code = StringPoolAdd(&mc_compile.program->strings, name, &slot);
  if (code == RC_OK)
    Node(*out).number = slot;
  else
    McTreeFree(out);
  return code;
}

int McNodeExtInd(char sigil, McNodeRef* out, McNodeRef expression) {
  McTreeOwner owned(expression);
  const int code = MakeOver(McNodeKind::EXTIND, out, &owned);
  if (code == RC_OK) Node(*out).sigil = static_cast<int8_t>(sigil);
  return code;
}

int McNodeRefer(McNodeRef variable, McNodeRef* last, const char* member,
                McNodeRef subscripts) {
  McTreeOwner owned(subscripts);
  if (variable == 0) return RC_INVALID;
  const int code = MemberVariable(variable);
  if (code != RC_OK) return code;
  // The whole name counts: XX is no member.
  if (member[0] < 'X' || member[0] > 'Z' || member[1] != '\0')
    return RC_NO_MEMBER;
  McNodeRef made;
  if (MakeOver(McNodeKind::REFER, &made, &owned) != RC_OK) return RC_NO_NODE;
  Node(made).index = static_cast<uint16_t>(member[0] - 'X');
  McNodeAppendChild(variable, last, made);
  return RC_OK;
}

int McNodeAssign(uint8_t op, McNodeRef* out, McNodeRef target,
                 McNodeRef value) {
  *out = 0;
  McTreeOwner first(target), rest(value);
  if (target == 0 || value == 0) return RC_OPERAND_LINKED;
  if (HasSibling(target)) return RC_OPERAND_LINKED;
  const McNodeKind kind = Node(target).kind;
  if (kind != McNodeKind::VAR && kind != McNodeKind::EXTERN &&
      kind != McNodeKind::EXTIND)
    return RC_BAD_OPERAND;
  const int code = MakeOverTwo(McNodeKind::ASSIGN, out, &first, &rest);
  if (code == RC_OK) Node(*out).op = op;
  return code;
}

int McNodeCall(McNodeRef* out, McName* name, McCallKind kind,
               McNodeRef arguments) {
  *out = 0;
  McTreeOwner owned(arguments);
  if (mc_compile.program == nullptr) return RC_NO_NODE;
  uint16_t index;
  int code = McCallOf(name, kind, &index);
  if (code == RC_OK) code = MakeOver(McNodeKind::CALL, out, &owned);
  if (code == RC_OK) Node(*out).index = index;
  return code;
}

int McNodeIf(McNodeRef* out, McNodeRef condition, McNodeRef then_part,
             McNodeRef else_part) {
  *out = 0;
  McTreeOwner first(condition), second(then_part), third(else_part);
  if (HasSibling(condition) || HasSibling(then_part)) return RC_OPERAND_LINKED;
  if (then_part != 0) Node(then_part).sibling = third.release();
  return MakeOverTwo(McNodeKind::IF, out, &first, &second);
}

int McNodeWhile(McNodeRef* out, McNodeRef condition, McNodeRef body) {
  McTreeOwner first(condition), rest(body);
  return MakeOverTwo(McNodeKind::WHILE, out, &first, &rest);
}

int McNodeSelect(McNodeRef* out, McNodeRef selector, McNodeRef cases) {
  McTreeOwner first(selector), rest(cases);
  return MakeOverTwo(McNodeKind::SELECT, out, &first, &rest);
}

int McNodeCase(McNodeRef* out, McNodeRef body, McNodeRef tests) {
  McTreeOwner first(body), rest(tests);
  return MakeOverTwo(McNodeKind::CASE, out, &first, &rest);
}

int McNodeDim(McNodeRef* out, McNodeRef last, McNodeRef first) {
  McTreeOwner owned_last(last), owned_first(first);
  return MakeOverTwo(McNodeKind::DIM, out, &owned_last, &owned_first);
}

int McNodeTrace(McNodeRef* out, McNodeRef statement, uint32_t line) {
  *out = 0;
  if (statement == 0) return RC_NOT_FOUND;
  McTreeOwner owned(statement);
  const int code = MakeOver(McNodeKind::TRACE, out, &owned);
  if (code == RC_OK) Node(*out).number = line;
  return code;
}

int McNodeAllocate(McNodeRef* out, McNodeRef list) {
  McTreeOwner owned(list);
  return MakeOver(McNodeKind::ALLOC, out, &owned);
}

int McNodeRelease(McNodeRef* out, McNodeRef list) {
  McTreeOwner owned(list);
  return MakeOver(McNodeKind::FREE, out, &owned);
}

int McNodePrint(McNodeRef* out, McNodeRef list) {
  McTreeOwner owned(list);
  return MakeOver(McNodeKind::PRINT, out, &owned);
}

int McNodeMake(McNodeKind kind, McNodeRef* out, McNodeRef child) {
  *out = 0;
  McTreeOwner owned(child);
  if (HasSibling(child)) return RC_OPERAND_LINKED;
  return MakeOver(kind, out, &owned);
}
