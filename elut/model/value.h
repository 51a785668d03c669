// Typed values: what constants hold and what evaluating a bound yields.
//
// An McValue owns the characters of a STRING. It is a plain record, so a copy
// of it is the same value: whoever holds it last releases it, once.
#pragma once

#include <cstdint>

#include "Cutil/ut_text.h"

enum class McValueType : uint8_t {
  VOID = 0,  // no value
  INTEGER = 1,
  REAL = 2,
  STRING = 3,
  POINT = 4,
};

// The names under which listings print the types, indexed by code.
inline constexpr const char* MC_TYPE_NAMES[] = {"VOID", "INTEGER", "REAL",
                                                "STRING", "POINT"};

struct McPoint {
  double x, y, z;
};

struct McValue {
  McValueType type;
  union {
    int32_t integer;  // INTEGER
    double real;      // REAL
    UtText text;      // STRING; owns its characters
    McPoint point;    // POINT
  };
};

// A value of type VOID.
McValue McValueNone();
McValue McValueInteger(int32_t integer);
McValue McValueReal(double real);

// Makes `*value` a STRING with a copy of the characters. Returns 0 or
// RC_NO_MEMORY; `*value` is VOID then. What it held before is not released.
[[nodiscard]] int McValueString(McValue* value, const char* text);

// Releases what the value owns and makes it VOID.
void McValueRelease(McValue* value);
