// Names are records in an arena, found by an index of pointers to them.
// Reserved words are entered first.
#include "elut/syntax/token_strings.h"

#include <cstring>
#include <new>

#include "Cutil/ut_chars.h"
#include "Cutil/ut_hash.h"
#include "elut/grammar.h"
#include "elut/syntax/operators.h"

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

// Names whose memory is taken together.
constexpr size_t NAMES_AT_ONCE = 15;

// In a name that is too long for its key: no text has this byte.
constexpr uint64_t LONG_NAME = ~uint64_t{0};

// A name as it is searched for.
struct Wanted {
  Wanted(const char* chars, size_t count) : text(chars), length(count) {
    if (length <= McName::MEDIUM) {
      copy_to_key();
      hash = McNameKey{key[0], key[1]}.hash();
      if (length > McName::SHORT)
        hash = McNameKey{key[2] + hash, key[3] + hash}.hash();
    } else {
      hash = UtHash(text, length);
      key[0] = hash;
      key[1] = LONG_NAME;
    }
  }

  bool is(const McName& name) const {
    if (name.key[0] != key[0] || name.key[1] != key[1]) return false;
    if (length <= McName::MEDIUM)
      return name.key[2] == key[2] && name.key[3] == key[3];
    return name.length == length && memcmp(name.text(), text, length) == 0;
  }

  // Most names that are searched for have 16 characters or more, which two
  // copies of 16 cover.
  void copy_to_key() {
    auto* bytes = reinterpret_cast<char*>(key);
    if (length < 16) {
      memcpy(bytes, text, length);
    } else {
      memcpy(bytes, text, 16);
      memcpy(bytes + length - 16, text + length - 16, 16);
    }
  }

  const char* text;
  size_t length;
  uint64_t key[4] = {};
  uint32_t hash;
};

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
McNameSlot* SlotOf(McTokenStrings* strings, const Wanted& wanted) {
  return strings->names.slot(wanted.hash, [&](const McNameSlot& slot) {
    return slot.may_be(wanted.hash) && wanted.is(*slot.name());
  });
}

// Memory for a name.
McName* TakeName(McTokenStrings* strings, UtArena* arena) {
  if (strings->room == strings->room_end) {
    auto* block = static_cast<char*>(
        arena->take((NAMES_AT_ONCE + 1) * sizeof(McName) - 8));
    const size_t past = reinterpret_cast<uintptr_t>(block) % alignof(McName);
    block += past == 0 ? 0 : alignof(McName) - past;
    strings->room = reinterpret_cast<McName*>(block);
    strings->room_end = strings->room + NAMES_AT_ONCE;
  }
  return strings->room++;
}

McName* AddName(McTokenStrings* strings, UtArena* arena, const Wanted& wanted,
                int token) {
  strings->names.make_room(FIRST_SLOTS);
  McName* name = new (TakeName(strings, arena)) McName{};
  memcpy(name->key, wanted.key, sizeof name->key);
  name->length = static_cast<uint32_t>(wanted.length);
  name->token = static_cast<uint8_t>(token);
  name->value.name = name;
  if (wanted.length > McName::MEDIUM)
    name->key[2] =
        reinterpret_cast<uintptr_t>(arena->copy(wanted.text, wanted.length));
  strings->names.fill(SlotOf(strings, wanted), McNameSlot(wanted.hash, name));
  return name;
}

}  // namespace

uint32_t UtHashOf(const McNameSlot& slot) {
  const McName* name = slot.name();
  return Wanted(name->text(), name->length).hash;
}

McTokenStrings::McTokenStrings() {
  int32_t function = 0;
  for (const Word& word : RESERVED) {
    McName* name = AddName(this, &own_arena,
                           Wanted(word.text, strlen(word.text)), word.token);
    if (const uint8_t op = McOperatorOf(word.token)) {
      name->value = {};
      name->value.code = op;
    }
    if (word.token == TOKEN_BUILTIN) name->value.integer = function++;
    if (word.token == TOKEN_RCONST) name->value.real = PI;
  }
  room = room_end;
}

McName* McNameSearch(McTokenStrings* strings, const char* text, size_t length) {
  const Wanted wanted(text, length);
  McName* name = SlotOf(strings, wanted)->name();
  return name != nullptr
             ? name
             : AddName(strings, strings->arena, wanted, TokenOf(text, length));
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
