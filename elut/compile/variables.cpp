// The table of a selector is the only place where a variable is; its name only
// points there. The text of a name lies in the store of the program already.
// Bounds are evaluated before anything is added, so that a bound that fails
// leaves no trace.
#include "elut/compile/variables.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "Cutil/codes.h"
#include "elut/compile/eval.h"
#include "elut/compile/node_build.h"

namespace {

constexpr uint32_t DIM_LIMIT = 255;  // the count is one byte
// Room of a table to begin with: parameters are few.
constexpr size_t FIRST_LOCALS = 16;
constexpr size_t FIRST_OTHERS = 4;

// Bounds that were evaluated for a declaration.
struct Values {
  McRange range = {};
  McDim dims[DIM_LIMIT];
  uint8_t dim_count = 0;
};

// Notes that the current routine has `name` at (scope, index), unless a table
// that is searched earlier, or an earlier entry, has it.
void Note(McFront* front, McName* name, McScope scope, size_t index) {
  if (name->routine == front->compile.routine && name->variable >> 16 <= scope)
    return;
  name->routine = front->compile.routine;
  name->variable = McPayloadOf(scope, static_cast<uint16_t>(index));
}

McName* NameOf(McFront* front, const char* text) {
  return McNameSearch(&front->scanner.strings, text, strlen(text));
}

UtVector<McCommon>& Commons(McFront* front) {
  return front->compile.sub != nullptr ? front->compile.sub->commons
                                       : front->compile.program->commons;
}

void NoteTable(McFront* front, const McVarTable& table, McScope scope) {
  for (size_t i = 0; i < table.entries.size(); i++) {
    if (table.entries[i].name == nullptr) continue;
    McName* name = NameOf(front, table.entries[i].name);
    Note(front, name, scope, i);
  }
}

// Gives the current routine a number of its own and notes the variables that
// it has already.
void EnterRoutine(McFront* front) {
  front->compile.routine++;
  if (!front->compile.building) return;
  NoteTable(front, *McScopeTable(front, MC_SCOPE_LOCAL), MC_SCOPE_LOCAL);
  if (front->compile.sub != nullptr)
    NoteTable(front, front->compile.sub->parameters, MC_SCOPE_PARAMETER);
  McScope scope = MC_SCOPE_COMMON;
  for (const McCommon& common : Commons(front))
    NoteTable(front, common.variables, scope++);
}

// The name under which the current program's call reference is noted.
McName* NameOfCall(McFront* front, const McCallRef& call) {
  if (call.name == nullptr) return nullptr;
  static constexpr const char* PREFIXES[] = {"", "", "FN", "CFN"};
  UtString name = PREFIXES[static_cast<int>(call.kind)];
  name += call.name;
  return NameOf(front, name.c_str());
}

// Evaluates a bound and converts it to `type`.
int EvaluateBound(McFront* front, const McTree& expression, McValueType type,
                  McValue* value) {
  const int code = McEvalConst(front, expression, value);
  return code == RC_OK ? McValueConvert(&front->math, type, value) : code;
}

int EvaluateInteger(McFront* front, const McTree& expression, int32_t* bound) {
  McValue value;
  const int code =
      EvaluateBound(front, expression, McValueType::INTEGER, &value);
  if (code == RC_OK) *bound = value.integer;
  return code;
}

int EvaluateRange(McFront* front, const McTree& low, const McTree& high,
                  McRange* range) {
  if (low.is_none()) return RC_OK;
  if (high.is_none()) return RC_NOT_EVALUABLE;
  const McValueType type = front->compile.type;
  McValue from, to;
  int code = EvaluateBound(front, low, type, &from);
  if (code == RC_OK) code = EvaluateBound(front, high, type, &to);
  if (code == RC_OK && type == McValueType::INTEGER)
    range->integer = {from.integer, to.integer};
  if (code == RC_OK && type == McValueType::REAL)
    range->real = {from.real, to.real};
  return code;
}

int EvaluateDims(McFront* front, const McTree& dims, Values* values) {
  const McNodes& nodes = McNodesOf(front);
  McNodeRef first = dims.first;
  while (first != dims.end() && values->dim_count < DIM_LIMIT) {
    const McNodeRef dim = first + nodes[first].distance();
    // The upper bound, then the lower one, if there is one; and the DIM node.
    const McNodeRef upper =
        nodes[dim].is_leaf() ? first : nodes.first_child(dim) + 1;
    McDim* place = &values->dims[values->dim_count];
    place->declared_low = 1;
    int code =
        EvaluateInteger(front, {first, upper - first}, &place->declared_high);
    if (code == RC_OK && upper != dim)
      code = EvaluateInteger(front, {upper, dim - upper}, &place->declared_low);
    if (code != RC_OK) return code;
    place->current_low = place->declared_low;
    place->current_high = place->declared_high;
    values->dim_count++;
    first = dim + 1;
  }
  return RC_OK;
}

// The trees of the bounds of a declaration; they are dropped at the end of the
// scope.
class BoundTrees {
 public:
  BoundTrees(McFront* front, const McBounds& bounds)
      : nodes_(&McNodesOf(front)), bounds_(bounds), end_(nodes_->count()) {}
  BoundTrees(const BoundTrees&) = delete;
  BoundTrees& operator=(const BoundTrees&) = delete;
  ~BoundTrees() { nodes_->cut(bounds_.low); }

  McTree low() const { return {bounds_.low, bounds_.high - bounds_.low}; }
  McTree high() const { return {bounds_.high, bounds_.dims - bounds_.high}; }
  McTree dims() const { return {bounds_.dims, end_ - bounds_.dims}; }

 private:
  McNodes* nodes_;
  McBounds bounds_;
  McNodeRef end_;
};

// Adds a scalar of the current type without a range; `*added` is valid until
// the next one.
int AddVariable(McFront* front, McVarTable* table, McName* name,
                McVar** added) {
  if (table->entries.size() >= MC_TABLE_LIMIT) return RC_TABLE_FULL;
  if (table->entries.empty())
    table->entries.reserve(
        front->compile.scope == MC_SCOPE_LOCAL ? FIRST_LOCALS : FIRST_OTHERS);
  table->entries.push_back({name->text(), nullptr, nullptr, front->compile.type,
                            McStorage::VALUE, 0});
  *added = &table->entries.back();
  Note(front, name, front->compile.scope, table->entries.size() - 1);
  return RC_OK;
}

int SetRange(McFront* front, McVar* variable, const McRange& range) {
  if (variable->type != McValueType::INTEGER &&
      variable->type != McValueType::REAL)
    return RC_NOT_EVALUABLE;
  variable->range = front->compile.program->store->arena.take_array<McRange>(1);
  *variable->range = range;
  return RC_OK;
}

void SetDims(McFront* front, McVar* variable, const Values& values) {
  assert(variable->storage == McStorage::VALUE);
  variable->dims =
      front->compile.program->store->arena.take_array<McDim>(values.dim_count);
  std::copy_n(values.dims, values.dim_count, variable->dims);
  variable->dim_count = values.dim_count;
}

}  // namespace

void McCompileEnter(McFront* front, McProgram* program) {
  McCompile& compile = front->compile;
  compile.building = program != nullptr;
  if (!compile.building) {
    program = &compile.scratch;
    McProgramInit(program);
  }
  compile.program = program;
  compile.nodes = &program->store->nodes;
  compile.sub = nullptr;
  compile.body_slot = nullptr;
  compile.program_number++;
  for (size_t i = 0; i < program->calls.size(); i++) {
    McName* name = NameOfCall(front, program->calls[i]);
    if (name == nullptr) continue;
    name->program = compile.program_number;
    name->call = static_cast<uint16_t>(i);
  }
  EnterRoutine(front);
}

int McSubEnter(McFront* front, const char* name) {
  front->compile.sub = nullptr;
  if (!front->compile.building) return RC_OK;
  if (name != nullptr) {
    uint16_t index;
    if (const int code = McSubAdd(front->compile.program, name, &index))
      return code;
    front->compile.sub = &front->compile.program->subs[index];
  }
  EnterRoutine(front);
  return RC_OK;
}

void McProgramSetName(McFront* front, const char* name) {
  McProgram* program = front->compile.program;
  program->name = name == nullptr || *name == '\0'
                      ? nullptr
                      : program->store->arena.copy(name, strlen(name));
}

void McProgramSetBody(McFront* front, McNodeRef body) {
  const McTree tree = {body, McNodesOf(front).count() - body};
  if (front->compile.body_slot != nullptr)
    *front->compile.body_slot = tree;
  else if (front->compile.sub != nullptr)
    front->compile.sub->body = tree;
  else
    front->compile.program->body = tree;
}

McVarTable* McScopeTable(McFront* front, McScope scope) {
  McProgram* program = front->compile.program;
  McSub* sub = front->compile.sub;
  if (!front->compile.building) return nullptr;
  if (scope == MC_SCOPE_LOCAL)
    return sub != nullptr ? &sub->locals : &program->variables;
  if (scope == MC_SCOPE_PARAMETER)
    return sub != nullptr ? &sub->parameters : nullptr;
  if (scope < MC_SCOPE_COMMON) return nullptr;
  const auto block = static_cast<size_t>(scope - MC_SCOPE_COMMON);
  UtVector<McCommon>& commons = Commons(front);
  return block < commons.size() ? &commons[block].variables : nullptr;
}

int McVarDeclare(McFront* front, McName* name) {
  McVarTable* table = McScopeTable(front, front->compile.scope);
  McVar* variable;
  return table == nullptr ? int{RC_INVALID}
                          : AddVariable(front, table, name, &variable);
}

int McVarDeclare(McFront* front, McName* name, const McBounds& bounds) {
  const BoundTrees trees(front, bounds);
  McVarTable* table = McScopeTable(front, front->compile.scope);
  if (table == nullptr) return RC_INVALID;
  Values values;
  int code = EvaluateRange(front, trees.low(), trees.high(), &values.range);
  if (code == RC_OK) code = EvaluateDims(front, trees.dims(), &values);
  McVar* variable = nullptr;
  if (code == RC_OK) code = AddVariable(front, table, name, &variable);
  if (code == RC_OK && !trees.low().is_none())
    code = SetRange(front, variable, values.range);
  if (code == RC_OK && values.dim_count > 0) SetDims(front, variable, values);
  return code;
}

int McVarDeclareDynamic(McFront* front, McName* name, uint32_t count,
                        const McBounds& bounds) {
  const BoundTrees trees(front, bounds);
  McVarTable* table = McScopeTable(front, front->compile.scope);
  if (table == nullptr || count == 0 || count > DIM_LIMIT) return RC_INVALID;
  McRange range = {};
  int code = EvaluateRange(front, trees.low(), trees.high(), &range);
  McVar* variable = nullptr;
  if (code == RC_OK) code = AddVariable(front, table, name, &variable);
  if (code == RC_OK && !trees.low().is_none())
    code = SetRange(front, variable, range);
  if (code != RC_OK) return code;
  variable->dim_count = static_cast<uint8_t>(count);
  variable->storage = McStorage::ALLOC;
  return RC_OK;
}

int McVarDeclareRef(McFront* front, McName* name, uint32_t count) {
  McVarTable* table = McScopeTable(front, front->compile.scope);
  if (table == nullptr || count > DIM_LIMIT) return RC_INVALID;
  McVar* variable = nullptr;
  const int code = AddVariable(front, table, name, &variable);
  if (code != RC_OK) return code;
  variable->dim_count = static_cast<uint8_t>(count);
  variable->storage = McStorage::REF;
  return RC_OK;
}

int McCommonDeclare(McFront* front, const char* name) {
  if (!front->compile.building) return RC_INVALID;
  UtVector<McCommon>& commons = Commons(front);
  if (commons.size() >= MC_COMMON_LIMIT) return RC_TABLE_FULL;
  const char* copy =
      front->compile.program->store->arena.copy(name, strlen(name));
  commons.push_back({copy, {}});
  front->compile.scope =
      static_cast<McScope>(MC_SCOPE_COMMON + commons.size() - 1);
  return RC_OK;
}

int McCallOf(McFront* front, McName* name, McCallKind kind, uint16_t* index) {
  *index = 0;
  if (!front->compile.building) return RC_OK;
  if (name->program != front->compile.program_number) {
    const int code =
        McCallAdd(front->compile.program, kind, name->text(), &name->call);
    if (code != RC_OK) return code;
    name->program = front->compile.program_number;
  }
  *index = name->call;
  return RC_OK;
}
