// The files that a source takes in.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "elut/syntax/source_reader.h"

// A file that was asked for while a source was read.
struct ToolInclude {
  std::string name;  // as the source writes it
  bool found;
};

// Hands out what another provider has, and keeps the names: each once, in the
// order in which they were asked for first.
class ToolRecordedFiles : public McSrcProvider {
 public:
  // `files` outlives the object.
  explicit ToolRecordedFiles(McSrcProvider* files) : files_(files) {}
  [[nodiscard]] UtPtr<McSrcBytes> open(const char* name) override;

  const std::vector<ToolInclude>& names() const { return names_; }

 private:
  McSrcProvider* files_;
  std::vector<ToolInclude> names_;
  std::unordered_map<std::string, size_t> numbers_;
};

// Reads a source through the scanner alone, which takes a small part of the
// time of a compile and finds the includes also of a source with errors. Its
// own name is not among them. False when there is no such source.
[[nodiscard]] bool ToolIncludesOf(McSrcProvider* files, const char* source,
                                  std::vector<ToolInclude>* includes);
