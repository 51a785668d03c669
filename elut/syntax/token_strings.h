// Token strings: every text that the scanner makes.
//
// Names (identifiers, FN and CFN names, names of external variables) are kept
// once each: two tokens with the same text carry the same McName, which
// therefore is also the place where the program model notes what the name
// means just now. Texts of string literals are kept until the action that
// consumes one releases it.
//
// Names and texts lie in an arena that the scanner is given: that of the
// program or mask file being compiled, which goes on using them. Keywords and
// built-in functions are names, too, so that one look-up decides what a word
// is; they lie in an arena of their own.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Cutil/ut_arena.h"
#include "Cutil/ut_index.h"

struct McName;
struct McTokenText;

// What comes with a token.
union TokenValue {
  McName* name;       // IDENT, FNNAME, CFNNAME, SIGILNAME
  McTokenText* text;  // SCONST; whoever consumes it releases it
  int32_t integer;    // ICONST; BUILTIN: the number of the function
  double real;        // RCONST
  uint8_t code;       // ASSIGNOP: operator; SIGIL: the character
};

// A token: its number in the grammar, and what comes with it. Small enough to
// be handed back in registers.
struct McToken {
  int64_t token;
  TokenValue value;
};

// A name, whose address stays as long as the arena that it is in. It is one
// line of a processor's cache: whoever finds it has all of it.
//
// A text of up to 31 characters stands in the key, filled up with zeros; up to
// 15 need no more than its first two words. The key of a longer one holds its
// hash, a word that no text has, and where the text is.
struct alignas(64) McName {
  static constexpr size_t SHORT = 15;
  static constexpr size_t MEDIUM = 31;

  uint64_t key[4];
  TokenValue value;  // that comes with the token
  uint32_t length;   // characters

  // The variable of the current routine that has this name, as a node names
  // it, while `routine` is the number of the current routine.
  uint32_t routine;
  uint32_t variable;

  // The call reference of this name, while `program` is the number of the
  // current program.
  uint32_t program;
  uint16_t call;

  uint8_t token;  // what the scanner makes of it

  // Closed by a zero byte.
  const char* text() const {
    return length <= MEDIUM ? reinterpret_cast<const char*>(key)
                            : reinterpret_cast<const char*>(key[2]);
  }
};
static_assert(sizeof(McName) == 64);

// Text of a string literal, closed by a zero byte.
struct McTokenText {
  uint32_t length;  // without the zero byte

  char* text() { return reinterpret_cast<char*>(this + 1); }
};

// Where a name is, with 16 bits of its hash in the bits that no address has: a
// search looks at no other name, which would be somewhere else in memory.
class McNameSlot {
 public:
  McNameSlot() = default;
  McNameSlot(uint32_t hash, const McName* name)
      : bits_(uint64_t{hash >> 16} << ADDRESS_BITS |
              reinterpret_cast<uintptr_t>(name)) {}
  bool empty() const { return bits_ == 0; }
  bool may_be(uint32_t hash) const {
    return bits_ >> ADDRESS_BITS == hash >> 16;
  }
  McName* name() const {  // nullptr: empty
    return reinterpret_cast<McName*>(bits_ << 16 >> 16);
  }

 private:
  static constexpr unsigned ADDRESS_BITS = 48;
  uint64_t bits_ = 0;
};
static_assert(sizeof(void*) == 8);

uint32_t UtHashOf(const McNameSlot& slot);
inline bool UtIsEmpty(const McNameSlot& slot) {
  return slot.empty();
}
inline void UtPrefetch(const McNameSlot& slot) {
  __builtin_prefetch(slot.name());
}

struct McTokenStrings {
  // Knows the reserved words from the start. Throws bad_alloc.
  McTokenStrings();
  McTokenStrings(const McTokenStrings&) = delete;
  McTokenStrings& operator=(const McTokenStrings&) = delete;

  UtIndex<McNameSlot, 8> names;
  UtArena* arena = &own_arena;  // of names and texts; outlives them
  UtArena own_arena;            // of reserved words
  McName* room = nullptr;       // for names to come, in the arena
  McName* room_end = nullptr;
};

// A key as two words.
struct McNameKey {
  uint64_t first;
  uint64_t last;
  uint32_t hash() const {
    __extension__ using Product = unsigned __int128;
    const Product product =
        Product{first ^ 0x9E3779B97F4A7C15} * (last ^ 0xD1B54A32D192ED03);
    return static_cast<uint32_t>(product) ^
           static_cast<uint32_t>(product >> 64);
  }
};

// The name that is `length` characters long. Throws bad_alloc.
[[nodiscard]] McName* McNameSearch(McTokenStrings* strings, const char* text,
                                   size_t length);

// A text with room for `length` characters, empty for now. Throws bad_alloc.
[[nodiscard]] McTokenText* McTokenTextNew(McTokenStrings* strings,
                                          size_t length);

// Gives a text back.
void McTokenTextRelease(McTokenStrings* strings, McTokenText* text);
