// disassemble: a compiled file as text, from which assemble makes it again.
#include <cstdio>
#include <memory>

#include "tools/command.h"
#include "tools/compiled/assembly.h"
#include "tools/compiled/check.h"

namespace {

struct Disassemble {
  std::string file;
  std::string output;
};

// Says what makes a file unreadable; false when something does.
bool IsReadable(const std::string& file, std::string_view bytes) {
  bool readable = true;
  CompiledCheck(bytes, [&](const CompiledTrouble& trouble) {
    if (trouble.grade != CompiledGrade::UNREADABLE) return;
    readable = false;
    fprintf(stderr, "%s:0x%llx: %s: %s, expected %s\n", file.c_str(),
            static_cast<unsigned long long>(trouble.offset),
            trouble.path.c_str(), trouble.found.c_str(),
            trouble.expected.c_str());
  });
  return readable;
}

int Run(const Disassemble& options) {
  UtString bytes;
  if (!ToolRead(options.file, &bytes)) return TOOL_TROUBLE;
  if (!IsReadable(options.file, bytes)) return TOOL_NO;
  if (options.output.empty()) {
    ToolStdout out;
    CompiledDisassemble(bytes, &out);
    return out.finish() ? TOOL_FINE : TOOL_TROUBLE;
  }
  ToolFile out;
  if (!out.open(options.output)) return TOOL_TROUBLE;
  CompiledDisassemble(bytes, &out);
  return out.commit() ? TOOL_FINE : TOOL_TROUBLE;
}

}  // namespace

void AddDisassemble(CLI::App* app, int* status) {
  auto options = std::make_shared<Disassemble>();
  CLI::App* command = app->add_subcommand(
      "disassemble", "Print a compiled file as text for assemble");
  command
      ->add_option("-o", options->output,
                   "File to write instead of the standard output")
      ->type_name("FILE");
  command->add_option("FILE", options->file, "Compiled file")->required();
  command->callback([options, status] { *status = Run(*options); });
}
