// A routine per record, which lists its fields in the order of the file. Items
// are read by three primitives (an integer, a float, a text), which check what
// the transport prescribes; nodes have a loop of their own for each transport,
// since files consist of them.
#include "tools/compiled/walk.h"

#include <cstring>
#include <iterator>

#include "Cutil/codes.h"
#include "elut/files/mask_file.h"
#include "elut/files/node_layout.h"
#include "elut/files/program_file.h"
#include "elut/model/mask_objects.h"
#include "elut/model/program.h"
#include "tools/compiled/tables.h"

namespace {

struct FieldRow {
  const char* name;
  CompiledType type;
};

constexpr FieldRow FIELDS[] = {
#define COMPILED_FIELD(id, name, type) {name, CompiledType::type},
#include "tools/compiled/fields.def"
#undef COMPILED_FIELD
};

constexpr const char* TYPE_NAMES[] = {"mark", "byte", "u8",  "i8",   "u16",
                                      "u32",  "i32",  "f64", "text", "block"};

// Bytes of an integer in the plain transport.
constexpr unsigned WidthOf(CompiledType type) {
  switch (type) {
    case CompiledType::BYTE:
    case CompiledType::U8:
    case CompiledType::I8: return 1;
    case CompiledType::MARK:
    case CompiledType::U16: return 2;
    case CompiledType::U32:
    case CompiledType::I32: return 4;
    case CompiledType::F64:
    case CompiledType::TEXT:
    case CompiledType::BLOCK: break;
  }
  return 0;
}

// The fewest bytes that an entry of a table takes, in the plain transport.
constexpr uint64_t SLOT_BYTES = 4;
constexpr uint64_t IMPORT_BYTES = 9;
constexpr uint64_t CONSTANT_BYTES = 5;
constexpr uint64_t VARIABLE_BYTES = 8;
constexpr uint64_t COMMON_BYTES = 8;
constexpr uint64_t SUB_BYTES = 15;
constexpr uint64_t CALL_BYTES = 3;
constexpr uint64_t ATTRIBUTE_BYTES = 5;
constexpr uint64_t HANDLER_BYTES = 9;
constexpr uint64_t EDITOR_BYTES = 1;

constexpr auto INTEGER_TYPE = static_cast<uint32_t>(McValueType::INTEGER);
constexpr auto REAL_TYPE = static_cast<uint32_t>(McValueType::REAL);
constexpr auto STRING_TYPE = static_cast<uint32_t>(McValueType::STRING);
constexpr auto SUB_CALL = static_cast<uint32_t>(McCallKind::SUB);
constexpr auto FN_CALL = static_cast<uint32_t>(McCallKind::FN);
constexpr auto CFN_CALL = static_cast<uint32_t>(McCallKind::CFN);

uint32_t Load(const uint8_t* bytes, unsigned width) {
  uint32_t value = 0;
  for (unsigned i = 0; i < width; i++) value = value << 8 | bytes[i];
  return value;
}

// True when an XDR word is what an item of that width is written as.
bool Fits(uint32_t word, unsigned width, bool is_signed) {
  const unsigned shift = 32 - 8 * width;
  const uint32_t top = word << shift;
  const uint32_t again =
      is_signed ? static_cast<uint32_t>(static_cast<int32_t>(top) >> shift)
                : top >> shift;
  return again == word;
}

std::string Bytes(uint64_t count) {
  return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

// Calls `append` for the parts of a path that are shown, and appends "(n)" in
// the place of n others.
template <class Append>
void AppendParts(std::string* path, size_t parts, char separator,
                 Append append) {
  for (size_t i = 0; i < parts; i++) {
    if (i == CompiledWalk::SHOWN_ENDS && parts > CompiledWalk::SHOWN_NODES) {
      const size_t hidden = parts - 2 * CompiledWalk::SHOWN_ENDS;
      *path += separator;
      *path += '(' + std::to_string(hidden) + ')';
      i += hidden;
    }
    append(i);
  }
}

// The fields of the payload of a kind, in the order of the file.
struct PayloadFields {
  CompiledField first;
  CompiledField second;
  int count;
};

PayloadFields FieldsOf(McNodeKind kind) {
  const CompiledField none = CompiledField::NODE_KIND;
  switch (MC_KIND_PAYLOADS[static_cast<unsigned>(kind)]) {
    case McPayload::NONE: break;
    case McPayload::VARIABLE:
      return {CompiledField::NODE_SCOPE, CompiledField::NODE_INDEX, 2};
    case McPayload::INTEGER: return {CompiledField::NODE_INTEGER, none, 1};
    case McPayload::NUMBER:
      if (kind == McNodeKind::TRACE) return {CompiledField::NODE_LINE, none, 1};
      if (kind == McNodeKind::EXTERN)
        return {CompiledField::NODE_SLOT, none, 1};
      return {CompiledField::NODE_CONSTANT, none, 1};
    case McPayload::FUNCTION:
      return {CompiledField::NODE_FUNCTION, CompiledField::NODE_FUNCTION_AGAIN,
              2};
    case McPayload::OPERATOR: return {CompiledField::NODE_OPERATOR, none, 1};
    case McPayload::INDEX:
      return {kind == McNodeKind::CALL ? CompiledField::NODE_CALL
                                       : CompiledField::NODE_MEMBER,
              none, 1};
    case McPayload::SIGIL: return {CompiledField::NODE_SIGIL, none, 1};
  }
  return {none, none, 0};
}

// The bits of the payload's first field, moved down.
uint32_t FirstOf(McNodeKind kind, uint32_t payload) {
  switch (MC_KIND_PAYLOADS[static_cast<unsigned>(kind)]) {
    case McPayload::NONE:
    case McPayload::INTEGER:
    case McPayload::NUMBER: return payload;
    case McPayload::VARIABLE:
    case McPayload::FUNCTION:
    case McPayload::INDEX: return payload >> 16;
    case McPayload::OPERATOR: return payload >> 24;
    case McPayload::SIGIL:
      return static_cast<uint32_t>(static_cast<int32_t>(payload) >> 24);
  }
  return payload;
}

}  // namespace

const char* CompiledName(CompiledField field) {
  return FIELDS[static_cast<unsigned>(field)].name;
}
CompiledType CompiledTypeOf(CompiledField field) {
  return FIELDS[static_cast<unsigned>(field)].type;
}
const char* CompiledTypeName(CompiledType type) {
  return TYPE_NAMES[static_cast<unsigned>(type)];
}

int CompiledNodeValues(XdTransport transport, const CompiledNode& node,
                       CompiledValue* values) {
  const auto bytes = [&](CompiledField field) -> uint64_t {
    return transport == XD_TRANSPORT_XDR ? 4 : WidthOf(CompiledTypeOf(field));
  };
  uint64_t offset = node.offset;
  int count = 0;
  const auto add = [&](CompiledField field, uint32_t number) {
    values[count] = {.field = field, .offset = offset, .length = bytes(field)};
    values[count].number = number;
    values[count].sound = node.sound;
    offset += values[count++].length;
  };
  add(CompiledField::NODE_KIND, static_cast<uint32_t>(node.kind));
  const PayloadFields fields = FieldsOf(node.kind);
  if (fields.count > 0) add(fields.first, FirstOf(node.kind, node.payload));
  if (fields.count > 1) add(fields.second, node.payload & 0xFFFF);
  if (node.leaf) add(CompiledField::NODE_END, 0);
  return count;
}

CompiledWalk::CompiledWalk(std::string_view file, CompiledSink* sink)
    : file_(file), sink_(sink) {
  sink->walk = this;
  XdCreatePlain(&xd_, file, 0);
}

// Where the walk is -----------------------------------------------------------

uint32_t CompiledWalk::index() const {
  for (size_t i = steps_.size(); i-- > 0;)
    if (steps_[i].index >= 0) return static_cast<uint32_t>(steps_[i].index);
  return 0;
}

void CompiledWalk::append_path(std::string* path) const {
  AppendParts(path, steps_.size(), '.', [&](size_t part) {
    if (part > 0) *path += '.';
    *path += steps_[part].name;
    if (steps_[part].index >= 0)
      *path += '[' + std::to_string(steps_[part].index) + ']';
  });
  AppendParts(path, kinds_.size(), '/', [&](size_t part) {
    *path += '/';
    *path += MC_KIND_NAMES[kinds_[part]];
  });
}

void CompiledWalk::append_path(std::string* path, CompiledField field) const {
  append_path(path);
  if (!path->empty()) *path += '.';
  *path += CompiledName(field);
}

void CompiledWalk::trouble(CompiledGrade grade, const CompiledValue& value,
                           std::string found, std::string expected) const {
  trouble(grade, value.offset, CompiledName(value.field), std::move(found),
          std::move(expected));
}

void CompiledWalk::trouble(CompiledGrade grade, uint64_t offset,
                           const char* name, std::string found,
                           std::string expected) const {
  CompiledTrouble trouble = {
      grade, offset, {}, std::move(found), std::move(expected)};
  append_path(&trouble.path);
  if (!trouble.path.empty() && *name != '\0') trouble.path += '.';
  trouble.path += name;
  sink_->trouble(trouble);
}

void CompiledWalk::enter(const char* name) {
  changes_++;
  steps_.push_back({name, -1});
}

bool CompiledWalk::leave() {
  changes_++;
  steps_.pop_back();
  return true;
}

// The index of the innermost step.
void CompiledWalk::set_index(uint32_t index) {
  changes_++;
  steps_.back().index = index;
}

// A table of that name: `entry` walks through one of its entries.
template <class Entry>
bool CompiledWalk::entries(CompiledRecord record, uint32_t count, Entry entry) {
  for (uint32_t i = 0; i < count; i++) {
    set_index(i);
    sink_->begin(record);
    if (!entry()) return false;
    sink_->end(record);
  }
  return true;
}

// Items ----------------------------------------------------------------------

// The file ends within a field.
bool CompiledWalk::cut_off(CompiledField field, uint64_t bytes) {
  trouble(CompiledGrade::UNREADABLE, position(), CompiledName(field),
          "the end of the file after " + Bytes(left()),
          Bytes(bytes) + " of this field");
  return false;
}

bool CompiledWalk::number(CompiledField field, uint32_t* value) {
  const CompiledType type = CompiledTypeOf(field);
  const bool is_signed = type == CompiledType::I8;
  const bool raw = type == CompiledType::BYTE || type == CompiledType::MARK;
  const bool wide = transport() == XD_TRANSPORT_XDR && !raw;
  const unsigned width = WidthOf(type);
  const unsigned bytes = wide ? 4 : width;
  if (left() < bytes) return cut_off(field, bytes);
  CompiledValue item = {.field = field, .offset = position(), .length = bytes};
  item.number = Load(xd_.next, bytes);
  if (wide && !Fits(item.number, width, is_signed)) {
    item.sound = false;
    trouble(CompiledGrade::UNREADABLE, item, std::to_string(item.number),
            "a number of " + std::to_string(8 * width) + " bits");
  }
  xd_.next += bytes;
  *value = item.number;
  sink_->value(item);
  return true;
}

// A number on which the layout of what follows depends.
bool CompiledWalk::code(CompiledField field, uint32_t* value, uint32_t first,
                        uint32_t last) {
  const uint64_t offset = position();
  if (!number(field, value)) return false;
  if (*value >= first && *value <= last) return true;
  std::string expected = std::to_string(first);
  if (last > first)
    expected += (last == first + 1 ? " or " : " to ") + std::to_string(last);
  trouble(CompiledGrade::UNREADABLE, offset, CompiledName(field),
          std::to_string(*value), std::move(expected));
  return false;
}

bool CompiledWalk::count(CompiledField field, uint32_t* value,
                         uint64_t entry_bytes) {
  const uint64_t offset = position();
  if (!number(field, value)) return false;
  const uint64_t most = left() / entry_bytes;
  if (*value <= most) return true;
  trouble(CompiledGrade::UNREADABLE, offset, CompiledName(field),
          std::to_string(*value),
          "at most " + std::to_string(most) + ", for which there are bytes");
  return false;
}

bool CompiledWalk::real(CompiledField field) {
  if (left() < 8) return cut_off(field, 8);
  CompiledValue item = {.field = field, .offset = position(), .length = 8};
  uint64_t bits;
  memcpy(&bits, xd_.next, sizeof bits);
  bits = __builtin_bswap64(bits);
  memcpy(&item.real, &bits, sizeof bits);
  xd_.next += 8;
  sink_->value(item);
  return true;
}

// The characters behind the length of a text or a block, and what the transport
// puts round them. item->number is the length.
bool CompiledWalk::characters(CompiledValue* item) {
  const uint32_t length = item->number;
  const bool xdr = transport() == XD_TRANSPORT_XDR && length > 0;
  const uint64_t fill = xdr ? (0 - length) % 4 : 0;
  const uint64_t needed = (xdr ? 4 : 0) + uint64_t{length} + fill;
  if (left() < needed) {
    trouble(CompiledGrade::UNREADABLE, *item,
            "a length of " + std::to_string(length),
            "a length that fits into the " + Bytes(left()) + " left");
    return false;
  }
  if (xdr) {
    const uint32_t again = McPeekWord(xd_.next);
    if (again != length) {
      trouble(CompiledGrade::UNREADABLE, position(), CompiledName(item->field),
              "a second length of " + std::to_string(again),
              std::to_string(length) + ", the same as the first");
      return false;
    }
    xd_.next += 4;
  }
  item->text = {reinterpret_cast<const char*>(xd_.next), length};
  const uint64_t at = position();
  xd_.next += length + fill;
  item->length = position() - item->offset;
  for (uint64_t i = 0; i < fill; i++) {
    const uint64_t place = at + length + i;
    if (file_[place] == '\0') continue;
    item->sound = false;
    trouble(CompiledGrade::UNREADABLE, place, CompiledName(item->field),
            "fill that is not zero", "zero bytes up to a multiple of 4");
    break;
  }
  if (CompiledTypeOf(item->field) == CompiledType::BLOCK) return true;
  const size_t zero = item->text.find('\0');
  if (zero == std::string_view::npos) return true;
  item->sound = false;
  trouble(CompiledGrade::UNREADABLE, at + zero, CompiledName(item->field),
          "a zero byte within the text", "characters other than the zero byte");
  return true;
}

bool CompiledWalk::text(CompiledField field, bool may_be_absent) {
  if (left() < 4) return cut_off(field, 4);
  CompiledValue item = {.field = field, .offset = position(), .length = 4};
  item.number = McPeekWord(xd_.next);
  xd_.next += 4;
  item.absent = may_be_absent && item.number == XdStream::NULL_LENGTH;
  if (!item.absent && !characters(&item)) {
    // The field cannot be read, so the rest begins with it.
    xd_.next = xd_.start + (item.offset - xd_.offset);
    return false;
  }
  sink_->value(item);
  return true;
}

// Records ---------------------------------------------------------------------

bool CompiledWalk::header() {
  enter("header");
  sink_->begin(CompiledRecord::HEADER);
  const auto field = [&](CompiledField id, uint32_t* value, auto may_be,
                         const char* expected) {
    const uint64_t offset = position();
    if (!number(id, value)) return false;
    if (may_be(*value)) return true;
    trouble(CompiledGrade::UNREADABLE, offset, CompiledName(id),
            std::to_string(*value), expected);
    return false;
  };
  const auto any = [](uint32_t) { return true; };
  uint32_t magic, kind, major, minor, sub, transport, reserved;
  const bool known =
      field(
          CompiledField::MAGIC, &magic,
          [](uint32_t value) { return value == 0xEEEE; },
          "61166, with which every compiled file begins") &&
      field(
          CompiledField::FILE_KIND, &kind,
          [](uint32_t value) {
            return value >= XD_KIND_PROGRAM && value <= XD_KIND_MASK;
          },
          "1 program, 2 module or 3 masks") &&
      field(
          CompiledField::MAJOR_VERSION, &major,
          [](uint32_t value) { return value == XD_MAJOR_VERSION; }, "17") &&
      field(
          CompiledField::MINOR_VERSION, &minor,
          [](uint32_t value) { return value / 10 == XD_MINOR_VERSION / 10; },
          "0 to 9") &&
      field(CompiledField::SUB_VERSION, &sub, any, "") &&
      field(
          CompiledField::TRANSPORT, &transport,
          [](uint32_t value) {
            return value == XD_TRANSPORT_XDR || value == XD_TRANSPORT_PLAIN;
          },
          "1 XDR or 4 plain") &&
      field(CompiledField::RESERVED, &reserved, any, "");
  if (!known) return false;
  header_ = {static_cast<uint8_t>(kind), static_cast<uint8_t>(major),
             static_cast<uint8_t>(minor), static_cast<uint8_t>(sub),
             static_cast<uint8_t>(transport)};
  sink_->end(CompiledRecord::HEADER);
  return leave();
}

bool CompiledWalk::slot(bool own_text) {
  uint32_t references, reserved, offset;
  if (!number(CompiledField::SLOT_REFERENCES, &references)) return false;
  if (references == 0) return true;
  if (own_text) return text(CompiledField::SLOT_TEXT, false);
  return number(CompiledField::SLOT_RESERVED, &reserved) &&
         number(CompiledField::SLOT_OFFSET, &offset);
}

bool CompiledWalk::pool() {
  enter("pool");
  sink_->begin(CompiledRecord::POOL);
  uint32_t version, slots, flags, value;
  if (!code(CompiledField::POOL_VERSION, &version, 1, 1)) return false;
  if (!count(CompiledField::SLOT_COUNT, &slots, SLOT_BYTES)) return false;
  if (!number(CompiledField::POOL_FLAGS, &flags)) return false;
  const bool own_texts = (flags & POOL_OWN_TEXTS) != 0;
  enter("slots");
  if (!entries(CompiledRecord::SLOT, slots, [&] { return slot(own_texts); }))
    return false;
  leave();
  if (!number(CompiledField::REUSE_START, &value)) return false;
  if (!number(CompiledField::UNUSED_START, &value)) return false;
  if (!own_texts && !(number(CompiledField::TEXT_USED, &value) &&
                      number(CompiledField::TEXT_CAPACITY, &value) &&
                      text(CompiledField::TEXT_BUFFER, false)))
    return false;
  sink_->end(CompiledRecord::POOL);
  return leave();
}

bool CompiledWalk::imports() {
  enter("imports");
  sink_->begin(CompiledRecord::IMPORTS);
  uint32_t imports, kind;
  if (!count(CompiledField::IMPORT_COUNT, &imports, IMPORT_BYTES)) return false;
  const auto import = [&] {
    return number(CompiledField::IMPORT_KIND, &kind) &&
           text(CompiledField::IMPORT_NAME) &&
           text(CompiledField::IMPORT_SOURCE) &&
           ((kind & MC_IMPORT_FILE) != 0 || text(CompiledField::IMPORT_MODULE));
  };
  if (!entries(CompiledRecord::IMPORT, imports, import)) return false;
  sink_->end(CompiledRecord::IMPORTS);
  return leave();
}

bool CompiledWalk::constants() {
  enter("constants");
  sink_->begin(CompiledRecord::CONSTANTS);
  uint32_t constants, type;
  if (!count(CompiledField::CONSTANT_COUNT, &constants, CONSTANT_BYTES))
    return false;
  const auto constant = [&] {
    if (!code(CompiledField::CONSTANT_TYPE, &type, REAL_TYPE, STRING_TYPE))
      return false;
    return type == REAL_TYPE ? real(CompiledField::CONSTANT_REAL)
                             : text(CompiledField::CONSTANT_TEXT, false);
  };
  if (!entries(CompiledRecord::CONSTANT, constants, constant)) return false;
  sink_->end(CompiledRecord::CONSTANTS);
  return leave();
}

// Trees -----------------------------------------------------------------------

// The field of a node's payload with that number, 0 or 1. What does not fit
// into it is cut off.
template <XdTransport TRANSPORT>
inline bool CompiledWalk::item(CompiledNode* node, int number, unsigned width,
                               uint32_t* value) {
  const auto field = [&] {
    const PayloadFields fields = FieldsOf(node->kind);
    return number == 0 ? fields.first : fields.second;
  };
  const unsigned bytes = TRANSPORT == XD_TRANSPORT_XDR ? 4 : width;
  if (left() < bytes) [[unlikely]]
    return cut_off(field(), bytes);
  if constexpr (TRANSPORT == XD_TRANSPORT_PLAIN) {
    *value = Load(xd_.next, width);
  } else {
    *value = McPeekWord(xd_.next);
    if (!Fits(*value, width, node->kind == McNodeKind::EXTIND)) [[unlikely]] {
      node->sound = false;
      trouble(CompiledGrade::UNREADABLE, position(), CompiledName(field()),
              std::to_string(*value),
              "a number of " + std::to_string(8 * width) + " bits");
      *value &= (1u << 8 * width) - 1;
    }
  }
  xd_.next += bytes;
  return true;
}

// Reads the payload when enough bytes for any follow and nothing is wrong.
template <XdTransport TRANSPORT>
inline bool CompiledWalk::sound_payload(CompiledNode* node) {
  if (left() < MC_PAYLOAD_PEEK ||
      !McPeekPayload<TRANSPORT>(xd_.next, node->kind, &node->payload))
    return false;
  xd_.next += McPayloadBytes<TRANSPORT>(node->kind);
  return true;
}

// Reads any payload. False when the file ends within it.
template <XdTransport TRANSPORT>
bool CompiledWalk::payload(CompiledNode* node) {
  uint32_t first = 0, second = 0;
  switch (MC_KIND_PAYLOADS[static_cast<unsigned>(node->kind)]) {
    case McPayload::NONE: break;
    case McPayload::INTEGER:
    case McPayload::NUMBER:
      if (!item<TRANSPORT>(node, 0, 4, &first)) return false;
      node->payload = first;
      break;
    case McPayload::VARIABLE:
    case McPayload::FUNCTION:
      if (!item<TRANSPORT>(node, 0, 2, &first)) return false;
      if (!item<TRANSPORT>(node, 1, 2, &second)) return false;
      node->payload = first << 16 | second;
      break;
    case McPayload::INDEX:
      if (!item<TRANSPORT>(node, 0, 2, &first)) return false;
      node->payload = first << 16;
      break;
    case McPayload::OPERATOR:
    case McPayload::SIGIL:
      if (!item<TRANSPORT>(node, 0, 1, &first)) return false;
      node->payload = first << 24;
      break;
  }
  return true;
}

// The nodes of a tree, one after the other. `kinds_` holds those whose children
// have not ended.
template <XdTransport TRANSPORT>
bool CompiledWalk::nodes() {
  constexpr unsigned WORD = MC_KIND_BYTES<TRANSPORT>;
  const auto peek = [&] { return McPeekKind<TRANSPORT>(xd_.next); };
  do {
    const uint64_t offset = position();
    if (left() < WORD) return cut_off(CompiledField::NODE_KIND, WORD);
    const uint32_t kind = peek();
    if (kind == 0) {
      const CompiledValue end = {
          .field = CompiledField::NODE_END, .offset = offset, .length = WORD};
      xd_.next += WORD;
      if (kinds_.empty())
        sink_->value(end);
      else
        sink_->node_end(end), kinds_.pop_back();
      continue;
    }
    if (kind >= MC_KIND_COUNT) {
      trouble(CompiledGrade::UNREADABLE, offset,
              CompiledName(CompiledField::NODE_KIND), std::to_string(kind),
              "a kind of node, 1 to 28, or 0");
      return false;
    }
    if (++nodes_ > UT_STRUCT_LIMIT) {
      trouble(CompiledGrade::UNREADABLE, offset,
              CompiledName(CompiledField::NODE_KIND),
              "node number " + std::to_string(nodes_),
              "at most " + std::to_string(UT_STRUCT_LIMIT) + " nodes");
      return false;
    }
    CompiledNode node = {.kind = static_cast<McNodeKind>(kind),
                         .leaf = false,
                         .sound = true,
                         .payload = 0,
                         .offset = offset,
                         .length = 0};
    kinds_.push_back(static_cast<uint8_t>(kind));
    xd_.next += WORD;
    if (!sound_payload<TRANSPORT>(&node) && !payload<TRANSPORT>(&node)) {
      // All of the node belongs to what cannot be read.
      xd_.next = xd_.start + (offset - xd_.offset);
      return false;
    }
    node.length = static_cast<uint32_t>(position() - offset);
    node.leaf = left() >= WORD && peek() == 0;
    sink_->node(node);
    if (!node.leaf) continue;
    xd_.next += WORD;
    kinds_.pop_back();
  } while (!kinds_.empty());
  return true;
}

// The same for a sink that wants no nodes: passes over them, and over what
// trouble may be in them, and counts them.
template <XdTransport TRANSPORT>
bool CompiledWalk::skip_nodes() {
  constexpr unsigned WORD = MC_KIND_BYTES<TRANSPORT>;
  const uint8_t* next = xd_.next;
  const uint8_t* const limit = xd_.limit;
  uint64_t depth = 0, count = 0;
  do {
    if (limit - next < WORD) return false;
    const uint32_t kind = McPeekKind<TRANSPORT>(next);
    next += WORD;
    if (kind == 0) {
      if (depth > 0) depth--;
      continue;
    }
    if (kind >= MC_KIND_COUNT) return false;
    const unsigned bytes =
        McPayloadBytes<TRANSPORT>(static_cast<McNodeKind>(kind));
    if (limit - next < static_cast<ptrdiff_t>(bytes)) return false;
    next += bytes;
    depth++;
    count++;
  } while (depth > 0);
  xd_.next = const_cast<uint8_t*>(next);
  nodes_ += count;
  return true;
}

bool CompiledWalk::tree() {
  enter("body");
  sink_->begin(CompiledRecord::TREE);
  const bool xdr = transport() == XD_TRANSPORT_XDR;
  const bool complete =
      sink_->wants_nodes()
          ? (xdr ? nodes<XD_TRANSPORT_XDR>() : nodes<XD_TRANSPORT_PLAIN>())
          : (xdr ? skip_nodes<XD_TRANSPORT_XDR>()
                 : skip_nodes<XD_TRANSPORT_PLAIN>());
  if (!complete) return false;
  sink_->end(CompiledRecord::TREE);
  return leave();
}

// Variables -------------------------------------------------------------------

bool CompiledWalk::variable() {
  uint32_t type, storage, dimensions, flags, value;
  if (!number(CompiledField::VARIABLE_TYPE, &type) ||
      !number(CompiledField::VARIABLE_STORAGE, &storage) ||
      !number(CompiledField::DIMENSIONS, &dimensions) ||
      !code(CompiledField::VARIABLE_FLAGS, &flags, 0, HAS_RANGE | HAS_DIMS) ||
      !text(CompiledField::VARIABLE_NAME))
    return false;
  if ((flags & HAS_RANGE) != 0) {
    if (type == INTEGER_TYPE) {
      if (!number(CompiledField::INTEGER_LOW, &value) ||
          !number(CompiledField::INTEGER_HIGH, &value))
        return false;
    } else if (type == REAL_TYPE) {
      if (!real(CompiledField::REAL_LOW) || !real(CompiledField::REAL_HIGH))
        return false;
    } else {
      trouble(CompiledGrade::UNREADABLE, position(),
              CompiledName(CompiledField::INTEGER_LOW),
              "a range of a variable of type " + std::to_string(type),
              "a range only of type 1 INTEGER or 2 REAL");
      return false;
    }
  }
  if ((flags & HAS_DIMS) == 0) return true;
  enter("bounds");
  for (uint32_t i = 0; i < (dimensions & 0xFF); i++) {
    set_index(i);
    if (!number(CompiledField::BOUND_LOW, &value) ||
        !number(CompiledField::BOUND_HIGH, &value))
      return false;
  }
  return leave();
}

bool CompiledWalk::variables(CompiledRecord record, const char* name) {
  enter(name);
  sink_->begin(record);
  uint32_t variables, required;
  if (!count(CompiledField::VARIABLE_COUNT, &variables, VARIABLE_BYTES) ||
      !number(CompiledField::REQUIRED, &required) ||
      !entries(CompiledRecord::VARIABLE, variables, [&] { return variable(); }))
    return false;
  sink_->end(record);
  return leave();
}

bool CompiledWalk::commons() {
  enter("commons");
  sink_->begin(CompiledRecord::COMMONS);
  uint32_t commons;
  if (!count(CompiledField::COMMON_COUNT, &commons, COMMON_BYTES)) return false;
  const auto common = [&] {
    return variables(CompiledRecord::COMMON_VARIABLES, "variables") &&
           text(CompiledField::COMMON_NAME);
  };
  if (!entries(CompiledRecord::COMMON, commons, common)) return false;
  sink_->end(CompiledRecord::COMMONS);
  return leave();
}

// Programs --------------------------------------------------------------------

bool CompiledWalk::subs() {
  enter("subs");
  sink_->begin(CompiledRecord::SUBS);
  uint32_t subs;
  if (!count(CompiledField::SUB_COUNT, &subs, SUB_BYTES)) return false;
  const auto sub = [&] {
    sub_++;
    return text(CompiledField::SUB_NAME) &&
           variables(CompiledRecord::LOCALS, "locals") &&
           variables(CompiledRecord::PARAMETERS, "parameters") && commons() &&
           tree();
  };
  if (!entries(CompiledRecord::SUB, subs, sub)) return false;
  sub_ = -1;
  sink_->end(CompiledRecord::SUBS);
  return leave();
}

bool CompiledWalk::call() {
  uint32_t kind, sub;
  const uint64_t offset = position();
  if (!number(CompiledField::CALL_KIND, &kind)) return false;
  switch (kind) {
    case SUB_CALL:
    case FN_CALL: return number(CompiledField::CALL_SUB, &sub);
    case SUB_CALL | EXTERNAL_CALL:
    case FN_CALL | EXTERNAL_CALL:
    case CFN_CALL: return text(CompiledField::CALL_NAME);
    default:
      trouble(CompiledGrade::UNREADABLE, offset,
              CompiledName(CompiledField::CALL_KIND), std::to_string(kind),
              "1 bound SUB, 129 SUB, 130 FN or 3 CFN");
      return false;
  }
}

bool CompiledWalk::calls() {
  enter("calls");
  sink_->begin(CompiledRecord::CALLS);
  uint32_t calls;
  if (!count(CompiledField::CALL_COUNT, &calls, CALL_BYTES) ||
      !entries(CompiledRecord::CALL, calls, [&] { return call(); }))
    return false;
  sink_->end(CompiledRecord::CALLS);
  return leave();
}

// Its tables first, so that the sink knows them when it sees the trees.
bool CompiledWalk::program() {
  CompiledTables tables;
  if (sink_->wants_tables()) {
    CompiledCollector collector(&tables);
    CompiledWalk ahead(file_, &collector);
    ahead.go_on_behind(*this);
    tables.complete = ahead.program();
    tables_ = &tables;
  }
  const bool complete = record();
  tables_ = nullptr;
  return complete;
}

bool CompiledWalk::record() {
  sub_ = -1;
  sink_->begin(CompiledRecord::PROGRAM);
  uint32_t nodes;
  if (!pool() || !text(CompiledField::PROGRAM_NAME) || !imports() ||
      !constants() || !number(CompiledField::NODE_COUNT, &nodes) || !tree() ||
      !variables(CompiledRecord::VARIABLES, "variables") || !commons() ||
      !subs() || !calls())
    return false;
  sink_->end(CompiledRecord::PROGRAM);
  return true;
}

bool CompiledWalk::program_or_none() {
  uint32_t present;
  return code(CompiledField::PRESENCE, &present, 0, 1) &&
         (present == 0 || program());
}

// Masks -----------------------------------------------------------------------

bool CompiledWalk::attribute() {
  uint32_t type, value;
  const uint64_t offset = position();
  if (!number(CompiledField::ATTRIBUTE_TYPE, &type)) return false;
  if (type == 0 || type == 2 || type == 6) {
    trouble(CompiledGrade::UNREADABLE, offset,
            CompiledName(CompiledField::ATTRIBUTE_TYPE), std::to_string(type),
            "1 integer or 4 text");
    return false;
  }
  if (!text(CompiledField::ATTRIBUTE_NAME)) return false;
  switch (static_cast<AttributeType>(type)) {
    case AttributeType::INTEGER:
      return number(CompiledField::ATTRIBUTE_INTEGER, &value);
    case AttributeType::STRING:
    case AttributeType::OWN_STRING: return text(CompiledField::ATTRIBUTE_TEXT);
  }
  return true;  // other types have no value
}

bool CompiledWalk::attributes() {
  enter("attributes");
  sink_->begin(CompiledRecord::ATTRIBUTES);
  uint32_t attributes;
  if (!count(CompiledField::ATTRIBUTE_COUNT, &attributes, ATTRIBUTE_BYTES) ||
      !entries(CompiledRecord::ATTRIBUTE, attributes,
               [&] { return attribute(); }))
    return false;
  sink_->end(CompiledRecord::ATTRIBUTES);
  return leave();
}

bool CompiledWalk::handler() {
  uint32_t kind, value;
  if (!number(CompiledField::HANDLER_KIND, &kind) ||
      !number(CompiledField::HANDLER_EVENTS, &value) ||
      !number(CompiledField::HANDLER_KEY, &value))
    return false;
  switch (static_cast<HandlerKind>(kind)) {
    case HandlerKind::ATTRIBUTES: return attributes();
    case HandlerKind::PROGRAM:
      enter("program");
      return program_or_none() && leave();
  }
  return true;  // other kinds have no body
}

bool CompiledWalk::handlers() {
  enter("handlers");
  sink_->begin(CompiledRecord::HANDLERS);
  uint32_t handlers;
  if (!count(CompiledField::HANDLER_COUNT, &handlers, HANDLER_BYTES) ||
      !entries(CompiledRecord::HANDLER, handlers, [&] { return handler(); }))
    return false;
  sink_->end(CompiledRecord::HANDLERS);
  return leave();
}

// What an object has, from its name to its MODULE program.
bool CompiledWalk::object() {
  if (!text(CompiledField::OBJECT_NAME, false) || !attributes() || !handlers())
    return false;
  enter("module");
  return program_or_none() && leave();
}

// An editor with all objects in it, or an empty place. Each level of objects is
// a step of the path, with the number of the object as its index.
bool CompiledWalk::editor() {
  uint32_t type, sibling;
  uint32_t depth = 0;
  for (;;) {
    const uint64_t offset = position();
    if (!number(CompiledField::OBJECT_TYPE, &type)) return false;
    if (type != 0) {
      if (++depth > MASK_NESTING_LIMIT) {
        trouble(CompiledGrade::UNREADABLE, offset,
                CompiledName(CompiledField::OBJECT_TYPE),
                "an object inside " + std::to_string(depth - 1) + " others",
                "at most " + std::to_string(MASK_NESTING_LIMIT) +
                    " objects inside each other");
        return false;
      }
      sink_->begin(CompiledRecord::OBJECT);
      if (!object()) return false;
      enter("objects");
      set_index(0);
      continue;
    }
    if (depth == 0) return true;
    leave();
    sink_->end(CompiledRecord::OBJECT);
    if (--depth == 0) break;
    set_index(static_cast<uint32_t>(steps_.back().index + 1));
  }
  return code(CompiledField::SIBLING, &sibling, 0, 0);
}

bool CompiledWalk::editors() {
  enter("editors");
  sink_->begin(CompiledRecord::EDITORS);
  uint32_t editors;
  if (!count(CompiledField::EDITOR_COUNT, &editors, EDITOR_BYTES)) return false;
  for (uint32_t i = 0; i < editors; i++) {
    set_index(i);
    if (!editor()) return false;
  }
  sink_->end(CompiledRecord::EDITORS);
  return leave();
}

// The file --------------------------------------------------------------------

void CompiledWalk::go_on_behind(const CompiledWalk& other) {
  const uint64_t position = other.position();
  const std::string_view rest = file_.substr(position);
  if (other.transport() == XD_TRANSPORT_XDR)
    XdCreateXdr(&xd_, rest, position);
  else
    XdCreatePlain(&xd_, rest, position);
}

bool CompiledWalk::run() {
  if (!header()) return false;
  // The header has the same form in both transports.
  xd_.transport = static_cast<XdTransport>(header_.transport);
  const bool read =
      header_.kind == XD_KIND_MASK ? editors() : program_or_none();
  if (!read) return false;
  if (left() == 0) return true;
  trouble(CompiledGrade::UNREADABLE, position(), "",
          Bytes(left()) + " behind the last record", "the end of the file");
  return false;
}
