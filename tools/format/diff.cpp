// The hunks of two texts with the lines round them; hunks whose contexts touch
// become one.
#include "tools/format/diff.h"

#include <algorithm>

#include "tools/compare/line_diff.h"

namespace {

constexpr size_t CONTEXT = 3;

std::vector<std::string_view> LinesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t feed = text.find('\n');
    const size_t length = feed == text.npos ? text.size() : feed + 1;
    lines.push_back(text.substr(0, length));
    text.remove_prefix(length);
  }
  return lines;
}

class Differ {
 public:
  Differ(std::string_view before, std::string_view after)
      : a_(LinesOf(before)), b_(LinesOf(after)), changes_(DiffLines(a_, b_)) {}

  std::string run(std::string_view name) {
    if (changes_.empty()) return {};
    std::string text = "--- " + std::string(name) + "\n+++ " +
                       std::string(name) + " (formatted)\n";
    for (size_t i = 0; i < changes_.size();) {
      size_t end = i + 1;
      while (end < changes_.size() &&
             changes_[end].a_first - changes_[end - 1].a_end <= 2 * CONTEXT)
        end++;
      print(i, end, &text);
      i = end;
    }
    return text;
  }

 private:
  static void line(char mark, std::string_view content, std::string* text) {
    *text += mark;
    *text += content;
    if (content.empty() || content.back() != '\n')
      *text += "\n\\ No newline at end of file\n";
  }

  static std::string range(size_t first, size_t end) {
    // An empty range names the line in front of it.
    const size_t number = end == first ? first : first + 1;
    return std::to_string(number) + "," + std::to_string(end - first);
  }

  void print(size_t first, size_t end, std::string* text) const {
    const LineHunk& begin = changes_[first];
    const LineHunk& last = changes_[end - 1];
    const size_t lead = std::min(begin.a_first, CONTEXT);
    const size_t trail = std::min(a_.size() - last.a_end, CONTEXT);
    *text += "@@ -" + range(begin.a_first - lead, last.a_end + trail) + " +" +
             range(begin.b_first - lead, last.b_end + trail) + " @@\n";
    size_t a = begin.a_first - lead;
    for (size_t i = first; i < end; i++) {
      for (; a < changes_[i].a_first; a++) line(' ', a_[a], text);
      for (; a < changes_[i].a_end; a++) line('-', a_[a], text);
      for (size_t b = changes_[i].b_first; b < changes_[i].b_end; b++)
        line('+', b_[b], text);
    }
    for (; a < last.a_end + trail; a++) line(' ', a_[a], text);
  }

  std::vector<std::string_view> a_, b_;
  std::vector<LineHunk> changes_;
};

}  // namespace

std::string UnifiedDiff(std::string_view name, std::string_view before,
                        std::string_view after) {
  return Differ(before, after).run(name);
}
