// Syntax-tree nodes.
//
// Every statement and expression of a program is a tree of McNode records. They
// lie in one array, in the order in which a parser completes them: the children
// of a node in front of it, one after the other, then the node itself. So a
// tree is a range of the array that ends with its root, a list of trees is a
// range, and nothing is an empty range; no node has a link.
//
//   x = 1 + y;      0 VAR x   1 INT 1   2 VAR y   3 OPERA +   4 ASSIGN
//
// What a file needs is the other order, parents first. For that each node knows
// one distance. A node with children knows its first child. A node without is
// the first of every tree that begins with it, and knows the root of the
// largest of them: from there the first children lead down to it. So the array
// is read once from front to back, see McWalkTrees.
//
// Nodes carry no source position: the only lines in a tree are those of TRACE
// nodes. A tree lives as long as the array that it is in.
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
  VARIABLE,  // scope(), index()
  INTEGER,   // integer()
  NUMBER,    // number()
  FUNCTION,  // scope(), the number of a built-in function
  OPERATOR,  // op()
  INDEX,     // scope(), an index
  SIGIL,     // op(), the character
};

inline constexpr McPayload MC_KIND_PAYLOADS[] = {
#define MC_KIND(name, payload) McPayload::payload,
#include "elut/model/node_kinds.def"
#undef MC_KIND
};

// Operators of OPERA, and of ASSIGN where not 0.
enum McOperator : uint8_t {
#define MC_OPERATOR(number, name, token, text) MC_##name = (number),
#include "elut/syntax/operators.def"
#undef MC_OPERATOR
};

// Operators of UNARY.
enum McUnary : uint8_t {
  MC_VALUE = 0,  // a parenthesised variable, handed on as a value
  MC_PLUS = 1,
  MC_NEGATE = 2,
};

using McNodeRef = uint32_t;  // number of a node

// The bits of the payload are those of the file, the first byte on top.
struct McNode {
  static constexpr uint32_t KIND_BITS = 5;
  static constexpr uint32_t LEAF = 1u << KIND_BITS;
  static constexpr uint32_t DISTANCE_SHIFT = KIND_BITS + 1;

  uint32_t head;  // kind, LEAF, distance
  uint32_t payload;

  McNodeKind kind() const { return static_cast<McNodeKind>(head & (LEAF - 1)); }
  bool is_leaf() const { return (head & LEAF) != 0; }
  uint32_t distance() const { return head >> DISTANCE_SHIFT; }

  uint16_t scope() const { return static_cast<uint16_t>(payload >> 16); }
  uint16_t index() const { return static_cast<uint16_t>(payload); }
  int32_t integer() const { return static_cast<int32_t>(payload); }
  uint32_t number() const { return payload; }
  uint8_t op() const { return static_cast<uint8_t>(payload >> 24); }
};
static_assert(sizeof(McNode) == 8);
static_assert(MC_KIND_COUNT <= McNode::LEAF);
static_assert(UT_STRUCT_LIMIT <= 1u << (32 - McNode::DISTANCE_SHIFT));

// Payloads of nodes.
constexpr uint32_t McPayloadOf(uint16_t scope, uint16_t index) {
  return uint32_t{scope} << 16 | index;
}
constexpr uint32_t McPayloadOfIndex(uint16_t index) {
  return McPayloadOf(index, 0);
}
constexpr uint32_t McPayloadOfOperator(uint8_t op) {
  return uint32_t{op} << 24;
}

// A tree, or trees one after the other.
struct McTree {
  McNodeRef first = 0;
  uint32_t count = 0;  // nodes; 0: none

  bool is_none() const { return count == 0; }
  McNodeRef end() const { return first + count; }
  McNodeRef root() const { return first + count - 1; }  // of a single tree
};

// The array of nodes.
class McNodes {
 public:
  uint32_t count() const { return nodes_.count(); }
  const McNode& operator[](McNodeRef node) const { return nodes_[node]; }

  // Adds a node without children. Throws bad_alloc, as do the others.
  void add_leaf(McNodeKind kind, uint32_t payload) {
    nodes_.add({static_cast<uint32_t>(kind) | McNode::LEAF, payload});
  }

  // Adds a node over the list that begins with node `first` and is the last in
  // the array; an empty one makes it a leaf.
  void add_over(McNodeKind kind, uint32_t payload, McNodeRef first) {
    const McNodeRef made = nodes_.count();
    if (first == made) return add_leaf(kind, payload);
    McNode& begin = nodes_[first];
    const McNodeRef child = first + begin.distance();
    begin.head = (begin.head & ((1u << McNode::DISTANCE_SHIFT) - 1)) |
                 (made - first) << McNode::DISTANCE_SHIFT;
    nodes_.add(
        {static_cast<uint32_t>(kind) | (made - child) << McNode::DISTANCE_SHIFT,
         payload});
  }

  // Drops everything from node `first` on; and all there is, with its memory.
  void cut(McNodeRef first) { nodes_.cut(first); }
  void release() { nodes_.release(); }

  // Puts the trees from `middle` to the end in front of those from `first` to
  // `middle`.
  void rotate(McNodeRef first, McNodeRef middle);

  // The children of a node that has some: the first, and the one after another;
  // after the last one comes the node itself.
  McNodeRef first_child(McNodeRef node) const {
    return node - nodes_[node].distance();
  }
  McNodeRef next_child(McNodeRef child) const {
    const McNodeRef begin = child + 1;
    return nodes_[begin].is_leaf() ? begin + nodes_[begin].distance() : begin;
  }

 private:
  UtStruct<McNode> nodes_;
};

// Reads trees in the order of a file: enter(number) for a node before its
// children, leave(number) after them. Both return false to stop, and then
// McWalkTrees does. It needs no memory, however deep the trees are.
template <class Enter, class Leave>
bool McWalkTrees(const McNodes& nodes, McTree trees, Enter enter, Leave leave) {
  for (McNodeRef at = trees.first; at != trees.end(); at++) {
    if (nodes[at].is_leaf()) {
      // A leaf may begin a tree that goes on after this range.
      McNodeRef node = at + nodes[at].distance();
      while (node >= trees.end()) node = nodes.first_child(node);
      for (; node != at; node = nodes.first_child(node))
        if (!enter(node)) return false;
      if (!enter(at)) return false;
    }
    if (!leave(at)) return false;
  }
  return true;
}
