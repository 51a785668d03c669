// make_manual SOURCE-DIRECTORY OUTPUT-DIRECTORY DATE
//
// Writes the manual pages to OUTPUT-DIRECTORY/man and the completions to
// OUTPUT-DIRECTORY/completions/SHELL. The build runs it.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tools/command.h"
#include "tools/manual/completions.h"
#include "tools/manual/pages.h"

namespace {

namespace fs = std::filesystem;

std::string ReadDocument(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path.string());
}

void Make(const fs::path& source, const fs::path& output, const char* date) {
  CLI::App app;
  int status = 0;
  ToolDescribe(&app, &status);
  const ManualSources sources = {&app, ReadDocument(source / "README.md"),
                                 ReadDocument(source / "docs/language.md"),
                                 date};
  for (const auto& [name, page] : ManualPages(sources))
    Write(output / "man" / name, page);
  const fs::path shells = output / "completions";
  for (const CommandTable& program : {TableOfCompiler(), TableOf(app)}) {
    Write(shells / "bash" / program.name, BashCompletion(program));
    Write(shells / "zsh" / ("_" + program.name), ZshCompletion(program));
    Write(shells / "fish" / (program.name + ".fish"), FishCompletion(program));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  try {
    Make(argv[1], argv[2], argv[3]);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "make_manual: %s\n", error.what());
    return 1;
  }
}
