// A finding: something in a source that somebody should look at.
//
// Whoever looks at sources makes findings, and one writer prints them in every
// form (writer.h). Lines and columns count from 1, columns in characters; the
// end is behind the last character. A range that is empty is a place between
// two characters, where something is missing. Line 0 is the file as a whole.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum class ToolSeverity : uint8_t { OFF, NOTE, WARNING, ERROR };

inline constexpr const char* TOOL_SEVERITY_NAMES[] = {"off", "note", "warning",
                                                      "error"};

struct ToolRange {
  std::string file;
  uint32_t line = 0, column = 0;
  uint32_t end_line = 0, end_column = 0;
  std::string text;  // bytes of the line `line`, without its end
};

struct ToolRelated {
  ToolRange place;
  std::string message;
};

struct ToolFinding {
  ToolRange place;
  ToolSeverity severity = ToolSeverity::ERROR;
  std::string rule;  // name in rules.def
  std::string message;
  std::string hint;  // empty: none
  int code = 0;      // that the compiler gives; 0: none
  // The compiler refuses the source because of it: nobody can switch it off.
  bool refused = false;
  std::vector<ToolRelated> related;
};
