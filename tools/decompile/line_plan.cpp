// Read from its end, the stack of files behaves the other way round: a file
// begins in front of any statement, where the line runs forwards, and ends only
// at a place for INCLUDE. A statement stays in the file of the one behind it
// whenever it can, since that leaves all the other files as they are; and where
// it cannot, in the middle of a routine, a file must begin. So the only choice
// is at a place: to end files until one can take the statement, or to begin one
// more. The ways below differ in it, and the next one is tried when one needs
// too many files. The last one needs the least depth of all: it takes new files
// for every routine, and the main file only for a routine that has statements
// for 32 files.
#include "tools/decompile/line_plan.h"

#include <algorithm>

#include "elut/syntax/source_reader.h"

namespace {

enum class Way : uint8_t {
  SIDE_BY_SIDE,  // a new file stands in the main file
  NESTED,        // a new file stands where it is needed
  FRESH,         // every routine has its own files
};

struct Planner {
  Planner(const LineSurvey& lines_of, const std::vector<uint32_t>& apart_of,
          Way way_taken)
      : survey(lines_of), apart(apart_of), way(way_taken) {}

  const LineSurvey& survey;
  const std::vector<uint32_t>& apart;
  Way way;
  size_t next_apart = 0;  // one behind the next one, from the end
  std::vector<uint32_t>
      files;  // lines that the open files can take; main first
  uint32_t included = 0;
  LinePlan plan;

  bool splits(uint32_t statement) {
    while (next_apart > 0 && apart[next_apart - 1] > statement) next_apart--;
    return next_apart > 0 && apart[next_apart - 1] == statement;
  }

  // A file begins, read from the end.
  bool open() {
    files.push_back(NO_LINE);
    return files.size() <= size_t{MC_SRC_LEVELS} &&
           ++included <= MC_SRC_INCLUDES;
  }

  void close(size_t left, LinePlan::Place* place) {
    while (files.size() > left) {
      place->begins++;
      plan.first_lines.push_back(files.back());
      files.pop_back();
    }
  }

  void take(uint32_t statement) {
    plan.next_line[statement] = files.back();
    files.back() = survey.lines[statement];
  }

  // How many more files a routine's statements, from `first` to `end`, need.
  size_t runs(uint32_t first, uint32_t end) {
    const size_t kept = next_apart;
    size_t count = 0;
    for (uint32_t i = end; --i > first;)
      count += splits(i) || survey.lines[i - 1] > survey.lines[i];
    next_apart = kept;
    return count;
  }

  // Reads a routine's statements from its last to its first, with the place
  // behind it.
  bool routine(uint32_t first, uint32_t end, LinePlan::Place* place) {
    if (first == end) return true;
    const uint32_t line = survey.lines[end - 1];
    const bool split = end < survey.lines.size() && splits(end);
    const size_t more = runs(first, end);
    const auto fits = [&](uint32_t of_file) {
      return line <= of_file && !split;
    };
    if (place != nullptr) {
      if (way == Way::FRESH) close(1, place);
      if (!fits(files.back())) {
        size_t left = files.size();
        while (left > 0 && !fits(files[left - 1])) left--;
        if (left > 0)
          close(left, place);
        else if (way == Way::SIDE_BY_SIDE)
          close(1, place);
      }
      const bool crowded = files.size() + more > size_t{MC_SRC_LEVELS};
      if (crowded) close(1, place);
    }
    const bool takes_main = way == Way::FRESH && files.size() == 1 &&
                            more + 1 < size_t{MC_SRC_LEVELS};
    if (!fits(files.back()) || takes_main) {
      if (!open()) return false;
      // The file ends at the place, or in front of the statement behind it.
      if (place != nullptr)
        place->ends++;
      else if (end < survey.lines.size())
        plan.ends[end]++;
    }
    take(end - 1);
    for (uint32_t i = end - 1; i-- > first;) {
      if (splits(i + 1) || survey.lines[i] > files.back()) {
        if (!open()) return false;
        plan.ends[i + 1]++;
      }
      take(i);
    }
    return true;
  }

  bool run() {
    const auto count = static_cast<uint32_t>(survey.lines.size());
    plan.ends.assign(count, 0);
    plan.next_line.assign(count, NO_LINE);
    plan.places.assign(survey.places.size(), {});
    files = {NO_LINE};
    next_apart = apart.size();
    uint32_t end = count;
    for (size_t i = survey.places.size(); i-- > 0;) {
      // Behind the place are the statements of a routine.
      const uint32_t first = survey.places[i];
      LinePlan::Place* behind =
          i + 1 < plan.places.size() ? &plan.places[i + 1] : nullptr;
      if (!routine(first, end, behind)) return false;
      end = first;
    }
    if (!plan.places.empty()) close(1, &plan.places[0]);
    if (end != 0 || files.size() != 1) return false;
    plan.first_lines.push_back(files[0]);
    std::reverse(plan.first_lines.begin(), plan.first_lines.end());
    return true;
  }
};

}  // namespace

bool MakeLinePlan(const LineSurvey& survey, const std::vector<uint32_t>& apart,
                  LinePlan* plan) {
  for (const Way way : {Way::SIDE_BY_SIDE, Way::NESTED, Way::FRESH}) {
    Planner planner(survey, apart, way);
    if (!planner.run()) continue;
    *plan = std::move(planner.plan);
    return true;
  }
  return false;
}
