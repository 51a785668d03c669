// A record routine lists the fields of its record in file order, once for both
// directions. Trees are the exception: parents stand first in a file and last
// in memory.
#include "elut/files/program_file.h"

#include "Cutil/codes.h"
#include "Cutil/ut_file.h"
#include "elut/files/node_layout.h"
#include "util/xd_header.h"

namespace {

// A record routine sees the program through this: where what is read goes, and
// what the trees refer to that is read only after them.
struct Body {
  XdStream* xd;
  McProgram* program;
  uint32_t calls_needed = 0;  // one more than the highest call index so far

  bool writing() const { return xd->direction == XD_ENCODE; }
  bool reading() const { return xd->direction == XD_DECODE; }
  bool text(const char** text) {
    return XdText(xd, &program->store->arena, text);
  }
};

// Transfers the 16-bit count of a table whose entries take at least
// `entry_bytes`, and makes room for what is read.
template <class Entry>
bool TableCount(Body* body, UtVector<Entry>* table, unsigned entry_bytes) {
  auto count = static_cast<uint16_t>(table->size());
  if (!XdUShort(body->xd, &count)) return false;
  if (!XdCountFits(body->xd, count, entry_bytes)) return false;
  if (body->reading()) table->resize(count);
  return true;
}

bool McXdrImports(Body* body) {
  if (!TableCount(body, &body->program->imports, 9)) return false;
  for (McImport& import : body->program->imports) {
    if (!XdUChar(body->xd, &import.kind)) return false;
    if ((import.kind & ~MC_IMPORT_FILE) > MC_IMPORT_CSUB) return false;
    if (!body->text(&import.name)) return false;
    if (!body->text(&import.source)) return false;
    if ((import.kind & MC_IMPORT_FILE) != 0) continue;
    if (!body->text(&import.module)) return false;
  }
  return true;
}

// One constant: the table holds nothing but REAL and STRING values.
bool McXdrValue(Body* body, McConstant* constant) {
  XdStream* xd = body->xd;
  if (!XdEnum(xd, &constant->type, 5)) return false;
  if (constant->type == McValueType::REAL) return XdDouble(xd, &constant->real);
  if (constant->type != McValueType::STRING) return false;
  if (!XdULong(xd, &constant->length)) return false;
  // Writing does not change the characters.
  if (body->writing())
    return XdCharacters(xd, const_cast<char*>(constant->text),
                        constant->length);
  if (!XdCountFits(xd, constant->length, 1)) return false;
  auto* text = body->program->store->arena.take_array<char>(
      size_t{constant->length} + 1);
  text[constant->length] = '\0';
  constant->text = text;
  return XdCharacters(xd, text, constant->length);
}

bool McXdrConstants(Body* body) {
  McConstants& constants = body->program->constants;
  uint32_t count = constants.count();
  if (!XdULong(body->xd, &count)) return false;
  if (!XdCountFits(body->xd, count, 5)) return false;
  for (uint32_t i = 0; i < count; i++) {
    McConstant constant = {};
    if (body->writing()) constant = constants[i];
    if (!McXdrValue(body, &constant)) return false;
    if (body->reading()) constants.append(constant);
  }
  return true;
}

// Trees ---------------------------------------------------------------------

// What a node takes at most, with the end of its children.
constexpr size_t NODE_ROOM = 16;

// Writes a node and returns where the next one goes. All that a node may take
// is stored in one or two steps; what is behind its payload is zero and so the
// end of the children, when there are none.
template <XdTransport TRANSPORT>
[[gnu::always_inline]] inline uint8_t* PutNode(uint8_t* next,
                                               const McNode& node) {
  const auto kind = static_cast<uint8_t>(node.kind());
  const McNodeLayout layout = MC_NODE_LAYOUTS[kind];
  if constexpr (TRANSPORT == XD_TRANSPORT_PLAIN) {
    const uint64_t bytes =
        uint64_t{__builtin_bswap32(node.payload)} << 8 | kind;
    memcpy(next, &bytes, sizeof bytes);
    return next + layout.plain;
  } else {
    uint32_t first = node.payload >> layout.shift;
    if (kind == static_cast<uint8_t>(McNodeKind::EXTIND))
      first = static_cast<uint32_t>(int32_t{static_cast<int8_t>(first)});
    const uint64_t kind_and_first =
        uint64_t{kind} << 24 | uint64_t{__builtin_bswap32(first)} << 32;
    const uint64_t second = __builtin_bswap32(node.payload & layout.second);
    memcpy(next, &kind_and_first, 8);
    memcpy(next + 8, &second, 8);
    return next + layout.xdr;
  }
}

// Writes a tree in one pass over the array, in the order of McWalkTrees. What a
// leaf takes is complete with one step.
template <XdTransport TRANSPORT>
bool WriteTreeTo(Body* body, McTree tree) {
  constexpr size_t END = MC_KIND_BYTES<TRANSPORT>;
  XdStream* xd = body->xd;
  // All that the loop uses is at hand: bytes that are written might otherwise
  // be those of the stream, which would have to be looked at again.
  uint8_t* next = xd->next;
  const uint8_t* full = next;
  const auto make_room = [&] {
    if (next < full) [[likely]]
      return true;
    xd->next = next;
    if (!XdMakeRoom(xd, NODE_ROOM)) return false;
    next = xd->next;
    full = xd->limit - (NODE_ROOM - 1);
    return true;
  };
  const McNode* const nodes = &body->program->store->nodes[0];
  const McNode* const end = nodes + tree.end();
  for (const McNode* at = nodes + tree.first; at != end; at++) {
    if (!make_room()) return false;
    if (at->is_leaf()) {
      for (const McNode* parent = at + at->distance(); parent != at;
           parent -= parent->distance()) {
        next = PutNode<TRANSPORT>(next, *parent);
        if (!make_room()) return false;
      }
      next = PutNode<TRANSPORT>(next, *at) + END;
    } else {
      memset(next, 0, END);
      next += END;
    }
  }
  xd->next = next;
  return true;
}

bool WriteTree(Body* body, McTree tree) {
  uint8_t none = 0;
  if (tree.is_none()) return XdUChar(body->xd, &none);
  return body->xd->transport == XD_TRANSPORT_XDR
             ? WriteTreeTo<XD_TRANSPORT_XDR>(body, tree)
             : WriteTreeTo<XD_TRANSPORT_PLAIN>(body, tree);
}

// Reads the payload of a node of that kind.
bool ReadPayload(XdStream* xd, McNodeKind kind, uint32_t* payload) {
  uint16_t first = 0, second = 0;
  uint8_t op = 0;
  int8_t sigil = 0;
  *payload = 0;
  switch (MC_KIND_PAYLOADS[static_cast<unsigned>(kind)]) {
    case McPayload::NONE: return true;
    case McPayload::INTEGER:
    case McPayload::NUMBER: return XdULong(xd, payload);
    case McPayload::VARIABLE:
    case McPayload::FUNCTION:  // the number stands in the file twice
      if (!XdUShort(xd, &first) || !XdUShort(xd, &second)) return false;
      *payload = McPayloadOf(first, second);
      return true;
    case McPayload::OPERATOR:
      if (!XdUChar(xd, &op)) return false;
      *payload = McPayloadOfOperator(op);
      return true;
    case McPayload::INDEX:
      if (!XdUShort(xd, &first)) return false;
      *payload = McPayloadOfIndex(first);
      return true;
    case McPayload::SIGIL:
      if (!XdChar(xd, &sigil)) return false;
      *payload = McPayloadOfOperator(static_cast<uint8_t>(sigil));
      return true;
  }
  return false;
}

// True when what a node that was read refers to is there.
bool ReferenceHolds(Body* body, McNodeKind kind, uint32_t payload) {
  const McNode node = {0, payload};
  const McConstants& constants = body->program->constants;
  const auto constant = [&](McValueType type) {
    return node.number() < constants.count() &&
           constants[node.number()].type == type;
  };
  switch (kind) {
    case McNodeKind::REAL: return constant(McValueType::REAL);
    case McNodeKind::STRING: return constant(McValueType::STRING);
    case McNodeKind::EXTERN:
      return StringPoolText(&body->program->strings, node.number()) != nullptr;
    case McNodeKind::CALL:
      if (node.scope() >= body->calls_needed)
        body->calls_needed = uint32_t{node.scope()} + 1;
      return true;
    default: return true;
  }
}

// Reads the kind of a node and its payload; McNodeKind::EMPTY ends children.
template <XdTransport TRANSPORT>
inline bool ReadNode(XdStream* xd, McNodeKind* kind, uint32_t* payload) {
  constexpr unsigned KIND = MC_KIND_BYTES<TRANSPORT>;
  if (XdRemaining(xd) >= KIND + MC_PAYLOAD_PEEK) [[likely]] {
    const uint32_t number = McPeekKind<TRANSPORT>(xd->next);
    if (number < MC_KIND_COUNT) [[likely]] {
      *kind = static_cast<McNodeKind>(number);
      if (McPeekPayload<TRANSPORT>(xd->next + KIND, *kind, payload)) {
        xd->next += KIND + McPayloadBytes<TRANSPORT>(*kind);
        return true;
      }
    }
  }
  return XdEnum(xd, kind, MC_KIND_COUNT) &&
         (*kind == McNodeKind::EMPTY || ReadPayload(xd, *kind, payload));
}

// Reads nodes one after the other. A node goes into the array when its children
// have ended: `path` holds those that have not, with the place where the
// children of each begin.
template <XdTransport TRANSPORT>
bool ReadTree(Body* body, McTree* tree) {
  struct Open {
    McNodeKind kind;
    uint32_t payload;
    McNodeRef first;
  };
  XdStream* xd = body->xd;
  McNodes& nodes = body->program->store->nodes;
  UtVector<Open> path;
  const McNodeRef first = nodes.count();
  do {
    auto kind = McNodeKind::EMPTY;
    uint32_t payload = 0;
    if (!ReadNode<TRANSPORT>(xd, &kind, &payload)) return false;
    if (kind != McNodeKind::EMPTY) {
      if (!ReferenceHolds(body, kind, payload))
        return XdFail(xd, "a reference to nothing");
      path.push_back({kind, payload, nodes.count()});
    } else if (!path.empty()) {
      nodes.add_over(path.back().kind, path.back().payload, path.back().first);
      path.pop_back();
    }
  } while (!path.empty());
  *tree = {first, nodes.count() - first};
  return true;
}

bool McXdrTree(Body* body, McTree* tree) {
  if (!body->reading()) return WriteTree(body, *tree);
  return body->xd->transport == XD_TRANSPORT_XDR
             ? ReadTree<XD_TRANSPORT_XDR>(body, tree)
             : ReadTree<XD_TRANSPORT_PLAIN>(body, tree);
}

// The number of nodes of a tree. It is read and not needed.
bool McXdrNodeCount(Body* body, const McTree& tree) {
  uint32_t count = tree.count;
  return XdULong(body->xd, &count);
}

// Variables -----------------------------------------------------------------

bool McXdrRange(Body* body, McVar* variable) {
  XdStream* xd = body->xd;
  if (body->reading()) {
    variable->range = body->program->store->arena.take_array<McRange>(1);
  }
  McRange* range = variable->range;
  if (variable->type == McValueType::INTEGER)
    return XdLong(xd, &range->integer.low) && XdLong(xd, &range->integer.high);
  if (variable->type == McValueType::REAL)
    return XdDouble(xd, &range->real.low) && XdDouble(xd, &range->real.high);
  return false;
}

// Only the declared bounds are in the file; the current ones start out equal.
bool McXdrDims(Body* body, McVar* variable) {
  XdStream* xd = body->xd;
  if (body->reading()) {
    variable->dims =
        body->program->store->arena.take_array<McDim>(variable->dim_count);
  }
  for (unsigned i = 0; i < variable->dim_count; i++) {
    McDim* dim = &variable->dims[i];
    if (!XdLong(xd, &dim->declared_low)) return false;
    if (!XdLong(xd, &dim->declared_high)) return false;
    dim->current_low = dim->declared_low;
    dim->current_high = dim->declared_high;
  }
  return true;
}

bool McXdrVar(Body* body, McVar* variable) {
  XdStream* xd = body->xd;
  uint8_t flags = 0;
  if (body->writing()) {
    if (variable->range != nullptr) flags |= HAS_RANGE;
    if (variable->dims != nullptr) flags |= HAS_DIMS;
  }
  if (!XdEnum(xd, &variable->type, 5)) return false;
  if (!XdEnum(xd, &variable->storage, 4)) return false;
  if (!XdUChar(xd, &variable->dim_count)) return false;
  if (!XdUChar(xd, &flags) || flags > (HAS_RANGE | HAS_DIMS)) return false;
  if (!body->text(&variable->name)) return false;
  if ((flags & HAS_RANGE) != 0 && !McXdrRange(body, variable)) return false;
  return (flags & HAS_DIMS) == 0 || McXdrDims(body, variable);
}

bool McXdrVarTable(Body* body, McVarTable* table) {
  if (!TableCount(body, &table->entries, 8)) return false;
  if (!XdUShort(body->xd, &table->required)) return false;
  for (McVar& variable : table->entries)
    if (!McXdrVar(body, &variable)) return false;
  return true;
}

bool McXdrCommons(Body* body, UtVector<McCommon>* commons) {
  if (!TableCount(body, commons, 8)) return false;
  for (McCommon& common : *commons) {
    if (!McXdrVarTable(body, &common.variables)) return false;
    if (!body->text(&common.name)) return false;
  }
  return true;
}

// Routines ------------------------------------------------------------------

bool McXdrSubs(Body* body) {
  if (!TableCount(body, &body->program->subs, 15)) return false;
  for (McSub& sub : body->program->subs) {
    if (!body->text(&sub.name)) return false;
    if (!McXdrVarTable(body, &sub.locals)) return false;
    if (!McXdrVarTable(body, &sub.parameters)) return false;
    if (!McXdrCommons(body, &sub.commons)) return false;
    if (!McXdrTree(body, &sub.body)) return false;
  }
  return true;
}

bool McXdrCalls(Body* body) {
  XdStream* xd = body->xd;
  UtVector<McCallRef>& calls = body->program->calls;
  if (!TableCount(body, &calls, 3)) return false;
  for (McCallRef& call : calls) {
    auto kind = static_cast<uint8_t>(call.kind);
    if (call.external) kind |= EXTERNAL_CALL;
    if (!XdUChar(xd, &kind)) return false;
    call.external = (kind & EXTERNAL_CALL) != 0;
    call.kind = static_cast<McCallKind>(kind & ~EXTERNAL_CALL);
    switch (call.kind) {
      case McCallKind::SUB:
      case McCallKind::FN:
        if (call.external ? !body->text(&call.name)
                          : !XdUShort(xd, &call.sub_index))
          return false;
        if (!call.external && call.sub_index >= body->program->subs.size())
          return false;
        continue;
      case McCallKind::CFN:
        if (call.external || !body->text(&call.name)) return false;
        continue;
    }
    return false;
  }
  return body->calls_needed <= calls.size();
}

// Tables that a tree's variables can be in.
struct VisibleTables {
  const McVarTable* locals;
  const McVarTable* parameters;  // nullptr: none, in the main program
  const UtVector<McCommon>* commons;

  bool hold(McScope scope, uint16_t index) const {
    const McVarTable* table = nullptr;
    if (scope == MC_SCOPE_LOCAL) table = locals;
    if (scope == MC_SCOPE_PARAMETER) table = parameters;
    if (scope >= MC_SCOPE_COMMON &&
        static_cast<size_t>(scope - MC_SCOPE_COMMON) < commons->size())
      table =
          &(*commons)[static_cast<size_t>(scope - MC_SCOPE_COMMON)].variables;
    return table != nullptr && index < table->entries.size();
  }
};

// True when every variable that a tree names is in a table.
bool VariablesHold(Body* body, const McTree& tree,
                   const VisibleTables& tables) {
  const McNodes& nodes = body->program->store->nodes;
  for (McNodeRef at = tree.first; at != tree.end(); at++) {
    const McNode& node = nodes[at];
    if (MC_KIND_PAYLOADS[static_cast<unsigned>(node.kind())] ==
            McPayload::VARIABLE &&
        !tables.hold(node.scope(), node.index()))
      return XdFail(body->xd, "a variable that is in no table");
  }
  return true;
}

// Trees stand in the file in front of the tables that they need, or behind.
bool AllVariablesHold(Body* body) {
  const McProgram& program = *body->program;
  if (!VariablesHold(body, program.body,
                     {&program.variables, nullptr, &program.commons}))
    return false;
  for (const McSub& sub : program.subs)
    if (!VariablesHold(body, sub.body,
                       {&sub.locals, &sub.parameters, &sub.commons}))
      return false;
  return true;
}

bool McXdrProgramBody(XdStream* xd, McProgram* program) {
  Body body = {xd, program};
  if (!StringPoolRecord(xd, &program->strings)) return false;
  if (!body.text(&program->name)) return false;
  if (!McXdrImports(&body)) return false;
  if (!McXdrConstants(&body)) return false;
  if (!McXdrNodeCount(&body, program->body)) return false;
  if (!McXdrTree(&body, &program->body)) return false;
  if (!McXdrVarTable(&body, &program->variables)) return false;
  if (!McXdrCommons(&body, &program->commons)) return false;
  if (!McXdrSubs(&body)) return false;
  if (!McXdrCalls(&body)) return false;
  return !body.reading() || AllVariablesHold(&body);
}

XdFileKind KindOf(const McProgram* program) {
  return program->body.is_none() ? XD_KIND_MODULE : XD_KIND_PROGRAM;
}

bool WriteRecord(XdStream* xd, void* program) {
  auto* record = static_cast<McProgram*>(program);
  bool written = false;
  return UtGuarded([&] {
           written = McXdrProgram(xd, nullptr, &record);
           return RC_OK;
         }) == RC_OK &&
         written;
}

}  // namespace

int McXdrWriteToFile(McProgram* program, int transport, const char* path) {
  // Nobody may take a part of a program for the whole.
  return XdWriteFile(path, KindOf(program), transport, XdPart::DROPPED,
                     WriteRecord, program);
}

int McXdrWriteToSink(McProgram* program, int transport, XdSink* sink) {
  XdStream xd;
  if (const int code = XdOpenForWriting(&xd, sink, transport)) return code;
  XdWriteHeader(&xd, KindOf(program));
  return WriteRecord(&xd, program) && XdDestroy(&xd) ? RC_OK : RC_BODY_FAILED;
}

int McXdrReadFromFile(const char* path, UtPtr<McProgram>* program) {
  program->reset();
  UtString bytes;
  switch (UtReadWhole(path, UT_LARGEST_FILE, &bytes)) {
    case RC_OK: return McXdrReadFromBytes(bytes, program);
    case RC_NO_MEMORY: return RC_BODY_FAILED;
    default: return RC_CANNOT_CREATE;
  }
}

int McXdrReadFromBytes(std::string_view bytes, UtPtr<McProgram>* program) {
  program->reset();
  XdStream xd;
  XdHeader header;
  if (const int code = XdOpenForReading(bytes, XD_KIND_PROGRAM, XD_KIND_MODULE,
                                        &xd, &header))
    return code;
  const int code = UtGuarded([&] {
    McProgram* read = nullptr;
    const bool complete = McXdrProgram(&xd, nullptr, &read);
    program->reset(read);
    const bool sound = complete && read != nullptr && XdRemaining(&xd) == 0 &&
                       KindOf(read) == header.kind;
    return sound ? RC_OK : RC_BODY_FAILED;
  });
  if (code == RC_OK) return code;
  program->reset();
  return RC_BODY_FAILED;
}

bool McXdrProgram(XdStream* xd, McStore* shared, McProgram** slot) {
  uint8_t present = *slot != nullptr;
  if (!XdUChar(xd, &present)) return false;
  if (present > 1) return XdFail(xd, "a program that is neither there nor not");
  if (present == 0) return true;
  if (xd->direction == XD_ENCODE) return McXdrProgramBody(xd, *slot);
  UtPtr<McProgram> program =
      shared == nullptr ? McProgramCreate() : McProgramCreate(shared);
  if (!McXdrProgramBody(xd, program.get())) return false;
  *slot = program.release();
  return true;
}
