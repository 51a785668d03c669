// The one writer of findings, in every form that somebody reads them in:
//
//   TEXT    prog.mac:3:9: error: there is no variable 'pich' [undefined-name]
//             pitch = pich * 2;
//                     ^~~~
//             did you mean 'pitch'?
//   GCC     the first of these lines
//   JSON    {"version": 1, "findings": [{"file": ..., "line": ...}, ...]}
//   SARIF   a SARIF 2.1.0 log, for code scanners
//   GITHUB  ::error file=prog.mac,line=3,...::..., commands for a workflow
//
// All forms carry the same findings in the same order.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/findings/finding.h"

enum class ToolFormat : uint8_t { TEXT, GCC, JSON, SARIF, GITHUB };

// By their names in lower case, as in --format; none for another name.
std::optional<ToolFormat> ToolFormatNamed(std::string_view name);
std::vector<std::string> ToolFormatNames();

class ToolFindingWriter {
 public:
  // What is written is appended to `*out`, which its owner may empty between
  // the calls.
  ToolFindingWriter(ToolFormat format, bool color, std::string* out);

  void write(const ToolFinding& finding);
  // Ends the output, which without findings is complete, too.
  void finish();

 private:
  void write_gcc(const ToolRange& place, const char* severity,
                 std::string_view message, std::string_view rule);
  void write_text(const ToolFinding& finding);
  void write_marks(const ToolRange& place);
  void write_github(const ToolFinding& finding);
  std::string_view paint(const char* code) const;

  ToolFormat format_;
  bool color_;
  std::string* out_;
  size_t count_ = 0;
};

// Whether output to that descriptor is coloured: `choice` is auto, always or
// never; auto asks for a terminal and for no NO_COLOR in the environment.
bool ToolUseColor(std::string_view choice, int descriptor);

// "2 errors, 1 warning" and the like; empty when there is nothing.
struct ToolCounts {
  size_t errors = 0, warnings = 0, notes = 0;
  void add(ToolSeverity severity);
  std::string text() const;
};
