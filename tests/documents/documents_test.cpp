// The documentation: every code block of every page is run, every link leads
// somewhere, and the pages are true about the files of the project.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>

#include "quillo/defaults.h"
#include "tests/documents/pages.h"
#include "tests/file_tree.h"
#include "tests/quillo_run.h"
#include "tests/rows.h"

namespace {

std::string WithoutBlanksAtEnds(const std::string& text) {
  std::string result;
  for (const std::string& line : Lines(text))
    result += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  return result;
}

// Works in a directory that has the examples where the project's root has them,
// and the beginnings of a project in src/. By the first word behind the fence a
// block is:
//
//   text a.mac   a source; one in examples/ of that name is the same file. It
//                compiles without a report if its name is not wrong
//   KIND name    any other file
//   sh           commands, which are run and succeed. Of those that build or
//                test the project only the names are looked at
//   output       what the last of them printed, without blanks at line ends
//   bytes a.cm   a file that they wrote; "#" begins a remark, and "..." stands
//                for the rest of the file
//   resources    what the defaults files written so far set
class Documentation : public FileTree,
                      public testing::WithParamInterface<std::string> {
 protected:
  Documentation() {
    std::filesystem::copy(SOURCE_DIRECTORY "/examples", "examples");
    write("src/a.mac", "PROGRAM a;\n;\n");
    write("src/b.mac", "PROGRAM b;\n;\n");
    write("src/m.msk", "WINDOW m { ; }\n");
    set_environment("HOME", root().c_str());
    set_environment("QUILLO", SOURCE_DIRECTORY);
  }

  void block(const Block& block) {
    if (block.kind == "sh") return commands(block.text);
    if (block.kind == "output") {
      EXPECT_EQ(WithoutBlanksAtEnds(block.text), printed_);
    } else if (block.kind == "bytes") {
      expect_bytes(block.text, ReadWhole(block.name).value_or(""));
    } else if (block.kind == "resources") {
      expect_resources(block.text);
    } else {
      ASSERT_NE("", block.name) << "nobody would run this block";
      write(block.name, block.text);
      EXPECT_EQ(ReadWhole("examples/" + block.name).value_or(block.text),
                block.text);
      if (block.name.find("wrong") == std::string::npos) compile(block.name);
    }
  }

  // Compiles without a report what is a source.
  static void compile(const std::string& source) {
    const bool mask = source.ends_with(".msk");
    if (!mask && !source.ends_with(".mac")) return;
    const auto run = RunQuillo(mask ? std::vector<std::string>{"-w", source}
                                    : std::vector<std::string>{source});
    EXPECT_EQ(0, run.status) << source;
    EXPECT_EQ("", run.out + run.err) << source;
  }

 private:
  // True for a command over the project itself, which is there.
  static bool is_known(const std::string& command) {
    std::istringstream words(command);
    std::string word, last;
    words >> word;
    const auto exists = [](const std::string& name) {
      EXPECT_TRUE(std::filesystem::exists(SOURCE_DIRECTORY "/" + name)) << name;
    };
    if (word.starts_with("scripts/") || word.starts_with(".ci/")) {
      exists(word);
      return true;
    }
    if (word != "cmake" && !word.starts_with("build/release/")) return false;
    static const std::string targets = AllBuildFiles();
    if (word != "cmake") last = word.substr(word.rfind('/') + 1);
    for (std::string next; words >> next; word = next)
      if (word == "--target") last = next;
    EXPECT_TRUE(last.empty() ||
                targets.find("add_executable(" + last) != std::string::npos)
        << command;
    return true;
  }

  static std::string AllBuildFiles() {
    std::string all;
    for (const auto& file : FilesOf("", "CMakeLists.txt"))
      all += ReadWhole(SOURCE_DIRECTORY "/" + file).value();
    return all;
  }

  void commands(const std::string& text) {
    std::string script;
    for (const std::string& line : Lines(text))
      if (!is_known(line)) script += line + "\n";
    if (script.empty()) return;
    const bool asks = script.find("$?") != script.npos;
    const auto run =
        RunShell((asks ? "" : "set -e\n") + ("{\n" + script) + "} 2>&1");
    EXPECT_EQ(0, run.status) << script << run.out;
    printed_ = WithoutBlanksAtEnds(run.out);
  }

  static void expect_bytes(const std::string& text, std::string bytes) {
    std::string shown;
    for (const std::string& line : Lines(text))
      shown += line.substr(0, line.find('#')) + " ";
    if (const size_t rest = shown.find("..."); rest != std::string::npos) {
      shown.resize(rest);
      bytes.resize(std::min(bytes.size(), FromHex(shown).size()));
    }
    EXPECT_EQ(ToHex(FromHex(shown)), ToHex(bytes));
  }

  void expect_resources(const std::string& text) {
    for (const char* name : {"HD_VE", "HD_LA", "TQS_MSG_ID", "MCPATH"})
      set_environment(name, nullptr);
    set_environment("HD_U", (root() + "/u").c_str());
    CatalogSet catalogs;
    Defaults defaults(&catalogs);
    ASSERT_EQ(0, defaults.load_file("default", "macro.dflt"));
    for (const std::string& line : Lines(text)) {
      const size_t equals = line.find(" = ");
      ASSERT_NE(std::string::npos, equals) << line;
      const char* value =
          defaults.value("default", line.substr(0, equals).c_str());
      ASSERT_NE(nullptr, value) << line;
      std::string shown = value;
      std::ranges::replace(shown, '\n', '|');
      EXPECT_EQ(line.substr(equals + 3), shown);
    }
  }

  std::string printed_;  // by the last commands
};

// A file that a later block shows may be wanted by an earlier one.
TEST_P(Documentation, IsTrue) {
  const Page page(GetParam());
  for (const Block& file : page.blocks)
    if (file.kind == "text" && !file.name.empty() &&
        file.name.find(".m") == std::string::npos)
      write(file.name, file.text);
  for (const Block& each : page.blocks) {
    SCOPED_TRACE(GetParam() + ":" + std::to_string(each.line));
    block(each);
  }
}

TEST_P(Documentation, LinksLeadSomewhere) {
  const Page page(GetParam());
  for (size_t at = 0; (at = page.prose.find("](", at)) != page.prose.npos;) {
    const size_t end = page.prose.find(')', at += 2);
    const std::string link = page.prose.substr(at, end - at);
    const size_t hash = std::min(link.find('#'), link.size());
    const std::string file = link.substr(0, hash), anchor = link.substr(hash);
    if (file.starts_with("http")) continue;
    const auto target =
        file.empty() ? std::filesystem::path(GetParam())
                     : std::filesystem::path(GetParam()).parent_path() / file;
    const auto path = std::filesystem::path(SOURCE_DIRECTORY) / target;
    ASSERT_TRUE(std::filesystem::exists(path)) << link;
    if (anchor.empty()) continue;
    EXPECT_TRUE(
        Page(target.lexically_normal()).anchors.contains(anchor.substr(1)))
        << link;
  }
}

INSTANTIATE_TEST_SUITE_P(Pages, Documentation, testing::ValuesIn(AllPages()),
                         [](const auto& page) {
                           std::string name = page.param;
                           std::ranges::replace_if(
                               name, [](char c) { return !isalnum(c); }, '_');
                           return name;
                         });

using Examples_ = Documentation;
TEST_F(Examples_, Compile) {
  for (const char* extension : {".mac", ".msk"})
    for (const std::string& source : Examples(extension)) compile(source);
}

TEST(QuilloTools, CommandsStandInTheReadme) {
  std::set<std::string> commands, known;
  const std::string help = RunShell("quillo-tools --help").out;
  for (const std::string& line :
       Lines(help.substr(std::min(help.find("Subcommands:"), help.size()))))
    if (line.starts_with("  ") && line[2] != ' ')
      commands.insert(line.substr(2, line.find(' ', 2) - 2));
  for (const std::string& line :
       Lines(Page("README.md").section("quillo-tools")))
    if (const auto cells = CellsOf(line); !cells.empty())
      for (const std::string& name : Quoted(cells[0])) known.insert(name);
  EXPECT_FALSE(commands.empty());
  EXPECT_EQ(commands, known);
}

// The folder at the start of a heading is what the rows below it are about;
// their first cells name files in it, with or without the extension, or folders
// that are known as a whole. A command of quillo-tools has a file of its name.
TEST(WhereIsWhat, KnowsTheFiles) {
  const auto exists = [](const std::string& path) {
    return std::filesystem::exists(SOURCE_DIRECTORY "/" + path);
  };
  std::set<std::string> known;
  std::string folder;
  for (const std::string& line : Lines(Page("docs/where-is-what.md").prose)) {
    if (line.starts_with("## ")) {
      folder = line.substr(3, line.find(':') - 3) + "/";
      if (!exists(folder)) folder.clear();
    }
    const auto cells = CellsOf(line);
    for (const std::string& name : Quoted(cells.empty() ? line : cells[0])) {
      if (cells.empty()) {
        EXPECT_TRUE(name.find('/') == name.npos || exists(name)) << name;
        continue;
      }
      const size_t before = known.size();
      for (const char* extension : {"", ".h", ".cpp"})
        if (exists(folder + name + extension))
          known.insert(folder + name + extension);
      EXPECT_LT(before, known.size()) << folder << name;
    }
  }
  std::string commands =
      ReadWhole(SOURCE_DIRECTORY "/tools/commands.cpp").value();
  std::ranges::transform(commands, commands.begin(), tolower);
  for (const char* room :
       {"Cutil", "util", "services", "trt", "elut", "quillo", "tools"})
    for (const std::string& file : FilesOf(room, "")) {
      const bool code = file.ends_with(".cpp") || file.ends_with(".h");
      EXPECT_TRUE(!code ||
                  ReadWhole(SOURCE_DIRECTORY "/" + file)->starts_with("// "))
          << file << " does not begin with what it is about";
      const std::string parent = file.substr(0, file.rfind('/'));
      const std::string stem = std::filesystem::path(file).stem().string();
      const bool command =
          parent == "tools" && commands.find("add" + stem + "(") != stem.npos;
      EXPECT_TRUE(known.contains(file) || known.contains(parent + "/") ||
                  command || file.ends_with("CMakeLists.txt"))
          << file;
    }
}

}  // namespace
