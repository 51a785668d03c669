#include "trt/messages.h"

#include <gtest/gtest.h>

namespace {

TEST(Messages, AreTheTextsThatUsersRead) {
  constexpr std::pair<unsigned, const char*> MESSAGES[] = {
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
      {65536 + 4, "error in declaration\n"}};  // 16 bits count
  for (const auto& [number, text] : MESSAGES)
    EXPECT_STREQ(text, MessageText(number)) << number;
}

}  // namespace
