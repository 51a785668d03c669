// check and the compiler agree: an error is reported for exactly the sources
// that the compiler refuses. Random sources, sound and damaged.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/smith/smith.h"
#include "tools/check/check.h"

namespace {

constexpr uint64_t SOURCES = 300;

TEST(CheckProperty, RefusesWhatTheCompilerRefuses) {
  const char* count = getenv("CHECK_SOURCES");
  const uint64_t sources =
      count == nullptr ? SOURCES : strtoull(count, nullptr, 10);
  size_t refused = 0, findings = 0;
  for (uint64_t seed = 1; seed <= sources; seed++) {
    const SmithSource sound = Smith(static_cast<SmithKind>(seed % 3), seed);
    CheckTexts texts(sound.includes.begin(), sound.includes.end());
    for (const bool damaged : {false, true}) {
      const std::string text =
          damaged ? SmithDamage(sound.text, seed) : sound.text;
      texts[sound.file] = text;
      const CheckResult result = CheckOne(sound.file, texts, {});
      const bool error =
          std::ranges::any_of(result.findings, [](const ToolFinding& finding) {
            return finding.severity == ToolSeverity::ERROR;
          });
      const bool expected =
          CheckCompile(texts, sound.file, CheckKindOf(sound.file, text))
              .refused();
      EXPECT_EQ(error, expected) << "seed " << seed << " damaged " << damaged;
      if (!damaged) {
        EXPECT_FALSE(error) << "seed " << seed;
      }
      if (error != expected)
        for (const ToolFinding& finding : result.findings)
          if (finding.severity == ToolSeverity::ERROR)
            ADD_FAILURE() << finding.rule << " " << finding.message;
      refused += expected;
      if (damaged) findings += result.findings.size();
      for (const ToolFinding& finding : result.findings)
        EXPECT_FALSE(finding.message.empty()) << "seed " << seed;
    }
  }
  RecordProperty("refused", static_cast<int>(refused));
  std::printf("refused %zu findings %zu\n", refused, findings);
}

}  // namespace
