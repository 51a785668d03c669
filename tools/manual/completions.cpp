// A completion knows for each command its options, and behind an option what
// may follow: one of some words, a directory, anything, or a file. Everything
// else is a file.
#include "tools/manual/completions.h"

namespace {

// Text between single quotes of a shell.
std::string Quoted(const std::string& text) {
  std::string out = "'";
  for (const char c : text) out += c == '\'' ? "'\\''" : std::string(1, c);
  return out + "'";
}

std::string Joined(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& word : words) out += (out.empty() ? "" : " ") + word;
  return out;
}

std::string FirstSentence(const std::string& text) {
  return text.substr(0, std::min(text.find(". "), text.find('\n')));
}

// The name of a function.
std::string Function(const std::string& name) {
  std::string out = "_";
  for (const char c : name) out += c == '-' ? '_' : c;
  return out;
}

bool TakesDirectory(const CommandOption& option) {
  return option.value.find("DIR") != std::string::npos;
}
bool TakesFile(const CommandOption& option) {
  return option.value.find("FILE") != std::string::npos ||
         option.value.find("destination") != std::string::npos;
}

// What may stand for the word, one in a line: names have blanks in them. Names
// of files are to be quoted, and those of directories go on; outside of a
// completion there is nobody to be told so.
std::string BashReply(const std::string& what) {
  return "mapfile -t COMPREPLY < <(compgen " + what + " -- \"$word\")" +
         (what.starts_with("-W") ? "" : "; compopt -o filenames 2>/dev/null");
}

// The lines of a case over the word in front, for one command.
std::string BashValues(const CommandTable& command) {
  std::string out;
  for (const CommandOption& option : command.options) {
    if (option.names.empty() || option.value.empty()) continue;
    std::string action = "return";
    if (!option.choices.empty())
      action = BashReply("-W " + Quoted(Joined(option.choices))) + "; return";
    else if (TakesDirectory(option))
      action = BashReply("-d") + "; return";
    else if (TakesFile(option))
      action = BashReply("-f") + "; return";
    std::string names;
    for (const std::string& name : option.names)
      names.append(names.empty() ? "" : "|").append(name);
    out.append("        ").append(names).append(") ");
    out.append(action).append(" ;;\n");
  }
  return out;
}

std::string BashNames(const CommandTable& command) {
  std::string out;
  for (const CommandOption& option : command.options)
    for (const std::string& name : option.names)
      out += (out.empty() ? "" : " ") + name;
  return out;
}

std::string BashCommand(const CommandTable& command) {
  const std::string values = BashValues(command);
  return (values.empty()
              ? ""
              : "      case $before in\n" + values + "      esac\n") +
         "      options=" + Quoted(BashNames(command)) + "\n";
}

// "[-o --output]:DIR:_files -/" as zsh wants it.
std::string ZshArgument(const CommandOption& option) {
  std::string action = ":";
  if (!option.choices.empty())
    action = ":(" + Joined(option.choices) + ")";
  else if (TakesDirectory(option) && !option.names.empty())
    action = ":_files -/";
  else if (TakesFile(option) || option.names.empty())
    action = ":_files";
  std::string meaning;
  for (const char c : FirstSentence(option.meaning)) {
    if (c == '[' || c == ']' || c == ':' || c == '\\') meaning += '\\';
    meaning += c;
  }
  std::string value;
  for (const char c : option.value.empty() ? "file" : option.value)
    value += c == ':' ? std::string("\\:") : std::string(1, c);
  if (option.names.empty())
    return Quoted((option.many ? "*:" : ":") + value + action);
  std::string out;
  for (const std::string& name : option.names) {
    std::string entry = "(" + Joined(option.names) + ")" + name;
    // The value in the same word, too.
    if (name.starts_with("--") && !option.value.empty()) entry += "=";
    entry.append("[").append(meaning).append("]");
    if (!option.value.empty()) entry.append(":").append(value).append(action);
    out.append(out.empty() ? "" : " ").append(Quoted(entry));
  }
  return out;
}

std::string ZshArguments(const CommandTable& command, const char* indent) {
  std::string out = std::string(indent) + "_arguments -s";
  for (const CommandOption& option : command.options)
    out += std::string(" \\\n") + indent + "  " + ZshArgument(option);
  return out + "\n";
}

std::string FishOption(const std::string& program, const std::string& condition,
                       const CommandOption& option) {
  std::string out = "complete -c " + program;
  if (!condition.empty()) out += " -n " + Quoted(condition);
  for (const std::string& name : option.names)
    out += name.starts_with("--") ? " -l " + name.substr(2)
           : name.size() == 2     ? " -s " + name.substr(1)
                                  : " -o " + name.substr(1);
  if (!option.choices.empty())
    out += " -x -a " + Quoted(Joined(option.choices));
  else if (TakesDirectory(option))
    out += " -x -a '(__fish_complete_directories)'";
  else if (!option.value.empty())
    out += TakesFile(option) ? " -r" : " -x";
  return out + " -d " + Quoted(FirstSentence(option.meaning)) + "\n";
}

}  // namespace

std::string BashCompletion(const CommandTable& program) {
  const std::string function = Function(program.name);
  std::string names;
  std::string cases;
  for (const CommandTable& command : program.commands) {
    names += (names.empty() ? "" : " ") + command.name;
    cases +=
        "    " + command.name + ")\n" + BashCommand(command) + "      ;;\n";
  }
  std::string out = "# bash completion for " + program.name + "\n" + function +
                    "() {\n"
                    "  local word=${COMP_WORDS[COMP_CWORD]}\n"
                    "  local before=${COMP_WORDS[COMP_CWORD-1]}\n"
                    "  local options command= i\n"
                    "  COMPREPLY=()\n"
                    // --format=json is three words.
                    "  if [[ $word == = ]]; then word=\n"
                    "  elif [[ $before == = ]]; then "
                    "before=${COMP_WORDS[COMP_CWORD-2]}; fi\n";
  if (!program.commands.empty())
    out +=
        "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
        "    case ${COMP_WORDS[i]} in\n"
        "      -*) ;;\n"
        "      *) command=${COMP_WORDS[i]}; break ;;\n"
        "    esac\n"
        "  done\n";
  out += "  case $command in\n" + cases + "    '')\n" + BashCommand(program);
  if (!program.commands.empty())
    out += "      options+=" + Quoted(" " + names) + "\n";
  out +=
      "      ;;\n"
      "  esac\n"
      "  if [[ $word == -* || -z $command && -n " +
      Quoted(names) +
      " ]]; then\n"
      "    " +
      BashReply("-W \"$options\"") +
      "\n"
      "  else\n"
      "    " +
      BashReply("-f") +
      "\n"
      "  fi\n"
      "}\n"
      "complete -F " +
      function + " " + program.name + "\n";
  return out;
}

std::string ZshCompletion(const CommandTable& program) {
  std::string out = "#compdef " + program.name + "\n";
  if (program.commands.empty()) return out + ZshArguments(program, "");
  std::string names, cases;
  for (const CommandTable& command : program.commands) {
    names += "    " +
             Quoted(command.name + ":" + FirstSentence(command.title)) + "\n";
    cases += "  " + command.name + ")\n" + ZshArguments(command, "    ") +
             "    ;;\n";
  }
  return out +
         "local curcontext=$curcontext state line\n"
         "typeset -A opt_args\n"
         "_arguments -C '1:command:->command' '*::argument:->arguments' \\\n"
         "  '(-h --help)'{-h,--help}'[Print the help]' "
         "'--version[Print the version]'\n"
         "case $state in\n"
         "command)\n"
         "  local -a commands=(\n" +
         names +
         "  )\n"
         "  _describe command commands\n"
         "  ;;\n"
         "arguments)\n"
         "  case $words[1] in\n" +
         cases +
         "  esac\n"
         "  ;;\n"
         "esac\n";
}

std::string FishCompletion(const CommandTable& program) {
  std::string out = "# fish completion for " + program.name + "\n";
  const std::string first =
      program.commands.empty() ? "" : "__fish_use_subcommand";
  for (const CommandOption& option : program.options)
    if (!option.names.empty()) out += FishOption(program.name, first, option);
  for (const CommandTable& command : program.commands) {
    out += "complete -c " + program.name + " -f -n " + Quoted(first) + " -a " +
           command.name + " -d " + Quoted(FirstSentence(command.title)) + "\n";
    const std::string chosen = "__fish_seen_subcommand_from " + command.name;
    for (const CommandOption& option : command.options)
      if (!option.names.empty())
        out += FishOption(program.name, chosen, option);
  }
  return out;
}
