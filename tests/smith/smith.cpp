// A source is made by expanding the rule of its kind: a row is chosen by weight
// and its symbols are expanded from left to right. Tokens go to the files; the
// actions, in a table at the end, do what a row cannot say: they remember which
// names are visible, spell names and literals, and move from file to file.
//
// Two budgets end what would grow without end. When the text has its size, or
// when the parser would need many of its 150 states, only the rows that lead to
// the smallest texts are chosen.
#include "tests/smith/smith.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <set>
#include <span>

#include "tests/smith/files.h"
#include "tests/smith/grammar.h"
#include "tests/smith/random.h"
#include "tests/smith/words.h"

namespace {

using namespace std::string_view_literals;

// States are counted roughly, so both numbers stay clear of the parser's 150.
constexpr unsigned STATES_OF_ROWS = 80;
constexpr unsigned STATES_OF_DEEP = 120;
constexpr size_t LEVELS = 32;       // of files
constexpr size_t LEVELS_LEFT = 24;  // by "room", for files to be nested
constexpr size_t EDITOR_NAME = 31;  // what counts of it

// What can be nested deep, and the states that a level takes.
struct Nest {
  const char* open;
  const char* close;
  unsigned states;
};
constexpr Nest OPERAND_NESTS[] = {
    {"(", ")", 1},         {"-", "", 1},      {"- +", "", 2},
    {"2 **", "", 2},       {"ABS (", ")", 3}, {"FNlevel ( 1 ,", ")", 5},
    {"%level =", "", 2},   {"$ (", ")", 2},   {"1 OR 2 AND (", ")", 5},
    {"CFNx (", "* 2 )", 3}};
constexpr Nest STATEMENT_NESTS[] = {
    {"IF 1 THEN", "END IF", 5},
    {"IF 0 THEN ; ELSE", "END IF", 7},
    {"WHILE 1 DO", "BREAK END WHILE", 5},
    {"SELECT 1 ; CASE 1 ;", "CASE ELSE ; END SELECT", 9}};
constexpr Nest GROUP_NESTS[] = {{"GROUP {", "}", 5}, {"GROUP g { ;", "}", 6}};
constexpr Nest MENU_NESTS[] = {{"MENU {", "}", 5}, {"MENUBAR m {", "}", 5}};

enum class Style : uint8_t { TIDY, DENSE, TOKEN_PER_LINE, ENDLESS, WILD };

class Generator {
 public:
  Generator(uint64_t seed, SmithKind kind, SmithSize size,
            std::string_view name, SmithCoverage* coverage);

  SmithSource run();
  static const Grammar& grammar();

 private:
  struct Action {
    std::string_view name;
    void (*run)(Generator&);
  };
  static std::span<const Action> actions();

  // Expanding.
  bool finishing() const;
  const Row& choose(const Rule& rule);
  void expand(size_t rule);
  void expand(const Symbol& symbol);
  void repeat(const Symbol& symbol);
  void nest(const Nest& level, std::string_view inside);

  // Tokens, and what stands between them.
  void token(std::string_view text);
  void tokens(std::string_view words);
  void gap(std::string_view next);
  void line_feed(size_t indent);
  void comment(char begin);
  void skipped_characters();

  // Names.
  std::string name();
  void new_variable();
  void new_routine();
  void new_editor();
  std::string routine();
  void setting();

  // Literals.
  std::string words(size_t length);
  void quoted(const std::string& text);
  void small_integer();
  void based(unsigned base, uint32_t value);
  std::string digits(uint32_t limit);
  void exponent(std::string real);
  void escaped_text();
  void text_of_any_bytes();
  std::string one_of(std::string_view characters);

  // Files.
  void name_next_file();
  void open_file(uint32_t tokens);
  void close_file();
  void name_earlier_file();
  void nest_files();
  LineEnds line_ends();

  SmithRandom random_;
  SmithKind kind_;
  std::string source_;  // begins the names of its files
  SmithCoverage* coverage_;
  size_t target_;  // bytes
  size_t stop_;    // bytes at which a list of "++" ends
  unsigned states_ = 0;

  SmithFiles files_;
  Style style_ = Style::TIDY;
  LineEnds ends_ = LineEnds::FEED;
  std::string last_token_;
  unsigned includes_ = 0;
  std::string next_file_;               // that an INCLUDE has named
  std::vector<std::string> libraries_;  // closed ones

  std::string spelling_;                // of a name being made
  std::string declared_;                // variable whose bounds are being made
  std::vector<std::string> variables_;  // visible ones
  std::vector<std::string> routines_;   // defined somewhere, or nowhere
  std::set<std::string> editors_;
};

Generator::Generator(uint64_t seed, SmithKind kind, SmithSize size,
                     std::string_view name, SmithCoverage* coverage)
    : random_(seed,
              static_cast<uint64_t>(kind) * 2 + static_cast<uint64_t>(size)),
      kind_(kind),
      source_(name),
      coverage_(coverage) {
  const uint32_t most = random_.draw(1, 3200);
  target_ = size == SmithSize::LARGE ? 100'000 : 300 + random_.draw(most);
  stop_ = target_;
}

SmithSource Generator::run() {
  static constexpr const char* START[] = {"program", "module", "mask"};
  const char* extension = kind_ == SmithKind::MASK ? ".msk" : ".mac";
  SmithSource source = {kind_, source_ + extension, {}, {}};
  for (unsigned i = random_.draw(2, 6); i > 0; i--) routines_.push_back(name());
  expand(grammar().rule("style"));
  files_.open(source.file, SmithFiles::TO_THE_END, line_ends());
  expand(grammar().rule(START[static_cast<size_t>(kind_)]));
  while (files_.depth() > 0) close_file();
  source.includes = files_.take();
  source.text = std::move(source.includes.extract(source.file).mapped());
  return source;
}

// Expanding -----------------------------------------------------------------

bool Generator::finishing() const {
  return files_.size() >= target_ || states_ >= STATES_OF_ROWS;
}

const Row& Generator::choose(const Rule& rule) {
  const size_t variables = variables_.empty() ? 0 : 1;
  const bool smallest = finishing();
  const auto fits = [&](const Row& row) {
    return row.height[variables] != NEVER &&
           (!smallest || row.height[variables] == rule.height[variables]);
  };
  uint32_t total = 0;
  for (const Row& row : rule.rows) total += fits(row) ? row.weight : 0;
  uint32_t left = random_.draw(total);
  for (const Row& row : rule.rows) {
    if (!fits(row)) continue;
    if (left < row.weight) return row;
    left -= row.weight;
  }
  abort();  // a weight of 0
}

void Generator::expand(size_t rule) {
  const Row& row = choose(grammar()[rule]);
  if (coverage_ != nullptr) coverage_->productions[row.production]++;
  const unsigned outside = states_;
  for (const Symbol& symbol : row.symbols) {
    repeat(symbol);
    states_++;
  }
  states_ = outside;
}

void Generator::expand(const Symbol& symbol) {
  switch (symbol.kind) {
    case SymbolKind::TOKEN: token(symbol.text); break;
    case SymbolKind::RULE: expand(symbol.number); break;
    case SymbolKind::ACTION: actions()[symbol.number].run(*this); break;
  }
}

void Generator::repeat(const Symbol& symbol) {
  expand(symbol);
  const unsigned outside = states_;
  states_ += 2;
  switch (symbol.repeat) {
    case SymbolRepeat::ONCE: break;
    case SymbolRepeat::SOME: {
      const uint32_t more = symbol.separator.empty() ? 65 : 40;
      size_t count = 1;
      for (; !finishing() && random_.percent(more); count++) {
        if (!symbol.separator.empty()) token(symbol.separator);
        expand(symbol);
      }
      if (coverage_ != nullptr)
        coverage_->productions[symbol.production + (count > 1)]++;
      break;
    }
    case SymbolRepeat::MANY:
      while (files_.size() < stop_) expand(symbol);
      stop_ = target_;
      break;
  }
  states_ = outside;
}

void Generator::nest(const Nest& level, std::string_view inside) {
  const unsigned room =
      finishing() ? 0 : (STATES_OF_DEEP - states_) / level.states;
  const unsigned count = random_.draw(room + 1);
  for (unsigned i = 0; i < count; i++) tokens(level.open);
  const unsigned outside = states_;
  states_ += count * level.states;
  expand(grammar().rule(inside));
  states_ = outside;
  for (unsigned i = 0; i < count; i++) tokens(level.close);
}

// Layout --------------------------------------------------------------------

void Generator::token(std::string_view text) {
  while (files_.full()) close_file();
  gap(text);
  files_.token(text);
  last_token_ = text;
}

void Generator::tokens(std::string_view words) {
  while (!words.empty()) {
    const size_t end = std::min(words.find(' '), words.size());
    token(words.substr(0, end));
    words.remove_prefix(std::min(end + 1, words.size()));
  }
}

void Generator::gap(std::string_view next) {
  const size_t rule = grammar().rule("gap");
  if (random_.draw(60) == 0) expand(rule);
  switch (style_) {
    case Style::TIDY:
      for (const std::string_view end : {";", "{", "}", "DO", "THEN", "ELSE"})
        if (last_token_ == end && random_.percent(90))
          return line_feed(states_ / 2);
      if (!files_.at_line_start() && next != "," && next != ";")
        files_.raw(" ");
      break;
    case Style::DENSE:
      if (files_.line_length() > 70) line_feed(0);
      break;
    case Style::TOKEN_PER_LINE: line_feed(0); break;
    case Style::ENDLESS: files_.raw(" "); break;
    case Style::WILD:
      for (uint32_t i = random_.draw(4); i > 1; i--) expand(rule);
      break;
  }
}

void Generator::line_feed(size_t indent) {
  files_.raw("\n");
  files_.raw(std::string(indent, ' '));
}

void Generator::comment(char begin) {
  std::string text(1, begin);
  if (random_.percent(80)) text += ' ' + words(random_.draw(40));
  if (random_.percent(20)) text += " \"it's\" {";
  if (random_.percent(10)) text += " f\xFCr \xE2\x82\xAC \x01\r \x7F";
  files_.raw(text + '\n');
}

// What begins no token is echoed and skipped. The blank keeps "_" away from a
// name that it would belong to.
void Generator::skipped_characters() {
  std::string text = " ";
  for (unsigned i = random_.draw(1, 3); i > 0; i--)
    text += one_of("?\\^_`|~\x01\x1B\r\x7F\x80\xE4\xFF");
  files_.raw(text + ' ');
}

// Names ---------------------------------------------------------------------

std::string Generator::name() {
  spelling_.clear();
  expand(grammar().rule("name"));
  if (SmithIsReserved(spelling_)) spelling_ = 'x' + spelling_;
  return spelling_;
}

// Of two declarations the first counts.
void Generator::new_variable() {
  const bool again = !variables_.empty() && random_.percent(3);
  declared_ = again ? random_.pick(variables_) : name();
  token(declared_);
}

void Generator::new_routine() {
  if (random_.percent(30)) routines_.push_back(name());
  token(random_.pick(routines_));
}

// A second definition is reported, so there are few of them.
void Generator::new_editor() {
  if (!editors_.empty() && random_.percent(2)) return token(*editors_.begin());
  std::string editor = name();
  while (!editors_.insert(editor.substr(0, EDITOR_NAME)).second)
    editor.insert(0, 'w' + std::to_string(editors_.size()));
  token(editor);
}

std::string Generator::routine() {
  return random_.percent(85) ? random_.pick(routines_) : name();
}

void Generator::setting() {
  static constexpr const char* ENDS[] = {"", "", ".x", ".*", "*", "..", "._1"};
  static constexpr const char* BEGINS[] = {"@", "@", "@:", "@*", "@.", "@:7_"};
  std::string text = random_.pick(BEGINS);
  text += name();
  token(text + random_.pick(ENDS));
}

// Literals ------------------------------------------------------------------

std::string Generator::words(size_t length) {
  std::string text;
  while (text.size() < length) {
    text += random_.pick(SMITH_WORDS);
    text += random_.pick(std::string_view("          ,.;:-!#'{("));
  }
  return text;
}

std::string Generator::one_of(std::string_view characters) {
  return std::string(1, random_.pick(characters));
}

void Generator::quoted(const std::string& text) {
  token('"' + text + '"');
}

std::string Generator::digits(uint32_t limit) {
  return std::to_string(random_.draw(limit));
}

void Generator::based(unsigned base, uint32_t value) {
  const char* digits = value % 2 == 0 ? "0123456789abcdef" : "0123456789ABCDEF";
  std::string text;
  for (; value > 0; value /= base) text.insert(0, 1, digits[value % base]);
  if (base == 16) text.insert(0, text.empty() ? "x0" : "x");
  token('0' + text);
}

// 0 to 999, and often a small one.
void Generator::small_integer() {
  const uint32_t value = random_.draw(random_.percent(50) ? 10 : 1000);
  if (random_.percent(80)) return token(std::to_string(value));
  based(random_.percent(50) ? 8 : 16, value);
}

void Generator::exponent(std::string real) {
  real += one_of("eE");
  const uint32_t sign = random_.draw(3);
  real += sign == 0 ? "" : sign == 1 ? "+" : "-";
  token(real + digits(40));
}

void Generator::escaped_text() {
  static constexpr const char* PIECES[] = {
      R"(\")", R"(\n)", R"(\\n)", R"(\\)", R"(\\")", R"(\\\t)", R"(\\\\a)"};
  std::string text;
  for (unsigned i = random_.draw(1, 5); i > 0; i--) {
    text += random_.pick(PIECES);
    // A backslash does not end a literal.
    if (i == 1 || random_.percent(50)) text += random_.pick(SMITH_WORDS);
  }
  quoted(text);
}

void Generator::text_of_any_bytes() {
  std::string text;
  for (unsigned i = random_.draw(1, 20); i > 0; i--) {
    const char byte = static_cast<char>(random_.draw(1, 255));
    text += byte == '\n' || byte == '"' || byte == '\\' ? '\x04' : byte;
  }
  quoted(text);
}

// Files ---------------------------------------------------------------------

void Generator::name_next_file() {
  next_file_ = source_ + '_' + std::to_string(++includes_) + ".inc";
  quoted(next_file_);
}

LineEnds Generator::line_ends() {
  expand(grammar().rule("line-ends"));
  return ends_;
}

void Generator::open_file(uint32_t tokens) {
  files_.open(next_file_, tokens, line_ends());
}

void Generator::close_file() {
  if (!files_.at_line_start()) files_.raw("\n");
  expand(grammar().rule("file-end"));
  files_.close();
}

void Generator::name_earlier_file() {
  if (!libraries_.empty()) return quoted(random_.pick(libraries_));
  name_next_file();
  open_file(0);
  close_file();
  libraries_.push_back(next_file_);
}

// A chain of files, each of which includes the next one.
void Generator::nest_files() {
  const size_t levels = random_.draw(2, LEVELS);
  while (files_.depth() < levels) {
    token("INCLUDE");
    name_next_file();
    token(";");
    open_file(random_.draw(3, 40));
  }
}

// Actions -------------------------------------------------------------------

std::span<const Generator::Action> Generator::actions() {
  static constexpr Action ACTIONS[] = {
      // Scopes
      {"enter", [](Generator& g) { g.variables_.clear(); }},
      {"part-way",
       [](Generator& g) {
         g.stop_ = g.files_.size() + g.random_.index(g.target_);
       }},
      {"new-variable",
       [](Generator& g) {
         g.new_variable();
         g.variables_.push_back(g.declared_);
       }},
      {"new-name", [](Generator& g) { g.new_variable(); }},
      {"visible", [](Generator& g) { g.variables_.push_back(g.declared_); }},
      {VARIABLE_ACTION,
       [](Generator& g) { g.token(g.random_.pick(g.variables_)); }},
      {"refused-name", [](Generator& g) { g.token(g.name()); }},
      {"any-name", [](Generator& g) { g.token(g.name()); }},
      {"new-routine", [](Generator& g) { g.new_routine(); }},
      {"routine", [](Generator& g) { g.token(g.routine()); }},
      {"function", [](Generator& g) { g.token("FN" + g.routine()); }},
      {"c-function", [](Generator& g) { g.token("CFN" + g.name()); }},
      {"new-editor", [](Generator& g) { g.new_editor(); }},
      {"dollar-name", [](Generator& g) { g.token('$' + g.name()); }},
      {"percent-name", [](Generator& g) { g.token('%' + g.name()); }},
      {"ampersand-name", [](Generator& g) { g.token('&' + g.name()); }},
      {"setting", [](Generator& g) { g.setting(); }},

      // Spellings of names
      {"word", [](Generator& g) { g.spelling_ = g.random_.pick(SMITH_WORDS); }},
      {"two-words",
       [](Generator& g) {
         g.spelling_ = g.random_.pick(SMITH_WORDS);
         g.spelling_ += '_';
         g.spelling_ += g.random_.pick(SMITH_WORDS);
       }},
      {"word-and-number",
       [](Generator& g) {
         g.spelling_ = g.random_.pick(SMITH_WORDS);
         g.spelling_ += g.digits(30);
       }},
      {"letter",
       [](Generator& g) {
         g.spelling_ = g.one_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLM");
       }},
      {"long-name",
       [](Generator& g) {
         const size_t length = g.random_.draw(30, 120);
         while (g.spelling_.size() < length)
           g.spelling_ += g.random_.pick(SMITH_WORDS);
       }},
      {"odd-name",
       [](Generator& g) { g.spelling_ = g.random_.pick(SMITH_ODD_NAMES); }},
      {"keyword-and-more",
       [](Generator& g) {
         g.spelling_ = g.random_.pick(g.random_.percent(70) ? SmithKeywords()
                                                            : SmithBuiltins());
         g.spelling_ += g.one_of("X_1a");
       }},
      {"lower-case-keyword",
       [](Generator& g) {
         g.spelling_ = g.random_.pick(SmithKeywords());
         for (size_t i = g.random_.draw(2); i < g.spelling_.size(); i++)
           g.spelling_[i] = static_cast<char>(g.spelling_[i] + ('a' - 'A'));
       }},

      // Numbers
      {"small-integer", [](Generator& g) { g.small_integer(); }},
      {"digit", [](Generator& g) { g.token(g.digits(10)); }},
      {"digit-not-0",
       [](Generator& g) { g.token(std::to_string(g.random_.draw(1, 9))); }},
      {"decimal", [](Generator& g) { g.token(g.digits(INT32_MAX)); }},
      {"octal", [](Generator& g) { g.based(8, g.random_.draw(UINT32_MAX)); }},
      {"hexadecimal",
       [](Generator& g) { g.based(16, g.random_.draw(UINT32_MAX)); }},
      {"character",
       [](Generator& g) {
         const char byte = static_cast<char>(g.random_.draw(1, 255));
         g.token(std::string{'\'', byte == '\n' ? '\'' : byte, '\''});
       }},
      {"small-real",
       [](Generator& g) {
         const std::string whole = g.digits(10);
         g.token(whole + '.' + g.digits(g.random_.percent(50) ? 4 : 1000));
       }},
      {"point-first", [](Generator& g) { g.token('.' + g.digits(1000)); }},
      {"exponent", [](Generator& g) { g.exponent(g.digits(100)); }},
      {"point-and-exponent",
       [](Generator& g) { g.exponent('.' + g.digits(100)); }},
      {"real-suffix",
       [](Generator& g) {
         const std::string whole = g.digits(100);
         g.token(whole + g.one_of("DGRdgr"));
       }},
      {"point-and-suffix",
       [](Generator& g) {
         const std::string places = g.digits(100);
         g.token("12." + places + g.one_of("DGRdgr"));
       }},
      {"exponent-and-suffix",
       [](Generator& g) {
         const std::string places = g.digits(100);
         g.token("1E" + places + g.one_of("DGRdgr"));
       }},

      // Texts
      {"plain-text",
       [](Generator& g) { g.quoted(g.words(g.random_.draw(20))); }},
      {"short-text",
       [](Generator& g) { g.quoted(g.words(g.random_.draw(50))); }},
      {"empty-text", [](Generator& g) { g.quoted(""); }},
      {"number-text",
       [](Generator& g) {
         const std::string number = g.digits(100);
         g.quoted(number + g.random_.pick(std::array{"", ".5", "e2", " mm"}));
       }},
      {"escaped-text", [](Generator& g) { g.escaped_text(); }},
      {"text-of-any-bytes", [](Generator& g) { g.text_of_any_bytes(); }},
      {"long-text",
       [](Generator& g) { g.quoted(g.words(g.random_.draw(450, 1500))); }},
      {"text-with-doubled-quote",
       [](Generator& g) { g.quoted(g.words(g.random_.draw(10)) + '"'); }},
      {"text-with-line-feed",
       [](Generator& g) { g.quoted(g.words(g.random_.draw(10)) + '\n'); }},

      // Files
      {"room",
       [](Generator& g) {
         while (g.files_.depth() > LEVELS - LEVELS_LEFT) g.close_file();
       }},
      {"next-file", [](Generator& g) { g.name_next_file(); }},
      {"open-file",
       [](Generator& g) {
         const uint32_t most = g.random_.draw(1, 300);
         g.open_file(g.random_.draw(most));
       }},
      {"open-library",
       [](Generator& g) { g.open_file(SmithFiles::TO_THE_END); }},
      {"close",
       [](Generator& g) {
         g.libraries_.push_back(g.files_.name());
         g.close_file();
       }},
      {"earlier-file", [](Generator& g) { g.name_earlier_file(); }},
      {"nest-files", [](Generator& g) { g.nest_files(); }},

      // Nesting
      {"deep-operand",
       [](Generator& g) { g.nest(g.random_.pick(OPERAND_NESTS), "integer"); }},
      {"deep-statement",
       [](Generator& g) {
         g.nest(g.random_.pick(STATEMENT_NESTS), "statement");
       }},
      {"deep-groups",
       [](Generator& g) {
         g.nest(g.random_.pick(GROUP_NESTS), "attribute-line");
       }},
      {"deep-menus",
       [](Generator& g) {
         g.nest(g.random_.pick(MENU_NESTS), "attribute-line");
       }},

      // Layout
      {"tidy", [](Generator& g) { g.style_ = Style::TIDY; }},
      {"dense", [](Generator& g) { g.style_ = Style::DENSE; }},
      {"token-per-line",
       [](Generator& g) { g.style_ = Style::TOKEN_PER_LINE; }},
      {"endless-lines", [](Generator& g) { g.style_ = Style::ENDLESS; }},
      {"wild", [](Generator& g) { g.style_ = Style::WILD; }},
      {"feed", [](Generator& g) { g.ends_ = LineEnds::FEED; }},
      {"carriage-return-and-feed",
       [](Generator& g) { g.ends_ = LineEnds::CARRIAGE_RETURN_AND_FEED; }},
      {"either", [](Generator& g) { g.ends_ = LineEnds::EITHER; }},
      {"blank", [](Generator& g) { g.files_.raw(" "); }},
      {"blanks",
       [](Generator& g) { g.files_.raw(std::string(g.random_.draw(9), ' ')); }},
      {"tab", [](Generator& g) { g.files_.raw("\t"); }},
      {"form-feed", [](Generator& g) { g.files_.raw("\f"); }},
      {"line-feed", [](Generator& g) { g.line_feed(g.random_.draw(4)); }},
      {"empty-lines", [](Generator& g) { g.files_.raw("\n \n\n"); }},
      {"bang-comment", [](Generator& g) { g.comment('!'); }},
      {"hash-comment", [](Generator& g) { g.comment('#'); }},
      {"skipped-characters", [](Generator& g) { g.skipped_characters(); }},
      // What ends a file makes no difference to what it says.
      {"line-without-feed", [](Generator& g) { g.files_.raw("IF ) \"END"); }},
      {"line-with-zero-byte",
       [](Generator& g) { g.files_.raw("WHILE \0 ] {\nEND 1\n"sv); }},
      {"line-too-long",
       [](Generator& g) {
         g.files_.raw("; THEN" + std::string(10'300, ' ') + ")\n(\n");
       }},
  };
  return ACTIONS;
}

const Grammar& Generator::grammar() {
  static const Grammar made = [] {
    std::vector<std::string_view> names;
    for (const Action& action : actions()) names.push_back(action.name);
    return Grammar(names);
  }();
  return made;
}

}  // namespace

const std::vector<std::string>& SmithProductions() {
  return Generator::grammar().productions();
}

SmithCoverage::SmithCoverage()
    : productions(SmithProductions().size()), damages(SmithDamages().size()) {}

SmithSource Smith(SmithKind kind, uint64_t seed, SmithSize size,
                  std::string_view name, SmithCoverage* coverage) {
  return Generator(seed, kind, size, name, coverage).run();
}
