// A gap is only remembered; what it becomes is known when the next token, and
// with it the next statement's line, is. The current file stands in fields of
// its own, since every token looks at it.
#include "tools/decompile/layout.h"

#include <algorithm>
#include <utility>

#include "elut/syntax/source_reader.h"

namespace {

constexpr size_t CONTINUATION = 4;  // further indent of a line that goes on
constexpr size_t DEEPEST = 40;      // indent; deeper ones look the same

}  // namespace

Layout::Layout(const LineSurvey& survey, const LinePlan& plan,
               std::string main_name, std::string stem, std::string command,
               size_t limit)
    : survey_(survey),
      plan_(plan),
      stem_(std::move(stem)),
      command_(std::move(command)),
      limit_(limit),
      longest_(MC_SRC_LINE_MAX),
      width_(WIDTH) {
  files_.resize(std::max<size_t>(plan.first_lines.size(), 1));
  files_[0].name = std::move(main_name);
  for (size_t i = 1; i < files_.size(); i++)
    files_[i].name = stem_ + '_' + std::to_string(i) + ".inc";
  current_ = &files_[0];
  next_line_ = plan.first_lines.empty() ? NO_LINE : plan.first_lines[0];
  begun_ = 1;
  if (may_feed()) put_command();
}

Layout::Layout(const LineSurvey& survey, const LinePlan& plan, TextMarks* marks)
    : survey_(survey),
      plan_(plan),
      limit_(SIZE_MAX),
      longest_(SIZE_MAX),
      width_(SIZE_MAX / 2),
      marks_(marks) {
  files_.resize(1);
  current_ = &files_[0];
  next_line_ = NO_LINE;
  begun_ = 1;
}

// Adds the comment with the command to the end of the line, and the line feed.
void Layout::put_command() {
  if (column_ > 0) file().text += ' ';
  file().text += "! " + std::exchange(command_, {});
  feed();
}

void Layout::feed() {
  const bool first = current_ == &files_[0] && !command_.empty();
  if (first && column_ + 3 + command_.size() <= MC_SRC_LINE_MAX)
    return put_command();
  file().text += '\n';
  line_++;
  column_ = 0;
  too_large_ |= file().text.size() > limit_;
}

void Layout::begin_line(size_t indent) {
  const size_t depth = std::min(indent, DEEPEST);
  file().text.append(depth, ' ');
  column_ += depth;
}

void Layout::fill_gap(size_t width) {
  const Gap gap = std::exchange(pending_, Gap::NONE);
  indented_ = false;
  if (column_ == 0) {
    if (gap == Gap::PARAGRAPH && next_line_ == NO_LINE && line_ > 1) feed();
    if (gap != Gap::BLANK) begin_line(indent_);
    return;
  }
  const bool wraps = column_ + 1 + width > width_;
  const bool ends = gap != Gap::BLANK || wraps;
  if (!ends || !may_feed()) {
    file().text += ' ';
    column_++;
    return;
  }
  feed();
  if (gap == Gap::PARAGRAPH && next_line_ == NO_LINE && survey_.lines.empty())
    feed();
  begin_line(gap == Gap::BLANK ? indent_ + CONTINUATION : indent_);
}

// What does not fit the line any more goes to the next one, whatever the lines
// of the statements behind it.
void Layout::put_far(std::string_view text) {
  if (column_ > 0) feed();
  file().text += text;
  column_ += text.size();
  too_large_ |= file().text.size() > limit_;
}

void Layout::put_literal(std::string_view text) {
  const size_t end = text.rfind('\n');
  if (end == std::string_view::npos) return put(text);
  put(text.substr(0, end));
  file().text += text.substr(end);
  line_++;
  column_ = text.size() - end - 1;
}

void Layout::statement() {
  const uint32_t number = statement_++;
  const uint32_t line = survey_.lines[number];
  for (unsigned i = plan_.ends[number]; i > 0; i--) end_file();
  pending_ = Gap::NONE;
  if (line_ > line) {
    late_ = std::min(late_, number);
  } else if (line_ == line) {
    if (column_ > 0) {
      file().text += ' ';
      column_++;
    }
  } else {
    const uint32_t lines = line - line_;
    if (file().text.size() + lines > limit_) {
      too_large_ = true;
    } else {
      feed();
      file().text.append(lines - 1, '\n');
      line_ += lines - 1;
      begin_line(indent_);
    }
  }
  next_line_ = plan_.next_line[number];
  too_large_ |= file().text.size() > limit_;
}

void Layout::place() {
  const uint32_t number = place_++;
  if (number >= plan_.places.size()) return;
  for (unsigned i = plan_.places[number].ends; i > 0; i--) end_file();
  for (unsigned i = plan_.places[number].begins; i > 0; i--) begin_file();
}

void Layout::begin_file() {
  line();
  put("INCLUDE \"" + files_[begun_].name + "\";");
  outer_.push_back({current_, line_, column_, next_line_});
  current_ = &files_[begun_];
  line_ = 1;
  column_ = 0;
  next_line_ = plan_.first_lines[begun_++];
}

// Only what stands in front of a line feed is read.
void Layout::end_last_line() {
  if (column_ > 0) feed();
  if (current_ == &files_[0] && !command_.empty()) put_command();
}

void Layout::end_file() {
  end_last_line();
  const File& outer = outer_.back();
  current_ = outer.source;
  line_ = outer.line;
  column_ = outer.column;
  next_line_ = outer.next_line;
  outer_.pop_back();
  line();
}

void Layout::include_none() {
  files_.push_back({stem_ + '_' + std::to_string(files_.size()) + ".inc", {}});
  paragraph();
  put("INCLUDE \"" + files_.back().name + "\";");
}

std::deque<SourceFile> Layout::finish() {
  while (!outer_.empty()) end_file();
  end_last_line();
  return std::move(files_);
}
