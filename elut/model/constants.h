// Constant table of a program: the REAL and STRING constants of its trees.
//
// Equal constants share one entry; nodes refer to it by index. Equality is that
// of the values: two REALs that compare equal are one constant (0.0 and -0.0
// share the first one's entry), STRINGs must agree byte by byte. INTEGER
// constants live in their nodes.
#pragma once

#include <cstdint>

#include "Cutil/ut_arena.h"
#include "Cutil/ut_memory.h"
#include "elut/model/value.h"

struct McConstant {
  McValueType type;  // REAL or STRING
  uint32_t length;   // STRING: bytes of the text
  union {
    double real;
    const char* text;  // STRING: in the arena of the program
  };
};

class McConstants {
 public:
  // The index of the constant, which is added when there is no equal one; the
  // text is copied. Return 0, or RC_NO_MEMORY with the table as it was.
  [[nodiscard]] int add_real(double real, uint32_t* index);
  [[nodiscard]] int add_string(UtArena* arena, const char* text,
                               uint32_t length, uint32_t* index);

  // Appends a constant as it was read from a file, whether there is an equal
  // one or not; its text stays where it is. Returns 0 or RC_NO_MEMORY.
  [[nodiscard]] int append(const McConstant& constant);

  uint32_t count() const { return static_cast<uint32_t>(entries_.size()); }
  const McConstant& operator[](uint32_t index) const { return entries_[index]; }
  void clear();

 private:
  struct Slot {
    uint32_t hash;
    uint32_t number;  // index + 1; 0: empty
  };
  int add(UtArena* arena, McConstant constant, uint32_t* index);
  void make_room();
  void enter(uint32_t index);
  Slot* slot_of(const McConstant& constant, uint32_t hash);

  UtVector<McConstant> entries_;
  UtVector<Slot> slots_;  // size 0 or a power of two, at most half full
  uint32_t entered_ = 0;  // entries that are in slots_; the first add enters
                          // those that were appended
};
