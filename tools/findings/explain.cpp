// quillo-tools explain.
#include <cstdio>
#include <memory>
#include <string>

#include "Cutil/ut_file.h"
#include "tools/command.h"
#include "tools/findings/rules.h"
#include "tools/suggest.h"

namespace {

std::string List() {
  std::string out;
  for (const ToolRule& rule : ToolRules()) {
    std::string name = rule.name;
    name.resize(std::max<size_t>(name.size() + 1, 24), ' ');
    out += name + rule.title + "\n";
  }
  for (const ToolCode& code : ToolCodes()) {
    std::string name = std::to_string(code.code);
    name.resize(24, ' ');
    out += name + code.title + "\n";
  }
  return out;
}

bool WritePage(const std::string& path, const std::string& text) {
  UtOutputFile file;
  return file.open(path.c_str()) == RC_OK &&
         file.write(text.data(), text.size()) && file.commit();
}

int WritePages(const std::string& directory) {
  bool written = WritePage(directory + "/README.md", ToolIndexPage());
  for (const ToolRule& rule : ToolRules())
    written = written && WritePage(directory + "/" + rule.name + ".md",
                                   ToolRulePage(rule));
  if (written) return TOOL_FINE;
  std::fprintf(stderr, "quillo-tools: cannot write to '%s'\n",
               directory.c_str());
  return TOOL_TROUBLE;
}

int Explain(const std::string& what, bool list) {
  const std::string text = list ? List() : ToolExplain(what);
  if (!text.empty()) {
    std::fputs(text.c_str(), stdout);
    return TOOL_FINE;
  }
  if (what.empty()) {
    std::fputs("quillo-tools: name a rule or a code, or --list\n", stderr);
    return TOOL_TROUBLE;
  }
  std::vector<std::string> names;
  for (const ToolRule& rule : ToolRules()) names.emplace_back(rule.name);
  const std::string near = ToolNearest(what, names);
  std::fprintf(stderr, "quillo-tools: there is no rule and no code '%s'\n",
               what.c_str());
  if (!near.empty()) std::fprintf(stderr, "did you mean '%s'?\n", near.c_str());
  return TOOL_TROUBLE;
}

}  // namespace

void AddExplain(CLI::App* app, int* status) {
  struct Options {
    std::string what;
    bool list = false;
    std::string pages;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = app->add_subcommand(
      "explain", "Say what a finding or an exit code means");
  command->add_option("RULE|CODE", options->what,
                      "As in the brackets of check");
  command->add_flag("--list", options->list, "All of them");
  command
      ->add_option("--pages", options->pages,
                   "Write a page of documentation for each rule to a "
                   "directory")
      ->type_name("DIR");
  command->callback([options, status] {
    *status = options->pages.empty() ? Explain(options->what, options->list)
                                     : WritePages(options->pages);
  });
}
