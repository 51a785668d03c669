// A sink of the walk that prints lines as fields come. Whether an entry can be
// referred to by its name is found out once per program, for each table with an
// index of its names that goes again.
#include <cmath>
#include <cstring>

#include "Cutil/ut_hash.h"
#include "Cutil/ut_index.h"
#include "elut/compile/builtins.h"
#include "elut/files/program_file.h"
#include "elut/model/mask_objects.h"
#include "elut/model/program.h"
#include "tools/compiled/assembly.h"
#include "tools/compiled/meaning.h"
#include "tools/compiled/tables.h"

namespace {

constexpr size_t DEEPEST_INDENT = 24;

// A reference shows names up to this length: the same one may be referred to a
// million times.
constexpr size_t LONGEST_NAME = 60;

// Which entries of a table have a name that no other one has.
class UniqueNames {
 public:
  // `key(i)` is the name of entry i; one that is absent has none. What is known
  // about the entries in front of `first` stays.
  template <class Key>
  void add(uint32_t first, uint32_t count, Key key) {
    unique_.resize(first + count, 0);
    if (count == 0) return;
    UtIndex<UtNumbered> index;
    for (uint32_t i = first; i < first + count; i++) {
      const KeyText text = key(i);
      if (text.absent) continue;
      index.make_room();
      const uint32_t hash = UtHash(text.bytes.data(), text.bytes.size());
      UtNumbered* slot = index.slot(hash, [&](const UtNumbered& entry) {
        return entry.hash == hash && key(entry.number()).bytes == text.bytes &&
               key(entry.number()).sort == text.sort;
      });
      if (slot->empty()) {
        index.fill(slot, UtNumbered(hash, i));
        unique_[i] = text.bytes.size() <= LONGEST_NAME;
      } else {
        unique_[slot->number()] = 0;
      }
    }
  }
  void clear() { unique_.clear(); }
  bool operator[](uint32_t number) const { return unique_[number] != 0; }

  struct KeyText {
    std::string_view bytes;
    bool absent;
    uint8_t sort;  // entries of different sorts may share a name
  };

 private:
  UtVector<uint8_t> unique_;
};

class Disassembler : public CompiledSink {
 public:
  Disassembler(std::string_view file, ToolOutput* out)
      : file_(file), out_(out) {}

  void begin(CompiledRecord record) override;
  void end(CompiledRecord record) override;
  void value(const CompiledValue& value) override;
  void node(const CompiledNode& node) override;
  void node_end(const CompiledValue&) override { close(); }

 private:
  const CompiledTables& tables() const { return *walk->tables(); }
  const CompiledTables::Routine& routine() const {
    return tables().routine(walk->sub());
  }
  bool in_masks() const { return walk->header().kind == XD_KIND_MASK; }

  // Lines.
  void line() { out_->indent(2 * std::min(depth_, DEEPEST_INDENT)); }
  void word(std::string_view text) {
    line();
    out_->put(text);
  }
  void open() {
    out_->put(" {\n");
    depth_++;
  }
  void open(std::string_view text) {
    word(text);
    open();
  }
  void close() {
    depth_--;
    word("}\n");
  }
  void number_line(const char* name, uint32_t number) {
    word(name);
    out_->put(' ');
    out_->decimal(number);
    out_->put('\n');
  }
  void text(const char* in_front, const CompiledValue& value) {
    if (value.absent) return;
    out_->put(in_front);
    out_->quoted(value.text);
  }
  void real(double real);
  // A reference by name or by number, which a remark explains.
  void refer(bool by_name, uint32_t number, CompiledText name);
  void end_line();

  void begin_program();
  void header_field(const CompiledValue& value);
  void pool_field(const CompiledValue& value);
  void pool_line();
  void variable_field(const CompiledValue& value);
  void program_field(const CompiledValue& value);
  void call_field(const CompiledValue& value);
  void mask_field(const CompiledValue& value);
  void handler();
  void variable_reference(const McNode& bits);
  void constant(uint32_t number);

  std::string_view file_;
  ToolOutput* out_;
  size_t depth_ = 0;
  bool open_ = false;  // the block of a pool, a tree or a table was begun
  bool remark_ = false;
  CompiledText remark_text_;

  // Of the program.
  UniqueNames slots_, constants_, variables_, commons_, subs_, calls_;
  uint32_t pool_flags_ = 0;
  uint32_t slot_count_ = 0;
  uint64_t reserved_ = 0;
  uint64_t slot_reserved_ = 0;
  uint32_t references_ = 0;
  bool own_places_ = false;  // slots do not follow one another
  uint32_t used_ = 0;
  uint32_t common_ = 0;          // number of the next COMMON block
  const char* table_ = nullptr;  // of variables; nullptr: of a COMMON block
  uint32_t count_ = 0;
  uint32_t kind_ = 0;
  uint32_t storage_ = 0;
  uint32_t dimensions_ = 0;
  uint32_t flags_ = 0;

  // Of a mask file.
  size_t objects_ = 0;  // around
  uint32_t type_ = 0;
  bool in_handler_ = false;
  uint32_t handler_kind_ = 0;
  uint32_t events_ = 0;
  int32_t key_ = 0;
};

// A number is exact when it is read again; the bits of what is no number.
void Disassembler::real(double real) {
  if (std::isfinite(real)) return out_->real(real);
  uint64_t bits;
  memcpy(&bits, &real, sizeof bits);
  out_->put("0x");
  out_->hex(bits, 16);
}

void Disassembler::refer(bool by_name, uint32_t number, CompiledText name) {
  out_->put(' ');
  if (by_name) return out_->quoted(name.in(file_));
  out_->put('#');
  out_->decimal(number);
  remark_ = !name.is_absent();
  remark_text_ = name;
}

// Programs --------------------------------------------------------------------

void Disassembler::begin_program() {
  const CompiledTables& all = tables();
  const auto named = [&](CompiledText text, uint8_t sort = 0) {
    return UniqueNames::KeyText{text.in(file_), text.is_absent(), sort};
  };
  const auto whole = [&](UniqueNames* names, const auto& table, auto key) {
    names->clear();
    names->add(0, static_cast<uint32_t>(table.size()),
               [&](uint32_t i) { return key(table[i]); });
  };
  whole(&slots_, all.slots, [&](const auto& slot) { return named(slot.text); });
  whole(&constants_, all.constants, [&](const auto& constant) {
    if (!constant.text.is_absent()) return named(constant.text, constant.type);
    return UniqueNames::KeyText{file_.substr(constant.at, sizeof(double)),
                                false, constant.type};
  });
  whole(&subs_, all.subs, [&](const auto& sub) { return named(sub.name); });
  whole(&calls_, all.calls, [&](const auto& call) {
    return named(all.call_name(call), call.kind & 0x7F);
  });
  variables_.clear();
  commons_.clear();
  const auto part = [&](UniqueNames* names, const auto& table,
                        const CompiledTables::Range& range) {
    if (range.count == 0) return;
    names->add(range.first, range.count,
               [&](uint32_t i) { return named(table[i].name); });
  };
  // In the order of the file, so that no table is in front of one before it.
  const auto routine_names = [&](const CompiledTables::Routine& routine) {
    part(&variables_, all.variables, routine.locals);
    part(&variables_, all.variables, routine.parameters);
    for (uint32_t i = 0; i < routine.commons.count; i++)
      part(&variables_, all.variables,
           all.commons[routine.commons.first + i].variables);
    part(&commons_, all.commons, routine.commons);
  };
  routine_names(all.main);
  for (const CompiledTables::Routine& sub : all.subs) routine_names(sub);
  common_ = 0;
}

void Disassembler::begin(CompiledRecord record) {
  switch (record) {
    case CompiledRecord::PROGRAM: begin_program(); break;
    case CompiledRecord::POOL:
      open_ = own_places_ = false;
      reserved_ = 0;
      break;
    case CompiledRecord::TREE: open_ = false; break;
    case CompiledRecord::COMMON: {
      const CompiledText name = tables().commons[common_++].name;
      word("common");
      if (!name.is_absent()) {
        out_->put(' ');
        out_->quoted(name.in(file_));
      }
      open();
      break;
    }
    case CompiledRecord::VARIABLES: table_ = "variables"; break;
    case CompiledRecord::LOCALS: table_ = "locals"; break;
    case CompiledRecord::PARAMETERS: table_ = "parameters"; break;
    case CompiledRecord::COMMON_VARIABLES: table_ = nullptr; break;
    case CompiledRecord::HANDLER: in_handler_ = true; break;
    case CompiledRecord::OBJECT: objects_++; break;
    default: break;
  }
}

void Disassembler::end(CompiledRecord record) {
  switch (record) {
    case CompiledRecord::PROGRAM:
      if (in_masks()) close();
      break;
    case CompiledRecord::POOL:
    case CompiledRecord::TREE:
    case CompiledRecord::IMPORTS:
    case CompiledRecord::CONSTANTS:
    case CompiledRecord::VARIABLES:
    case CompiledRecord::LOCALS:
    case CompiledRecord::PARAMETERS:
    case CompiledRecord::CALLS:
      if (open_) close();
      open_ = false;
      break;
    case CompiledRecord::IMPORT:
    case CompiledRecord::VARIABLE: out_->put('\n'); break;
    case CompiledRecord::COMMON:
    case CompiledRecord::SUB: close(); break;
    case CompiledRecord::HANDLER:
      in_handler_ = false;
      if (handler_kind_ == 1) close();
      break;
    case CompiledRecord::OBJECT:
      objects_--;
      close();
      break;
    default: break;
  }
}

void Disassembler::value(const CompiledValue& value) {
  if (value.field <= CompiledField::RESERVED) return header_field(value);
  if (value.field >= CompiledField::EDITOR_COUNT) return mask_field(value);
  if (value.field >= CompiledField::CALL_COUNT) return call_field(value);
  if (value.field >= CompiledField::POOL_VERSION &&
      value.field <= CompiledField::TEXT_BUFFER)
    return pool_field(value);
  if (value.field >= CompiledField::VARIABLE_COUNT &&
      value.field <= CompiledField::BOUND_HIGH)
    return variable_field(value);
  program_field(value);
}

void Disassembler::header_field(const CompiledValue& value) {
  constexpr const char* KINDS[] = {"", "program", "module", "masks"};
  switch (value.field) {
    case CompiledField::FILE_KIND: kind_ = value.number; break;
    case CompiledField::MINOR_VERSION: count_ = value.number; break;
    case CompiledField::SUB_VERSION: flags_ = value.number; break;
    case CompiledField::TRANSPORT:
      out_->put("quillo-assembly 1\nfile ");
      out_->put(KINDS[kind_]);
      out_->put(value.number == XD_TRANSPORT_XDR ? " xdr\n" : " plain\n");
      if (count_ != XD_MINOR_VERSION) number_line("minor_version", count_);
      if (flags_ != XD_SUB_VERSION) number_line("sub_version", flags_);
      break;
    case CompiledField::RESERVED:
      if (value.number != 0) number_line("reserved", value.number);
      break;
    default: break;
  }
}

void Disassembler::pool_line() {
  if (!open_) open("pool");
  open_ = true;
}

void Disassembler::pool_field(const CompiledValue& value) {
  const uint32_t number = value.number;
  const auto unless = [&](uint64_t expected, const char* name) {
    if (number == expected) return;
    pool_line();
    number_line(name, number);
  };
  switch (value.field) {
    case CompiledField::SLOT_COUNT: slot_count_ = number; break;
    case CompiledField::POOL_FLAGS:
      pool_flags_ = number;
      unless(POOL_UNIQUE, "flags");
      break;
    case CompiledField::SLOT_REFERENCES:
      references_ = number;
      if (number != 0) break;
      pool_line();
      word("free\n");
      break;
    case CompiledField::SLOT_TEXT:
      pool_line();
      word("slot ");
      out_->decimal(references_);
      text(" ", value);
      out_->put('\n');
      break;
    case CompiledField::SLOT_RESERVED: slot_reserved_ = number; break;
    case CompiledField::SLOT_OFFSET:
      pool_line();
      word("slot ");
      out_->decimal(references_);
      out_->put(' ');
      out_->quoted(tables().slots[walk->index()].text.in(file_));
      if (number != reserved_) {
        own_places_ = true;
        out_->put(" at ");
        out_->decimal(number);
      }
      out_->put('\n');
      reserved_ += slot_reserved_;
      break;
    case CompiledField::REUSE_START:
      unless(slot_count_ == 0 ? 0 : slot_count_ - 1, "reuse_start");
      break;
    case CompiledField::UNUSED_START:
      unless(slot_count_, "unused_start");
      break;
    case CompiledField::TEXT_USED: used_ = number; break;
    case CompiledField::TEXT_CAPACITY:
      unless(used_ == 0
                 ? 0
                 : (uint64_t{used_} / POOL_TEXT_STEP + 1) * POOL_TEXT_STEP,
             "capacity");
      break;
    case CompiledField::TEXT_BUFFER:
      if (!own_places_ && value.text.size() == reserved_) break;
      pool_line();
      word("texts");
      text(" ", value);
      out_->put('\n');
      break;
    default: break;
  }
}

void Disassembler::variable_field(const CompiledValue& value) {
  const auto signed_number = [&](const char* in_front) {
    out_->put(in_front);
    out_->decimal(static_cast<int32_t>(value.number));
  };
  const auto real_number = [&](const char* in_front) {
    out_->put(in_front);
    real(value.real);
  };
  switch (value.field) {
    case CompiledField::VARIABLE_COUNT: count_ = value.number; break;
    case CompiledField::REQUIRED:
      if (table_ != nullptr && (count_ > 0 || value.number > 0)) {
        open(table_);
        open_ = true;
      }
      if (value.number > 0) number_line("required", value.number);
      break;
    case CompiledField::VARIABLE_TYPE: kind_ = value.number; break;
    case CompiledField::VARIABLE_STORAGE: storage_ = value.number; break;
    case CompiledField::DIMENSIONS: dimensions_ = value.number; break;
    case CompiledField::VARIABLE_FLAGS: flags_ = value.number; break;
    case CompiledField::VARIABLE_NAME:
      word(MC_TYPE_NAMES[kind_]);
      text(" ", value);
      if (storage_ != 0) {
        out_->put(' ');
        out_->put(MC_STORAGE_NAMES[storage_]);
      }
      if ((flags_ & HAS_DIMS) == 0 && dimensions_ > 0) {
        out_->put(" dims ");
        out_->decimal(dimensions_);
      }
      // The range comes first.
      if (flags_ == HAS_DIMS) out_->put(" bounds");
      break;
    case CompiledField::INTEGER_LOW: signed_number(" range "); break;
    case CompiledField::INTEGER_HIGH: signed_number(" "); break;
    case CompiledField::REAL_LOW: real_number(" range "); break;
    case CompiledField::REAL_HIGH: real_number(" "); break;
    case CompiledField::BOUND_LOW:
    case CompiledField::BOUND_HIGH: signed_number(" "); break;
    default: break;
  }
  if ((value.field == CompiledField::INTEGER_HIGH ||
       value.field == CompiledField::REAL_HIGH) &&
      flags_ == (HAS_RANGE | HAS_DIMS))
    out_->put(" bounds");
}

void Disassembler::program_field(const CompiledValue& value) {
  switch (value.field) {
    case CompiledField::PRESENCE:
      if (!in_masks()) break;
      if (in_handler_)
        handler();
      else if (value.number != 0)
        word("module");
      if (value.number != 0)
        open();
      else if (in_handler_)
        out_->put(" none\n");
      break;
    case CompiledField::PROGRAM_NAME:
      if (value.absent) break;
      word("name");
      text(" ", value);
      out_->put('\n');
      break;
    case CompiledField::IMPORT_COUNT:
      if (value.number == 0) break;
      open("imports");
      open_ = true;
      break;
    case CompiledField::IMPORT_KIND:
      kind_ = value.number;
      word((kind_ & 0x7F) == MC_IMPORT_MACRO ? "macro" : "csub");
      break;
    case CompiledField::IMPORT_NAME: text(" ", value); break;
    case CompiledField::IMPORT_SOURCE:
      if ((kind_ & MC_IMPORT_FILE) != 0) out_->put(" file");
      text((kind_ & MC_IMPORT_FILE) != 0 ? " " : " from ", value);
      break;
    case CompiledField::IMPORT_MODULE: text(" module ", value); break;
    case CompiledField::CONSTANT_COUNT:
      if (value.number == 0) break;
      open("constants");
      open_ = true;
      break;
    case CompiledField::CONSTANT_REAL:
      word("real ");
      real(value.real);
      out_->put('\n');
      break;
    case CompiledField::CONSTANT_TEXT:
      word("string");
      text(" ", value);
      out_->put('\n');
      break;
    case CompiledField::NODE_COUNT:
      if (value.number != tables().nodes) number_line("nodes", value.number);
      break;
    case CompiledField::SUB_NAME:
      word("sub");
      text(" ", value);
      open();
      break;
    default: break;
  }
}

void Disassembler::call_field(const CompiledValue& value) {
  constexpr const char* KINDS[] = {"", "sub", "fn", "cfn"};
  switch (value.field) {
    case CompiledField::CALL_COUNT:
      if (value.number == 0) break;
      open("calls");
      open_ = true;
      break;
    case CompiledField::CALL_KIND: {
      const auto sort = static_cast<McCallKind>(value.number & 0x7F);
      const bool external = (value.number & 0x80) != 0;
      line();
      if (external) out_->put("external ");
      out_->put(KINDS[static_cast<int>(sort)]);
      break;
    }
    case CompiledField::CALL_NAME:
      text(" ", value);
      out_->put('\n');
      break;
    case CompiledField::CALL_SUB:
      refer(subs_[value.number], value.number,
            tables().subs[value.number].name);
      end_line();
      break;
    default: break;
  }
}

// Masks -----------------------------------------------------------------------

// The line of a handler, up to what its body is.
void Disassembler::handler() {
  word("on 0x");
  out_->hex(events_, 1);
  out_->put(' ');
  out_->decimal(key_);
  out_->put(handler_kind_ == 1 ? " attributes" : " program");
}

void Disassembler::mask_field(const CompiledValue& value) {
  const uint32_t number = value.number;
  switch (value.field) {
    case CompiledField::OBJECT_TYPE:
      type_ = number;
      if (number == 0 && objects_ == 0) word("none\n");
      break;
    case CompiledField::OBJECT_NAME:
      word(MASK_TYPE_NAMES[type_]);
      text(" ", value);
      open();
      break;
    case CompiledField::ATTRIBUTE_TYPE: type_ = number; break;
    case CompiledField::ATTRIBUTE_NAME:
      line();
      switch (type_) {
        case 1: out_->put("integer"); break;
        case 4: out_->put("text"); break;
        case 5: out_->put("own_text"); break;
        default: out_->put("type "); out_->decimal(type_);
      }
      text(" ", value);
      if (type_ != 1 && type_ != 4 && type_ != 5) out_->put('\n');
      break;
    case CompiledField::ATTRIBUTE_INTEGER:
      out_->put(' ');
      out_->decimal(static_cast<int32_t>(number));
      out_->put('\n');
      break;
    case CompiledField::ATTRIBUTE_TEXT:
      text(" ", value);
      out_->put('\n');
      break;
    case CompiledField::HANDLER_KIND: handler_kind_ = number; break;
    case CompiledField::HANDLER_EVENTS: events_ = number; break;
    case CompiledField::HANDLER_KEY:
      key_ = static_cast<int32_t>(number);
      if (handler_kind_ == 1) {
        handler();
        open();
      } else if (handler_kind_ != 2) {
        word("on 0x");
        out_->hex(events_, 1);
        out_->put(' ');
        out_->decimal(key_);
        out_->put(" kind ");
        out_->decimal(handler_kind_);
        out_->put('\n');
      }
      break;
    default: break;
  }
}

// Trees -----------------------------------------------------------------------

void Disassembler::variable_reference(const McNode& bits) {
  const McScope scope = bits.scope();
  if (scope == MC_SCOPE_LOCAL) {
    out_->put(" local");
  } else if (scope == MC_SCOPE_PARAMETER) {
    out_->put(" parameter");
  } else {
    out_->put(" common");
    const uint32_t block = scope - MC_SCOPE_COMMON;
    const uint32_t common = routine().commons.first + block;
    refer(commons_[common], block, tables().commons[common].name);
  }
  const uint32_t variable =
      tables().scope(routine(), scope)->first + bits.index();
  refer(variables_[variable], bits.index(), tables().variables[variable].name);
}

void Disassembler::constant(uint32_t number) {
  const CompiledTables::Constant& entry = tables().constants[number];
  if (!constants_[number]) return refer(false, number, entry.text);
  if (!entry.text.is_absent()) return refer(true, number, entry.text);
  uint64_t bits;
  memcpy(&bits, file_.data() + entry.at, sizeof bits);
  bits = __builtin_bswap64(bits);
  double value;
  memcpy(&value, &bits, sizeof value);
  out_->put(' ');
  real(value);
}

// Behind a reference by number stands the name, as a remark.
void Disassembler::end_line() {
  if (remark_) {
    out_->put(" ; ");
    out_->quoted(remark_text_.in(file_).substr(0, LONGEST_NAME));
  }
  remark_ = false;
  out_->put('\n');
}

void Disassembler::node(const CompiledNode& node) {
  if (!open_) open("body");
  open_ = true;
  const McNode bits = {0, node.payload};
  word(MC_KIND_NAMES[static_cast<unsigned>(node.kind)]);
  const auto code = [&](const char* name, uint32_t number) {
    out_->put(name == nullptr ? " #" : " ");
    if (name == nullptr)
      out_->decimal(number);
    else
      out_->put(name);
  };
  switch (node.kind) {
    case McNodeKind::VAR:
    case McNodeKind::REFVAR: variable_reference(bits); break;
    case McNodeKind::INT:
      out_->put(' ');
      out_->decimal(bits.integer());
      break;
    case McNodeKind::REAL:
    case McNodeKind::STRING: constant(bits.number()); break;
    case McNodeKind::FUNC:
      code(bits.scope() < MC_BUILTIN_COUNT ? MC_BUILTIN_NAMES[bits.scope()]
                                           : nullptr,
           bits.scope());
      if (bits.index() != bits.scope()) code(nullptr, bits.index());
      break;
    case McNodeKind::ASSIGN:
      if (bits.op() != 0) code(CompiledOperator(bits.op()), bits.op());
      break;
    case McNodeKind::OPERA: code(CompiledOperator(bits.op()), bits.op()); break;
    case McNodeKind::UNARY: code(CompiledUnary(bits.op()), bits.op()); break;
    case McNodeKind::CALL: {
      const CompiledTables::Call& call = tables().calls[bits.scope()];
      constexpr const char* KINDS[] = {"", " sub", " fn", " cfn"};
      if (calls_[bits.scope()]) out_->put(KINDS[call.kind & 0x7F]);
      refer(calls_[bits.scope()], bits.scope(), tables().call_name(call));
      break;
    }
    case McNodeKind::TRACE:
      out_->put(' ');
      out_->decimal(bits.number());
      break;
    case McNodeKind::REFER:
      code(bits.scope() < 3 ? MEMBERS[bits.scope()] : nullptr, bits.scope());
      break;
    case McNodeKind::EXTERN:
      refer(slots_[bits.number()], bits.number(),
            tables().slots[bits.number()].text);
      break;
    case McNodeKind::EXTIND: {
      const char sigil = static_cast<char>(bits.op());
      out_->put(' ');
      out_->quoted({&sigil, 1});
      break;
    }
    default: break;
  }
  if (!node.leaf) {
    out_->put(" {");
    depth_++;
  }
  end_line();
}

}  // namespace

void CompiledDisassemble(std::string_view file, ToolOutput* out) {
  Disassembler disassembler(file, out);
  CompiledWalk walk(file, &disassembler);
  (void)walk.run();
}
