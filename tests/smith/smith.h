// Random sources: programs, modules and mask definitions that compile without a
// report, and damaged ones that look like what people really get wrong.
//
// A source follows from its seed alone, on every machine. Valid means: exit
// status 0 and nothing on the standard error stream, whatever the options. What
// is legal and unusual is in: skipped characters, which are echoed, second
// definitions of an editor, declarations that are refused without a report.
//
// The sources are made from the rows of grammar.cpp, and each row that is used
// is counted, so that a test can tell whether its sources together have
// everything the language offers.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

enum class SmithKind : uint8_t { PROGRAM, MODULE, MASK };

enum class SmithSize : uint8_t {
  SMALL,  // 0.3 to 4 KB, and what is open has to be ended
  LARGE,  // 100 KB
};

struct SmithSource {
  SmithKind kind;
  std::string file;  // its name, NAME.mac or NAME.msk
  std::string text;
  // Texts by name. Sources name them without a directory: they have to stand in
  // the one in which the compiler is started.
  std::map<std::string, std::string> includes;  // NAME_1.inc ...
};

// How often each production and each kind of damage was used.
struct SmithCoverage {
  SmithCoverage();

  std::vector<uint64_t> productions;
  std::vector<uint64_t> damages;
};

// The names behind the counts: a row, "statement: PRINT argument+, ;", and the
// outcomes of its repeated parts, the same with " / argument+, (several)".
const std::vector<std::string>& SmithProductions();
const std::vector<std::string>& SmithDamages();

// Makes the source of a seed. `name` begins the names of its files.
SmithSource Smith(SmithKind kind, uint64_t seed,
                  SmithSize size = SmithSize::SMALL,
                  std::string_view name = "smith",
                  SmithCoverage* coverage = nullptr);

// Returns a text with one to three faults, for text of any kind and soundness.
std::string SmithDamage(std::string text, uint64_t seed,
                        SmithCoverage* coverage = nullptr);
