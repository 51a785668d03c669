// Dependencies as make and ninja read them.
//
//   out/a.cm: src/a.mac points.inc
//
// A rule for each source, any number of them in one file. Both programs give
// blanks, "#", ":" and "$" in names a meaning of their own, which a backslash
// or a second "$" takes away; make also "*", "?" and "[". For make each
// included file is the target of an empty rule besides, so that a file that is
// gone, or not there yet, does not stop the build but rebuilds the target;
// ninja does so by itself and skips these rules.
//
// Depfiles that are written before it is known who reads them are those of
// COMMON: they have the characters that only make takes for something else as
// they are, like those of C compilers, because ninja and CMake would take a
// backslash in front of them for a part of the name. To make "*", "?" and "["
// then stand for all files that fit, that one included; and a rule whose target
// has a "%" is a pattern without commands, which does nothing.
//
// Some names cannot be written at all, whatever is put in front of their
// characters:
//
//   both    control characters, a backslash at the end or in front of a
//           character that needs one
//   make    = and ;  a blank at the end; a target with %
//   common  = and ;  a blank at the end
//   ninja   * ? ; | & ' " < > ^ `  a ":" at the end
#pragma once

#include <string>
#include <string_view>
#include <vector>

enum class ToolDepfile { MAKE, NINJA, COMMON };

struct ToolDependencies {
  std::string target;
  std::string source;
  std::vector<std::string> includes;
};

// A name as it stands among those that a target depends on. False for one that
// cannot be written.
[[nodiscard]] bool ToolDepfileName(ToolDepfile form, std::string_view name,
                                   std::string* text);

// Appends the rule. False, with the text as it was, when a name cannot be
// written; `*name` is that name.
[[nodiscard]] bool ToolDepfileRule(ToolDepfile form,
                                   const ToolDependencies& dependencies,
                                   std::string* text, std::string* name);
