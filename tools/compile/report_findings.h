// What the compiler reports about one source, as findings.
//
// The compiler's reports have a line; the scanner, which has just read the
// token that is wrong, knows the column. Of a source with very many reports the
// first ones are kept and the others counted.
#pragma once

#include <vector>

#include "elut/compile/front.h"
#include "tools/findings/finding.h"

class ToolReportFindings : public McReportSink {
 public:
  static constexpr size_t MOST_FINDINGS = 1000;

  // Reports are about what this scanner reads. It may be set later, before the
  // first one comes.
  void watch(const McScanner* scanner) { scanner_ = scanner; }

  void report(const McReport& report) override;

  // True when nothing was reported.
  bool empty() const { return findings_.empty() && !lost_; }

  // What was reported, with a last finding that counts what was left out.
  [[nodiscard]] std::vector<ToolFinding> take();

 private:
  void add(const McReport& report);
  ToolRange place(const McReport& report) const;

  const McScanner* scanner_ = nullptr;
  std::vector<ToolFinding> findings_;
  size_t left_out_ = 0;
  bool lost_ = false;  // memory was exhausted over a report
};
