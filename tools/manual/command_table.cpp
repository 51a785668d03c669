// The library keeps the type of a value and the checks on it in one text,
// "FORMAT:{text,gcc,json}".
#include "tools/manual/command_table.h"

#include "quillo/options.h"

namespace {

void TakeType(const std::string& type, CommandOption* option) {
  option->value = type.substr(0, type.find(':'));
  const size_t open = type.find('{');
  const size_t close = type.find('}', open);
  if (open == std::string::npos || close == std::string::npos) return;
  std::string choice;
  for (const char c : type.substr(open + 1, close - open - 1) + ",") {
    if (c != ',') {
      choice.push_back(c);
      continue;
    }
    option->choices.push_back(choice);
    choice.clear();
  }
  if (open == 0) option->value = "WORD";
}

CommandOption OptionOf(const CLI::Option& option) {
  CommandOption row;
  for (const std::string& name : option.get_snames())
    row.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames())
    row.names.push_back("--" + name);
  if (option.get_type_size() != 0) TakeType(option.get_type_name(), &row);
  // What the library calls a value for which its author has no name.
  if (row.value == "TEXT")
    row.value = row.names.empty() ? option.get_name() : "NAME";
  if (row.value == "UINT" || row.value == "INT") row.value = "N";
  row.meaning = option.get_description();
  row.required = option.get_required();
  row.many = option.get_items_expected_max() > 1;
  return row;
}

}  // namespace

CommandTable TableOf(const CLI::App& app) {
  CommandTable table = {
      app.get_name(), app.get_description(), app.get_footer(), {}, {}};
  for (const CLI::Option* option : app.get_options())
    if (!option->get_group().empty())  // not hidden
      table.options.push_back(OptionOf(*option));
  for (const CLI::App* command : app.get_subcommands(nullptr))
    if (!command->get_group().empty())
      table.commands.push_back(TableOf(*command));
  return table;
}

CommandTable TableOfCompiler() {
  CommandTable table = {
      "quillo", "compile macro programs, modules and masks", "", {}, {}};
  for (const OptionRow& row : OptionTable())
    table.options.push_back({{std::string("-") + row.name},
                             row.value,
                             {},
                             row.meaning,
                             false,
                             false});
  table.options.push_back({{}, "file", {}, "A source", true, true});
  return table;
}
