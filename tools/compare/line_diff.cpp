// What agrees at both ends is taken off. The rest is searched for the shortest
// edit (Myers) as long as that is short; a longer one is first cut at lines
// that stand once in each text, of which the longest ascending row is kept.
#include "tools/compare/line_diff.h"

#include <algorithm>
#include <unordered_map>

namespace {

constexpr int LONGEST_EDIT = 300;  // lines, of one search

using Lines = std::vector<uint32_t>;  // numbers of lines; equal ones are equal

struct Range {
  size_t a_first, a_end, b_first, b_end;
  bool is_empty() const { return a_first == a_end && b_first == b_end; }
};

class Differ {
 public:
  Differ(const Lines& a, const Lines& b) : a_(a), b_(b) {}

  std::vector<LineHunk> run() {
    divide({0, a_.size(), 0, b_.size()}, true);
    return std::move(hunks_);
  }

 private:
  void add(const Range& range) {
    if (range.is_empty()) return;
    LineHunk* last = hunks_.empty() ? nullptr : &hunks_.back();
    if (last != nullptr && last->a_end == range.a_first &&
        last->b_end == range.b_first) {
      last->a_end = range.a_end;
      last->b_end = range.b_end;
    } else {
      hunks_.push_back(
          {range.a_first, range.a_end, range.b_first, range.b_end});
    }
  }

  void divide(Range range, bool may_cut) {
    while (range.a_first < range.a_end && range.b_first < range.b_end &&
           a_[range.a_first] == b_[range.b_first])
      range.a_first++, range.b_first++;
    while (range.a_first < range.a_end && range.b_first < range.b_end &&
           a_[range.a_end - 1] == b_[range.b_end - 1])
      range.a_end--, range.b_end--;
    const bool one_sided =
        range.a_first == range.a_end || range.b_first == range.b_end;
    if (one_sided) return add(range);
    if (search(range)) return;
    if (!may_cut) return add(range);
    size_t a = range.a_first, b = range.b_first;
    for (const auto& [a_line, b_line] : cuts(range)) {
      divide({a, a_line, b, b_line}, false);
      a = a_line + 1;
      b = b_line + 1;
    }
    divide({a, range.a_end, b, range.b_end}, false);
  }

  // Myers' search; false when the edit would be too long.
  bool search(const Range& range) {
    const auto n = static_cast<int64_t>(range.a_end - range.a_first);
    const auto m = static_cast<int64_t>(range.b_end - range.b_first);
    const auto same = [&](int64_t x, int64_t y) {
      return a_[range.a_first + static_cast<size_t>(x)] ==
             b_[range.b_first + static_cast<size_t>(y)];
    };
    const auto most = std::min<int64_t>(LONGEST_EDIT, n + m);
    std::vector<std::vector<int64_t>> rounds;
    std::vector<int64_t> reach(static_cast<size_t>(2 * most + 3), 0);
    const auto at = [&](std::vector<int64_t>& v, int64_t k) -> int64_t& {
      return v[static_cast<size_t>(k + most + 1)];
    };
    for (int64_t d = 0; d <= most; d++) {
      rounds.push_back(reach);
      for (int64_t k = -d; k <= d; k += 2) {
        const bool down =
            k == -d || (k != d && at(reach, k - 1) < at(reach, k + 1));
        int64_t x = down ? at(reach, k + 1) : at(reach, k - 1) + 1;
        while (x < n && x - k < m && x - k >= 0 && same(x, x - k)) x++;
        at(reach, k) = x;
        if (k != n - m || x < n) continue;
        trace(range, &rounds, n, m, most);
        return true;
      }
    }
    return false;
  }

  // Goes back through the rounds and adds what was deleted and inserted.
  void trace(const Range& range, std::vector<std::vector<int64_t>>* rounds,
             int64_t x, int64_t y, int64_t most) {
    std::vector<Range> steps;
    for (auto d = static_cast<int64_t>(rounds->size()) - 1; d > 0; d--) {
      const auto& reach = (*rounds)[static_cast<size_t>(d)];
      const auto at = [&](int64_t k) {
        return reach[static_cast<size_t>(k + most + 1)];
      };
      const int64_t k = x - y;
      const bool down = k == -d || (k != d && at(k - 1) < at(k + 1));
      const int64_t from_k = down ? k + 1 : k - 1;
      const int64_t from_x = at(from_k), from_y = from_x - from_k;
      const auto a = range.a_first + static_cast<size_t>(from_x);
      const auto b = range.b_first + static_cast<size_t>(from_y);
      steps.push_back({a, a + !down, b, b + down});
      x = from_x;
      y = from_y;
    }
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) add(*step);
  }

  // Pairs of lines that stand once in both texts, ascending in both.
  std::vector<std::pair<size_t, size_t>> cuts(const Range& range) {
    struct Place {
      uint32_t a_count = 0, b_count = 0;
      size_t b_line = 0;
    };
    std::unordered_map<uint32_t, Place> places;
    for (size_t i = range.a_first; i < range.a_end; i++)
      places[a_[i]].a_count++;
    for (size_t i = range.b_first; i < range.b_end; i++) {
      Place& place = places[b_[i]];
      place.b_count++;
      place.b_line = i;
    }
    // The longest ascending row by patience: the last pair of a row of each
    // length, and for each pair the one in front of it.
    struct Pair {
      size_t a, b;
      size_t before;
    };
    constexpr size_t NONE = SIZE_MAX;
    std::vector<Pair> pairs;
    std::vector<size_t> ends;
    for (size_t i = range.a_first; i < range.a_end; i++) {
      const Place& place = places[a_[i]];
      if (place.a_count != 1 || place.b_count != 1) continue;
      const auto where = std::lower_bound(
          ends.begin(), ends.end(), place.b_line,
          [&](size_t pair, size_t b) { return pairs[pair].b < b; });
      pairs.push_back(
          {i, place.b_line, where == ends.begin() ? NONE : where[-1]});
      if (where == ends.end())
        ends.push_back(pairs.size() - 1);
      else
        *where = pairs.size() - 1;
    }
    std::vector<std::pair<size_t, size_t>> row;
    for (size_t i = ends.empty() ? NONE : ends.back(); i != NONE;
         i = pairs[i].before)
      row.emplace_back(pairs[i].a, pairs[i].b);
    std::reverse(row.begin(), row.end());
    return row;
  }

  const Lines& a_;
  const Lines& b_;
  std::vector<LineHunk> hunks_;
};

}  // namespace

std::vector<LineHunk> DiffLines(const std::vector<uint32_t>& a,
                                const std::vector<uint32_t>& b) {
  return Differ(a, b).run();
}

std::vector<LineHunk> DiffLines(const std::vector<std::string_view>& a,
                                const std::vector<std::string_view>& b) {
  // Most lines agree at the ends, and need no number.
  size_t front = 0;
  while (front < a.size() && front < b.size() && a[front] == b[front]) front++;
  size_t back = 0;
  while (back < a.size() - front && back < b.size() - front &&
         a[a.size() - 1 - back] == b[b.size() - 1 - back])
    back++;
  std::unordered_map<std::string_view, uint32_t> numbers;
  const auto numbered = [&](const std::vector<std::string_view>& lines) {
    Lines result;
    for (size_t i = front; i < lines.size() - back; i++)
      result.push_back(numbers.emplace(lines[i], numbers.size()).first->second);
    return result;
  };
  const Lines a_lines = numbered(a), b_lines = numbered(b);
  std::vector<LineHunk> hunks = Differ(a_lines, b_lines).run();
  for (LineHunk& hunk : hunks) {
    hunk.a_first += front, hunk.a_end += front;
    hunk.b_first += front, hunk.b_end += front;
  }
  return hunks;
}
