// What a builder has to look up before it adds its node.
//
// Nodes are added to an array as rules are reduced, so a node stands after
// those below it and nothing is linked; what is left to do is to find the
// number that a node carries: of a constant, a call reference, a slot of the
// string pool, or a coordinate that the variable may not have.
#include "elut/compile/node_build.h"

#include "Cutil/codes.h"
#include "elut/compile/actions.h"
#include "elut/compile/variables.h"

namespace {

// The code that says why a variable has no member of that name, or 0.
int MemberCode(McFront* front, uint32_t payload, const char* member) {
  const McNode node = {0, payload};
  const McVarTable* table = McScopeTable(front, node.scope());
  if (table == nullptr || node.index() >= table->entries.size())
    return RC_INVALID;
  const McVar& variable = table->entries[node.index()];
  // What a parameter refers to is known at run time only.
  if (variable.storage == McStorage::REF) return RC_NO_REFERENCE;
  if (variable.storage == McStorage::DIM) return RC_MEMBER_STORAGE;
  switch (variable.type) {
    case McValueType::INTEGER:
    case McValueType::REAL:
    case McValueType::STRING: return RC_SCALAR_MEMBER;
    case McValueType::POINT: break;
    case McValueType::VOID: return RC_MEMBER_TYPE;
  }
  // The whole name counts: XX is no member.
  const bool known = member[0] >= 'X' && member[0] <= 'Z' && member[1] == '\0';
  return known ? RC_OK : RC_NO_MEMBER;
}

}  // namespace

McNodeRef McNodeReal(McFront* front, double value) {
  const uint32_t index = front->compile.program->constants.add_real(value);
  return McNodeLeaf(front, McNodeKind::REAL, index);
}

McNodeRef McNodeString(McFront* front, McTokenText* text) {
  bool added;
  const uint32_t index = front->compile.program->constants.add_string(
      text->text(), text->length, &added);
  if (!added) McTokenTextRelease(&front->scanner.strings, text);
  return McNodeLeaf(front, McNodeKind::STRING, index);
}

McNodeRef McNodeExtern(McFront* front, const char* name) {
  uint32_t slot;
  if (StringPoolAdd(&front->compile.program->strings, name, &slot) != RC_OK)
    throw std::bad_alloc();
  return McNodeLeaf(front, McNodeKind::EXTERN, slot);
}

int McNodeRefer(McFront* front, const McReference& reference,
                const char* member, McNodeRef subscripts) {
  const int code = reference.variable == 0
                       ? int{RC_INVALID}
                       : MemberCode(front, reference.variable, member);
  if (code != RC_OK)
    McNodesOf(front).cut(subscripts);
  else
    McNodeOver(front, McNodeKind::REFER,
               McPayloadOfIndex(static_cast<uint16_t>(member[0] - 'X')),
               subscripts);
  return code;
}

McNodeRef McNodeRefVar(McFront* front, const McName* name) {
  const uint32_t variable = McVarFind(front, name);
  return variable == 0 ? McNodeNone(front)
                       : McNodeLeaf(front, McNodeKind::REFVAR, variable);
}

McNodeRef McNodeCall(McFront* front, McName* name, McCallKind kind,
                     McNodeRef arguments) {
  uint16_t index;
  const int code = McCallOf(front, name, kind, &index);
  if (code == RC_OK)
    return McNodeOver(front, McNodeKind::CALL, McPayloadOfIndex(index),
                      arguments);
  McNodesOf(front).cut(arguments);
  McIgnoreRefusal(front, code);
  return arguments;
}

McNodeRef McNodeCase(McFront* front, McNodeRef labels, McNodeRef body) {
  McNodesOf(front).rotate(labels, body);
  return McNodeOver(front, McNodeKind::CASE, 0, labels);
}

McNodeRef McNodeDim(McFront* front, McNodeRef low, McNodeRef high) {
  if (McIsNone(front, high))
    McNodesOf(front).cut(low);
  else
    McNodesOf(front).rotate(low, high);
  return McNodeOver(front, McNodeKind::DIM, 0, low);
}
