// The tokens are read once from front to back, with the nodes around the one at
// hand on a stack. What a name is follows from the innermost node and from its
// place there. Variables are looked up where they are met, as the compiler does
// it; calls when all SUBs are known.
//
// Each name has one record, which says what it means in the SUB and in the main
// program that were entered last, so that leaving a routine takes nothing.
//
// A declaration whose bound cannot be evaluated declares nothing. Whether that
// is so, is asked of the compiler: it gets the declaration alone.
#include "tools/tree/syntax_names.h"

#include <algorithm>
#include <unordered_map>

#include "elut/compile/parse.h"

namespace {

// A text that stands for a file; nobody listens to the reports.
class OneText : public McSrcProvider, public McReportSink {
 public:
  explicit OneText(std::string_view text) : text_(text) {}
  UtPtr<McSrcBytes> open(const char*) override {
    return UtMake<McSrcMemory>(text_);
  }
  void report(const McReport&) override {}

 private:
  std::string_view text_;
};

class Resolver {
 public:
  explicit Resolver(const SyntaxTree& tree) : tree_(tree) {}

  SyntaxNames run() {
    if (tree_.form != SyntaxForm::MASK) enter_program(0);
    uint32_t node = 0;
    const auto count = static_cast<uint32_t>(tree_.tokens.size()) - 1;
    for (uint32_t token = 0; token < count; token++) {
      while (!open_.empty() && tree_.nodes[open_.back()].token_end <= token)
        leave(open_.back());
      while (node < tree_.nodes.size() &&
             tree_.nodes[node].first_token <= token) {
        // One without tokens stands for a missing token.
        if (tree_.nodes[node].token_end > token) open_.push_back(node);
        node++;
      }
      look_at(token);
    }
    while (!open_.empty()) leave(open_.back());
    resolve_calls();
    return std::move(names_);
  }

 private:
  // What a name means in the routines that were entered last.
  struct Meaning {
    uint32_t scope = SYNTAX_NONE;
    uint32_t symbol = SYNTAX_NONE;
  };
  struct Name {
    Meaning in_sub;
    Meaning in_main;
  };
  struct Call {
    uint32_t use;
    uint32_t program;
    std::string_view name;
    bool is_cfunction;
  };

  int kind(uint32_t token) const { return tree_.tokens[token].kind; }
  const SyntaxNode& innermost() const { return tree_.nodes[open_.back()]; }

  // Routines ------------------------------------------------------------------

  void enter_program(uint32_t node) {
    program_ = programs_++;
    program_node_ = node;
    main_ = sub_ = SYNTAX_NONE;
    block_ = SYNTAX_NONE;
  }

  uint32_t scope() {
    if (sub_ != SYNTAX_NONE) return sub_;
    if (main_ == SYNTAX_NONE) main_ = add_scope(program_node_, SYNTAX_NONE);
    return main_;
  }

  uint32_t add_scope(uint32_t node, uint32_t name) {
    names_.scopes.push_back({node, program_, name});
    tables_.emplace_back();
    return static_cast<uint32_t>(names_.scopes.size()) - 1;
  }

  void leave(uint32_t node) {
    open_.pop_back();
    switch (tree_.nodes[node].symbol) {
      case SYMBOL_sub_definition:
        sub_ = SYNTAX_NONE;
        block_ = SYNTAX_NONE;
        return;
      case SYMBOL_event_handler:
      case SYMBOL_module_block: program_ = SYNTAX_NONE; return;
      case SYMBOL_declarator: return declare(tree_.nodes[node]);
      case SYMBOL_parameter: return declare(tree_.nodes[node]);
      default: return;
    }
  }

  // Symbols -------------------------------------------------------------------

  uint32_t add_symbol(SyntaxMeaning meaning, uint32_t definition) {
    SyntaxSymbol symbol = {};
    symbol.meaning = meaning;
    symbol.scope = symbol.block = symbol.shadowed = SYNTAX_NONE;
    symbol.program = program_;
    symbol.definition = definition;
    names_.symbols.push_back(symbol);
    return static_cast<uint32_t>(names_.symbols.size()) - 1;
  }

  void add_use(uint32_t token, uint32_t symbol, SyntaxRole role) {
    names_.uses.push_back({token, symbol, role});
  }

  uint32_t define(SyntaxMeaning meaning, uint32_t token) {
    const uint32_t symbol = add_symbol(meaning, token);
    add_use(token, symbol, SyntaxRole::DEFINE);
    return symbol;
  }

  Meaning& meaning_of(uint32_t token) {
    Name& name = meanings_[tree_.text_of(token)];
    return sub_ != SYNTAX_NONE ? name.in_sub : name.in_main;
  }

  // Declares the variable whose name is the first token, or the token itself.
  void declare(const SyntaxNode& node) { declare(node.first_token, &node); }
  void declare(uint32_t token, const SyntaxNode* node) {
    if (program_ == SYNTAX_NONE) return;
    const bool parameter = in_parameters_;
    const uint32_t in = scope();
    const uint32_t number =
        add_symbol(parameter               ? SyntaxMeaning::PARAMETER
                   : block_ != SYNTAX_NONE ? SyntaxMeaning::COMMON
                                           : SyntaxMeaning::LOCAL,
                   token);
    SyntaxSymbol& symbol = names_.symbols[number];
    symbol.type = type_;
    symbol.scope = in;
    symbol.block = parameter ? SYNTAX_NONE : block_;
    symbol.selector = parameter ? MC_SCOPE_PARAMETER
                      : block_ != SYNTAX_NONE
                          ? static_cast<McScope>(MC_SCOPE_COMMON +
                                                 names_.symbols[block_].index)
                          : MC_SCOPE_LOCAL;
    if (node != nullptr) measure(*node, &symbol);
    fill_use(token, number);
    if (symbol.refused) return;
    Tables& tables = tables_[in];
    uint32_t& next = parameter               ? tables.parameters
                     : block_ != SYNTAX_NONE ? tables.members
                                             : tables.locals;
    symbol.index = static_cast<uint16_t>(next++);
    Meaning& meaning = meaning_of(token);
    if (meaning.scope != in) {
      meaning = {in, number};
      return;
    }
    SyntaxSymbol& other = names_.symbols[meaning.symbol];
    symbol.shadowed = meaning.symbol;
    other.shadowed = number;
    if (other.meaning == SyntaxMeaning::UNDECLARED ||
        other.selector > symbol.selector)
      meaning.symbol = number;
  }

  // A declarator's use was entered where its name stands.
  void fill_use(uint32_t token, uint32_t symbol) {
    const auto use = std::lower_bound(
        names_.uses.begin(), names_.uses.end(), token,
        [](const SyntaxUse& u, uint32_t t) { return u.token < t; });
    if (use != names_.uses.end() && use->token == token)
      use->symbol = symbol;
    else
      add_use(token, symbol, SyntaxRole::DEFINE);
  }

  // Dimensions and storage of a variable that is declared with bounds.
  void measure(const SyntaxNode& node, SyntaxSymbol* symbol) {
    uint32_t stars = 0;
    uint32_t commas = 0;
    int depth = 0;
    bool plain = true;  // nothing that has to be evaluated
    bool range = false;
    bool in_range = false;
    bool list = false;
    for (uint32_t token = node.first_token + 1; token < node.token_end;
         token++) {
      switch (kind(token)) {
        case TOKEN_STAR:
          stars++;
          if (kind(token - 1) != TOKEN_LEFT_PAREN &&
              kind(token - 1) != TOKEN_COMMA)
            plain = false;
          break;
        case TOKEN_LEFT_PAREN:
          if (depth++ > 0 || in_range)
            plain = false;
          else
            list = true;
          break;
        case TOKEN_RIGHT_PAREN: depth--; break;
        case TOKEN_COMMA: commas += depth == 1 && !in_range; break;
        case TOKEN_LEFT_BRACKET: range = in_range = true; break;
        case TOKEN_RIGHT_BRACKET: in_range = false; break;
        case TOKEN_COLON:
        case TOKEN_ICONST: break;
        case TOKEN_MINUS:
          if (kind(token + 1) != TOKEN_ICONST ||
              (kind(token - 1) != TOKEN_LEFT_PAREN &&
               kind(token - 1) != TOKEN_COMMA &&
               kind(token - 1) != TOKEN_COLON &&
               kind(token - 1) != TOKEN_LEFT_BRACKET))
            plain = false;
          break;
        default: plain = false;
      }
    }
    if (range && symbol->type != McValueType::INTEGER) plain = false;
    const uint32_t dimensions = list ? commas + 1 : 0;
    symbol->dimensions =
        static_cast<uint8_t>(std::min<uint32_t>(dimensions, 255));
    if (in_parameters_) {
      symbol->storage = McStorage::REF;
      symbol->refused = dimensions > 255;
    } else if (plain && stars == 0) {
      symbol->storage = McStorage::VALUE;
    } else if (plain && dimensions <= 255) {
      symbol->storage = McStorage::ALLOC;
    } else {
      ask(node, symbol);
    }
  }

  void ask(const SyntaxNode& node, SyntaxSymbol* symbol) {
    static constexpr const char* TYPES[] = {"INTEGER", "REAL", "STRING",
                                            "POINT"};
    std::string text = "PROGRAM x;\n";
    // What a bound names makes a difference when it is declared only.
    size_t others = 0;
    for (uint32_t token = node.first_token + 1; token < node.token_end;
         token++) {
      const SyntaxUse* use =
          kind(token) == TOKEN_IDENT ? names_.at(token) : nullptr;
      if (use == nullptr ||
          names_.symbols[use->symbol].meaning == SyntaxMeaning::UNDECLARED)
        continue;
      text += "INTEGER ";
      text += tree_.text_of(token);
      text += ";\n";
      others++;
    }
    text += TYPES[type_index_];
    for (uint32_t token = node.first_token; token < node.token_end; token++)
      (text += '\n') += tree_.text_of(token);
    text += "\n;;\n";
    OneText file(text);
    McRun run;
    McFront front(&run, &file, &file);
    McProgram program;
    if (McSrcOpen(&front.scanner.source, "x") != RC_OK) return;
    (void)McParseProgram(&front, &program);
    symbol->refused = program.variables.entries.size() == others;
    if (symbol->refused) return;
    const McVar& variable = program.variables.entries.back();
    symbol->storage = variable.storage;
    symbol->dimensions = variable.dim_count;
  }

  // Tokens --------------------------------------------------------------------

  void set_type(McValueType type, int index) {
    type_ = type;
    type_index_ = index;
  }

  void look_at(uint32_t token) {
    const uint32_t in = open_.empty() ? 0 : open_.back();
    const int symbol = tree_.nodes[in].symbol;
    switch (kind(token)) {
      case TOKEN_INTEGER: return set_type(McValueType::INTEGER, 0);
      case TOKEN_REAL: return set_type(McValueType::REAL, 1);
      case TOKEN_STRING: return set_type(McValueType::STRING, 2);
      case TOKEN_POINT: return set_type(McValueType::POINT, 3);
      case TOKEN_EXECUTE:
        if (symbol == SYMBOL_event_handler) enter_program(in);
        return;
      case TOKEN_MODULE:
        if (symbol == SYMBOL_module_block) enter_program(in);
        return;
      case TOKEN_END:
        if (kind(token + 1) == TOKEN_COMMON) block_ = SYNTAX_NONE;
        return;
      case TOKEN_LEFT_PAREN:
        if (symbol == SYMBOL_parameters) in_parameters_ = true;
        return;
      case TOKEN_RIGHT_PAREN:
        if (symbol == SYMBOL_parameters) in_parameters_ = false;
        return;
      case TOKEN_SIGILNAME: return external(token);
      case TOKEN_FNNAME: return call(token, 2, false);
      case TOKEN_CFNNAME: return call(token, 3, true);
      case TOKEN_IDENT: return name(token, in);
      default: return;
    }
  }

  void name(uint32_t token, uint32_t in) {
    const SyntaxNode& node = tree_.nodes[in];
    const int before = token == 0 ? 0 : kind(token - 1);
    switch (node.symbol) {
      case SYMBOL_program:
      case SYMBOL_module:
        if (before == TOKEN_PROGRAM || before == TOKEN_MODULE)
          define(SyntaxMeaning::PROGRAM, token);
        else if (before == TOKEN_SUB)
          enter_sub(token, in);
        return;
      case SYMBOL_import:
        if (before == TOKEN_IMPORT || before == TOKEN_CSUB ||
            before == TOKEN_COMMA)
          import(token);
        return;
      case SYMBOL_sub_definition: return enter_sub(token, in);
      case SYMBOL_parameters: {
        reserve_use(token);
        return declare(token, nullptr);
      }
      case SYMBOL_parameter: return reserve_use(token);
      case SYMBOL_declaration: return enter_block(token);
      case SYMBOL_variable_declaration:
        reserve_use(token);
        return declare(token, nullptr);
      case SYMBOL_declarator:
        if (token == node.first_token) return reserve_use(token);
        return use(token, SyntaxRole::READ);
      case SYMBOL_statement:
        if (before == TOKEN_CALL) return call(token, 0, false);
        return use(token, kind(node.first_token) == TOKEN_FREE
                              ? SyntaxRole::ALLOCATE
                              : SyntaxRole::READ);
      case SYMBOL_allocate_item:
        return use(token, token == node.first_token ? SyntaxRole::ALLOCATE
                                                    : SyntaxRole::READ);
      case SYMBOL_argument: return use(token, SyntaxRole::WHOLE);
      case SYMBOL_variable_reference:
        if (before == TOKEN_DOT && token != node.first_token) return;
        return use(token, role_of(token, in));
      case SYMBOL_assignment:
      case SYMBOL_variable: return use(token, role_of(token, in));
      case SYMBOL_expression:
      case SYMBOL_external_reference:
      case SYMBOL_builtin_call:
      case SYMBOL_fn_call:
      case SYMBOL_cfn_call:
      case SYMBOL_case_clause:
      case SYMBOL_case_label:
      case SYMBOL_dimension: return use(token, SyntaxRole::READ);
      default: return;
    }
  }

  // A variable at the start of an assignment is its target.
  SyntaxRole role_of(uint32_t token, uint32_t node) const {
    while (tree_.nodes[node].first_token == token) {
      const SyntaxNode& n = tree_.nodes[node];
      if (n.symbol == SYMBOL_assignment) {
        // "=" alone is one character long.
        uint32_t op = token + 1;
        if (node + 1 < n.end && tree_.nodes[node + 1].first_token == token)
          op = tree_.nodes[node + 1].token_end;
        return tree_.tokens[op].length == 1 ? SyntaxRole::WRITE
                                            : SyntaxRole::UPDATE;
      }
      if (n.symbol != SYMBOL_variable && n.symbol != SYMBOL_variable_reference)
        break;
      node = n.parent;
    }
    return SyntaxRole::READ;
  }

  void reserve_use(uint32_t token) {
    if (program_ != SYNTAX_NONE)
      add_use(token, SYNTAX_NONE, SyntaxRole::DEFINE);
  }

  void use(uint32_t token, SyntaxRole role) {
    if (program_ == SYNTAX_NONE) return;
    const uint32_t in = scope();
    Meaning& meaning = meaning_of(token);
    if (meaning.scope != in) {
      meaning = {in, add_symbol(SyntaxMeaning::UNDECLARED, SYNTAX_NONE)};
      names_.symbols.back().scope = in;
    }
    add_use(token, meaning.symbol, role);
  }

  void enter_sub(uint32_t token, uint32_t node) {
    if (program_ == SYNTAX_NONE) return;
    const uint32_t symbol = define(SyntaxMeaning::SUB, token);
    sub_ = add_scope(node, symbol);
    block_ = SYNTAX_NONE;
    routines_.emplace(key(program_, tree_.text_of(token)), symbol);
  }

  void enter_block(uint32_t token) {
    if (program_ == SYNTAX_NONE) return;
    const uint32_t in = scope();
    block_ = define(SyntaxMeaning::COMMON_BLOCK, token);
    names_.symbols[block_].scope = in;
    names_.symbols[block_].index = static_cast<uint16_t>(tables_[in].blocks++);
    tables_[in].members = 0;
  }

  void import(uint32_t token) {
    if (program_ == SYNTAX_NONE) return;
    const uint32_t symbol = define(SyntaxMeaning::IMPORT, token);
    imports_.emplace(key(program_, tree_.text_of(token)), symbol);
  }

  void external(uint32_t token) {
    const std::string_view text = tree_.text_of(token);
    const auto [found, added] = externals_.emplace(text, 0);
    if (added) found->second = add_symbol(SyntaxMeaning::EXTERNAL, SYNTAX_NONE);
    add_use(token, found->second, role_of(token, open_.back()));
  }

  // Calls ---------------------------------------------------------------------

  // Keys of routines: the name, and the program.
  static std::string key(uint32_t program, std::string_view name) {
    std::string key(name);
    key += ' ';
    return key += std::to_string(program);
  }

  void call(uint32_t token, size_t prefix, bool is_cfunction) {
    if (program_ == SYNTAX_NONE) return;
    calls_.push_back({static_cast<uint32_t>(names_.uses.size()), program_,
                      tree_.text_of(token).substr(prefix), is_cfunction});
    add_use(token, SYNTAX_NONE, SyntaxRole::CALL);
  }

  void resolve_calls() {
    std::unordered_map<std::string, uint32_t> others[2];
    for (const Call& call : calls_) {
      const std::string name = key(call.program, call.name);
      const auto sub = routines_.find(name);
      const auto import = imports_.find(name);
      uint32_t* symbol = &names_.uses[call.use].symbol;
      if (sub != routines_.end() && !call.is_cfunction) {
        *symbol = sub->second;
      } else if (import != imports_.end()) {
        *symbol = import->second;
      } else {
        const auto [other, added] = others[call.is_cfunction].emplace(name, 0);
        if (added) {
          program_ = call.program;
          other->second =
              add_symbol(call.is_cfunction ? SyntaxMeaning::CFUNCTION
                                           : SyntaxMeaning::ROUTINE,
                         SYNTAX_NONE);
        }
        *symbol = other->second;
      }
    }
  }

  // Entries of the tables of a routine.
  struct Tables {
    uint32_t locals = 0;
    uint32_t parameters = 0;
    uint32_t blocks = 0;
    uint32_t members = 0;  // of the last block
  };

  const SyntaxTree& tree_;
  SyntaxNames names_;
  std::vector<uint32_t> open_;  // nodes round the token, the innermost last
  std::vector<Tables> tables_;  // by scope
  std::unordered_map<std::string_view, Name> meanings_;
  std::unordered_map<std::string_view, uint32_t> externals_;
  std::unordered_map<std::string, uint32_t> routines_;  // the first of a name
  std::unordered_map<std::string, uint32_t> imports_;
  std::vector<Call> calls_;
  uint32_t programs_ = 0;
  uint32_t program_ = SYNTAX_NONE;  // SYNTAX_NONE: none, names mean nothing
  uint32_t program_node_ = 0;
  uint32_t main_ = SYNTAX_NONE;   // scope of the main program, if it has one
  uint32_t sub_ = SYNTAX_NONE;    // scope of the SUB
  uint32_t block_ = SYNTAX_NONE;  // symbol of the COMMON block
  bool in_parameters_ = false;
  McValueType type_ = McValueType::INTEGER;
  int type_index_ = 0;
};

}  // namespace

const SyntaxUse* SyntaxNames::at(uint32_t token) const {
  const auto use = std::lower_bound(
      uses.begin(), uses.end(), token,
      [](const SyntaxUse& u, uint32_t t) { return u.token < t; });
  return use != uses.end() && use->token == token ? &*use : nullptr;
}

SyntaxNames SyntaxResolve(const SyntaxTree& tree) {
  return Resolver(tree).run();
}
