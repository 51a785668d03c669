// quillo_generate: prints a source of the benchmarks.
//
//   quillo_generate program|masks BYTES
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/generate.h"

int main(int count, char** arguments) {
  const bool masks = count == 3 && strcmp(arguments[1], "masks") == 0;
  if (count != 3 || (!masks && strcmp(arguments[1], "program") != 0)) {
    fputs("usage: quillo_generate program|masks BYTES\n", stderr);
    return 2;
  }
  const size_t bytes = strtoull(arguments[2], nullptr, 10);
  const std::string text =
      masks ? GenerateMasks(bytes) : GenerateProgram(bytes);
  const bool written =
      fwrite(text.data(), 1, text.size(), stdout) == text.size();
  return written && fflush(stdout) == 0 ? 0 : 1;
}
