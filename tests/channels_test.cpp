#include "quillo/channels.h"

#include <gtest/gtest.h>

#include <string>

#include "Cutil/codes.h"
#include "Cutil/ut_memory.h"

namespace {

class Channels : public testing::Test {
 protected:
  Channels() { ChannelReset(); }
  ~Channels() override { ChannelReset(); }

  // Channel 3 takes down what reaches it.
  void record(uint32_t flags = 0) {
    ASSERT_EQ(RC_OK, ChannelBindCallback(3, flags, Take, this));
  }

  std::string taken;
  int calls = 0;

 private:
  static int Take(const char* text, void* user_data) {
    auto* test = static_cast<Channels*>(user_data);
    test->taken = text;
    return 40 + ++test->calls;
  }
};

struct TreatmentCase {
  uint32_t flags;
  const char* text;
  const char* treated;
};

constexpr TreatmentCase TREATMENTS[] = {
    {0, "a\\n\\101\n", "a\\n\\101\n"},
    {CHANNEL_ADD_NEWLINE, "abc", "abc\n"},
    {CHANNEL_STRIP_NEWLINE, "abc\n\n", "abc\n"},
    {CHANNEL_NEWLINE_TO_BLANK, "abc\n", "abc "},
    // A newline is appended, removed again, and the one before it replaced.
    {CHANNEL_ADD_NEWLINE | CHANNEL_STRIP_NEWLINE | CHANNEL_NEWLINE_TO_BLANK,
     "abc\n", "abc "},
    // Escapes come last: the newline they make stays.
    {CHANNEL_STRIP_NEWLINE | CHANNEL_ESCAPES, "abc\\n", "abc\n"},
    {CHANNEL_ESCAPES, "C:\\new", "C:\new"},
    {CHANNEL_ESCAPES, "\\101-\\101", "A-A"},
    {CHANNEL_ESCAPES, "\\1012", "\\1012"},  // a fourth digit
    {CHANNEL_ESCAPES, "\\389.", "\3."},     // 8 and 9 end the number
    {CHANNEL_ESCAPES, "\\777", "\xFF"},
    {CHANNEL_ESCAPES, "ab\\000cd", "ab"},  // a zero byte ends the text
    {CHANNEL_ESCAPES, "\\\\\\n", "\\\\\n"},
    {CHANNEL_ESCAPES, "\\x\\", "\\x\\"},
};

TEST_F(Channels, TreatTexts) {
  for (const TreatmentCase& row : TREATMENTS) {
    ChannelReset();
    record(row.flags);
    ChannelPrint(3, "%s", row.text);
    EXPECT_EQ(row.treated, taken) << row.flags << " " << row.text;
  }
}

TEST_F(Channels, BindOnce) {
  for (const unsigned target : {CHANNEL_UNBOUND + 0u, 3u})
    EXPECT_EQ(RC_INVALID, ChannelBind(0, target, 0));
  EXPECT_EQ(RC_INVALID, ChannelBind(4, CHANNEL_STDOUT, 0));
  record();
  EXPECT_EQ(RC_CHANNEL_BOUND, ChannelBind(3, CHANNEL_STDERR, 0));
  EXPECT_EQ(RC_CHANNEL_BOUND, ChannelBindTarget(3, 0, 1));
  EXPECT_EQ(41, ChannelPrint(3, "still bound"));  // the call-back's result
  EXPECT_EQ(RC_OK, ChannelPrint(3, "%s", ""));    // no text, no call
  EXPECT_EQ(1, calls);
  for (const unsigned silent : {0u, 4u, 70000u})
    EXPECT_EQ(RC_OK, ChannelPrint(silent, "lost"));
}

struct RedirectionCase {
  int targets[3];  // of channels 0, 1 and 2; -1: not bound
  int code;        // of printing on channel 0; 41 when channel 3 was reached
  const char* text;
};

constexpr RedirectionCase REDIRECTIONS[] = {
    {{3, -1, -1}, 41, "abc\n"},
    {{1, 2, 3}, 41, "abc\n\n\n"},
    {{1, -1, -1}, RC_OK, ""},  // ends at an unbound channel
    {{1, 0, -1}, RC_BAD_REDIRECTION, ""},
    {{1, 2, 1}, RC_BAD_REDIRECTION, ""},  // a loop beside channel 0
    {{0x10003, -1, -1}, RC_BAD_REDIRECTION, ""},
};

TEST_F(Channels, Redirect) {
  for (const RedirectionCase& row : REDIRECTIONS) {
    ChannelReset();
    taken.clear();
    calls = 0;
    record();
    for (unsigned i = 0; i < 3; i++) {
      if (row.targets[i] < 0) continue;
      const auto target = static_cast<unsigned>(row.targets[i]);
      EXPECT_EQ(RC_OK, ChannelBindTarget(i, CHANNEL_ADD_NEWLINE, target));
    }
    EXPECT_EQ(row.code, ChannelPrint(0, "abc")) << row.targets[0];
    EXPECT_EQ(row.text, taken) << row.targets[0];
  }
}

TEST_F(Channels, PrintLongTextsWhole) {
  record(CHANNEL_ADD_NEWLINE | CHANNEL_ESCAPES);
  for (size_t length : {2046u, 2047u, 2048u, 2049u, 1000000u}) {
    const std::string text(length - 2, 'x');
    ChannelPrint(3, "%s\\n", text.c_str());
    EXPECT_EQ(text + "\n\n", taken);
  }
  UtFailAllocation(1);
  EXPECT_EQ(RC_NO_MEMORY, ChannelPrint(3, "%5000d", 1));
  EXPECT_EQ(5, calls);
  char buffer[4];
  EXPECT_EQ(3, PrintBuffer(buffer, sizeof buffer, "%d", 12345));
  EXPECT_STREQ("123", buffer);
  EXPECT_EQ(-1, PrintBuffer(buffer, sizeof buffer, "%lc", wint_t{0xD800}));
}

}  // namespace
