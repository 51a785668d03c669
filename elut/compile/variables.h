// Variables: what declarations add to the tables of the current routine, and
// how a name is found there.
//
// The current routine is a SUB of the current program, or its main program.
// It sees its own variables only: locals (selector 2), then parameters (3),
// then the COMMON blocks in the order of their declaration (16, 17, ...). A
// table may hold a name twice; the first entry is the one that is found.
//
// A name that is declared is noted in its McName together with the number of
// the routine, which is a new one whenever a routine is entered. So finding a
// variable takes one comparison, and leaving a routine takes nothing.
//
// Declaring operations take their expressions and release them in every case.
// They print nothing. They return 0, or a code:
//   RC_INVALID        no such table here, or no dimension count, or a full
//                     table (mc_compile.table_full is set then)
//   RC_NOT_EVALUABLE  a range for a STRING or POINT variable
//   RC_NO_MEMORY      and the codes of evaluation (eval.h) for a bound
#pragma once

#include <cstdint>

#include "elut/model/node.h"
#include "elut/model/program.h"
#include "elut/syntax/token_strings.h"

// What is being compiled just now. Scope and type of declarations outlive a
// parse; the driver resets them for each file.
struct McCompile {
  McProgram* program = nullptr;    // nullptr: none, nothing is built
  McSub* sub = nullptr;            // nullptr: main program
  McNodeRef* body_slot = nullptr;  // takes the main body instead of the program
  McScope scope = MC_SCOPE_LOCAL;  // where the next declaration goes
  McValueType type = McValueType::INTEGER;  // of the next declaration
  uint32_t routine = 1;                     // number of the current routine
  uint32_t program_number = 1;              // number of the current program
  bool table_full = false;                  // a table refused its 65536th entry
};
extern McCompile mc_compile;

// Makes `program`, or none, current, with no SUB and no body slot. Returns 0,
// or RC_NO_MEMORY when its variables and calls cannot be noted.
[[nodiscard]] int McCompileEnter(McProgram* program);

// Puts scope and type of declarations back to where a run starts.
void McCompileReset();

// With a name: adds a SUB of that name and makes it current. Without: makes the
// main program current.
[[nodiscard]] int McSubEnter(const char* name);

// Gives the current program a name; an empty or absent one removes it.
[[nodiscard]] int McProgramSetName(const char* name);

// Stores a body: in the body slot if there is one, else in the current SUB,
// else in the program.
void McProgramSetBody(McNodeRef body);

// The table of a selector in the current routine, or nullptr.
McVarTable* McScopeTable(McScope scope);

// Returns 0, RC_NO_VARIABLE, or RC_NOT_FOUND when no program is current.
[[nodiscard]] int McVarFind(const McName* name, McScope* scope,
                            uint16_t* index);

// A scalar, or an array when `dims` is a list of DIM nodes (the first 255
// count). `low` and `high` are none, or the bounds of a range.
[[nodiscard]] int McVarDeclare(McScope scope, McName* name, McValueType type,
                               McNodeRef low, McNodeRef high, McNodeRef dims);

// An array of `count` dimensions whose bounds an ALLOCATE statement sets.
[[nodiscard]] int McVarDeclareDynamic(McScope scope, McName* name,
                                      McValueType type, uint32_t count,
                                      McNodeRef low, McNodeRef high);

// A parameter that refers to an array of `count` dimensions.
[[nodiscard]] int McVarDeclareRef(McScope scope, McName* name, McValueType type,
                                  uint32_t count);

// Adds a COMMON block to the current routine and makes it the scope of the
// declarations that follow. A failure leaves the scope as it was.
[[nodiscard]] int McCommonDeclare(const char* name);

// The call reference of a name in the current program, added when there is none
// yet. The kind follows from what the name is.
[[nodiscard]] int McCallOf(McName* name, McCallKind kind, uint16_t* index);
