// Names stand in an open-addressing table that is at most half full. Their
// texts are filled up with zero bytes to whole words, so that two names are
// compared word by word.
#include "elut/token_strings.h"

#include <cstring>

#include "Cutil/ut_arena.h"
#include "Cutil/ut_memory.h"
#include "elut/grammar.h"
#include "elut/scan_bytes.h"

namespace {

constexpr uint32_t FIRST_SLOTS = 1024;

struct Slot {
  uint32_t hash;
  McName* name;  // nullptr: empty
};

struct TokenStrings {
  Slot* slots = nullptr;
  uint32_t mask = 0;   // number of slots - 1
  uint32_t count = 0;  // names
  UtArena names{UtArena::LARGEST_CHUNK / 4};
  UtArena texts{UtArena::LARGEST_CHUNK};
} state;

struct Word {
  const char* text;
  int token;
  int value;
};

constexpr Word RESERVED[] = {
#define MC_KEYWORD(word) {#word, TOKEN_##word, 0},
#include "elut/tokens.def"
#undef MC_KEYWORD
#define MC_BUILTIN(name, signature, function) {#name, TOKEN_BUILTIN, -1},
#include "elut/builtins.def"
#undef MC_BUILTIN
    {"PI", TOKEN_RCONST, 0},
};

uint64_t Mix(uint64_t hash, uint64_t word) {
  hash = (hash ^ word) * 0x9E3779B97F4A7C15;
  return hash ^ (hash >> 32);
}

uint32_t Hash(const char* text, size_t length) {
  uint64_t hash = length;
  while (length > 8) {
    hash = Mix(hash, McLoadBytes(text, 8));
    text += 8;
    length -= 8;
  }
  return static_cast<uint32_t>(Mix(hash, McLoadBytes(text, length)));
}

bool SameText(const McName* name, const char* text, size_t length) {
  if (name->length != length) return false;
  const char* known = name->text();
  for (; length > 8; known += 8, text += 8, length -= 8)
    if (McLoadBytes(known, 8) != McLoadBytes(text, 8)) return false;
  return McLoadBytes(known, 8) == McLoadBytes(text, length);
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

Slot* SlotOf(uint32_t hash) {
  uint32_t at = hash & state.mask;
  while (state.slots[at].name != nullptr) at = (at + 1) & state.mask;
  return &state.slots[at];
}

bool MakeTable(uint32_t slots) {
  auto* table = static_cast<Slot*>(UtAllocZero(slots, sizeof(Slot)));
  if (table == nullptr) return false;
  Slot* old = state.slots;
  const uint32_t old_slots = old == nullptr ? 0 : state.mask + 1;
  state.slots = table;
  state.mask = slots - 1;
  for (uint32_t i = 0; i < old_slots; i++)
    if (old[i].name != nullptr) *SlotOf(old[i].hash) = old[i];
  UtFree(&old);
  return true;
}

McName* AddName(uint32_t hash, const char* text, size_t length, int token) {
  if (state.count * 2 > state.mask && !MakeTable((state.mask + 1) * 2))
    return nullptr;
  const size_t room = (length + 8) & ~size_t{7};
  auto* name = static_cast<McName*>(state.names.take(sizeof(McName) + room));
  if (name == nullptr) return nullptr;
  *name = {};
  name->hash = hash;
  name->length = static_cast<uint32_t>(length);
  name->token = static_cast<uint16_t>(token);
  char* place = reinterpret_cast<char*>(name + 1);
  memset(place, 0, room);
  memcpy(place, text, length);
  *SlotOf(hash) = {hash, name};
  state.count++;
  return name;
}

bool Start() {
  if (!MakeTable(FIRST_SLOTS)) return false;
  uint16_t function = 0;
  for (const Word& word : RESERVED) {
    char padded[32] = {};
    const size_t length = strlen(word.text);
    memcpy(padded, word.text, length);
    McName* name = AddName(Hash(padded, length), padded, length, word.token);
    if (name == nullptr) {
      McTokenStringsFree();
      return false;
    }
    if (word.value < 0) name->value = function++;
  }
  return true;
}

}  // namespace

McName* McNameScan(const char* text, size_t length) {
  if (state.slots == nullptr && !Start()) return nullptr;
  const uint32_t hash = Hash(text, length);
  for (uint32_t at = hash & state.mask;; at = (at + 1) & state.mask) {
    const Slot& slot = state.slots[at];
    if (slot.name == nullptr) break;
    if (slot.hash == hash && SameText(slot.name, text, length))
      return slot.name;
  }
  return AddName(hash, text, length, TokenOf(text, length));
}

McName* McNameIntern(const char* text) {
  const size_t length = strlen(text);
  McTokenText* padded = McTokenTextNew(length + 16);
  if (padded == nullptr) return nullptr;
  memcpy(padded->text(), text, length + 1);
  McName* name = McNameScan(padded->text(), length);
  McTokenTextRelease(padded);
  return name;
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
  UtFree(&state.slots);
  state.mask = state.count = 0;
  state.names.release();
  state.texts.release();
}
