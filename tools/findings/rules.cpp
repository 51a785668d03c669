// The texts stand in rules.def and codes.def; the same row makes a page for the
// terminal and one for the documentation.
#include "tools/findings/rules.h"

#include <algorithm>
#include <charconv>

namespace {

constexpr ToolRule RULES[] = {
#define TOOL_RULE(name, severity, code, title, meaning, bad, good) \
  {name, ToolSeverity::severity, code, title, meaning, bad, good},
#include "tools/findings/rules.def"
#undef TOOL_RULE
};

constexpr ToolCode CODES[] = {
#define TOOL_CODE(code, title, meaning, example, rule) \
  {code, title, meaning, example, rule},
#include "tools/findings/codes.def"
#undef TOOL_CODE
};

const ToolCode* FindCode(int code) {
  const ToolCode* found = std::ranges::find(
      CODES, code, [](const ToolCode& row) { return row.code; });
  return found == std::end(CODES) ? nullptr : found;
}

// An indented block; what does not show gets a word.
std::string Block(std::string_view example, const char* indent) {
  std::string out;
  while (!example.empty()) {
    const size_t end = std::min(example.find('\n'), example.size());
    out += indent;
    out += example.substr(0, end);
    out += "\n";
    example.remove_prefix(std::min(end + 1, example.size()));
  }
  return out;
}

std::string Severity(const ToolRule& rule) {
  return rule.severity == ToolSeverity::OFF
             ? "off unless asked for with -W"
             : TOOL_SEVERITY_NAMES[static_cast<size_t>(rule.severity)];
}

std::string RuleText(const ToolRule& rule) {
  std::string out = std::string(rule.name) + " - " + rule.title + "\n" +
                    "Severity: " + Severity(rule) + "\n\n" + rule.meaning +
                    "\n";
  out += "\nThis gives it:\n\n" + Block(rule.bad, "    ");
  out += "\nWrite instead:\n\n" + Block(rule.good, "    ");
  return out;
}

std::string CodeText(const ToolCode& code) {
  std::string out = std::to_string(code.code) + " - " + code.title + "\n\n" +
                    code.meaning + "\n";
  if (*code.example != '\0')
    out += "\nThis gives it:\n\n" + Block(code.example, "    ");
  if (const ToolRule* rule = ToolFindRule(code.rule)) {
    out += "\nThis gives it:\n\n" + Block(rule->bad, "    ");
    out += "\nWrite instead:\n\n" + Block(rule->good, "    ");
    out += "\nSee also: quillo-tools explain " + std::string(rule->name) + "\n";
  }
  return out;
}

}  // namespace

std::span<const ToolRule> ToolRules() {
  return RULES;
}

std::span<const ToolCode> ToolCodes() {
  return CODES;
}

int ToolRuleIndex(std::string_view name) {
  const ToolRule* found = std::ranges::find(
      RULES, name, [](const ToolRule& rule) { return rule.name; });
  return found == std::end(RULES) ? -1 : static_cast<int>(found - RULES);
}

const ToolRule* ToolFindRule(std::string_view name) {
  const int index = ToolRuleIndex(name);
  return index < 0 ? nullptr : &RULES[index];
}

const char* ToolRuleOfCode(int code) {
  const ToolCode* row = FindCode(code);
  return row == nullptr || *row->rule == '\0' ? "syntax-error" : row->rule;
}

std::string ToolExampleText(std::string_view example) {
  std::string out;
  for (size_t i = 0; i < example.size();) {
    const std::string_view rest = example.substr(i);
    if (rest.starts_with("{{")) {
      const size_t times = rest.find(" x ");
      const size_t end = rest.find("}}");
      unsigned count = 0;
      if (times < end &&
          std::from_chars(rest.data() + 2, rest.data() + times, count).ec ==
              std::errc()) {
        const std::string_view text = rest.substr(times + 3, end - times - 3);
        for (unsigned n = 0; n < count; n++) out += ToolExampleText(text);
        i += end + 2;
        continue;
      }
    }
    if (rest.starts_with("\\0")) {
      out.push_back('\0');
      i += 2;
    } else if (rest.starts_with("\\x") && rest.size() >= 4) {
      unsigned byte = 0;
      std::from_chars(rest.data() + 2, rest.data() + 4, byte, 16);
      out.push_back(static_cast<char>(byte));
      i += 4;
    } else if (rest.starts_with("\\$")) {
      return out;
    } else {
      out.push_back(rest[0]);
      i++;
    }
  }
  return out;
}

std::string ToolExplain(std::string_view what) {
  if (const ToolRule* rule = ToolFindRule(what)) return RuleText(*rule);
  int number = 0;
  const auto [end, error] =
      std::from_chars(what.data(), what.data() + what.size(), number);
  if (error != std::errc() || end != what.data() + what.size()) return {};
  const ToolCode* code = FindCode(number);
  return code == nullptr ? std::string() : CodeText(*code);
}

std::string ToolRulePage(const ToolRule& rule) {
  return "# " + std::string(rule.name) + "\n\n" + rule.title +
         ". Severity: " + Severity(rule) + ".\n\n" + rule.meaning +
         "\n\nThis gives it:\n\n" + Block(rule.bad, "    ") +
         "\nWrite instead:\n\n" + Block(rule.good, "    ");
}

std::string ToolIndexPage() {
  std::string out =
      "# Findings\n\n"
      "What `quillo-tools check` can find, and the codes that `quillo` ends "
      "with.\nThe same texts come from `quillo-tools explain`.\n\n"
      "| Rule | Severity | Finds |\n|---|---|---|\n";
  for (const ToolRule& rule : RULES)
    out += "| [" + std::string(rule.name) + "](" + rule.name + ".md) | " +
           (rule.severity == ToolSeverity::OFF ? "off" : Severity(rule)) +
           " | " + rule.title + " |\n";
  out += "\n## Codes\n";
  for (const ToolCode& code : CODES) {
    out += "\n### " + std::to_string(code.code) + "\n\n" +
           std::string(code.title) + ". " + code.meaning + "\n";
    if (*code.example != '\0') out += "\n" + Block(code.example, "    ");
    if (*code.rule != '\0')
      out += "\nAn example is that of [" + std::string(code.rule) + "](" +
             code.rule + ".md).\n";
  }
  return out;
}
