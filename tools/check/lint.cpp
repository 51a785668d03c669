// One pass over the nodes, in the order of the text, and one over the names and
// their uses. What a node means is told by its symbol and by its first token.
#include "tools/check/lint.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>
#include <unordered_map>

#include "elut/model/mask_events.h"
#include "elut/model/mask_objects.h"
#include "tools/suggest.h"

namespace {

constexpr size_t NAME_LIMIT = MASK_NAME_BYTES - 1;
constexpr size_t DIM_LIMIT = 255;

struct Child {
  bool is_node;
  uint32_t number;
};

// Children of a node. The vector belongs to the caller, who may use it again.
void Children(const SyntaxTree& tree, uint32_t node,
              std::vector<Child>* children) {
  children->clear();
  SyntaxChildren(
      tree, node,
      [&](uint32_t token) {
        children->push_back({false, token});
      },
      [&](uint32_t child) {
        children->push_back({true, child});
      });
}

bool IsVariable(SyntaxMeaning meaning) {
  return meaning == SyntaxMeaning::PARAMETER ||
         meaning == SyntaxMeaning::LOCAL || meaning == SyntaxMeaning::COMMON;
}

class Linter {
 public:
  Linter(const SyntaxTree& tree, const SyntaxNames& names,
         const LintQuestions& questions)
      : tree_(tree),
        names_(names),
        questions_(questions),
        state_(names.symbols.size()) {}

  LintResult run();

 private:
  // How a symbol is used.
  struct State {
    bool read = false, written = false, used = false;
    // It takes the value of a call, which cannot stand alone.
    bool takes_result = false;
    // Of a variable: its declared bounds, as far as they are constants.
    uint32_t declarator = SYNTAX_NONE;
  };
  struct Bounds {
    std::optional<double> low, high;
  };
  // A SUB: what calls of it have to know.
  struct Sub {
    uint32_t name_token;
    size_t required = 0, parameters = 0;
    bool returns = false;
  };

  int kind(uint32_t token) const { return tree_.tokens[token].kind; }
  std::string text(uint32_t token) const {
    return std::string(tree_.text_of(token));
  }
  const SyntaxNode& node(uint32_t number) const { return tree_.nodes[number]; }
  int symbol(uint32_t number) const { return node(number).symbol; }
  uint32_t first(const Child& child) const {
    return child.is_node ? node(child.number).first_token : child.number;
  }
  uint32_t last(const Child& child) const {
    return child.is_node ? node(child.number).token_end - 1 : child.number;
  }
  bool is_token(const Child& child, int token) const {
    return !child.is_node && kind(child.number) == token;
  }
  LintFinding* add(const char* rule, uint32_t first_token, uint32_t last_token,
                   std::string message, std::string hint = "") {
    result_.findings.push_back({rule, first_token, last_token,
                                std::move(message), std::move(hint),
                                SYNTAX_NONE, "", false});
    return &result_.findings.back();
  }
  void relate(LintFinding* finding, uint32_t token, std::string message) {
    finding->related = token;
    finding->related_message = std::move(message);
  }
  // Whether the token is of the file that is checked.
  bool own(uint32_t token) const {
    return questions_.file == 0 ? !tree_.tokens[token].foreign
                                : tree_.file_of(token) == questions_.file;
  }
  // The variable that a token names, or nullptr.
  const SyntaxSymbol* variable(uint32_t token) const {
    const SyntaxUse* use = names_.at(token);
    if (use == nullptr) return nullptr;
    const SyntaxSymbol& found = names_.symbols[use->symbol];
    return IsVariable(found.meaning) ? &found : nullptr;
  }
  std::optional<double> constant(const Child& child) const;
  bool is_real(const Child& child) const;

  void collect_uses();
  void collect_subs();
  void bare_calls();
  void message(uint32_t number);
  void statement(uint32_t number);
  void statements(const std::vector<Child>& children);
  void condition(const Child& child, uint32_t keyword);
  void expression(uint32_t number);
  void assignment(uint32_t number);
  void reference(uint32_t number);
  void subscripts(uint32_t number);
  void arguments(const std::vector<Child>& children, uint32_t name);
  void declarator(uint32_t number, uint32_t type);
  void declaration(uint32_t number);
  void range(const Child& low, const Child& high, const char* what);
  void range_of(uint32_t number, const char* what);
  void allocate(const std::vector<Child>& children);
  void handler(uint32_t number);
  void object(uint32_t number);
  void attribute(const std::vector<Child>& children,
                 std::map<std::string, uint32_t>* list);
  void key(uint32_t token);
  void symbols();
  void routines();
  void attribute_types();
  void attributes();

  const SyntaxTree& tree_;
  const SyntaxNames& names_;
  const LintQuestions& questions_;
  LintResult result_;
  std::vector<State> state_;
  std::map<std::pair<uint32_t, std::string>, Sub> subs_;  // by program and name
  struct AttributeValue {
    uint32_t name, first, last;  // tokens
    bool integer;
  };
  std::map<std::string, std::vector<AttributeValue>> attribute_values_;
  std::map<std::string, std::pair<uint32_t, size_t>> attribute_uses_;
  std::map<std::string, uint32_t> editors_;
};

// Constants -------------------------------------------------------------------

// The value of an expression of numbers.
std::optional<double> Linter::constant(const Child& child) const {
  if (!child.is_node) {
    const std::string digits = text(child.number);
    switch (kind(child.number)) {
      case TOKEN_RCONST: return strtod(digits.c_str(), nullptr);
      case TOKEN_ICONST:
        if (digits[0] == '\'') return static_cast<uint8_t>(digits[1]);
        return static_cast<double>(
            static_cast<int32_t>(strtoul(digits.c_str(), nullptr, 0)));
      default: return std::nullopt;
    }
  }
  if (symbol(child.number) != SYMBOL_expression ||
      node(child.number).token_end - node(child.number).first_token > 16)
    return std::nullopt;
  std::vector<Child> children;
  Children(tree_, child.number, &children);
  if (children.size() == 2) {
    const auto value = constant(children[1]);
    if (value && is_token(children[0], TOKEN_MINUS)) return -*value;
    return is_token(children[0], TOKEN_PLUS) ? value : std::nullopt;
  }
  if (children.size() != 3 || children[1].is_node) {
    if (children.size() == 3 && is_token(children[0], TOKEN_LEFT_PAREN))
      return constant(children[1]);
    return std::nullopt;
  }
  if (is_token(children[0], TOKEN_LEFT_PAREN)) return constant(children[1]);
  const auto left = constant(children[0]), right = constant(children[2]);
  if (!left || !right) return std::nullopt;
  switch (kind(children[1].number)) {
    case TOKEN_PLUS: return *left + *right;
    case TOKEN_MINUS: return *left - *right;
    case TOKEN_STAR: return *left * *right;
    default: return std::nullopt;
  }
}

bool Linter::is_real(const Child& child) const {
  if (!child.is_node) {
    if (kind(child.number) == TOKEN_RCONST) return true;
    const SyntaxSymbol* found = variable(child.number);
    return found != nullptr && found->type == McValueType::REAL;
  }
  switch (symbol(child.number)) {
    case SYMBOL_variable: {
      const SyntaxSymbol* found = variable(node(child.number).first_token);
      return found != nullptr && found->type == McValueType::REAL;
    }
    case SYMBOL_variable_reference: return true;  // a coordinate
    case SYMBOL_expression: {
      std::vector<Child> children;
      Children(tree_, child.number, &children);
      if (children.size() == 3 && !children[1].is_node) {
        switch (kind(children[1].number)) {
          case TOKEN_PLUS:
          case TOKEN_MINUS:
          case TOKEN_STAR:
          case TOKEN_SLASH: return is_real(children[0]) || is_real(children[2]);
          default: return false;
        }
      }
      return children.size() == 3 && is_real(children[1]);
    }
    default: return false;
  }
}

// Names
// -------------------------------------------------------------------------

void Linter::collect_uses() {
  for (const SyntaxUse& use : names_.uses) {
    State& state = state_[use.symbol];
    switch (use.role) {
      case SyntaxRole::DEFINE: break;
      case SyntaxRole::READ: state.read = true; break;
      case SyntaxRole::WRITE:
      case SyntaxRole::UPDATE: state.written = true; break;
      case SyntaxRole::WHOLE: state.read = state.written = true; break;
      case SyntaxRole::CALL: state.read = true; break;
      case SyntaxRole::ALLOCATE: break;
    }
    state.used |= use.role != SyntaxRole::DEFINE;
  }
}

// FNNAME without arguments is a token and no node.
void Linter::bare_calls() {
  for (const SyntaxUse& use : names_.uses)
    if (kind(use.token) == TOKEN_FNNAME && own(use.token) &&
        kind(use.token + 1) != TOKEN_LEFT_PAREN)
      arguments({}, use.token);
}

void Linter::collect_subs() {
  std::vector<Child> children, parameters;
  for (const SyntaxScope& scope : names_.scopes) {
    if (scope.name == SYNTAX_NONE) continue;
    const SyntaxSymbol& name = names_.symbols[scope.name];
    if (name.definition == SYNTAX_NONE) continue;
    Sub sub = {name.definition, 0, 0, false};
    bool optional = false;
    for (uint32_t token = name.definition + 1;
         token < node(scope.node).token_end; token++) {
      if (token == name.definition + 1 && kind(token) != TOKEN_LEFT_PAREN)
        break;
      if (kind(token) == TOKEN_OPTIONAL) optional = true;
      if (kind(token) == TOKEN_IDENT) {
        sub.parameters++;
        sub.required += !optional;
      }
      // Stars stand in parentheses of their own.
      if (kind(token) == TOKEN_RIGHT_PAREN && kind(token - 1) != TOKEN_STAR)
        break;
      if (kind(token) == TOKEN_RIGHT_PAREN &&
          kind(token + 1) == TOKEN_RIGHT_PAREN)
        break;
    }
    for (uint32_t token = node(scope.node).first_token;
         token < node(scope.node).token_end; token++)
      sub.returns |= kind(token) == TOKEN_RETURN;
    const auto [row, fresh] =
        subs_.emplace(std::pair(scope.program, text(name.definition)), sub);
    // A file that is included twice defines its SUBs twice.
    if (!fresh && own(name.definition) &&
        tree_.tokens[name.definition].begin !=
            tree_.tokens[row->second.name_token].begin)
      relate(add("duplicate-sub", name.definition, name.definition,
                 "a second SUB '" + text(name.definition) + "'",
                 "calls go to the first one, this one is never called"),
             row->second.name_token, "the first one");
  }
}

void Linter::symbols() {
  for (uint32_t i = 0; i < names_.symbols.size(); i++) {
    const SyntaxSymbol& found = names_.symbols[i];
    const State& state = state_[i];
    if (found.definition == SYNTAX_NONE || !own(found.definition)) continue;
    const uint32_t at = found.definition;
    if (IsVariable(found.meaning) && found.refused) {
      // A range that the type has not is said already.
      if (std::ranges::any_of(result_.refused_names, [&](const auto& row) {
            return row.first == text(at);
          }))
        continue;
      LintFinding* finding =
          add("declaration-refused", at, at,
              "the declaration of '" + text(at) + "' has no effect",
              "a bound is not a constant that the compiler can evaluate");
      (void)finding;
      result_.refused_names.emplace_back(text(at), result_.findings.size() - 1);
      continue;
    }
    if (IsVariable(found.meaning) && found.shadowed != SYNTAX_NONE) {
      const SyntaxSymbol& other = names_.symbols[found.shadowed];
      // Said once, at the later one.
      if (other.definition != SYNTAX_NONE && other.definition < at) {
        const bool same = other.selector == found.selector;
        const bool hides = found.selector < other.selector;
        relate(add(same ? "duplicate-variable" : "shadowed-name", at, at,
                   same ? "'" + text(at) + "' is declared a second time"
                        : "'" + text(at) +
                              "' has the name of another variable "
                              "of the routine",
                   same || !hides ? "the first declaration counts"
                                  : "this one hides the first one"),
               other.definition, "the first declaration");
        continue;
      }
    }
    switch (found.meaning) {
      case SyntaxMeaning::LOCAL:
        // Others may use what a MODULE block declares.
        if (symbol(names_.scopes[found.scope].node) == SYMBOL_module_block)
          break;
        if (!state.read && !state.written)
          add("unread-variable", at, at,
              "the variable '" + text(at) + "' is never used");
        else if (!state.read && !state.takes_result)
          add("unread-variable", at, at,
              "the variable '" + text(at) + "' is set, and never read");
        else if (state.read && !state.written)
          add("unassigned-variable", at, at,
              "the variable '" + text(at) + "' never gets a value");
        break;
      case SyntaxMeaning::PARAMETER:
        if (!state.used)
          add("unused-parameter", at, at,
              "the parameter '" + text(at) + "' is never used");
        break;
      case SyntaxMeaning::IMPORT:
        if (!state.used)
          add("unused-import", at, at,
              "'" + text(at) + "' is imported, and never called");
        break;
      case SyntaxMeaning::SUB:
        if (!state.used && kind(0) == TOKEN_PROGRAM &&
            subs_.at({found.program, text(at)}).name_token == at)
          add("unused-sub", at, at,
              "the SUB '" + text(at) + "' is never called");
        break;
      default: break;
    }
  }
}

// Statements
// --------------------------------------------------------------------

// A list of statements among the children of a block.
void Linter::statements(const std::vector<Child>& children) {
  bool ended = false;
  uint32_t what = 0;
  for (const Child& child : children) {
    if (!child.is_node) {
      // The ";" behind BREAK is a statement of its own that does nothing.
      if (kind(child.number) != TOKEN_SEMICOLON) ended = false;
      continue;
    }
    if (symbol(child.number) != SYMBOL_statement) continue;
    if (ended) {
      relate(add("unreachable-code", node(child.number).first_token,
                 node(child.number).token_end - 1, "this is never reached"),
             what, "behind this " + text(what));
      ended = false;
    }
    switch (kind(node(child.number).first_token)) {
      case TOKEN_RETURN:
      case TOKEN_EXIT:
      case TOKEN_BREAK:
      case TOKEN_CONTINUE:
      case TOKEN_SUBEXIT:
        ended = true;
        what = node(child.number).first_token;
        break;
      default: break;
    }
  }
}

// A condition of IF or WHILE.
void Linter::condition(const Child& child, uint32_t keyword) {
  uint32_t at = child.number;
  bool is_node = child.is_node;
  std::vector<Child> children;
  while (is_node && symbol(at) == SYMBOL_expression) {
    Children(tree_, at, &children);
    if (children.size() != 3 || !is_token(children[0], TOKEN_LEFT_PAREN)) break;
    is_node = children[1].is_node;
    at = children[1].number;
  }
  if (is_node && symbol(at) == SYMBOL_assignment) {
    Children(tree_, at, &children);
    if (children.size() == 3 && text(first(children[1])) == "=")
      add("assignment-in-condition", first(children[1]), first(children[1]),
          "this assigns a value, and the condition is that value",
          "write == to compare");
  }
  if (kind(keyword) == TOKEN_WHILE && !is_node) {
    const auto value = constant({false, at});
    if (!value || *value == 0) return;
    const SyntaxNode& loop = node(tree_.node_of(keyword));
    for (uint32_t token = keyword; token < loop.token_end; token++)
      switch (kind(token)) {
        case TOKEN_BREAK:
        case TOKEN_RETURN:
        case TOKEN_EXIT:
        case TOKEN_SUBEXIT: return;
        default: break;
      }
    add("endless-loop", keyword, keyword,
        "nothing ends this loop: its condition is a constant");
  }
}

// Calls: CALL NAME (...), FNNAME(...) and CFNNAME(...).
void Linter::arguments(const std::vector<Child>& children, uint32_t name) {
  size_t count = 0;
  bool open = false;
  for (const Child& child : children) {
    if (is_token(child, TOKEN_LEFT_PAREN) && !open) {
      open = true;
      continue;
    }
    if (!open) continue;
    if (is_token(child, TOKEN_RIGHT_PAREN)) break;
    if (is_token(child, TOKEN_COMMA)) continue;
    count++;
    if (!child.is_node) {
      // A variable is handed on by reference, so it may get a value.
      if (const SyntaxUse* use = names_.at(child.number))
        state_[use->symbol].written = true;
      continue;
    }
    const uint32_t argument = child.number;
    if (symbol(argument) == SYMBOL_variable ||
        symbol(argument) == SYMBOL_variable_reference) {
      if (const SyntaxUse* use = names_.at(node(argument).first_token))
        state_[use->symbol].written = true;
    }
    if (symbol(argument) == SYMBOL_argument) {
      const uint32_t array = node(argument).first_token;
      const SyntaxUse* use = names_.at(array);
      if (use == nullptr ||
          names_.symbols[use->symbol].meaning == SyntaxMeaning::UNDECLARED)
        add("unknown-array", array, node(argument).token_end - 1,
            "the array '" + text(array) + "' is not declared",
            "the compiler leaves the argument out");
    }
    if (symbol(argument) == SYMBOL_expression &&
        kind(node(argument).first_token) == TOKEN_LEFT_PAREN) {
      std::vector<Child> inner;
      Children(tree_, argument, &inner);
      if (inner.size() == 3 && is_token(inner[0], TOKEN_LEFT_PAREN) &&
          (inner[1].is_node
               ? symbol(inner[1].number) == SYMBOL_variable ||
                     symbol(inner[1].number) == SYMBOL_variable_reference
               : kind(inner[1].number) == TOKEN_IDENT))
        add("argument-by-value", first(child), last(child),
            "in parentheses a variable is handed on by its value",
            "what the SUB does to it is lost; without them it gets the "
            "variable itself");
    }
  }
  std::string called = text(name);
  const bool function = kind(name) == TOKEN_FNNAME;
  if (kind(name) == TOKEN_CFNNAME) return;
  if (function) called = called.substr(2);
  const SyntaxUse* use = names_.at(name);
  if (use == nullptr ||
      names_.symbols[use->symbol].meaning != SyntaxMeaning::SUB)
    return;
  const auto found = subs_.find({names_.symbols[use->symbol].program, called});
  if (found == subs_.end()) return;
  const Sub& sub = found->second;
  if (count < sub.required || count > sub.parameters)
    relate(add("argument-count", name, name,
               "'" + called + "' is called with " + std::to_string(count) +
                   (count == 1 ? " argument" : " arguments") + ", and has " +
                   std::to_string(sub.parameters) +
                   (sub.parameters == 1 ? " parameter" : " parameters")),
           sub.name_token, "the SUB");
  if (function && !sub.returns)
    relate(add("no-return-value", name, name,
               "the SUB '" + called + "' returns no value"),
           sub.name_token, "it has no RETURN");
}

// Two constants, of which the first is not to be the larger one.
void Linter::range(const Child& low, const Child& high, const char* what) {
  const auto from = constant(low), to = constant(high);
  if (!from || !to || *from <= *to) return;
  add("empty-range", first(low), last(high),
      std::string("the ") + what + " has no value in it",
      "the lower bound stands first");
}

// The parts of a node that is LOW : HIGH, or LOW TO HIGH.
void Linter::range_of(uint32_t number, const char* what) {
  std::vector<Child> both;
  Children(tree_, number, &both);
  if (both.size() == 3) range(both[0], both[2], what);
}

void Linter::allocate(const std::vector<Child>& children) {
  for (const Child& child : children) {
    if (!child.is_node && kind(child.number) != TOKEN_IDENT) continue;
    const uint32_t name = first(child);
    const SyntaxUse* use = names_.at(name);
    if (use == nullptr) continue;
    const SyntaxSymbol& found = names_.symbols[use->symbol];
    if (found.meaning == SyntaxMeaning::UNDECLARED && child.is_node) {
      add("allocate-undeclared", name, name,
          "the array '" + text(name) + "' is not declared",
          "declare it with (*), and one * for each dimension")
          ->refused = true;
    } else if (IsVariable(found.meaning) && found.storage != McStorage::ALLOC &&
               found.storage != McStorage::REF) {
      relate(add("allocate-static", name, name,
                 "'" + text(name) + "' is not declared with (*)",
                 "its memory is there already; the run time refuses the "
                 "statement"),
             found.definition, "its declaration");
    }
  }
}

void Linter::statement(uint32_t number) {
  std::vector<Child> children;
  Children(tree_, number, &children);
  if (children.empty() || children[0].is_node) return;
  const uint32_t keyword = children[0].number;
  // Blocks that hold nothing but ";".
  const auto block = [&](size_t begin) {
    bool any = false;
    uint32_t semicolon = SYNTAX_NONE;
    for (size_t i = begin; i < children.size(); i++) {
      if (children[i].is_node)
        any = true;
      else if (kind(children[i].number) == TOKEN_SEMICOLON)
        semicolon = children[i].number;
      else
        break;
    }
    if (!any && semicolon != SYNTAX_NONE)
      add("empty-block", children[begin - 1].number, children[begin - 1].number,
          "nothing is done here");
  };
  switch (kind(keyword)) {
    case TOKEN_IF:
    case TOKEN_WHILE:
      if (children.size() > 1) condition(children[1], keyword);
      for (size_t i = 2; i + 1 < children.size(); i++)
        if (is_token(children[i], TOKEN_THEN) ||
            is_token(children[i], TOKEN_DO) ||
            is_token(children[i], TOKEN_ELSE))
          block(i + 1);
      statements(children);
      break;
    case TOKEN_SELECT: statements(children); break;
    case TOKEN_CALL:
      if (children.size() > 1 && !children[1].is_node)
        arguments({children.begin() + 2, children.end()}, children[1].number);
      break;
    case TOKEN_ALLOCATE:
    case TOKEN_FREE: allocate(children); break;
    default: break;
  }
}

// Expressions
// -------------------------------------------------------------------

void Linter::expression(uint32_t number) {
  if (!questions_.real_equality) return;
  std::vector<Child> children;
  Children(tree_, number, &children);
  if (children.size() != 3 || children[1].is_node) return;
  const int op = kind(children[1].number);
  if ((op == TOKEN_EQUAL || op == TOKEN_NOT_EQUAL) &&
      (is_real(children[0]) || is_real(children[2])))
    add("real-equality", children[1].number, children[1].number,
        "REAL values are compared for equality",
        "compare their difference with a tolerance");
}

// MSG("file", 1), MSG("text", "file", 1), MSGGET("file", 1, "text")
void Linter::message(uint32_t number) {
  if (questions_.catalogs == nullptr) return;
  const SyntaxNode& at = node(number);
  for (uint32_t token = at.first_token + 1; token < at.token_end; token++) {
    if (kind(token) != TOKEN_ICONST) continue;
    const std::string name = text(token - 2);
    if (kind(token - 2) != TOKEN_SCONST || name.size() < 3) return;
    const auto value = constant({false, token});
    const std::vector<std::string> missing = questions_.catalogs->missing_in(
        name.substr(1, name.size() - 2), static_cast<int>(value.value_or(0)));
    if (missing.empty()) return;
    std::string what = "no catalog has message " + text(token) + " of " + name;
    if (missing.size() < questions_.catalogs->languages().size()) {
      what = "message " + text(token) + " of " + name + " is missing in ";
      for (const std::string& language : missing)
        what += (language == missing.front() ? "" : ", ") + language;
    }
    add("unknown-message", token - 2, token, what,
        kind(at.first_token) == TOKEN_MSGGET
            ? "the text given with it is shown"
            : "its number and the name of the catalog are shown");
    return;
  }
}

// The declared range of a variable, and of its dimensions.
void Linter::assignment(uint32_t number) {
  std::vector<Child> children;
  Children(tree_, number, &children);
  if (children.size() != 3 || children[1].is_node ||
      text(children[1].number) != "=")
    return;
  const uint32_t target = first(children[0]);
  const SyntaxUse* use = names_.at(target);
  const Child& given = children[2];
  if (use != nullptr &&
      (given.is_node ? symbol(given.number) == SYMBOL_builtin_call ||
                           symbol(given.number) == SYMBOL_fn_call ||
                           symbol(given.number) == SYMBOL_cfn_call
                     : kind(given.number) == TOKEN_FNNAME ||
                           kind(given.number) == TOKEN_CFNNAME ||
                           kind(given.number) == TOKEN_BUILTIN))
    state_[use->symbol].takes_result = true;
  if (use == nullptr || state_[use->symbol].declarator == SYNTAX_NONE ||
      (children[0].is_node && symbol(children[0].number) != SYMBOL_variable))
    return;
  const auto value = constant(children[2]);
  if (!value) return;
  std::vector<Child> declared;
  Children(tree_, state_[use->symbol].declarator, &declared);
  if (declared.size() < 6 || !is_token(declared[1], TOKEN_LEFT_BRACKET)) return;
  const auto low = constant(declared[2]), high = constant(declared[4]);
  if (low && high && *low <= *high && (*value < *low || *value > *high))
    relate(add("range-exceeded", first(children[2]), last(children[2]),
               "the value is outside the range of '" + text(target) + "'"),
           first(declared[1]), "its range");
}

// VARIABLE(subscripts)
void Linter::subscripts(uint32_t number) {
  std::vector<Child> children;
  Children(tree_, number, &children);
  const uint32_t name = node(number).first_token;
  const SyntaxUse* use = names_.at(name);
  if (use == nullptr) return;
  const SyntaxSymbol& found = names_.symbols[use->symbol];
  if (!IsVariable(found.meaning) || found.refused) return;
  std::vector<Child> given;
  for (size_t i = 2; i + 1 < children.size(); i++)
    if (!is_token(children[i], TOKEN_COMMA)) given.push_back(children[i]);
  if (given.size() > DIM_LIMIT) return;
  if (given.size() != found.dimensions) {
    relate(add("subscript-count", name, last(children.back()),
               "'" + text(name) + "' has " +
                   (found.dimensions == 0
                        ? std::string("no dimensions")
                        : std::to_string(found.dimensions) +
                              (found.dimensions == 1 ? " dimension"
                                                     : " dimensions")) +
                   ", and " + std::to_string(given.size()) +
                   (given.size() == 1 ? " subscript" : " subscripts")),
           found.definition, "its declaration");
    return;
  }
  if (state_[use->symbol].declarator == SYNTAX_NONE) return;
  std::vector<Child> declared;
  Children(tree_, state_[use->symbol].declarator, &declared);
  size_t at = 1;
  if (at < declared.size() && is_token(declared[at], TOKEN_LEFT_BRACKET))
    at = 6;
  if (at >= declared.size() || !is_token(declared[at], TOKEN_LEFT_PAREN))
    return;
  at++;
  for (size_t i = 0; i < given.size() && at < declared.size(); i++, at += 2) {
    Bounds bounds = {1.0, std::nullopt};
    if (declared[at].is_node &&
        symbol(declared[at].number) == SYMBOL_dimension) {
      std::vector<Child> both;
      Children(tree_, declared[at].number, &both);
      if (both.size() == 3) bounds = {constant(both[0]), constant(both[2])};
    } else {
      bounds.high = constant(declared[at]);
    }
    const auto value = constant(given[i]);
    if (!value || !bounds.low || !bounds.high || *bounds.low > *bounds.high)
      continue;
    if (*value < *bounds.low || *value > *bounds.high)
      relate(add("subscript-range", first(given[i]), last(given[i]),
                 "the subscript is outside the bounds of '" + text(name) + "'"),
             found.definition, "its declaration");
  }
}

// VARIABLE.COORDINATE
void Linter::reference(uint32_t number) {
  std::vector<Child> children;
  Children(tree_, number, &children);
  if (children.size() < 3 || children[2].is_node) return;
  const uint32_t name = node(number).first_token;
  const uint32_t member = children[2].number;
  const SyntaxSymbol* found = variable(name);
  if (found == nullptr || found->refused) return;
  const std::string coordinate = text(member);
  std::string why;
  if (found->storage == McStorage::REF)
    why = "the compiler does not know what an array parameter refers to";
  else if (found->type != McValueType::POINT)
    why = "only POINT variables have coordinates";
  else if (coordinate != "X" && coordinate != "Y" && coordinate != "Z")
    why = "coordinates are X, Y and Z";
  if (why.empty()) return;
  const SyntaxUse* use = names_.at(name);
  const bool write =
      use->role == SyntaxRole::WRITE || use->role == SyntaxRole::UPDATE;
  add("dropped-coordinate", children[1].number, member,
      "'." + coordinate + "' is dropped: the whole variable is " +
          (write ? "written" : "used"),
      why);
}

// Declarations
// ------------------------------------------------------------------

void Linter::declarator(uint32_t number, uint32_t type) {
  std::vector<Child> children;
  Children(tree_, number, &children);
  const uint32_t name = node(number).first_token;
  if (const SyntaxUse* use = names_.at(name))
    state_[use->symbol].declarator = number;
  size_t at = 1;
  if (at < children.size() && is_token(children[at], TOKEN_LEFT_BRACKET) &&
      children.size() > at + 4) {
    if (kind(type) == TOKEN_STRING || kind(type) == TOKEN_POINT)
      add("range-ignored", children[at].number, first(children[at + 4]),
          "a " + text(type) + " variable has no range",
          "the compiler drops it, and mostly the declaration with it"),
          result_.refused_names.emplace_back(text(name),
                                             result_.findings.size() - 1);
    else
      range(children[at + 1], children[at + 3], "range");
    at += 5;
  }
  if (at >= children.size() || !is_token(children[at], TOKEN_LEFT_PAREN))
    return;
  size_t count = 0;
  for (size_t i = at + 1; i + 1 < children.size(); i++) {
    if (is_token(children[i], TOKEN_COMMA)) continue;
    count++;
    if (is_token(children[i], TOKEN_STAR)) continue;
    if (children[i].is_node && symbol(children[i].number) == SYMBOL_dimension) {
      range_of(children[i].number, "dimension");
    } else if (const auto high = constant(children[i]); high && *high < 1) {
      add("empty-range", first(children[i]), last(children[i]),
          "the dimension has no element",
          "dimensions count from 1 unless they say otherwise");
    }
  }
  if (count > DIM_LIMIT)
    add("too-many-dimensions", name, name,
        "'" + text(name) + "' has more than 255 dimensions",
        is_token(children[at + 1], TOKEN_STAR) ? "the declaration has no effect"
                                               : "the first 255 are kept");
}

void Linter::declaration(uint32_t number) {
  std::vector<Child> children;
  Children(tree_, number, &children);
  if (children.empty() || children[0].is_node) return;
  for (const Child& child : children)
    if (child.is_node && symbol(child.number) == SYMBOL_declarator)
      declarator(child.number, children[0].number);
}

// Masks
// -------------------------------------------------------------------------

void Linter::key(uint32_t token) {
  const std::string name = text(token);
  if (name.size() < 2) return;
  if (McKeyLookup(name.c_str()) != static_cast<uint8_t>(name[0])) return;
  add("unknown-key", token, token, "there is no key '" + name + "'",
      "the key of its first letter is used");
}

// One attribute of an object or a handler; `list` has those in front of it.
void Linter::attribute(const std::vector<Child>& children,
                       std::map<std::string, uint32_t>* list) {
  if (children.size() < 3 || children[0].is_node) return;
  const uint32_t token = children[0].number;
  std::string name = text(token);
  if (kind(token) == TOKEN_SCONST && name.size() >= 2)
    name = name.substr(1, name.size() - 2);
  const auto [row, fresh] = list->emplace(name, token);
  if (!fresh)
    relate(add("duplicate-attribute", token, token,
               "'" + name + "' is set a second time",
               "both values are in the compiled file"),
           row->second, "the first time");
  if (!children[1].is_node && text(children[1].number) != "=")
    add("ignored-operator", children[1].number, children[1].number,
        "an attribute has no operator '" + text(children[1].number) + "'",
        "the value is set, as with '='");
  const bool integer = is_token(children[2], TOKEN_ICONST);
  attribute_values_[name].push_back(
      {token, first(children[2]), last(children[2]), integer});
  auto& uses = attribute_uses_[name];
  if (uses.second++ == 0) uses.first = token;
}

// Of several keys that a handler names only the last one counts.
void Linter::handler(uint32_t number) {
  std::vector<Child> children;
  Children(tree_, number, &children);
  uint32_t last = SYNTAX_NONE;
  for (size_t i = children.size(); i-- > 0;) {
    const Child& child = children[i];
    if (!child.is_node || symbol(child.number) != SYMBOL_event ||
        kind(node(child.number).first_token) != TOKEN_KEY)
      continue;
    if (last == SYNTAX_NONE)
      last = node(child.number).first_token;
    else
      relate(add("lost-key", first(child), this->last(child),
                 "a handler has one key: this one is lost",
                 "write a handler for each key"),
             last, "this one counts");
  }
}

// The attributes of an object, in the order of the text.
void Linter::object(uint32_t number) {
  std::vector<Child> children, parts;
  Children(tree_, number, &children);
  std::map<std::string, uint32_t> list;
  uint32_t module = SYNTAX_NONE;  // its MODULE
  bool top =
      node(number).parent != SYNTAX_NONE &&
      (symbol(node(number).parent) == SYMBOL_input || node(number).parent == 0);
  for (size_t i = 0; i < children.size(); i++) {
    const Child& child = children[i];
    if (i == 1 && !child.is_node &&
        (kind(child.number) == TOKEN_IDENT ||
         kind(child.number) == TOKEN_SCONST)) {
      std::string name = text(child.number);
      if (kind(child.number) == TOKEN_SCONST)
        name = name.substr(1, name.size() - 2);
      if (name.size() > NAME_LIMIT)
        add("name-cut", child.number, child.number,
            "the name is longer than 31 characters",
            "the compiler cuts it to '" + name.substr(0, NAME_LIMIT) + "'");
      if (top) {
        const auto [row, fresh] =
            editors_.emplace(name.substr(0, NAME_LIMIT), child.number);
        if (!fresh)
          relate(add("duplicate-editor", child.number, child.number,
                     "a second definition of '" + name + "'",
                     "the compiler leaves it out"),
                 row->second, "the first one");
      }
    }
    if (!child.is_node) continue;
    switch (symbol(child.number)) {
      case SYMBOL_attribute:
        Children(tree_, child.number, &parts);
        attribute(parts, &list);
        break;
      case SYMBOL_module_block: {
        const uint32_t begin = first(child);
        if (module != SYNTAX_NONE)
          relate(add("duplicate-module", begin, begin,
                     "a second MODULE block of this object",
                     "it takes the place of the one before"),
                 module, "this one is lost");
        module = begin;
        break;
      }
      case SYMBOL_common_member:
      case SYMBOL_attributes: {
        std::vector<Child> inner;
        Children(tree_, child.number, &inner);
        std::map<std::string, uint32_t> own;
        const bool help = is_token(inner[0], TOKEN_HELP);
        for (const Child& part : inner)
          if (part.is_node && symbol(part.number) == SYMBOL_attribute) {
            Children(tree_, part.number, &parts);
            attribute(parts, help ? &list : &list);
          }
        break;
      }
      default: break;
    }
  }
}

// The first use of an attribute decides whether it is an integer or a text.
void Linter::attribute_types() {
  for (const auto& [name, values] : attribute_values_) {
    const AttributeValue& decides = values.front();
    const auto others =
        std::ranges::count_if(values, [&](const AttributeValue& value) {
          return value.integer != decides.integer;
        });
    const auto is = [&](bool integer) {
      return std::string(integer ? "an integer" : "a text");
    };
    const char* becomes = decides.integer ? "the value becomes 0"
                                          : "the value becomes the empty text";
    // When it is the first one that stands alone, it is the one to be changed.
    if (static_cast<size_t>(others) > 1 &&
        static_cast<size_t>(others) + 1 == values.size()) {
      relate(add("attribute-type", decides.first, decides.last,
                 "'" + name + "' is " + is(decides.integer) + " here, and " +
                     is(!decides.integer) + " in the " +
                     std::to_string(others) + " other places",
                 std::string("there ") + becomes),
             values[1].name, "the next one");
      continue;
    }
    for (const AttributeValue& value : values)
      if (value.integer != decides.integer)
        relate(add("attribute-type", value.first, value.last,
                   "'" + name + "' is " + is(decides.integer) +
                       " where it was used first",
                   becomes),
               decides.name, "the first use");
  }
}

// An attribute that is used once, and one of nearly the same name often.
void Linter::attributes() {
  attribute_types();
  for (const auto& [name, use] : attribute_uses_) {
    if (use.second != 1 || name.size() < 4) continue;
    for (const auto& [other, uses] : attribute_uses_) {
      if (uses.second < 2 || other == name || ToolDistance(name, other) > 1)
        continue;
      relate(add("unusual-attribute", use.first, use.first,
                 "the attribute '" + name + "' is used only here",
                 "did you mean '" + other + "'?"),
             uses.first, "'" + other + "' is used here, for one");
      break;
    }
  }
}

LintResult Linter::run() {
  collect_uses();
  collect_subs();
  std::vector<Child> children;
  for (uint32_t i = 0; i < tree_.nodes.size(); i++) {
    const SyntaxNode& at = node(i);
    if (!own(at.first_token)) continue;
    switch (at.symbol) {
      case SYMBOL_statement: statement(i); break;
      case SYMBOL_body:
        Children(tree_, i, &children);
        statements(children);
        break;
      case SYMBOL_expression: expression(i); break;
      case SYMBOL_assignment: assignment(i); break;
      case SYMBOL_message:
      case SYMBOL_mask_message: message(i); break;
      case SYMBOL_case_label: range_of(i, "CASE"); break;
      case SYMBOL_allocate_item:
        Children(tree_, i, &children);
        for (const Child& child : children)
          if (child.is_node && symbol(child.number) == SYMBOL_dimension)
            range_of(child.number, "dimension");
        break;
      case SYMBOL_variable: subscripts(i); break;
      case SYMBOL_variable_reference: reference(i); break;
      case SYMBOL_variable_declaration: declaration(i); break;
      case SYMBOL_fn_call:
      case SYMBOL_cfn_call:
        Children(tree_, i, &children);
        arguments({children.begin() + 1, children.end()}, at.first_token);
        break;
      case SYMBOL_event:
        if (kind(at.first_token) == TOKEN_KEY)
          for (uint32_t token = at.first_token + 1; token < at.token_end;
               token++)
            if (kind(token) == TOKEN_IDENT) key(token);
        break;
      case SYMBOL_window:
      case SYMBOL_application:
      case SYMBOL_simple_object:
      case SYMBOL_menu:
      case SYMBOL_item:
      case SYMBOL_table:
      case SYMBOL_text_object:
      case SYMBOL_group:
      case SYMBOL_label:
      case SYMBOL_event_handler:
        handler(i);
        object(i);
        break;
      default: break;
    }
  }
  // Statements of the main program are children of the root.
  Children(tree_, 0, &children);
  statements(children);
  bare_calls();
  symbols();
  attributes();
  return std::move(result_);
}

}  // namespace

LintResult Lint(const SyntaxTree& tree, const SyntaxNames& names,
                const LintQuestions& questions) {
  return Linter(tree, names, questions).run();
}
