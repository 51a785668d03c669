// Known findings: a file of those that nobody wants to see any more.
//
// A finding is known again by its file, its rule, its message and the text of
// its line, so that lines may be put in and taken out elsewhere. Of equal ones
// as many are known as were written. A line per finding:
//
//   RULE <tab> FILE <tab> MESSAGE <tab> TEXT OF THE LINE
#pragma once

#include <map>
#include <string>

#include "tools/findings/finding.h"

class ToolBaseline {
 public:
  // `path` is that of the baseline: its directory is where the names of files
  // in it count from, however they were typed.
  explicit ToolBaseline(const std::string& path);

  // False when the file cannot be read, or written as a whole.
  [[nodiscard]] bool read();
  [[nodiscard]] bool write() const;

  void add(const ToolFinding& finding);
  // True for a known finding, which is used up by that.
  bool take(const ToolFinding& finding);

 private:
  std::string key(const ToolFinding& finding) const;

  std::string path_;
  std::string directory_;
  std::map<std::string, size_t> known_;
};
