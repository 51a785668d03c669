#include "elut/compile/variables.h"

#include <algorithm>
#include <cstring>

#include "Cutil/codes.h"
#include "elut/compile/arithmetic.h"
#include "elut/compile/eval.h"
#include "elut/compile/node_build.h"

McCompile mc_compile;

namespace {

constexpr uint32_t DIM_LIMIT = 255;  // the count is one byte
// Room of a table to begin with: routines rarely declare fewer.
constexpr size_t FIRST_VARIABLES = 8;

// Releases a tree, or list of trees, at the end of its scope.
class TreeOwner {
 public:
  explicit TreeOwner(McNodeRef tree) : tree_(tree) {}
  TreeOwner(const TreeOwner&) = delete;
  TreeOwner& operator=(const TreeOwner&) = delete;
  ~TreeOwner() { McTreeFree(&tree_); }

 private:
  McNodeRef tree_;
};

// Bounds that were evaluated for a declaration.
struct Bounds {
  McRange range = {};
  McDim dims[DIM_LIMIT];
  uint8_t dim_count = 0;
};

// Notes that the current routine has `name` at (scope, index), unless a table
// that is searched earlier, or an earlier entry, has it.
void Note(McName* name, McScope scope, uint16_t index) {
  if (name->routine == mc_compile.routine && name->scope <= scope) return;
  name->routine = mc_compile.routine;
  name->scope = scope;
  name->index = index;
}

UtVector<McCommon>& Commons() {
  return mc_compile.sub != nullptr ? mc_compile.sub->commons
                                   : mc_compile.program->commons;
}

int NoteTable(const McVarTable& table, McScope scope) {
  for (size_t i = 0; i < table.entries.size(); i++) {
    if (table.entries[i].name == nullptr) continue;
    McName* name = McNameIntern(table.entries[i].name);
    if (name == nullptr) return RC_NO_MEMORY;
    Note(name, scope, static_cast<uint16_t>(i));
  }
  return RC_OK;
}

// Gives the current routine a number of its own and notes the variables that
// it has already.
int EnterRoutine() {
  mc_compile.routine++;
  if (mc_compile.program == nullptr) return RC_OK;
  int code = NoteTable(*McScopeTable(MC_SCOPE_LOCAL), MC_SCOPE_LOCAL);
  if (code == RC_OK && mc_compile.sub != nullptr)
    code = NoteTable(mc_compile.sub->parameters, MC_SCOPE_PARAMETER);
  McScope scope = MC_SCOPE_COMMON;
  for (const McCommon& common : Commons()) {
    if (code == RC_OK) code = NoteTable(common.variables, scope);
    scope++;
  }
  return code;
}

// The name under which the current program's call reference is noted.
McName* NameOfCall(const McCallRef& call) {
  if (call.name == nullptr) return nullptr;
  static constexpr const char* PREFIXES[] = {"", "", "FN", "CFN"};
  UtString name = PREFIXES[static_cast<int>(call.kind)];
  name += call.name;
  return McNameIntern(name.c_str());
}

// Evaluates a bound and converts it to `type`.
int EvaluateBound(McNodeRef expression, McValueType type, McValue* value) {
  const int code = McEvalConst(mc_compile.program, expression, value);
  return code == RC_OK ? McValueConvert(type, value) : code;
}

int EvaluateInteger(McNodeRef expression, int32_t* bound) {
  McValue value = McValueNone();
  const int code = EvaluateBound(expression, McValueType::INTEGER, &value);
  if (code == RC_OK) *bound = value.integer;
  McValueRelease(&value);
  return code;
}

int EvaluateRange(McValueType type, McNodeRef low, McNodeRef high,
                  McRange* range) {
  if (low == 0) return RC_OK;
  if (high == 0) return RC_NOT_EVALUABLE;
  McValue from = McValueNone();
  McValue to = McValueNone();
  int code = EvaluateBound(low, type, &from);
  if (code == RC_OK) code = EvaluateBound(high, type, &to);
  if (code == RC_OK && type == McValueType::INTEGER)
    range->integer = {from.integer, to.integer};
  if (code == RC_OK && type == McValueType::REAL)
    range->real = {from.real, to.real};
  McValueRelease(&from);
  McValueRelease(&to);
  return code;
}

int EvaluateDims(McNodeRef dims, Bounds* bounds) {
  const McNodePool& nodes = mc_compile.program->nodes;
  for (McNodeRef dim = dims; dim != 0 && bounds->dim_count < DIM_LIMIT;
       dim = nodes[dim].sibling) {
    const McNodeRef last = nodes[dim].child;
    const McNodeRef first = last == 0 ? 0 : nodes[last].sibling;
    McDim* place = &bounds->dims[bounds->dim_count];
    place->declared_low = 1;
    int code = EvaluateInteger(last, &place->declared_high);
    if (code == RC_OK && first != 0)
      code = EvaluateInteger(first, &place->declared_low);
    if (code != RC_OK) return code;
    place->current_low = place->declared_low;
    place->current_high = place->declared_high;
    bounds->dim_count++;
  }
  return RC_OK;
}

// The text of a name in the arena of the program, where equal names of the
// program's routines share it.
int StoreName(McName* name, const char** text) {
  *text = nullptr;
  if (name->length == 0) return RC_OK;
  if (name->stored_in != mc_compile.program_number) {
    const char* copy =
        mc_compile.program->arena.copy(name->text(), name->length);
    if (copy == nullptr) return RC_NO_MEMORY;
    name->stored_in = mc_compile.program_number;
    name->stored = copy;
  }
  *text = name->stored;
  return RC_OK;
}

// Adds a scalar without a range; `*added` is valid until the next one.
int AddVariable(McVarTable* table, McScope scope, McName* name,
                McValueType type, McVar** added) {
  if (table->entries.size() >= MC_TABLE_LIMIT) {
    mc_compile.table_full = true;
    return RC_INVALID;
  }
  const char* text;
  int code = StoreName(name, &text);
  if (code != RC_OK) return code;
  code = UtGuarded([&] {
    if (table->entries.empty()) table->entries.reserve(FIRST_VARIABLES);
    table->entries.push_back(
        {text, nullptr, nullptr, type, McStorage::VALUE, 0});
    return RC_OK;
  });
  if (code != RC_OK) return code;
  *added = &table->entries.back();
  Note(name, scope, static_cast<uint16_t>(table->entries.size() - 1));
  return RC_OK;
}

int SetRange(McVar* variable, const McRange& range) {
  if (variable->type != McValueType::INTEGER &&
      variable->type != McValueType::REAL)
    return RC_NOT_EVALUABLE;
  auto* place =
      static_cast<McRange*>(mc_compile.program->arena.take(sizeof(McRange)));
  if (place == nullptr) return RC_NO_MEMORY;
  *place = range;
  variable->range = place;
  return RC_OK;
}

int SetDims(McVar* variable, const Bounds& bounds) {
  if (variable->storage != McStorage::VALUE) return RC_BAD_STORAGE;
  auto* place = static_cast<McDim*>(
      mc_compile.program->arena.take(bounds.dim_count * sizeof(McDim)));
  if (place == nullptr) return RC_NO_MEMORY;
  std::copy_n(bounds.dims, bounds.dim_count, place);
  variable->dims = place;
  variable->dim_count = bounds.dim_count;
  return RC_OK;
}

}  // namespace

int McCompileEnter(McProgram* program) {
  mc_compile.program = program;
  mc_compile.sub = nullptr;
  mc_compile.body_slot = nullptr;
  mc_compile.program_number++;
  mc_compile.table_full = false;
  if (program != nullptr) {
    const int code = UtGuarded([&] {
      for (size_t i = 0; i < program->calls.size(); i++) {
        McName* name = NameOfCall(program->calls[i]);
        if (name == nullptr) continue;
        name->program = mc_compile.program_number;
        name->call = static_cast<uint16_t>(i);
      }
      return RC_OK;
    });
    if (code != RC_OK) return code;
  }
  return EnterRoutine();
}

void McCompileReset() {
  mc_compile.scope = MC_SCOPE_LOCAL;
  mc_compile.type = McValueType::INTEGER;
}

int McSubEnter(const char* name) {
  mc_compile.sub = nullptr;
  if (mc_compile.program == nullptr) return RC_OK;
  if (name != nullptr) {
    uint16_t index;
    const int code = McSubAdd(mc_compile.program, name, &index);
    if (code != RC_OK) {
      mc_compile.table_full |= code == RC_INVALID;
      return code;
    }
    mc_compile.sub = &mc_compile.program->subs[index];
  }
  return EnterRoutine();
}

int McProgramSetName(const char* name) {
  McProgram* program = mc_compile.program;
  if (program == nullptr) return RC_OK;
  program->name = nullptr;
  if (name == nullptr || *name == '\0') return RC_OK;
  program->name = program->arena.copy(name, strlen(name));
  return program->name == nullptr ? RC_NO_MEMORY : RC_OK;
}

void McProgramSetBody(McNodeRef body) {
  if (mc_compile.body_slot != nullptr)
    *mc_compile.body_slot = body;
  else if (mc_compile.sub != nullptr)
    mc_compile.sub->body = body;
  else if (mc_compile.program != nullptr)
    mc_compile.program->body = body;
}

McVarTable* McScopeTable(McScope scope) {
  if (mc_compile.program == nullptr) return nullptr;
  if (scope == MC_SCOPE_LOCAL)
    return mc_compile.sub != nullptr ? &mc_compile.sub->locals
                                     : &mc_compile.program->variables;
  if (scope == MC_SCOPE_PARAMETER)
    return mc_compile.sub != nullptr ? &mc_compile.sub->parameters : nullptr;
  if (scope < MC_SCOPE_COMMON) return nullptr;
  const auto block = static_cast<size_t>(scope - MC_SCOPE_COMMON);
  return block < Commons().size() ? &Commons()[block].variables : nullptr;
}

int McVarFind(const McName* name, McScope* scope, uint16_t* index) {
  if (name->routine == mc_compile.routine) {
    *scope = name->scope;
    *index = name->index;
    return RC_OK;
  }
  return mc_compile.program == nullptr ? RC_NOT_FOUND : RC_NO_VARIABLE;
}

int McVarDeclare(McScope scope, McName* name, McValueType type, McNodeRef low,
                 McNodeRef high, McNodeRef dims) {
  TreeOwner owned_low(low), owned_high(high), owned_dims(dims);
  McVarTable* table = McScopeTable(scope);
  if (table == nullptr) return RC_INVALID;
  Bounds bounds;
  int code = EvaluateRange(type, low, high, &bounds.range);
  if (code == RC_OK) code = EvaluateDims(dims, &bounds);
  McVar* variable = nullptr;
  if (code == RC_OK) code = AddVariable(table, scope, name, type, &variable);
  if (code == RC_OK && low != 0) code = SetRange(variable, bounds.range);
  if (code == RC_OK && bounds.dim_count > 0) code = SetDims(variable, bounds);
  return code;
}

int McVarDeclareDynamic(McScope scope, McName* name, McValueType type,
                        uint32_t count, McNodeRef low, McNodeRef high) {
  TreeOwner owned_low(low), owned_high(high);
  McVarTable* table = McScopeTable(scope);
  if (table == nullptr || count == 0 || count > DIM_LIMIT) return RC_INVALID;
  McRange range = {};
  int code = EvaluateRange(type, low, high, &range);
  McVar* variable = nullptr;
  if (code == RC_OK) code = AddVariable(table, scope, name, type, &variable);
  if (code == RC_OK && low != 0) code = SetRange(variable, range);
  if (code != RC_OK) return code;
  variable->dim_count = static_cast<uint8_t>(count);
  variable->storage = McStorage::ALLOC;
  return RC_OK;
}

int McVarDeclareRef(McScope scope, McName* name, McValueType type,
                    uint32_t count) {
  McVarTable* table = McScopeTable(scope);
  if (table == nullptr || count > DIM_LIMIT) return RC_INVALID;
  McVar* variable = nullptr;
  const int code = AddVariable(table, scope, name, type, &variable);
  if (code != RC_OK) return code;
  variable->dim_count = static_cast<uint8_t>(count);
  variable->storage = McStorage::REF;
  return RC_OK;
}

int McCommonDeclare(const char* name) {
  if (mc_compile.program == nullptr) return RC_INVALID;
  UtVector<McCommon>& commons = Commons();
  if (commons.size() >= MC_COMMON_LIMIT) {
    mc_compile.table_full = true;
    return RC_INVALID;
  }
  const char* copy = mc_compile.program->arena.copy(name, strlen(name));
  if (copy == nullptr) return RC_NO_MEMORY;
  return UtGuarded([&] {
    commons.push_back({copy, {}});
    mc_compile.scope =
        static_cast<McScope>(MC_SCOPE_COMMON + commons.size() - 1);
    return RC_OK;
  });
}

int McCallOf(McName* name, McCallKind kind, uint16_t* index) {
  if (name->program != mc_compile.program_number) {
    const int code =
        McCallAdd(mc_compile.program, kind, name->text(), &name->call);
    if (code != RC_OK) {
      mc_compile.table_full |= code == RC_INVALID;
      return code;
    }
    name->program = mc_compile.program_number;
  }
  *index = name->call;
  return RC_OK;
}
