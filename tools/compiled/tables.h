// The tables of a program in a compiled file: what the numbers in its trees
// refer to, collected in a walk of its own, since many of them stand behind the
// trees.
//
// Names stay in the file: a table only knows where.
#pragma once

#include <string_view>

#include "tools/compiled/walk.h"

// A text in the file.
struct CompiledText {
  static constexpr uint32_t ABSENT = 0xFFFFFFFF;
  uint32_t at = 0;
  uint32_t length = ABSENT;

  bool is_absent() const { return length == ABSENT; }
  std::string_view in(std::string_view file) const {
    return is_absent() ? std::string_view() : file.substr(at, length);
  }
};

struct CompiledTables {
  struct Slot {
    uint32_t references;
    uint32_t at;        // of its record in the file
    CompiledText text;  // absent: it has none, or one that is not in the buffer
  };
  struct Constant {
    CompiledText text;  // of a STRING
    uint32_t at;        // of the value of a REAL
    uint8_t type;       // McValueType
  };
  struct Variable {
    CompiledText name;
    uint8_t type;
    uint8_t storage;
    uint8_t dimensions;
  };
  // Entries in the table of all variables, or of all COMMON blocks.
  struct Range {
    uint32_t first = 0;
    uint32_t count = 0;
  };
  struct Common {
    CompiledText name;
    Range variables;
  };
  struct Routine {
    CompiledText name;
    Range locals;
    Range parameters;
    Range commons;
  };
  struct Call {
    CompiledText name;
    uint16_t sub;  // of a bound one
    uint8_t kind;  // as in the file
  };

  // The main program for -1, else the SUB of that number.
  const Routine& routine(int64_t sub) const {
    return sub < 0 ? main : subs[static_cast<size_t>(sub)];
  }
  // The table that a scope selects in a routine; nullptr when there is none.
  const Range* scope(const Routine& routine, uint32_t scope) const;
  // A variable of a routine, or nullptr.
  const Variable* variable(const Routine& routine, uint32_t scope,
                           uint32_t index) const;
  // The name of a call: that of its SUB when it is bound.
  CompiledText call_name(const Call& call) const;

  bool complete = false;   // the walk got to the end of the program
  bool body_read = false;  // it got behind the main body
  uint32_t nodes = 0;      // of the main body
  CompiledText buffer;     // of the string pool; absent: not read, or none
  UtVector<Slot> slots;
  UtVector<Constant> constants;
  UtVector<Variable> variables;
  UtVector<Common> commons;
  UtVector<Routine> subs;
  UtVector<Call> calls;
  Routine main;
};

// Collects the tables of the program that a walk goes through.
class CompiledCollector : public CompiledSink {
 public:
  explicit CompiledCollector(CompiledTables* tables) : tables_(tables) {}
  bool wants_tables() const override { return false; }
  bool wants_nodes() const override { return false; }
  void begin(CompiledRecord record) override;
  void end(CompiledRecord record) override;
  void value(const CompiledValue& value) override;

 private:
  template <class Table>
  void reserve(Table* table, const CompiledValue& count);
  void place_slots(const CompiledValue& buffer);
  CompiledTables::Routine& routine() {
    return in_sub_ ? tables_->subs.back() : tables_->main;
  }

  CompiledTables* tables_;
  bool in_sub_ = false;
  CompiledTables::Range* table_ = nullptr;  // that is being filled
};
