// The list of the commands: a line per command, in the order of the help.
#include "tools/command.h"

// Declared here, since each is defined in a file of its own name and nobody
// else asks for it.
void AddValidate(CLI::App* app, int* status);
void AddDump(CLI::App* app, int* status);
void AddCompile(CLI::App* app, int* status);
void AddDeps(CLI::App* app, int* status);
void AddDisassemble(CLI::App* app, int* status);
void AddAssemble(CLI::App* app, int* status);
void AddDecompile(CLI::App* app, int* status);
void AddDiff(CLI::App* app, int* status);
void AddMatch(CLI::App* app, int* status);
void AddFormat(CLI::App* app, int* status);
void AddCheck(CLI::App* app, int* status);
void AddExplain(CLI::App* app, int* status);

namespace {

constexpr ToolCommand COMMANDS[] = {
    AddCompile,      //
    AddDeps,         //
    AddCheck,        //
    AddExplain,      //
    AddFormat,       //
    AddValidate,     //
    AddDump,         //
    AddDecompile,    //
    AddDisassemble,  //
    AddAssemble,     //
    AddDiff,         //
    AddMatch,        //
    nullptr,
};

}  // namespace

const ToolCommand* ToolCommands() {
  return COMMANDS;
}

void ToolDescribe(CLI::App* app, int* status) {
  app->name("quillo-tools");
  app->description("Tools round the compiled files and the sources of quillo");
  app->set_version_flag("--version", "quillo-tools " QUILLO_VERSION);
  app->require_subcommand(1);
  app->fallthrough(false);
  for (const ToolCommand* command = ToolCommands(); *command; ++command)
    (*command)(app, status);
}
