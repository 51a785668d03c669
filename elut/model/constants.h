// Constant table of a program: the REAL and STRING constants of its trees.
//
// Equal constants share one entry; nodes refer to it by index. Equality is that
// of the values: two REALs that compare equal are one constant (0.0 and -0.0
// share the first one's entry), STRINGs must agree byte by byte. INTEGER
// constants live in their nodes.
#pragma once

#include <cstdint>

#include "Cutil/ut_index.h"
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
  // The index of the constant, which is added when there is no equal one; then
  // `*added` is true and the text is used as it stands, as long as the program.
  // Throw bad_alloc, with the table as it was.
  [[nodiscard]] uint32_t add_real(double real);
  [[nodiscard]] uint32_t add_string(const char* text, uint32_t length,
                                    bool* added);

  // Appends a constant as it was read from a file, whether there is an equal
  // one or not; its text stays where it is. Throws bad_alloc.
  void append(const McConstant& constant) { entries_.push_back(constant); }

  uint32_t count() const { return static_cast<uint32_t>(entries_.size()); }
  const McConstant& operator[](uint32_t index) const { return entries_[index]; }

 private:
  uint32_t add(const McConstant& constant);
  void make_room();
  void enter(uint32_t index);
  UtNumbered* slot_of(const McConstant& constant, uint32_t hash);

  UtVector<McConstant> entries_;
  UtIndex<UtNumbered, 3> index_;
  uint32_t entered_ = 0;  // entries that the index knows; the first add that
                          // needs it enters the others
};
