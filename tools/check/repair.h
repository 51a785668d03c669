// Syntax errors: the automaton of the grammar over the tokens of a source, with
// a repair for each token that it cannot take.
//
// One fault is to give one finding, at its place. So what would make the source
// right is looked for: tokens are put in, taken out, spelled in another way,
// here and shortly before; and of the changes with which the parser gets
// furthest the smallest is taken for what was meant. The parser goes on as if
// it had been written, as do all later checks.
#pragma once

#include <map>
#include <memory>
#include <set>
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

// Finds and repairs the syntax errors of the source, up to `most` of them. The
// faults and repairs are noted in its files, and the names in what was left out
// in `dropped`. False when the parser could not go on to the end.
using CheckNames = std::set<std::string, std::less<>>;
bool CheckRepair(CheckFiles* files, CheckFile* main, CheckKind kind,
                 size_t most, CheckNames* dropped);

// Passes over the tokens only, for the faults in them.
void CheckScanAll(CheckFile* file);
