// What the compiler asks of its surroundings: environment values, the name of
// the host, and paths.
//
// Paths are byte strings, handed to the system unchanged. Scripts that also
// serve other systems write them with "\" and with drive letters, so the rules
// for joining and testing know both.
#pragma once

#include "Cutil/ut_memory.h"

// Root of the installation when HD_U is not set.
inline constexpr char DEFAULT_ROOT[] = "/u";

// The value of an environment variable; nullptr or `otherwise` when it is not
// set. A variable set to nothing is the empty text.
[[nodiscard]] const char* EnvValue(const char* name);
[[nodiscard]] const char* EnvValue(const char* name, const char* otherwise);

// Writes the host's name into `name`. False when it has more than 31
// characters or cannot be obtained; `name` is empty then.
constexpr size_t HOST_NAME_BYTES = 32;
[[nodiscard]] bool EnvHostName(char (&name)[HOST_NAME_BYTES]);

// True for a directory. A path of a drive letter and ":" means the drive's
// root; a path that does not exist and begins with two slashes of either kind
// is tried as the name of a network share.
[[nodiscard]] bool PathIsDirectory(const char* path);

// True for whatever exists and is not a directory, a pipe too.
[[nodiscard]] bool PathIsFile(const char* path);

// The current directory of a run, taken once, when it is needed first.
class WorkingDirectory {
 public:
  // Without a slash at its end, so "" in the root directory; "." when it cannot
  // be obtained. Throws bad_alloc.
  [[nodiscard]] const UtString& path();

  // Puts `tail` behind `head`. Throws bad_alloc.
  //
  //   head   tail     joined
  //   a/b    c        a/b/c      also from a/b/ and from a\b\ .
  //   a      /c       /c         so for \c, C:/c and C:\c: absolute
  //   a      ./c      the current directory and /c; so for .\c
  [[nodiscard]] UtString join(const UtString& head, const char* tail);

 private:
  bool taken_ = false;
  UtString path_;
};
