// Real builds: make and ninja, started with the rules that docs/building.md
// shows, rebuild what they must and nothing else.
#include <gtest/gtest.h>

#include <thread>

#include "tests/file_tree.h"
#include "tests/quillo_run.h"

namespace {

namespace fs = std::filesystem;

// The block of a document whose first line is "```KIND NAME".
std::string Block(const std::string& document, const std::string& head) {
  const std::string text =
      ReadWhole(std::string(SOURCE_DIRECTORY "/docs/") + document).value();
  const size_t start = text.find("```" + head + "\n") + head.size() + 4;
  return text.substr(start, text.find("```\n", start) - start);
}

struct Builder {
  const char* command;  // prints a line for each compile
  const char* file;     // build file
  const char* block;    // of the document
  const char* outputs;  // directory
};
constexpr Builder BUILDERS[] = {
    {"ninja -v -k 0 | grep -o 'compile .*'", "build.ninja", "ninja build.ninja",
     "out/"},
    {"make -k 2>&1 | grep -o '^quillo-tools compile .*'", "Makefile",
     "make Makefile", "out/"},
    {"cmake -B b -G Ninja -DCMAKE_PREFIX_PATH=$PWD/installed >log 2>&1\n"
     "cmake --build b -- -k 0 2>&1 | grep -o 'Compiling .*'",
     "CMakeLists.txt", "cmake CMakeLists.txt", "b/out/"},
    {"cmake -B b -G 'Unix Makefiles' -DCMAKE_PREFIX_PATH=$PWD/installed >log "
     "2>&1\ncmake --build b -- -k 2>&1 | grep -o 'Compiling .*'",
     "CMakeLists.txt", "cmake CMakeLists.txt", "b/out/"},
};

class Builds : public FileTree {
 protected:
  // What a build compiles: the names of the sources.
  std::string build(const Builder& builder) {
    std::string sources;
    const RunResult result = RunShell(builder.command);
    for (const char* name : {"a.mac", "b.mac", "m.msk"})
      if (result.out.find(std::string("src/") + name) != std::string::npos)
        sources += *name;
    return sources;
  }
  // Changes a file some ticks of the file system's clock away from all else.
  void change(const std::string& name, const std::string& text) {
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
    write(name, text);
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
  }
};

TEST_F(Builds, ExactlyTheDependents) {
  constexpr const char SUB[] = "SUB s ; SUBEND\n";
  for (const Builder& builder : BUILDERS) {
    for (const auto& entry : fs::directory_iterator(".")) fs::remove_all(entry);
    const std::string out = builder.outputs;
    if (out != "out/") {
      EXPECT_EQ(RunShell("cmake --install " BINARY_DIRECTORY
                         " --prefix installed >log")
                    .status,
                0);
    }
    write(builder.file, Block("building.md", builder.block));
    write("src/a.mac",
          "PROGRAM a;\nINCLUDE \"src/d [1]/one.inc\";\nPRINT 1;\n");
    write("src/b.mac",
          "PROGRAM b;\nINCLUDE \"src/d [1]/50%.inc\";\nPRINT 1;\n");
    write("src/m.msk", "WINDOW w { k = 1; }\n");
    write("src/d [1]/one.inc", "INCLUDE \"src/d [1]/50%.inc\";\n");
    write("src/d [1]/50%.inc", SUB);
    EXPECT_EQ(build(builder), "abm") << builder.file;
    for (const char* output : {"a.cm", "b.cm", "m.cg"})
      EXPECT_TRUE(fs::exists(out + output)) << output;
    EXPECT_EQ(build(builder), "") << builder.file;
    change("src/d [1]/one.inc", "INCLUDE \"src/d [1]/50%.inc\";\n");
    EXPECT_EQ(build(builder), "a") << builder.file;
    change("src/d [1]/50%.inc", SUB);
    EXPECT_EQ(build(builder), "ab") << builder.file;
    change("src/m.msk", "WINDOW w { k = 2; }\n");
    EXPECT_EQ(build(builder), "m") << builder.file;
    EXPECT_EQ(build(builder), "") << builder.file;
    // One that fails is tried again until it is mended, also by an include
    // that was missing; what it was before is never taken for new.
    const auto old = ReadWhole(out + "b.cm");
    change("src/b.mac", "PROGRAM b;\nINCLUDE \"src/new.inc\";\nPRINT 2;\n");
    EXPECT_EQ(build(builder), "b") << builder.file;
    EXPECT_EQ(ReadWhole(out + "b.cm"), old);
    EXPECT_EQ(build(builder), "b") << builder.file;
    change("src/new.inc", SUB);
    EXPECT_EQ(build(builder), "b") << builder.file;
    EXPECT_NE(ReadWhole(out + "b.cm"), old);
    EXPECT_EQ(build(builder), "") << builder.file;
    // An include that is gone and not needed any more stops nothing, but in
    // the Makefiles of CMake.
    if (std::string(builder.command).find("Makefiles") != std::string::npos)
      continue;
    fs::remove("src/d [1]/one.inc");
    change("src/a.mac", "PROGRAM a;\nPRINT 1;\n");
    EXPECT_EQ(build(builder), "a") << builder.file;
    EXPECT_EQ(build(builder), "") << builder.file;
  }
}

// Names that make and ninja read in their own way, in one depfile for several
// sources.
TEST_F(Builds, NamesInDepfiles) {
  const std::vector<std::string> names = {
      "blank in it", "#number", "dol$lar$",  "col:on",         "back\\slash",
      "[br][ack]",   "a%b~,@!", "(p){b}+-.", "umlaut\xC3\xA4", "~tilde"};
  std::string sources, outputs;
  for (size_t i = 0; i < names.size(); i++) {
    const std::string source = "s" + std::to_string(i);
    write(source, "PROGRAM p;\nINCLUDE \"" + names[i] + "\";\nPRINT 1;\n");
    write(names[i], "SUB s ; SUBEND\n");
    sources += " " + source;
    outputs += " o/" + source + ".cm";
  }
  const std::string deps = "quillo-tools deps -o o" + sources;
  write("Makefile", "include rules\n%.cm: ; @touch $@ && echo $@\n");
  write("build.ninja", "rule r\n  command = mkdir -p o && touch $out && " +
                           deps +
                           " --ninja >d\n  depfile = d\n  deps = gcc\n"
                           "build" +
                           outputs + ": r\n");
  const RunResult first =
      RunShell(deps + " --make >rules; mkdir o; touch" + outputs + "; make -s" +
               outputs + "; ninja; ninja");
  EXPECT_EQ(first.err, "");
  EXPECT_TRUE(first.out.starts_with("[1/1]")) << first.out;  // make is silent
  EXPECT_NE(first.out.find("no work to do"), std::string::npos) << first.out;
  for (size_t i = 0; i < names.size(); i++) {
    const auto before = fs::last_write_time(names[i]);
    change(names[i], "SUB t ; SUBEND\n");
    EXPECT_EQ(RunShell("make -n" + outputs + " | grep -o 'echo .*'").out,
              "echo o/s" + std::to_string(i) + ".cm\n");
    EXPECT_EQ(RunShell("ninja -n | grep -c no.work").out, "0\n") << names[i];
    fs::last_write_time(names[i], before);
  }
}

}  // namespace
