#include "trt/catalog.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string_view>
#include <unordered_map>

#include "Cutil/ut_memory.h"
#include "services/environment.h"

// A module holds the texts of one catalog file, or of a file that was looked
// for in vain, so that nothing is looked for twice. Numbers may lie far apart,
// so the texts of a module are a hash table, not an array over all numbers.

namespace {

constexpr size_t LONGEST_TEXT = 10000;
constexpr size_t LONGEST_HEADER = 100;
constexpr size_t MOST_DIGITS = 40;
constexpr size_t LONGEST_REFERENCE = 1023;
constexpr char REFERENCE_MARK = '\4';

struct TextHash {
  size_t operator()(const UtString& text) const {
    return std::hash<std::string_view>()(text);
  }
};

template <class Key, class Value, class Hash>
using Table = std::unordered_map<Key, Value, Hash, std::equal_to<Key>,
                                 UtAllocator<std::pair<const Key, Value>>>;

using Module = Table<int, UtString, std::hash<int>>;
using ModuleTable = Table<UtString, Module, TextHash>;

struct CatalogState {
  bool has_settings = false;
  UtString root, version, language;
  bool has_prefix_setting = false;
  bool with_prefix = false;  // texts start with letter and number

  ModuleTable modules;           // by language, zero byte, name
  UtString last_name;            // name of the module asked for last
  const Module* last = nullptr;  // in the user's language

  char numbered[64] = {};                      // "0012    cad_msg.txt"
  char reference[LONGEST_REFERENCE + 1] = {};  // being expanded
};

// Made at the first lookup; most runs have none.
CatalogState& State() {
  static CatalogState state;
  return state;
}

void TakeSettings(CatalogState* state) {
  if (state->has_settings) return;
  state->root = EnvValue("HD_U", DEFAULT_ROOT);
  state->version = EnvValue("HD_VE", "1700");
  state->language = EnvValue("HD_LA", "de");
  state->has_settings = true;
}

bool WithPrefix(CatalogState* state) {
  if (!state->has_prefix_setting) {
    state->with_prefix = atoi(EnvValue("TQS_MSG_ID", "")) > 0;
    state->has_prefix_setting = true;
  }
  return state->with_prefix;
}

// The path of a catalog file; empty when neither place has one.
int FindFile(const CatalogState& state, const char* language, const char* name,
             UtString* path) {
  for (const char* folder : {"msg_c", "msg"}) {
    *path = state.root;
    for (const char* part : {state.version.c_str(), folder, language, name})
      if (const int code = PathJoin(path->c_str(), part, path)) return code;
    if (PathIsFile(path->c_str())) return RC_OK;
  }
  path->clear();
  return RC_OK;
}

bool IsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
bool IsSeparator(char c) {
  return c == ' ' || c == '\t' || c == ',';
}

void SkipSpace(std::string_view* text) {
  while (!text->empty() && IsSpace(text->front())) text->remove_prefix(1);
}

// Takes the digits at the start of the text. Numbers that are too high for
// anybody to ask for all become the same one.
int64_t TakeNumber(std::string_view* text, size_t* digits) {
  constexpr int64_t BEYOND = int64_t{INT_MAX} + 1;
  int64_t number = 0;
  *digits = 0;
  while (!text->empty() && IsDigit(text->front())) {
    number = number * 10 + (text->front() - '0');
    if (number > BEYOND) number = BEYOND;
    text->remove_prefix(1);
    ++*digits;
  }
  return number;
}

struct Record {
  int64_t number;
  std::string_view text;
};

// Takes the next record, past comments and lines whose number has no
// separator. False where the reading of the file ends.
bool TakeRecord(std::string_view* rest, Record* record) {
  while (true) {
    SkipSpace(rest);
    if (rest->empty()) return false;
    const char first = rest->front();
    if (first != '$' && !IsDigit(first)) return false;
    size_t end = rest->find_first_of("\r\n");
    if (end == std::string_view::npos) end = rest->size();
    std::string_view line = rest->substr(0, end);
    rest->remove_prefix(end);
    if (first == '$') continue;
    size_t digits;
    record->number = TakeNumber(&line, &digits);
    if (digits > MOST_DIGITS || line.empty() || !IsSeparator(line.front()))
      continue;
    record->text = line.substr(1);
    return true;
  }
}

bool TakeWord(std::string_view* text, std::string_view word) {
  SkipSpace(text);
  if (!text->starts_with(word)) return false;
  text->remove_prefix(word.size());
  return true;
}

// Takes the header, "TRT 1 : MMSGID 950:Messages" with the number 1.
bool TakeHeader(std::string_view* rest, std::string_view* title) {
  Record record;
  if (!TakeRecord(rest, &record) || record.number != 1) return false;
  std::string_view text = record.text.substr(0, LONGEST_HEADER);
  size_t digits;
  if (!TakeWord(&text, "TRT")) return false;
  SkipSpace(&text);
  if (TakeNumber(&text, &digits) != 1) return false;
  if (!TakeWord(&text, ":") || !TakeWord(&text, "MMSGID")) return false;
  SkipSpace(&text);
  if (TakeNumber(&text, &digits) < 1) return false;
  if (!TakeWord(&text, ":")) return false;
  *title = text;
  return true;
}

// What is handed out of a text: it ends before the first "##". A further "##"
// moves the end by one, so that "###" keeps its first "#".
std::string_view Handed(std::string_view text) {
  const size_t mark = text.find("##");
  if (mark == std::string_view::npos) return text;
  const bool further = text.find("##", mark + 1) != std::string_view::npos;
  return text.substr(0, mark + (further ? 1 : 0));
}

void ReadModule(CatalogState* state, const char* name, std::string_view rest,
                Module* module) {
  Record record;
  if (!TakeHeader(&rest, &record.text)) return;
  module->emplace(1, Handed(record.text));
  int64_t highest = 1;
  UtString text;
  while (TakeRecord(&rest, &record)) {
    if (record.number <= highest) continue;
    highest = record.number;
    if (highest > INT_MAX) break;
    text.clear();
    if (WithPrefix(state)) {
      char prefix[16];
      snprintf(prefix, sizeof prefix, "%c%d", name[0],
               static_cast<int>(highest));
      text = prefix;
    }
    text += record.text.substr(0, LONGEST_TEXT);
    if (text.size() > LONGEST_TEXT) text.resize(LONGEST_TEXT);
    module->emplace(static_cast<int>(highest), Handed(text));
  }
}

// Finds or creates the module of a name in a language.
int GetModule(CatalogState* state, const char* language, const char* name,
              Module** module) {
  UtString key(language);
  key.push_back('\0');
  key += name;
  const auto known = state->modules.find(key);
  if (known != state->modules.end()) {
    *module = &known->second;
    return RC_OK;
  }
  UtString path, text;
  Module texts;
  if (const int code = FindFile(*state, language, name, &path)) return code;
  const int code = path.empty() ? RC_OK : FileReadWhole(path.c_str(), &text);
  if (code == RC_NO_MEMORY) return code;
  ReadModule(state, name, text, &texts);
  *module =
      &state->modules.emplace(std::move(key), std::move(texts)).first->second;
  return RC_OK;
}

const char* FindText(const Module& module, int number) {
  const auto found = module.find(number);
  return found == module.end() ? nullptr : found->second.c_str();
}

// Leaves nullptr in `*text` when no module has the message.
int Find(CatalogState* state, const char* name, int number,
         const char* default_text, const char** text) {
  if (state->last != nullptr && state->last_name == name) {
    *text = FindText(*state->last, number);
    if (*text != nullptr) return RC_OK;
  }
  Module* module;
  if (const int code = GetModule(state, state->language.c_str(), name, &module))
    return code;
  state->last = nullptr;
  state->last_name = name;
  state->last = module;
  *text = FindText(*module, number);
  if (*text != nullptr) return RC_OK;

  if (const int code = GetModule(state, "en", name, &module)) return code;
  *text = FindText(*module, number);
  if (*text != nullptr || default_text == nullptr || number < 1) return RC_OK;
  *text = module->emplace(number, Handed(default_text)).first->second.c_str();
  return RC_OK;
}

const char* NumberedText(CatalogState* state, const char* name, int number) {
  snprintf(state->numbered, sizeof state->numbered, "%4.4d %40.40s", number,
           name);
  return state->numbered;
}

}  // namespace

const char* CatalogLookup(const char* name, int number,
                          const char* default_text) {
  CatalogState& state = State();
  const char* text = nullptr;
  const int code = UtGuarded([&] {
    TakeSettings(&state);
    if (*name == '\0' || state.version.empty() || state.language.empty())
      text = NumberedText(&state, name, number);
    else
      return Find(&state, name, number, default_text, &text);
    return static_cast<int>(RC_OK);
  });
  if (code == RC_OK && text != nullptr) return text;
  if (default_text != nullptr) return default_text;
  return NumberedText(&state, name, number);
}

const char* CatalogExpandReference(const char* text) {
  const size_t length = strnlen(text, LONGEST_REFERENCE + 1);
  if (text[0] != REFERENCE_MARK || length > LONGEST_REFERENCE) return text;
  char* reference = State().reference;
  memcpy(reference, text, length + 1);
  char* parts[3];  // name, number, default text
  char* at = reference + 1;
  for (char*& part : parts) {
    part = at;
    at = strchr(at, REFERENCE_MARK);
    if (at == nullptr) return text;
    *at++ = '\0';
  }
  const int number = atoi(parts[1]);
  return number < 1 ? parts[2] : CatalogLookup(parts[0], number, parts[2]);
}

void CatalogReset() {
  State() = {};
}
