// A source laid out and proved to be the same one.
#ifndef TOOLS_FORMAT_FORMAT_H
#define TOOLS_FORMAT_FORMAT_H

#include "tools/format/layout.h"

struct Formatted {
  std::string text;     // as it was when `refusal` says why
  std::string refusal;  // empty: laid out
  uint32_t errors = 0;  // places that stay as they are, being in error
  uint32_t first_error_line = 0;
};

// `files` opens included files; nullptr: those of the system.
[[nodiscard]] Formatted FormatSource(const std::string& name, std::string text,
                                     const FormatStyle& style,
                                     McSrcProvider* files = nullptr);

#endif
