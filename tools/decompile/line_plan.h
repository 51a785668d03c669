// Which files the statements of a traced program stand in.
//
// Every statement of such a program must begin on the line that its TRACE node
// has recorded. Where lines run backwards, another file goes on: a file may
// end anywhere, and its INCLUDE may stand where SUBs may, that is in front of
// each routine. So files form a stack, which grows between routines only and
// may shrink in front of any statement.
#ifndef TOOLS_DECOMPILE_LINE_PLAN_H
#define TOOLS_DECOMPILE_LINE_PLAN_H

#include <cstdint>
#include <vector>

// The statements of a source in its order, and the places for INCLUDE.
struct LineSurvey {
  std::vector<uint32_t> lines;  // recorded, by statement
  // The number of statements in front of each place.
  std::vector<uint32_t> places;
};

inline constexpr uint32_t NO_LINE = UINT32_MAX;

struct LinePlan {
  // By statement: how many files end in front of it, and the line of the next
  // statement of its file, NO_LINE after the last one.
  std::vector<uint8_t> ends;
  std::vector<uint32_t> next_line;

  // By place: how many files end there, how many are included then, one inside
  // the other, and for each of these, the outermost first, the line of its
  // first statement.
  struct Place {
    uint8_t ends = 0;
    uint8_t begins = 0;
  };
  std::vector<Place> places;
  std::vector<uint32_t> first_lines;  // of all files; the main one first
};

// Makes a plan in which no statement of `apart`, which are sorted, shares a
// file with the one in front of it. False when 32 files inside each other, or
// 10,000 of them, are not enough.
[[nodiscard]] bool MakeLinePlan(const LineSurvey& survey,
                                const std::vector<uint32_t>& apart,
                                LinePlan* plan);

#endif
