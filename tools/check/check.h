// The check of one source: all that the compiler refuses, all that it accepts
// without a word and does not do, and what is suspicious.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/check/catalogs.h"
#include "tools/check/compile.h"
#include "tools/findings/finding.h"

struct CheckSettings {
  std::map<std::string, ToolSeverity, std::less<>> severities;  // by rule
  size_t most_errors = 100;                 // that are shown
  std::shared_ptr<CheckCatalogs> catalogs;  // nullptr: messages are not checked
};

// Severity of a rule under the settings.
ToolSeverity CheckSeverity(const CheckSettings& settings,
                           std::string_view rule);

// A source is told apart by its text: masks begin with WINDOW or APPLICATION.
CheckKind CheckKindOf(std::string_view name, std::string_view text);

// A file that only others include: it begins with SUB or INCLUDE, and its name
// ends with ".inc".
bool CheckIsFragment(std::string_view name, std::string_view text);

struct CheckResult {
  std::vector<ToolFinding> findings;  // in the order of their places
  bool unreadable = false;            // the source itself
  // What --fix changes: the text that results, and what was done. Nothing was
  // found to be changed when `fixes` is 0.
  std::string fixed;
  std::vector<ToolFinding> fixes;
  bool ends_last_line = false;  // with a line feed
};

// Checks the source of that name; `texts` stand for files.
CheckResult CheckOne(const std::string& name, const CheckTexts& texts,
                     const CheckSettings& settings);
