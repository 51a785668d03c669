// Distances between words. The table of the classical method is kept as three
// rows, since an exchange of neighbours looks two rows back.
#include "tools/suggest.h"

#include <algorithm>

namespace {

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

size_t ToolDistance(std::string_view a, std::string_view b) {
  std::vector<size_t> before(b.size() + 1), above(b.size() + 1),
      row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) above[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const bool same = Lower(a[i - 1]) == Lower(b[j - 1]);
      row[j] = std::min(
          {above[j] + 1, row[j - 1] + 1, above[j - 1] + (same ? 0U : 1U)});
      if (i > 1 && j > 1 && Lower(a[i - 1]) == Lower(b[j - 2]) &&
          Lower(a[i - 2]) == Lower(b[j - 1]))
        row[j] = std::min(row[j], before[j - 2] + 1);
    }
    std::swap(before, above);
    std::swap(above, row);
  }
  return above[b.size()];
}

std::string ToolNearest(std::string_view word,
                        const std::vector<std::string>& names) {
  size_t best = std::max<size_t>(1, word.size() / 3) + 1;
  const std::string* found = nullptr;
  for (const std::string& name : names) {
    // The lengths alone tell that most names are too far away.
    const size_t gap = name.size() > word.size() ? name.size() - word.size()
                                                 : word.size() - name.size();
    if (gap > best) continue;
    const size_t distance = ToolDistance(word, name);
    if (distance == best) found = nullptr;
    if (distance >= best) continue;
    best = distance;
    found = &name;
  }
  return found ? *found : std::string();
}
