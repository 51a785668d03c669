// Evaluation of constant expressions: the bounds of ranges and dimensions,
// which declarations replace by their values.
//
// An evaluation sees the constants of its program and nothing of a running
// one: constants, operators and built-in functions have values, while
// variables, calls of routines and external variables are refused. It needs
// no native stack for a deep expression, only memory.
#pragma once

#include "elut/compile/front.h"

// Evaluates an expression of the current program. The caller owns the result.
// Returns 0, or a code with VOID as the result: RC_NO_EXPRESSION when there is
// no node, also for an operand; RC_NOT_EVALUABLE for a node that has no value
// at compile time; RC_NO_TRUTH for an operand of AND or OR; RC_NO_MEMORY; and
// those of operators and of built-in functions. The first failure of a
// built-in call in a run is also reported. Throws bad_alloc.
[[nodiscard]] int McEvalConst(McFront* front, const McTree& expression,
                              McValue* result);
