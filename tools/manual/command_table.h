// The options of a command as tables, for everything that is made from them.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

struct CommandOption {
  std::vector<std::string> names;    // "-o", "--output"; empty: positional
  std::string value;                 // "DIR"; empty: none
  std::vector<std::string> choices;  // what the value may be; empty: anything
  std::string meaning;               // a sentence without its point
  bool required = false;
  bool many = false;  // several values
};

struct CommandTable {
  std::string name;
  std::string title;    // what it does, a sentence without its point
  std::string details;  // paragraphs with an empty line between them
  std::vector<CommandOption> options;
  std::vector<CommandTable> commands;  // of a command with commands
};

CommandTable TableOf(const CLI::App& app);

// The table of the compiler, whose options are of another style.
CommandTable TableOfCompiler();
