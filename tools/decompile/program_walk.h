// The walk over a program, in the order of its source.
//
// Expressions may be chains of a million operators, so nothing here calls
// itself: what is still to come lies on a stack of its own, in which a node
// with operands leaves the parts of itself that are not written yet.
#ifndef TOOLS_DECOMPILE_PROGRAM_WALK_H
#define TOOLS_DECOMPILE_PROGRAM_WALK_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/decompile/unparse.h"

// What a program stands in, which decides how its parts are arranged.
enum class ProgramFrame : uint8_t {
  ALONE,    // PROGRAM or MODULE
  HANDLER,  // EXECUTE { ... } of a mask
  MODULE,   // MODULE { ... } of a mask
};

// True for what the scanner takes for an identifier.
bool IsIdentifier(McTokenStrings* words, std::string_view text);

// True for the name of an external variable, its sigil included.
bool IsExternalName(std::string_view text);

class ProgramWalk {
 public:
  // `layout` is nullptr for the survey. `in` outlives the walk.
  ProgramWalk(Unparsing* in, Layout* layout) : in_(in), layout_(layout) {}

  void run(const McProgram& program, ProgramFrame frame);

 private:
  // A step that is still to be done.
  enum class Step : uint8_t {
    STATEMENTS,      // a list: a BLOCK, or a single statement
    NEXT_STATEMENT,  // statements from `node` on, up to `end`
    STATEMENT,
    CASES,      // the branches of a SELECT from `node` on, up to `end`
    ELSE,       // the statements of CASE ELSE
    LABELS,     // of a CASE, from `node` on, up to `end`
    ALLOCATED,  // variables from `node` on, up to `end`
    DIMS,       // bounds from `node` on, up to `end`
    EXPRESSION,
    LIST,       // expressions from `node` on, up to `end`
    ARGUMENTS,  // the same, whole arrays among them
    RIGHT,      // the operator of `node`, and `end` as its right operand
    VALUE,      // the operator of the ASSIGN `node`, and `end` as its value
    MEMBERS,    // coordinates from `node` on, up to `end`
    MISSING,    // an operand that is none
    AFTER,      // a place for statements in error, behind a single statement
    CALLED,     // the routine of the CALL `node` is in the table by now
    TEXT,
    LINE,  // `text` on a line of its own
    INDENT,
    DEDENT,
  };
  struct Todo {
    Step step;
    uint8_t binding = 0;    // EXPRESSION: operators looser than it need ( )
    bool followed = false;  // EXPRESSION: an operator stands behind it;
                            // ALLOCATED: with bounds
    bool flag = false;      // lists: not the first one
    McNodeRef node = 0;
    McNodeRef end = 0;  // TEXT, LINE: number of the text
  };
  struct Name {
    const char* text;
    uint32_t length;
    bool found;  // by its name: no other variable of that name hides it
    std::string_view view() const { return {text, length}; }
  };

  [[noreturn]] void refuse(const std::string& what) const;
  bool writes() const { return layout_ != nullptr; }

  // Text.
  void put(std::string_view text) {
    if (writes()) layout_->put(text);
  }
  void blank() {
    if (writes()) layout_->blank();
  }
  void line() {
    if (writes()) layout_->line();
  }
  void line(std::string_view text) {
    line();
    put(text);
  }
  void paragraph() {
    if (writes()) layout_->paragraph();
  }
  void indent() {
    if (writes()) layout_->indent();
  }
  void outdent() {
    if (writes()) layout_->outdent();
  }
  void begin_part(TextPart part, std::string_view name) {
    if (writes()) layout_->begin_part(part, name);
  }
  void end_part() {
    if (writes()) layout_->end_part();
  }
  void place();
  void place_entries();
  void note_constants();
  void begin_statement(const McNode* trace);

  // Parts of a program.
  void imports();
  void import_names(size_t first, size_t end);
  void subs();
  void sub(const McSub& sub);
  void main_body(const char* name);
  void parameters(const McVarTable& table);
  void enter(const McVarTable& locals, const McVarTable* parameters,
             const UtVector<McCommon>& commons);
  void enter_table(const McVarTable& table);
  const Name& name_of(uint32_t payload) const;
  std::string identifier(const char* text, const char* what);

  // Declarations.
  void declarations(const McVarTable& table, const UtVector<McCommon>& commons,
                    bool at_least_one);
  void variables(const McVarTable& table);
  void declarator(const McVar& variable);
  std::string range(const McVar& variable);
  std::string real_bound(double value, bool may_flush);
  std::string strange_nan(double value) const;
  bool is_constant(double value, bool may_flush);
  void close_declaration();

  // Entries that nothing uses.
  void use(EntryTable table, uint32_t index);
  void spot(EntrySpot kind);
  bool is_due(EntryTable table) const;
  bool is_due() const;
  bool unused(EntryTable table, uint32_t from, uint32_t to) const;
  void flush_declared(EntryTable table, uint32_t to);
  void flush_spot(EntrySpot kind);
  void put_unused(EntryTable table, uint32_t index, uint32_t count,
                  EntrySpot kind);
  void put_in_error(EntryTable table, uint32_t index);
  bool item_spot(bool behind_others);
  std::string entry(EntryTable table, uint32_t index);

  // Trees.
  void body(const McTree& tree);
  void run_steps();
  // On the stack a step is two words, which are put together in registers: a
  // word that is read waits until all the bytes in it are written.
  struct Packed {
    uint64_t first, end;
  };
  void push(const Todo& todo) {
    todo_.push_back({static_cast<uint64_t>(todo.step) |
                         uint64_t{todo.binding} << 8 |
                         uint64_t{todo.followed} << 16 |
                         uint64_t{todo.flag} << 24 | uint64_t{todo.node} << 32,
                     todo.end});
  }
  Todo pop() {
    const Packed packed = todo_.back();
    todo_.pop_back();
    return {static_cast<Step>(packed.first & 0xFF),
            static_cast<uint8_t>(packed.first >> 8 & 0xFF),
            (packed.first >> 16 & 1) != 0,
            (packed.first >> 24 & 1) != 0,
            static_cast<McNodeRef>(packed.first >> 32),
            static_cast<McNodeRef>(packed.end)};
  }
  void push_text(const char* text) {
    push({.step = Step::TEXT, .end = number_of(text)});
  }
  void push_line(const char* text) {
    push({.step = Step::LINE, .end = number_of(text)});
  }
  // The few texts that steps leave behind, which live as long as the program.
  uint32_t number_of(const char* text) {
    for (uint32_t i = 0; i < texts_.size(); i++)
      if (texts_[i] == text) return i;
    texts_.push_back(text);
    return static_cast<uint32_t>(texts_.size()) - 1;
  }
  void statements(McNodeRef node);
  void statement(McNodeRef node);
  void next_statement(const Todo& todo);
  void expression(const Todo& todo);
  void variable(McNodeRef node);
  void members(const Todo& todo);
  void list(const Todo& todo, bool references);
  void operation(const Todo& todo);
  void assignment(const Todo& todo);
  void unary(const Todo& todo);
  void function(McNodeRef node);
  void call(McNodeRef node, bool is_statement);
  void no_arguments();
  void broken(unsigned parts, const char* before, const char* after);
  void push_operand(const McNodeRef (&child)[3], unsigned count, unsigned i,
                    Todo todo);
  void missing();
  void cases(const Todo& todo);
  void labels(const Todo& todo);
  void allocated(const Todo& todo);
  void dims(const Todo& todo);
  std::string_view variable_name(McNodeRef node) const;
  void put_constant(const McConstant& constant);
  std::string call_name(uint32_t index);

  const McNode& at(McNodeRef node) const { return (*nodes_)[node]; }
  bool is_leaf(McNodeRef node) const { return at(node).is_leaf(); }
  McNodeRef first(McNodeRef node) const {
    return is_leaf(node) ? node : nodes_->first_child(node);
  }
  McNodeRef next(McNodeRef child) const { return nodes_->next_child(child); }
  // The children of a node, of which there must be so many.
  unsigned children(McNodeRef node, McNodeRef (&child)[3], unsigned least,
                    unsigned most) const;

  Unparsing* in_;
  Layout* layout_;
  const McProgram* program_ = nullptr;
  const McNodes* nodes_ = nullptr;
  std::string where_;  // for refusals

  // The variables of the current routine: locals, parameters, COMMON blocks.
  std::vector<Name> names_;
  size_t parameters_ = 0;        // where they begin
  std::vector<size_t> commons_;  // where each begins

  std::string unknown_;  // a name that the routine does not have

  Entries* entries_ = nullptr;
  uint32_t spot_ = 0;
  uint32_t next_[ENTRY_TABLES] = {};  // entry that is not there yet
  size_t next_block_[ENTRY_TABLES] = {};
  size_t next_extra_ = 0;
  McValueType declared_ = McValueType::VOID;  // type of the open declaration
  std::unordered_map<uint64_t, uint32_t> reals_;
  bool reals_known_ = false;
  std::string scratch_;
  std::vector<Packed> todo_;
  std::vector<const char*> texts_;
};

#endif
