// Names are records in an arena, the text behind each, found by an index of
// pointers to them. Reserved words are entered first.
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

uint32_t HashOf(const char* text, size_t length) {
  return length <= MC_SHORT_NAME ? McKeyOfName(text, length).hash()
                                 : UtHash(text, length);
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
McName** SlotOf(McTokenStrings* strings, const char* text, size_t length) {
  return strings->names.slot(HashOf(text, length), [&](const McName* name) {
    return name->length == length && memcmp(name->text(), text, length) == 0;
  });
}

McName* AddName(McTokenStrings* strings, const char* text, size_t length,
                int token) {
  strings->names.make_room(FIRST_SLOTS);
  // The whole text of a short name can be loaded as words.
  const size_t room = length < 8 ? 8 : length + 1;
  void* block = strings->name_arena.take(sizeof(McName) + room);
  auto* name = static_cast<McName*>(block);
  *name = {};
  name->length = static_cast<uint32_t>(length);
  name->token = static_cast<uint16_t>(token);
  name->value.name = name;
  char* place = reinterpret_cast<char*>(name + 1);
  memcpy(place, text, length);
  memset(place + length, 0, room - length);
  if (length <= MC_SHORT_NAME) {
    const McNameKey key = McKeyOfName(place, length);
    name->key[0] = key.first;
    name->key[1] = key.last;
  }
  strings->names.fill(SlotOf(strings, place, length), name);
  return name;
}

}  // namespace

uint32_t UtHashOf(const McName* name) {
  return HashOf(name->text(), name->length);
}

McTokenStrings::McTokenStrings() {
  int32_t function = 0;
  for (const Word& word : RESERVED) {
    char padded[16] = {};
    const size_t length = strlen(word.text);
    memcpy(padded, word.text, length);
    McName* name = AddName(this, padded, length, word.token);
    if (word.token == TOKEN_BUILTIN) name->value.integer = function++;
    if (word.token == TOKEN_RCONST) name->value.real = PI;
  }
}

McName* McNameSearch(McTokenStrings* strings, const char* text, size_t length) {
  McName* name = *SlotOf(strings, text, length);
  return name != nullptr
             ? name
             : AddName(strings, text, length, TokenOf(text, length));
}

McName* McNameIntern(McTokenStrings* strings, const char* text) {
  const size_t length = strlen(text);
  if (length >= 8) return McNameScan(strings, text, length);
  char padded[8] = {};
  memcpy(padded, text, length + 1);
  return McNameScan(strings, padded, length);
}

McTokenText* McTokenTextNew(McTokenStrings* strings, size_t length) {
  const size_t bytes = sizeof(McTokenText) + length + 1;
  if (bytes > UINT32_MAX) throw std::bad_alloc();
  auto* text = static_cast<McTokenText*>(strings->text_arena.take(bytes));
  text->capacity = static_cast<uint32_t>(length + 1);
  text->length = 0;
  text->text()[0] = '\0';
  return text;
}

void McTokenTextRelease(McTokenStrings* strings, McTokenText* text) {
  strings->text_arena.give_back(text, sizeof(McTokenText) + text->capacity);
}
