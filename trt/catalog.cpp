// A module holds the texts of one catalog file, or of a file that was looked
// for in vain, so that nothing is looked for twice. Numbers may lie far apart,
// so the texts of a module are a hash table, not an array over all numbers.
#include "trt/catalog.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Cutil/ut_chars.h"
#include "Cutil/ut_file.h"

namespace {

constexpr size_t LONGEST_TEXT = 10000;
constexpr size_t LONGEST_HEADER = 100;
constexpr size_t MOST_DIGITS = 40;
constexpr char REFERENCE_MARK = '\4';

bool IsSeparator(char c) {
  return UtIsBlank(c) || c == ',';
}

void SkipSpace(std::string_view* text) {
  while (!text->empty() && UtIsSpace(text->front())) text->remove_prefix(1);
}

// Takes the digits at the start of the text. Numbers that are too high for
// anybody to ask for all become the same one.
int64_t TakeNumber(std::string_view* text, size_t* digits) {
  constexpr int64_t BEYOND = int64_t{INT_MAX} + 1;
  int64_t number = 0;
  *digits = 0;
  while (!text->empty() && UtIsDigit(text->front())) {
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
    if (first != '$' && !UtIsDigit(first)) return false;
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

}  // namespace

void CatalogSet::take_settings() {
  if (has_settings_) return;
  root_ = EnvValue("HD_U", DEFAULT_ROOT);
  version_ = EnvValue("HD_VE", "1700");
  language_ = EnvValue("HD_LA", "de");
  has_settings_ = true;
}

bool CatalogSet::with_prefix() {
  if (!has_prefix_setting_) {
    with_prefix_ = atoi(EnvValue("TQS_MSG_ID", "")) > 0;
    has_prefix_setting_ = true;
  }
  return with_prefix_;
}

// The path of a catalog file; empty when neither place has one.
UtString CatalogSet::find_file(const char* language, const char* name) {
  for (const char* folder : {"msg_c", "msg"}) {
    UtString path = root_;
    for (const char* part : {version_.c_str(), folder, language, name})
      path = directory_.join(path, part);
    if (PathIsFile(path.c_str())) return path;
  }
  return {};
}

void CatalogSet::read_module(const char* name, std::string_view rest,
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
    if (with_prefix()) {
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
CatalogSet::Module* CatalogSet::module_of(const char* language,
                                          const char* name) {
  UtString key(language);
  key.push_back('\0');
  key += name;
  const auto known = modules_.find(key);
  if (known != modules_.end()) return &known->second;
  const UtString path = find_file(language, name);
  UtString text;
  Module texts;
  // A file that cannot be read has no texts.
  if (!path.empty() &&
      UtReadWhole(path.c_str(), UT_LARGEST_FILE, &text) == RC_NO_MEMORY)
    throw std::bad_alloc();
  read_module(name, text, &texts);
  return &modules_.emplace(std::move(key), std::move(texts)).first->second;
}

// The text of a message, or nullptr.
const char* CatalogSet::find(const char* name, int number,
                             const char* default_text) {
  const auto text_of = [number](const Module& module) {
    const auto found = module.find(number);
    return found == module.end() ? nullptr : found->second.c_str();
  };
  if (last_ != nullptr && last_name_ == name)
    if (const char* text = text_of(*last_)) return text;
  const Module* own = module_of(language_.c_str(), name);
  last_ = nullptr;
  last_name_ = name;
  last_ = own;
  if (const char* text = text_of(*own)) return text;

  Module* fallback = module_of("en", name);
  if (const char* text = text_of(*fallback)) return text;
  if (default_text == nullptr || number < 1) return nullptr;
  return fallback->emplace(number, Handed(default_text)).first->second.c_str();
}

const char* CatalogSet::numbered_text(const char* name, int number) {
  snprintf(numbered_, sizeof numbered_, "%4.4d %40.40s", number, name);
  return numbered_;
}

const char* CatalogSet::lookup(const char* name, int number,
                               const char* default_text) {
  const char* text = nullptr;
  const int code = UtGuarded([&] {
    take_settings();
    if (*name == '\0' || version_.empty() || language_.empty())
      text = numbered_text(name, number);
    else
      text = find(name, number, default_text);
    return RC_OK;
  });
  if (code == RC_OK && text != nullptr) return text;
  return default_text != nullptr ? default_text : numbered_text(name, number);
}

bool CatalogSet::has(const char* language, const char* name, int number) {
  take_settings();
  return *name != '\0' && !version_.empty() &&
         module_of(language, name)->contains(number);
}

const char* CatalogSet::expand_reference(const char* text) {
  const size_t length = strnlen(text, LONGEST_REFERENCE + 1);
  if (text[0] != REFERENCE_MARK || length > LONGEST_REFERENCE) return text;
  memcpy(reference_, text, length + 1);
  char* parts[3];  // name, number, default text
  char* at = reference_ + 1;
  for (char*& part : parts) {
    part = at;
    at = strchr(at, REFERENCE_MARK);
    if (at == nullptr) return text;
    *at++ = '\0';
  }
  const int number = atoi(parts[1]);
  return number < 1 ? parts[2] : lookup(parts[0], number, parts[2]);
}
