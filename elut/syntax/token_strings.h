// Token strings: every text that the scanner makes.
//
// Names (identifiers, FN and CFN names, names of external variables) are kept
// once each: two tokens with the same text carry the same McName, which
// therefore is also the place where the program model notes what the name
// means just now. Texts of string literals are kept until the action that
// consumes one releases it. Nothing has to be released: everything goes with
// the McTokenStrings of the compile.
//
// Keywords and built-in functions are names, too, so that one look-up decides
// what a word is.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Cutil/ut_arena.h"
#include "Cutil/ut_index.h"
#include "elut/syntax/scan_bytes.h"

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

// A name, closed by a zero byte. The pointer stays valid as
// long as the McTokenStrings.
struct McName {
  uint64_t key[2];   // of a short name, see McNameKey
  uint32_t length;   // characters
  uint16_t token;    // what the scanner makes of it, and the value that comes
  TokenValue value;  // with the token

  // The variable of the current routine that has this name, as a node names
  // it, while `routine` is the number of the current routine.
  uint32_t routine;
  uint32_t variable;

  // The call reference of this name, while `program` is the number of the
  // current program.
  uint16_t call;
  uint32_t program;

  // The copy of the text that program number `stored_in` owns.
  uint32_t stored_in;
  const char* stored;

  // The characters stand behind the record.
  const char* text() const { return reinterpret_cast<const char*>(this + 1); }
};

// Text of a string literal, closed by a zero byte.
struct McTokenText {
  uint32_t capacity;  // bytes at text()
  uint32_t length;    // without the zero byte

  char* text() { return reinterpret_cast<char*>(this + 1); }
};

// A name of up to 16 characters is known by its length and two words: the first
// and the last 8 characters, which may overlap, or all of them and none.
inline constexpr size_t MC_SHORT_NAME = 16;

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

// 8 bytes can be read at `text` also when the name is shorter.
inline McNameKey McKeyOfName(const char* text, size_t length) {
  if (length < 8) return {McLoadBytes(text, length), 0};
  return {McLoadBytes(text, 8), McLoadBytes(text + length - 8, 8)};
}

struct McTokenStrings {
  // Knows the reserved words from the start. Throws bad_alloc.
  McTokenStrings();
  McTokenStrings(const McTokenStrings&) = delete;
  McTokenStrings& operator=(const McTokenStrings&) = delete;

  UtIndex<McName*> names;
  UtArena name_arena{UtArena::LARGEST_CHUNK / 4};
  UtArena text_arena{UtArena::LARGEST_CHUNK};
};

uint32_t UtHashOf(const McName* name);
inline bool UtIsEmpty(const McName* name) {
  return name == nullptr;
}

// The name `length` bytes long at `text`, of which 8 bytes may be read in any
// case. Throws bad_alloc.
[[nodiscard]] McName* McNameSearch(McTokenStrings* strings, const char* text,
                                   size_t length);

[[nodiscard]] inline McName* McNameScan(McTokenStrings* strings,
                                        const char* text, size_t length) {
  // Nearly every word of a source is short, and stands in its first slot.
  if (length <= MC_SHORT_NAME) {
    const McNameKey key = McKeyOfName(text, length);
    McName* name = strings->names.first(key.hash());
    if (name != nullptr && name->key[0] == key.first &&
        name->key[1] == key.last && name->length == length)
      return name;
  }
  return McNameSearch(strings, text, length);
}

// The name of a text closed by a zero byte.
[[nodiscard]] McName* McNameIntern(McTokenStrings* strings, const char* text);

// A text with room for `length` characters, empty for now. Throws bad_alloc.
[[nodiscard]] McTokenText* McTokenTextNew(McTokenStrings* strings,
                                          size_t length);

// Gives a text back.
void McTokenTextRelease(McTokenStrings* strings, McTokenText* text);
