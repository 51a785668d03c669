// A map from the columns of a line to the number of such lines: a baseline is
// asked once for each finding.
#include "tools/findings/baseline.h"

#include <fstream>

#include "Cutil/ut_file.h"

namespace {

// Tabs and line ends separate, so they cannot be part of a column.
std::string Column(std::string_view text) {
  const size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  std::string column(text.substr(begin));
  for (char& c : column)
    if (c == '\t' || c == '\n' || c == '\r') c = ' ';
  return column;
}

std::string Key(const ToolFinding& finding) {
  return finding.rule + "\t" + Column(finding.place.file) + "\t" +
         Column(finding.message) + "\t" + Column(finding.place.text);
}

}  // namespace

bool ToolBaseline::read(const std::string& path) {
  std::ifstream file(path);
  if (!file.is_open()) return false;
  for (std::string line; std::getline(file, line);)
    if (!line.empty()) known_[line]++;
  return !file.bad();
}

bool ToolBaseline::write(const std::string& path) const {
  std::string text;
  for (const auto& [key, count] : known_)
    for (size_t i = 0; i < count; i++) text += key + "\n";
  UtOutputFile file;
  return file.open(path.c_str()) == RC_OK &&
         file.write(text.data(), text.size()) && file.commit();
}

void ToolBaseline::add(const ToolFinding& finding) {
  known_[Key(finding)]++;
}

bool ToolBaseline::take(const ToolFinding& finding) {
  const auto found = known_.find(Key(finding));
  if (found == known_.end() || found->second == 0) return false;
  found->second--;
  return true;
}
