// The list of the commands: a line per command, in the order of the help.
#include "tools/command.h"

// Declared here, since each is defined in a file of its own name and nobody
// else asks for it.

namespace {

constexpr ToolCommand COMMANDS[] = {
    nullptr,
};

}  // namespace

const ToolCommand* ToolCommands() {
  return COMMANDS;
}
