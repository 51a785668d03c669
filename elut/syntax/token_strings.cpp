#include "elut/syntax/token_strings.h"

#include <cstring>

#include "Cutil/ut_arena.h"
#include "Cutil/ut_memory.h"
#include "elut/grammar.h"

namespace {

constexpr uint32_t FIRST_SLOTS = 1024;

// Stands for the table while there is none.
McName* no_slot = nullptr;

struct TokenStrings {
  UtArena names{UtArena::LARGEST_CHUNK / 4};
  UtArena texts{UtArena::LARGEST_CHUNK};
} state;

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
  if (!McIsLetter(text[0])) return TOKEN_SIGILNAME;
  if (length > 2 && memcmp(text, "FN", 2) == 0 && McIsLetter(text[2]))
    return TOKEN_FNNAME;
  if (length > 3 && memcmp(text, "CFN", 3) == 0 && McIsLetter(text[3]))
    return TOKEN_CFNNAME;
  return TOKEN_IDENT;
}

// The slot of the name, or the empty one where it belongs.
McName** SlotOf(const char* text, size_t length) {
  uint32_t at = HashOf(text, length) & mc_names.mask;
  for (;; at = (at + 1) & mc_names.mask) {
    McName* name = mc_names.slots[at];
    if (name == nullptr) break;
    if (name->length == length && memcmp(name->text(), text, length) == 0)
      break;
  }
  return &mc_names.slots[at];
}

bool IsStarted() {
  return mc_names.slots != &no_slot;
}

bool MakeTable(uint32_t slots) {
  auto* table = static_cast<McName**>(UtAllocZero(slots, sizeof(McName*)));
  if (table == nullptr) return false;
  const McNameTable old = mc_names;
  const bool grown = IsStarted();
  mc_names = {table, slots - 1, old.count};
  for (uint32_t i = 0; grown && i <= old.mask; i++) {
    const McName* name = old.slots[i];
    if (name != nullptr) *SlotOf(name->text(), name->length) = old.slots[i];
  }
  if (grown) UtFreeBlock(old.slots);
  return true;
}

McName* AddName(const char* text, size_t length, int token) {
  if (mc_names.count * 2 > mc_names.mask && !MakeTable((mc_names.mask + 1) * 2))
    return nullptr;
  // The whole text of a short name can be loaded as words.
  const size_t room = length < 8 ? 8 : length + 1;
  auto* name = static_cast<McName*>(state.names.take(sizeof(McName) + room));
  if (name == nullptr) return nullptr;
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
  *SlotOf(place, length) = name;
  mc_names.count++;
  return name;
}

bool Start() {
  if (!MakeTable(FIRST_SLOTS)) return false;
  int32_t function = 0;
  for (const Word& word : RESERVED) {
    char padded[16] = {};
    const size_t length = strlen(word.text);
    memcpy(padded, word.text, length);
    McName* name = AddName(padded, length, word.token);
    if (name == nullptr) {
      McTokenStringsFree();
      return false;
    }
    if (word.token == TOKEN_BUILTIN) name->value.integer = function++;
    if (word.token == TOKEN_RCONST) name->value.real = PI;
  }
  return true;
}

}  // namespace

McNameTable mc_names = {&no_slot, 0, 0};

McName* McNameSearch(const char* text, size_t length) {
  if (!IsStarted() && !Start()) return nullptr;
  McName* name = *SlotOf(text, length);
  return name != nullptr ? name : AddName(text, length, TokenOf(text, length));
}

McName* McNameIntern(const char* text) {
  const size_t length = strlen(text);
  if (length >= 8) return McNameScan(text, length);
  char padded[8] = {};
  memcpy(padded, text, length + 1);
  return McNameScan(padded, length);
}

McTokenText* McTokenTextNew(size_t length) {
  const size_t bytes = sizeof(McTokenText) + length + 1;
  if (bytes > UINT32_MAX) return nullptr;
  auto* text = static_cast<McTokenText*>(state.texts.take(bytes));
  if (text == nullptr) return nullptr;
  text->capacity = static_cast<uint32_t>(length + 1);
  text->length = 0;
  text->text()[0] = '\0';
  return text;
}

void McTokenTextRelease(McTokenText* text) {
  state.texts.give_back(text, sizeof(McTokenText) + text->capacity);
}

void McTokenStringsFree() {
  if (IsStarted()) UtFreeBlock(mc_names.slots);
  mc_names = {&no_slot, 0, 0};
  state.names.release();
  state.texts.release();
}
