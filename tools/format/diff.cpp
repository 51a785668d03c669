// Two texts that a layout has between them have most lines in common, and in
// the same order. So lines are matched by looking for the next pair of equal
// lines near the place where the texts part; only pairs within a window count,
// which keeps the time proportional to the texts. The result need not be the
// shortest one.
#include "tools/format/diff.h"

#include <algorithm>
#include <vector>

namespace {

constexpr size_t WINDOW = 64;
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

// Lines [a, a_end) of the first text become [b, b_end) of the second one.
struct Change {
  size_t a, a_end, b, b_end;
};

class Differ {
 public:
  Differ(std::string_view before, std::string_view after)
      : a_(LinesOf(before)), b_(LinesOf(after)) {
    a_end_ = a_.size();
    b_end_ = b_.size();
    while (a_end_ > 0 && b_end_ > 0 && a_[a_end_ - 1] == b_[b_end_ - 1])
      a_end_--, b_end_--;
  }

  std::string run(std::string_view name) {
    find_changes();
    if (changes_.empty()) return {};
    std::string text = "--- " + std::string(name) + "\n+++ " +
                       std::string(name) + " (formatted)\n";
    for (size_t i = 0; i < changes_.size();) {
      size_t end = i + 1;
      while (end < changes_.size() &&
             changes_[end].a - changes_[end - 1].a_end <= 2 * CONTEXT)
        end++;
      print(i, end, &text);
      i = end;
    }
    return text;
  }

 private:
  void find_changes() {
    size_t a = 0;
    size_t b = 0;
    while (a < a_end_ || b < b_end_) {
      if (a < a_end_ && b < b_end_ && a_[a] == b_[b]) {
        a++, b++;
        continue;
      }
      Change change = {a, a_end_, b, b_end_};
      // The nearest pair of equal lines, empty ones excluded.
      for (size_t sum = 1; sum <= 2 * WINDOW && change.a_end == a_end_; sum++)
        for (size_t i = sum > WINDOW ? sum - WINDOW : 0;
             i <= std::min(sum, WINDOW); i++) {
          const size_t j = sum - i;
          if (a + i >= a_end_ || b + j >= b_end_) continue;
          if (a_[a + i] != b_[b + j] || a_[a + i].size() < 4) continue;
          change.a_end = a + i;
          change.b_end = b + j;
          break;
        }
      if (change.a_end == a_end_) {
        // Nothing near: these lines have changed, whatever follows.
        change.a_end = std::min(a + WINDOW, a_end_);
        change.b_end = std::min(b + WINDOW, b_end_);
        if (change.a_end == a_end_ || change.b_end == b_end_) {
          change.a_end = a_end_;
          change.b_end = b_end_;
        }
      }
      a = change.a_end;
      b = change.b_end;
      if (!changes_.empty() && changes_.back().a_end == change.a &&
          changes_.back().b_end == change.b) {
        changes_.back().a_end = a;
        changes_.back().b_end = b;
      } else {
        changes_.push_back(change);
      }
    }
  }

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
    const Change& begin = changes_[first];
    const Change& last = changes_[end - 1];
    const size_t lead = std::min(begin.a, CONTEXT);
    const size_t trail = std::min(a_.size() - last.a_end, CONTEXT);
    *text += "@@ -" + range(begin.a - lead, last.a_end + trail) + " +" +
             range(begin.b - lead, last.b_end + trail) + " @@\n";
    size_t a = begin.a - lead;
    for (size_t i = first; i < end; i++) {
      for (; a < changes_[i].a; a++) line(' ', a_[a], text);
      for (; a < changes_[i].a_end; a++) line('-', a_[a], text);
      for (size_t b = changes_[i].b; b < changes_[i].b_end; b++)
        line('+', b_[b], text);
    }
    for (; a < last.a_end + trail; a++) line(' ', a_[a], text);
  }

  std::vector<std::string_view> a_, b_;
  size_t a_end_, b_end_;  // behind them the texts are equal
  std::vector<Change> changes_;
};

}  // namespace

std::string UnifiedDiff(std::string_view name, std::string_view before,
                        std::string_view after) {
  return Differ(before, after).run(name);
}
