#include "Cutil/ut_text.h"

#include <gtest/gtest.h>

#include <string>

#include "Cutil/ut_memory.h"

namespace {

// One text after assigning and then appending so many "x".
struct GrowthCase {
  UtTextStorage storage;
  uint32_t size;  // of the caller's buffer
  size_t assigned, appended;
  int code;  // of appending
  uint32_t capacity, length;
};
constexpr GrowthCase GROWTH[] = {
    {UT_TEXT_HEAP, 0, 23, 0, RC_OK, 24, 23},
    {UT_TEXT_HEAP, 0, 4, 4, RC_OK, 16, 8},
    {UT_TEXT_FIXED, 8, 7, 0, RC_OK, 8, 7},
    {UT_TEXT_FIXED, 8, 7, 1, RC_FIXED_TEXT_FULL, 8, 7},
    {UT_TEXT_INITIAL, 8, 7, 0, RC_OK, 8, 7},
    {UT_TEXT_INITIAL, 8, 7, 1, RC_OK, 16, 8},
};

TEST(UtText, GrowsInSteps) {
  for (const GrowthCase& row : GROWTH) {
    char buffer[] = "????????????";
    UtText text{};
    if (row.storage == UT_TEXT_FIXED)
      UtTextAttachFixed(&text, buffer, row.size);
    if (row.storage == UT_TEXT_INITIAL)
      UtTextAttachInitial(&text, buffer, row.size);
    const std::string first(row.assigned, 'x'), second(row.appended, 'x');
    EXPECT_EQ(RC_OK, UtTextAssign(&text, first.c_str()));
    EXPECT_EQ(row.code, UtTextAppend(&text, second.c_str()));
    EXPECT_EQ(row.capacity, text.capacity) << &row - GROWTH;
    EXPECT_EQ(std::string(row.length, 'x'), UtTextChars(&text));
    EXPECT_EQ('?', buffer[row.size]);  // nothing written behind the buffer
    UtTextRelease(&text);
  }
}

TEST(UtText, ChangesItsSource) {
  UtText text{};
  ASSERT_EQ(RC_OK, UtTextAssign(&text, "abcdef"));
  for (int i = 0; i < 8; i++)  // each move of the block moves the source
    ASSERT_EQ(RC_OK, UtTextAppend(&text, text.text));
  EXPECT_EQ(6u * 256, UtTextLength(&text));
  ASSERT_EQ(RC_OK, UtTextAssignPart(&text, text.text + 2, 6));
  EXPECT_STREQ("cdefab", text.text);
  UtTextRelease(&text);
}

}  // namespace
