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
// Declaring operations take the trees of their bounds and drop them in every
// case.
// They print nothing, and throw bad_alloc. They return 0, or a code:
//   RC_INVALID        no such table here, or no dimension count
//   RC_TABLE_FULL     the table has no room for one more
//   RC_NOT_EVALUABLE  a range for a STRING or POINT variable
//   RC_NO_MEMORY      a text value that is too long, and the other codes of
//                     evaluation (eval.h), for a bound
#pragma once

#include <cstdint>

#include "elut/compile/front.h"

// Makes `program`, or none, current, with no SUB and no body slot.
void McCompileEnter(McFront* front, McProgram* program);

// With a name: adds a SUB of that name and makes it current. Without: makes the
// main program current. Returns 0 or RC_TABLE_FULL.
[[nodiscard]] int McSubEnter(McFront* front, const char* name);

// Gives the current program a name; an empty or absent one removes it.
void McProgramSetName(McFront* front, const char* name);

// Stores the trees from `body` on: in the body slot if there is one, else in
// the current SUB, else in the program.
void McProgramSetBody(McFront* front, McNodeRef body);

// The table of a selector in the current routine, or nullptr.
McVarTable* McScopeTable(McFront* front, McScope scope);

// The variable of that name, as the payload of a node; 0 when there is none.
inline uint32_t McVarFind(const McFront* front, const McName* name) {
  return name->routine == front->compile.routine ? name->variable : 0;
}

// Trees of the bounds in a declaration, one after the other at the end of the
// array: the lower bound of the range from `low` on, the upper one from `high`
// on, DIM nodes from `dims` on.
struct McBounds {
  McNodeRef low, high, dims;
};

// A scalar, or an array when there are DIM nodes (the first 255 count), in the
// current scope and of the current type. Most have no bounds.
[[nodiscard]] int McVarDeclare(McFront* front, McName* name);
[[nodiscard]] int McVarDeclare(McFront* front, McName* name,
                               const McBounds& bounds);

// An array of `count` dimensions whose bounds an ALLOCATE statement sets.
[[nodiscard]] int McVarDeclareDynamic(McFront* front, McName* name,
                                      uint32_t count, const McBounds& bounds);

// A parameter that refers to an array of `count` dimensions.
[[nodiscard]] int McVarDeclareRef(McFront* front, McName* name, uint32_t count);

// Adds a COMMON block to the current routine and makes it the scope of the
// declarations that follow. A failure leaves the scope as it was.
[[nodiscard]] int McCommonDeclare(McFront* front, const char* name);

// The call reference of a name in the current program, added when there is none
// yet. The kind follows from what the name is. Returns 0 or RC_TABLE_FULL.
[[nodiscard]] int McCallOf(McFront* front, McName* name, McCallKind kind,
                           uint16_t* index);
