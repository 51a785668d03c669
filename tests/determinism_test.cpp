// The same source gives the same bytes, whatever stands beside it: other files
// of the run, the environment, the locale, and where in memory things lie. Only
// names of attributes that have values of two types in a run make the order of
// masks count. Threads are the affair of threads_test.cpp.
#include <gtest/gtest.h>
#include <sys/personality.h>

#include <algorithm>
#include <map>

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
    for (const std::string& source : programs_) RunQuillo({source});
    for (const std::string& source : masks_) RunQuillo({"-w", "-cg", source});
    expected_ = take();
    EXPECT_EQ(programs_.size() + masks_.size(), expected_.size());
  }

  // Takes the outputs out of the directory.
  Outputs take() const {
    Outputs outputs;
    for (const auto& entry : std::filesystem::directory_iterator(root())) {
      const std::string type = entry.path().extension();
      if (type != ".cm" && type != ".cg") continue;
      outputs[entry.path().filename()] = ReadWhole(entry.path()).value();
      std::filesystem::remove(entry.path());
    }
    return outputs;
  }

  Outputs compile_together() const {
    std::vector<std::string> arguments = {"-w", "-cg"};
    arguments.insert(arguments.end(), masks_.begin(), masks_.end());
    RunQuillo(programs_);
    RunQuillo(arguments);
    return take();
  }

  std::vector<std::string> programs_, masks_;
  Outputs expected_;
};

TEST_F(Determinism, OrderOfTheFiles) {
  EXPECT_EQ(expected_, compile_together());
  std::reverse(programs_.begin(), programs_.end());
  std::reverse(masks_.begin(), masks_.end());
  // What a file in error leaves does not show in those behind it.
  write("bad.mac", "PROGRAM p;\nSUB s(REAL x; STRING y)\nCOMMON c\nREAL z;\n}");
  write("bad.msk", "WINDOW w { width = 1; BUTTON b {\nMODULE { REAL r(");
  programs_.insert(programs_.begin(), "bad.mac");
  masks_.insert(masks_.begin(), "bad.msk");
  EXPECT_EQ(expected_, compile_together());
}

// The first use of a name in a run fixes the type of its values.
TEST_F(Determinism, OrderOfMasksThatClash) {
  write("n.msk", "WINDOW w { x = 1; }\n");
  write("t.msk", "WINDOW w { x = \"1\"; }\n");
  const auto outputs = [&](const std::vector<std::string>& sources) {
    std::vector<std::string> arguments = {"-w", "-cg"};
    arguments.insert(arguments.end(), sources.begin(), sources.end());
    RunQuillo(arguments);
    return take();
  };
  const Outputs numbers = outputs({"n.msk", "t.msk"});
  const Outputs texts = outputs({"t.msk", "n.msk"});
  EXPECT_EQ(outputs({"n.msk"}).at("n.cg"), numbers.at("n.cg"));
  EXPECT_EQ(outputs({"t.msk"}).at("t.cg"), texts.at("t.cg"));
  EXPECT_NE(texts.at("t.cg"), numbers.at("t.cg"));
  EXPECT_NE(numbers.at("n.cg"), texts.at("n.cg"));
}

TEST_F(Determinism, Environment) {
  const std::string large(100000, 'x');  // moves the stack
  const std::pair<const char*, const char*> rows[] = {
      {"LC_ALL", "de_DE.UTF-8"},
      {"LC_NUMERIC", "fr_FR"},
      {"LANG", "tr_TR.UTF-8"},
      {"HD_U", "/nowhere"},
      {"HD_LA", "en"},
      {"MCPATH", "/nowhere;.;"},
      {"LARGE", large.c_str()},
      // What the C library fills memory with that was taken or given back.
      {"MALLOC_PERTURB_", "85"},
      {"MALLOC_PERTURB_", "170"},
  };
  for (const auto& [name, value] : rows) {
    set_environment(name, value);
    EXPECT_EQ(expected_, compile_together()) << name;
    set_environment(name, nullptr);
  }
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
