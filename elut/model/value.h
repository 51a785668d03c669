// Typed values: what evaluating a bound yields.
//
// An McValue owns the characters of a STRING; it can be moved, not copied.
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
  McValue() : integer(0) {}

  McValueType type = McValueType::VOID;
  union {
    int32_t integer;  // INTEGER
    double real;      // REAL
    McPoint point;    // POINT
  };
  UtText text;  // STRING
};

McValue McValueInteger(int32_t integer);
McValue McValueReal(double real);
McValue McValuePoint(double x, double y, double z);

// The longest text that a value may have: a bound that would need a longer one
// counts as one for which there is no memory.
inline constexpr size_t MC_LONGEST_TEXT = size_t{16} << 20;

// Makes `*value` a STRING with a copy of the characters. Returns 0, or
// RC_NO_MEMORY with `*value` unchanged.
[[nodiscard]] int McValueString(McValue* value, const char* text);
