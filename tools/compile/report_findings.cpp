// A report comes while the scanner stands behind the token it is about, or, for
// a name, at most one token further. What is left of the line tells where that
// is, and the line itself is read again, as for the compiler's own reports.
#include "tools/compile/report_findings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "Cutil/ut_chars.h"
#include "tools/findings/columns.h"
#include "tools/findings/rules.h"

namespace {

constexpr size_t NONE = std::string::npos;

// Bytes of the line that the scanner has read, counted from its start.
size_t ReadOfLine(const McSrcCursor& cursor, const std::string& line) {
  const auto left = static_cast<size_t>(cursor.limit - cursor.next);
  const void* feed = memchr(cursor.next, '\n', left);
  if (feed == nullptr) return line.size();
  const auto rest =
      static_cast<size_t>(static_cast<const char*>(feed) - cursor.next);
  return rest < line.size() ? line.size() - rest : 0;
}

// The name that a message has between "'".
std::string QuotedName(const std::string& message) {
  const size_t open = message.find('\'');
  const size_t close = message.rfind('\'');
  return open < close ? message.substr(open + 1, close - open - 1) : "";
}

// Where a word stands last in front of `end`.
size_t FindWord(const std::string& line, const std::string& word, size_t end) {
  for (size_t at = end; !word.empty() && at > 0;) {
    at = line.rfind(word, at - 1);
    if (at == NONE) return NONE;
    const size_t after = at + word.size();
    const bool begins = at == 0 || !UtIsNameByte(line[at - 1]);
    if (begins && (after == line.size() || !UtIsNameByte(line[after])))
      return at;
  }
  return NONE;
}

void SetColumns(ToolRange* range, size_t begin, size_t end) {
  range->end_line = range->line;
  range->column = ToolColumn(range->text, begin);
  range->end_column = ToolColumn(range->text, end);
}

// The last token in front of `end`, as far as names and numbers go.
void MarkTokenBefore(ToolRange* range, size_t end) {
  const std::string& line = range->text;
  while (end > 0 && UtIsSpace(line[end - 1])) end--;
  size_t begin = end;
  while (begin > 0 && UtIsNameByte(line[begin - 1])) begin--;
  if (begin == end && begin > 0) begin--;
  SetColumns(range, begin, end);
}

std::string Trimmed(std::string_view text) {
  while (!text.empty() && UtIsSpace(text.back())) text.remove_suffix(1);
  return std::string(text);
}

std::string LineText(const McScanner& scanner, uint32_t file, uint32_t line) {
  const UtString text = McSrcLineText(scanner.source, file, line);
  return {text.begin(), text.end()};
}

std::string MessageOf(const McReport& report) {
  if (report.kind != McReportKind::STRAY) return Trimmed(report.text);
  return "'" + std::string(report.text.substr(0, 1)) + "' begins no token";
}

}  // namespace

ToolRange ToolReportFindings::place(const McReport& report) const {
  ToolRange range;
  if (scanner_ == nullptr) return range;
  const McSrcPlace place = McSrcPosition(scanner_->source);
  range.file = place.name;
  range.line = place.line;
  if (range.line == 0) return range;
  range.text = LineText(*scanner_, place.file, place.line);
  if (place.level < 0) {  // behind the end of the source
    SetColumns(&range, range.text.size(), range.text.size());
    return range;
  }
  const size_t read = ReadOfLine(scanner_->source.cursor, range.text);
  const std::string name = QuotedName(MessageOf(report));
  const size_t at = FindWord(range.text, name, read);
  if (report.kind == McReportKind::ERROR && at != NONE)
    SetColumns(&range, at, at + name.size());
  else
    MarkTokenBefore(&range, read);
  return range;
}

void ToolReportFindings::add(const McReport& report) {
  // The line of a statement in error follows the error: it tells where the
  // statement began.
  if (report.kind == McReportKind::SOURCE_LINE) {
    if (findings_.empty() || left_out_ > 0) return;
    ToolFinding& error = findings_.back();
    const size_t digits = report.text.find_first_of("0123456789");
    if (digits == NONE || scanner_ == nullptr) return;
    const unsigned long line =
        strtoul(report.text.data() + digits, nullptr, 10);
    if (line == 0 || line >= error.place.line) return;
    ToolRange begin = error.place;
    begin.line = static_cast<uint32_t>(line);
    const size_t feed = report.text.find('\n');
    begin.text = Trimmed(report.text.substr(feed + 1));
    const size_t first = begin.text.find_first_not_of(" \t");
    SetColumns(&begin, first == NONE ? 0 : first, begin.text.size());
    error.related.push_back({std::move(begin), "the statement begins here"});
    return;
  }
  if (findings_.size() == MOST_FINDINGS) {
    left_out_++;
    return;
  }
  ToolFinding finding;
  finding.place = place(report);
  finding.severity = report.kind == McReportKind::ERROR ? ToolSeverity::ERROR
                                                        : ToolSeverity::WARNING;
  finding.message = MessageOf(report);
  if (report.kind == McReportKind::ERROR)
    finding.rule = finding.message.starts_with("undefined variable")
                       ? "undefined-name"
                       : ToolRuleOfCode(report.code);
  finding.code = report.code;
  findings_.push_back(std::move(finding));
}

void ToolReportFindings::report(const McReport& report) {
  try {
    add(report);
  } catch (const std::bad_alloc&) {
    lost_ = true;
    throw;
  }
}

std::vector<ToolFinding> ToolReportFindings::take() {
  if (left_out_ > 0) {
    ToolFinding rest;
    rest.place.file = findings_.back().place.file;
    rest.severity = ToolSeverity::NOTE;
    rest.message = std::to_string(left_out_) + " further reports";
    findings_.push_back(std::move(rest));
  }
  return std::move(findings_);
}
