// Which lines of two texts agree.
#ifndef TOOLS_COMPARE_LINE_DIFF_H
#define TOOLS_COMPARE_LINE_DIFF_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

// Lines that differ: of the one text from `a_first` to `a_end`, of the other
// from `b_first` to `b_end`.
struct LineHunk {
  size_t a_first, a_end;
  size_t b_first, b_end;
};

// The differences, in order. There are as few lines in them as can be found in
// time that grows with the texts only.
std::vector<LineHunk> DiffLines(const std::vector<std::string_view>& a,
                                const std::vector<std::string_view>& b);

// The same for lines that have numbers, equal ones the same.
std::vector<LineHunk> DiffLines(const std::vector<uint32_t>& a,
                                const std::vector<uint32_t>& b);

#endif
