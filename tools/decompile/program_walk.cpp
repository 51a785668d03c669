// Every step writes what comes next and leaves the rest of its node on the
// stack, the part that comes first on top. The order in which a source adds
// entries to the tables of the program is the order in which the parser
// completes its parts; the steps meet them in that order.
#include "tools/decompile/program_walk.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "Cutil/ut_chars.h"
#include "elut/compile/builtins.h"
#include "elut/grammar.h"
#include "tools/compiled/meaning.h"
#include "tools/decompile/spelling.h"

namespace {

// Of operators with two operands, from the loosest binding to the tightest. An
// assignment takes all that stands behind it, a sign only an operand.
enum Binding : uint8_t {
  ANY,
  BIND_OR,
  BIND_AND,
  BIND_EQUAL,
  BIND_ORDER,
  BIND_SUM,
  BIND_PRODUCT,
  BIND_POWER,
  BIND_SIGN,
};

struct Operator {
  const char* text = nullptr;  // nullptr: no operator between two operands
  uint8_t binding = ANY;
  bool from_right = false;  // a ** b ** c is a ** (b ** c)
};

constexpr uint8_t BindingOf(uint8_t op) {
  switch (op) {
    case MC_OR: return BIND_OR;
    case MC_AND: return BIND_AND;
    case MC_EQUAL:
    case MC_NOT_EQUAL: return BIND_EQUAL;
    case MC_GREATER:
    case MC_GREATER_EQUAL:
    case MC_LESS:
    case MC_LESS_EQUAL: return BIND_ORDER;
    case MC_ADD:
    case MC_SUBTRACT: return BIND_SUM;
    case MC_MULTIPLY:
    case MC_DIVIDE:
    case MC_MOD:
    case MC_DIV: return BIND_PRODUCT;
    case MC_POWER: return BIND_POWER;
    default: return ANY;
  }
}

struct OperatorTable {
  Operator rows[256] = {};

  constexpr OperatorTable() {
#define MC_OPERATOR(number, name, token, spelled) \
  if (BindingOf(number) != ANY)                   \
    rows[number] = {spelled, BindingOf(number), (number) == MC_POWER};
#include "elut/syntax/operators.def"
#undef MC_OPERATOR
  }
};
constexpr OperatorTable OPERATORS;

const char* AssignmentText(uint8_t op) {
  switch (op) {
    case 0: return "=";
    case MC_ADD: return "+=";
    case MC_SUBTRACT: return "-=";
    case MC_DIVIDE: return "/=";
    case MC_MULTIPLY: return "*=";
    default: return nullptr;
  }
}

// The comparison in front of a label of CASE; nullptr when there is none.
const char* RelationText(uint8_t op) {
  switch (op) {
    case MC_GREATER: return ">";
    case MC_GREATER_EQUAL: return ">=";
    case MC_LESS: return "<";
    case MC_LESS_EQUAL: return "<=";
    case MC_NOT_EQUAL: return "<>";
    default: return nullptr;
  }
}

// How often names may be counted above their uses: the text grows with that,
// whatever the size of the file.
constexpr uint64_t NAMES_PUT_BACK = 1000000;

// The name under which nothing is declared, and the coordinate that no variable
// has.
constexpr char UNUSED[] = "unused";

}  // namespace

bool IsIdentifier(McTokenStrings* words, std::string_view text) {
  if (text.empty() || !UtIsLetter(text[0])) return false;
  for (const char c : text)
    if (!UtIsNameByte(c)) return false;
  return McNameSearch(words, text.data(), text.size())->token == TOKEN_IDENT;
}

bool IsExternalName(std::string_view text) {
  if (text.size() < 2) return false;
  if (text[0] == '@') {
    text.remove_prefix(text[1] == ':' ? 2 : 1);
    for (const char c : text)
      if (!UtIsNameByte(c) && c != '*' && c != '.') return false;
    return !text.empty();
  }
  if (text[0] != '%' && text[0] != '&' && text[0] != '$') return false;
  if (!UtIsLetter(text[1])) return false;
  for (const char c : text.substr(1))
    if (!UtIsNameByte(c)) return false;
  return true;
}

void ProgramWalk::refuse(const std::string& what) const {
  throw Refusal{where_ + ": " + what};
}

unsigned ProgramWalk::children(McNodeRef node, McNodeRef (&child)[3],
                               unsigned least, unsigned most) const {
  unsigned count = 0;
  for (McNodeRef c = first(node); c != node; c = next(c)) {
    if (count == most) count = most + 1;
    if (count > most) break;
    child[count++] = c;
  }
  const bool enough = count >= least || in_->with_errors;
  if (!enough || count > most)
    refuse(std::string("no statement or expression has a node ") +
           MC_KIND_NAMES[static_cast<unsigned>(at(node).kind())] +
           " with so many parts");
  return count;
}

std::string ProgramWalk::identifier(const char* text, const char* what) {
  const std::string_view name = text == nullptr ? "" : text;
  if (!IsIdentifier(&in_->words, name))
    refuse("'" + std::string(name) + "' cannot be the name of a " + what);
  return std::string(name);
}

void ProgramWalk::place() {
  if (writes())
    layout_->place();
  else
    in_->lines.places.push_back(static_cast<uint32_t>(in_->lines.lines.size()));
}

// Program -------------------------------------------------------------------

void ProgramWalk::run(const McProgram& program, ProgramFrame frame) {
  program_ = &program;
  nodes_ = &program.store->nodes;
  where_ = "program";
  todo_.clear();
  spot_ = 0;
  next_extra_ = 0;
  for (unsigned table = 0; table < ENTRY_TABLES; table++)
    next_[table] = 0, next_block_[table] = 0;
  declared_ = McValueType::VOID;
  reals_.clear();
  reals_known_ = false;
  // What is read only is never come back to.
  if (in_->for_reading) in_->programs.clear(), in_->next_program = 0;
  if (!writes() || in_->for_reading) in_->programs.emplace_back();
  entries_ =
      &in_->programs[writes() ? in_->next_program++ : in_->programs.size() - 1];
  const bool is_module = program.body.is_none();
  if (frame == ProgramFrame::ALONE) {
    put(is_module ? "MODULE " : "PROGRAM ");
    put(identifier(program.name, is_module ? "module" : "program"));
    put(";");
    begin_part(TextPart::IMPORTS, "");
    imports();
    end_part();
    subs();
    if (is_module && program.subs.empty() && writes()) layout_->include_none();
    if (!is_module) main_body("main program");
    if (is_module &&
        !(program.variables.entries.empty() && program.commons.empty() &&
          program.variables.required == 0))
      refuse("a module has no variables of its own");
  } else {
    if (program.name != nullptr || !program.imports.empty())
      refuse("a program in a mask has no name and no imports");
    if (frame == ProgramFrame::HANDLER) {
      if (is_module) refuse("a handler without statements");
      subs();
      main_body("EXECUTE block");
    } else {
      if (!is_module) refuse("a MODULE block with statements");
      enter(program.variables, nullptr, program.commons);
      declarations(program.variables, program.commons, true);
      subs();
    }
  }
  where_ = "program";
  if (in_->for_reading && program.constants.count() > 0) note_constants();
  if (writes()) return;
  place_entries();
}

// The constants that are in use, as literals.
void ProgramWalk::note_constants() {
  for (uint32_t i = 0; i < program_->constants.count(); i++)
    if (entries_->uses(ENTRY_CONSTANT, i) > 0)
      in_->constants.push_back(entry(ENTRY_CONSTANT, i));
}

void ProgramWalk::place_entries() {
  std::vector<uint32_t> counts;
  uint32_t failed;
  for (const StringPoolSlot& slot : program_->strings.slots)
    counts.push_back(slot.references);
  if (!entries_->place(ENTRY_NAME, counts, &failed))
    refuse("external name " + std::to_string(failed) +
           " is not counted or used as in any source");
  if (entries_->names_put_back() > NAMES_PUT_BACK)
    refuse("external names are counted too often for their uses");
  counts.assign(program_->constants.count(), Entries::ANY_TIMES);
  if (!entries_->place(ENTRY_CONSTANT, counts, &failed))
    refuse("constant " + std::to_string(failed) +
           " is where no source adds one");
  counts.assign(program_->calls.size(), Entries::ANY_TIMES);
  // Only a statement that stays calls a SUB.
  for (size_t i = 0; i < counts.size(); i++)
    if (program_->calls[i].kind == McCallKind::SUB)
      counts[i] = in_->with_errors
                      ? Entries::AS_STATEMENT
                      : entries_->uses(ENTRY_CALL, static_cast<uint32_t>(i));
  if (!entries_->place(ENTRY_CALL, counts, &failed))
    refuse("call reference " + std::to_string(failed) +
           " is where no source adds one");
}

void ProgramWalk::imports() {
  const auto& imports = program_->imports;
  const auto same = [](const char* a, const char* b) {
    return a == nullptr || b == nullptr ? a == b : strcmp(a, b) == 0;
  };
  if (!imports.empty()) paragraph();
  for (size_t i = 0; i < imports.size();) {
    size_t end = i + 1;
    while (!in_->for_reading && end < imports.size() &&
           imports[end].kind == imports[i].kind &&
           same(imports[end].source, imports[i].source) &&
           same(imports[end].module, imports[i].module))
      end++;
    import_names(i, end);
    i = end;
  }
}

void ProgramWalk::import_names(size_t first_name, size_t end) {
  const McImport& import = program_->imports[first_name];
  where_ = "import " + std::to_string(first_name);
  line((import.kind & ~MC_IMPORT_FILE) == MC_IMPORT_CSUB ? "IMPORT CSUB"
                                                         : "IMPORT");
  for (size_t i = first_name; i < end; i++) {
    blank();
    put(identifier(program_->imports[i].name, "routine") +
        (i + 1 < end ? "," : ""));
  }
  if ((import.kind & MC_IMPORT_FILE) != 0) {
    scratch_.clear();
    if (import.source == nullptr || *import.source == '\0' ||
        !SpellText(&scratch_, import.source))
      refuse("no source names that file");
    blank();
    put("FROM FILE ");
    if (writes()) layout_->put_literal(scratch_);
  } else if (import.source != nullptr) {
    blank();
    put("FROM " + identifier(import.source, "library"));
    if (import.module != nullptr) {
      blank();
      put("MODULE " + identifier(import.module, "module"));
    }
  } else if (import.module != nullptr) {
    refuse("a MODULE without FROM");
  }
  put(";");
}

void ProgramWalk::subs() {
  for (size_t i = 0; i < program_->subs.size(); i++) {
    const McSub& each = program_->subs[i];
    where_ = "SUB " + std::to_string(i);
    if (each.name != nullptr) where_ += std::string(" ") + each.name;
    place();
    sub(each);
  }
}

void ProgramWalk::sub(const McSub& sub) {
  paragraph();
  const std::string name = identifier(sub.name, "SUB");
  begin_part(TextPart::ROUTINE, "SUB " + name);
  begin_part(TextPart::SIGNATURE, "");
  put("SUB ");
  put(name);
  enter(sub.locals, &sub.parameters, sub.commons);
  parameters(sub.parameters);
  end_part();
  indent();
  declarations(sub.locals, sub.commons, false);
  if (sub.body.is_none()) refuse("no statements");
  body(sub.body);
  outdent();
  line("SUBEND");
  end_part();
}

void ProgramWalk::main_body(const char* name) {
  where_ = name;
  place();
  paragraph();
  begin_part(TextPart::ROUTINE, name);
  enter(program_->variables, nullptr, program_->commons);
  declarations(program_->variables, program_->commons, false);
  if (!program_->variables.entries.empty() || !program_->commons.empty())
    paragraph();
  body(program_->body);
  end_part();
}

void ProgramWalk::parameters(const McVarTable& table) {
  if (table.required != 0) refuse("required arguments are not counted");
  if (table.entries.empty()) return;
  put(" (");
  McValueType type = McValueType::VOID;
  for (size_t i = 0; i < table.entries.size(); i++) {
    const McVar& variable = table.entries[i];
    const bool array = variable.storage == McStorage::REF;
    if (variable.range != nullptr || variable.dims != nullptr ||
        variable.type == McValueType::VOID ||
        (!array && variable.storage != McStorage::VALUE) ||
        array != (variable.dim_count > 0))
      refuse("no parameter is declared like '" +
             std::string(name_of(McPayloadOf(MC_SCOPE_PARAMETER,
                                             static_cast<uint16_t>(i)))
                             .view()) +
             "'");
    if (i > 0) {
      put(variable.type == type ? "," : ";");
      blank();
    }
    if (variable.type != type) {
      put(MC_TYPE_NAMES[static_cast<unsigned>(variable.type)]);
      put(" ");
    }
    type = variable.type;
    put(variable.name);
    if (!array) continue;
    put("(*");
    for (unsigned n = 1; n < variable.dim_count; n++) put(", *");
    put(")");
  }
  put(")");
}

void ProgramWalk::enter(const McVarTable& locals,
                        const McVarTable* parameter_table,
                        const UtVector<McCommon>& commons) {
  names_.clear();
  commons_.clear();
  in_->routine++;
  enter_table(locals);
  parameters_ = names_.size();
  if (parameter_table != nullptr) enter_table(*parameter_table);
  for (const McCommon& common : commons) {
    commons_.push_back(names_.size());
    enter_table(common.variables);
  }
  if (!in_->with_errors) return;
  unknown_ = "unknown";
  while (McNameSearch(&in_->words, unknown_.data(), unknown_.size())->routine ==
         in_->routine)
    unknown_ += '_';
}

void ProgramWalk::enter_table(const McVarTable& table) {
  for (const McVar& variable : table.entries) {
    const std::string_view text = variable.name == nullptr ? "" : variable.name;
    if (!IsIdentifier(&in_->words, text))
      refuse("'" + std::string(text) + "' cannot be the name of a variable");
    McName* name = McNameSearch(&in_->words, text.data(), text.size());
    const bool found = name->routine != in_->routine;
    name->routine = in_->routine;
    names_.push_back({text.data(), static_cast<uint32_t>(text.size()), found});
  }
}

const ProgramWalk::Name& ProgramWalk::name_of(uint32_t payload) const {
  const McNode node = {0, payload};
  size_t begin = 0;
  if (node.scope() == MC_SCOPE_PARAMETER)
    begin = parameters_;
  else if (node.scope() >= MC_SCOPE_COMMON)
    begin = commons_[static_cast<size_t>(node.scope() - MC_SCOPE_COMMON)];
  return names_[begin + node.index()];
}

// Declarations --------------------------------------------------------------

void ProgramWalk::declarations(const McVarTable& table,
                               const UtVector<McCommon>& commons,
                               bool at_least_one) {
  spot(EntrySpot::DECLARATIONS);
  begin_part(TextPart::VARIABLES, "");
  variables(table);
  for (const McCommon& common : commons) {
    line("COMMON ");
    put(identifier(common.name, "COMMON block"));
    indent();
    variables(common.variables);
    // A block has a declaration, and the language takes this one for none.
    if (common.variables.entries.empty()) line("STRING unused[0:0];");
    outdent();
    line("END COMMON");
  }
  const bool none = table.entries.empty() && commons.empty();
  if (writes()) flush_spot(EntrySpot::DECLARATIONS);
  if (none && at_least_one) line("STRING unused[0:0];");
  end_part();
}

void ProgramWalk::variables(const McVarTable& table) {
  if (table.required != 0) refuse("required arguments are not counted");
  for (const McVar& variable : table.entries) {
    const bool has_type = variable.type != McValueType::VOID;
    const bool has_range = variable.range != nullptr;
    const bool is_array = variable.dims != nullptr;
    const bool is_dynamic = variable.storage == McStorage::ALLOC;
    if (!has_type || (!is_dynamic && variable.storage != McStorage::VALUE) ||
        (is_array || is_dynamic) != (variable.dim_count > 0) ||
        (is_array && is_dynamic) ||
        (has_range && variable.type != McValueType::INTEGER &&
         variable.type != McValueType::REAL))
      refuse("no variable is declared like '" + std::string(variable.name) +
             "'");
    if (writes()) declarator(variable);
  }
  close_declaration();
}

void ProgramWalk::close_declaration() {
  if (declared_ != McValueType::VOID) put(";");
  declared_ = McValueType::VOID;
}

// The range comes first: it may have to put back entries in front of the
// variable.
void ProgramWalk::declarator(const McVar& variable) {
  const std::string bounds = range(variable);
  if (variable.type == declared_ && !in_->for_reading) {
    put(",");
    blank();
  } else {
    close_declaration();
    line(MC_TYPE_NAMES[static_cast<unsigned>(variable.type)]);
    put(" ");
    declared_ = variable.type;
  }
  put(variable.name);
  put(bounds);
  if (variable.dim_count == 0) return;
  put("(");
  for (unsigned i = 0; i < variable.dim_count; i++) {
    if (i > 0) {
      put(",");
      blank();
    }
    if (variable.dims == nullptr) {
      put("*");
      continue;
    }
    scratch_.clear();
    if (variable.dims[i].declared_low != 1) {
      SpellSignedInteger(&scratch_, variable.dims[i].declared_low);
      scratch_ += ':';
    }
    SpellSignedInteger(&scratch_, variable.dims[i].declared_high);
    put(scratch_);
  }
  put(")");
}

std::string ProgramWalk::range(const McVar& variable) {
  if (variable.range == nullptr) return {};
  std::string text = "[";
  if (variable.type == McValueType::INTEGER) {
    SpellSignedInteger(&text, variable.range->integer.low);
    text += ':';
    SpellSignedInteger(&text, variable.range->integer.high);
  } else {
    const uint32_t before = next_[ENTRY_CONSTANT];
    const std::string low = real_bound(variable.range->real.low, true);
    // Nothing can be put back between the two.
    const bool alone = next_[ENTRY_CONSTANT] == before;
    text += low + ':' + real_bound(variable.range->real.high, alone);
  }
  return text + ']';
}

// A REAL as a constant that is there or has to be put back anyway, as a whole
// number, or by other means.
std::string ProgramWalk::real_bound(double value, bool may_flush) {
  std::string text;
  if (is_constant(std::fabs(value), may_flush)) {
    if (std::signbit(value)) text += '-';
    SpellReal(&text, std::fabs(value));
    return text;
  }
  const auto whole = static_cast<int32_t>(
      value > -2147483648.0 && value < 2147483648.0 ? value : 0);
  if (whole == value && !(value == 0 && std::signbit(value)))
    SpellSignedInteger(&text, whole);
  else if (!SpellRealByIntegers(&text, value))
    text = strange_nan(value);
  return text;
}

std::string ProgramWalk::strange_nan(double value) const {
  char bits[32];
  std::snprintf(
      bits, sizeof bits, "0x%016llx",
      static_cast<unsigned long long>(std::bit_cast<uint64_t>(value)));
  if (!in_->for_reading)
    refuse(std::string("no expression gives a bound that is the NaN ") + bits);
  return std::string("NaN(") + bits + ')';
}

// True when a literal of that value adds no entry to the table of constants
// that does not belong there; the ones in front of it have been put back then.
bool ProgramWalk::is_constant(double value, bool may_flush) {
  if (in_->for_reading) return value != std::floor(value) && !std::isnan(value);
  if (!reals_known_) {
    for (uint32_t i = 0; i < program_->constants.count(); i++)
      if (program_->constants[i].type == McValueType::REAL)
        reals_.emplace(std::bit_cast<uint64_t>(program_->constants[i].real), i);
    reals_known_ = true;
  }
  const auto found = reals_.find(std::bit_cast<uint64_t>(value));
  if (found == reals_.end() || std::isnan(value)) return false;
  uint32_t& next = next_[ENTRY_CONSTANT];
  const uint32_t index = found->second;
  if (index < next) return true;
  const bool is_next = index == next && value != std::floor(value);
  if (!is_next && !unused(ENTRY_CONSTANT, next, index + 1)) return false;
  if (index > next && !may_flush) return false;
  if (index > next) flush_declared(ENTRY_CONSTANT, index);
  next++;
  return true;
}

// Entries -------------------------------------------------------------------

void ProgramWalk::use(EntryTable table, uint32_t index) {
  if (!writes() || in_->for_reading)
    entries_->use(table, index);
  else if (index == next_[table])
    next_[table]++;
}

// The table's next block is to be put back at this spot.
bool ProgramWalk::is_due(EntryTable table) const {
  const auto& blocks = entries_->blocks(table);
  return next_block_[table] < blocks.size() &&
         blocks[next_block_[table]].spot == spot_;
}

void ProgramWalk::spot(EntrySpot kind) {
  if (in_->for_reading) return;
  if (!writes()) return entries_->spot(kind);
  spot_++;
  if (kind == EntrySpot::REFERENCE || kind == EntrySpot::STATEMENT)
    flush_spot(kind);
}

bool ProgramWalk::is_due() const {
  const auto& extras = entries_->extras();
  return is_due(ENTRY_CONSTANT) || is_due(ENTRY_NAME) || is_due(ENTRY_CALL) ||
         (next_extra_ < extras.size() && extras[next_extra_].spot == spot_);
}

// An operand that is none: a name that is not declared, whose subscripts add
// what is due.
void ProgramWalk::missing() {
  spot(EntrySpot::OPERAND);
  in_->error = true;
  put(unknown_);
  if (writes()) flush_spot(EntrySpot::OPERAND);
}

// In a list of expressions: an element that adds what is due and is none. True
// when there was one.
bool ProgramWalk::item_spot(bool behind_others) {
  if (!in_->with_errors || in_->for_reading) return false;
  spot(EntrySpot::ITEM);
  if (!writes() || !is_due()) return false;
  if (behind_others) {
    put(",");
    blank();
  }
  in_->error = true;
  put(unknown_);
  flush_spot(EntrySpot::ITEM);
  return true;
}

// True when the entries from `from` to `to` have to be put back anyway.
bool ProgramWalk::unused(EntryTable table, uint32_t from, uint32_t to) const {
  const auto& blocks = entries_->blocks(table);
  if (next_block_[table] >= blocks.size()) return false;
  const Entries::Block& block = blocks[next_block_[table]];
  return from >= block.from && to <= block.to;
}

std::string ProgramWalk::entry(EntryTable table, uint32_t index) {
  std::string text;
  switch (table) {
    case ENTRY_CONSTANT: {
      const McConstant& constant = program_->constants[index];
      if (constant.type == McValueType::REAL) {
        SpellReal(&text, constant.real);
      } else if (!SpellConstant(&text, {constant.text, constant.length},
                                false)) {
        refuse("no source spells constant " + std::to_string(index));
      }
      break;
    }
    case ENTRY_NAME: text = StringPoolText(&program_->strings, index); break;
    case ENTRY_CALL: text = call_name(index); break;
  }
  return text;
}

// STRING unused["text":0];  is refused, since 0 is no text, and so is every
// other range that begins with one of the entries. v.unused("text") is refused
// since no variable has that coordinate.
void ProgramWalk::put_unused(EntryTable table, uint32_t index, uint32_t count,
                             EntrySpot kind) {
  const std::string text = entry(table, index);
  for (; count > 0; count--) {
    if (kind == EntrySpot::STATEMENT) {
      put_in_error(table, index);
      continue;
    }
    const bool opens = declared_ == McValueType::VOID;
    declared_ = McValueType::STRING;
    if (!opens) {
      put(",");
      blank();
    }
    switch (kind) {
      case EntrySpot::DECLARATIONS:
        if (opens) line("STRING ");
        put(UNUSED);
        put("[");
        layout_->put_literal(text);
        put(":");
        put("0]");
        continue;
      case EntrySpot::REFERENCE:
        if (opens) put(".");
        if (opens) put(UNUSED);
        break;
      case EntrySpot::OPERAND:
      case EntrySpot::ITEM:
      case EntrySpot::STATEMENT: break;
    }
    if (opens) put("(");
    layout_->put_literal(text);
  }
}

// A statement that is dropped when it turns out to be an error at its end.
void ProgramWalk::put_in_error(EntryTable table, uint32_t index) {
  in_->error = true;
  if (table == ENTRY_CALL && program_->calls[index].kind == McCallKind::SUB) {
    line("SELECT 0; CASE 0; CALL ");
    put(entry(table, index));
    put("; END;");
  } else {
    line("RETURN ");
    layout_->put_literal(entry(table, index));
    put(" );");
  }
}

// Puts back the entries in front of `to` in a declaration of their own.
void ProgramWalk::flush_declared(EntryTable table, uint32_t to) {
  close_declaration();
  for (uint32_t& next = next_[table]; next < to; next++)
    put_unused(table, next, 1, EntrySpot::DECLARATIONS);
  close_declaration();
}

// Puts back what is due at this spot.
void ProgramWalk::flush_spot(EntrySpot kind) {
  if (in_->for_reading) return;
  declared_ = McValueType::VOID;
  for (unsigned i = 0; i < ENTRY_TABLES; i++) {
    const auto table = static_cast<EntryTable>(i);
    for (; is_due(table); next_block_[table]++) {
      const uint32_t to = entries_->blocks(table)[next_block_[table]].to;
      for (uint32_t& next = next_[table]; next < to; next++) {
        put_unused(table, next, entries_->times(table, next), kind);
      }
    }
  }
  const auto& extras = entries_->extras();
  for (; next_extra_ < extras.size() && extras[next_extra_].spot == spot_;
       next_extra_++) {
    const Entries::Extra& extra = extras[next_extra_];
    put_unused(ENTRY_NAME, extra.name, extra.count, kind);
  }
  if (declared_ == McValueType::VOID) return;
  put(kind == EntrySpot::DECLARATIONS ? ";" : ")");
  declared_ = McValueType::VOID;
}

// Statements ----------------------------------------------------------------

void ProgramWalk::body(const McTree& tree) {
  begin_part(TextPart::BODY, "");
  push({.step = Step::STATEMENTS, .node = tree.root()});
  run_steps();
  end_part();
}

void ProgramWalk::run_steps() {
  while (!todo_.empty()) {
    const Todo todo = pop();
    switch (todo.step) {
      case Step::STATEMENTS: statements(todo.node); break;
      case Step::STATEMENT: statement(todo.node); break;
      case Step::NEXT_STATEMENT: next_statement(todo); break;
      case Step::EXPRESSION: expression(todo); break;
      case Step::LIST: list(todo, false); break;
      case Step::ARGUMENTS: list(todo, true); break;
      case Step::RIGHT: operation(todo); break;
      case Step::VALUE: {
        const char* text = AssignmentText(at(todo.node).op());
        if (text == nullptr) refuse("an assignment of no known kind");
        put(" ");
        put(text);
        blank();
        push({.step = Step::EXPRESSION, .node = todo.end});
        break;
      }
      case Step::MEMBERS: members(todo); break;
      case Step::MISSING: missing(); break;
      case Step::AFTER: spot(EntrySpot::STATEMENT); break;
      case Step::CALLED: use(ENTRY_CALL, at(todo.node).scope()); break;
      case Step::LABELS: labels(todo); break;
      case Step::CASES: cases(todo); break;
      case Step::ELSE:
        line("CASE ELSE");
        indent();
        push({.step = Step::DEDENT});
        push({.step = Step::STATEMENTS, .node = todo.node});
        break;
      case Step::ALLOCATED: allocated(todo); break;
      case Step::DIMS: dims(todo); break;
      case Step::TEXT: put(texts_[todo.end]); break;
      case Step::LINE: line(texts_[todo.end]); break;
      case Step::INDENT: indent(); break;
      case Step::DEDENT: outdent(); break;
    }
  }
}

void ProgramWalk::statements(McNodeRef node) {
  if (at(node).kind() != McNodeKind::BLOCK) {
    if (in_->with_errors) push({.step = Step::AFTER});
    return push({.step = Step::STATEMENT, .node = node});
  }
  const McNodeRef child = first(node);
  // A list that begins with an empty statement is a BLOCK whatever follows.
  if (child == node || next(child) == node) line(";");
  push({.step = Step::NEXT_STATEMENT, .node = child, .end = node});
}

void ProgramWalk::next_statement(const Todo& todo) {
  if (in_->with_errors) spot(EntrySpot::STATEMENT);
  if (todo.node == todo.end) return;
  push(
      {.step = Step::NEXT_STATEMENT, .node = next(todo.node), .end = todo.end});
  push({.step = Step::STATEMENT, .node = todo.node});
}

// Begins a statement; `trace` is nullptr for one without a recorded line.
void ProgramWalk::begin_statement(const McNode* trace) {
  using enum Unparsing::Traced;
  const auto traced = trace != nullptr ? YES : NO;
  if (in_->traced == UNKNOWN) in_->traced = traced;
  if (in_->traced != traced)
    refuse("some statements have a line, and some have not");
  if (trace != nullptr && in_->for_reading)
    in_->lines.lines.push_back(trace->number());
  if (trace == nullptr || in_->for_reading)
    line();
  else if (writes())
    layout_->statement();
  else
    in_->lines.lines.push_back(trace->number());
}

void ProgramWalk::statement(McNodeRef node) {
  const McNode* trace = nullptr;
  McNodeRef child[3];
  if (at(node).kind() == McNodeKind::TRACE) {
    if (children(node, child, 1, 1) < 1) refuse("a line without a statement");
    trace = &at(node);
    node = child[0];
  }
  begin_statement(trace);
  switch (at(node).kind()) {
    case McNodeKind::ASSIGN:
      push_text(";");
      return push({.step = Step::EXPRESSION, .node = node});
    case McNodeKind::CALL: return call(node, true);
    case McNodeKind::IF: {
      const unsigned count = children(node, child, 2, 3);
      if (count < 2) return broken(count, "IF ", " THEN ; END IF");
      push_line("END IF");
      if (count == 3) {
        push({.step = Step::DEDENT});
        push({.step = Step::STATEMENTS, .node = child[2]});
        push({.step = Step::INDENT});
        push_line("ELSE");
      }
      put("IF ");
      push({.step = Step::DEDENT});
      push({.step = Step::STATEMENTS, .node = child[1]});
      push({.step = Step::INDENT});
      push_text(" THEN");
      return push({.step = Step::EXPRESSION, .node = child[0]});
    }
    case McNodeKind::WHILE:
      if (children(node, child, 2, 2) < 2)
        return broken(first(node) != node, "WHILE ", " DO ; END WHILE");
      put("WHILE ");
      push_line("END WHILE");
      push({.step = Step::DEDENT});
      push({.step = Step::STATEMENTS, .node = child[1]});
      push({.step = Step::INDENT});
      push_text(" DO");
      return push({.step = Step::EXPRESSION, .node = child[0]});
    case McNodeKind::SELECT: {
      if (is_leaf(node) && in_->with_errors)
        return broken(0, "SELECT ", "; CASE 0; ; END SELECT");
      if (is_leaf(node)) refuse("a SELECT without a selector");
      const McNodeRef selector = first(node);
      const McNodeRef clause = next(selector);
      if (clause == node || at(clause).kind() != McNodeKind::CASE)
        refuse("a SELECT without a CASE");
      put("SELECT ");
      push_line("END SELECT");
      push({.step = Step::DEDENT});
      push({.step = Step::CASES, .node = clause, .end = node});
      push({.step = Step::INDENT});
      push_text(";");
      return push({.step = Step::EXPRESSION, .node = selector});
    }
    case McNodeKind::ALLOC:
    case McNodeKind::FREE: {
      const bool allocates = at(node).kind() == McNodeKind::ALLOC;
      if (is_leaf(node) && in_->with_errors)
        return allocates ? broken(0, "ALLOCATE ", "(1);")
                         : broken(0, "FREE ", ";");
      if (is_leaf(node)) refuse("an ALLOCATE or FREE of nothing");
      put(allocates ? "ALLOCATE " : "FREE ");
      push_text(";");
      return push({.step = Step::ALLOCATED,
                   .followed = allocates,
                   .node = first(node),
                   .end = node});
    }
    case McNodeKind::PRINT:
      put("PRINT");
      push_text(";");
      if (is_leaf(node) && !in_->with_errors) return;
      put(" ");
      return push({.step = Step::ARGUMENTS, .node = first(node), .end = node});
    case McNodeKind::RETURN:
    case McNodeKind::EXIT:
      put(at(node).kind() == McNodeKind::EXIT ? "EXIT " : "RETURN ");
      push_text(";");
      return push_operand(child, children(node, child, 1, 1), 0, {});
    case McNodeKind::BREAK:
    case McNodeKind::CONT:
    case McNodeKind::SUBEX:
      children(node, child, 0, 0);
      return put(at(node).kind() == McNodeKind::BREAK  ? "BREAK"
                 : at(node).kind() == McNodeKind::CONT ? "CONTINUE"
                                                       : "SUBEXIT");
    case McNodeKind::EMPTY:
    case McNodeKind::VAR:
    case McNodeKind::INT:
    case McNodeKind::REAL:
    case McNodeKind::STRING:
    case McNodeKind::FUNC:
    case McNodeKind::OPERA:
    case McNodeKind::BLOCK:
    case McNodeKind::DIM:
    case McNodeKind::REFVAR:
    case McNodeKind::TRACE:
    case McNodeKind::UNARY:
    case McNodeKind::CASE:
    case McNodeKind::REFER:
    case McNodeKind::EXTERN:
    case McNodeKind::EXTIND: break;
  }
  refuse(std::string("no statement is a node ") +
         MC_KIND_NAMES[static_cast<unsigned>(at(node).kind())]);
}

// A statement that has lost all its parts, since the first one is none.
void ProgramWalk::broken(unsigned parts, const char* before,
                         const char* after) {
  if (parts != 0) refuse("a statement that is not complete");
  put(before);
  push_text(after);
  push({.step = Step::MISSING});
}

// Operand number `i` of a node with `count` of them.
void ProgramWalk::push_operand(const McNodeRef (&child)[3], unsigned count,
                               unsigned i, Todo todo) {
  todo.step = i < count ? Step::EXPRESSION : Step::MISSING;
  todo.node = i < count ? child[i] : 0;
  push(todo);
}

void ProgramWalk::cases(const Todo& todo) {
  if (todo.node == todo.end) return;
  const McNodeRef rest = next(todo.node);
  if (at(todo.node).kind() != McNodeKind::CASE) {
    if (rest != todo.end) refuse("statements behind CASE ELSE");
    return push({.step = Step::ELSE, .node = todo.node});
  }
  push({.step = Step::CASES, .node = rest, .end = todo.end});
  const McNodeRef statements_of = first(todo.node);
  if (statements_of == todo.node || next(statements_of) == todo.node)
    refuse("a CASE without labels");
  line("CASE ");
  push({.step = Step::DEDENT});
  push({.step = Step::STATEMENTS, .node = statements_of});
  push({.step = Step::INDENT});
  push_text(";");
  push({.step = Step::LABELS, .node = next(statements_of), .end = todo.node});
}

void ProgramWalk::labels(const Todo& todo) {
  if (todo.node == todo.end) return;
  if (todo.flag) {
    put(",");
    blank();
  }
  push({.step = Step::LABELS,
        .flag = true,
        .node = next(todo.node),
        .end = todo.end});
  const McNode& label = at(todo.node);
  if (label.kind() != McNodeKind::OPERA) refuse("a label that is no test");
  McNodeRef child[3];
  if (label.op() == MC_RANGE) {
    const unsigned count = children(todo.node, child, 2, 2);
    push_operand(child, count, 1, {});
    push_text(" TO ");
    return push_operand(child, count, 0, {});
  }
  const unsigned count = children(todo.node, child, 1, 1);
  if (label.op() != MC_EQUAL) {
    const char* relation = RelationText(label.op());
    if (relation == nullptr) refuse("a label that is no test");
    put(relation);
    put(" ");
  }
  push_operand(child, count, 0, {});
}

// The variables of ALLOCATE, or those of FREE.
void ProgramWalk::allocated(const Todo& todo) {
  if (todo.node == todo.end) return;
  if (todo.flag) {
    put(",");
    blank();
  }
  push({.step = Step::ALLOCATED,
        .followed = todo.followed,
        .flag = true,
        .node = next(todo.node),
        .end = todo.end});
  if (at(todo.node).kind() != McNodeKind::VAR ||
      is_leaf(todo.node) == todo.followed)
    refuse("an ALLOCATE or FREE of something else than a variable");
  put(variable_name(todo.node));
  if (!todo.followed) return;
  put("(");
  push_text(")");
  push({.step = Step::DIMS, .node = first(todo.node), .end = todo.node});
}

void ProgramWalk::dims(const Todo& todo) {
  if (todo.node == todo.end) return;
  if (todo.flag) {
    put(",");
    blank();
  }
  push({.step = Step::DIMS,
        .flag = true,
        .node = next(todo.node),
        .end = todo.end});
  if (at(todo.node).kind() != McNodeKind::DIM)
    refuse("an ALLOCATE without bounds");
  McNodeRef child[3];
  const unsigned count = children(todo.node, child, 1, 2);
  push_operand(child, count, 0, {});
  if (count < 2) return;
  push_text(":");
  push({.step = Step::EXPRESSION, .node = child[1]});
}

// Expressions ---------------------------------------------------------------

std::string_view ProgramWalk::variable_name(McNodeRef node) const {
  const Name& name = name_of(at(node).payload);
  if (!name.found)
    refuse("'" + std::string(name.view()) +
           "' is hidden by another variable of that name");
  return name.view();
}

std::string ProgramWalk::call_name(uint32_t index) {
  const McCallRef& call = program_->calls[index];
  const bool bound = call.kind == McCallKind::SUB && !call.external;
  const char* stored = bound ? program_->subs[call.sub_index].name : call.name;
  if (stored == nullptr) refuse("a call of a routine without a name");
  if (call.kind == McCallKind::SUB) return identifier(stored, "SUB");
  if (call.kind == McCallKind::FN && !call.external)
    refuse("a function that is bound to a SUB");
  std::string name = call.kind == McCallKind::FN ? "FN" : "CFN";
  name += stored;
  if (!UtIsLetter(stored[0]) || !IsExternalName('%' + name))
    refuse("'" + name + "' cannot be the name of a function");
  return name;
}

void ProgramWalk::put_constant(const McConstant& constant) {
  if (!writes()) return;
  scratch_.clear();
  if (constant.type == McValueType::REAL) {
    if (!(constant.real >= 0)) refuse("no literal is that number");
    SpellReal(&scratch_, constant.real);
    return put(scratch_);
  }
  if (!SpellConstant(&scratch_, {constant.text, constant.length}, false))
    refuse("no literal is that text");
  layout_->put_literal(scratch_);
}

void ProgramWalk::expression(const Todo& todo) {
  const McNode& node = at(todo.node);
  const auto leaf = [&] {
    if (!node.is_leaf()) refuse("an operand with parts");
  };
  switch (node.kind()) {
    case McNodeKind::VAR: return variable(todo.node);
    case McNodeKind::INT:
      leaf();
      if (!writes()) return;
      scratch_.clear();
      SpellInteger(&scratch_, node.integer());
      return put(scratch_);
    case McNodeKind::REAL:
    case McNodeKind::STRING:
      leaf();
      use(ENTRY_CONSTANT, node.number());
      return put_constant(program_->constants[node.number()]);
    case McNodeKind::EXTERN: {
      leaf();
      use(ENTRY_NAME, node.number());
      const char* name = StringPoolText(&program_->strings, node.number());
      if (!writes() && !IsExternalName(name))
        refuse("'" + std::string(name) + "' is no external variable");
      return put(name);
    }
    case McNodeKind::EXTIND: {
      McNodeRef child[3];
      const unsigned count = children(todo.node, child, 1, 1);
      const char sigil[] = {static_cast<char>(node.op()), '(', '\0'};
      if (node.op() == 0 || strchr("$%&@", node.op()) == nullptr)
        refuse("an external variable of no known kind");
      put(sigil);
      push_text(")");
      return push_operand(child, count, 0, {});
    }
    case McNodeKind::FUNC: return function(todo.node);
    case McNodeKind::CALL: return call(todo.node, false);
    case McNodeKind::OPERA: return operation(todo);
    case McNodeKind::UNARY: return unary(todo);
    case McNodeKind::ASSIGN: return assignment(todo);
    case McNodeKind::EMPTY:
    case McNodeKind::BLOCK:
    case McNodeKind::IF:
    case McNodeKind::WHILE:
    case McNodeKind::DIM:
    case McNodeKind::REFVAR:
    case McNodeKind::PRINT:
    case McNodeKind::TRACE:
    case McNodeKind::RETURN:
    case McNodeKind::SELECT:
    case McNodeKind::CASE:
    case McNodeKind::ALLOC:
    case McNodeKind::FREE:
    case McNodeKind::SUBEX:
    case McNodeKind::EXIT:
    case McNodeKind::BREAK:
    case McNodeKind::CONT:
    case McNodeKind::REFER: break;
  }
  refuse(std::string("no expression is a node ") +
         MC_KIND_NAMES[static_cast<unsigned>(node.kind())]);
}

// The variable, its subscripts, and what comes behind.
void ProgramWalk::variable(McNodeRef node) {
  put(variable_name(node));
  McNodeRef member = first(node);
  while (member != node && at(member).kind() != McNodeKind::REFER)
    member = next(member);
  push({.step = Step::MEMBERS, .node = member, .end = node});
  if (member == first(node)) return;
  put("(");
  push_text(")");
  push({.step = Step::LIST, .node = first(node), .end = member});
}

void ProgramWalk::members(const Todo& todo) {
  spot(EntrySpot::REFERENCE);
  if (todo.node == todo.end) return;
  const McNode& node = at(todo.node);
  if (node.kind() != McNodeKind::REFER)
    refuse("a subscript behind a coordinate");
  if (node.scope() > 2) refuse("a coordinate that there is not");
  put(".");
  put(MEMBERS[node.scope()]);
  push({.step = Step::MEMBERS, .node = next(todo.node), .end = todo.end});
  if (node.is_leaf()) return;
  put("(");
  push_text(")");
  push({.step = Step::LIST, .node = first(todo.node), .end = todo.node});
}

// With `references`, whole arrays may be among the expressions.
void ProgramWalk::list(const Todo& todo, bool references) {
  const bool item = item_spot(todo.flag);
  if (todo.node == todo.end) return;
  if (todo.flag || item) {
    put(",");
    blank();
  }
  push({.step = todo.step,
        .flag = true,
        .node = next(todo.node),
        .end = todo.end});
  if (at(todo.node).kind() != McNodeKind::REFVAR || !references)
    return push({.step = Step::EXPRESSION, .node = todo.node});
  if (!is_leaf(todo.node)) refuse("an array with parts");
  put(variable_name(todo.node));
  put("(*)");
}

void ProgramWalk::operation(const Todo& todo) {
  const Operator& op = OPERATORS.rows[at(todo.node).op()];
  if (todo.step == Step::RIGHT) {
    put(" ");
    put(op.text);
    blank();
    if (todo.flag) return push({.step = Step::MISSING});
    return push({.step = Step::EXPRESSION,
                 .binding = static_cast<uint8_t>(op.binding + !op.from_right),
                 .followed = todo.followed,
                 .node = todo.end});
  }
  McNodeRef child[3];
  const unsigned count = children(todo.node, child, 2, 2);
  if (op.text == nullptr) refuse("an operation of no known kind");
  const bool enclosed = op.binding < todo.binding;
  if (enclosed) {
    put("(");
    push_text(")");
  }
  push({.step = Step::RIGHT,
        .followed = todo.followed && !enclosed,
        .flag = count < 2,
        .node = todo.node,
        .end = count < 2 ? 0 : child[1]});
  push_operand(child, count, 0,
               {.step = Step::EXPRESSION,
                .binding = static_cast<uint8_t>(op.binding + op.from_right),
                .followed = true});
}

// An assignment may stand behind an operator as it is, but what stands behind
// the assignment would belong to it.
void ProgramWalk::assignment(const Todo& todo) {
  McNodeRef child[3];
  if (children(todo.node, child, 2, 2) < 2)
    refuse("an assignment without target or value");
  if (todo.followed) {
    put("(");
    push_text(")");
  }
  push({.step = Step::VALUE, .node = todo.node, .end = child[1]});
  switch (at(child[0]).kind()) {
    case McNodeKind::VAR:
    case McNodeKind::EXTERN:
    case McNodeKind::EXTIND: break;
    default: refuse("an assignment to something else than a variable");
  }
  push({.step = Step::EXPRESSION, .node = child[0]});
}

void ProgramWalk::unary(const Todo& todo) {
  McNodeRef child[3];
  const unsigned count = children(todo.node, child, 1, 1);
  const uint8_t op = at(todo.node).op();
  if (op == MC_VALUE) {
    if (count == 0 || at(child[0]).kind() != McNodeKind::VAR)
      refuse("a value that is no variable");
    put("(");
    push_text(")");
    return push({.step = Step::EXPRESSION, .node = child[0]});
  }
  if (op != MC_PLUS && op != MC_NEGATE) refuse("a sign of no known kind");
  put(op == MC_PLUS ? "+" : "-");
  push_operand(child, count, 0,
               {.step = Step::EXPRESSION,
                .binding = BIND_SIGN,
                .followed = todo.followed});
}

void ProgramWalk::function(McNodeRef node) {
  const McNode& function = at(node);
  if (function.scope() != function.index() ||
      function.scope() >= MC_BUILTIN_COUNT)
    refuse("a built-in function that there is not");
  put(MC_BUILTIN_NAMES[function.scope()]);
  if (function.is_leaf()) return no_arguments();
  put("(");
  push_text(")");
  push({.step = Step::LIST, .node = first(node), .end = node});
}

// Behind a call without arguments there may be some that are none.
void ProgramWalk::no_arguments() {
  if (!in_->with_errors || in_->for_reading) return;
  spot(EntrySpot::ITEM);
  if (!writes() || !is_due()) return;
  in_->error = true;
  put("(");
  put(unknown_);
  flush_spot(EntrySpot::ITEM);
  put(")");
}

// A call is added to the table when its arguments have been read.
void ProgramWalk::call(McNodeRef node, bool is_statement) {
  const McCallKind kind = program_->calls[at(node).scope()].kind;
  if (is_statement ? kind == McCallKind::FN : kind == McCallKind::SUB)
    refuse(is_statement ? "a function called as a statement"
                        : "a SUB called in an expression");
  if (kind == McCallKind::SUB) put("CALL ");
  if (writes()) put(call_name(at(node).scope()));
  if (is_statement) push_text(";");
  push({.step = Step::CALLED, .node = node});
  if (is_leaf(node)) return no_arguments();
  put("(");
  push_text(")");
  push({.step = Step::ARGUMENTS, .node = first(node), .end = node});
}

void SurveyProgram(Unparsing* unparsing, const McProgram& program) {
  ProgramWalk(unparsing, nullptr).run(program, ProgramFrame::ALONE);
}

void WriteProgram(Unparsing* unparsing, const McProgram& program,
                  Layout* layout) {
  ProgramWalk(unparsing, layout).run(program, ProgramFrame::ALONE);
}
