// quillo-tools diff: what changed between two compiled files.
#include <cstdio>
#include <memory>

#include "tools/command.h"
#include "tools/compare/difference.h"

namespace {

struct Options {
  std::string a, b;
  bool json = false;
};

int Run(const Options& options) {
  UtString a, b;
  if (!ToolRead(options.a, &a) || !ToolRead(options.b, &b)) return TOOL_TROUBLE;
  const Difference difference = FindDifference(a, options.a, b, options.b);
  if (!difference.trouble.empty()) {
    std::fprintf(stderr, "quillo-tools: %s\n", difference.trouble.c_str());
    return TOOL_TROUBLE;
  }
  ToolStdout out;
  if (options.json)
    PrintDifferenceJson(&out, difference);
  else
    PrintDifference(&out, difference);
  if (!out.finish()) return TOOL_TROUBLE;
  return difference.same() ? TOOL_FINE : TOOL_NO;
}

}  // namespace

void AddDiff(CLI::App* app, int* status) {
  const auto options = std::make_shared<Options>();
  CLI::App* command = app->add_subcommand(
      "diff", "Tell what changed between two compiled files");
  command->add_flag("--json", options->json, "JSON instead of text");
  command->add_option("A", options->a, "Compiled file")->required();
  command->add_option("B", options->b, "Another one")->required();
  command->callback([options, status] { *status = Run(*options); });
}
