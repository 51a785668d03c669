// Whole programs: what a source compiles to, and what users see.
//
// The files in cases/ hold one case behind the other:
//
//   === name
//   The source, which is the file that the arguments end with.
//   --- remark Any.
//   --- args -dump a.mac  arguments, -noxdr a.mac if not given
//   --- file b.inc        another file
//   --- stderr            what is printed there, nothing if not given
//   --- stdout
//   --- bytes a.cm        a file that the run leaves, in hexadecimal
//   --- absent a.cm       a file that there is not afterwards
//   --- exit 1            code that is the exit status, 0 if not given
//   --- fails 1           the same, and "Cannot compile" is the last report
//
// In the texts, {{80*ab}} stands for 80 times ab, {{0D}} for that byte, and
// {{cut}} at the end of a text takes the line feed away. In bytes, everything
// behind a "#" is a remark, and {{name}} is a piece named by "--- piece name".
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

#include "file_tree.h"
#include "quillo_run.h"
#include "xd_support.h"

namespace {

using Texts = std::vector<std::pair<std::string, std::string>>;

struct Case {
  std::string name;
  std::vector<std::string> arguments = {"-noxdr", "a.mac"};
  Texts files;
  Texts bytes;
  std::vector<std::string> absent;
  std::string source, out, err, last_report;
  int code = 0;
};

std::map<std::string, std::string> pieces;

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
    if (const auto piece = pieces.find(word); piece != pieces.end()) {
      result += piece->second;
    } else if (star != std::string::npos) {
      for (int i = std::stoi(word); i > 0; i--) result += word.substr(star + 1);
    } else {
      result += FromHex(word);
    }
  }
}

std::string WithoutRemarks(const std::string& text) {
  std::istringstream lines(text);
  std::string result;
  for (std::string line; std::getline(lines, line);)
    result += line.substr(0, line.find('#')) + " ";
  return result;
}

void Take(Case* row, const std::string& section, const std::string& text) {
  std::istringstream words(section);
  std::string kind, name;
  words >> kind >> name;
  if (kind == "file") {
    row->files.emplace_back(name, Expanded(text));
  } else if (kind == "args") {
    row->arguments = {name};
    while (words >> name) row->arguments.push_back(name);
  } else if (kind == "stdout") {
    row->out = Expanded(text);
  } else if (kind == "stderr") {
    row->err = Expanded(text);
  } else if (kind == "bytes") {
    row->bytes.emplace_back(name, FromHex(Expanded(WithoutRemarks(text))));
  } else if (kind == "piece") {
    pieces[name] = WithoutRemarks(text);
  } else if (kind == "absent") {
    row->absent.push_back(name);
  } else if (kind.empty()) {
    row->source = Expanded(text);
  } else if (kind == "exit" || kind == "fails") {
    row->code = std::stoi(name);
    if (kind == "fails")
      row->last_report = "quillo: Cannot compile " + row->arguments.back() +
                         ". Error Code: " + name + "\n";
  } else if (kind != "remark") {
    ADD_FAILURE() << "unknown section " << section << " of " << row->name;
  }
}

std::vector<Case> CasesOf(const std::string& file) {
  std::istringstream lines(ReadWhole(file).value());
  std::vector<Case> cases;
  std::string section, text;
  for (std::string line; std::getline(lines, line);) {
    const bool begins_case = line.starts_with("=== ");
    if (!begins_case && !line.starts_with("--- ")) {
      text += line + "\n";
      continue;
    }
    if (!cases.empty()) Take(&cases.back(), section, text);
    section = begins_case ? "" : line.substr(4);
    text.clear();
    if (begins_case) {
      cases.emplace_back();
      cases.back().name = line.substr(4);
    }
  }
  if (!cases.empty()) Take(&cases.back(), section, text);
  return cases;
}

std::vector<std::string> CaseFiles() {
  std::vector<std::string> names;
  for (const auto& entry :
       std::filesystem::directory_iterator(SOURCE_DIRECTORY "/tests/cases"))
    names.push_back(entry.path().stem());
  std::sort(names.begin(), names.end());
  return names;
}

class Cases : public FileTree,
              public testing::WithParamInterface<std::string> {};

TEST_P(Cases, AreAsTheySay) {
  for (const Case& row :
       CasesOf(SOURCE_DIRECTORY "/tests/cases/" + GetParam() + ".txt")) {
    SCOPED_TRACE("case: " + row.name);
    write(row.arguments.back(), row.source);
    for (const auto& [name, text] : row.files) write(name, text);
    const RunResult run = RunQuillo(row.arguments);
    EXPECT_EQ(row.err + row.last_report, run.err);
    EXPECT_EQ(row.out, run.out);
    EXPECT_EQ(row.code & 255, run.status);
    for (const auto& [name, bytes] : row.bytes)
      EXPECT_EQ(ToHex(bytes), ToHex(ReadWhole(name).value_or(""))) << name;
    for (const std::string& name : row.absent)
      EXPECT_FALSE(std::filesystem::exists(name)) << name;
    for (const auto& entry : std::filesystem::directory_iterator(root()))
      std::filesystem::remove_all(entry);
  }
}

INSTANTIATE_TEST_SUITE_P(Files, Cases, testing::ValuesIn(CaseFiles()),
                         [](const auto& file) { return file.param; });

}  // namespace
