// Texts are cut after some characters: the same constant may be referred to a
// million times.
#include "tools/compiled/meaning.h"

#include <cstring>
#include <iterator>

#include "elut/compile/builtins.h"
#include "elut/model/mask_objects.h"
#include "elut/model/program.h"
#include "tools/compiled/tables.h"

namespace {

constexpr size_t SHOWN_CHARACTERS = 40;

constexpr const char* FILE_KINDS[] = {nullptr, "program", "module", "masks"};

void PutText(ToolOutput* out, std::string_view text) {
  out->quoted(text.substr(0, SHOWN_CHARACTERS));
  if (text.size() > SHOWN_CHARACTERS) out->put("...");
}

void PutText(ToolOutput* out, const CompiledWalk& walk,
             const CompiledText& text) {
  if (text.is_absent())
    out->put("no text");
  else
    PutText(out, text.in(walk.file()));
}

template <size_t COUNT>
void PutName(ToolOutput* out, const char* const (&names)[COUNT],
             uint32_t number) {
  const char* name = number < COUNT ? names[number] : nullptr;
  out->put(name == nullptr ? "?" : name);
}

double RealAt(const CompiledWalk& walk, uint32_t at) {
  uint64_t bits;
  memcpy(&bits, walk.file().data() + at, sizeof bits);
  bits = __builtin_bswap64(bits);
  double real;
  memcpy(&real, &bits, sizeof real);
  return real;
}

void PutScope(ToolOutput* out, const CompiledWalk& walk, uint32_t scope) {
  if (scope == MC_SCOPE_LOCAL) return out->put("local");
  if (scope == MC_SCOPE_PARAMETER) return out->put("parameter");
  if (scope < MC_SCOPE_COMMON) return out->put("?");
  out->put("COMMON ");
  const auto& commons = walk.tables()->routine(walk.sub()).commons;
  const uint32_t block = scope - MC_SCOPE_COMMON;
  if (block < commons.count)
    PutText(out, walk, walk.tables()->commons[commons.first + block].name);
}

void PutVariable(ToolOutput* out, const CompiledWalk& walk, uint32_t scope,
                 uint32_t index) {
  const CompiledTables& tables = *walk.tables();
  const CompiledTables::Variable* variable =
      tables.variable(tables.routine(walk.sub()), scope, index);
  if (variable == nullptr)
    out->put('?');
  else
    out->put(variable->name.in(walk.file()));
}

void PutConstant(ToolOutput* out, const CompiledWalk& walk, uint32_t number) {
  const auto& constants = walk.tables()->constants;
  if (number >= constants.size()) return out->put('?');
  const CompiledTables::Constant& constant = constants[number];
  if (constant.type == static_cast<uint8_t>(McValueType::REAL))
    out->real(RealAt(walk, constant.at));
  else
    PutText(out, walk, constant.text);
}

void PutCallKind(ToolOutput* out, uint32_t kind) {
  switch (kind & 0x7F) {
    case 1: out->put("SUB"); break;
    case 2: out->put("FN"); break;
    case 3: out->put("CFN"); break;
    default: out->put('?');
  }
  if (kind == 1 || kind == 2) out->put(" of this file");
}

void PutCall(ToolOutput* out, const CompiledWalk& walk, uint32_t number) {
  const CompiledTables& tables = *walk.tables();
  if (number >= tables.calls.size()) return out->put('?');
  const CompiledTables::Call& call = tables.calls[number];
  PutCallKind(out, call.kind | 0x80u);
  out->put(' ');
  out->put(tables.call_name(call).in(walk.file()));
}

void PutSlot(ToolOutput* out, const CompiledWalk& walk, uint32_t number) {
  const auto& slots = walk.tables()->slots;
  if (number >= slots.size() || slots[number].text.is_absent())
    out->put('?');
  else
    out->put(slots[number].text.in(walk.file()));
}

void PutOperator(ToolOutput* out, McNodeKind kind, uint32_t op) {
  const char* name = kind == McNodeKind::UNARY
                         ? CompiledUnary(static_cast<uint8_t>(op))
                         : CompiledOperator(static_cast<uint8_t>(op));
  if (kind == McNodeKind::ASSIGN) {
    if (op != 0) out->put(name == nullptr ? "?" : name);
    out->put('=');
  } else {
    out->put(name == nullptr ? "?" : name);
  }
}

void PutEvents(ToolOutput* out, uint32_t mask) {
  bool first = true;
  const auto put = [&](const char* word) {
    if (!first) out->put(" OR ");
    first = false;
    out->put(word);
  };
#define EVENT(name) \
  if ((mask & EVENT_##name) != 0) put(#name);
  EVENT(ENTER)
  EVENT(EXIT)
  EVENT(CONTROL)
  EVENT(KEY)
  EVENT(ABORT)
  EVENT(EXPOSE)
  EVENT(RESIZE)
  EVENT(BUTTON)
  EVENT(MOTION)
  EVENT(DESTROY)
  EVENT(CONFIRM)
  EVENT(CREATE)
  EVENT(SHOW)
  EVENT(HIDE)
  EVENT(COMPUTE)
  EVENT(ACTIVATE)
  EVENT(MODIFY)
#undef EVENT
}

}  // namespace

const char* CompiledOperator(uint8_t op) {
  switch (op) {
#define MC_OPERATOR(number, name, token, text) \
  case number:                                 \
    return text;
#include "elut/syntax/operators.def"
#undef MC_OPERATOR
  }
  return nullptr;
}

const char* CompiledUnary(uint8_t op) {
  return op < std::size(UNARY_OPERATORS) ? UNARY_OPERATORS[op] : nullptr;
}

void CompiledMeaning(const CompiledWalk& walk, const CompiledValue& value,
                     ToolOutput* out) {
  const uint32_t number = value.number;
  switch (value.field) {
    case CompiledField::MAGIC: return out->put("compiled file");
    case CompiledField::FILE_KIND: return PutName(out, FILE_KINDS, number);
    case CompiledField::TRANSPORT:
      return out->put(number == XD_TRANSPORT_XDR     ? "XDR"
                      : number == XD_TRANSPORT_PLAIN ? "plain"
                                                     : "?");
    case CompiledField::PRESENCE:
      return out->put(number == 0 ? "no program" : "a program follows");
    case CompiledField::IMPORT_KIND:
      PutName(out, {"macro", "CSUB"}, number & 0x7F);
      if ((number & MC_IMPORT_FILE) != 0) out->put(" FROM FILE");
      return;
    case CompiledField::CONSTANT_TYPE:
    case CompiledField::VARIABLE_TYPE:
      return PutName(out, MC_TYPE_NAMES, number);
    case CompiledField::VARIABLE_STORAGE:
      return PutName(out, MC_STORAGE_NAMES, number);
    case CompiledField::VARIABLE_FLAGS:
      if (number == 0) return;
      return PutName(out, {"", "range", "bounds", "range and bounds"}, number);
    case CompiledField::CALL_KIND: return PutCallKind(out, number);
    case CompiledField::CALL_SUB:
      if (walk.tables() != nullptr && number < walk.tables()->subs.size())
        PutText(out, walk, walk.tables()->subs[number].name);
      return;
    case CompiledField::OBJECT_TYPE:
      return number == 0 ? out->put("end of the objects")
                         : PutName(out, MASK_TYPE_NAMES, number);
    case CompiledField::SIBLING: return out->put("end of the editor");
    case CompiledField::ATTRIBUTE_TYPE:
      return PutName(
          out, {nullptr, "integer", nullptr, nullptr, "text", "text"}, number);
    case CompiledField::HANDLER_KIND:
      return PutName(out, {nullptr, "attributes", "program"}, number);
    case CompiledField::HANDLER_EVENTS: return PutEvents(out, number);
    case CompiledField::NODE_KIND: return PutName(out, MC_KIND_NAMES, number);
    case CompiledField::NODE_END:
      return out->put(walk.kinds().empty() ? "no tree" : "end");
    default: break;
  }
}

void CompiledMeaning(const CompiledWalk& walk, const CompiledNode& node,
                     ToolOutput* out) {
  const McNode bits = {0, node.payload};
  switch (node.kind) {
    case McNodeKind::VAR:
    case McNodeKind::REFVAR:
      PutScope(out, walk, bits.scope());
      out->put(' ');
      out->decimal(uint32_t{bits.index()});
      out->put(' ');
      return PutVariable(out, walk, bits.scope(), bits.index());
    case McNodeKind::INT: return out->decimal(bits.integer());
    case McNodeKind::REAL:
    case McNodeKind::STRING:
      out->decimal(bits.number());
      out->put(' ');
      return PutConstant(out, walk, bits.number());
    case McNodeKind::FUNC: return PutName(out, MC_BUILTIN_NAMES, bits.scope());
    case McNodeKind::OPERA:
    case McNodeKind::ASSIGN:
    case McNodeKind::UNARY: return PutOperator(out, node.kind, bits.op());
    case McNodeKind::CALL:
      out->decimal(uint32_t{bits.scope()});
      out->put(' ');
      return PutCall(out, walk, bits.scope());
    case McNodeKind::TRACE:
      out->put("line ");
      return out->decimal(bits.number());
    case McNodeKind::REFER: return PutName(out, MEMBERS, bits.scope());
    case McNodeKind::EXTERN:
      out->decimal(bits.number());
      out->put(' ');
      return PutSlot(out, walk, bits.number());
    case McNodeKind::EXTIND:
      return out->quoted(std::string(1, static_cast<char>(bits.op())));
    default: break;
  }
}
