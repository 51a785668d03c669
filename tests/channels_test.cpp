#include "services/channels.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Cutil/codes.h"

namespace {

// Channel 3 takes down what reaches it.
std::string taken;

void Record(uint32_t flags) {
  const auto take = [](const char* text, void*) {
    taken = text;
    return 41;
  };
  ChannelReset();
  taken = "";
  ASSERT_EQ(RC_OK, ChannelBindCallback(3, flags, take, nullptr));
}

struct TreatmentCase {
  uint32_t flags;
  const char *text, *treated;
};

constexpr TreatmentCase TREATMENTS[] = {
    // A newline is appended, removed again, and the one before it replaced.
    {CHANNEL_ADD_NEWLINE | CHANNEL_STRIP_NEWLINE | CHANNEL_NEWLINE_TO_BLANK,
     "abc\n", "abc "},
    // Escapes come last: the newline they make stays.
    {CHANNEL_STRIP_NEWLINE | CHANNEL_ESCAPES, "abc\\n", "abc\n"},
    {CHANNEL_ESCAPES, "\\1012", "\\1012"},  // a fourth digit
    {CHANNEL_ESCAPES, "\\389.", "\3."},     // 8 and 9 end the number
    {CHANNEL_ESCAPES, "ab\\000cd", "ab"},   // a zero byte ends the text
};

TEST(Channels, TreatTexts) {
  for (const TreatmentCase& row : TREATMENTS) {
    Record(row.flags);
    ChannelPrint(3, "%s", row.text);
    EXPECT_EQ(row.treated, taken) << row.flags << " " << row.text;
  }
}

// Where channels 0, 1 and 2 go, and the result of printing on channel 0: 41
// when channel 3 was reached.
const std::pair<std::vector<unsigned>, int> REDIRECTIONS[] = {
    {{3}, 41},
    {{1, 2, 3}, 41},
    {{1}, RC_OK},  // ends at an unbound channel
    {{1, 0}, RC_BAD_REDIRECTION},
    {{1, 2, 1}, RC_BAD_REDIRECTION},  // a loop beside channel 0
    {{0x10003}, RC_BAD_REDIRECTION},
};

TEST(Channels, Redirect) {
  for (const auto& [targets, code] : REDIRECTIONS) {
    Record(0);
    unsigned from = 0;
    for (const unsigned to : targets)
      EXPECT_EQ(RC_OK, ChannelBindTarget(from++, CHANNEL_ADD_NEWLINE, to));
    EXPECT_EQ(code, ChannelPrint(0, "abc")) << targets[0];
    EXPECT_EQ(code == 41, taken == "abc" + std::string(targets.size(), '\n'));
  }
  ChannelReset();
}

}  // namespace
