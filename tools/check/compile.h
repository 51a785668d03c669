// A compile in memory: the compiler itself, run over texts that stand in the
// place of files, and everything that it has to say with its exact place.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "elut/compile/front.h"

// Texts by the names under which they are opened; other files are those of the
// system.
using CheckTexts = std::map<std::string, std::string, std::less<>>;

class CheckProvider : public McSrcProvider {
 public:
  explicit CheckProvider(const CheckTexts* texts) : texts_(texts) {}
  [[nodiscard]] UtPtr<McSrcBytes> open(const char* name) override;

 private:
  const CheckTexts* texts_;
  McSrcFiles files_;
};

// One report, and how far the source was read.
struct CheckReport {
  McReportKind kind;
  int code;
  std::string text;
  std::string file;
  uint32_t line;       // where reading has come to
  size_t to_line_end;  // bytes that are left of that line
  bool at_end;         // the source has ended
};

struct CheckOutcome {
  int code = 0;                      // exit status
  std::vector<CheckReport> reports;  // of very many the first ones
  size_t error_count = 0;            // of all reports

  // It ended with a code, or said that there was an error.
  bool refused() const { return errors() > 0; }
  // Reports of errors, or 1 for a code alone.
  size_t errors() const;
};

enum class CheckKind : uint8_t { PROGRAM, MASK };

// Compiles the source of that name; nothing is written. A source that cannot be
// opened gives 1006.
CheckOutcome CheckCompile(const CheckTexts& texts, const std::string& name,
                          CheckKind kind);
