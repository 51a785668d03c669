// dump: every byte of a compiled file, and what it is.
//
//   00000008  01                 presence  1 a program follows
//   00000009  00 01              pool.version  1
//   00000054  01 00 02 00 00 00  body/BLOCK/ASSIGN/VAR  local 0 i
//
// A node is one line, with the end of its children when it has none. In JSON
// every field is an element of its own.
#include "tools/dump.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tools/command.h"
#include "tools/compiled/meaning.h"

namespace {

constexpr size_t LINE_BYTES = ToolOutput::PLACE_BYTES;  // of the file on a line
constexpr size_t HEX_COLUMNS = 19;  // that bytes take at least

// What a kind of node adds to a path; copied with its fill, which is fast.
constexpr size_t KIND_BYTES = 16;
struct KindPart {
  char text[KIND_BYTES] = {'/'};
  size_t length = 1;
};
struct KindParts {
  KindPart parts[MC_KIND_COUNT];
  constexpr KindParts() {
    for (unsigned kind = 0; kind < MC_KIND_COUNT; kind++) {
      KindPart& part = parts[kind];
      for (const char* c = MC_KIND_NAMES[kind]; *c != '\0'; c++)
        part.text[part.length++] = *c;
    }
  }
};
constexpr KindParts KINDS;

// The paths of what a walk comes across. Most have much in common with the one
// before: those of the fields of a record, and those of a node and its parent.
class Paths {
 public:
  // At the beginning of a tree.
  void begin_tree(const CompiledWalk& walk) {
    nodes_.clear();
    walk.append_path(&nodes_);
    ends_[0] = nodes_.size();
    nodes_.resize(ends_[0] + CompiledWalk::SHOWN_NODES * KIND_BYTES);
  }

  // That of the record, with a "." behind it.
  std::string_view record(const CompiledWalk& walk) {
    if (record_changes_ != walk.record_changes()) {
      record_.clear();
      walk.append_path(&record_);
      if (!record_.empty()) record_ += '.';
      record_changes_ = walk.record_changes();
    }
    return record_;
  }

  // That of the node that the walk is at. The path of its parent is there
  // still, unless some of its parts are left out.
  std::string_view node(const CompiledWalk& walk) {
    const auto& kinds = walk.kinds();
    const size_t depth = kinds.size();
    if (depth > CompiledWalk::SHOWN_NODES) return long_path(kinds);
    const size_t parent = ends_[depth - 1];
    const KindPart& part = KINDS.parts[kinds.back()];
    memcpy(nodes_.data() + parent, part.text, KIND_BYTES);
    ends_[depth] = parent + part.length;
    return {nodes_.data(), ends_[depth]};
  }

 private:
  std::string_view long_path(const UtVector<uint8_t>& kinds) {
    constexpr size_t ENDS = CompiledWalk::SHOWN_ENDS;
    constexpr size_t MOST_DIGITS = 20;
    const size_t begin = ends_[ENDS];
    long_.resize(begin + MOST_DIGITS + 3 + ENDS * KIND_BYTES);
    char* next = long_.data();
    memcpy(next, nodes_.data(), begin);
    memcpy(next + begin, "/(", 2);
    next += begin + 2;
    next = std::to_chars(next, next + MOST_DIGITS, kinds.size() - 2 * ENDS).ptr;
    *next++ = ')';
    for (size_t i = kinds.size() - ENDS; i < kinds.size(); i++) {
      const KindPart& part = KINDS.parts[kinds[i]];
      memcpy(next, part.text, KIND_BYTES);
      next += part.length;
    }
    return {long_.data(), static_cast<size_t>(next - long_.data())};
  }

  std::string record_;
  uint64_t record_changes_ = UINT64_MAX;  // of the walk when it was made
  std::string nodes_;  // of the node asked for last, and room
  size_t ends_[CompiledWalk::SHOWN_NODES + 1] = {};  // by depth
  std::string long_;
};

struct Dump {
  bool json = false;
  std::string file;
};

class TextDump : public CompiledSink {
 public:
  TextDump(std::string_view file, ToolOutput* out) : file_(file), out_(out) {}

  void value(const CompiledValue& value) override {
    const uint64_t end = begin_line(value.offset, value.length);
    out_->put(paths_.record(*walk));
    out_->put(CompiledName(value.field));
    out_->put("  ");
    put(value);
    end_line(value.offset, value.length, end);
  }

  void node(const CompiledNode& node) override {
    const uint64_t length =
        node.length + (!node.leaf                              ? 0
                       : walk->transport() == XD_TRANSPORT_XDR ? 4
                                                               : 1);
    const uint64_t end = begin_line(node.offset, length);
    out_->put(paths_.node(*walk));
    out_->put("  ");
    CompiledMeaning(*walk, node, out_);
    end_line(node.offset, length, end);
  }

  void node_end(const CompiledValue& end) override {
    const uint64_t shown = begin_line(end.offset, end.length);
    out_->put(paths_.node(*walk));
    out_->put(".end");
    end_line(end.offset, end.length, shown);
  }

  void begin(CompiledRecord record) override {
    if (record == CompiledRecord::TREE) paths_.begin_tree(*walk);
  }

  void trouble(const CompiledTrouble& trouble) override {
    out_->put("! ");
    out_->hex(trouble.offset, 8);
    out_->put("  ");
    out_->put(trouble.path);
    out_->put(": ");
    out_->put(trouble.found);
    out_->put(", expected ");
    out_->put(trouble.expected);
    out_->put('\n');
  }

  // What cannot be read.
  void rest(uint64_t offset) {
    if (offset == file_.size()) return;
    const uint64_t end = begin_line(offset, file_.size() - offset);
    out_->put("not read");
    end_line(offset, file_.size() - offset, end);
  }

 private:
  // The first bytes of what is at an offset. Returns the offset behind them.
  uint64_t begin_line(uint64_t offset, uint64_t length) {
    const uint64_t shown = std::min<uint64_t>(length, LINE_BYTES);
    out_->place(offset, file_.substr(offset, shown), HEX_COLUMNS);
    return offset + shown;
  }
  // The end of the line, and the other bytes.
  void end_line(uint64_t offset, uint64_t length, uint64_t shown) {
    out_->drop_blanks();
    out_->put('\n');
    const uint64_t end = offset + length;
    while (shown < end) {
      shown = begin_line(shown, end - shown);
      out_->drop_blanks();
      out_->put('\n');
    }
  }

  void put(const CompiledValue& value) {
    switch (CompiledTypeOf(value.field)) {
      case CompiledType::TEXT:
        if (value.absent)
          out_->put("no text");
        else
          out_->quoted(value.text);
        return;
      case CompiledType::BLOCK:
        out_->decimal(uint64_t{value.text.size()});
        return out_->put(" bytes");
      case CompiledType::F64: return out_->real(value.real);
      case CompiledType::I8:
      case CompiledType::I32:
        out_->decimal(static_cast<int32_t>(value.number));
        break;
      default: out_->decimal(value.number);
    }
    out_->put(' ');
    CompiledMeaning(*walk, value, out_);
  }

  std::string_view file_;
  ToolOutput* out_;
  Paths paths_;
};

class JsonDump : public CompiledSink {
 public:
  JsonDump(std::string_view file, ToolJson* json, std::string* findings)
      : file_(file), json_(json), findings_(findings) {}

  void begin(CompiledRecord record) override {
    if (record == CompiledRecord::TREE) paths_.begin_tree(*walk);
  }

  void value(const CompiledValue& value) override {
    put(value, paths_.record(*walk));
  }

  void node(const CompiledNode& node) override {
    CompiledValue values[COMPILED_NODE_FIELDS];
    const int count = CompiledNodeValues(walk->transport(), node, values);
    node_path_ = paths_.node(*walk);
    node_path_ += '.';
    for (int i = 0; i < count; i++) put(values[i], node_path_);
  }

  void node_end(const CompiledValue& end) override {
    node_path_ = paths_.node(*walk);
    node_path_ += '.';
    put(end, node_path_);
  }

  // They follow the fields.
  void trouble(const CompiledTrouble& trouble) override {
    ToolText text;
    ToolJson json(&text);
    json.begin_object();
    json.key("offset").number(trouble.offset);
    json.key("path").text(trouble.path);
    json.key("found").text(trouble.found);
    json.key("expected").text(trouble.expected);
    json.end_object();
    (void)text.finish();
    if (!findings_->empty()) *findings_ += ',';
    *findings_ += '\n' + text.text;
    findings_->pop_back();
  }

 private:
  void put(const CompiledValue& value, std::string_view path) {
    const CompiledType type = CompiledTypeOf(value.field);
    json_->begin_object();
    json_->key("offset").number(value.offset);
    json_->key("length").number(value.length);
    json_->key("bytes").hex_bytes(file_.substr(value.offset, value.length));
    path_ = path;
    path_ += CompiledName(value.field);
    json_->key("path").text(path_);
    json_->key("type").text(CompiledTypeName(type));
    json_->key("value");
    switch (type) {
      case CompiledType::TEXT:
      case CompiledType::BLOCK:
        if (value.absent)
          json_->null();
        else
          json_->text(value.text);
        break;
      case CompiledType::F64: json_->real(value.real); break;
      case CompiledType::I8:
      case CompiledType::I32:
        json_->number(static_cast<int32_t>(value.number));
        break;
      default: json_->number(value.number);
    }
    json_->end_object();
  }

  std::string_view file_;
  ToolJson* json_;
  std::string* findings_;
  Paths paths_;
  std::string node_path_, path_;
};

}  // namespace

bool ToolDumpText(std::string_view bytes, ToolOutput* out) {
  TextDump sink(bytes, out);
  CompiledWalk walk(bytes, &sink);
  const bool complete = walk.run();
  sink.rest(walk.position());
  return complete;
}

bool ToolDumpJson(const std::string& file, std::string_view bytes,
                  ToolOutput* out) {
  ToolJson json(out);
  std::string findings;
  json.begin_object();
  json.key("version").number(1);
  json.key("file").text(file);
  json.key("size").number(uint64_t{bytes.size()});
  json.key("fields").begin_array();
  JsonDump sink(bytes, &json, &findings);
  CompiledWalk walk(bytes, &sink);
  const bool complete = walk.run();
  json.end_array();
  json.key("findings").raw("[" + findings + "]");
  json.key("rest").begin_object();
  json.key("offset").number(walk.position());
  json.key("bytes").hex_bytes(bytes.substr(walk.position()));
  json.end_object();
  json.end_object();
  return complete;
}

namespace {

int Run(const Dump& options) {
  UtString bytes;
  if (!ToolRead(options.file, &bytes)) return TOOL_TROUBLE;
  ToolStdout out;
  const bool complete = options.json ? ToolDumpJson(options.file, bytes, &out)
                                     : ToolDumpText(bytes, &out);
  if (!out.finish()) return TOOL_TROUBLE;
  return complete ? TOOL_FINE : TOOL_NO;
}

}  // namespace

void AddDump(CLI::App* app, int* status) {
  auto options = std::make_shared<Dump>();
  CLI::App* command = app->add_subcommand(
      "dump", "Print every byte of a compiled file, and what it is");
  command->add_flag("--json", options->json, "Print the fields as JSON");
  command->add_option("FILE", options->file, "Compiled file")->required();
  command->callback([options, status] { *status = Run(*options); });
}
