// Completions of both programs for the shells, from the tables of options.
#pragma once

#include <string>

#include "tools/manual/command_table.h"

std::string BashCompletion(const CommandTable& program);
std::string ZshCompletion(const CommandTable& program);
std::string FishCompletion(const CommandTable& program);
