// What dump prints, for its command and for tests.
#ifndef TOOLS_DUMP_H
#define TOOLS_DUMP_H

#include <string>
#include <string_view>

#include "tools/output.h"

// Print every byte of a file, as far as it can be read with its meaning, and
// then the rest. Return whether all could be read.
[[nodiscard]] bool ToolDumpText(std::string_view bytes, ToolOutput* out);
[[nodiscard]] bool ToolDumpJson(const std::string& file, std::string_view bytes,
                                ToolOutput* out);

#endif
