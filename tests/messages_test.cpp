#include "trt/messages.h"

#include <gtest/gtest.h>

#include "Cutil/codes.h"
#include "quillo/channels.h"

namespace {

struct MessageCase {
  unsigned number;
  const char* text;
};

constexpr MessageCase MESSAGES[] = {
    {0, "no message found\n"},
    {1, "file '%s' not found\n"},
    {2, "syntax error in line %d\n%s\n"},
    {3, "undefined variable '%s'\n"},
    {4, "error in declaration\n"},
    {5, "unresolved external subroutine: '%s'\n"},
    {6, "unresolved external function: 'FN%s'\n"},
    {7, "unresolved C - function: 'CFN%s'\n"},
    {8, "C - function 'CFN%s' has other than standard-params\n"},
    {9, nullptr},
    {65535, nullptr},
    {65536 + 4, "error in declaration\n"},  // 16 bits count
};

TEST(Messages, AreTheTextsThatUsersRead) {
  for (const MessageCase& row : MESSAGES)
    EXPECT_STREQ(row.text, MessageText(row.number)) << row.number;
}

TEST(Messages, PrintOnTheWarningsChannel) {
  ChannelReset();
  ASSERT_EQ(RC_OK, ChannelBind(2, CHANNEL_STDOUT, CHANNEL_ADD_NEWLINE));
  testing::internal::CaptureStdout();
  MessagePrint(MSG_FILE_NOT_FOUND, "src/a.mac");
  MessagePrint(MSG_COUNT, "nothing");
  MessagePrint(MSG_SYNTAX_ERROR, 3, "LET x");
  EXPECT_EQ(
      "file 'src/a.mac' not found\n\n"
      "syntax error in line 3\nLET x\n\n",
      testing::internal::GetCapturedStdout());
  ChannelReset();
}

}  // namespace
