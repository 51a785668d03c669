// A sink of the walk. Fields are judged as they come, by what stands in front
// of them and by the tables of the program, which are known beforehand. Of each
// open node one byte is kept: how many children it has had, and what kinds of
// them may still come.
#include "tools/compiled/check.h"

#include <cmath>
#include <string>
#include <unordered_set>

#include "Cutil/codes.h"
#include "Cutil/ut_chars.h"
#include "elut/compile/builtins.h"
#include "elut/files/program_file.h"
#include "elut/model/mask_objects.h"
#include "elut/model/program.h"
#include "tools/compiled/tables.h"

namespace {

constexpr std::string_view SIGILS = "$%&@";
constexpr uint8_t LAST_ASSIGNMENT = MC_MULTIPLY;  // *=

constexpr CompiledGrade UNREADABLE = CompiledGrade::UNREADABLE;
constexpr CompiledGrade UNSOUND = CompiledGrade::UNSOUND;

// All events that a handler can be written for.
constexpr uint32_t EVENTS =
    EVENT_ENTER | EVENT_EXIT | EVENT_CONTROL | EVENT_KEY | EVENT_ABORT |
    EVENT_BUTTON | EVENT_MOTION | EVENT_DESTROY | EVENT_CONFIRM | EVENT_CREATE |
    EVENT_SHOW | EVENT_HIDE | EVENT_COMPUTE | EVENT_ACTIVATE | EVENT_MODIFY;

bool IsName(std::string_view text) {
  if (text.empty() || !UtIsLetter(text[0])) return false;
  for (const char c : text)
    if (!UtIsNameByte(c)) return false;
  return true;
}

// The numbers of that many entries.
std::string UpTo(uint64_t count) {
  return count == 1 ? "0" : "0 to " + std::to_string(count - 1);
}

// Node shapes -----------------------------------------------------------------

using Kinds = uint32_t;  // a bit per McNodeKind

template <class... Kind>
constexpr Kinds KindsOf(Kind... kind) {
  return (... | (Kinds{1} << static_cast<unsigned>(kind)));
}

using enum McNodeKind;
constexpr Kinds EXPRESSION = KindsOf(VAR, INT, REAL, STRING, FUNC, OPERA,
                                     ASSIGN, CALL, UNARY, EXTERN, EXTIND);
constexpr Kinds ARGUMENT = EXPRESSION | KindsOf(REFVAR);
constexpr Kinds TRACED = KindsOf(ASSIGN, CALL, IF, WHILE, PRINT, RETURN, SELECT,
                                 ALLOC, FREE, SUBEX, EXIT, BREAK, CONT);
constexpr Kinds STATEMENT = TRACED | KindsOf(TRACE);
constexpr Kinds BODY = STATEMENT | KindsOf(BLOCK);
constexpr Kinds TARGET = KindsOf(VAR, EXTERN, EXTIND);

// What a child list looks like: the kinds of the first, the second and the
// third child and of those behind it; how many there are at least, and in the
// programs of masks, where an operand that is not declared may be missing.
struct Shape {
  Kinds first = 0, second = 0, third = 0, rest = 0;
  uint8_t least = 0, least_in_mask = 0;
};

constexpr Shape List(Kinds kinds, uint8_t least = 0) {
  return {kinds, kinds, kinds, kinds, least, 0};
}

// Of nodes whose place alone tells no more.
constexpr Shape ShapeOf(McNodeKind kind) {
  switch (kind) {
    case EMPTY:
    case INT:
    case REAL:
    case STRING:
    case REFVAR:
    case SUBEX:
    case BREAK:
    case CONT:
    case EXTERN: return {};
    case VAR: return List(EXPRESSION | KindsOf(REFER));
    case FUNC:
    case REFER: return List(EXPRESSION);
    case OPERA: return {EXPRESSION, EXPRESSION, 0, 0, 2, 0};
    case ASSIGN: return {TARGET, EXPRESSION, 0, 0, 2, 2};
    case BLOCK: return List(STATEMENT);
    case IF: return {EXPRESSION, BODY, BODY, 0, 2, 0};
    case WHILE: return {EXPRESSION, BODY, 0, 0, 2, 0};
    case DIM: return {EXPRESSION, EXPRESSION, 0, 0, 1, 0};
    case CALL:
    case PRINT: return List(ARGUMENT);
    case TRACE: return {TRACED, 0, 0, 0, 1, 1};
    case UNARY:
    case RETURN:
    case EXIT:
    case EXTIND: return {EXPRESSION, 0, 0, 0, 1, 0};
    case SELECT:
      return {EXPRESSION,
              KindsOf(CASE),
              BODY | KindsOf(CASE),
              BODY | KindsOf(CASE),
              2,
              0};
    case CASE:
      return {BODY, KindsOf(OPERA), KindsOf(OPERA), KindsOf(OPERA), 2, 2};
    case ALLOC:
    case FREE: return List(KindsOf(VAR), 1);
  }
  return {};
}

struct Shapes {
  Shape of[MC_KIND_COUNT] = {};
  constexpr Shapes() {
    for (unsigned kind = 0; kind < MC_KIND_COUNT; kind++)
      of[kind] = ShapeOf(static_cast<McNodeKind>(kind));
  }
};
constexpr Shapes SHAPES;

// State of an open node: its children so far, 3 for more, and what else decides
// about those to come.
constexpr uint8_t CHILDREN = 0x03;
constexpr uint8_t IN_ALLOC = 0x04;  // VAR: only DIMs, one at least
constexpr uint8_t IN_FREE = 0x08;   // VAR: nothing
constexpr uint8_t IN_CASE = 0x10;   // OPERA: a label
constexpr uint8_t ONE_MORE = 0x20;  // OPERA: exactly one; UNARY: a VAR
constexpr uint8_t CLOSED = 0x40;    // VAR: only REFERs; SELECT: nothing

constexpr Kinds NextChild(McNodeKind kind, uint8_t state) {
  const Shape& shape = SHAPES.of[static_cast<unsigned>(kind)];
  const unsigned count = state & CHILDREN;
  const Kinds kinds = count == 0   ? shape.first
                      : count == 1 ? shape.second
                      : count == 2 ? shape.third
                                   : shape.rest;
  switch (kind) {
    case VAR:
      if ((state & IN_ALLOC) != 0) return KindsOf(DIM);
      if ((state & IN_FREE) != 0) return 0;
      return (state & CLOSED) != 0 ? KindsOf(REFER) : kinds;
    case OPERA: return (state & ONE_MORE) != 0 && count > 0 ? 0 : kinds;
    case UNARY:
      return (state & ONE_MORE) != 0 && count == 0 ? KindsOf(VAR) : kinds;
    case SELECT: return (state & CLOSED) != 0 ? 0 : kinds;
    default: return kinds;
  }
}

// Whether the children of a node may end, in the programs of files and masks.
constexpr bool MayEnd(McNodeKind kind, uint8_t state, bool in_mask) {
  const Shape& shape = SHAPES.of[static_cast<unsigned>(kind)];
  unsigned least = in_mask ? shape.least_in_mask : shape.least;
  if (kind == OPERA && (state & ONE_MORE) != 0 && least > 1) least = 1;
  if (kind == VAR && (state & IN_ALLOC) != 0) least = 1;
  return (state & CHILDREN) >= least;
}

// Both for all states, so that a node needs one look at each.
struct States {
  static constexpr size_t COUNT = 2 * CLOSED;
  Kinds next[MC_KIND_COUNT][COUNT] = {};
  bool may_end[2][MC_KIND_COUNT][COUNT] = {};
  constexpr States() {
    for (unsigned kind = 0; kind < MC_KIND_COUNT; kind++) {
      for (size_t i = 0; i < COUNT; i++) {
        const auto of = static_cast<McNodeKind>(kind);
        const auto state = static_cast<uint8_t>(i);
        next[kind][i] = NextChild(of, state);
        for (const bool in_mask : {false, true})
          may_end[in_mask][kind][i] = MayEnd(of, state, in_mask);
      }
    }
  }
};
constexpr States STATES;

// The state of a node without children, from its place and its operator.
uint8_t FirstState(McNodeKind parent, const CompiledNode& node) {
  const uint8_t op = McNode{0, node.payload}.op();
  if (node.kind == VAR)
    return parent == ALLOC ? IN_ALLOC : parent == FREE ? IN_FREE : 0;
  if (node.kind == UNARY) return op == MC_VALUE ? ONE_MORE : 0;
  if (node.kind != OPERA || parent != CASE) return 0;
  return op == MC_RANGE ? IN_CASE : IN_CASE | ONE_MORE;
}

std::string NamesOf(Kinds kinds) {
  if (kinds == 0) return "the end of the children";
  if (kinds == EXPRESSION) return "an expression";
  if (kinds == ARGUMENT) return "an expression or REFVAR";
  if (kinds == STATEMENT || kinds == TRACED) return "a statement";
  if (kinds == BODY) return "a statement or BLOCK";
  std::string names;
  for (unsigned kind = 0; kind < MC_KIND_COUNT; kind++) {
    if ((kinds >> kind & 1) == 0) continue;
    // Long lists are an expression or a statement, with something else.
    if (kinds >> kind & EXPRESSION >> kind & 1 &&
        (kinds & EXPRESSION) == EXPRESSION) {
      if (names.find("expression") != std::string::npos) continue;
      names += names.empty() ? "an expression" : ", an expression";
      continue;
    }
    if ((kinds & BODY) == BODY && (BODY >> kind & 1) != 0) {
      if (names.find("statement") != std::string::npos) continue;
      names += names.empty() ? "a statement" : ", a statement";
      continue;
    }
    if (!names.empty()) names += ", ";
    names += MC_KIND_NAMES[kind];
  }
  return names;
}

// Masks -----------------------------------------------------------------------

using Types = uint32_t;  // a bit per MaskObjectType

template <class... Type>
constexpr Types TypesOf(Type... type) {
  return (... | (Types{1} << static_cast<unsigned>(type)));
}

constexpr Types SIMPLE = TypesOf(
    MaskObjectType::BUTTON, MaskObjectType::SCROLLBAR, MaskObjectType::RECORD,
    MaskObjectType::DIALOG, MaskObjectType::GRAPHIC);
constexpr Types MENUS = TypesOf(MaskObjectType::MENU, MaskObjectType::MENUBAR);
constexpr Types ITEMS = TypesOf(MaskObjectType::ITEM);
constexpr Types FIELDS =
    SIMPLE | MENUS |
    TypesOf(MaskObjectType::LABEL, MaskObjectType::TEXT, MaskObjectType::GROUP);

struct ObjectRule {
  Types inner;
  bool handlers;
  bool module;
};

// By type; row 0 is the file.
constexpr ObjectRule OBJECT_RULES[] = {
    {TypesOf(MaskObjectType::WINDOW, MaskObjectType::APPLICATION), false,
     false},
    {ITEMS, true, false},                                     // TEXT
    {FIELDS | TypesOf(MaskObjectType::TABLE), true, true},    // WINDOW
    {0, false, false},                                        // LABEL
    {0, true, false},                                         // BUTTON
    {MENUS | ITEMS, true, false},                             // MENU
    {0, true, false},                                         // SCROLLBAR
    {MENUS | ITEMS, true, false},                             // MENUBAR
    {0, true, false},                                         // ITEM
    {0, true, false},                                         // RECORD
    {FIELDS | ITEMS, true, false},                            // TABLE
    {TypesOf(MaskObjectType::WINDOW), true, true},            // APPLICATION
    {0, true, false},                                         // DIALOG
    {FIELDS | TypesOf(MaskObjectType::TABLE), false, false},  // GROUP
    {0, true, false},                                         // GRAPHIC
};
static_assert(std::size(OBJECT_RULES) == MASK_TYPE_COUNT);

std::string ObjectName(uint32_t type) {
  if (type >= MASK_TYPE_COUNT) return std::to_string(type);
  if (type == 0) return "0, no object";
  return std::to_string(type) + " " + MASK_TYPE_NAMES[type];
}

std::string ObjectNames(Types types) {
  std::string names;
  for (unsigned type = 1; type < MASK_TYPE_COUNT; type++) {
    if ((types >> type & 1) == 0) continue;
    if (!names.empty()) names += ", ";
    names += ObjectName(type);
  }
  return names.empty() ? "0, no object" : names;
}

// The check -------------------------------------------------------------------

// Whose program a program record is.
enum class Owner : uint8_t { FILE, MODULE, HANDLER };

class Checker : public CompiledSink {
 public:
  explicit Checker(const CompiledReport& report) : report_(report) {}

  void begin(CompiledRecord record) override;
  void end(CompiledRecord record) override;
  void value(const CompiledValue& value) override;
  void node(const CompiledNode& node) override;
  void node_end(const CompiledValue& end) override;
  void trouble(const CompiledTrouble& trouble) override { report_(trouble); }

 private:
  void find(CompiledGrade grade, const CompiledValue& value, std::string found,
            std::string expected) {
    walk->trouble(grade, value, std::move(found), std::move(expected));
  }
  // The value is not what it should be: a number, or a text.
  void find(CompiledGrade grade, const CompiledValue& value,
            std::string expected);
  void require(bool holds, CompiledGrade grade, const CompiledValue& value,
               std::string_view expected) {
    if (!holds) find(grade, value, std::string(expected));
  }
  void name(const CompiledValue& value, bool may_be_absent);

  const CompiledTables& tables() const { return *walk->tables(); }
  bool in_masks() const { return walk->header().kind == XD_KIND_MASK; }
  const CompiledTables::Routine& routine() const {
    return tables().routine(walk->sub());
  }

  void begin_program();
  void end_program();
  void header_field(const CompiledValue& value);
  void pool_field(const CompiledValue& value);
  void import_field(const CompiledValue& value);
  void variable_field(const CompiledValue& value);
  void program_field(const CompiledValue& value);
  void mask_field(const CompiledValue& value);
  void object_type(const CompiledValue& value);
  void attribute_name(const CompiledValue& value);
  void key(const CompiledValue& value);
  void no_body(const CompiledValue& value);
  [[gnu::cold]] CompiledValue field_of(const CompiledNode& node,
                                       int number) const;
  void refer(const CompiledNode& node, Kinds context, uint8_t state);
  void check_operator(const CompiledNode& node, bool in_case);
  void children_end(McNodeKind kind, uint8_t state, uint64_t offset);

  const CompiledReport& report_;

  // Of the program.
  Owner owner_ = Owner::FILE;
  bool main_body_ = false;    // it has one
  UtVector<uint8_t> states_;  // of the open nodes
  UtVector<uint32_t> uses_;   // of the slots of the string pool
  uint32_t slots_ = 0;        // of the pool
  uint32_t pool_flags_ = 0;
  uint64_t reserved_ = 0;  // bytes of the slots so far
  uint32_t used_ = 0;      // bytes of the pool's texts
  uint32_t import_kind_ = 0;
  bool import_source_ = false;
  CompiledRecord table_ = CompiledRecord::VARIABLES;
  uint32_t type_ = 0;  // of a variable, a constant or an attribute
  uint32_t storage_ = 0;
  uint32_t dimensions_ = 0;
  uint32_t call_kind_ = 0;

  // Of a mask file.
  UtVector<uint8_t> types_;    // of the objects around, the innermost last
  uint32_t object_ = 0;        // type of the one that begins
  uint32_t first_editor_ = 0;  // type of the first editor
  bool in_handler_ = false;
  uint32_t events_ = 0;  // of the handler
  AttributeNames names_;
  bool names_full_ = false;
  std::unordered_set<std::string> editors_;
};

std::string Shown(const CompiledValue& value) {
  switch (CompiledTypeOf(value.field)) {
    case CompiledType::TEXT:
    case CompiledType::BLOCK: {
      if (value.absent) return "no text";
      if (value.text.size() > 40)
        return "a text of " + std::to_string(value.text.size()) + " bytes";
      return "\"" + std::string(value.text) + "\"";
    }
    case CompiledType::I8:
    case CompiledType::I32:
      return std::to_string(static_cast<int32_t>(value.number));
    case CompiledType::F64: return std::to_string(value.real);
    default: return std::to_string(value.number);
  }
}

void Checker::find(CompiledGrade grade, const CompiledValue& value,
                   std::string expected) {
  find(grade, value, Shown(value), std::move(expected));
}

void Checker::name(const CompiledValue& value, bool may_be_absent) {
  if (value.absent ? may_be_absent : IsName(value.text)) return;
  find(UNSOUND, value, may_be_absent ? "a name, or no text" : "a name");
}

// Records ---------------------------------------------------------------------

void Checker::begin_program() {
  owner_ = !in_masks()   ? Owner::FILE
           : in_handler_ ? Owner::HANDLER
                         : Owner::MODULE;
  main_body_ = false;
  reserved_ = 0;
  used_ = 0;
  uses_.assign(tables().slots.size(), 0);
}

void Checker::end_program() {
  for (size_t i = 0; i < uses_.size(); i++) {
    const CompiledTables::Slot& slot = tables().slots[i];
    if (uses_[i] <= slot.references) continue;
    CompiledTrouble trouble = {UNSOUND, slot.at, {}, {}, {}};
    walk->append_path(&trouble.path);
    if (!trouble.path.empty()) trouble.path += '.';
    trouble.path += "pool.slots[" + std::to_string(i) + "].references";
    trouble.found = std::to_string(slot.references);
    trouble.expected =
        std::to_string(uses_[i]) + " or more: so many nodes refer to the slot";
    report_(trouble);
  }
}

void Checker::begin(CompiledRecord record) {
  switch (record) {
    case CompiledRecord::PROGRAM: begin_program(); break;
    case CompiledRecord::VARIABLES:
    case CompiledRecord::LOCALS:
    case CompiledRecord::PARAMETERS:
    case CompiledRecord::COMMON_VARIABLES: table_ = record; break;
    case CompiledRecord::OBJECT:
      types_.push_back(static_cast<uint8_t>(object_));
      break;
    case CompiledRecord::HANDLER: in_handler_ = true; break;
    default: break;
  }
}

void Checker::end(CompiledRecord record) {
  switch (record) {
    case CompiledRecord::PROGRAM: end_program(); break;
    case CompiledRecord::OBJECT: types_.pop_back(); break;
    case CompiledRecord::HANDLER: in_handler_ = false; break;
    case CompiledRecord::TREE: {
      if (walk->sub() >= 0 || owner_ != Owner::FILE) break;
      const bool module = walk->header().kind == XD_KIND_MODULE;
      if (module != main_body_) break;
      report_(
          {UNREADABLE, 2, "header.kind",
           module ? "2, a module" : "1, a program with a main body",
           module ? "1: there is a main body" : "2: there is no main body"});
      break;
    }
    default: break;
  }
}

void Checker::value(const CompiledValue& value) {
  if (!value.sound) return;
  if (value.field <= CompiledField::RESERVED) return header_field(value);
  if (value.field >= CompiledField::EDITOR_COUNT) return mask_field(value);
  if (value.field >= CompiledField::POOL_VERSION &&
      value.field <= CompiledField::TEXT_BUFFER)
    return pool_field(value);
  if (value.field >= CompiledField::IMPORT_COUNT &&
      value.field <= CompiledField::IMPORT_MODULE)
    return import_field(value);
  if (value.field >= CompiledField::VARIABLE_COUNT &&
      value.field <= CompiledField::BOUND_HIGH)
    return variable_field(value);
  program_field(value);
}

void Checker::header_field(const CompiledValue& value) {
  if (value.field == CompiledField::SUB_VERSION)
    require(value.number == XD_SUB_VERSION, UNSOUND, value, "32, a blank");
  if (value.field == CompiledField::RESERVED)
    require(value.number == 0, UNSOUND, value, "0");
}

// The pool as appending leaves it: texts one behind the other.
void Checker::pool_field(const CompiledValue& value) {
  const uint32_t number = value.number;
  const bool own_texts = (pool_flags_ & POOL_OWN_TEXTS) != 0;
  const uint32_t last = slots_ == 0 ? 0 : slots_ - 1;
  switch (value.field) {
    case CompiledField::SLOT_COUNT: slots_ = number; break;
    case CompiledField::POOL_FLAGS:
      pool_flags_ = number;
      require(number == POOL_UNIQUE,
              (number & ~POOL_KNOWN_FLAGS) != 0 ? UNREADABLE : UNSOUND, value,
              "4");
      break;
    case CompiledField::SLOT_REFERENCES:
      require(number != 0, UNSOUND, value, "1 or more");
      break;
    case CompiledField::SLOT_TEXT:
      require(!value.text.empty() &&
                  SIGILS.find(value.text[0]) != std::string_view::npos,
              UNSOUND, value, "a name with its sigil");
      break;
    case CompiledField::SLOT_RESERVED:
      reserved_ += number;
      if (number == 0) find(UNREADABLE, value, "1 or more");
      break;
    case CompiledField::SLOT_OFFSET: {
      const CompiledTables::Slot& slot = tables().slots[walk->index()];
      const uint64_t begin = reserved_ - (slot.text.length + uint64_t{1});
      if (tables().buffer.is_absent()) break;
      if (slot.text.is_absent() || reserved_ > tables().buffer.length) {
        find(UNREADABLE, value,
             "a place in the " + std::to_string(tables().buffer.length) +
                 " bytes of the texts for the reserved bytes of this slot and "
                 "of those in front of it");
        break;
      }
      const std::string_view file = walk->file();
      const std::string_view text = slot.text.in(file);
      if (text.find('\0') != std::string_view::npos ||
          file[slot.text.at + slot.text.length] != '\0') {
        // One of the two is wrong: not the offset when it is what it should be.
        if (number != begin)
          find(UNREADABLE, value, std::to_string(begin));
        else
          walk->trouble(UNREADABLE, value.offset - value.length,
                        CompiledName(CompiledField::SLOT_RESERVED),
                        std::to_string(slot.text.length + 1),
                        "the bytes of the text and its closing zero byte");
        break;
      }
      require(number == begin, UNSOUND, value,
              std::to_string(begin) + ", behind the text in front of it");
      if (text.empty() || SIGILS.find(text[0]) == std::string_view::npos)
        find(UNSOUND, value, "the text \"" + std::string(text) + "\"",
             "the name of an external variable with its sigil");
      break;
    }
    case CompiledField::REUSE_START:
      require(number == last, number > slots_ ? UNREADABLE : UNSOUND, value,
              std::to_string(last));
      break;
    case CompiledField::UNUSED_START:
      require(number == slots_, number > slots_ ? UNREADABLE : UNSOUND, value,
              std::to_string(slots_));
      break;
    case CompiledField::TEXT_USED:
      used_ = number;
      require(number == reserved_, UNSOUND, value,
              std::to_string(reserved_) + ", the reserved bytes of all slots");
      break;
    case CompiledField::TEXT_CAPACITY: {
      const uint64_t capacity =
          used_ == 0 ? 0
                     : (uint64_t{used_} / POOL_TEXT_STEP + 1) * POOL_TEXT_STEP;
      const bool readable = number % POOL_TEXT_STEP == 0 && number >= used_;
      require(number == capacity, readable ? UNSOUND : UNREADABLE, value,
              std::to_string(capacity));
      break;
    }
    case CompiledField::TEXT_BUFFER:
      if (!own_texts && value.text.size() != used_)
        find(UNREADABLE, value,
             "a block of " + std::to_string(value.text.size()) + " bytes",
             std::to_string(used_) + " bytes, as many as are used");
      break;
    default: break;
  }
}

void Checker::import_field(const CompiledValue& value) {
  const bool file = (import_kind_ & MC_IMPORT_FILE) != 0;
  switch (value.field) {
    case CompiledField::IMPORT_KIND:
      import_kind_ = value.number;
      require((value.number & ~uint32_t{MC_IMPORT_FILE}) <= MC_IMPORT_CSUB,
              UNREADABLE, value, "0 macro or 1 CSUB, and 128 FROM FILE");
      break;
    case CompiledField::IMPORT_NAME: name(value, false); break;
    case CompiledField::IMPORT_SOURCE:
      import_source_ = !value.absent;
      if (file)
        require(!value.absent && !value.text.empty(), UNSOUND, value,
                "the name of a file");
      else
        name(value, true);
      break;
    case CompiledField::IMPORT_MODULE:
      if (!import_source_ && !value.absent)
        find(UNSOUND, value, "no text, since there is no source");
      else
        name(value, true);
      break;
    default: break;
  }
}

void Checker::variable_field(const CompiledValue& value) {
  const uint32_t number = value.number;
  const bool parameter = table_ == CompiledRecord::PARAMETERS;
  constexpr auto REF = static_cast<uint32_t>(McStorage::REF);
  constexpr auto ALLOC = static_cast<uint32_t>(McStorage::ALLOC);
  constexpr auto VALUE = static_cast<uint32_t>(McStorage::VALUE);
  switch (value.field) {
    case CompiledField::VARIABLE_COUNT:
      if (table_ == CompiledRecord::VARIABLES && owner_ == Owner::FILE &&
          walk->header().kind == XD_KIND_MODULE)
        require(number == 0, UNSOUND, value,
                "0: a module has no main variables");
      break;
    case CompiledField::REQUIRED:
      require(number == 0, UNSOUND, value, "0");
      break;
    case CompiledField::VARIABLE_TYPE:
      type_ = number;
      require(number >= 1 && number <= 4, number > 4 ? UNREADABLE : UNSOUND,
              value, "1 INTEGER, 2 REAL, 3 STRING or 4 POINT");
      break;
    case CompiledField::VARIABLE_STORAGE:
      storage_ = number;
      if (parameter)
        require(number == VALUE || number == REF,
                number > 3 ? UNREADABLE : UNSOUND, value, "0 VALUE or 1 REF");
      else
        require(number == VALUE || number == ALLOC,
                number > 3 ? UNREADABLE : UNSOUND, value, "0 VALUE or 2 ALLOC");
      break;
    case CompiledField::DIMENSIONS:
      dimensions_ = number;
      if (storage_ == REF || storage_ == ALLOC)
        require(number > 0, UNSOUND, value, "1 or more");
      else if (parameter)
        require(number == 0, UNSOUND, value, "0");
      break;
    case CompiledField::VARIABLE_FLAGS: {
      const bool bounds = (number & HAS_DIMS) != 0;
      const bool wanted = storage_ == VALUE && dimensions_ > 0;
      if (parameter)
        require(number == 0, UNSOUND, value, "0");
      else if (bounds != wanted)
        find(UNSOUND, value,
             wanted ? "2 or 3: there are dimensions with bounds"
                    : "0 or 1: there are no bounds");
      break;
    }
    case CompiledField::VARIABLE_NAME: name(value, false); break;
    default: break;
  }
}

void Checker::program_field(const CompiledValue& value) {
  const uint32_t number = value.number;
  switch (value.field) {
    case CompiledField::PRESENCE:
      if (!in_masks())
        require(number == 1, UNREADABLE, value, "1");
      else if (in_handler_)
        require(number == 1, UNSOUND, value, "1");
      else if (!CompiledMayHaveModule(types_.back()))
        require(number == 0, UNSOUND, value,
                "0: only windows and applications have MODULE blocks");
      break;
    case CompiledField::PROGRAM_NAME:
      if (owner_ == Owner::FILE)
        name(value, false);
      else
        require(value.absent, UNSOUND, value, "no text");
      break;
    case CompiledField::NODE_COUNT:
      if (tables().body_read)
        require(number == tables().nodes, UNSOUND, value,
                std::to_string(tables().nodes) + ", the nodes of the body");
      break;
    case CompiledField::CONSTANT_REAL:
      require(!std::signbit(value.real) && !std::isnan(value.real), UNSOUND,
              value, "0 or more: a literal has no sign");
      break;
    case CompiledField::NODE_END: no_body(value); break;
    case CompiledField::COMMON_COUNT:
      if (owner_ == Owner::FILE && walk->sub() < 0 &&
          walk->header().kind == XD_KIND_MODULE)
        require(number == 0, UNSOUND, value,
                "0: a module has no main COMMON blocks");
      else
        require(number <= MC_COMMON_LIMIT, UNSOUND, value,
                "at most " + std::to_string(MC_COMMON_LIMIT));
      break;
    case CompiledField::COMMON_NAME:
    case CompiledField::SUB_NAME: name(value, false); break;
    case CompiledField::CALL_KIND:
      call_kind_ = number;
      if (number == static_cast<uint32_t>(McCallKind::FN))
        find(UNSOUND, value, "130: FN routines are not bound");
      if (in_masks() && number == static_cast<uint32_t>(McCallKind::SUB))
        find(UNSOUND, value, "129: calls in masks are not bound");
      break;
    case CompiledField::CALL_NAME: {
      // What follows FN or CFN need not begin with a letter.
      const bool prefixed =
          call_kind_ !=
          (static_cast<uint32_t>(McCallKind::SUB) | EXTERNAL_CALL);
      if (!prefixed || value.absent)
        name(value, prefixed);
      else
        require(IsName("F" + std::string(value.text)), UNSOUND, value,
                "a name without FN or CFN");
      break;
    }
    case CompiledField::CALL_SUB:
      require(number < tables().subs.size(), UNREADABLE, value,
              tables().subs.empty() ? "no bound call: there are no SUBs"
                                    : UpTo(tables().subs.size()));
      break;
    default: break;
  }
}

// Masks -----------------------------------------------------------------------

void Checker::object_type(const CompiledValue& value) {
  object_ = value.number;
  if (object_ >= MASK_TYPE_COUNT)
    return find(UNREADABLE, value, UpTo(MASK_TYPE_COUNT));
  if (types_.empty()) {
    if (first_editor_ == 0) first_editor_ = object_;
    if (!CompiledMayContain(0, value.number & 0xFF))
      find(UNSOUND, value, ObjectName(object_), "2 WINDOW or 11 APPLICATION");
    else if (object_ != first_editor_)
      find(UNSOUND, value, ObjectName(object_),
           ObjectName(first_editor_) + ", like the first one");
    return;
  }
  if (object_ != 0 && !CompiledMayContain(types_.back(), value.number & 0xFF))
    find(UNSOUND, value, ObjectName(object_),
         "in " + ObjectName(types_.back()) + ": " +
             ObjectNames(types_.back() < MASK_TYPE_COUNT
                             ? OBJECT_RULES[types_.back()].inner
                             : 0));
}

// The registry of names is asked, as it is when the file is read.
void Checker::attribute_name(const CompiledValue& value) {
  if (value.absent) return find(UNREADABLE, value, "a text");
  if (names_full_) return;
  const auto own = static_cast<uint32_t>(AttributeType::OWN_STRING);
  const auto wanted =
      type_ == own ? AttributeType::STRING : static_cast<AttributeType>(type_);
  AttributeType registered = wanted;
  uint16_t number;
  const std::string text(value.text);
  if (names_.take(text.c_str(), &registered, &number) != RC_OK) {
    names_full_ = true;
    find(UNREADABLE, value, "a name more",
         "at most " + std::to_string(ATTRIBUTE_NAME_LIMIT) +
             " names of attributes in a file");
  } else if (registered != wanted) {
    find(UNREADABLE, value,
         "values of type " + std::to_string(static_cast<int>(wanted)),
         "type " + std::to_string(static_cast<int>(registered)) +
             ", as where the name stood first");
  }
}

void Checker::key(const CompiledValue& value) {
  if ((events_ & EVENT_KEY) != 0) return;
  // Without KEY it is that of the first event: 1 for BUTTON, 0 for others.
  const bool may_be_one = (events_ & EVENT_BUTTON) != 0;
  const bool may_be_zero = (events_ & ~uint32_t{EVENT_BUTTON}) != 0;
  if ((value.number == 1 && may_be_one) || (value.number == 0 && may_be_zero))
    return;
  find(UNSOUND, value,
       may_be_one && may_be_zero ? "0 or 1"
       : may_be_one              ? "1"
                                 : "0: no event is a KEY");
}

void Checker::mask_field(const CompiledValue& value) {
  const uint32_t number = value.number;
  const uint8_t type = types_.empty() ? uint8_t{0} : types_.back();
  switch (value.field) {
    case CompiledField::OBJECT_TYPE: object_type(value); break;
    case CompiledField::OBJECT_NAME:
      if (value.text.size() >= MASK_NAME_BYTES)
        find(UNREADABLE, value,
             "at most " + std::to_string(MASK_NAME_BYTES - 1) + " characters");
      else if (types_.size() == 1 &&
               !editors_.emplace(std::string(value.text)).second)
        find(UNSOUND, value, "a name that no editor before it has");
      break;
    case CompiledField::ATTRIBUTE_COUNT:
      require(number <= ATTRIBUTE_LIMIT, UNSOUND, value,
              "at most " + std::to_string(ATTRIBUTE_LIMIT));
      break;
    case CompiledField::ATTRIBUTE_TYPE:
      type_ = number;
      require(number == 1 || number == 4, UNSOUND, value,
              "1 integer or 4 text");
      break;
    case CompiledField::ATTRIBUTE_NAME: attribute_name(value); break;
    case CompiledField::ATTRIBUTE_TEXT:
      require(value.absent || !value.text.empty(), UNSOUND, value,
              "no text in the place of an empty one");
      break;
    case CompiledField::HANDLER_COUNT:
      if (number > 0 && !CompiledMayHandle(type))
        find(UNSOUND, value, "0: a " + ObjectName(type) + " has no handlers");
      else
        require(number <= HANDLER_LIMIT, UNSOUND, value,
                "at most " + std::to_string(HANDLER_LIMIT));
      break;
    case CompiledField::HANDLER_KIND:
      require(number == 1 || number == 2, UNSOUND, value,
              "1 attributes or 2 program");
      break;
    case CompiledField::HANDLER_EVENTS:
      events_ = number;
      require(number != 0 && (number & ~EVENTS) == 0, UNSOUND, value,
              "events, which are bits of " + std::to_string(EVENTS));
      break;
    case CompiledField::HANDLER_KEY: key(value); break;
    default: break;
  }
}

// Trees -----------------------------------------------------------------------

void Checker::no_body(const CompiledValue& value) {
  if (walk->sub() >= 0)
    find(UNSOUND, value, "no body", "the body of the SUB");
  else if (owner_ == Owner::HANDLER)
    find(UNSOUND, value, "no body", "the body of the handler");
}

// One of the fields of a node, 0 for its kind.
CompiledValue Checker::field_of(const CompiledNode& node, int number) const {
  CompiledValue values[COMPILED_NODE_FIELDS];
  (void)CompiledNodeValues(walk->transport(), node, values);
  return values[number];
}

bool IsOperator(uint8_t op) {
  switch (op) {
#define MC_OPERATOR(number, name, token, text) case number:
#include "elut/syntax/operators.def"
#undef MC_OPERATOR
    return op != MC_RANGE;
  }
  return false;
}

// The operator of an OPERA; in a CASE it belongs to a label.
void Checker::check_operator(const CompiledNode& node, bool in_case) {
  const uint8_t op = McNode{0, node.payload}.op();
  if (!in_case) {
    if (!IsOperator(op))
      find(UNSOUND, field_of(node, 1), "an operator, 1 to 7 or 16 to 23");
  } else if (op != MC_RANGE && (op < MC_EQUAL || op > MC_LESS_EQUAL)) {
    find(UNSOUND, field_of(node, 1), "a comparison, 16 to 21, or 32 TO");
  }
}

// What the payload of a node refers to.
void Checker::refer(const CompiledNode& node, Kinds context, uint8_t state) {
  const McNode bits = {0, node.payload};
  // Asked for only when something is wrong: most nodes are as they should be.
  const auto first = [&] { return field_of(node, 1); };
  const auto second = [&] { return field_of(node, 2); };
  switch (node.kind) {
    case VAR:
    case REFVAR: {
      // The tables of the main program stand behind its body.
      if (walk->sub() < 0 && !tables().complete) break;
      const CompiledTables::Range* table =
          tables().scope(routine(), bits.scope());
      if (table == nullptr) {
        std::string expected = "2 variables";
        if (walk->sub() >= 0) expected += ", 3 parameters";
        const uint32_t commons = routine().commons.count;
        if (commons > 0)
          expected +=
              ", 16 to " + std::to_string(15 + commons) + " COMMON blocks";
        find(UNREADABLE, first(), std::move(expected));
      } else if (bits.index() >= table->count) {
        find(UNREADABLE, second(),
             table->count == 0 ? "no variable: the table has none"
                               : UpTo(table->count));
      }
      break;
    }
    case REAL:
    case STRING: {
      const auto type = static_cast<uint8_t>(
          node.kind == REAL ? McValueType::REAL : McValueType::STRING);
      const auto& constants = tables().constants;
      if (bits.number() < constants.size() &&
          constants[bits.number()].type == type)
        break;
      find(UNREADABLE, first(),
           std::string("the number of a ") +
               MC_KIND_NAMES[static_cast<int>(node.kind)] + " constant, of " +
               std::to_string(constants.size()) + " constants");
      break;
    }
    case FUNC:
      if (bits.scope() >= MC_BUILTIN_COUNT)
        find(UNSOUND, first(), UpTo(MC_BUILTIN_COUNT));
      if (bits.index() != bits.scope())
        find(UNSOUND, second(), "the number of the function again");
      break;
    case CALL: {
      if (!tables().complete) break;
      if (bits.scope() >= tables().calls.size()) {
        find(UNREADABLE, first(),
             "the number of a call, of " +
                 std::to_string(tables().calls.size()));
        break;
      }
      const auto kind = static_cast<uint8_t>(tables().calls[bits.scope()].kind &
                                             (EXTERNAL_CALL - 1));
      const bool statement = (context & EXPRESSION) != EXPRESSION;
      if (statement && kind == static_cast<uint8_t>(McCallKind::FN))
        find(UNSOUND, first(), "an FN routine", "a SUB or CFN in a statement");
      if (!statement && kind == static_cast<uint8_t>(McCallKind::SUB))
        find(UNSOUND, first(), "a SUB", "FN or CFN in an expression");
      break;
    }
    case EXTERN: {
      const auto& slots = tables().slots;
      if (bits.number() < slots.size() &&
          slots[bits.number()].references != 0 &&
          (!slots[bits.number()].text.is_absent())) {
        uses_[bits.number()]++;
        break;
      }
      find(UNREADABLE, first(),
           "a slot in use, of " + std::to_string(slots.size()));
      break;
    }
    case OPERA: return check_operator(node, (state & IN_CASE) != 0);
    case ASSIGN:
      if (bits.op() > LAST_ASSIGNMENT)
        find(UNSOUND, first(), "0 =, 1 +=, 2 -=, 3 /= or 4 *=");
      break;
    case UNARY:
      if (bits.op() > MC_NEGATE)
        find(UNSOUND, first(), "0 value, 1 plus or 2 minus");
      break;
    case TRACE:
      if (bits.number() == 0 || bits.number() > INT32_MAX)
        find(UNSOUND, first(), "a line, 1 or more");
      break;
    case REFER:
      if (bits.scope() > 2) find(UNSOUND, first(), "0 X, 1 Y or 2 Z");
      break;
    case EXTIND:
      if (SIGILS.find(static_cast<char>(bits.op())) == std::string_view::npos)
        find(UNSOUND, first(), "36 $, 37 %, 38 & or 64 @");
      break;
    default: break;
  }
}

inline void Checker::children_end(McNodeKind kind, uint8_t state,
                                  uint64_t offset) {
  if (STATES.may_end[in_masks()][static_cast<unsigned>(kind)][state]) [[likely]]
    return;
  walk->trouble(UNSOUND, offset, CompiledName(CompiledField::NODE_END),
                "the end of the children", NamesOf(NextChild(kind, state)));
}

void Checker::node(const CompiledNode& node) {
  const auto& kinds = walk->kinds();
  Kinds context = BODY;  // what may stand here
  McNodeKind parent = EMPTY;
  if (states_.empty()) {
    if (walk->sub() < 0) {
      main_body_ = true;
      if (owner_ == Owner::MODULE)
        walk->trouble(UNSOUND, node.offset,
                      CompiledName(CompiledField::NODE_KIND), "a body",
                      "none: a MODULE block has no statements");
    }
  } else {
    parent = static_cast<McNodeKind>(kinds.end()[-2]);
    uint8_t& state = states_.back();
    context = STATES.next[static_cast<unsigned>(parent)][state];
    if ((state & CHILDREN) != CHILDREN) state++;
    if (node.kind == REFER ||
        (parent == SELECT && node.kind != CASE && (state & CHILDREN) > 1))
      state |= CLOSED;
  }
  if ((context >> static_cast<unsigned>(node.kind) & 1) == 0)
    walk->trouble(UNSOUND, node.offset, CompiledName(CompiledField::NODE_KIND),
                  MC_KIND_NAMES[static_cast<int>(node.kind)], NamesOf(context));
  uint8_t state = FirstState(parent, node);
  if (node.sound) refer(node, context, state);
  if (node.leaf)
    children_end(node.kind, state, node.offset + node.length);
  else
    states_.push_back(state);
}

void Checker::node_end(const CompiledValue& end) {
  children_end(static_cast<McNodeKind>(walk->kinds().back()), states_.back(),
               end.offset);
  states_.pop_back();
}

}  // namespace

namespace {

// A value may be judged both by the rules of compilers and by what the layout
// can go on with: of those findings only the graver one is passed on.
class OncePerField {
 public:
  explicit OncePerField(const CompiledReport& report) : report_(report) {}

  void report(const CompiledTrouble& trouble) {
    if (waiting_ && trouble.offset == latest_.offset &&
        trouble.path == latest_.path) {
      if (trouble.grade == CompiledGrade::UNREADABLE &&
          latest_.grade != CompiledGrade::UNREADABLE)
        latest_ = trouble;
      return;
    }
    finish();
    latest_ = trouble;
    waiting_ = true;
  }
  void finish() {
    if (waiting_) report_(latest_);
    waiting_ = false;
  }

 private:
  const CompiledReport& report_;
  CompiledTrouble latest_;
  bool waiting_ = false;
};

}  // namespace

bool CompiledMayContain(uint8_t outer, uint8_t inner) {
  return outer < MASK_TYPE_COUNT && inner < MASK_TYPE_COUNT &&
         (OBJECT_RULES[outer].inner >> inner & 1) != 0;
}

bool CompiledMayHandle(uint8_t type) {
  return type < MASK_TYPE_COUNT && OBJECT_RULES[type].handlers;
}

bool CompiledMayHaveModule(uint8_t type) {
  return type < MASK_TYPE_COUNT && OBJECT_RULES[type].module;
}

void CompiledCheck(std::string_view file, const CompiledReport& report) {
  OncePerField once(report);
  const CompiledReport through = [&](const CompiledTrouble& trouble) {
    once.report(trouble);
  };
  Checker checker(through);
  CompiledWalk walk(file, &checker);
  (void)walk.run();
  once.finish();
}
