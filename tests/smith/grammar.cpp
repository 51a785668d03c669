// The rows come first, in the order of the language's own description; then
// what turns them into tables. Bounds have rules of their own, because the
// compiler evaluates them: each of these rules has values of one type and of a
// size with which no operator and no function fails.
#include "tests/smith/grammar.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tests/smith/words.h"

namespace {

struct FormRow {
  const char* rule;   // empty: the one above
  uint32_t weight;    // of each form
  const char* forms;  // with " | " between them
};

constexpr FormRow ROWS[] = {
    // Programs and modules --------------------------------------------------
    {"program", 2, "PROGRAM any-name ; enter main-body"},
    {"", 1, "PROGRAM any-name ; imports enter main-body"},
    {"", 3, "PROGRAM any-name ; part-way subs-to-size enter main-body"},
    {"", 3, "PROGRAM any-name ; imports part-way subs-to-size enter main-body"},
    {"module", 1, "MODULE any-name ; subs-to-size"},
    {"", 1, "MODULE any-name ; imports subs-to-size"},
    {"main-body", 1, "statement++"},
    {"", 9, "declaration+ statement++"},
    {"imports", 1, "import+"},
    {"import", 4, "import-kind any-name+, ;"},
    {"", 2, "import-kind any-name+, FROM any-name ;"},
    {"", 2, "import-kind any-name+, FROM any-name MODULE any-name ;"},
    {"", 2, "import-kind any-name+, FROM FILE text ;"},
    {"import-kind", 2, "IMPORT"},
    {"", 1, "IMPORT CSUB"},

    // SUBs and includes. What stands behind an INCLUDE may belong to the file,
    // up to any token; a library is a file of whole SUBs, so that others may
    // include it again.
    {"subs-to-size", 1, "sub-part++"},
    {"subs", 1, "sub-part+"},
    {"sub-part", 60, "sub-definition"},
    {"", 6, "room INCLUDE next-file ; open-file"},
    {"", 3, "room INCLUDE next-file ; open-library sub-definition+ close"},
    {"", 3, "room INCLUDE earlier-file ;"},
    {"", 1, "nest-files sub-definition"},
    {"sub-definition", 2, "SUB new-routine enter body sub-end"},
    {"", 3, "SUB new-routine enter ( parameters ) body sub-end"},
    {"sub-end", 2, "SUBEND"},
    {"", 1, "END SUB"},
    {"parameters", 4, "parameter-group+;"},
    {"", 1, "OPTIONAL parameter-group+;"},
    {"", 1, "parameter-group+; ; OPTIONAL parameter-group+;"},
    {"parameter-group", 1, "type parameter+,"},
    {"parameter", 3, "new-variable"},
    {"", 1, "new-variable ( star+, )"},
    {"star", 1, "*"},
    {"type", 1, "INTEGER | REAL | STRING | POINT"},
    {"body", 1, "statement+"},
    {"", 4, "declaration+ statement+"},

    // Declarations. A text or a point cannot have a range: with numbers it is
    // refused, with texts the variable goes without.
    {"declaration", 8, "variable-declaration"},
    {"", 1, "COMMON any-name variable-declaration+ END COMMON"},
    {"variable-declaration", 3, "INTEGER number-declarator+, ;"},
    {"", 3, "REAL number-declarator+, ;"},
    {"", 2, "STRING text-declarator+, ; | POINT point-declarator+, ;"},
    {"number-declarator", 20, "new-variable"},
    {"", 6, "new-name [ bound : bound ] visible"},
    {"", 4, "new-name [ bound : bound ] ( dimension+, ) visible"},
    {"", 6, "new-name ( dimension+, ) visible | new-name ( star+, ) visible"},
    {"", 3, "new-name [ bound : bound ] ( star+, ) visible"},
    {"", 1, "refused-name [ refused-bound : bound ]"},
    {"", 1, "refused-name [ bound : refused-bound ] ( star+, )"},
    {"", 1, "refused-name ( dimension+, , refused-bound )"},
    {"text-declarator", 20, "new-variable"},
    {"", 6, "new-name ( dimension+, ) visible | new-name ( star+, ) visible"},
    {"", 1, "new-name [ text-bound : text-bound ] visible"},
    {"", 1, "new-name [ text-bound : text-bound ] ( dimension+, ) visible"},
    {"", 1, "refused-name [ bound : bound ]"},
    {"", 1, "refused-name [ text-bound : bound ] ( star+, )"},
    {"point-declarator", 20, "new-variable"},
    {"", 6, "new-name ( dimension+, ) visible | new-name ( star+, ) visible"},
    {"", 1, "refused-name [ bound : bound ] ( dimension+, )"},
    {"dimension", 3, "bound"},
    {"", 2, "bound : bound"},

    // Bounds ----------------------------------------------------------------
    {"bound", 4, "whole-bound"},
    {"", 1, "real-bound"},
    {"whole-bound", 24, "small-integer"},
    {"", 1, "whole-bound + whole-bound | whole-bound - whole-bound"},
    {"", 1, "whole-bound * whole-bound | whole-bound DIV digit-not-0"},
    {"", 1, "whole-bound MOD digit-not-0 | digit-not-0 ** digit"},
    {"", 1, "whole-bound AND whole-bound | whole-bound OR whole-bound"},
    {"", 1, "( 0 AND small-integer / 0 ) | ( 1 OR external )"},
    {"", 1, "( whole-bound comparison whole-bound )"},
    {"", 1, "( real-bound comparison whole-bound )"},
    {"", 1, "( text-bound comparison text-bound )"},
    {"", 2, "( whole-bound ) | - whole-bound"},
    {"", 1, "+ whole-bound | ABS ( whole-bound ) | INT ( real-bound )"},
    {"", 1, "NUM ( text-bound ) | LEN ( text-bound ) | LEN ( message )"},
    {"", 1, "POS ( text-bound , text-bound )"},
    {"real-bound", 8, "small-real"},
    {"", 1, "PI | small-integer / digit-not-0 | small-real + small-integer"},
    {"", 1, "small-integer - small-real | small-real * small-integer"},
    {"", 1, "small-real ** 0.5 | small-real MOD digit-not-0"},
    {"", 1, "small-real DIV digit-not-0 | - small-real | ( real-bound )"},
    {"", 1, "ABS ( real-bound ) | COS ( whole-bound ) | SIN ( real-bound )"},
    {"", 1, "TAN ( small-integer ) | VAL ( number-text )"},
    {"text-bound", 6, "plain-text"},
    {"", 1, "plain-text + text-bound | plain-text * digit | - plain-text"},
    {"", 1, "( text-bound ) | STR ( whole-bound ) | STR ( real-bound )"},
    {"refused-bound", 1, "text-bound | variable | assignment | external"},
    {"", 1, "function ( argument+, ) | plain-text - small-integer"},

    // Statements ------------------------------------------------------------
    {"statement", 4, ";"},
    {"", 50, "assignment ;"},
    {"", 8, "LET assignment ;"},
    {"", 4, "c-function ; | c-function ( argument+, ) ;"},
    {"", 5, "WHILE expression DO statement+ END WHILE"},
    {"", 5, "IF expression THEN statement+ END IF"},
    {"", 3, "IF expression THEN statement+ ELSE statement+ END IF"},
    {"", 2, "SELECT expression ; case-clause+ END SELECT"},
    {"", 2, "SELECT expression ; case-clause+ CASE ELSE statement+ END SELECT"},
    {"", 4, "ALLOCATE allocate-item+, ; | FREE variable+, ;"},
    {"", 5, "CALL routine ;"},
    {"", 12, "CALL routine ( argument+, ) ;"},
    {"", 2, "PRINT ;"},
    {"", 10, "PRINT argument+, ;"},
    {"", 4, "RETURN expression ;"},
    {"", 3, "EXIT expression ;"},
    {"", 2, "BREAK | CONTINUE | SUBEXIT"},
    {"", 1, "deep-statement"},
    {"allocate-item", 1, "variable ( allocate-bound+, )"},
    {"allocate-bound", 2, "expression"},
    {"", 1, "expression : expression"},
    {"case-clause", 1, "CASE case-label+, ; statement+"},
    {"case-label", 3, "expression"},
    {"", 2, "comparison expression | expression TO expression"},
    {"comparison", 1, "> | < | == | >= | <= | <>"},
    {"argument", 8, "expression"},
    {"", 1, "variable ( * ) | any-name ( * )"},

    // Expressions -----------------------------------------------------------
    {"expression", 10, "operand"},
    {"", 5, "operand operator operand"},
    {"", 2, "operand operator operand operator operand"},
    {"", 1, "operand operator operand operator operand operator operand"},
    {"operator", 3, "+"},
    {"", 2, "- | * | /"},
    {"", 1, "** | MOD | DIV | AND | OR"},
    {"", 3, "comparison"},
    {"operand", 24, "reference"},
    {"", 4, "external"},
    {"", 14, "integer"},
    {"", 8, "real | text"},
    {"", 1, "message"},
    {"", 6, "call"},
    {"", 1, "assignment"},
    {"", 5, "( expression )"},
    {"", 3, "- operand"},
    {"", 1, "+ operand | ( deep-operand )"},
    {"assignment", 6, "reference assign-operator expression"},
    {"", 1, "external assign-operator expression"},
    {"assign-operator", 6, "="},
    {"", 1, "+= | -= | *= | /="},
    {"reference", 12, "variable"},
    {"", 3, "variable ( expression+, ) | variable member+"},
    {"", 1, "variable ( expression+, ) member+"},
    {"member", 6, ". coordinate"},
    {"", 1, ". coordinate ( expression+, ) | . any-name"},
    {"", 1, ". any-name ( expression+, )"},
    {"coordinate", 1, "X | Y | Z"},
    {"external", 3, "dollar-name | percent-name | ampersand-name | setting"},
    {"", 2, "sigil ( expression )"},
    {"sigil", 1, "$ | % | & | @"},
    {"call", 5, "builtin-call"},
    {"", 1, "c-function | c-function ( argument+, ) | function"},
    {"", 3, "function ( argument+, )"},
    {"message", 1, "MSG ( short-text , integer )"},
    {"", 1, "MSG ( short-text , short-text , integer )"},
    {"", 1, "MSG ( empty-text , short-text , integer )"},
    {"", 1, "MSGGET ( short-text , integer , short-text )"},
    {"", 1, "MSGGET ( empty-text , integer , short-text )"},

    // Words, numbers, texts -------------------------------------------------
    {"name", 20, "word"},
    {"", 6, "two-words"},
    {"", 4, "word-and-number | letter"},
    {"", 1, "long-name | odd-name | keyword-and-more | lower-case-keyword"},
    {"integer", 10, "small-integer"},
    {"", 2, "decimal"},
    {"", 1, "octal | hexadecimal | character | 0xFFFFFFFF | 2147483647"},
    {"", 1, "020000000000"},
    {"real", 6, "small-real"},
    {"", 2, "point-first"},
    {"", 1, "exponent | point-and-exponent | real-suffix | point-and-suffix"},
    {"", 1, "exponent-and-suffix | PI | 0.0 | - 0.0 | 09.5 | 1E400 | 1e-320"},
    {"", 1, "123456789012345678.901234567890"},
    {"text", 60, "plain-text"},
    {"", 5, "empty-text"},
    {"", 15, "escaped-text"},
    {"", 5, "text-of-any-bytes"},
    {"", 1, "long-text"},
    {"", 5, "text-with-doubled-quote | text-with-line-feed"},

    // Masks -----------------------------------------------------------------
    {"mask", 3, "window++"},
    {"", 1, "application++"},
    {"application", 1, "APPLICATION new-editor { application-member+ }"},
    {"application-member", 3, "common-member"},
    {"", 2, "handler | window"},
    {"", 1, "module-block"},
    {"window", 100, "WINDOW new-editor { window-member+ }"},
    {"", 1, "WINDOW object-name { window-member+ }"},
    {"window-member", 8, "common-member"},
    {"", 5, "handler"},
    {"", 2, "simple-object | menu | label | table | text-object | group"},
    {"", 3, "module-block"},
    {"simple-object", 1, "simple-type object-name { simple-member+ }"},
    {"simple-type", 1, "BUTTON | SCROLLBAR | RECORD | DIALOG | GRAPHIC"},
    {"simple-member", 2, "common-member"},
    {"", 1, "handler"},
    {"menu", 9, "menu-type object-name { menu-member+ }"},
    {"", 1, "deep-menus"},
    {"menu-type", 1, "MENUBAR | MENU"},
    {"menu-member", 6, "common-member"},
    {"", 3, "handler"},
    {"", 1, "menu"},
    {"", 2, "item"},
    {"item", 1, "ITEM object-name { simple-member+ }"},
    {"table", 1, "TABLE object-name { table-member+ }"},
    {"table-member", 6, "common-member"},
    {"", 3, "handler"},
    {"", 1, "simple-object | menu | label | item | text-object | group"},
    {"text-object", 1, "TEXT object-name { text-member+ }"},
    {"text-member", 3, "common-member"},
    {"", 2, "handler"},
    {"", 1, "item"},
    {"group", 9, "GROUP object-name { group-member+ }"},
    {"", 1, "deep-groups"},
    {"group-member", 6, "common-member"},
    {"", 1, "simple-object | menu | label | table | text-object | group"},
    {"label", 1, "LABEL object-name { attribute-line+ }"},
    {"object-name", 1, ""},
    {"", 4, "any-name"},
    {"", 1, "text"},
    {"common-member", 6, "attribute-line"},
    {"", 1, "HELP { attribute-line+ }"},
    {"attribute-line", 1, "attribute ;"},
    {"attribute", 1, ""},
    {"", 4, "any-name assign-operator integer | any-name assign-operator text"},
    {"", 2, "any-name assign-operator any-name"},
    {"", 1, "any-name assign-operator message"},
    {"", 1, "any-name assign-operator MSGGLOB ( short-text , integer )"},
    {"", 1,
     "any-name assign-operator MSGFILE ( short-text , integer , short-text )"},
    {"", 1, "text assign-operator integer | text assign-operator text"},
    {"", 1, "text assign-operator any-name"},
    {"handler", 2, "ON event+OR EXECUTE { enter body }"},
    {"", 1, "ON event+OR EXECUTE { enter subs enter body }"},
    {"", 2, "ON event+OR { attribute-line+ }"},
    {"", 1, "ON event+OR DO any-name ;"},
    {"", 1, "ON event+OR DO any-name WITH any-name ;"},
    {"", 1, "ON event+OR DO any-name WITH text ;"},
    {"event", 8, "KEY key"},
    {"", 1, "ENTER | EXIT | CONTROL | ABORT | BUTTON PRESS | BUTTON RELEASE"},
    {"", 1, "MOTION | DESTROY | CONFIRM | CREATE | SHOW | HIDE | COMPUTE"},
    {"", 1, "ACTIVATE | MODIFY"},
    {"key", 6, "any-name"},
    {"", 3, "< any-name >"},
    {"", 6, "integer"},
    {"", 3, "RETURN"},
    {"module-block", 1, "MODULE { enter declaration+ }"},
    {"", 2, "MODULE { enter declaration+ subs }"},

    // Layout ----------------------------------------------------------------
    {"style", 4, "tidy"},
    {"", 1, "dense | token-per-line | endless-lines"},
    {"", 2, "wild"},
    {"line-ends", 12, "feed"},
    {"", 1, "carriage-return-and-feed | either"},
    {"gap", 400, "blank"},
    {"", 50, "blanks | tab"},
    {"", 10, "form-feed"},
    {"", 100, "line-feed"},
    {"", 20, "empty-lines"},
    {"", 40, "bang-comment"},
    {"", 20, "hash-comment"},
    {"", 2, "skipped-characters"},
    {"file-end", 60, "line-feed"},
    {"", 8, "bang-comment"},
    {"", 4, "line-without-feed | line-with-zero-byte"},
    {"", 1, "line-too-long"},
};

constexpr const char* KEY_NAMES[] = {
    "INSC", "DELC", "INSL", "DELL", "CLE",   "CLL",  "BS",  "CLS",  "EXEC",
    "CUL",  "CUR",  "CUUP", "CUDN", "PGUP",  "PGDN", "ESC", "PF1",  "PF2",
    "PF3",  "PF4",  "PF5",  "PF6",  "PF7",   "PF8",  "PF9", "PF10", "PF11",
    "PF12", "SF1",  "SF2",  "SF3",  "SF4",   "SF5",  "SF6", "SF7",  "SF8",
    "SF9",  "SF10", "SF11", "SF12", "RECALL"};

[[noreturn]] void Fail(std::string_view what, std::string_view word) {
  fprintf(stderr, "grammar.cpp: %.*s '%.*s'\n", static_cast<int>(what.size()),
          what.data(), static_cast<int>(word.size()), word.data());
  abort();
}

// Takes the first word off a form.
std::string_view TakeWord(std::string_view* form) {
  const size_t end = std::min(form->find(' '), form->size());
  const std::string_view word = form->substr(0, end);
  form->remove_prefix(std::min(end + 1, form->size()));
  return word;
}

}  // namespace

Grammar::Grammar(std::vector<std::string_view> actions)
    : actions_(std::move(actions)) {
  for (const FormRow& row : ROWS)
    if (*row.rule != '\0') numbers_.try_emplace(row.rule, numbers_.size());
  numbers_.try_emplace("builtin-call", numbers_.size());
  rules_.resize(numbers_.size());
  std::string_view rule;
  for (const FormRow& row : ROWS) {
    if (*row.rule != '\0') rule = row.rule;
    for (std::string_view left = row.forms;;) {
      const size_t end = left.find(" | ");
      add_row(rule, row.weight, left.substr(0, end));
      if (end == left.npos) break;
      left.remove_prefix(end + 3);
    }
  }
  for (const std::string_view name : SmithBuiltins()) {
    add_row("builtin-call", 1, name);
    add_row("builtin-call", 1, std::string(name) + " ( expression+, )");
  }
  for (const std::string name : KEY_NAMES) {
    add_row("key", 1, name);
    add_row("key", 1, "< " + name + " >");
  }
  measure(0);
  measure(1);
}

size_t Grammar::rule(std::string_view name) const {
  const auto found = numbers_.find(name);
  if (found == numbers_.end()) Fail("no rule", name);
  return found->second;
}

void Grammar::add_row(std::string_view rule_name, uint32_t weight,
                      std::string_view form) {
  Row row = {
      .weight = weight, .production = productions_.size(), .symbols = {}};
  productions_.push_back(std::string(rule_name) + ": " + std::string(form));
  while (!form.empty())
    row.symbols.push_back(symbol(TakeWord(&form), row.production));
  rules_[rule(rule_name)].rows.push_back(std::move(row));
}

Symbol Grammar::symbol(std::string_view word, size_t row) {
  Symbol made;
  made.text = word;
  if (word[0] < 'a' || word[0] > 'z') return made;
  const size_t end = std::min(word.find('+'), word.size());
  const std::string_view name = word.substr(0, end);
  const std::string_view suffix = word.substr(end);
  if (suffix == "++") {
    made.repeat = SymbolRepeat::MANY;
  } else if (!suffix.empty()) {
    made.repeat = SymbolRepeat::SOME;
    made.separator = suffix.substr(1);
    made.production = productions_.size();
    const std::string part = productions_[row] + " / " + made.text;
    productions_.push_back(part + " (one)");
    productions_.push_back(part + " (several)");
  }
  const auto found = numbers_.find(name);
  if (found != numbers_.end()) {
    made.kind = SymbolKind::RULE;
    made.number = found->second;
    return made;
  }
  const auto action = std::ranges::find(actions_, name);
  if (action == actions_.end()) Fail("neither rule nor action", name);
  made.kind = SymbolKind::ACTION;
  made.number = static_cast<size_t>(action - actions_.begin());
  return made;
}

// Lowers heights until no row changes any more.
void Grammar::measure(size_t variables) {
  const auto height_of = [&](const Symbol& symbol) -> Height {
    if (symbol.kind == SymbolKind::RULE)
      return rules_[symbol.number].height[variables];
    const bool none = symbol.kind == SymbolKind::ACTION && variables == 0 &&
                      actions_[symbol.number] == VARIABLE_ACTION;
    return none ? NEVER : 0;
  };
  for (bool changed = true; changed;) {
    changed = false;
    for (Rule& rule : rules_) {
      for (Row& row : rule.rows) {
        Height highest = 0;
        for (const Symbol& symbol : row.symbols)
          highest = std::max(highest, height_of(symbol));
        row.height[variables] = highest == NEVER ? NEVER : highest + 1;
        if (row.height[variables] >= rule.height[variables]) continue;
        rule.height[variables] = row.height[variables];
        changed = true;
      }
    }
  }
}
