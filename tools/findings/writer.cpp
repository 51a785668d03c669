// The forms for machines are JSON of the same record; a library writes it,
// whose strings have to be UTF-8, so all texts of other code pages are
// converted on their way out.
#include "tools/findings/writer.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

#include "tools/findings/columns.h"
#include "tools/findings/rules.h"

namespace {

using Json = nlohmann::ordered_json;

struct NamedFormat {
  std::string_view name;
  ToolFormat format;
};
constexpr NamedFormat FORMATS[] = {
    {"text", ToolFormat::TEXT},     {"gcc", ToolFormat::GCC},
    {"json", ToolFormat::JSON},     {"sarif", ToolFormat::SARIF},
    {"github", ToolFormat::GITHUB},
};

constexpr const char BOLD[] = "\033[1m";
constexpr const char GREEN[] = "\033[1;32m";
constexpr const char PLAIN[] = "\033[0m";

const char* Color(ToolSeverity severity) {
  switch (severity) {
    case ToolSeverity::ERROR: return "\033[1;31m";
    case ToolSeverity::WARNING: return "\033[1;35m";
    case ToolSeverity::NOTE:
    case ToolSeverity::OFF: break;
  }
  return "\033[1;36m";
}

const char* Name(ToolSeverity severity) {
  return TOOL_SEVERITY_NAMES[static_cast<size_t>(severity)];
}

std::string Dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json PlaceJson(const ToolRange& place) {
  return {{"file", ToolUtf8(place.file)},
          {"line", place.line},
          {"column", place.column},
          {"endLine", place.end_line},
          {"endColumn", place.end_column}};
}

Json FindingJson(const ToolFinding& finding) {
  Json json = PlaceJson(finding.place);
  json["severity"] = Name(finding.severity);
  json["rule"] = finding.rule;
  json["message"] = ToolUtf8(finding.message);
  json["hint"] = finding.hint.empty() ? Json() : Json(ToolUtf8(finding.hint));
  json["code"] = finding.code == 0 ? Json() : Json(finding.code);
  json["related"] = Json::array();
  for (const ToolRelated& related : finding.related) {
    Json place = PlaceJson(related.place);
    place["message"] = ToolUtf8(related.message);
    json["related"].push_back(std::move(place));
  }
  return json;
}

// SARIF ---------------------------------------------------------------------

// A path as a reference: what a URI does not allow is written as %XX.
std::string Uri(std::string_view path) {
  std::string uri;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) || std::strchr("/._-~+,=@", c) != nullptr) {
      uri.push_back(c);
    } else {
      static constexpr char DIGITS[] = "0123456789ABCDEF";
      uri += {'%', DIGITS[byte >> 4], DIGITS[byte & 15]};
    }
  }
  return path.starts_with('/') ? "file://" + uri : uri;
}

Json SarifLocation(const ToolRange& place) {
  Json physical = {{"artifactLocation", {{"uri", Uri(place.file)}}}};
  if (place.line > 0) {
    physical["region"] = {{"startLine", place.line},
                          {"startColumn", place.column},
                          {"endLine", place.end_line},
                          {"endColumn", place.end_column}};
  }
  return {{"physicalLocation", std::move(physical)}};
}

const char* SarifLevel(ToolSeverity severity) {
  return severity == ToolSeverity::OFF ? "none" : Name(severity);
}

Json SarifResult(const ToolFinding& finding) {
  std::string message = ToolUtf8(finding.message);
  if (!finding.hint.empty()) message += ": " + ToolUtf8(finding.hint);
  Json result = {{"ruleId", finding.rule}};
  if (const int index = ToolRuleIndex(finding.rule); index >= 0)
    result["ruleIndex"] = index;
  result["level"] = SarifLevel(finding.severity);
  result["message"] = {{"text", std::move(message)}};
  result["locations"] = Json::array({SarifLocation(finding.place)});
  for (const ToolRelated& related : finding.related) {
    Json location = SarifLocation(related.place);
    location["message"] = {{"text", ToolUtf8(related.message)}};
    result["relatedLocations"].push_back(std::move(location));
  }
  if (finding.code != 0) result["properties"] = {{"code", finding.code}};
  return result;
}

// What stands in front of the results.
std::string SarifHead() {
  Json rules = Json::array();
  for (const ToolRule& rule : ToolRules())
    rules.push_back({{"id", rule.name},
                     {"shortDescription", {{"text", rule.title}}},
                     {"fullDescription", {{"text", rule.meaning}}},
                     {"defaultConfiguration",
                      {{"enabled", rule.severity != ToolSeverity::OFF},
                       {"level", rule.severity == ToolSeverity::OFF
                                     ? "warning"
                                     : SarifLevel(rule.severity)}}}});
  const Json driver = {{"name", "quillo-tools"},
                       {"version", QUILLO_VERSION},
                       {"rules", std::move(rules)}};
  return "{\"$schema\":\"https://json.schemastore.org/sarif-2.1.0.json\","
         "\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":" +
         Dump(driver) +
         "},\"columnKind\":\"unicodeCodePoints\",\"results\":[\n";
}

// GitHub ----------------------------------------------------------------------

// Text of a workflow command; in a property "," and ":" would end it.
std::string GithubText(std::string_view text, bool property) {
  std::string out;
  for (const char c : ToolUtf8(text)) {
    switch (c) {
      case '%': out += "%25"; break;
      case '\r': out += "%0D"; break;
      case '\n': out += "%0A"; break;
      case ':': out += property ? "%3A" : ":"; break;
      case ',': out += property ? "%2C" : ","; break;
      default: out.push_back(c);
    }
  }
  return out;
}

}  // namespace

std::optional<ToolFormat> ToolFormatNamed(std::string_view name) {
  for (const NamedFormat& row : FORMATS)
    if (row.name == name) return row.format;
  return std::nullopt;
}

std::vector<std::string> ToolFormatNames() {
  std::vector<std::string> names;
  for (const NamedFormat& row : FORMATS) names.emplace_back(row.name);
  return names;
}

ToolFindingWriter::ToolFindingWriter(ToolFormat format, bool color,
                                     std::string* out)
    : format_(format), color_(color), out_(out) {
  if (format_ == ToolFormat::JSON) *out_ += "{\"version\":1,\"findings\":[\n";
  if (format_ == ToolFormat::SARIF) *out_ += SarifHead();
}

std::string_view ToolFindingWriter::paint(const char* code) const {
  return color_ ? code : "";
}

void ToolFindingWriter::write_gcc(const ToolRange& place, const char* severity,
                                  std::string_view message,
                                  std::string_view rule) {
  *out_ += paint(BOLD);
  *out_ += ToolUtf8(place.file) + ":";
  if (place.line > 0)
    *out_ +=
        std::to_string(place.line) + ":" + std::to_string(place.column) + ":";
  *out_ += paint(PLAIN);
  *out_ += " ";
  *out_ += severity;
  *out_ += ": ";
  *out_ += paint(PLAIN);
  *out_ += ToolUtf8(message);
  if (!rule.empty()) (*out_ += " [").append(rule) += "]";
  *out_ += "\n";
}

void ToolFindingWriter::write_marks(const ToolRange& place) {
  if (place.line == 0) return;
  uint32_t end = place.end_column;
  if (place.end_line > place.line)
    end = ToolColumn(place.text, place.text.size());
  const ToolMarkedLine marked = ToolMark(place.text, place.column, end);
  *out_ += "  " + marked.line + "\n  ";
  *out_ += paint(GREEN);
  *out_ += marked.marks;
  *out_ += paint(PLAIN);
  *out_ += "\n";
}

void ToolFindingWriter::write_text(const ToolFinding& finding) {
  const std::string severity =
      std::string(paint(Color(finding.severity))) + Name(finding.severity);
  write_gcc(finding.place, severity.c_str(), finding.message, finding.rule);
  write_marks(finding.place);
  if (!finding.hint.empty()) *out_ += "  " + ToolUtf8(finding.hint) + "\n";
  for (const ToolRelated& related : finding.related) {
    write_gcc(related.place, "note", related.message, "");
    write_marks(related.place);
  }
}

void ToolFindingWriter::write_github(const ToolFinding& finding) {
  *out_ += finding.severity == ToolSeverity::ERROR     ? "::error "
           : finding.severity == ToolSeverity::WARNING ? "::warning "
                                                       : "::notice ";
  const ToolRange& place = finding.place;
  *out_ += "file=" + GithubText(place.file, true);
  if (place.line > 0)
    *out_ += ",line=" + std::to_string(place.line) +
             ",endLine=" + std::to_string(place.end_line) +
             ",col=" + std::to_string(place.column) +
             ",endColumn=" + std::to_string(place.end_column);
  *out_ += ",title=" + GithubText(finding.rule, true) +
           "::" + GithubText(finding.message, false);
  if (!finding.hint.empty()) *out_ += "%0A" + GithubText(finding.hint, false);
  *out_ += "\n";
}

void ToolFindingWriter::write(const ToolFinding& finding) {
  const char* separator = count_++ == 0 ? "" : ",\n";
  switch (format_) {
    case ToolFormat::TEXT: return write_text(finding);
    case ToolFormat::GCC:
      return write_gcc(finding.place, Name(finding.severity), finding.message,
                       finding.rule);
    case ToolFormat::JSON:
      *out_ += separator + Dump(FindingJson(finding));
      return;
    case ToolFormat::SARIF:
      *out_ += separator + Dump(SarifResult(finding));
      return;
    case ToolFormat::GITHUB: return write_github(finding);
  }
}

void ToolFindingWriter::finish() {
  if (format_ == ToolFormat::JSON) *out_ += "\n]}\n";
  if (format_ == ToolFormat::SARIF) *out_ += "\n]}]}\n";
}

bool ToolUseColor(std::string_view choice, int descriptor) {
  if (choice != "auto") return choice == "always";
  const char* no_color = getenv("NO_COLOR");
  return (no_color == nullptr || *no_color == '\0') && isatty(descriptor) != 0;
}

void ToolCounts::add(ToolSeverity severity) {
  errors += severity == ToolSeverity::ERROR;
  warnings += severity == ToolSeverity::WARNING;
  notes += severity == ToolSeverity::NOTE;
}

std::string ToolCounts::text() const {
  std::string text;
  const auto part = [&](size_t count, const char* word) {
    if (count == 0) return;
    if (!text.empty()) text += ", ";
    text += std::to_string(count) + " " + word + (count == 1 ? "" : "s");
  };
  part(errors, "error");
  part(warnings, "warning");
  part(notes, "note");
  return text;
}
