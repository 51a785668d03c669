// Syntax-tree nodes.
//
// Every statement and expression of a program is a tree of McNode records,
// taken from the node pool of the program that it belongs to. A node links to
// its first child and to the next node of the list that it stands in; links
// are record numbers of the pool, so a node takes 16 bytes. Nodes carry no
// source position: the only lines in a tree are those of TRACE nodes.
//
// A tree lives as long as its program and goes with the pool, or earlier,
// when a builder fails or a declaration has evaluated a bound.
#pragma once

#include <cstdint>

#include "util/ut_struct.h"

enum class McNodeKind : uint8_t {
#define MC_KIND(name, payload) name,
#include "elut/model/node_kinds.def"
#undef MC_KIND
};

inline constexpr const char* MC_KIND_NAMES[] = {
#define MC_KIND(name, payload) #name,
#include "elut/model/node_kinds.def"
#undef MC_KIND
};

inline constexpr unsigned MC_KIND_COUNT =
    sizeof(MC_KIND_NAMES) / sizeof(MC_KIND_NAMES[0]);
static_assert(MC_KIND_COUNT == 29);

// What the 4 payload bytes of a kind mean.
enum class McPayload : uint8_t {
  NONE,
  VARIABLE,  // variable.scope, variable.index
  INTEGER,   // integer
  NUMBER,    // number
  FUNCTION,  // index, the number of a built-in function
  OPERATOR,  // op
  INDEX,     // index
  SIGIL,     // sigil
};

inline constexpr McPayload MC_KIND_PAYLOADS[] = {
#define MC_KIND(name, payload) McPayload::payload,
#include "elut/model/node_kinds.def"
#undef MC_KIND
};

// Operators of OPERA, and of ASSIGN where not 0.
enum McOperator : uint8_t {
  MC_ADD = 1,
  MC_SUBTRACT = 2,
  MC_DIVIDE = 3,
  MC_MULTIPLY = 4,
  MC_POWER = 5,
  MC_MOD = 6,
  MC_DIV = 7,
  MC_EQUAL = 16,
  MC_NOT_EQUAL = 17,
  MC_GREATER = 18,
  MC_GREATER_EQUAL = 19,
  MC_LESS = 20,
  MC_LESS_EQUAL = 21,
  MC_AND = 22,
  MC_OR = 23,
  MC_RANGE = 32,  // lo TO hi, in CASE labels only
};

// Operators of UNARY.
enum McUnary : uint8_t {
  MC_VALUE = 0,  // a parenthesised variable, handed on as a value
  MC_PLUS = 1,
  MC_NEGATE = 2,
};

using McNodeRef = UtRecord;  // 0: no node

struct McNode {
  McNodeKind kind;
  McNodeRef child;    // first child
  McNodeRef sibling;  // next node of the same list
  union {
    struct {
      uint16_t scope;  // McScope
      uint16_t index;  // entry of that scope's table
    } variable;
    int32_t integer;
    uint32_t number;
    uint16_t index;
    uint8_t op;
    int8_t sigil;
  };
};
static_assert(sizeof(McNode) == 16);

// A list of nodes while it grows: its first and its last node.
struct McNodeList {
  McNodeRef first;
  McNodeRef last;
};

using McNodePool = UtStruct<McNode>;
