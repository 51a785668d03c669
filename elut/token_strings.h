// Token strings: every text that the scanner makes.
//
// Names (identifiers, FN and CFN names, names of external variables) are kept
// once each: two tokens with the same text carry the same McName, which
// therefore is also the place where the program model notes what the name
// means just now. Texts of string literals are kept until the action that
// consumes one releases it. Nothing has to be released: everything goes when
// the file is done or its parse failed, with McTokenStringsFree.
//
// Keywords and built-in functions are names, too, so that one look-up decides
// what a word is.
#pragma once

#include <cstddef>
#include <cstdint>

// A name, closed by a zero byte. The pointer stays valid until
// McTokenStringsFree.
struct McName {
  uint32_t hash;
  uint32_t length;
  uint16_t token;  // what the scanner makes of it
  uint16_t value;  // number of a built-in function

  // The variable of the current routine that has this name, while `routine`
  // is the number of the current routine (see variables.h).
  uint32_t routine;
  uint16_t scope;
  uint16_t index;

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

// The name `length` bytes long at `text`, of which 16 more bytes may be read.
// nullptr when memory is exhausted.
[[nodiscard]] McName* McNameScan(const char* text, size_t length);

// The name of a text closed by a zero byte.
[[nodiscard]] McName* McNameIntern(const char* text);

// A text with room for `length` characters, empty for now; nullptr when memory
// is exhausted.
[[nodiscard]] McTokenText* McTokenTextNew(size_t length);

// Gives a text back.
void McTokenTextRelease(McTokenText* text);

// Frees all names and texts.
void McTokenStringsFree();
