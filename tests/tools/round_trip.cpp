// Round trips over generated sources, from a seed on:
//
//   quillo_round_trip FIRST COUNT [DIR]
//
// Every source, and a damaged copy of it, is compiled with both transports,
// with and without recorded lines; what compiles must come back. With DIR, the
// first one that does not is left there.
#include "tests/tools/round_trip.h"

#include <cstdio>
#include <cstdlib>

#include "tests/smith/smith.h"
#include "tests/tools/smith_sources.h"

namespace {

struct Tally {
  const char* directory;
  unsigned sources = 0;
  unsigned files = 0;
  unsigned wrong = 0;
};

void Save(const std::string& path, const std::string& content) {
  FILE* file = fopen(path.c_str(), "wb");
  if (file == nullptr) return;
  fwrite(content.data(), 1, content.size(), file);
  fclose(file);
}

void Try(uint64_t seed, bool damaged, Tally* tally) {
  RandomSource source(seed, damaged);
  bool any = false;
  for (const CompileWay way : COMPILE_WAYS) {
    const std::string bytes = CompileBytes(&source.files, source.name, way);
    if (bytes.empty()) continue;
    any = true;
    tally->files++;
    const std::string wrong = RoundTrip(bytes, way);
    if (wrong.empty()) continue;
    tally->wrong++;
    printf("seed %llu%s transport %d trace %d: %s\n",
           static_cast<unsigned long long>(seed), damaged ? " damaged" : "",
           way.transport, way.trace, wrong.c_str());
    if (tally->directory == nullptr) continue;
    Save(std::string(tally->directory) + "/bytes", bytes);
    for (const auto& [name, text] : source.files.texts)
      Save(std::string(tally->directory) + '/' + name, text);
    exit(1);
  }
  tally->sources += any;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3 && count != 4) {
    fprintf(stderr, "usage: %s FIRST COUNT [DIR]\n", arguments[0]);
    return 2;
  }
  const uint64_t first = strtoull(arguments[1], nullptr, 10);
  const uint64_t seeds = strtoull(arguments[2], nullptr, 10);
  Tally tally = {};
  tally.directory = count == 4 ? arguments[3] : nullptr;
  for (uint64_t seed = first; seed < first + seeds; seed++)
    for (const bool damaged : {false, true}) Try(seed, damaged, &tally);
  printf("%u sources that compile, %u files, %u failures\n", tally.sources,
         tally.files, tally.wrong);
  return tally.wrong != 0;
}
