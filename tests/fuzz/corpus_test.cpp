// The seeds of the fuzz targets, and what is one step away from them: each seed
// cut at every length. The seeds of compiled files are the sources among the
// seeds, compiled; of these, each byte is made larger by one as well, which
// turns the last index of a table into one that is not there.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "../file_tree.h"
#include "fuzz_support.h"
#include "targets.h"

namespace {

constexpr char SEEDS[] = SOURCE_DIRECTORY "/tests/fuzz/corpus/";

class FuzzCorpus : public testing::TestWithParam<FuzzTargetRow> {
 protected:
  static void run(std::string_view bytes) {
    GetParam().run(reinterpret_cast<const uint8_t*>(bytes.data()),
                   bytes.size());
  }
  static void hold(const std::string& bytes) {
    for (size_t size = 0; size <= bytes.size(); size++)
      run({bytes.data(), size});
  }
  static void hold_compiled(std::string bytes) {
    hold(bytes);
    for (char& byte : bytes) {
      byte++;
      run(bytes);
      byte--;
    }
  }
};

TEST_P(FuzzCorpus, HoldsOneStepAway) {
  const std::string name = GetParam().name;
  const bool compiled = name.find("_file") != std::string::npos;
  const std::string folder = name.substr(0, name.find("_file"));
  for (const auto& seed : std::filesystem::directory_iterator(SEEDS + folder)) {
    const std::string text = ReadWhole(seed.path()).value();
    if (!compiled) {
      hold(text);
      continue;
    }
    const bool masks = folder == "mask";
    Compile compile;
    if (CompileInput(&compile, masks ? "a.msk" : "a.mac",
                     reinterpret_cast<const uint8_t*>(text.data()),
                     text.size()) != RC_OK)
      continue;
    for (const int transport : {XD_TRANSPORT_XDR, XD_TRANSPORT_PLAIN})
      hold_compiled(masks ? Written(&compile.masks, transport)
                          : Written(&compile.program, transport));
  }
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzCorpus, testing::ValuesIn(FUZZ_TARGETS),
                         [](const auto& target) {
                           return std::string(target.param.name);
                         });

}  // namespace
