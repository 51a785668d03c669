// libFuzzer's entries for the target FUZZ_TARGET.
#include <fcntl.h>
#include <unistd.h>

#include "tests/fuzz/targets.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

// What the compiler prints would drown the fuzzer's own lines.
int LLVMFuzzerInitialize(int*, char***) {
  const int null = open("/dev/null", O_WRONLY);
  dup2(null, 1);
  close(null);
  return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  FUZZ_TARGET(bytes, size);
  return 0;
}
