// The seeds of the fuzz targets, and all that is one step away from them: each
// seed cut at every length. The seeds of compiled files are the sources among
// the seeds, compiled.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "../file_tree.h"
#include "../quillo_run.h"
#include "targets.h"

namespace {

constexpr char SEEDS[] = SOURCE_DIRECTORY "/tests/fuzz/corpus/";

class FuzzCorpus : public FileTree,
                   public testing::WithParamInterface<FuzzTargetRow> {
 protected:
  static void hold(const std::string& bytes) {
    for (size_t size = 0; size <= bytes.size(); size++)
      GetParam().run(reinterpret_cast<const uint8_t*>(bytes.data()), size);
  }

  // Compiles the seeds of a source target, for both transports.
  static void hold_compiled(const std::string& sources,
                            const std::vector<std::string>& options) {
    for (const auto& seed :
         std::filesystem::directory_iterator(SEEDS + sources)) {
      for (const char* transport : {"-xdr", "-noxdr"}) {
        std::vector<std::string> arguments = options;
        for (const char* word : {transport, "-o", "seed", seed.path().c_str()})
          arguments.push_back(word);
        (void)RunDriverHere(arguments);
        for (const char* output : {"seed.cm", "seed.cg"}) {
          if (const auto bytes = ReadWhole(output)) hold(*bytes);
          std::filesystem::remove(output);
        }
      }
    }
  }
};

TEST_P(FuzzCorpus, HoldsAlsoWhenCut) {
  const std::string name = GetParam().name;
  // Echoed characters and math errors.
  const StreamCatch out(stdout), err(stderr);
  if (name == "program_file") return hold_compiled("program", {});
  if (name == "mask_file") return hold_compiled("mask", {"-w", "-cg"});
  for (const auto& seed : std::filesystem::directory_iterator(SEEDS + name))
    hold(ReadWhole(seed.path()).value());
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzCorpus, testing::ValuesIn(FUZZ_TARGETS),
                         [](const auto& target) {
                           return std::string(target.param.name);
                         });

}  // namespace
