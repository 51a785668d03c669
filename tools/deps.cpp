// The command `deps`: what sources take in, without compiling them.
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/command.h"
#include "tools/depfile.h"
#include "tools/findings/columns.h"
#include "tools/includes.h"
#include "tools/output_names.h"
#include "tools/source_kind.h"
#include "tools/source_list.h"

namespace {

constexpr char DETAILS[] =
    R"(For each source: the files that it includes, and those that these include, each
once, in the order in which the compiler opens them. The names are as the
sources write them. A file that is missing is named as well, and so are those
of a source with errors.

Without one of the options that choose a form, each name stands in a line of
its own, the included ones with two blanks in front.

The exit status is 0; 1 when a source cannot be opened or a name cannot be
written in that form, in which case the rest is printed nevertheless; and 2
when the command was used wrongly.
)";

enum class Form { PLAIN, MAKE, NINJA, JSON };

struct Deps {
  std::vector<std::string> arguments;
  ToolOutputOptions outputs;
  bool make = false, ninja = false, json = false;

  int run() const;
  Form form() const {
    return make    ? Form::MAKE
           : ninja ? Form::NINJA
           : json  ? Form::JSON
                   : Form::PLAIN;
  }
};

struct Source {
  std::string name;
  std::string output;
  ToolSourceKind kind;
  std::vector<ToolInclude> includes;
};

constexpr const char* KIND_NAMES[] = {"program", "module", "mask", "unknown"};

void AppendPlain(const Source& source, std::string* out) {
  *out += source.name + "\n";
  for (const ToolInclude& include : source.includes)
    *out += "  " + include.name + (include.found ? "\n" : " (missing)\n");
}

bool AppendRule(ToolDepfile form, const Source& source, std::string* out) {
  ToolDependencies dependencies = {source.output, source.name, {}};
  for (const ToolInclude& include : source.includes)
    dependencies.includes.push_back(include.name);
  std::string name;
  if (ToolDepfileRule(form, dependencies, out, &name)) return true;
  std::fprintf(stderr, "quillo-tools: '%s' cannot stand in a depfile\n",
               name.c_str());
  return false;
}

void AppendJson(const Source& source, bool first, std::string* out) {
  nlohmann::ordered_json row = {
      {"source", ToolUtf8(source.name)},
      {"kind", KIND_NAMES[static_cast<size_t>(source.kind)]},
      {"output", ToolUtf8(source.output)},
      {"includes", nlohmann::ordered_json::array()}};
  for (const ToolInclude& include : source.includes)
    row["includes"].push_back(
        {{"file", ToolUtf8(include.name)}, {"missing", !include.found}});
  *out += (first ? "" : ",\n") + row.dump();
}

int Deps::run() const {
  std::string complaint;
  std::vector<std::string> sources, stems;
  McSrcFiles files;
  if (!ToolExpandSources(arguments, &sources, &complaint) ||
      !ToolPlanOutputs(outputs, &files, sources, &stems, &complaint)) {
    std::fprintf(stderr, "quillo-tools: %s\n", complaint.c_str());
    return TOOL_TROUBLE;
  }
  int status = TOOL_FINE;
  bool first = true;
  if (json) std::fputs("{\"version\":1,\"sources\":[\n", stdout);
  for (size_t i = 0; i < sources.size(); i++) {
    ToolSource opened(&files, sources[i].c_str());
    Source source = {sources[i], "", opened.kind(), {}};
    if (!ToolIncludesOf(&opened, sources[i].c_str(), &source.includes)) {
      std::fprintf(stderr, "quillo-tools: file '%s' not found\n",
                   sources[i].c_str());
      status = TOOL_NO;
      continue;
    }
    source.output = ToolAsPrefix(outputs.directory) + stems[i] +
                    ToolOutputExtension(ToolIsMask(source.kind));
    std::string out;
    switch (form()) {
      case Form::PLAIN: AppendPlain(source, &out); break;
      case Form::JSON: AppendJson(source, first, &out); break;
      case Form::MAKE:
      case Form::NINJA:
        if (!AppendRule(make ? ToolDepfile::MAKE : ToolDepfile::NINJA, source,
                        &out))
          status = TOOL_NO;
    }
    first = false;
    std::fwrite(out.data(), 1, out.size(), stdout);
  }
  if (json) std::fputs("\n]}\n", stdout);
  return status;
}

}  // namespace

void AddDeps(CLI::App* app, int* status) {
  CLI::App* command =
      app->add_subcommand("deps", "List the files that sources include");
  auto own = std::make_shared<Deps>();
  command->add_option("source", own->arguments, "What to read")
      ->required()
      ->type_name("SOURCE|@LIST|DIR");
  auto* make = command->add_flag("--make", own->make, "Rules for make");
  auto* ninja =
      command->add_flag("--ninja", own->ninja, "Rules for a depfile of ninja");
  auto* json = command->add_flag("--json", own->json, "JSON");
  make->excludes(ninja)->excludes(json);
  ninja->excludes(json);
  command
      ->add_option("-o,--output", own->outputs.directory,
                   "The directory in which the compiled files are")
      ->type_name("DIR");
  command
      ->add_option("--root", own->outputs.root,
                   "Below it, the directories that lead from this one to the "
                   "sources")
      ->type_name("DIR");
  command->footer(DETAILS);
  command->callback([own, status] { *status = own->run(); });
}
