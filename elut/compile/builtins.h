// Built-in functions: their numbers, names and signatures, and the call of one
// with evaluated arguments.
//
// Every built-in can stand in a program, and the run time knows them all. The
// compiler calls only those that a constant bound can need: it runs no
// command, opens no file and reads no clock because of a bound.
#pragma once

#include <cstdint>

#include "elut/compile/arithmetic.h"
#include "elut/model/value.h"

enum McBuiltin : uint16_t {
#define MC_BUILTIN(name, signature, function) MC_FN_##name,
#include "elut/syntax/builtins.def"
#undef MC_BUILTIN
};

// Indexed by number.
inline constexpr const char* MC_BUILTIN_NAMES[] = {
#define MC_BUILTIN(name, signature, function) #name,
#include "elut/syntax/builtins.def"
#undef MC_BUILTIN
};

inline constexpr unsigned MC_BUILTIN_COUNT =
    sizeof(MC_BUILTIN_NAMES) / sizeof(MC_BUILTIN_NAMES[0]);
static_assert(MC_BUILTIN_COUNT == 43);

// Fits arguments to a signature, whose characters builtins.def explains, and
// converts those that it asks to be converted. Returns 0; RC_BAD_ARGUMENT for
// a wrong type or count; the code of a failed conversion; or RC_BAD_STORAGE
// for a character that no signature has.
[[nodiscard]] int McFuncArguments(McMath* math, const char* signature,
                                  uint32_t count, McValue* arguments);

// Calls built-in number `function`. The arguments stay the caller's; some may
// have been converted. Returns 0, or a code with VOID as the result:
// RC_BAD_FUNCTION when the compiler has no such function, those of
// McFuncArguments, RC_BAD_ARGUMENT for a text that is no number,
// RC_MATH_LIBRARY, or RC_NO_MEMORY.
[[nodiscard]] int McFuncCall(McMath* math, unsigned function, uint32_t count,
                             McValue* arguments, McValue* result);
