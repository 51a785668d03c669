// Sorted edits know where they are in both texts, so that a place is traced by
// bisection.
#include "tools/check/text.h"

#include <algorithm>
#include <iterator>

#include "tools/findings/columns.h"

void CheckEdits::add(size_t begin, size_t end, std::string text) {
  edits_.push_back({begin, end, std::move(text), edits_.size(), 0});
}

void CheckEdits::sort() {
  std::ranges::stable_sort(edits_, {}, &CheckEdit::begin);
  // One that begins inside another has no text of its own to replace.
  std::vector<CheckEdit> kept;
  size_t end = 0;
  for (CheckEdit& edit : edits_) {
    if (edit.begin < end) continue;
    end = edit.end;
    kept.push_back(std::move(edit));
  }
  edits_ = std::move(kept);
  size_t made = 0, origin = 0;
  for (CheckEdit& edit : edits_) {
    edit.made = made + (edit.begin - origin);
    made = edit.made + edit.text.size();
    origin = edit.end;
  }
}

std::string CheckEdits::apply(std::string_view text, size_t without) const {
  std::string out;
  size_t at = 0;
  for (const CheckEdit& edit : edits_) {
    if (edit.number == without) continue;
    if (edit.begin > text.size()) break;
    out += text.substr(at, edit.begin - at);
    out += edit.text;
    at = std::min(edit.end, text.size());
  }
  out += text.substr(at);
  return out;
}

size_t CheckEdits::before(size_t offset) const {
  // The last edit whose text begins in front of the place.
  const auto behind =
      std::ranges::lower_bound(edits_, offset, {}, &CheckEdit::made);
  if (behind == edits_.begin()) return offset;
  const CheckEdit& edit = *std::prev(behind);
  const size_t into = offset - edit.made;
  if (into < edit.text.size()) return std::min(edit.begin + into, edit.end);
  return edit.end + (into - edit.text.size());
}

CheckLines::CheckLines(std::string_view text) : text_(text) {
  size_t start = 0;
  while (start < text.size()) {
    starts_.push_back(start);
    const size_t feed = text.find('\n', start);
    if (feed == std::string_view::npos) break;
    start = feed + 1;
  }
  if (starts_.empty()) starts_.push_back(0);
}

uint32_t CheckLines::line_of(size_t offset) const {
  return static_cast<uint32_t>(std::ranges::upper_bound(starts_, offset) -
                               starts_.begin());
}

size_t CheckLines::start(uint32_t line) const {
  return line <= starts_.size() ? starts_[line - 1] : text_.size();
}

std::string_view CheckLines::line(uint32_t number) const {
  std::string_view rest = text_.substr(start(number));
  rest = rest.substr(0, rest.find('\n'));
  if (rest.ends_with('\r')) rest.remove_suffix(1);
  return rest;
}

ToolRange CheckLines::range(const std::string& file, size_t begin,
                            size_t end) const {
  ToolRange range;
  range.file = file;
  range.line = line_of(begin);
  range.text = line(range.line);
  range.column = ToolColumn(range.text, begin - start(range.line));
  range.end_line = line_of(end);
  range.end_column =
      ToolColumn(line(range.end_line), end - start(range.end_line));
  return range;
}
