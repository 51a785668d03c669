// Whole programs: the files in cases/ hold one case behind the other:
//
//   === name
//   The source, which is the file that the arguments end with.
//   --- remark Any.
//   --- args -dump a.mac  arguments, -noxdr a.mac if not given; or:
//   --- sh                a script in which the program is quillo; the source
//                         is a.mac then
//   --- file b.inc        another file
//   --- stderr            what is printed there, or on --- stdout; or:
//   --- reports           5:0 syntax error 3, for a report at line 5 with code
//   0
//                         that shows line 3; 1:b.inc:5:1 undefined ...
//   --- words             what is printed on stdout, but for white space
//   --- bytes a.cm        a file that the run leaves, in hexadecimal
//   --- tree              the bodies of a.cm
//   --- leaves a.cm       all files that the run leaves
//   --- exit 1            code that is the exit status, and reports
//   --- fails 1           the same, and "Cannot compile" is the last report
//
// rows.h says what "{{" means in the texts.
//
// A run that fails leaves no file if not said otherwise; what one leaves that
// does not can be read, and written again it is the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <sstream>

#include "Cutil/codes.h"
#include "compile.h"
#include "file_tree.h"
#include "quillo_run.h"
#include "rows.h"
#include "tree_text.h"

namespace {

// A blank for all white space between words.
std::string Squeezed(const std::string& text) {
  std::istringstream words(text);
  std::string result;
  for (std::string word; words >> word;) result += word + " ";
  return result;
}

using Names = std::set<std::string>;

struct Case {
  std::string name;
  std::vector<std::string> arguments = {"-noxdr", "a.mac"};
  std::vector<std::pair<std::string, std::string>> files, outputs;
  std::string source, script, out, err;
  std::optional<std::string> tree, words_out;
  std::optional<Names> leaves;
  int code = 0;

  void take(const std::string& section, const std::string& text) {
    std::istringstream words(Expanded(section));
    std::string kind;
    words >> kind;
    const std::vector<std::string> all{
        std::istream_iterator<std::string>(words), {}};
    const std::string word = all.empty() ? "" : all[0];
    if (kind.empty()) source = Expanded(text);
    if (kind == "sh") script = Expanded(text);
    if (kind == "file") files.emplace_back(word, Expanded(text));
    if (kind == "stdout") out = Expanded(text);
    if (kind == "stderr") err = Expanded(text);
    if (kind == "reports" || kind == "exit" || kind == "fails")
      take_reports(Expanded(text));
    if (kind == "words") words_out = Squeezed(Expanded(text));
    if (kind == "tree") tree = Expanded(text);
    if (kind == "leaves") leaves.emplace(all.begin(), all.end());
    if (kind == "exit" || kind == "fails") code = std::stoi(word);
    if (kind == "fails")
      err += "quillo: Cannot compile " + arguments.back() +
             ". Error Code: " + word + "\n";
    if (kind == "bytes") outputs.emplace_back(word, FromHex(text));
    if (kind == "args") arguments = all;
  }

 private:
  void take_reports(const std::string& rows) {
    std::istringstream lines(rows);
    for (std::string line; std::getline(lines, line);) {
      std::string place = line.substr(0, line.find(' '));
      const std::string report = line.substr(place.size() + 1);
      if (std::ranges::count(place, ':') == 1)
        place = "0:" + arguments.back() + ":" + place;
      const size_t last = place.rfind(':');
      const size_t number = place.rfind(':', last - 1);
      const size_t first = place.find(':');
      const std::string file = place.substr(first + 1, number - first - 1);
      place.replace(last, 1, " Code:").replace(number, 1, " Line:");
      // Only the parser's own words are without a line feed.
      const bool own =
          report.starts_with("syntax") || report.starts_with("yacc");
      const size_t digit = own ? report.find_last_not_of("0123456789") + 1 : 0;
      const std::string shown = own ? report.substr(digit) : "";
      err += place + " ! " + report.substr(0, report.size() - shown.size());
      if (!shown.empty()) err.back() = '\n';
      err += shown.empty() ? (own ? "\n" : "\n\n")
                           : "syntax error in line " + shown + "\n" +
                                 line_of(file, stoi(shown)) + "\n";
    }
  }

  std::string line_of(const std::string& wanted, int number) const {
    std::string text = source;
    for (const auto& [file, contents] : files)
      if (file == wanted) text = contents;
    std::istringstream lines(text);
    std::string line;
    for (; number > 0; number--)
      if (!std::getline(lines, line)) return "";
    return line;
  }
};

std::vector<Case> CasesOf(const std::string& file) {
  std::istringstream lines(
      ReadWhole(SOURCE_DIRECTORY "/tests/cases/" + file + ".txt").value() +
      "=== ");
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

class Cases : public FileTree, public testing::WithParamInterface<const char*> {
 protected:
  Names files() const {
    Names names;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(root()))
      if (entry.symlink_status().type() !=
          std::filesystem::file_type::directory)
        names.insert(entry.path().lexically_relative(root()));
    return names;
  }

  // A compiled file as it is read and written again.
  static std::string again(const std::string& bytes) {
    McRun run;
    EditorList masks(&run.attribute_names);
    UtPtr<McProgram> program;
    if (McXdrReadFromBytes(bytes, &program) == RC_OK)
      return Written(program.get(), bytes[6]);
    const int code = MaskListReadFromBytes(bytes, &masks);
    return code == RC_OK ? Written(&masks, bytes[6])
                         : "code " + std::to_string(code);
  }

  void check(const Case& row) {
    const bool is_script = !row.script.empty();
    if (!row.source.empty())
      write(is_script ? "a.mac" : row.arguments.back(), row.source);
    for (const auto& [name, text] : row.files) write(name, text);
    const Names before = files();
    const RunResult run =
        is_script ? RunShell(row.script) : RunQuillo(row.arguments);
    EXPECT_EQ(row.err, run.err);
    if (row.words_out)
      EXPECT_EQ(*row.words_out, Squeezed(run.out));
    else
      EXPECT_EQ(row.out, run.out);
    EXPECT_EQ(row.code & 255, run.status);
    for (const auto& [name, bytes] : row.outputs)
      EXPECT_EQ(ToHex(bytes), ToHex(ReadWhole(name).value_or("")));
    if (row.tree) {
      UtPtr<McProgram> program;
      ASSERT_EQ(RC_OK, McXdrReadFromFile("a.cm", &program));
      EXPECT_EQ(*row.tree, AllTrees(*program));
    }
    Names left = files();
    for (const std::string& name : before) left.erase(name);
    if (row.leaves || (row.code != 0 && !is_script)) {
      EXPECT_EQ(row.leaves.value_or(Names()), left);
    }
    if (is_script || row.code != 0) return;
    for (const std::string& name : left)
      EXPECT_TRUE(ReadWhole(name) == again(ReadWhole(name).value_or("")))
          << name;
  }
};

TEST_P(Cases, AreAsTheySay) {
  for (const Case& row : CasesOf(GetParam())) {
    SCOPED_TRACE("case: " + row.name);
    check(row);
    for (const auto& entry : std::filesystem::directory_iterator(root()))
      std::filesystem::remove_all(entry);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Files, Cases,
    testing::Values("bytes", "command", "declarations", "expressions", "limits",
                    "masks", "modes", "output", "reading", "recovery"),
    [](const auto& file) { return std::string(file.param); });

}  // namespace
