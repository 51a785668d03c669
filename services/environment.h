// What the compiler asks of its surroundings: environment values, the name of
// the host, paths, and files that are read whole.
//
// Paths are byte strings, handed to the system unchanged. Scripts that also
// serve other systems write them with "\" and with drive letters, so the rules
// for joining and testing know both.
#pragma once

#include "Cutil/ut_memory.h"

// Root of the installation when HD_U is not set.
inline constexpr char DEFAULT_ROOT[] = "/u";

// Forgets the current directory, which is otherwise taken once per run.
void EnvReset();

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

// Puts `tail` behind `head`:
//
//   head   tail     joined
//   a/b    c        a/b/c      also from a/b/ and from a\b\ .
//   a      /c       /c         so for \c, C:/c and C:\c: absolute
//   a      ./c      the current directory and /c; so for .\c
//
// Returns 0 or RC_NO_MEMORY with `*joined` unchanged.
[[nodiscard]] int PathJoin(const char* head, const char* tail,
                           UtString* joined);

// The current directory without a slash at its end, so "" in the root
// directory; "." when it cannot be obtained.
[[nodiscard]] const char* PathCurrentDirectory();

// Reads a whole file into `*text`. Only regular files are opened: a pipe or a
// device in the place of a file neither blocks nor loses anything. Returns 0,
// RC_CANNOT_OPEN for everything that cannot be read or has 1 GiB and more, or
// RC_NO_MEMORY; `*text` is empty then.
[[nodiscard]] int FileReadWhole(const char* path, UtString* text);
