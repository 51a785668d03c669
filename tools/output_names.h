// Where the compiled files of many sources go, decided before the first one is
// written: two sources never write one file, whatever names and links lead to
// it.
//
// A compiled file has the name of its source with .cm or .cg in the place of
// the extension. It stands in the current directory, or in the one that is
// given; with a root, below that in the directories that lead from the root to
// the source:
//
//   -o out src/a.mac               out/a.cm
//   -o out --root src src/p/a.mac  out/p/a.cm
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "elut/syntax/source_reader.h"

struct ToolOutputOptions {
  std::string directory;      // empty: the current one
  std::string root;           // empty: no mirroring
  std::optional<bool> masks;  // all sources are, or none; unset: by their text
  bool depfiles = false;      // a.cm.d for each a.cm,
  std::string depfile_directory;  // below this; empty: beside it
  bool sources_stay = false;      // what is written must not be a source
};

// The extension of what a source of that kind is compiled into.
const char* ToolOutputExtension(bool mask);

// A path as a directory that names can be appended to: empty, or with a slash
// at its end.
std::string ToolAsPrefix(std::string directory);

// The same of where the depfiles go.
std::string ToolDepfilePrefix(const ToolOutputOptions& options);

// The names without the extension and without the directory given: "a", "p/a".
// False when a source lies outside of the root, when what is written for the
// sources, as their kinds are now, is not a file for each, or when it is one of
// the sources; `*complaint` tells which.
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
