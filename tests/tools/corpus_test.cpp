// The corpus of faulty sources: each a good one with one change, and the one
// finding that this has to give.
//
//   base demo.mac            a good source, up to a line "."
//   RULE LINE:COLUMN-COLUMN: OLD => NEW
//                            its rows; OLD stands once in the source
//
// In OLD and NEW \n, \t, \0, \\ and \xHH are characters, and {{N x TEXT}} is
// TEXT N times; a row ends with "\$" when the last line feed of the source
// goes.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tools/check/check.h"
#include "tools/findings/rules.h"

namespace {

std::string Unescaped(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); i++) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      out.push_back(text[i]);
      continue;
    }
    switch (text[++i]) {
      case 'n': out.push_back('\n'); break;
      case 'r': out.push_back('\r'); break;
      case 't': out.push_back('\t'); break;
      case '\\': out.push_back('\\'); break;
      default: out += {'\\', text[i]};
    }
  }
  return ToolExampleText(out);
}

std::string Shown(const std::vector<ToolFinding>& findings) {
  std::string out;
  for (const ToolFinding& finding : findings) {
    const ToolRange& place = finding.place;
    out += "  " + finding.rule + " " + std::to_string(place.line) + ":" +
           std::to_string(place.column) + "-";
    if (place.end_line != place.line)
      out += std::to_string(place.end_line) + ":";
    out += std::to_string(place.end_column) + ": " + finding.message + "\n";
  }
  return out;
}

std::vector<ToolFinding> Findings(const std::string& name, std::string text) {
  return CheckOne(name, {{name, std::move(text)}}, {}).findings;
}

TEST(CheckCorpus, EveryFaultIsFoundAtItsPlaceAndNothingElse) {
  size_t rows = 0;
  for (const auto& entry : std::filesystem::directory_iterator(
           SOURCE_DIRECTORY "/tests/tools/check")) {
    std::ifstream file(entry.path());
    std::string name, base, line;
    for (int number = 1; std::getline(file, line); number++) {
      const std::string where =
          entry.path().filename().string() + ":" + std::to_string(number);
      if (line.starts_with("base ")) {
        name = line.substr(5);
        base.clear();
        for (; std::getline(file, line) && line != "."; number++)
          base += line + "\n";
        number++;
        EXPECT_EQ(Shown(Findings(name, base)), "") << where << " the base";
        continue;
      }
      const size_t arrow = line.find(" => ");
      if (line.starts_with('#') || arrow == std::string::npos) continue;
      const size_t colon = line.find(": ");
      const std::string old =
          Unescaped(line.substr(colon + 2, arrow - colon - 2));
      std::string made = line.substr(arrow + 4), text = base;
      const bool cut = made.ends_with("\\$");
      if (cut) made.resize(made.size() - 2);
      const size_t at = base.find(old);
      ASSERT_NE(at, std::string::npos) << where << " " << old;
      EXPECT_EQ(base.find(old, at + 1), std::string::npos)
          << where << " " << old;
      text.replace(at, old.size(), Unescaped(made));
      if (cut) text.pop_back();
      const std::string shown = Shown(Findings(name, text));
      EXPECT_TRUE(shown.starts_with("  " + line.substr(0, colon + 2)) &&
                  std::ranges::count(shown, '\n') == 1)
          << where << " " << line << "\n"
          << shown;
      rows++;
    }
  }
  RecordProperty("rows", static_cast<int>(rows));
  EXPECT_GE(rows, 300U);
}

}  // namespace
