// Names are records in an arena, found by an index of pointers to them.
// Reserved words are entered first.
#include "elut/syntax/token_strings.h"

#include <cstring>

#include "Cutil/ut_chars.h"
#include "Cutil/ut_hash.h"
#include "elut/grammar.h"

namespace {

constexpr size_t FIRST_SLOTS = 1024;

struct Word {
  const char* text;
  int token;
};

constexpr Word RESERVED[] = {
#define MC_KEYWORD(word) {#word, TOKEN_##word},
#include "elut/syntax/tokens.def"
#undef MC_KEYWORD
#define MC_BUILTIN(name, signature, function) {#name, TOKEN_BUILTIN},
#include "elut/syntax/builtins.def"
#undef MC_BUILTIN
    {"PI", TOKEN_RCONST},
};

constexpr double PI = 3.141592653589793;

// Of long names: the last byte of a short name's key is 0.
constexpr uint64_t LONG_NAME = ~uint64_t{0};

McNameKey KeyOf(const char* text, size_t length) {
  uint64_t words[2] = {};
  if (length > McName::SHORT) return {UtHash(text, length), LONG_NAME};
  memcpy(words, text, length);
  return {words[0], words[1]};
}

// What a word that is not reserved is.
int TokenOf(const char* text, size_t length) {
  if (!UtIsLetter(text[0])) return TOKEN_SIGILNAME;
  if (length > 2 && memcmp(text, "FN", 2) == 0 && UtIsLetter(text[2]))
    return TOKEN_FNNAME;
  if (length > 3 && memcmp(text, "CFN", 3) == 0 && UtIsLetter(text[3]))
    return TOKEN_CFNNAME;
  return TOKEN_IDENT;
}

// The slot of the name, or the empty one where it belongs.
McName** SlotOf(McTokenStrings* strings, const McNameKey& key, const char* text,
                size_t length) {
  return strings->names.slot(key.hash(), [&](const McName* name) {
    return name->key[0] == key.first && name->key[1] == key.last &&
           (length <= McName::SHORT ||
            (name->length == length && memcmp(name->chars, text, length) == 0));
  });
}

McName* AddName(McTokenStrings* strings, UtArena* arena, const char* text,
                size_t length, int token) {
  strings->names.make_room(FIRST_SLOTS);
  const McNameKey key = KeyOf(text, length);
  auto* name = arena->take_array<McName>(1);
  *name = {};
  name->key[0] = key.first;
  name->key[1] = key.last;
  name->length = static_cast<uint32_t>(length);
  name->token = static_cast<uint8_t>(token);
  name->value.name = name;
  if (length > McName::SHORT) name->chars = arena->copy(text, length);
  strings->names.fill(SlotOf(strings, key, text, length), name);
  return name;
}

}  // namespace

uint32_t UtHashOf(const McName* name) {
  return McNameKey{name->key[0], name->key[1]}.hash();
}

McTokenStrings::McTokenStrings() {
  int32_t function = 0;
  for (const Word& word : RESERVED) {
    McName* name =
        AddName(this, &own_arena, word.text, strlen(word.text), word.token);
    if (word.token == TOKEN_BUILTIN) name->value.integer = function++;
    if (word.token == TOKEN_RCONST) name->value.real = PI;
  }
}

McName* McNameSearch(McTokenStrings* strings, const char* text, size_t length) {
  McName* name = *SlotOf(strings, KeyOf(text, length), text, length);
  return name != nullptr ? name
                         : AddName(strings, strings->arena, text, length,
                                   TokenOf(text, length));
}

McTokenText* McTokenTextNew(McTokenStrings* strings, size_t length) {
  const size_t bytes = sizeof(McTokenText) + length + 1;
  if (bytes > UINT32_MAX) throw std::bad_alloc();
  auto* text = static_cast<McTokenText*>(strings->arena->take(bytes));
  text->length = 0;
  text->text()[0] = '\0';
  return text;
}

void McTokenTextRelease(McTokenStrings* strings, McTokenText* text) {
  strings->arena->give_back(text, sizeof(McTokenText) + text->length + 1);
}
