// Faults are made where people and transfers make them: in tokens, in
// characters, in lines and at the ends of a text. The tokens of a text are
// found anew for each fault, by a scan that knows just enough of the language.
#include <algorithm>
#include <cstring>
#include <span>

#include "tests/smith/random.h"
#include "tests/smith/smith.h"
#include "tests/smith/words.h"

namespace {

struct Span {
  size_t at;
  size_t length;
};

class Damager {
 public:
  Damager(std::string text, uint64_t seed)
      : text_(std::move(text)), random_(seed, 100) {}

  std::string run(SmithCoverage* coverage);

  struct Fault {
    const char* name;
    uint32_t weight;
    void (*make)(Damager&);
  };
  static std::span<const Fault> faults();

 private:
  // Finding.
  size_t end_of_token(size_t at) const;
  std::vector<Span> tokens() const;
  std::vector<Span> lines() const;
  template <class Condition>
  Span any_token(Condition condition);
  Span any_token();
  Span token_of(std::string_view characters);
  Span line();
  Span name();
  size_t position() { return random_.index(text_.size() + 1); }

  // Changing.
  std::string_view text_of(Span span) const {
    return std::string_view(text_).substr(span.at, span.length);
  }
  void replace(Span span, std::string_view text) {
    text_.replace(span.at, span.length, text);
  }
  void insert(size_t at, std::string_view text) { text_.insert(at, text); }
  void erase(Span span) { replace(span, ""); }
  void swap(const std::vector<Span>& spans);
  void repeat(std::string_view piece, unsigned count);
  void misspell();
  void run_on();
  void reuse_token();

  std::string text_;
  SmithRandom random_;
};

constexpr std::string_view TOKENS[] = {
    ";",  ",",    ":",     "(",    ")",   "[",  "]",   "{",     "}",
    "=",  "+=",   "**",    "*",    "-",   "<",  "<>",  "==",    ".",
    "$",  "@",    "%name", "@a.*", "7",   "08", "1.5", "\"t\"", "'A'",
    "PI", "nope", "FNf",   "CFNc", "ABS", "5.", "()",  "!",     "#"};
constexpr std::string_view BYTES[] = {"?",
                                      "\\",
                                      "_",
                                      "\"",
                                      "'",
                                      "\x01",
                                      "\x04",
                                      "\b",
                                      "\r",
                                      "\x1A",
                                      "\x1B",
                                      "\x7F",
                                      "\x80",
                                      "\xA0",
                                      "\xE4",
                                      "\xFF",
                                      "\r\n",
                                      "\xEF\xBB\xBF",
                                      std::string_view("\0", 1)};
constexpr std::string_view NUMBERS[] = {
    "2147483648", "99999999999999999999", "0x100000000",     "040000000000",
    "4294967296", "0xfffffffffffffffff",  "0777777777777777"};
constexpr std::string_view HEADERS[] = {"PROGRAM other;\n",
                                        "MODULE other;\n",
                                        "WINDOW other { ; }\n",
                                        "APPLICATION other { ; }\n",
                                        "ON ENTER DO other;\n",
                                        "x = 1;\n",
                                        "1 + 2, 3\n",
                                        "INTEGER early;\n",
                                        "END\n",
                                        ";\n",
                                        "IMPORT early;\n",
                                        "SUB early ; SUBEND\n"};
constexpr std::string_view CLOSINGS[] = {"SUBEND\n",
                                         "END SUB\n",
                                         "END IF\n",
                                         "END WHILE;\n",
                                         "END SELECT\n",
                                         "END COMMON\n",
                                         "}\n",
                                         "ELSE\n",
                                         "CASE 1;\n",
                                         ")",
                                         "]",
                                         "END\n"};
// What a level takes of the 150 states that the parser has.
struct Level {
  std::string_view text;
  unsigned states;
};
constexpr Level LEVELS[] = {
    {"(", 1},          {"- ", 1},           {"x = ", 2},
    {"2 ** ", 2},      {"$(", 2},           {"ABS(", 3},
    {"IF 1 THEN ", 4}, {"WHILE 1 DO\n", 4}, {"SELECT 1; CASE 1; ", 8},
    {"GROUP { ", 4},   {"MENU m {\n", 4}};
constexpr std::string_view STATEMENTS[] = {"PRINT MSG(\"",
                                           "x = MSGGET(\"a\", 1, \"",
                                           "ALLOCATE nope(3);\n",
                                           "FREE nope;\n",
                                           "nope += 1;\n",
                                           "FNnope;\n",
                                           "INTEGER a[1/0], b;\n",
                                           "INTEGER a(INT(3));\n",
                                           "REAL r[2 ** 40:1];\n",
                                           "STRING s(\"a\" * 9);\n",
                                           "INCLUDE \"missing.inc\";\n",
                                           "INCLUDE \".\";\n",
                                           "GROUP { ON ENTER DO x; }\n",
                                           "LABEL { HELP { ; } }\n",
                                           "RETURN;\n",
                                           "BREAK; CONTINUE; PRINT ,;\n"};

// How many faults: one of them says most about the report for it.
constexpr unsigned COUNTS[] = {1, 1, 1, 2, 3};

std::string Damager::run(SmithCoverage* coverage) {
  uint32_t total = 0;
  for (const Fault& fault : faults()) total += fault.weight;
  for (unsigned count = random_.pick(COUNTS); count > 0; count--) {
    uint32_t left = random_.draw(total);
    size_t chosen = 0;
    for (; left >= faults()[chosen].weight; chosen++)
      left -= faults()[chosen].weight;
    faults()[chosen].make(*this);
    if (coverage != nullptr) coverage->damages[chosen]++;
  }
  return std::move(text_);
}

// Finding -------------------------------------------------------------------

size_t Damager::end_of_token(size_t at) const {
  const char first = text_[at];
  size_t end = at + 1;
  if (SmithIsNameByte(first)) {
    while (end < text_.size() && SmithIsNameByte(text_[end])) end++;
  } else if (first == '"') {
    while (end < text_.size() && text_[end] != '"' && text_[end] != '\n')
      end += text_[end] == '\\' ? 2u : 1u;
    end++;
  } else if (first == '!' || first == '#') {
    end = text_.find('\n', at);
  } else if (first == '\'') {
    end = at + 3;
  }
  return std::min(end, text_.size());
}

// One at least, so that every fault finds a place.
std::vector<Span> Damager::tokens() const {
  std::vector<Span> found;
  for (size_t at = 0; at < text_.size();) {
    const size_t end = end_of_token(at);
    if (strchr(" \t\f\n\r!#", text_[at]) == nullptr)
      found.push_back({at, end - at});
    at = end;
  }
  if (found.empty()) found.push_back({0, 0});
  return found;
}

std::vector<Span> Damager::lines() const {
  std::vector<Span> found;
  for (size_t at = 0; at < text_.size();) {
    const size_t end = std::min(text_.find('\n', at), text_.size() - 1) + 1;
    found.push_back({at, end - at});
    at = end;
  }
  if (found.empty()) found.push_back({0, 0});
  return found;
}

// A token of the kind, or any one when there is none.
template <class Condition>
Span Damager::any_token(Condition condition) {
  const std::vector<Span> all = tokens();
  std::vector<Span> fitting;
  for (const Span token : all)
    if (condition(text_of(token))) fitting.push_back(token);
  return random_.pick(fitting.empty() ? all : fitting);
}

Span Damager::any_token() {
  return any_token([](std::string_view) { return true; });
}

Span Damager::token_of(std::string_view characters) {
  return any_token([=](std::string_view token) {
    return !token.empty() && characters.find(token[0]) != characters.npos;
  });
}

Span Damager::line() {
  return random_.pick(lines());
}

Span Damager::name() {
  return any_token([](std::string_view token) {
    return !token.empty() && SmithIsLetter(token[0]) && !SmithIsReserved(token);
  });
}

// Changing ------------------------------------------------------------------

// Swaps one of the spans with the one behind it.
void Damager::swap(const std::vector<Span>& spans) {
  if (spans.size() < 2) return;
  const size_t first = random_.index(spans.size() - 1);
  const Span left = spans[first];
  const Span right = spans[first + 1];
  const std::string moved(text_of(left));
  replace(left, text_of(right));
  replace({right.at + right.length - left.length, right.length}, moved);
}

void Damager::repeat(std::string_view piece, unsigned count) {
  std::string all;
  for (; count > 0; count--) all += piece;
  insert(any_token().at, all);
}

void Damager::misspell() {
  const Span keyword = any_token([](std::string_view token) {
    return token.size() > 1 && SmithIsReserved(token);
  });
  std::string word(text_of(keyword));
  if (word.empty()) return;
  const size_t at = random_.index(word.size());
  switch (random_.draw(4)) {
    case 0: word.erase(at, 1); break;
    case 1: word.insert(at, 1, word[at]); break;
    case 2: std::swap(word[at], word[word.size() - 1 - at]); break;
    case 3: word[at] = static_cast<char>(word[at] | 0x20); break;
  }
  replace(keyword, word);
}

// Makes one line of many.
void Damager::run_on() {
  size_t at = position();
  for (int lines = 0; lines < 400; lines++) {
    at = text_.find('\n', at);
    if (at == text_.npos) break;
    text_[at] = ' ';
  }
  at = position();
  insert(at, std::string(random_.draw(9000, 11000), ' '));
}

void Damager::reuse_token() {
  const std::string token(text_of(any_token()));
  replace(any_token(), token);
}

std::span<const Damager::Fault> Damager::faults() {
  static constexpr Fault FAULTS[] = {
      {"token deleted", 10, [](Damager& d) { d.erase(d.any_token()); }},
      {"token doubled", 5,
       [](Damager& d) {
         const Span token = d.any_token();
         d.insert(token.at, std::string(d.text_of(token)) + ' ');
       }},
      {"tokens swapped", 6, [](Damager& d) { d.swap(d.tokens()); }},
      {"token inserted", 6,
       [](Damager& d) {
         const std::string token(d.random_.pick(TOKENS));
         d.insert(d.any_token().at, token + ' ');
       }},
      {"keyword inserted", 4,
       [](Damager& d) {
         const std::string keyword(d.random_.pick(SmithKeywords()));
         d.insert(d.any_token().at, keyword + ' ');
       }},
      {"token replaced", 4,
       [](Damager& d) {
         const Span token = d.any_token();
         d.replace(token, d.random_.pick(TOKENS));
       }},
      {"token replaced by another", 4, [](Damager& d) { d.reuse_token(); }},
      {"keyword misspelled", 8, [](Damager& d) { d.misspell(); }},
      {"name misspelled", 6,
       [](Damager& d) {
         const Span name = d.name();
         d.insert(name.at + name.length, "s");
       }},
      {"; missing", 6, [](Damager& d) { d.erase(d.token_of(";")); }},
      {"bracket missing", 5, [](Damager& d) { d.erase(d.token_of("()[]{}")); }},
      {"END missing", 5,
       [](Damager& d) {
         d.erase(d.any_token([](std::string_view token) {
           return token == "END" || token == "SUBEND" || token == "}";
         }));
       }},
      {"integer too large", 3,
       [](Damager& d) {
         const Span number = d.token_of("0123456789");
         d.replace(number, d.random_.pick(NUMBERS));
       }},
      {"literal left open", 4,
       [](Damager& d) {
         const Span literal = d.token_of("\"'");
         d.replace(literal, d.text_of(literal).substr(0, literal.length / 2));
       }},
      {"wrong quotes", 2,
       [](Damager& d) {
         const Span literal = d.token_of("\"");
         std::string text(d.text_of(literal));
         std::ranges::replace(text, '"', '\'');
         d.replace(literal, text);
       }},
      {"characters deleted", 4,
       [](Damager& d) {
         const size_t at = d.position();
         d.text_.erase(at, d.random_.draw(1, 4));
       }},
      {"bytes inserted", 6,
       [](Damager& d) {
         const size_t at = d.position();
         d.insert(at, d.random_.pick(BYTES));
       }},
      {"byte changed", 4,
       [](Damager& d) {
         const Span byte = {d.position(), 1};
         d.text_.resize(std::max(d.text_.size(), byte.at + 1), '\n');
         d.replace(byte,
                   std::string(1, static_cast<char>(d.random_.draw(256))));
       }},
      {"line deleted", 3, [](Damager& d) { d.erase(d.line()); }},
      {"line doubled", 2,
       [](Damager& d) {
         const Span line = d.line();
         d.insert(line.at, std::string(d.text_of(line)));
       }},
      {"lines swapped", 3, [](Damager& d) { d.swap(d.lines()); }},
      {"lines joined", 1, [](Damager& d) { d.run_on(); }},
      {"cut off", 3, [](Damager& d) { d.text_.resize(d.position()); }},
      {"beginning missing", 1,
       [](Damager& d) { d.text_.erase(0, d.position()); }},
      {"last line feed missing", 1,
       [](Damager& d) {
         while (!d.text_.empty() && d.text_.back() == '\n') d.text_.pop_back();
       }},
      {"other header", 2,
       [](Damager& d) { d.insert(0, d.random_.pick(HEADERS)); }},
      {"header replaced", 1,
       [](Damager& d) {
         const Span first = d.tokens().front();
         const size_t behind = std::min(d.text_.find(';'), d.text_.size());
         d.text_.erase(first.at, behind - std::min(behind, first.at));
         d.insert(first.at, d.random_.pick(HEADERS));
       }},
      {"stray closing", 3,
       [](Damager& d) {
         const Span token = d.any_token();
         d.insert(token.at, d.random_.pick(CLOSINGS));
       }},
      {"wrong statement", 5,
       [](Damager& d) {
         const Span before = d.token_of(";");
         d.insert(before.at + before.length, d.random_.pick(STATEMENTS));
       }},
      {"message reference too long", 1,
       [](Damager& d) {
         const Span before = d.token_of(";");
         const size_t length = d.random_.draw(230, 270);
         d.insert(before.at + before.length,
                  "PRINT MSG(\"" + std::string(length, 'm') + "\", 1);");
       }},
      {"about too deep", 3,
       [](Damager& d) {
         const Level& level = d.random_.pick(LEVELS);
         d.repeat(level.text, d.random_.draw(110, 155) / level.states);
       }},
      {"includes itself", 1,
       [](Damager& d) {
         const Span file = d.any_token([](std::string_view token) {
           return token.ends_with(".inc\"") || token.starts_with("\"");
         });
         d.replace(file, "\"smith.mac\"");
       }},
  };
  return FAULTS;
}

}  // namespace

const std::vector<std::string>& SmithDamages() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const Damager::Fault& fault : Damager::faults())
      all.push_back(fault.name);
    return all;
  }();
  return names;
}

std::string SmithDamage(std::string text, uint64_t seed,
                        SmithCoverage* coverage) {
  return Damager(std::move(text), seed).run(coverage);
}
