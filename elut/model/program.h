// The compiled program: everything that one source file declares.
//
// An McProgram is the compile context of a file and the unit that is written
// as a compiled program file; masks hold further ones for their MODULE blocks
// and EXECUTE handlers. Its creator owns it, and it owns everything that can be
// reached from it, with one exception: nodes, texts, ranges and dimensions lie
// in a store, which the many programs of a mask file share.
//
// Tables of the file count in 16 bits: one holds at most 65535 entries.
#pragma once

#include <cstdint>

#include "Cutil/ut_arena.h"
#include "Cutil/ut_memory.h"
#include "elut/model/constants.h"
#include "elut/model/node.h"
#include "elut/model/value.h"
#include "util/string_pool.h"

inline constexpr uint32_t MC_TABLE_LIMIT = 65535;
// COMMON blocks of a routine: their selectors 16 + i are 16-bit numbers.
inline constexpr uint32_t MC_COMMON_LIMIT = 65520;

// Selector of a variable table of the current routine, stored in VAR and
// REFVAR nodes with the index of the variable.
using McScope = uint16_t;
inline constexpr McScope MC_SCOPE_LOCAL = 2;      // SUB's locals, or main's
inline constexpr McScope MC_SCOPE_PARAMETER = 3;  // of the current SUB
inline constexpr McScope MC_SCOPE_COMMON = 16;    // + number of the block

enum class McStorage : uint8_t {
  VALUE = 0,  // holds its value or, with dimensions, its elements
  REF = 1,    // refers to another variable; array parameter
  ALLOC = 2,  // array whose bounds an ALLOCATE statement sets
  DIM = 3,
};

inline constexpr const char* MC_STORAGE_NAMES[] = {"VALUE", "REF", "ALLOC",
                                                   "DIM"};

// Bounds of one dimension. Declaring sets the current ones to the declared.
struct McDim {
  int32_t declared_low;
  int32_t declared_high;
  int32_t current_low;
  int32_t current_high;
};

// Range of an INTEGER or a REAL variable.
union McRange {
  struct {
    int32_t low, high;
  } integer;
  struct {
    double low, high;
  } real;
};

// The value of a variable is made by the run time; a declared one is zero.
struct McVar {
  const char* name;  // nullptr: none
  McDim* dims;       // nullptr: scalar, or bounds not known
  McRange* range;    // nullptr: none
  McValueType type;
  McStorage storage;
  uint8_t dim_count;
};

struct McVarTable {
  UtVector<McVar> entries;
  uint16_t required = 0;  // required arguments; part of the file, always 0
};

struct McCommon {
  const char* name;
  McVarTable variables;
};

inline constexpr uint8_t MC_IMPORT_MACRO = 0;
inline constexpr uint8_t MC_IMPORT_CSUB = 1;
inline constexpr uint8_t MC_IMPORT_FILE = 0x80;  // bit: FROM FILE form

struct McImport {
  uint8_t kind;
  const char* name;
  const char* source;  // FROM name, or FILE text; nullptr: none
  const char* module;  // nullptr: none, and always with FILE
};

enum class McCallKind : uint8_t { SUB = 1, FN = 2, CFN = 3 };

struct McCallRef {
  const char* name;  // without FN or CFN; nullptr once bound
  McCallKind kind;
  bool external;       // not bound to a SUB of this program; CFN: never set
  uint16_t sub_index;  // valid when bound
};

struct McSub {
  const char* name = nullptr;
  McVarTable locals;
  McVarTable parameters;  // in the order of declaration
  UtVector<McCommon> commons;
  McTree body;
};

// Where the trees, texts, ranges and dimensions of a file lie.
struct McStore {
  UtArena arena;
  McNodes nodes;
};

struct McProgram {
  // In a store of its own, or in one that outlives it.
  McProgram() : McProgram(&own_store) {}
  explicit McProgram(McStore* shared);
  McProgram(const McProgram&) = delete;
  McProgram& operator=(const McProgram&) = delete;

  McStore own_store;
  McStore* store;
  const char* name = nullptr;
  UtVector<McImport> imports;
  McConstants constants;
  McVarTable variables;  // of the main program, or of a MODULE block
  UtVector<McCommon> commons;
  UtVector<McSub> subs;
  UtVector<McCallRef> calls;
  McTree body;         // none: the program is a module
  StringPool strings;  // names of external variables
};

// A new, empty program in a store of its own, or in `shared`. Throws bad_alloc.
[[nodiscard]] UtPtr<McProgram> McProgramCreate();
[[nodiscard]] UtPtr<McProgram> McProgramCreate(McStore* shared);

// Makes a program with a store of its own empty again.
void McProgramInit(McProgram* program);

// Releases the program in `*slot`, if any, and clears the slot.
void McProgramFree(McProgram** slot);

// Binds the calls of SUBs that this file defines: such a reference loses its
// name and gets the index of the first SUB of that name. Other references stay
// external; the run time resolves them. Returns 0 or RC_NO_MEMORY.
[[nodiscard]] int McResolveCalls(McProgram* program);

// Routines, calls and imports. They append to the program's tables and return
// 0, or RC_TABLE_FULL when the table is full; nothing is changed then. They
// throw bad_alloc.

// A new SUB; its name loses blanks and tabs at both ends. The names of SUBs may
// repeat.
[[nodiscard]] int McSubAdd(McProgram* program, const char* name,
                           uint16_t* index);

// A new call reference. The name is stored in normal form: FN or CFN in front
// goes with those kinds, and blanks and tabs at both ends.
[[nodiscard]] int McCallAdd(McProgram* program, McCallKind kind,
                            const char* name, uint16_t* index);

// Absent and empty texts count as none. With `file`, the other two texts are
// not stored.
[[nodiscard]] int McImportAdd(McProgram* program, uint8_t kind,
                              const char* name, const char* from,
                              const char* module, const char* file);
