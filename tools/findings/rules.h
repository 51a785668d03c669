// Every rule that a finding can name, and every code that the compiler ends
// with: one row each, from which the checks take the severity, `explain` its
// text and docs/findings/ its pages.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "tools/findings/finding.h"

struct ToolRule {
  const char* name;
  ToolSeverity severity;  // unless the user wants another
  int code;               // that the compiler gives; 0: none, or several
  const char* title;      // one line
  const char* meaning;    // what is wrong, and what the compiler does with it
  // A source that gives this finding and no other, and the same without it. In
  // both, {{N x TEXT}} stands for TEXT N times, \0 for a zero byte, \xHH for a
  // byte, and \$ at the end for the missing line feed.
  const char* bad;
  const char* good;
};

std::span<const ToolRule> ToolRules();

// nullptr, or -1, for a name that no rule has.
const ToolRule* ToolFindRule(std::string_view name);
int ToolRuleIndex(std::string_view name);

// The rule of what the compiler itself reports under a code.
const char* ToolRuleOfCode(int code);

struct ToolCode {
  int code;
  const char* title;
  const char* meaning;
  const char* example;  // a command that ends with the code; "": see the rule
  const char* rule;     // whose example gives the code; "": none
};

std::span<const ToolCode> ToolCodes();

// An example as it is written to a file.
std::string ToolExampleText(std::string_view example);

// The page of a rule or of a code for a terminal, or for docs/findings/; empty
// when there is no such thing.
std::string ToolExplain(std::string_view what);
std::string ToolRulePage(const ToolRule& rule);
std::string ToolIndexPage();
