// What users set: which rules count, and how much.
//
// A file ".quillo-check" holds the settings of the directory that it is in and
// of those below, as far as they have none of their own:
//
//   # what we want of our macros
//   real-equality = warning     off, note, warning or error
//   shadowed-name = off
//   max-errors = 20
//
// Options of the command line go before it. In a source, a comment switches
// rules off for its line: "! check off: unread-variable, empty-block", or all
// of them: "! check off". What the compiler refuses cannot be switched off.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tools/check/check.h"

// Reads the text of such a file. Returns what is wrong with it, "" for nothing.
std::string CheckReadSettings(std::string_view text, CheckSettings* settings);

// The settings for a source: those of the nearest file, changed by `options`.
// Files are read once. Throws CheckBadSettings.
struct CheckBadSettings {
  std::string what;
};
class CheckSettingsOf {
 public:
  explicit CheckSettingsOf(CheckSettings options)
      : options_(std::move(options)) {}
  const CheckSettings& operator()(const std::string& source);

 private:
  CheckSettings options_;
  std::map<std::string, std::unique_ptr<CheckSettings>> by_directory_;
};

// Whether a comment on the line switches the rule off.
bool CheckSwitchedOff(std::string_view line, std::string_view rule);
