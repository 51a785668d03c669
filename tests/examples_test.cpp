// The examples and the documentation: what they show is what the compiler does.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "Cutil/codes.h"
#include "elut/mask_file.h"
#include "elut/program_file.h"
#include "file_tree.h"
#include "quillo_run.h"
#include "xd_support.h"

namespace {

using Words = std::vector<std::string>;

// Works in a directory that has the examples where the project's root has them.
class Examples : public FileTree {
 protected:
  Examples() {
    std::filesystem::copy(SOURCE_DIRECTORY "/examples", "examples");
    AttributeNamesReset();
  }

  static std::vector<std::string> with_extension(const std::string& extension) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("examples"))
      if (entry.path().extension() == extension)
        names.push_back(entry.path().string());
    return names;
  }

  // Compiles without a report and returns what was printed.
  static std::string compile(Words arguments, const std::string& source) {
    arguments.push_back(source);
    const auto run = RunQuillo(arguments);
    EXPECT_EQ(0, run.status) << source;
    EXPECT_EQ("", run.err) << source;
    return run.out;
  }

  static constexpr const char* FORMS[] = {"-xdr", "-noxdr"};
  static int transport(const std::string& form) {
    return form == "-xdr" ? XD_TRANSPORT_XDR : XD_TRANSPORT_PLAIN;
  }
};

TEST_F(Examples, ProgramsCompileAndReadBack) {
  const auto sources = with_extension(".mac");
  EXPECT_GE(sources.size(), 8u);
  for (const std::string& source : sources) {
    for (const std::string form : FORMS) {
      for (const char* level : {"0", "1"}) {
        SCOPED_TRACE(source + " " + form + " -t " + level);
        EXPECT_EQ("", compile({form, "-t", level, "-o", "a.cm"}, source));
        McProgram* program = nullptr;
        ASSERT_EQ(RC_OK, McXdrReadFromFile("a.cm", &program));
        EXPECT_EQ(RC_OK, McXdrWriteToFile(program, transport(form), "b.cm"));
        EXPECT_TRUE(ReadWhole("a.cm") == ReadWhole("b.cm"));
        McProgramFree(&program);
      }
    }
    EXPECT_NE("", compile({"-dump", "-o", "dumped.cm"}, source));
    EXPECT_TRUE(ReadWhole("dumped.cm").has_value()) << source;
  }
}

TEST_F(Examples, MasksCompileAndReadBack) {
  const auto sources = with_extension(".msk");
  EXPECT_GE(sources.size(), 4u);
  for (const std::string& source : sources) {
    for (const std::string form : FORMS) {
      SCOPED_TRACE(source + " " + form);
      EXPECT_NE("", compile({"-w", "-print", "-cg", form, "-o", "a"}, source));
      EditorList list;
      ASSERT_EQ(RC_OK, MaskListRead("a.cg", &list));
      EXPECT_EQ(RC_OK, MaskListWrite(&list, transport(form), "b.cg"));
      EXPECT_TRUE(ReadWhole("a.cg") == ReadWhole("b.cg"));
    }
  }
}

// Whole runs over many files, as build scripts start them.
TEST_F(Examples, CompileTogether) {
  Words programs = {"-o", "examples"};
  for (const std::string& source : with_extension(".mac"))
    programs.push_back(source);
  const auto run = RunQuillo(programs);
  EXPECT_EQ(0, run.status);
  EXPECT_EQ("", run.out + run.err);
  EXPECT_EQ(with_extension(".mac").size(), with_extension(".cm").size());

  // The names of attributes are the run's: no mask may use one otherwise.
  Words masks = {"-w", "-cg", "-o", "examples"};
  for (const std::string& source : with_extension(".msk"))
    masks.push_back(source);
  EXPECT_EQ(0, RunQuillo(masks).status);
  for (const std::string& source : with_extension(".msk")) {
    compile({"-w", "-cg", "-o", "alone"}, source);
    const std::string together = source.substr(0, source.rfind('.')) + ".cg";
    EXPECT_TRUE(ReadWhole("alone.cg") == ReadWhole(together)) << source;
  }
}

// The pages are run. Their blocks are, by the first word behind the fence:
//
//   text a.mac   a source; one in examples/ of that name is the same file
//   sh           commands; those that begin with quillo are run
//   output       what the last of them printed, without blanks at line ends
//   bytes a.cm   a file that they wrote; "#" begins a remark, and "..." stands
//                for the rest of the file
//
// A source that no command follows compiles without a report.
class Documentation : public Examples {
 protected:
  void follow(const std::string& page) {
    std::ifstream file(SOURCE_DIRECTORY "/" + page);
    ASSERT_TRUE(file.is_open());
    std::string line, fence, text;
    bool inside = false;
    for (int number = 1; std::getline(file, line); number++) {
      if (line.starts_with("```")) {
        SCOPED_TRACE(page + ":" + std::to_string(number));
        if (inside) block(fence, text);
        inside = !inside;
        fence = line.substr(3);
        text.clear();
      } else if (inside) {
        text += line + "\n";
      }
    }
    SCOPED_TRACE(page);
    compile_pending();
  }

  int checks = 0;  // blocks that were compared with something

 private:
  void block(const std::string& fence, const std::string& text) {
    std::istringstream words(fence);
    std::string kind, name;
    words >> kind >> name;
    if (kind == "text") {
      compile_pending();
      write(name, text);
      pending_ = name;
      EXPECT_EQ(ReadWhole("examples/" + name).value_or(text), text);
    } else if (kind == "sh") {
      pending_.clear();
      commands(text);
    } else if (kind == "output") {
      EXPECT_EQ(text, printed_);
      checks++;
    } else if (kind == "bytes") {
      expect_bytes(text, ReadWhole(name).value_or(""));
    } else {
      ADD_FAILURE() << "unknown kind of block: " << fence;
    }
  }

  void compile_pending() {
    if (pending_.empty()) return;
    const bool mask = pending_.ends_with(".msk");
    EXPECT_EQ("", compile(mask ? Words{"-w"} : Words{}, pending_));
    pending_.clear();
    checks++;
  }

  void commands(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      if (!line.starts_with("quillo ")) continue;
      const size_t end = line.find(';');
      std::istringstream words(line.substr(7, end - 7));
      Words arguments;
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
    checks++;
  }

  std::string pending_;  // source that has not been compiled
  std::string printed_;  // by the last command
};

struct Page {
  const char* name;
  int checks;
};

constexpr Page PAGES[] = {
    {"README.md", 4},
    {"docs/language.md", 10},
    {"docs/compiled-program-file.md", 3},
    {"docs/compiled-mask-file.md", 3},
};

TEST_F(Documentation, IsTrue) {
  for (const Page& page : PAGES) {
    checks = 0;
    follow(page.name);
    EXPECT_EQ(page.checks, checks) << page.name;
  }
}

// Every source file has its row in where-is-what.md.
TEST_F(Documentation, KnowsEverySourceFile) {
  const std::string page =
      ReadWhole(SOURCE_DIRECTORY "/docs/where-is-what.md").value_or("");
  for (const char* folder : {"Cutil", "util", "trt", "elut", "quillo"}) {
    const auto path = std::filesystem::path(SOURCE_DIRECTORY) / folder;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      if (entry.path().extension() == ".txt") continue;
      const std::string file = entry.path().filename().string();
      const std::string stem = entry.path().stem().string();
      EXPECT_TRUE(page.find("`" + file + "`") != std::string::npos ||
                  page.find("`" + stem + "`") != std::string::npos)
          << folder << "/" << file;
    }
  }
}

}  // namespace
