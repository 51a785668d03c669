// quillo-tools match: does a compiled file belong to a source?
//
// The file tells how it was compiled. The source is compiled in the same way,
// in memory, and what it gives is compared.
#include <cstdio>
#include <memory>
#include <utility>

#include "Cutil/codes.h"
#include "elut/compile/parse.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"
#include "services/channels.h"
#include "tools/command.h"
#include "tools/compare/difference.h"
#include "tools/compiled_model.h"
#include "tools/source_kind.h"
#include "trt/messages.h"

namespace {

struct Options {
  std::string source, file;
};

// Compiles the source as the file was; the compiler says what is wrong with it.
int CompileLike(const CompiledModel& like, ToolSource* source, const char* name,
                XdSink* sink) {
  Channels channels;
  channels.bind_standard();
  McReportPrinter printer(&channels);
  McRun run;
  McFront front(&run, source, &printer);
  front.parse.trace_level = like.is_traced() ? 1 : 0;
  int code = McSrcOpen(&front.scanner.source, name);
  if (code != RC_OK) {
    channels.print(CHANNEL_REPORTS, TEXT_FILE_NOT_FOUND, name);
    return code;
  }
  if (like.is_mask()) {
    EditorList list(&run.attribute_names);
    code = MaskParseDefinition(&front, &list);
    return code == RC_OK
               ? MaskListWriteToSink(&list, like.header.transport, sink)
               : code;
  }
  McProgram program;
  code = McParseProgram(&front, &program);
  if (code == RC_OK) code = McResolveCalls(&program);
  return code == RC_OK ? McXdrWriteToSink(&program, like.header.transport, sink)
                       : code;
}

// Whether the source is one that can never give such a file. One that begins
// like no source is left to the compiler.
bool IsOfOtherKind(const ToolSource& source, const CompiledModel& model) {
  return source.kind() != ToolSourceKind::UNKNOWN &&
         ToolIsMask(source.kind()) != model.is_mask();
}

int Trouble(const std::string& what) {
  std::fprintf(stderr, "quillo-tools: %s\n", what.c_str());
  return TOOL_TROUBLE;
}

int Run(const Options& options) {
  UtString bytes;
  if (!ToolRead(options.file, &bytes)) return TOOL_TROUBLE;
  CompiledModel model;
  const std::string wrong = ReadCompiled(bytes, &model);
  if (!wrong.empty()) return Trouble(options.file + ": " + wrong);
  McSrcFiles files;
  ToolSource source(&files, options.source.c_str());
  ToolStdout out;
  if (IsOfOtherKind(source, model)) {
    out.put("no\n");
    out.put(NothingInCommon(options.source, ToolIsMask(source.kind()),
                            options.file));
    out.put('\n');
    return out.finish() ? TOOL_NO : TOOL_TROUBLE;
  }
  XdMemory made;
  const int code = CompileLike(model, &source, options.source.c_str(), &made);
  if (code == RC_NO_MEMORY) throw std::bad_alloc();
  if (code != RC_OK)
    return Trouble(options.source + ": does not compile, code " +
                   std::to_string(code));
  if (made.bytes() == std::string_view(bytes)) {
    out.put("yes\n");
    return out.finish() ? TOOL_FINE : TOOL_TROUBLE;
  }
  const Difference difference =
      FindDifference(made.bytes(), options.source, bytes, options.file);
  if (!difference.trouble.empty()) return Trouble(difference.trouble);
  out.put("no\n");
  bool first = true;
  difference.each_change([&](const Change& change) {
    if (std::exchange(first, false)) PrintChange(&out, change);
  });
  return out.finish() ? TOOL_NO : TOOL_TROUBLE;
}

}  // namespace

void AddMatch(CLI::App* app, int* status) {
  const auto options = std::make_shared<Options>();
  CLI::App* command = app->add_subcommand(
      "match", "Tell whether a source and a compiled file belong together");
  command->add_option("SOURCE", options->source, "Source")->required();
  command->add_option("FILE", options->file, "Compiled file")->required();
  command->callback([options, status] { *status = Run(*options); });
}
