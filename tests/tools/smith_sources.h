// Random sources for tests of tools, sound and damaged ones. QUILLO_SOURCES in
// the environment says how many; a few hundred if not said otherwise.
#pragma once

#include <cstdlib>

#include "tests/compile.h"
#include "tests/smith/smith.h"

inline uint64_t SourceCount() {
  const char* count = getenv("QUILLO_SOURCES");
  return count == nullptr ? 400 : strtoull(count, nullptr, 10);
}

// A source with its include files. Half of the damaged ones have the damage in
// an include file, if there is one.
struct RandomSource {
  RandomSource(uint64_t seed, bool damaged) {
    SmithSource source = Smith(static_cast<SmithKind>(seed % 3), seed,
                               SmithSize::SMALL, "s" + std::to_string(seed));
    name = source.file;
    if (damaged) {
      std::string* text = &source.text;
      if (seed % 2 == 0 && !source.includes.empty())
        text = &source.includes.begin()->second;
      *text = SmithDamage(std::move(*text), seed);
    }
    files.texts = std::move(source.includes);
    files.texts[name] = source.text;
    is_mask = source.kind == SmithKind::MASK;
  }
  const std::string& text() const { return files.texts.find(name)->second; }

  std::string name;
  bool is_mask;
  TextFiles files;
};
