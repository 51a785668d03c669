// Which operator a token is. The scanner hands it over with the token, so that
// the parser need not know one operator from another that binds as it does.
#pragma once

#include <cstdint>

#include "elut/grammar.h"

// The number of the operator; 0 for a token that is none.
constexpr uint8_t McOperatorOf(int token) {
  switch (token) {
#define MC_OPERATOR(number, name, token, text) \
  case TOKEN_##token:                          \
    return number;
#include "elut/syntax/operators.def"
#undef MC_OPERATOR
    default: return 0;
  }
}
