// What every command of quillo-tools has in common.
//
// A command is one function that describes itself to the options of the
// program and says what happens when it is chosen. It is declared here, defined
// in a file (or a folder) of its own name, and listed once, in commands.cpp.
#ifndef TOOLS_COMMAND_H
#define TOOLS_COMMAND_H

#include <CLI/CLI.hpp>

// The exit status of every command.
enum ToolStatus {
  TOOL_FINE = 0,
  TOOL_NO = 1,       // the answer is "no": not valid, different, not a source
  TOOL_TROUBLE = 2,  // usage, a file that cannot be read, memory
};

// Adds the command to app; choosing it sets *status.
using ToolCommand = void (*)(CLI::App* app, int* status);

// Every command, in the order of the help; nullptr ends them.
const ToolCommand* ToolCommands();

// Makes app the whole program: its name, its own options and all commands.
void ToolDescribe(CLI::App* app, int* status);

#endif
