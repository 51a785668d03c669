// The files of a source that is checked.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "tools/check/compile.h"
#include "tools/check/source.h"

struct CheckFile {
  explicit CheckFile(std::string name, std::string bytes)
      : source(std::move(name), std::move(bytes)), scanner(&source) {}
  CheckSource source;
  CheckScanner scanner;
};

// The files of a source: the one that is checked, and those it includes.
class CheckFiles {
 public:
  // `texts` stand for files; it outlives the files.
  explicit CheckFiles(const CheckTexts* texts) : provider_(texts) {}

  // nullptr when there is no such file.
  CheckFile* open(const std::string& name);
  // Those that were opened.
  const std::map<std::string, std::unique_ptr<CheckFile>>& all() const {
    return files_;
  }
  // The texts as the repairs leave them; with `fault` of the source `of` left
  // as it is.
  CheckTexts repaired(const CheckSource* of = nullptr,
                      const CheckFault* fault = nullptr) const;

 private:
  CheckProvider provider_;
  std::map<std::string, std::unique_ptr<CheckFile>> files_;
};

// Passes over the tokens only, for the faults in them.
void CheckScanAll(CheckFile* file);
