// quillo-tools decompile: the sources of compiled files.
#include <sys/stat.h>

#include <cstdio>
#include <map>

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

// What stands under a name already, and what would be written there.
enum class Existing { NOTHING, THE_SAME, ANOTHER };

Existing ExistingFile(const std::string& path, const std::string& text) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) return Existing::NOTHING;
  UtString there;
  return UtReadWhole(path.c_str(), UT_LARGEST_FILE, &there) == RC_OK &&
                 std::string_view(there) == text
             ? Existing::THE_SAME
             : Existing::ANOTHER;
}

bool WriteWhole(const std::string& path, const std::string& text) {
  UtOutputFile file;
  return file.open(path.c_str()) == RC_OK &&
         file.write(text.data(), text.size()) && file.commit();
}

// Work of people, a recovered source that somebody went on with too, is not
// replaced by what a program made: all files are written, or none.
int Store(const Options& options, const std::string& file,
          const std::deque<SourceFile>& sources) {
  const std::string directory = options.directory + '/';
  std::vector<const SourceFile*> missing;
  for (const SourceFile& source : sources) {
    const std::string path = directory + source.name;
    const Existing existing = ExistingFile(path, source.text);
    if (existing == Existing::ANOTHER && !options.force)
      return Answer(TOOL_TROUBLE, file,
                    "'" + path +
                        "' is there, is another text and stays as it is; "
                        "--force replaces it");
    if (existing != Existing::THE_SAME) missing.push_back(&source);
  }
  // The source comes last: what it includes is there by then.
  for (size_t i = missing.size(); i-- > 0;)
    if (!WriteWhole(directory + missing[i]->name, missing[i]->text))
      return Answer(TOOL_TROUBLE, file,
                    "cannot write '" + directory + missing[i]->name + "'");
  return TOOL_FINE;
}

// Two files whose sources would have one name; empty when there are none.
std::string Collision(const std::vector<std::string>& files) {
  std::map<std::string, const std::string*> taken;
  for (const std::string& file : files) {
    const size_t slash = file.rfind('/');
    const std::string name =
        slash == std::string::npos ? file : file.substr(slash + 1);
    const auto [other, added] = taken.emplace(name, &file);
    if (!added)
      return "'" + *other->second + "' and '" + file +
             "' would be written to one source; nothing was written";
  }
  return {};
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
                    "Replace files of DIR that have another text");
  command->add_option("FILE", options->files, "Compiled files (.cm, .cg)")
      ->required();
  command->callback([options, status] {
    const std::string collision =
        options->directory.empty() ? "" : Collision(options->files);
    if (!collision.empty()) {
      std::fprintf(stderr, "quillo-tools: %s\n", collision.c_str());
      *status = TOOL_TROUBLE;
      return;
    }
    for (const std::string& file : options->files)
      *status = std::max(*status, DecompileFile(*options, file));
  });
}
