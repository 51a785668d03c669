// A compiled file as its source would say it, part by part.
#ifndef TOOLS_COMPARE_OUTLINE_H
#define TOOLS_COMPARE_OUTLINE_H

#include <string>
#include <string_view>
#include <vector>

#include "tools/decompile/layout.h"
#include "util/xd_header.h"

// Lines of outlines, each of them once, by numbers: two files have most of
// their lines in common, and a file many of them often.
class LineTable {
 public:
  // The number of a line, which gets one when it is new.
  uint32_t add(std::string_view line);
  // Valid until the next line is added.
  std::string_view operator[](uint32_t number) const {
    return std::string_view(text_).substr(
        begins_[number], begins_[number + 1] - begins_[number]);
  }

 private:
  void grow();
  uint32_t* slot_of(std::string_view line);

  std::string text_;
  std::vector<size_t> begins_ = {0};  // of each line, and the end
  std::vector<uint32_t> slots_;       // number + 1 by hash; 0: free
};

// A part with its own lines, without indents and empty ones, as numbers of a
// table, and the parts in it. Of a routine, an object and a MODULE block the
// name says what its lines would; parts with nothing in them are left out.
struct OutlinePart {
  TextPart part;
  std::string name;
  std::vector<uint32_t> lines;
  std::vector<OutlinePart> parts;
};

struct Outline {
  XdHeader header = {};
  bool is_mask = false;
  OutlinePart root;                    // the file
  std::vector<uint32_t> lines;         // recorded, by statement
  std::vector<std::string> constants;  // in use, sorted, each once
};

// Reads a file, whose lines go to a table. Returns why that cannot be done,
// empty when it could.
std::string MakeOutline(std::string_view bytes, LineTable* table,
                        Outline* outline);

// True when two files hold the same in different transports.
[[nodiscard]] bool SameInOtherTransport(std::string_view a, std::string_view b);

#endif
