// Arithmetic on values: what operators and conversions do at compile time,
// which is what they do when the run time executes a program.
//
// INTEGER arithmetic wraps at 32 bits. Faults such as a division by 0 go
// through one handler, McMathError: it reports a line and sets the math error
// code, which the operation under way returns. Every operation starts with that
// code cleared, so no fault outlives the operation that met it.
#pragma once

#include <cstdint>

#include "elut/model/node.h"
#include "elut/model/value.h"
#include "elut/syntax/reports.h"

// The math error state of an evaluation.
struct McMath {
  McReportSink* reports;
  int code = 0;  // 0: no fault since the last operation began
};

// Converts in place: REAL to INTEGER takes the nearest integer, halves upward
// (-2.5 gives -2); INTEGER to REAL is exact; a value of that type stays as it
// is. Returns 0; RC_OVERFLOW or RC_UNDERFLOW, with the nearest INTEGER as the
// value; or RC_BAD_CONVERSION with the value unchanged.
[[nodiscard]] int McValueConvert(McMath* math, McValueType type,
                                 McValue* value);

// `*result` becomes left op right, for the McOperators 1 to 7 and 16 to 21.
// The operands stay the caller's, but a text may have moved from an operand,
// which is VOID then, into the result. Returns 0, RC_BAD_OPERATOR when the
// operator is not defined for these types, the code of a math error, or
// RC_NO_MEMORY, also for a text of more than 16 MiB.
[[nodiscard]] int McValueBinary(McMath* math, uint8_t op, McValue* left,
                                McValue* right, McValue* result);

// Applies an McUnary in place; a negated STRING is reversed. Returns 0,
// RC_BAD_UNARY, or RC_BAD_CONVERSION for a value without type.
[[nodiscard]] int McValueUnary(uint8_t op, McValue* value);

// The truth value: not always 0 or 1, since that of a STRING is its first
// byte, signed. Returns 0, or RC_BAD_CONVERSION for a value without type.
[[nodiscard]] int McValueTruth(const McValue& value, int32_t* truth);

enum class McMathFault : uint8_t {
  DOMAIN = 1,
  SINGULARITY = 2,
  OVERFLOW = 3,
  UNDERFLOW = 4,
  TLOSS = 5,
  PLOSS = 6,
  TYPE_CAST = 16,
};

// What the fault happened to; the error line begins with its name.
enum class McMathSubject : uint8_t { INTEGER, DIVISION, FLOATINGPOINT };

// Reports a line such as "DIVISION: DOMAIN ERROR" and sets the math error code.
// Returns the number to go on with: the nearest INTEGER, 0 for a division,
// else `value`.
double McMathError(McMath* math, McMathFault fault, McMathSubject subject,
                   double value);
