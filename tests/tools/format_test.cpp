// Layouts: nothing but white space changes, a second run changes nothing, and
// what the page about it shows comes out.
#include "tools/format/format.h"

#include <gtest/gtest.h>

#include "tests/tools/smith_sources.h"
#include "tools/format/diff.h"

namespace {

TEST(Format, ChangesNoRandomSource) {
  uint64_t changed = 0;
  for (uint64_t seed = 1; seed <= SourceCount(); seed++)
    for (const bool damaged : {false, true}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + (damaged ? "d" : ""));
      RandomSource source(seed, damaged);
      for (const auto& [name, text] : source.files.texts) {
        const Formatted once = FormatSource(name, text, {}, &source.files);
        ASSERT_EQ(once.refusal, "") << name;
        changed += once.text != text;
        RandomSource again(seed, damaged);
        again.files.texts.find(name)->second = once.text;
        const Formatted twice = FormatSource(name, once.text, {}, &again.files);
        ASSERT_EQ(twice.text, once.text) << name;
      }
    }
  EXPECT_GT(changed, SourceCount());
}

}  // namespace
