// What each program understands was found out by asking it: for each character
// at the start, in the middle and at the end of a name, whether GNU make 4.3,
// ninja 1.11 and CMake 3.25 take what is written here for that name.
#include "tools/depfile.h"

namespace {

struct Rules {
  const char* escaped;   // by a backslash
  const char* refused;   // anywhere
  const char* last_not;  // refused at the end
};
constexpr Rules RULES[] = {
    {" #:*?[|", "=;", "\\ "},
    {" #:", "*?;|&'\"<>^`", "\\:"},
    {" #:|", "=;", "\\ "},
};

bool Holds(std::string_view set, char c) {
  return set.find(c) != std::string_view::npos;
}

// A name in the place of a target. make takes "%" there for a pattern, "|" for
// itself and an "&" at the end for a mark.
bool TargetName(ToolDepfile form, std::string_view name, std::string* text) {
  if (form != ToolDepfile::NINJA && name.ends_with('&')) return false;
  if (form == ToolDepfile::MAKE && Holds(name, '%')) return false;
  if (!ToolDepfileName(form, name, text)) return false;
  for (size_t at = 0; (at = text->find("\\|", at)) != std::string::npos;)
    text->erase(at, 1);
  return true;
}

}  // namespace

bool ToolDepfileName(ToolDepfile form, std::string_view name,
                     std::string* text) {
  const Rules& rules = RULES[static_cast<size_t>(form)];
  text->clear();
  if (name.empty() || Holds(rules.last_not, name.back())) return false;
  // Otherwise a home directory.
  if (form != ToolDepfile::NINJA && name.starts_with('~')) *text = "./";
  for (size_t i = 0; i < name.size(); i++) {
    const char c = name[i];
    const auto byte = static_cast<unsigned char>(c);
    if (byte < ' ' || byte == 0x7F || Holds(rules.refused, c)) return false;
    if (Holds(rules.escaped, c)) {
      if (i > 0 && name[i - 1] == '\\') return false;
      text->push_back('\\');
    } else if (c == '$') {
      text->push_back('$');
    }
    text->push_back(c);
  }
  return true;
}

bool ToolDepfileRule(ToolDepfile form, const ToolDependencies& dependencies,
                     std::string* text, std::string* name) {
  std::string rule, empty_rules, word;
  *name = dependencies.target;
  if (!TargetName(form, *name, &word)) return false;
  rule = word + ":";
  *name = dependencies.source;
  if (!ToolDepfileName(form, *name, &word)) return false;
  rule += " " + word;
  for (const std::string& include : dependencies.includes) {
    if (!ToolDepfileName(form, include, &word)) {
      *name = include;
      return false;
    }
    rule += " \\\n " + word;
    // Without its empty rule a name only has to be there.
    if (form != ToolDepfile::NINJA &&
        TargetName(ToolDepfile::MAKE, include, &word) &&
        TargetName(form, include, &word))
      empty_rules += word + ":\n";
  }
  *text += rule + "\n" + empty_rules;
  return true;
}
