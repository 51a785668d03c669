// A compiled file as its source would say it, part by part.
#ifndef TOOLS_COMPARE_OUTLINE_H
#define TOOLS_COMPARE_OUTLINE_H

#include <string>
#include <string_view>
#include <vector>

#include "tools/decompile/layout.h"
#include "util/xd_header.h"

// A part with its own lines, without indents and empty ones, and the parts in
// it. The lines lie in the text of the outline.
struct OutlinePart {
  TextPart part;
  std::string name;
  std::vector<std::string_view> lines;
  std::vector<OutlinePart> parts;
};

struct Outline {
  XdHeader header = {};
  bool is_mask = false;
  std::string text;
  OutlinePart root;                    // the file
  std::vector<uint32_t> lines;         // recorded, by statement
  std::vector<std::string> constants;  // in use, sorted, each once
};

// Reads a file. Returns why that cannot be done, empty when it could.
std::string MakeOutline(std::string_view bytes, Outline* outline);

// True when two files hold the same in different transports.
[[nodiscard]] bool SameInOtherTransport(std::string_view a, std::string_view b);

#endif
