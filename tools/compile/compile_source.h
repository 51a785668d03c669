// One source, compiled as if it were the only one.
//
// A source has a run, a front and reports of its own, so that sources can be
// compiled side by side, and each gives the bytes that quillo gives for it
// alone. Here a source is compiled only when there was nothing to report: then
// its file is stored, whole or not at all. Otherwise what was there before
// stays.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/compile/interrupts.h"
#include "tools/compile/source_identity.h"
#include "tools/findings/finding.h"
#include "util/XD_main.h"

struct CompileOptions {
  int transport = XD_TRANSPORT_XDR;
  int16_t trace_level = 0;
  std::optional<bool> masks;    // a source that is none (is one) fails
  bool depfile = false;         // is written, below this:
  std::string depfile_prefix;   // a directory with its slash, or empty
  std::string absolute_prefix;  // in front of relative names in depfiles
  bool remove_stale = false;    // the output of a source that fails goes
};

struct CompileJob {
  std::string source;
  std::string prefix;  // directory of the output with its slash, or empty
  std::string stem;    // "p/a" for PREFIX/p/a.cm
};

struct CompileOutcome {
  bool compiled = false;  // without a report, and stored
  std::vector<ToolFinding> findings;
};

// Compiles and stores, the latter through the gate. An output that is one of
// `sources` is not written. Does not throw: exhausted memory is a finding, too,
// or at least no success.
[[nodiscard]] CompileOutcome CompileSource(const CompileOptions& options,
                                           const SourceIdentities& sources,
                                           StoreGate* gate,
                                           const CompileJob& job);
