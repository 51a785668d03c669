// Whole programs: the files in cases/ hold one case behind the other:
//
//   === name
//   The source, which is the file that the arguments end with.
//   --- remark Any.
//   --- args -dump a.mac  arguments, -noxdr a.mac if not given
//   --- file b.inc        another file
//   --- stderr            what is printed there, or on --- stdout
//   --- bytes a.cm        a file that the run leaves, in hexadecimal
//   --- exit 1            code that is the exit status, 0 if not given
//   --- fails 1           the same, and "Cannot compile" is the last report
//
// In the texts, {{80*ab}} stands for 80 times ab, {{0D}} for that byte, and
// {{cut}} at the end of a text takes the line feed away.
#include <gtest/gtest.h>

#include <sstream>

#include "file_tree.h"
#include "quillo_run.h"
#include "xd_support.h"

namespace {

std::string Expanded(const std::string& text) {
  std::string result;
  size_t from = 0;
  for (;;) {
    const size_t open = text.find("{{", from);
    if (open == std::string::npos) return result + text.substr(from);
    const size_t close = text.find("}}", open);
    const std::string word = text.substr(open + 2, close - open - 2);
    result += text.substr(from, open - from);
    from = close + 2;
    if (word == "cut") return result;
    const size_t star = word.find('*');
    if (star == std::string::npos) result += FromHex(word);
    for (int i = star == std::string::npos ? 0 : std::stoi(word); i > 0; i--)
      result += word.substr(star + 1);
  }
}

struct Case {
  std::string name;
  std::vector<std::string> arguments = {"-noxdr", "a.mac"};
  std::vector<std::pair<std::string, std::string>> files, outputs;
  std::string source, out, err;
  int code = 0;

  void take(const std::string& section, const std::string& text) {
    std::istringstream words(section);
    std::string kind, word;
    words >> kind >> word;
    if (kind.empty()) source = Expanded(text);
    if (kind == "file") files.emplace_back(word, Expanded(text));
    if (kind == "stdout") out = Expanded(text);
    if (kind == "stderr") err = Expanded(text);
    if (kind == "exit" || kind == "fails") code = std::stoi(word);
    if (kind == "fails")
      err += "quillo: Cannot compile " + arguments.back() +
             ". Error Code: " + word + "\n";
    if (kind == "bytes") outputs.emplace_back(word, FromHex(text));
    if (kind == "args") {
      arguments = {word};
      while (words >> word) arguments.push_back(word);
    }
  }
};

std::vector<Case> CasesOf(const std::string& file) {
  std::istringstream lines(
      ReadWhole(SOURCE_DIRECTORY "/tests/cases/" + file).value() + "=== ");
  std::vector<Case> cases;
  std::string section, text;
  for (std::string line; std::getline(lines, line);) {
    const bool begins_case = line.starts_with("=== ");
    if (!begins_case && !line.starts_with("--- ")) {
      text += line + "\n";
      continue;
    }
    if (!cases.empty()) cases.back().take(section, text);
    section = begins_case ? "" : line.substr(4);
    text.clear();
    if (begins_case) cases.emplace_back().name = line.substr(4);
  }
  cases.pop_back();
  return cases;
}

using Cases = FileTree;

TEST_F(Cases, AreAsTheySay) {
  for (const char* file : {"declarations.txt", "masks.txt", "modes.txt",
                           "reading.txt", "recovery.txt"})
    for (const Case& row : CasesOf(file)) {
      SCOPED_TRACE("case: " + row.name);
      write(row.arguments.back(), row.source);
      for (const auto& [name, text] : row.files) write(name, text);
      const RunResult run = RunQuillo(row.arguments);
      EXPECT_EQ(row.err, run.err);
      EXPECT_EQ(row.out, run.out);
      EXPECT_EQ(row.code & 255, run.status);
      for (const auto& [name, bytes] : row.outputs)
        EXPECT_EQ(ToHex(bytes), ToHex(ReadWhole(name).value_or("")));
      for (const auto& entry : std::filesystem::directory_iterator(root()))
        std::filesystem::remove_all(entry);
    }
}

}  // namespace
