// What fuzz targets share: checks, and sources that never touch a disk.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/compile.h"
#include "tests/stream_catch.h"
#include "tests/tree_text.h"

// Ends the process when something that must hold does not.
#define FUZZ_CHECK(condition)                                         \
  do {                                                                \
    if (!(condition)) {                                               \
      fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      abort();                                                        \
    }                                                                 \
  } while (false)

inline std::string TextOf(const uint8_t* bytes, size_t size) {
  return std::string(reinterpret_cast<const char*>(bytes), size);
}

// Compiles an input as the source of that name. A zero byte ends a source; what
// stands behind it is a file of its own, which the source can include as "b".
inline int CompileInput(Compile* compile, const char* name,
                        const uint8_t* bytes, size_t size) {
  const std::string input = TextOf(bytes, size);
  const size_t end = input.find('\0');
  compile->files.texts[name] = input;
  if (end != std::string::npos)
    compile->files.texts["b"] = input.substr(end + 1);
  return compile->compile(name);
}
