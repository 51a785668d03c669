// What the values of fields mean, in words: names of codes, and of what an
// index refers to.
#pragma once

#include "tools/compiled/walk.h"
#include "tools/output.h"

// Appends what the value means where the walk is; nothing when the number says
// it all.
void CompiledMeaning(const CompiledWalk& walk, const CompiledValue& value,
                     ToolOutput* out);

// The same for all of the payload of a node: "local 0 i".
void CompiledMeaning(const CompiledWalk& walk, const CompiledNode& node,
                     ToolOutput* out);

inline constexpr const char* UNARY_OPERATORS[] = {"value", "plus", "minus"};
inline constexpr const char* MEMBERS[] = {"X", "Y", "Z"};

// The name of an operator, of a variable scope, of a member; nullptr for codes
// that do not exist.
const char* CompiledOperator(uint8_t op);
const char* CompiledUnary(uint8_t op);
