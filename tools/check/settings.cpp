// A directory without a file of its own takes the settings of the one above;
// what was found is kept by directory, as thousands of sources share few.
#include "tools/check/settings.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tools/findings/rules.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view BLANKS = " \t\r";

std::string_view Trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(BLANKS);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(BLANKS) + 1 - begin);
}

// One "name = value".
std::string ReadSetting(std::string_view name, std::string_view value,
                        CheckSettings* settings) {
  if (name == "max-errors") {
    size_t most = 0;
    const auto [end, error] =
        std::from_chars(value.data(), value.data() + value.size(), most);
    if (error != std::errc() || end != value.data() + value.size())
      return "max-errors is a number";
    settings->most_errors = most;
    return {};
  }
  if (ToolFindRule(name) == nullptr)
    return "there is no rule '" + std::string(name) + "'";
  for (size_t i = 0; i < std::size(TOOL_SEVERITY_NAMES); i++) {
    if (value != TOOL_SEVERITY_NAMES[i]) continue;
    settings->severities[std::string(name)] = static_cast<ToolSeverity>(i);
    return {};
  }
  return "a severity is off, note, warning or error";
}

}  // namespace

std::string CheckReadSettings(std::string_view text, CheckSettings* settings) {
  for (int line = 1; !text.empty(); line++) {
    const size_t feed = std::min(text.find('\n'), text.size());
    std::string_view row = text.substr(0, feed);
    text.remove_prefix(std::min(feed + 1, text.size()));
    row = Trimmed(row.substr(0, row.find('#')));
    if (row.empty()) continue;
    const size_t equals = row.find('=');
    std::string wrong =
        equals == std::string_view::npos
            ? "a line is RULE = SEVERITY"
            : ReadSetting(Trimmed(row.substr(0, equals)),
                          Trimmed(row.substr(equals + 1)), settings);
    if (!wrong.empty()) return std::to_string(line) + ": " + wrong;
  }
  return {};
}

const CheckSettings& CheckSettingsOf::operator()(const std::string& source) {
  std::error_code error;
  const fs::path directory =
      fs::absolute(source, error).lexically_normal().parent_path();
  auto& kept = by_directory_[directory.string()];
  if (kept != nullptr) return *kept;
  kept = std::make_unique<CheckSettings>();
  for (fs::path at = directory;; at = at.parent_path()) {
    const fs::path path = at / ".quillo-check";
    if (fs::is_regular_file(path, error)) {
      std::ifstream file(path);
      const std::string text((std::istreambuf_iterator<char>(file)), {});
      const std::string wrong = CheckReadSettings(text, kept.get());
      if (!wrong.empty()) {
        by_directory_.erase(directory.string());
        throw CheckBadSettings{path.string() + ":" + wrong};
      }
      break;
    }
    if (at == at.parent_path()) break;
  }
  kept->catalogs = options_.catalogs;
  for (const auto& [rule, severity] : options_.severities)
    kept->severities[rule] = severity;
  if (options_.most_errors != CheckSettings().most_errors)
    kept->most_errors = options_.most_errors;
  return *kept;
}

bool CheckSwitchedOff(std::string_view line, std::string_view rule) {
  bool text = false;
  for (size_t i = 0; i < line.size(); i++) {
    if (line[i] == '"') text = !text;
    if (text || (line[i] != '!' && line[i] != '#')) continue;
    std::string_view comment = Trimmed(line.substr(i + 1));
    static constexpr std::string_view OFF = "check off";
    if (!comment.starts_with(OFF)) return false;
    comment = Trimmed(comment.substr(OFF.size()));
    if (comment.empty()) return true;
    if (comment[0] != ':') return false;
    comment.remove_prefix(1);
    while (!comment.empty()) {
      const size_t comma = std::min(comment.find(','), comment.size());
      if (Trimmed(comment.substr(0, comma)) == rule) return true;
      comment.remove_prefix(std::min(comma + 1, comment.size()));
    }
    return false;
  }
  return false;
}
