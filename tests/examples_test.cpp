// The examples and the documentation: what they show is what the compiler does.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "file_tree.h"
#include "quillo_run.h"
#include "rows.h"

namespace {

// Works in a directory that has the examples where the project's root has them.
class Documentation : public FileTree {
 protected:
  Documentation() {
    std::filesystem::copy(SOURCE_DIRECTORY "/examples", "examples");
  }

  // Compiles without a report.
  static void compile(const std::string& source) {
    const auto run = source.ends_with(".msk") ? RunQuillo({"-w", source})
                                              : RunQuillo({source});
    EXPECT_EQ(0, run.status) << source;
    EXPECT_EQ("", run.out + run.err) << source;
  }

  // Runs the blocks of a page and returns how many were compared with
  // something. By the first word behind the fence they are:
  //
  //   text a.mac   a source; one in examples/ of that name is the same file.
  //                It compiles without a report if it is not wrong.mac.
  //   sh           commands; those that begin with quillo are run
  //   output       what the last of them printed, without blanks at line ends
  //   bytes a.cm   a file that they wrote; "#" begins a remark, and "..."
  //                stands for the rest of the file
  int follow(const std::string& page) {
    std::ifstream file(SOURCE_DIRECTORY "/" + page);
    std::string line, fence, text;
    bool inside = false;
    checks_ = 0;
    while (std::getline(file, line)) {
      if (line.starts_with("```")) {
        SCOPED_TRACE(page + ": " + fence);
        if (inside) block(fence, text);
        inside = !inside;
        fence = line.substr(3);
        text.clear();
      } else if (inside) {
        text += line + "\n";
      }
    }
    return checks_;
  }

 private:
  void block(const std::string& fence, const std::string& text) {
    std::istringstream words(fence);
    std::string kind, name;
    words >> kind >> name;
    if (kind == "text") {
      write(name, text);
      EXPECT_EQ(ReadWhole("examples/" + name).value_or(text), text);
      if (name != "wrong.mac") compile(name);
      return;
    }
    if (kind == "sh") return commands(text);
    checks_++;
    if (kind == "bytes")
      return expect_bytes(text, ReadWhole(name).value_or(""));
    EXPECT_EQ(text, printed_);
  }

  void commands(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      if (!line.starts_with("quillo ")) continue;
      const size_t end = line.find(';');
      std::istringstream words(line.substr(7, end - 7));
      std::vector<std::string> arguments;
      for (std::string word; words >> word;) arguments.push_back(word);
      const auto run = RunQuillo(arguments);
      printed_ = without_blanks_at_ends(run.out + run.err);
      if (end != std::string::npos)  // ; echo $?
        printed_ += std::to_string(run.status) + "\n";
    }
  }

  static std::string without_blanks_at_ends(const std::string& text) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);)
      result += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    return result;
  }

  void expect_bytes(const std::string& text, std::string bytes) {
    std::istringstream lines(text);
    std::string shown;
    for (std::string line; std::getline(lines, line);)
      shown += line.substr(0, line.find('#')) + " ";
    if (const size_t rest = shown.find("..."); rest != std::string::npos) {
      shown.resize(rest);
      bytes.resize(std::min(bytes.size(), FromHex(shown).size()));
    }
    EXPECT_EQ(ToHex(FromHex(shown)), ToHex(bytes));
  }

  int checks_;
  std::string printed_;  // by the last command
};

TEST_F(Documentation, IsTrue) {
  for (const char* extension : {".mac", ".msk"})
    for (const std::string& source : Examples(extension)) compile(source);
  EXPECT_EQ(3, follow("README.md"));
  EXPECT_EQ(1, follow("docs/language.md"));
  EXPECT_EQ(3, follow("docs/compiled-program-file.md"));
  EXPECT_EQ(3, follow("docs/compiled-mask-file.md"));
}

// Every source file has its row in where-is-what.md.
TEST_F(Documentation, KnowsEverySourceFile) {
  const std::string page =
      ReadWhole(SOURCE_DIRECTORY "/docs/where-is-what.md").value_or("");
  for (const char* folder :
       {"Cutil", "util", "services", "trt", "elut", "quillo"}) {
    const auto path = std::filesystem::path(SOURCE_DIRECTORY) / folder;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(path)) {
      if (entry.is_directory() || entry.path().extension() == ".txt") continue;
      const std::string file = entry.path().filename().string();
      const std::string stem = entry.path().stem().string();
      EXPECT_TRUE(page.find("`" + file + "`") != std::string::npos ||
                  page.find("`" + stem + "`") != std::string::npos)
          << folder << "/" << file;
    }
  }
}

}  // namespace
