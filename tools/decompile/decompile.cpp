// A survey, a plan for the recorded lines, the text, and the compile that
// proves it. A text whose lines turn out too short for what has to stand in
// them gets a new plan, in which the statement that came too late begins
// another file.
#include "tools/decompile/decompile.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <set>

#include "Cutil/codes.h"
#include "elut/compile/parse.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"
#include "tools/compiled_model.h"
#include "tools/decompile/unparse.h"
#include "util/xd_header.h"

namespace {

constexpr size_t TEXT_LIMIT = size_t{64} << 20;  // and as much per byte
constexpr size_t TEXT_LIMIT_FACTOR = 64;
constexpr int PLANS = 64;  // that are tried

// The texts as files of a compile.
class TextFiles : public McSrcProvider {
 public:
  explicit TextFiles(const std::deque<SourceFile>& files) {
    for (const SourceFile& file : files) texts_[file.name] = &file.text;
  }
  UtPtr<McSrcBytes> open(const char* name) override {
    const auto found = texts_.find(name);
    if (found == texts_.end()) return nullptr;
    return UtMake<McSrcMemory>(*found->second);
  }

 private:
  std::map<std::string, const std::string*, std::less<>> texts_;
};

// Keeps the first report.
class FirstReport : public McReportSink {
 public:
  void report(const McReport& report) override {
    if (!text_.empty()) return;
    text_ = std::string(report.file) + ':' + std::to_string(report.line) +
            ": " + std::string(report.text);
    while (!text_.empty() && text_.back() == '\n') text_.pop_back();
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// Compiles the text and compares. Returns what is wrong, empty for nothing.
std::string CompileAgain(std::string_view bytes, const XdHeader& header,
                         const Unparsing& unparsing,
                         const std::deque<SourceFile>& files, bool* compiled) {
  McRun run;
  TextFiles provider(files);
  FirstReport reports;
  ByteComparison comparison(bytes);
  *compiled = false;
  McFront front(&run, &provider, &reports);
  front.parse.trace_level = unparsing.traced == Unparsing::Traced::YES ? 1 : 0;
  int code = McSrcOpen(&front.scanner.source, files[0].name.c_str());
  if (header.kind == XD_KIND_MASK) {
    EditorList list(&run.attribute_names);
    if (code == RC_OK) code = MaskParseDefinition(&front, &list);
    *compiled =
        code == RC_OK && (reports.text().empty() || unparsing.with_errors);
    if (*compiled)
      code = MaskListWriteToSink(&list, header.transport, &comparison);
  } else {
    McProgram program;
    if (code == RC_OK) code = McParseProgram(&front, &program);
    if (code == RC_OK) code = McResolveCalls(&program);
    *compiled = code == RC_OK && reports.text().empty();
    if (*compiled)
      code = McXdrWriteToSink(&program, header.transport, &comparison);
  }
  if (code == RC_NO_MEMORY) throw std::bad_alloc();
  if (!*compiled)
    return reports.text().empty() ? "it does not compile" : reports.text();
  if (comparison.same()) return {};
  return "byte " + std::to_string(comparison.first_difference()) +
         " of what it compiles to is another one";
}

// What no source gives, though the text compiled ---------------------------

std::string StrangePool(const StringPool& pool) {
  StringPool made;
  StringPoolInit(&made, POOL_UNIQUE);
  const char* const strange =
      "the pool of external names is not as adding names leaves it";
  for (uint32_t id = 0; id < pool.slots.size(); id++) {
    const char* text = StringPoolText(&pool, id);
    uint32_t slot;
    if (text == nullptr || StringPoolAdd(&made, text, &slot) != RC_OK ||
        slot != id || made.slots[id].reserved != pool.slots[id].reserved ||
        made.slots[id].offset != pool.slots[id].offset)
      return strange;
  }
  const bool same =
      made.flags == pool.flags && made.reuse_start == pool.reuse_start &&
      made.unused_start == pool.unused_start && made.text == pool.text &&
      made.text_capacity == pool.text_capacity;
  return same ? "" : strange;
}

std::string StrangeTables(const McProgram& program) {
  std::string strange = StrangePool(program.strings);
  if (!strange.empty()) return strange;
  McConstants constants;
  for (uint32_t i = 0; i < program.constants.count(); i++) {
    const McConstant& constant = program.constants[i];
    bool added;
    const uint32_t index =
        constant.type == McValueType::REAL
            ? constants.add_real(constant.real)
            : constants.add_string(constant.text, constant.length, &added);
    if (index != i) return "constant " + std::to_string(i) + " is there twice";
  }
  std::map<std::string_view, uint32_t> subs;
  for (uint32_t i = 0; i < program.subs.size(); i++)
    subs.emplace(program.subs[i].name, i);
  std::set<std::pair<int, std::string_view>> calls;
  for (uint32_t i = 0; i < program.calls.size(); i++) {
    const McCallRef& call = program.calls[i];
    const bool bound = call.kind == McCallKind::SUB && !call.external;
    const std::string_view name =
        bound ? program.subs[call.sub_index].name : call.name;
    const auto sub = subs.find(name);
    const std::string which = "call reference " + std::to_string(i);
    if (!calls.emplace(static_cast<int>(call.kind), name).second)
      return which + " is there twice";
    if (bound && sub->second != call.sub_index)
      return which + " is bound to a SUB that another one hides";
    if (call.kind == McCallKind::SUB && !bound && sub != subs.end() &&
        program.name != nullptr)
      return which + " is not bound, though there is such a SUB";
  }
  return {};
}

std::string StrangeObject(const MaskObject& object) {
  std::string strange;
  if (object.program != nullptr) strange = StrangeTables(*object.program);
  for (uint32_t i = 0; i < object.handlers.count && strange.empty(); i++)
    if (object.handlers.entries[i].kind == HandlerKind::PROGRAM)
      strange = StrangeTables(*object.handlers.entries[i].program);
  for (const MaskObject* child = object.first_child;
       child != nullptr && strange.empty(); child = child->next)
    strange = StrangeObject(*child);
  return strange;
}

// Why the file is none of a compiler's; empty when there is no reason.
std::string Strange(const CompiledModel& model) {
  if (model.header.Sub_vers != XD_SUB_VERSION ||
      model.header.maVers != XD_MAJOR_VERSION ||
      model.header.miVers != XD_MINOR_VERSION)
    return "the header is one of another version";
  if (model.program != nullptr) return StrangeTables(*model.program);
  std::set<std::string_view> names;
  for (const MaskObject* editor : model.list.editors) {
    if (!names.emplace(editor->name).second)
      return "editor '" + std::string(editor->name) + "' is there twice";
    std::string strange = StrangeObject(*editor);
    if (!strange.empty()) return strange;
  }
  return {};
}

// Names ---------------------------------------------------------------------

bool IsPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.';
}

// A name that needs no quotes in a command or a literal.
std::string PlainName(std::string name) {
  for (char& c : name)
    if (!IsPlain(c)) c = '_';
  return name;
}

// A name as a word of a command line, fit for a comment.
std::string QuotedName(const std::string& name) {
  if (std::all_of(name.begin(), name.end(), IsPlain)) return name;
  std::string quoted = "'";
  for (const char c : name) {
    if (static_cast<unsigned char>(c) < ' ')
      quoted += '?';
    else if (c == '\'')
      quoted += "'\\''";
    else
      quoted += c;
  }
  return quoted + '\'';
}

class Decompilation {
 public:
  Decompilation(std::string_view bytes, const std::string& base)
      : bytes_(bytes), base_(base) {}

  Decompiled run() {
    const std::string wrong = read();
    if (!wrong.empty()) return fail(wrong);
    header_ = model_->header;
    is_mask_ = model_->is_mask();
    try {
      return attempt();
    } catch (const Refusal& refusal) {
      if (!is_mask_) return refuse(refusal.reason);
    }
    try {
      unparsing_.with_errors = true;
      return attempt();
    } catch (const Refusal& refusal) {
      return refuse(refusal.reason);
    }
  }

 private:
  static Decompiled fail(std::string why) {
    return {DecompileOutcome::TROUBLE, std::move(why), {}};
  }
  static Decompiled refuse(std::string why) {
    return {DecompileOutcome::REFUSED, std::move(why), {}};
  }

  std::string read() {
    model_ = std::make_unique<CompiledModel>();
    return ReadCompiled(bytes_, model_.get());
  }

  bool traced() const { return unparsing_.traced == Unparsing::Traced::YES; }

  Decompiled attempt() {
    unparsing_.lines = {};
    unparsing_.programs.clear();
    unparsing_.traced = Unparsing::Traced::UNKNOWN;
    if (is_mask_)
      SurveyMasks(&unparsing_, model_->list);
    else
      SurveyProgram(&unparsing_, *model_->program);
    return make();
  }

  Decompiled make() {
    std::vector<uint32_t> apart;
    for (int i = 0; i < PLANS; i++) {
      LinePlan plan;
      if (!MakeLinePlan(unparsing_.lines, apart, &plan)) break;
      const std::string name = base_ + (is_mask_ ? ".msk" : ".mac");
      const std::string options =
          CompileOptions(header_.transport, is_mask_, traced());
      Layout layout(unparsing_.lines, plan, name, PlainName(base_),
                    "quillo " + options +
                        // A name is no option.
                        (name[0] == '-' ? "./" : "") + QuotedName(name),
                    TEXT_LIMIT + TEXT_LIMIT_FACTOR * bytes_.size());
      unparsing_.next_program = 0;
      unparsing_.error = false;
      if (is_mask_)
        WriteMasks(&unparsing_, model_->list, &layout);
      else
        WriteProgram(&unparsing_, *model_->program, &layout);
      std::deque<SourceFile> files = layout.finish();
      if (layout.too_large())
        return refuse("the text would be out of all proportion to the file");
      if (layout.late() == NO_LINE) return prove(std::move(files));
      const auto where =
          std::lower_bound(apart.begin(), apart.end(), layout.late());
      if (where != apart.end() && *where == layout.late()) break;
      apart.insert(where, layout.late());
    }
    return refuse("its lines would take more include files than there may be");
  }

  // The model is not there during the compile, which needs as much memory; it
  // is read again when the reason of a failure is looked for.
  Decompiled prove(std::deque<SourceFile> files) {
    model_.reset();
    bool compiled;
    const std::string wrong =
        CompileAgain(bytes_, header_, unparsing_, files, &compiled);
    if (wrong.empty()) return {DecompileOutcome::GIVEN, {}, std::move(files)};
    (void)read();
    std::string strange = Strange(*model_);
    if (strange.empty() &&
        !WritesTheSame(model_.get(), header_.transport, bytes_))
      strange = "it is not written as the compiler writes what is in it";
    if (!strange.empty()) return refuse(strange);
    if (!compiled && wrong.find("yacc stack overflow") != std::string::npos)
      return refuse("it nests deeper than the compiler reads");
    return fail("the text was not confirmed: " + wrong);
  }

  std::string_view bytes_;
  const std::string& base_;
  std::unique_ptr<CompiledModel> model_;
  XdHeader header_ = {};
  bool is_mask_ = false;
  Unparsing unparsing_;
};

}  // namespace

std::string CompileOptions(uint8_t transport, bool is_mask, bool traced) {
  std::string options;
  if (is_mask) options += "-w -cg ";
  if (transport == XD_TRANSPORT_PLAIN) options += "-noxdr ";
  if (traced) options += "-t 1 ";
  return options;
}

Decompiled Decompile(std::string_view bytes, const std::string& base) {
  return Decompilation(bytes, base).run();
}
