// The same source gives the same bytes, whatever stands beside it: other files
// of the run, the environment, the locale, and where in memory things lie.
#include <gtest/gtest.h>
#include <sys/personality.h>

#include <algorithm>
#include <map>

#include "driver_run.h"
#include "file_tree.h"
#include "quillo_run.h"

namespace {

using Outputs = std::map<std::string, std::string>;  // bytes by file name

class Determinism : public FileTree {
 protected:
  Determinism() {
    std::filesystem::create_directory_symlink(SOURCE_DIRECTORY "/examples",
                                              "examples");
    // Numbers whose text depends on the locale, if anything's does.
    write("numbers.mac",
          "PROGRAM numbers;\nREAL r[-0.5:1.5E3](LEN(STR(2.5)));\n"
          "INTEGER i(VAL(\"1.5\") * 4);\nPRINT 1.5, .25, 1E-3;\n");
    programs_ = Examples(".mac");
    programs_.push_back("numbers.mac");
    masks_ = Examples(".msk");
    expected_ = compile_one_by_one();
    EXPECT_EQ(programs_.size() + masks_.size(), expected_.size());
  }

  static std::string output_of(const std::string& source) {
    const std::filesystem::path path(source);
    return path.stem().string() + (path.extension() == ".msk" ? ".cg" : ".cm");
  }

  // Takes the outputs out of the directory.
  static void take(const std::vector<std::string>& sources, Outputs* outputs) {
    for (const std::string& source : sources) {
      const std::string name = output_of(source);
      (*outputs)[name] = ReadWhole(name).value_or("none");
      std::filesystem::remove(name);
    }
  }

  Outputs compile_one_by_one() const {
    Outputs outputs;
    for (const std::string& source : programs_) RunQuillo({source});
    for (const std::string& source : masks_) RunQuillo({"-w", "-cg", source});
    take(programs_, &outputs);
    take(masks_, &outputs);
    return outputs;
  }

  Outputs compile_together() const {
    Outputs outputs;
    RunQuillo(programs_);
    std::vector<std::string> arguments = masks_;
    arguments.insert(arguments.begin(), {"-w", "-cg"});
    RunQuillo(arguments);
    take(programs_, &outputs);
    take(masks_, &outputs);
    return outputs;
  }

  std::vector<std::string> programs_, masks_;
  Outputs expected_;
};

TEST_F(Determinism, OrderOfTheFiles) {
  EXPECT_EQ(expected_, compile_together());
  std::reverse(programs_.begin(), programs_.end());
  std::reverse(masks_.begin(), masks_.end());
  EXPECT_EQ(expected_, compile_together());
}

TEST_F(Determinism, FilesInErrorBefore) {
  write("bad.mac", "PROGRAM p;\nSUB s(REAL x; STRING y)\nCOMMON c\nREAL z;\n}");
  write("bad.msk", "WINDOW w { width = 1; BUTTON b {\nMODULE { REAL r(");
  programs_.insert(programs_.begin(), "bad.mac");
  masks_.insert(masks_.begin(), "bad.msk");
  Outputs outputs = compile_together();
  EXPECT_EQ("none", outputs["bad.cm"]);
  EXPECT_EQ("none", outputs["bad.cg"]);
  outputs.erase("bad.cm");
  outputs.erase("bad.cg");
  EXPECT_EQ(expected_, outputs);
}

// Many runs in one process: what the first leaves must not show in the second.
TEST_F(Determinism, RunsOfOneProcess) {
  ForgetRuns();
  for (int round = 0; round < 2; round++) {
    Outputs outputs;
    for (const std::string& source : programs_)
      EXPECT_EQ(0, RunDriverHere({"-dump", source}).status);
    for (const std::string& source : masks_)
      EXPECT_EQ(0, RunDriverHere({"-w", "-print", "-cg", source}).status);
    take(programs_, &outputs);
    take(masks_, &outputs);
    EXPECT_EQ(expected_, outputs);
  }
  ForgetRuns();
}

struct EnvironmentRow {
  const char* name;
  const char* value;
};
constexpr EnvironmentRow ENVIRONMENTS[] = {
    {"LC_ALL", "de_DE.UTF-8"},
    {"LC_ALL", "C.UTF-8"},
    {"LC_NUMERIC", "fr_FR"},
    {"LANG", "tr_TR.UTF-8"},
    {"TZ", "Asia/Kathmandu"},
    {"HD_U", "/nowhere"},
    {"HD_LA", "en"},
    {"MCPATH", "/nowhere;.;"},
    {"TQS_MSG_ID", "1"},
    {"HOME", ""},
    {"PATH", ""},
    // What the C library fills memory with that was taken or given back.
    {"MALLOC_PERTURB_", "85"},
    {"MALLOC_PERTURB_", "170"},
    {"MALLOC_ARENA_TEST", "1"},
};

TEST_F(Determinism, Environment) {
  for (const EnvironmentRow& row : ENVIRONMENTS) {
    SCOPED_TRACE(std::string(row.name) + "=" + row.value);
    set_environment(row.name, row.value);
    EXPECT_EQ(expected_, compile_together());
    set_environment(row.name, nullptr);
  }
  // A large environment moves the stack.
  set_environment("LARGE", std::string(100000, 'x').c_str());
  EXPECT_EQ(expected_, compile_together());
}

TEST_F(Determinism, AddressLayout) {
  const int old = personality(0xFFFFFFFF);
  for (const int fixed : {int{ADDR_NO_RANDOMIZE}, 0, 0}) {
    // Where this is forbidden every run has another layout all the same.
    (void)personality(static_cast<unsigned long>(old | fixed));
    EXPECT_EQ(expected_, compile_together());
  }
  (void)personality(static_cast<unsigned long>(old));
}

}  // namespace
