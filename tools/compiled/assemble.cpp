// Two passes over the text with one parser. Counts stand in front of what they
// count, and trees in front of the tables that they refer to: so the first pass
// counts and collects names, and the second one writes the file from front to
// back. When the file turns out to be none that can be read, a third one writes
// it to nowhere, up to the byte in question, to name the word that it is from.
#include <charconv>
#include <cstring>
#include <deque>
#include <limits>
#include <unordered_map>
#include <vector>

#include "Cutil/codes.h"
#include "elut/compile/builtins.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"
#include "elut/model/mask_objects.h"
#include "elut/model/program.h"
#include "tools/compiled/assembly.h"
#include "tools/compiled/assembly_lines.h"
#include "tools/compiled/check.h"
#include "tools/compiled/meaning.h"
#include "util/xd_header.h"

namespace {

// Names of a program ----------------------------------------------------------

// What names refer to, by a key that says what kind of thing it is.
class Names {
 public:
  static constexpr uint32_t AMBIGUOUS = std::numeric_limits<uint32_t>::max();

  void add(const std::string& key, uint32_t number) {
    const auto [place, added] = numbers_.emplace(key, number);
    if (!added) place->second = AMBIGUOUS;
  }
  // nullptr: there is none.
  const uint32_t* find(const std::string& key) const {
    const auto found = numbers_.find(key);
    return found == numbers_.end() ? nullptr : &found->second;
  }

  uint32_t slots = 0;
  uint32_t calls = 0;
  std::vector<std::string> subs;  // with "=" in front; empty: no name
  std::vector<uint8_t> constant_types;
  // Entries of the variable tables: those of the routines one after the other,
  // of each its locals, parameters and COMMON blocks.
  std::vector<uint32_t> tables;
  std::vector<size_t> routines;  // where the tables of each begin

 private:
  std::unordered_map<std::string, uint32_t> numbers_;
};

// The parser ------------------------------------------------------------------

class Assembler {
 public:
  explicit Assembler(std::string_view text) : text_(text) {}

  void count() { run(nullptr); }
  void write(XdSink* file) { run(file); }
  // Throws a fault of the word that the byte at an offset of the file comes
  // from. Behind a write.
  [[noreturn]] void blame(uint64_t offset, const std::string& message);

 private:
  // Where a word stands.
  struct Place {
    size_t line, column;
  };
  // Takes the bytes of a file that only their offsets are wanted of.
  class Nowhere : public XdSink {
   public:
    bool write(const uint8_t*, size_t count) override {
      written += count;
      return true;
    }
    uint64_t written = 0;
  };

  void run(XdSink* file);
  bool writing() const { return sink_ != nullptr; }

  // Words of the line, from the second on.
  [[noreturn]] void fail(const std::string& message) const;
  [[noreturn]] void expect(const char* what) const {
    fail(std::string("expected ") + what);
  }
  bool more() const {
    return at_ < lines_->count() && word().kind != AssemblyWordKind::OPEN;
  }
  const AssemblyWord& word() const { return (*lines_)[at_]; }
  bool take_word(std::string_view text);
  bool text_follows() const {
    return more() && word().kind == AssemblyWordKind::TEXT;
  }
  // Valid up to the next line. nullptr when no text follows.
  const std::string* take_text();
  template <class Number>
  Number take_number(const char* what);
  double take_real();
  template <size_t COUNT>
  bool take_name(const char* const (&names)[COUNT], uint32_t* number);
  bool take_open();
  void next_line();
  void begin_block();                 // the rest of the line is "{"
  bool in_block();                    // false, and behind it, when it ends
  void end_block(const char* what) {  // what it could have been otherwise
    if (!in_block()) return;
    at_ = 0;
    expect(what);
  }

  // Counts: the first pass appends them in the order of the file, the second
  // one takes them in the same order.
  size_t open_count() {
    if (!writing()) counts_.push_back(0);
    return next_count_++;
  }
  void add_to(size_t count, uint32_t limit);

  // Items.
  [[noreturn]] static void put_failed() { throw std::bad_alloc(); }
  void wrote() {
    if (blaming_ != nullptr) [[unlikely]]
      look_for_byte(latest());
  }
  void look_for_byte(const Place& from) const;
  Place latest() const;
  void u8(uint32_t value);
  void u16(uint32_t value);
  void u32(uint32_t value);
  void i8(int8_t value);
  void f64(double value);
  void put_text(const std::string* text);
  void put_constant(const std::string& text);

  void header();
  void program();
  void pool();
  void imports();
  void constants();
  size_t node_count();
  void body(size_t nodes);
  void node();
  void variables(const char* name);
  void variable();
  void commons();
  void subs();
  void calls();
  void attributes();
  void handlers();
  void object_fields();
  void editors();

  uint32_t refer(const std::string& key, const char* what, uint32_t entries);
  void variable_reference();
  void constant_reference(McValueType type);
  template <size_t COUNT>
  uint32_t code(const char* const (&names)[COUNT], const char* what,
                uint32_t limit);
  std::string key_of(char sort, std::string_view text) const {
    return sort + std::string(text);
  }
  // The table of a scope of the routine, and the key of a variable in it.
  size_t table_of(uint32_t scope) const {
    if (scope < MC_SCOPE_COMMON) return scope - MC_SCOPE_LOCAL;
    return scope - MC_SCOPE_COMMON + 2;
  }
  std::string variable_key(uint32_t scope, std::string_view name) const {
    return "v" + std::to_string(routine_) + ":" + std::to_string(scope) + ":" +
           std::string(name);
  }
  std::string common_key(std::string_view name) const {
    return "b" + std::to_string(routine_) + ":" + std::string(name);
  }

  std::string_view text_;
  AssemblyLines* lines_ = nullptr;
  size_t at_ = 0;  // next word of the line
  XdSink* sink_ = nullptr;
  XdStream* xd_ = nullptr;
  std::vector<uint32_t> counts_;
  size_t next_count_ = 0;
  std::deque<Names> programs_;
  size_t next_program_ = 0;
  Names* names_ = nullptr;
  size_t routine_ = 0;  // of the program; 0: the main program
  uint32_t scope_ = 0;  // of the table of variables
  XdFileKind kind_ = XD_KIND_PROGRAM;

  // The pass that looks for a byte.
  Nowhere* blaming_ = nullptr;
  uint64_t byte_ = 0;
  const std::string* complaint_ = nullptr;
  const Place* given_at_ = nullptr;  // of an item whose line is behind us
};

void Assembler::fail(const std::string& message) const {
  const size_t count = lines_->count();
  const size_t column = at_ < count ? word().column
                        : count > 0 ? (*lines_)[count - 1].column
                                    : 1;
  lines_->fail(column, message);
}

bool Assembler::take_word(std::string_view text) {
  if (!more() || word().kind != AssemblyWordKind::WORD || word().word != text)
    return false;
  at_++;
  return true;
}

const std::string* Assembler::take_text() {
  return text_follows() ? &(*lines_)[at_++].text : nullptr;
}

// Decimal, or hexadecimal with 0x.
template <class Number>
Number Assembler::take_number(const char* what) {
  if (!more() || word().kind != AssemblyWordKind::WORD) expect(what);
  std::string_view digits = word().word;
  int base = 10;
  if (digits.starts_with("0x")) {
    digits.remove_prefix(2);
    base = 16;
  }
  Number number = 0;
  const auto [end, code] = std::from_chars(
      digits.data(), digits.data() + digits.size(), number, base);
  if (code == std::errc::result_out_of_range)
    fail(std::string(what) + " is out of range");
  if (code != std::errc() || end != digits.data() + digits.size()) expect(what);
  at_++;
  return number;
}

double Assembler::take_real() {
  if (!more() || word().kind != AssemblyWordKind::WORD) expect("a number");
  const std::string_view digits = word().word;
  double number = 0;
  if (digits.starts_with("0x")) {
    const auto bits = take_number<uint64_t>("the bits of a number");
    memcpy(&number, &bits, sizeof bits);
    return number;
  }
  const auto [end, code] =
      std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (code != std::errc() || end != digits.data() + digits.size())
    expect("a number");
  at_++;
  return number;
}

template <size_t COUNT>
bool Assembler::take_name(const char* const (&names)[COUNT], uint32_t* number) {
  for (uint32_t i = 0; i < COUNT; i++) {
    if (names[i] == nullptr || !take_word(names[i])) continue;
    *number = i;
    return true;
  }
  return false;
}

bool Assembler::take_open() {
  const bool open =
      at_ < lines_->count() && word().kind == AssemblyWordKind::OPEN;
  if (open) at_++;
  return open;
}

void Assembler::next_line() {
  if (at_ < lines_->count()) fail("something that does not belong here");
  lines_->advance();
  at_ = 1;
}

void Assembler::begin_block() {
  if (!take_open()) expect("\"{\"");
  next_line();
}

bool Assembler::in_block() {
  if (lines_->at_end()) expect("\"}\" before the end of the text");
  if (!lines_->closes()) return true;
  next_line();
  return false;
}

void Assembler::add_to(size_t count, uint32_t limit) {
  if (writing()) return;
  if (counts_[count]++ == limit) {
    at_ = 0;
    fail("more than " + std::to_string(limit) + " entries");
  }
}

// Items -----------------------------------------------------------------------

// The word that was taken last.
Assembler::Place Assembler::latest() const {
  if (given_at_ != nullptr) return *given_at_;
  if (lines_->at_end()) return {lines_->number(), 1};
  return {lines_->number(), (*lines_)[at_ > 0 ? at_ - 1 : 0].column};
}

void Assembler::look_for_byte(const Place& from) const {
  const auto waiting = static_cast<uint64_t>(xd_->next - xd_->start);
  if (blaming_->written + waiting > byte_)
    throw AssemblyFault{from.line, from.column, *complaint_};
}

void Assembler::blame(uint64_t offset, const std::string& message) {
  Nowhere nowhere;
  blaming_ = &nowhere;
  byte_ = offset;
  complaint_ = &message;
  run(&nowhere);
  // The file ends in front of that byte, and so does the text.
  AssemblyLines lines(text_);
  while (!lines.at_end()) lines.advance();
  throw AssemblyFault{lines.number(), 1, message};
}

void Assembler::u8(uint32_t value) {
  auto byte = static_cast<uint8_t>(value);
  if (writing() && !XdUChar(xd_, &byte)) put_failed();
  wrote();
}
void Assembler::u16(uint32_t value) {
  auto item = static_cast<uint16_t>(value);
  if (writing() && !XdUShort(xd_, &item)) put_failed();
  wrote();
}
void Assembler::u32(uint32_t value) {
  if (writing() && !XdULong(xd_, &value)) put_failed();
  wrote();
}
void Assembler::i8(int8_t value) {
  if (writing() && !XdChar(xd_, &value)) put_failed();
  wrote();
}
void Assembler::f64(double value) {
  if (writing() && !XdDouble(xd_, &value)) put_failed();
  wrote();
}

void Assembler::put_text(const std::string* text) {
  if (text != nullptr && text->find('\0') != std::string::npos) {
    at_--;
    fail("a text with a zero byte");
  }
  const char* characters = text == nullptr ? nullptr : text->c_str();
  if (writing() && !XdText(xd_, nullptr, &characters)) put_failed();
  wrote();
}

// Constants have a length of their own in front.
void Assembler::put_constant(const std::string& text) {
  if (text.find('\0') != std::string::npos) {
    at_--;
    fail("a text with a zero byte");
  }
  u32(static_cast<uint32_t>(text.size()));
  if (writing() && !XdCharacters(xd_, const_cast<char*>(text.data()),
                                 static_cast<uint32_t>(text.size())))
    put_failed();
  wrote();
}

// Programs --------------------------------------------------------------------

void Assembler::pool() {
  uint32_t flags = POOL_UNIQUE;
  const size_t slots = open_count();
  // Places of texts in the buffer as appending gives them.
  uint64_t reserved = 0;
  std::string texts;
  bool own_places = false;
  const bool there = lines_->is("pool");
  if (there) begin_block();
  const bool flags_given = there && lines_->is("flags");
  if (flags_given) flags = take_number<uint32_t>("flags");
  const bool own_texts = (flags & POOL_OWN_TEXTS) != 0;
  u16(1);
  const uint32_t count = writing() ? counts_[slots] : 0;
  u32(count);
  u32(flags);
  if (flags_given) next_line();
  while (there && (lines_->is("slot") || lines_->is("free"))) {
    add_to(slots, UINT32_MAX - 1);
    const uint32_t number = names_->slots;
    if (!writing()) names_->slots++;
    if (lines_->is("free")) {
      u32(0);
      next_line();
      continue;
    }
    const auto references = take_number<uint32_t>("a number of references");
    if (references == 0) {
      at_--;
      expect("a number of references, 1 or more");
    }
    const std::string* text = take_text();
    if (text == nullptr) expect("a text");
    if (text->find('\0') != std::string::npos) fail("a text with a zero byte");
    if (!writing()) names_->add(key_of('e', *text), number);
    u32(references);
    if (own_texts) {
      put_constant(*text);
    } else {
      const uint64_t bytes = text->size() + 1;
      uint64_t offset = reserved;
      if (take_word("at")) {
        offset = take_number<uint32_t>("a place");
        own_places = true;
      }
      u32(static_cast<uint32_t>(bytes));
      u32(static_cast<uint32_t>(offset));
      if (writing()) texts.append(text->c_str(), bytes);
      reserved += bytes;
    }
    next_line();
  }
  const auto line = [&](const char* name, uint32_t value) {
    const bool given = there && lines_->is(name);
    if (given) value = take_number<uint32_t>("a number");
    u32(value);
    if (given) next_line();
  };
  line("reuse_start", count == 0 ? 0 : count - 1);
  line("unused_start", count);
  if (!own_texts) {
    // The buffer may stand behind its capacity, which follows from it.
    uint32_t capacity = 0;
    const bool capacity_given = there && lines_->is("capacity");
    Place capacity_place = latest();
    if (capacity_given) {
      capacity = take_number<uint32_t>("a number");
      capacity_place = latest();
      next_line();
    }
    if (there && lines_->is("texts")) {
      const std::string* text = take_text();
      if (text == nullptr) expect("a text");
      texts = *text;
      next_line();
    } else if (own_places) {
      expect("the line of the texts, since slots have places of their own");
    }
    auto used = static_cast<uint32_t>(texts.size());
    if (!capacity_given && used > 0)
      capacity = (used / POOL_TEXT_STEP + 1) * POOL_TEXT_STEP;
    given_at_ = &capacity_place;
    u32(used);
    u32(capacity);
    given_at_ = nullptr;
    char* block = texts.data();
    uint32_t room = used;
    if (writing() && !XdBytes(xd_, &block, &used, &room)) put_failed();
    wrote();
  }
  if (there) end_block("\"}\"");
}

void Assembler::imports() {
  const size_t count = open_count();
  u16(writing() ? counts_[count] : 0);
  if (!lines_->is("imports")) return;
  begin_block();
  while (in_block()) {
    add_to(count, MC_TABLE_LIMIT);
    const bool csub = lines_->is("csub");
    if (!csub && !lines_->is("macro")) {
      at_ = 0;
      expect("macro or csub");
    }
    const std::string* name = take_text();
    const bool file = take_word("file");
    const bool from = !file && take_word("from");
    const std::string* source = file || from ? take_text() : nullptr;
    if (from && source == nullptr) expect("a text");
    u8((csub ? MC_IMPORT_CSUB : MC_IMPORT_MACRO) | (file ? MC_IMPORT_FILE : 0));
    put_text(name);
    put_text(source);
    if (!file) {
      const bool module = take_word("module");
      const std::string* text = module ? take_text() : nullptr;
      if (module && text == nullptr) expect("a text");
      put_text(text);
    }
    next_line();
  }
}

// The key of a REAL is the bits of its value.
std::string RealKey(double value) {
  char bytes[sizeof value];
  memcpy(bytes, &value, sizeof value);
  return "r" + std::string(bytes, sizeof bytes);
}

void Assembler::constants() {
  const size_t count = open_count();
  u32(writing() ? counts_[count] : 0);
  if (!lines_->is("constants")) return;
  begin_block();
  while (in_block()) {
    add_to(count, UINT32_MAX - 1);
    const auto number = static_cast<uint32_t>(names_->constant_types.size());
    if (lines_->is("real")) {
      const double value = take_real();
      if (!writing()) names_->add(RealKey(value), number);
      u8(static_cast<uint32_t>(McValueType::REAL));
      f64(value);
    } else if (lines_->is("string")) {
      const std::string* text = take_text();
      if (text == nullptr) expect("a text");
      if (!writing()) names_->add(key_of('k', *text), number);
      u8(static_cast<uint32_t>(McValueType::STRING));
      put_constant(*text);
    } else {
      at_ = 0;
      expect("real or string");
    }
    if (!writing())
      names_->constant_types.push_back(static_cast<uint8_t>(
          lines_->is("real") ? McValueType::REAL : McValueType::STRING));
    next_line();
  }
}

// Trees -----------------------------------------------------------------------

// A reference by number, or by a name under that key.
uint32_t Assembler::refer(const std::string& key, const char* what,
                          uint32_t entries) {
  if (!writing()) {
    at_++;
    return 0;
  }
  uint32_t number = 0;
  if (word().kind == AssemblyWordKind::WORD) {
    const std::string_view digits = word().word.substr(1);
    const auto [end, code] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (!word().word.starts_with("#") || code != std::errc() ||
        end != digits.data() + digits.size())
      fail(std::string("expected the name or the #number of ") + what);
  } else {
    const uint32_t* found = names_->find(key);
    if (found == nullptr) fail(std::string("there is no such ") + what);
    if (*found == Names::AMBIGUOUS)
      fail(std::string("more than one ") + what +
           " has that name: its #number is needed");
    number = *found;
  }
  if (number >= entries)
    fail(std::string("there is no such ") + what + ": the table has " +
         std::to_string(entries));
  at_++;
  return number;
}

void Assembler::variable_reference() {
  uint32_t scope = MC_SCOPE_LOCAL;
  const size_t first = writing() ? names_->routines[routine_] : 0;
  const size_t last = !writing() ? 0
                      : routine_ + 1 < names_->routines.size()
                          ? names_->routines[routine_ + 1]
                          : names_->tables.size();
  if (take_word("parameter")) {
    scope = MC_SCOPE_PARAMETER;
    if (routine_ == 0) fail("the main program has no parameters");
  } else if (take_word("common")) {
    if (!more()) expect("a COMMON block");
    const auto blocks = static_cast<uint32_t>(last - first - 2);
    scope = MC_SCOPE_COMMON + refer(word().kind == AssemblyWordKind::TEXT
                                        ? common_key(word().text)
                                        : "",
                                    "COMMON block", blocks);
  } else if (!take_word("local")) {
    expect("local, parameter or common");
  }
  if (!more()) expect("a variable");
  const uint32_t entries =
      writing() ? names_->tables[first + table_of(scope)] : 0;
  const uint32_t index = refer(word().kind == AssemblyWordKind::TEXT
                                   ? variable_key(scope, word().text)
                                   : "",
                               "variable", entries);
  u16(scope);
  u16(index);
}

void Assembler::constant_reference(McValueType type) {
  if (!more()) expect("a constant");
  const bool real = type == McValueType::REAL;
  uint32_t number;
  if (real && !word().word.starts_with("#")) {
    const double value = take_real();
    at_--;
    const uint32_t* found = writing() ? names_->find(RealKey(value)) : nullptr;
    if (writing() && found == nullptr) fail("there is no such constant");
    if (writing() && *found == Names::AMBIGUOUS)
      fail("more than one constant has that value: its #number is needed");
    number = writing() ? *found : 0;
    at_++;
  } else {
    number = refer(
        word().kind == AssemblyWordKind::TEXT ? key_of('k', word().text) : "",
        "constant", static_cast<uint32_t>(names_->constant_types.size()));
    if (writing() &&
        names_->constant_types[number] != static_cast<uint8_t>(type)) {
      at_--;
      fail("a constant of another type");
    }
  }
  u32(number);
}

// The code that a word names, or "#" and the code itself.
template <size_t COUNT>
uint32_t Assembler::code(const char* const (&names)[COUNT], const char* what,
                         uint32_t limit) {
  uint32_t number = 0;
  if (take_name(names, &number)) return number;
  if (!more() || word().kind != AssemblyWordKind::WORD ||
      !word().word.starts_with("#"))
    expect(what);
  const std::string_view digits = word().word.substr(1);
  const auto [end, result] =
      std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (result != std::errc() || end != digits.data() + digits.size() ||
      number > limit)
    expect(what);
  at_++;
  return number;
}

struct OperatorNames {
  const char* names[MC_RANGE + 1] = {};
  constexpr OperatorNames() {
#define MC_OPERATOR(number, name, token, text) names[number] = text;
#include "elut/syntax/operators.def"
#undef MC_OPERATOR
  }
};
constexpr OperatorNames OPERATORS;

void Assembler::node() {
  uint32_t kind = 0;
  at_ = 0;
  if (!take_name(MC_KIND_NAMES, &kind) || kind == 0) expect("a kind of node");
  u8(kind);
  switch (static_cast<McNodeKind>(kind)) {
    case McNodeKind::VAR:
    case McNodeKind::REFVAR: variable_reference(); break;
    case McNodeKind::INT:
      u32(static_cast<uint32_t>(take_number<int32_t>("an integer")));
      break;
    case McNodeKind::REAL: constant_reference(McValueType::REAL); break;
    case McNodeKind::STRING: constant_reference(McValueType::STRING); break;
    case McNodeKind::FUNC: {
      const uint32_t number =
          code(MC_BUILTIN_NAMES, "a built-in function", UINT16_MAX);
      u16(number);
      u16(more() ? code(MC_BUILTIN_NAMES, "a built-in function", UINT16_MAX)
                 : number);
      break;
    }
    case McNodeKind::ASSIGN:
      u8(more() ? code(OPERATORS.names, "an operator", UINT8_MAX) : 0);
      break;
    case McNodeKind::OPERA:
      u8(code(OPERATORS.names, "an operator", UINT8_MAX));
      break;
    case McNodeKind::UNARY:
      u8(code(UNARY_OPERATORS, "value, plus or minus", UINT8_MAX));
      break;
    case McNodeKind::CALL: {
      constexpr const char* KINDS[] = {nullptr, "sub", "fn", "cfn"};
      uint32_t sort = 0;
      (void)take_name(KINDS, &sort);
      if (!more()) expect("a call");
      std::string key;
      if (word().kind == AssemblyWordKind::TEXT) {
        if (sort == 0) expect("sub, fn or cfn in front of a name");
        key = key_of(static_cast<char>('0' + sort), word().text);
      }
      u16(refer(key, "call", names_->calls));
      break;
    }
    case McNodeKind::TRACE: u32(take_number<uint32_t>("a line")); break;
    case McNodeKind::REFER: u16(code(MEMBERS, "X, Y or Z", UINT16_MAX)); break;
    case McNodeKind::EXTERN:
      if (!more()) expect("an external variable");
      u32(refer(
          word().kind == AssemblyWordKind::TEXT ? key_of('e', word().text) : "",
          "external variable", names_->slots));
      break;
    case McNodeKind::EXTIND: {
      const std::string* sigil = take_text();
      if (sigil == nullptr || sigil->size() != 1)
        expect("a text of one character");
      i8(static_cast<int8_t>((*sigil)[0]));
      break;
    }
    default: break;
  }
}

size_t Assembler::node_count() {
  const size_t nodes = open_count();
  uint32_t count = writing() ? counts_[nodes] : 0;
  const bool given = lines_->is("nodes");
  if (given) count = take_number<uint32_t>("a number of nodes");
  u32(count);
  if (given) next_line();
  return nodes;
}

void Assembler::body(size_t nodes) {
  if (!lines_->is("body")) return u8(0);
  begin_block();
  size_t depth = 0;
  do {
    if (lines_->at_end()) expect("\"}\" before the end of the text");
    if (lines_->closes()) {
      if (depth == 0) expect("a node");
      depth--;
      u8(0);
      next_line();
      continue;
    }
    add_to(nodes, UT_STRUCT_LIMIT);
    node();
    if (take_open())
      depth++;
    else
      u8(0);
    next_line();
  } while (depth > 0);
  end_block("\"}\": a body is one node");
}

// Variables -------------------------------------------------------------------

void Assembler::variable() {
  at_ = 0;
  uint32_t type = 0, storage = 0, dimensions = 0, flags = 0;
  if (!take_name(MC_TYPE_NAMES, &type)) expect("the type of a variable");
  const std::string* name = take_text();
  (void)take_name(MC_STORAGE_NAMES, &storage);
  // What is in front of the name in the file depends on what follows it here.
  if (take_word("dims")) {
    dimensions = take_number<uint8_t>("a number of dimensions");
  }
  int32_t range[2] = {};
  double real_range[2] = {};
  if (take_word("range")) {
    flags |= HAS_RANGE;
    for (int i = 0; i < 2; i++) {
      if (type == static_cast<uint32_t>(McValueType::INTEGER))
        range[i] = take_number<int32_t>("an integer");
      else if (type == static_cast<uint32_t>(McValueType::REAL))
        real_range[i] = take_real();
      else
        fail("only INTEGER and REAL variables have a range");
    }
  }
  std::vector<int32_t> bounds;
  if (take_word("bounds")) {
    flags |= HAS_DIMS;
    while (more()) bounds.push_back(take_number<int32_t>("an integer"));
    if (bounds.size() % 2 != 0) expect("an upper bound, too");
    if (bounds.size() / 2 > UINT8_MAX) fail("more than 255 dimensions");
    dimensions = static_cast<uint32_t>(bounds.size() / 2);
  }
  if (!writing() && name != nullptr)
    names_->add(variable_key(scope_, *name), names_->tables.back());
  if (!writing()) names_->tables.back()++;
  u8(type);
  u8(storage);
  u8(dimensions);
  u8(flags);
  put_text(name);
  if ((flags & HAS_RANGE) != 0) {
    for (int i = 0; i < 2; i++) {
      if (type == static_cast<uint32_t>(McValueType::INTEGER))
        u32(static_cast<uint32_t>(range[i]));
      else
        f64(real_range[i]);
    }
  }
  for (const int32_t bound : bounds) u32(static_cast<uint32_t>(bound));
  next_line();
}

// The entries of a table, up to the end of its block if it has one.
void Assembler::variables(const char* name) {
  const size_t count = open_count();
  if (!writing()) names_->tables.push_back(0);
  uint32_t required = 0;
  const bool there = name == nullptr || lines_->is(name);
  if (there) begin_block();
  const bool given = there && lines_->is("required");
  if (given) required = take_number<uint16_t>("a number of arguments");
  u16(writing() ? counts_[count] : 0);
  u16(required);
  if (given) next_line();
  while (there && in_block()) {
    add_to(count, MC_TABLE_LIMIT);
    variable();
  }
}

void Assembler::commons() {
  const size_t count = open_count();
  u16(writing() ? counts_[count] : 0);
  for (uint32_t block = 0; lines_->is("common"); block++) {
    add_to(count, MC_TABLE_LIMIT);
    const std::string* text = take_text();
    const bool named = text != nullptr;
    const std::string name = named ? *text : std::string();
    if (!writing() && named) names_->add(common_key(name), block);
    scope_ = MC_SCOPE_COMMON + block;
    const Place place = latest();
    variables(nullptr);
    given_at_ = &place;
    put_text(named ? &name : nullptr);
    given_at_ = nullptr;
  }
}

// Routines --------------------------------------------------------------------

void Assembler::subs() {
  const size_t count = open_count();
  u16(writing() ? counts_[count] : 0);
  while (lines_->is("sub")) {
    add_to(count, MC_TABLE_LIMIT);
    const std::string* name = take_text();
    routine_++;
    if (!writing()) {
      if (name != nullptr)
        names_->add(key_of('s', *name), static_cast<uint32_t>(routine_ - 1));
      names_->subs.push_back(name == nullptr ? "" : "=" + *name);
      names_->routines.push_back(names_->tables.size());
    }
    put_text(name);
    begin_block();
    scope_ = MC_SCOPE_LOCAL;
    variables("locals");
    scope_ = MC_SCOPE_PARAMETER;
    variables("parameters");
    commons();
    // The count of a SUB's nodes is not in the file.
    body(open_count());
    end_block("locals, parameters, common, body or \"}\"");
  }
  routine_ = 0;
}

void Assembler::calls() {
  const size_t count = open_count();
  u16(writing() ? counts_[count] : 0);
  if (!lines_->is("calls")) return;
  constexpr const char* KINDS[] = {nullptr, "sub", "fn", "cfn"};
  begin_block();
  while (in_block()) {
    add_to(count, MC_TABLE_LIMIT);
    at_ = 0;
    const bool external = take_word("external");
    uint32_t sort = 0;
    if (!take_name(KINDS, &sort)) expect("sub, fn or cfn");
    const bool cfn = sort == static_cast<uint32_t>(McCallKind::CFN);
    if (external && cfn) fail("CFN routines are always external");
    u8(sort | (external ? EXTERNAL_CALL : 0));
    const char letter = static_cast<char>('0' + sort);
    if (external || cfn) {
      const std::string* name = take_text();
      if (!writing() && name != nullptr)
        names_->add(key_of(letter, *name), names_->calls);
      put_text(name);
    } else {
      // SUBs stand in front of the calls, so their names are known by now.
      if (!more()) expect("a SUB");
      uint32_t sub = 0;
      const bool by_name = word().kind == AssemblyWordKind::TEXT;
      if (!writing() && !by_name && word().word.starts_with("#")) {
        const std::string_view digits = word().word.substr(1);
        (void)std::from_chars(digits.data(), digits.data() + digits.size(),
                              sub);
        if (sub < names_->subs.size() && !names_->subs[sub].empty())
          names_->add(key_of(letter, names_->subs[sub].substr(1)),
                      names_->calls);
      }
      if (!writing() && by_name)
        names_->add(key_of(letter, word().text), names_->calls);
      u16(refer(by_name ? key_of('s', word().text) : "", "SUB",
                static_cast<uint32_t>(names_->subs.size())));
    }
    if (!writing()) names_->calls++;
    next_line();
  }
}

void Assembler::program() {
  if (!writing()) programs_.emplace_back();
  names_ = &programs_[next_program_++];
  routine_ = 0;
  u8(1);
  pool();
  const std::string* name = nullptr;
  const bool named = lines_->is("name");
  if (named) {
    name = take_text();
    if (name == nullptr) expect("a text");
  }
  put_text(name);
  if (named) next_line();
  imports();
  constants();
  const size_t nodes = node_count();
  if (!writing()) names_->routines.push_back(0);
  body(nodes);
  scope_ = MC_SCOPE_LOCAL;
  variables("variables");
  // The main program has a table of parameters that is always empty.
  if (!writing()) names_->tables.push_back(0);
  commons();
  subs();
  calls();
}

// Masks -----------------------------------------------------------------------

void Assembler::attributes() {
  const size_t count = open_count();
  u16(writing() ? counts_[count] : 0);
  for (;;) {
    uint32_t type;
    if (lines_->is("integer"))
      type = static_cast<uint32_t>(AttributeType::INTEGER);
    else if (lines_->is("text"))
      type = static_cast<uint32_t>(AttributeType::STRING);
    else if (lines_->is("own_text"))
      type = static_cast<uint32_t>(AttributeType::OWN_STRING);
    else if (lines_->is("type"))
      type = take_number<uint8_t>("a type of attribute");
    else
      return;
    add_to(count, MC_TABLE_LIMIT);
    u8(type);
    const std::string* name = take_text();
    if (name == nullptr) expect("the name of the attribute");
    put_text(name);
    if (lines_->is("integer"))
      u32(static_cast<uint32_t>(take_number<int32_t>("an integer")));
    else if (!lines_->is("type"))
      put_text(take_text());
    next_line();
  }
}

void Assembler::handlers() {
  const size_t count = open_count();
  u16(writing() ? counts_[count] : 0);
  while (lines_->is("on")) {
    add_to(count, MC_TABLE_LIMIT);
    const auto events = take_number<uint32_t>("events");
    const auto key = take_number<int32_t>("a key");
    const bool attribute_list = take_word("attributes");
    const bool program_body = !attribute_list && take_word("program");
    uint32_t kind = static_cast<uint32_t>(
        attribute_list ? HandlerKind::ATTRIBUTES : HandlerKind::PROGRAM);
    if (!attribute_list && !program_body) {
      if (!take_word("kind")) expect("attributes, program or kind");
      kind = take_number<uint8_t>("a kind of handler");
    }
    u8(kind);
    u32(events);
    u32(static_cast<uint32_t>(key));
    if (attribute_list) {
      begin_block();
      attributes();
      end_block("an attribute or \"}\"");
    } else if (program_body && !take_word("none")) {
      begin_block();
      program();
      end_block("a part of the program or \"}\"");
    } else {
      if (program_body) u8(0);
      next_line();
    }
  }
}

// What an object has, up to the objects in it.
void Assembler::object_fields() {
  const std::string* name = take_text();
  if (name == nullptr) expect("the name of the object");
  if (name->size() >= MASK_NAME_BYTES) {
    at_--;
    fail("a name of more than " + std::to_string(MASK_NAME_BYTES - 1) +
         " characters");
  }
  put_text(name);
  begin_block();
  attributes();
  handlers();
  if (!lines_->is("module")) return u8(0);
  begin_block();
  program();
  end_block("a part of the program or \"}\"");
}

void Assembler::editors() {
  const size_t count = open_count();
  u32(writing() ? counts_[count] : 0);
  uint32_t depth = 0;
  while (!lines_->at_end()) {
    at_ = 0;
    if (lines_->closes()) {
      if (depth == 0) expect("an object");
      at_ = 1;
      u8(0);                    // the end of the objects in it
      if (--depth == 0) u8(0);  // an editor has no sibling
      next_line();
      continue;
    }
    if (depth == 0) add_to(count, UINT32_MAX - 1);
    uint32_t type = 0;
    if (depth == 0 && take_word("none")) {
      u8(0);
      next_line();
      continue;
    }
    if (!take_name(MASK_TYPE_NAMES, &type) || type == 0) expect("an object");
    if (++depth > MASK_NESTING_LIMIT)
      fail("more than " + std::to_string(MASK_NESTING_LIMIT) +
           " objects inside each other");
    u8(type);
    object_fields();
  }
  if (depth > 0) expect("\"}\" before the end of the text");
}

// The file --------------------------------------------------------------------

constexpr uint64_t KIND_BYTE = 2, MINOR_VERSION_BYTE = 4;

void Assembler::header() {
  constexpr const char* KINDS[] = {nullptr, "program", "module", "masks"};
  at_ = 1;
  if (!lines_->is("quillo-assembly") || !take_word("1")) {
    at_ = 0;
    expect("quillo-assembly 1");
  }
  next_line();
  uint32_t kind = 0;
  if (!lines_->is("file") || !take_name(KINDS, &kind))
    expect("file program, file module or file masks");
  const Place kind_place = latest();
  kind_ = static_cast<XdFileKind>(kind);
  const bool xdr = take_word("xdr");
  if (!xdr && !take_word("plain")) expect("xdr or plain");
  Place place = latest();  // of the last one
  next_line();
  const auto line = [&](const char* name, uint8_t value) {
    if (!lines_->is(name)) return value;
    value = take_number<uint8_t>("a number");
    place = latest();
    next_line();
    return value;
  };
  const uint8_t minor = line("minor_version", XD_MINOR_VERSION);
  const Place minor_place = place;
  const uint8_t sub = line("sub_version", XD_SUB_VERSION);
  const uint8_t reserved = line("reserved", 0);
  if (!writing()) return;
  const int transport = xdr ? XD_TRANSPORT_XDR : XD_TRANSPORT_PLAIN;
  if (XdOpenForWriting(xd_, sink_, transport) != RC_OK) put_failed();
  XdWriteHeader(xd_, kind_);
  // The header is in the buffer still.
  xd_->next[-4] = minor;
  xd_->next[-3] = sub;
  xd_->next[-1] = reserved;
  if (blaming_ == nullptr) return;
  look_for_byte(byte_ <= KIND_BYTE            ? kind_place
                : byte_ <= MINOR_VERSION_BYTE ? minor_place
                                              : place);
}

void Assembler::run(XdSink* file) {
  AssemblyLines lines(text_);
  XdStream xd;
  lines_ = &lines;
  sink_ = file;
  xd_ = &xd;
  next_count_ = next_program_ = 0;
  given_at_ = nullptr;
  header();
  if (kind_ == XD_KIND_MASK) {
    editors();
  } else {
    program();
    if (!lines.at_end()) {
      at_ = 0;
      expect("a part of the program that comes later, or the end of the text");
    }
  }
  if (writing() && !XdDestroy(&xd)) put_failed();
}

}  // namespace

bool CompiledAssemble(std::string_view text, XdMemory* file,
                      CompiledAssemblyError* error) {
  try {
    Assembler assembler(text);
    assembler.count();
    assembler.write(file);
    // What the parts of the text cannot show: that they fit together.
    std::string wrong;
    uint64_t offset = 0;
    CompiledCheck(file->bytes(), [&](const CompiledTrouble& trouble) {
      if (trouble.grade != CompiledGrade::UNREADABLE || !wrong.empty()) return;
      wrong = "no compiled file has this: " + trouble.path + ": " +
              trouble.found + ", expected " + trouble.expected;
      offset = trouble.offset;
    });
    if (wrong.empty()) return true;
    assembler.blame(offset, wrong);
  } catch (const AssemblyFault& fault) {
    *error = {fault.line, fault.column, fault.message};
    return false;
  }
}
