// A walk over the bytes of a compiled file: every field in the order of the
// file, with its place, its name and its value.
//
// The walk is the one description of the files that all tools share; what they
// do with a field is up to their sink. It covers every byte from the first one
// up to where it ends, without a gap and without an overlap, and says nothing
// about whether a value makes sense, as long as it knows what comes next.
// Where it does not, or where bytes cannot be what a field of that type has, it
// reports trouble, and ends when it no longer knows where the next field
// begins.
//
// A path names a field:
//
//   subs[3].body/IF/ASSIGN/VAR.index
//   editors[0].objects[2].handlers[1].program.constants[4].value
//
// Records are joined by ".", nodes by "/". In the middle of a very long path
// "(n)" stands for n parts that are left out.
//
// Nothing recurses, and the walk takes one byte of memory per open node.
#pragma once

#include <string>
#include <string_view>

#include "elut/model/node.h"
#include "util/xd_header.h"

enum class CompiledType : uint8_t {
  MARK,
  BYTE,
  U8,
  I8,
  U16,
  U32,
  I32,
  F64,
  TEXT,
  BLOCK,
};

enum class CompiledField : uint8_t {
#define COMPILED_FIELD(id, name, type) id,
#include "tools/compiled/fields.def"
#undef COMPILED_FIELD
};

// The last part of a field's path, and its type.
const char* CompiledName(CompiledField field);
CompiledType CompiledTypeOf(CompiledField field);
const char* CompiledTypeName(CompiledType type);  // "u16"

// What a field is part of. A table contains its count and its entries.
enum class CompiledRecord : uint8_t {
  HEADER,
  PROGRAM,  // from its string pool on: its presence stands in front of it
  POOL,
  SLOT,
  IMPORTS,
  IMPORT,
  CONSTANTS,
  CONSTANT,
  TREE,
  VARIABLES,  // the table of the main program
  LOCALS,
  PARAMETERS,
  COMMON_VARIABLES,
  VARIABLE,
  COMMONS,
  COMMON,
  SUBS,
  SUB,
  CALLS,
  CALL,
  EDITORS,
  OBJECT,
  ATTRIBUTES,
  ATTRIBUTE,
  HANDLERS,
  HANDLER,
};

struct CompiledValue {
  CompiledField field;
  uint64_t offset;             // of the field in the file
  uint64_t length;             // its bytes
  uint32_t number = 0;         // of an integer; the bits of a signed one
  double real = 0;             // F64
  std::string_view text = {};  // TEXT, BLOCK: the characters, in the file
  bool absent = false;         // TEXT: there is none
  bool sound = true;           // trouble was reported with it otherwise
};

// A node up to its children. A leaf's end of its children, one more field,
// directly follows it and belongs to it.
struct CompiledNode {
  McNodeKind kind;
  bool leaf;
  bool sound;
  uint32_t payload;  // as in McNode
  uint64_t offset;
  uint32_t length;  // without the end of a leaf
};

// The fields of a node, at most three, and for a leaf a NODE_END behind them;
// returns how many there are.
inline constexpr int COMPILED_NODE_FIELDS = 4;
int CompiledNodeValues(XdTransport transport, const CompiledNode& node,
                       CompiledValue* values);

// What is wrong.
enum class CompiledGrade : uint8_t {
  UNREADABLE,  // no reader takes the file
  UNSOUND,     // it can be read, but no compiler writes it
};

struct CompiledTrouble {
  CompiledGrade grade;
  uint64_t offset;
  std::string path;
  std::string found;
  std::string expected;
};

class CompiledWalk;
struct CompiledTables;

// Receives what a walk comes across. What is not asked for is ignored.
class CompiledSink {
 public:
  CompiledSink() = default;
  CompiledSink(const CompiledSink&) = delete;
  CompiledSink& operator=(const CompiledSink&) = delete;
  virtual ~CompiledSink() = default;

  // True: the tables of each program are collected before it is walked, so that
  // names are known in front of the tables that hold them.
  virtual bool wants_tables() const { return true; }
  // False: the nodes of trees are passed over.
  virtual bool wants_nodes() const { return true; }

  virtual void begin(CompiledRecord) {}
  virtual void end(CompiledRecord) {}
  virtual void value(const CompiledValue&) {}
  // A node, and the end of its children unless it is a leaf.
  virtual void node(const CompiledNode&) {}
  virtual void node_end(const CompiledValue&) {}
  virtual void trouble(const CompiledTrouble&) {}

  const CompiledWalk* walk = nullptr;  // set by the walk
};

class CompiledWalk {
 public:
  // The nodes of a path that has all its parts.
  static constexpr size_t SHOWN_NODES = 16;
  // Those at each end of a longer one.
  static constexpr size_t SHOWN_ENDS = 4;

  // Both outlive the walk; files have less than UT_LARGEST_FILE bytes.
  CompiledWalk(std::string_view file, CompiledSink* sink);
  CompiledWalk(const CompiledWalk&) = delete;
  CompiledWalk& operator=(const CompiledWalk&) = delete;

  // Walks through the file. Returns whether all of it could be walked through;
  // the rest begins at position(). Throws bad_alloc.
  bool run();

  std::string_view file() const { return file_; }
  uint64_t position() const {
    return xd_.offset + static_cast<uint64_t>(xd_.next - xd_.start);
  }
  XdTransport transport() const { return xd_.transport; }
  const XdHeader& header() const { return header_; }

  // Where the walk is. The index of the innermost record that has one; and the
  // tables of the program, valid up to the end of its record.
  uint32_t index() const;
  const CompiledTables* tables() const { return tables_; }
  // The number of the SUB of the program that it is in, or -1.
  int64_t sub() const { return sub_; }
  // Nodes around the one that was passed on last, and their kinds, that one's
  // included.
  const UtVector<uint8_t>& kinds() const { return kinds_; }

  // A number that changes whenever the path of the record does.
  uint64_t record_changes() const { return changes_; }
  // Appends the path of a field, or of the record that the walk is in.
  void append_path(std::string* path) const;
  void append_path(std::string* path, CompiledField field) const;

  uint64_t nodes_so_far() const { return nodes_; }

  // Passes trouble with a field on to the sink.
  void trouble(CompiledGrade grade, const CompiledValue& value,
               std::string found, std::string expected) const;
  void trouble(CompiledGrade grade, uint64_t offset, const char* name,
               std::string found, std::string expected) const;

 private:
  struct Step {
    const char* name;
    int64_t index;  // -1: none
  };

  uint64_t left() const { return XdRemaining(&xd_); }
  void enter(const char* name);
  void set_index(uint32_t index);
  bool leave();  // always true
  template <class Entry>
  bool entries(CompiledRecord record, uint32_t count, Entry entry);

  // Items.
  bool cut_off(CompiledField field, uint64_t bytes);
  bool number(CompiledField field, uint32_t* value);
  bool code(CompiledField field, uint32_t* value, uint32_t first,
            uint32_t last);
  bool count(CompiledField field, uint32_t* value, uint64_t entry_bytes);
  bool real(CompiledField field);
  bool text(CompiledField field, bool may_be_absent = true);
  bool characters(CompiledValue* value);

  // Records.
  bool header();
  bool program_or_none();
  bool program();
  bool record();
  bool pool();
  bool slot(bool own_text);
  bool imports();
  bool constants();
  template <XdTransport TRANSPORT>
  bool item(CompiledNode* node, int number, unsigned width, uint32_t* value);
  template <XdTransport TRANSPORT>
  bool sound_payload(CompiledNode* node);
  template <XdTransport TRANSPORT>
  bool payload(CompiledNode* node);
  template <XdTransport TRANSPORT>
  bool nodes();
  template <XdTransport TRANSPORT>
  bool skip_nodes();
  bool tree();
  bool variable();
  bool variables(CompiledRecord record, const char* name);
  bool commons();
  bool subs();
  bool call();
  bool calls();
  bool attribute();
  bool attributes();
  bool handler();
  bool handlers();
  bool object();
  bool editor();
  bool editors();

  // For the walk ahead of another one, in the same file.
  void go_on_behind(const CompiledWalk& other);

  std::string_view file_;
  CompiledSink* sink_;
  XdStream xd_;
  XdHeader header_ = {};
  UtVector<Step> steps_;
  uint64_t changes_ = 0;  // of the steps
  UtVector<uint8_t> kinds_;
  uint64_t nodes_ = 0;  // that were walked through
  const CompiledTables* tables_ = nullptr;
  int64_t sub_ = -1;
};
