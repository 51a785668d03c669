// quillo-tools: one program, a command per job over the compiler's own front
// end. This file knows the options that stand before a command and what a wrong
// one is answered with; the rest is in the commands.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "tools/command.h"
#include "tools/suggest.h"

namespace {

std::string Hint(const std::string& near) {
  return near.empty() ? near : "did you mean '" + near + "'?\n";
}

// The option that a word that is nobody's was meant for.
std::string OptionHint(const CLI::App& app, const CLI::Error& error) {
  const std::string text = error.what();
  const size_t colon = text.rfind(": ");
  if (colon == std::string::npos) return {};
  std::string word = text.substr(colon + 2);
  word = word.substr(0, word.find_first_of(" ="));
  if (word.empty() || word[0] != '-') return {};
  const CLI::App* scope = &app;
  for (const CLI::App* chosen : app.get_subcommands()) scope = chosen;
  std::vector<std::string> names;
  for (const CLI::Option* option : scope->get_options())
    for (const std::string& name : option->get_lnames())
      names.push_back("--" + name);
  return Hint(ToolNearest(word, names));
}

int Misused(const std::string& what, const std::string& hint) {
  std::fprintf(stderr,
               "quillo-tools: %s\n%s"
               "Run with --help for more information.\n",
               what.c_str(), hint.c_str());
  return TOOL_TROUBLE;
}

int Run(int argc, char** argv) {
  CLI::App app;
  int status = TOOL_FINE;
  ToolDescribe(&app, &status);
  // Asked before the options are read, whose first complaint would be that
  // there is no command at all.
  if (argc > 1) {
    std::vector<std::string> names = {"-h", "--help", "--version"};
    for (const CLI::App* command : app.get_subcommands(nullptr))
      names.push_back(command->get_name());
    if (std::find(names.begin(), names.end(), argv[1]) == names.end())
      return Misused("there is no command '" + std::string(argv[1]) + "'",
                     Hint(ToolNearest(argv[1], names)));
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0)
      return Misused(error.what(), OptionHint(app, error));
    status = app.exit(error);  // prints the help, or the version
  }
  // A stream of its own over the same output, but it may keep a failure to
  // itself.
  std::cout.flush();
  if (!std::cout || std::fflush(stdout) != 0 || std::ferror(stdout)) {
    std::fputs("quillo-tools: cannot write the output\n", stderr);
    return TOOL_TROUBLE;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::bad_alloc&) {
    std::fputs("quillo-tools: out of memory\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quillo-tools: %s\n", error.what());
  }
  return TOOL_TROUBLE;
}
