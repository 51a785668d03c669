// Prints a source for measurements: quillo_source SHAPE BYTES, see generate.h.
#include <cstdio>
#include <cstdlib>

#include "bench/generate.h"

int main(int argc, char** argv) {
  const std::string source =
      argc == 3 ? GenerateShape(argv[1], strtoul(argv[2], nullptr, 10)) : "";
  if (source.empty()) {
    fputs("usage: quillo_source SHAPE BYTES\n", stderr);
    return 1;
  }
  const size_t written = fwrite(source.data(), 1, source.size(), stdout);
  return written == source.size() && fflush(stdout) == 0 ? 0 : 1;
}
