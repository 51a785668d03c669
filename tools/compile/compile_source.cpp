// The road of a source is that of the compiler's driver, with two differences:
// any report makes it a failure, and a failure stores nothing.
#include "tools/compile/compile_source.h"

#include <unistd.h>

#include <cerrno>
#include <iterator>

#include "Cutil/codes.h"
#include "Cutil/ut_file.h"
#include "elut/compile/parse.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"
#include "tools/compile/report_findings.h"
#include "tools/depfile.h"
#include "tools/includes.h"
#include "tools/output_names.h"
#include "tools/source_kind.h"

namespace {

class Compiler {
 public:
  Compiler(const CompileOptions& options, const SourceIdentities& sources,
           StoreGate* gate, const CompileJob& job)
      : options_(options), sources_(sources), gate_(gate), job_(job) {}

  CompileOutcome run();

 private:
  void compile();
  bool parsed(int code);
  int store_program(McFront* front);
  int store_masks(McFront* front);
  int prepare_output();
  void remove_stale();
  void fail(const std::string& file, int code, std::string message);

  const CompileOptions& options_;
  const SourceIdentities& sources_;
  StoreGate* gate_;
  const CompileJob& job_;
  McSrcFiles system_;
  ToolRecordedFiles files_{&system_};
  ToolReportFindings reports_;
  bool mask_ = false;
  std::string output_;
  std::string unstored_;  // the file that is being written
  std::string bad_name_;  // that no depfile can hold
  CompileOutcome outcome_;
};

void Compiler::fail(const std::string& file, int code, std::string message) {
  ToolFinding finding;
  finding.place.file = file;
  finding.message = std::move(message);
  finding.code = code;
  outcome_.findings.push_back(std::move(finding));
}

// The depfile comes first: when everything ends between the two, the output is
// still the old one, and is made again.
int Compiler::prepare_output() {
  unstored_ = output_;
  if (sources_.hold(output_.c_str())) return RC_CANNOT_CREATE;
  if (!options_.depfile) return RC_OK;
  const auto full = [&](const std::string& name) {
    return name.starts_with('/') ? name : options_.absolute_prefix + name;
  };
  ToolDependencies dependencies = {full(output_), full(job_.source), {}};
  for (size_t i = 1; i < files_.names().size(); i++)
    dependencies.includes.push_back(full(files_.names()[i].name));
  std::string text;
  if (!ToolDepfileRule(ToolDepfile::COMMON, dependencies, &text, &bad_name_))
    return RC_INVALID;
  bad_name_.clear();
  const std::string path =
      options_.depfile_prefix + job_.stem + ToolOutputExtension(mask_) + ".d";
  unstored_ = path;
  if (sources_.hold(path.c_str())) return RC_CANNOT_CREATE;
  UtOutputFile file;
  if (const int code = file.open(path.c_str())) return code;
  if (!file.write(text.data(), text.size()) || !file.commit())
    return RC_BODY_FAILED;
  unstored_ = output_;
  return RC_OK;
}

// A parse that fails without a report sets its code alone.
bool Compiler::parsed(int code) {
  if (reports_.empty() && code != RC_OK)
    fail(job_.source, code, "the source cannot be compiled");
  return reports_.empty() && code == RC_OK;
}

int Compiler::store_program(McFront* front) {
  McProgram program;
  int code = McParseProgram(front, &program);
  if (code == RC_OK) code = McResolveCalls(&program);
  if (!parsed(code)) return RC_OK;
  const StoreGate::Hold hold(gate_);
  if ((code = prepare_output()) != RC_OK) return code;
  return McXdrWriteToFile(&program, options_.transport, output_.c_str());
}

int Compiler::store_masks(McFront* front) {
  EditorList list(&front->run->attribute_names);
  int code = MaskParseDefinition(front, &list);
  if (!parsed(code)) return RC_OK;
  const StoreGate::Hold hold(gate_);
  if ((code = prepare_output()) != RC_OK) return code;
  return MaskListWriteWhole(&list, options_.transport, output_.c_str());
}

void Compiler::compile() {
  const char* name = job_.source.c_str();
  ToolSource source(&files_, name);
  mask_ = ToolIsMask(source.kind());
  // A source that is not there has no text to tell what it was.
  if (!source.found()) mask_ = job_.source.ends_with(".msk");
  // Nor has one that is of no kind; its reports are those of what it should be.
  const bool known = source.found() && source.kind() != ToolSourceKind::UNKNOWN;
  const bool other = options_.masks && known && mask_ != *options_.masks;
  if (options_.masks) mask_ = *options_.masks;
  output_ = job_.prefix + job_.stem + ToolOutputExtension(mask_);
  if (!source.found())
    return fail(job_.source, RC_CANNOT_OPEN, "file not found");
  if (other)
    return fail(job_.source, 0,
                mask_ ? "this is no mask" : "this is a mask, no program");
  McRun run;
  McFront front(&run, &source, &reports_);
  reports_.watch(&front.scanner);
  front.parse.trace_level = options_.trace_level;
  if (const int code = McSrcOpen(&front.scanner.source, name))
    return fail(job_.source, code, "the source cannot be opened");
  const int code = mask_ ? store_masks(&front) : store_program(&front);
  outcome_.compiled =
      code == RC_OK && reports_.empty() && outcome_.findings.empty();
  if (code == RC_OK) return;
  if (!bad_name_.empty())
    fail(job_.source, 0, "'" + bad_name_ + "' cannot stand in a depfile");
  else
    fail(unstored_, code, "the file cannot be stored");
}

void Compiler::remove_stale() {
  if (outcome_.compiled || !options_.remove_stale || output_.empty() ||
      sources_.hold(output_.c_str()))
    return;
  if (unlink(output_.c_str()) != 0 && errno != ENOENT)
    fail(output_, 0, "the stale file cannot be removed");
}

CompileOutcome Compiler::run() {
  const int code = UtGuarded([&] {
    compile();
    return RC_OK;
  });
  if (code != RC_OK) outcome_.compiled = false;
  // Without memory for a word, a failure is still one.
  (void)UtGuarded([&] {
    std::vector<ToolFinding> findings = reports_.take();
    findings.insert(findings.end(),
                    std::make_move_iterator(outcome_.findings.begin()),
                    std::make_move_iterator(outcome_.findings.end()));
    outcome_.findings = std::move(findings);
    if (code != RC_OK) fail(job_.source, code, "out of memory");
    remove_stale();
    return RC_OK;
  });
  return std::move(outcome_);
}

}  // namespace

CompileOutcome CompileSource(const CompileOptions& options,
                             const SourceIdentities& sources, StoreGate* gate,
                             const CompileJob& job) {
  return Compiler(options, sources, gate, job).run();
}
