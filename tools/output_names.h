// Where the compiled files of many sources go, decided before the first one is
// written: two sources never write one file.
//
// A compiled file has the name of its source with .cm or .cg in the place of
// the extension. It stands in the current directory, or in the one that is
// given; with a root, below that in the directories that lead from the root to
// the source:
//
//   -o out src/a.mac               out/a.cm
//   -o out --root src src/p/a.mac  out/p/a.cm
#pragma once

#include <string>
#include <vector>

#include "elut/syntax/source_reader.h"

struct ToolOutputOptions {
  std::string directory;  // empty: the current one
  std::string root;       // empty: no mirroring
};

// The extension of what a source of that kind is compiled into.
const char* ToolOutputExtension(bool mask);

// A path as a directory that names can be appended to: empty, or with a slash
// at its end.
std::string ToolAsPrefix(std::string directory);

// The names without the extension and without the directory given: "a", "p/a".
// False when a source lies outside of the root, or two of them, as their kinds
// are now, would be compiled into one file; `*complaint` tells which.
[[nodiscard]] bool ToolPlanOutputs(const ToolOutputOptions& options,
                                   McSrcProvider* files,
                                   const std::vector<std::string>& sources,
                                   std::vector<std::string>* stems,
                                   std::string* complaint);

// Makes the directories that the outputs below `prefix` stand in. False when
// one cannot be made; `*complaint` tells which.
[[nodiscard]] bool ToolMakeDirectories(const std::string& prefix,
                                       const std::vector<std::string>& stems,
                                       std::string* complaint);
