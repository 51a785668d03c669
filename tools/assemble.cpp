// assemble: a compiled file of the text that disassemble has made of it.
#include <cstdio>
#include <memory>

#include "tools/command.h"
#include "tools/compiled/assembly.h"

namespace {

struct Assemble {
  std::string file;
  std::string output;
};

int Run(const Assemble& options) {
  UtString text;
  if (!ToolReadText(options.file, &text)) return TOOL_TROUBLE;
  XdMemory file;
  CompiledAssemblyError error;
  if (!CompiledAssemble(text, &file, &error)) {
    fprintf(stderr, "%s:%zu:%zu: %s\n", options.file.c_str(), error.line,
            error.column, error.message.c_str());
    return TOOL_NO;
  }
  if (options.output.empty()) {
    ToolStdout out;
    out.put(file.bytes());
    return out.finish() ? TOOL_FINE : TOOL_TROUBLE;
  }
  ToolFile out;
  if (!out.open(options.output)) return TOOL_TROUBLE;
  out.put(file.bytes());
  return out.commit() ? TOOL_FINE : TOOL_TROUBLE;
}

}  // namespace

void AddAssemble(CLI::App* app, int* status) {
  auto options = std::make_shared<Assemble>();
  CLI::App* command = app->add_subcommand(
      "assemble", "Make a compiled file of the text of disassemble");
  command
      ->add_option("-o", options->output,
                   "File to write instead of the standard output")
      ->type_name("FILE");
  command->add_option("FILE", options->file, "Text; - is the standard input")
      ->required();
  command->callback([options, status] { *status = Run(*options); });
}
