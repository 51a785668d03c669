// A map from the columns of a line to the number of such lines: a baseline is
// asked once for each finding.
#include "tools/findings/baseline.h"

#include <filesystem>
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

std::filesystem::path Absolute(const std::string& path) {
  std::error_code error;
  return std::filesystem::absolute(path, error).lexically_normal();
}

}  // namespace

ToolBaseline::ToolBaseline(const std::string& path)
    : path_(path), directory_(Absolute(path).parent_path().string()) {}

std::string ToolBaseline::key(const ToolFinding& finding) const {
  const std::string file =
      Absolute(finding.place.file).lexically_proximate(directory_).string();
  return finding.rule + "\t" + Column(file) + "\t" + Column(finding.message) +
         "\t" + Column(finding.place.text);
}

bool ToolBaseline::read() {
  std::ifstream file(path_);
  if (!file.is_open()) return false;
  for (std::string line; std::getline(file, line);)
    if (!line.empty()) known_[line]++;
  return !file.bad();
}

bool ToolBaseline::write() const {
  std::string text;
  for (const auto& [key, count] : known_)
    for (size_t i = 0; i < count; i++) text += key + "\n";
  UtOutputFile file;
  return file.open(path_.c_str()) == RC_OK &&
         file.write(text.data(), text.size()) && file.commit();
}

void ToolBaseline::add(const ToolFinding& finding) {
  known_[key(finding)]++;
}

bool ToolBaseline::take(const ToolFinding& finding) {
  if (known_.empty()) return false;
  const auto found = known_.find(key(finding));
  if (found == known_.end() || found->second == 0) return false;
  found->second--;
  return true;
}
