// quillo-tools decompile: the sources of compiled files.
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

#include "Cutil/ut_file.h"
#include "tools/command.h"
#include "tools/decompile/decompile.h"
#include "tools/output.h"

namespace {

struct Options {
  std::string directory;  // empty: to the standard output
  std::vector<std::string> files;
  bool force = false;
};

int Answer(int status, const std::string& file, const std::string& message) {
  std::fprintf(stderr, "quillo-tools: %s: %s\n", file.c_str(), message.c_str());
  return status;
}

// The name of a file without directory and extension.
std::string BaseName(const std::string& path) {
  const size_t slash = path.rfind('/');
  std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
  const size_t dot = base.rfind('.');
  if (dot != std::string::npos && dot > 0) base.resize(dot);
  return base;
}

// A source that people wrote is not replaced by what a program made of it. One
// that came from here begins with its command.
bool MayReplace(const std::string& path) {
  constexpr std::string_view OURS = "! quillo ";
  UtString text;
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return true;
  if (UtReadWhole(path.c_str(), UT_LARGEST_FILE, &text) != RC_OK) return false;
  const std::string_view first_line =
      std::string_view(text).substr(0, text.find('\n'));
  return text.empty() || first_line.find(OURS) != std::string_view::npos;
}

bool WriteWhole(const std::string& path, const std::string& text) {
  UtOutputFile file;
  return file.open(path.c_str()) == RC_OK &&
         file.write(text.data(), text.size()) && file.commit();
}

int Store(const Options& options, const std::string& file,
          const std::deque<SourceFile>& sources) {
  const std::string directory = options.directory + '/';
  const std::string source = directory + sources[0].name;
  if (!options.force && !MayReplace(source))
    return Answer(TOOL_TROUBLE, file,
                  "'" + source +
                      "' was not written by decompile and stays as it is; "
                      "--force replaces it");
  // The source comes last: what it includes is there by then.
  for (size_t i = sources.size(); i-- > 0;)
    if (!WriteWhole(directory + sources[i].name, sources[i].text))
      return Answer(TOOL_TROUBLE, file,
                    "cannot write '" + directory + sources[i].name + "'");
  return TOOL_FINE;
}

int DecompileFile(const Options& options, const std::string& file) {
  UtString bytes;
  if (!ToolRead(file, &bytes)) return TOOL_TROUBLE;
  const Decompiled result = Decompile(bytes, BaseName(file));
  switch (result.outcome) {
    case DecompileOutcome::TROUBLE:
      return Answer(TOOL_TROUBLE, file, result.message);
    case DecompileOutcome::REFUSED:
      return Answer(TOOL_NO, file,
                    "no source gives this file: " + result.message +
                        "\n'quillo-tools disassemble' shows all of it");
    case DecompileOutcome::GIVEN: break;
  }
  if (!options.directory.empty()) return Store(options, file, result.files);
  if (result.files.size() > 1)
    return Answer(TOOL_NO, file,
                  "the source needs " +
                      std::to_string(result.files.size() - 1) +
                      " include files beside it; -o DIR writes them all");
  const std::string& text = result.files[0].text;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
    return Answer(TOOL_TROUBLE, file, "cannot write the text");
  return TOOL_FINE;
}

}  // namespace

void AddDecompile(CLI::App* app, int* status) {
  const auto options = std::make_shared<Options>();
  CLI::App* command = app->add_subcommand(
      "decompile", "Write the source that compiles to the same bytes");
  command
      ->add_option("-o", options->directory,
                   "Write BASE.mac or BASE.msk, and what it includes, to DIR")
      ->type_name("DIR")
      ->check(CLI::ExistingDirectory);
  command->add_flag("--force", options->force,
                    "Also replace sources that decompile has not written");
  command->add_option("FILE", options->files, "Compiled files (.cm, .cg)")
      ->required();
  command->callback([options, status] {
    for (const std::string& file : options->files)
      *status = std::max(*status, DecompileFile(*options, file));
  });
}
