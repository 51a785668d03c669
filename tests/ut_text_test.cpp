#include "Cutil/ut_text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Cutil/ut_memory.h"

namespace {

// One text after each of the operations of a row. An operation is a letter
// with what follows it: R reserve, A assign, P assign the first 3 characters
// of, + append, each with so many "x".
struct GrowthCase {
  UtTextStorage storage;
  uint32_t size;  // of the caller's buffer
  std::vector<std::pair<char, size_t>> steps;
  int code;  // of the last step; the ones before succeed
  uint32_t capacity;
  uint32_t length;
  UtTextStorage storage_after;
};

const GrowthCase GROWTH[] = {
    {UT_TEXT_HEAP, 0, {{'R', 0}}, RC_OK, 8, 0, UT_TEXT_HEAP},
    {UT_TEXT_HEAP, 0, {{'A', 0}}, RC_OK, 8, 0, UT_TEXT_HEAP},
    {UT_TEXT_HEAP, 0, {{'A', 7}}, RC_OK, 8, 7, UT_TEXT_HEAP},
    {UT_TEXT_HEAP, 0, {{'A', 20}}, RC_OK, 24, 20, UT_TEXT_HEAP},
    {UT_TEXT_HEAP, 0, {{'A', 23}}, RC_OK, 24, 23, UT_TEXT_HEAP},
    {UT_TEXT_HEAP, 0, {{'A', 24}}, RC_OK, 32, 24, UT_TEXT_HEAP},
    {UT_TEXT_HEAP, 0, {{'A', 24}, {'A', 1}}, RC_OK, 32, 1, UT_TEXT_HEAP},
    {UT_TEXT_HEAP, 0, {{'A', 4}, {'+', 4}}, RC_OK, 16, 8, UT_TEXT_HEAP},
    {UT_TEXT_HEAP, 0, {{'P', 9}}, RC_OK, 8, 3, UT_TEXT_HEAP},
    {UT_TEXT_HEAP, 0, {{'P', 2}}, RC_OK, 8, 2, UT_TEXT_HEAP},
    {UT_TEXT_HEAP,
     0,
     {{'A', 5}, {'R', UINT32_MAX}},
     RC_NO_MEMORY,
     8,
     5,
     UT_TEXT_HEAP},
    {UT_TEXT_FIXED, 8, {{'A', 7}}, RC_OK, 8, 7, UT_TEXT_FIXED},
    {UT_TEXT_FIXED,
     8,
     {{'A', 7}, {'+', 1}},
     RC_FIXED_TEXT_FULL,
     8,
     7,
     UT_TEXT_FIXED},
    {UT_TEXT_FIXED,
     8,
     {{'A', 5}, {'A', 8}},
     RC_FIXED_TEXT_FULL,
     8,
     5,
     UT_TEXT_FIXED},
    {UT_TEXT_FIXED, 0, {{'A', 0}}, RC_FIXED_TEXT_FULL, 0, 0, UT_TEXT_FIXED},
    {UT_TEXT_INITIAL, 8, {{'A', 7}}, RC_OK, 8, 7, UT_TEXT_INITIAL},
    {UT_TEXT_INITIAL, 8, {{'A', 7}, {'+', 1}}, RC_OK, 16, 8, UT_TEXT_HEAP},
    {UT_TEXT_INITIAL, 0, {{'A', 3}}, RC_OK, 8, 3, UT_TEXT_HEAP},
};

int Apply(UtText* text, char operation, size_t count) {
  if (operation == 'R') return UtTextReserve(text, count);
  const std::string source(count, 'x');
  if (operation == 'A') return UtTextAssign(text, source.c_str());
  if (operation == 'P') return UtTextAssignPart(text, source.c_str(), 3);
  return UtTextAppend(text, source.c_str());
}

TEST(UtText, GrowsInSteps) {
  for (const bool tracked : {false, true}) {
    int row_number = 0;
    for (const GrowthCase& row : GROWTH) {
      SCOPED_TRACE(row_number++);
      char buffer[] = "????????????";
      UtText text{};
      if (row.storage == UT_TEXT_FIXED)
        UtTextAttachFixed(&text, buffer, row.size);
      if (row.storage == UT_TEXT_INITIAL)
        UtTextAttachInitial(&text, buffer, row.size);
      UtTextTrackLength(&text, tracked);
      int code = RC_OK;
      for (const auto& [operation, count] : row.steps) {
        EXPECT_EQ(RC_OK, code);
        code = Apply(&text, operation, count);
      }
      EXPECT_EQ(row.code, code);
      EXPECT_EQ(row.capacity, text.capacity);
      EXPECT_EQ(row.length, UtTextLength(&text));
      EXPECT_EQ(tracked ? row.length : 0, text.length);
      EXPECT_EQ(std::string(row.length, 'x'), UtTextChars(&text));
      EXPECT_EQ(row.storage_after, text.storage);
      EXPECT_EQ(row.storage_after != UT_TEXT_HEAP, text.text == buffer);
      EXPECT_EQ('?', buffer[row.size]);  // nothing written behind the buffer
      UtTextRelease(&text);
      EXPECT_EQ(nullptr, text.text);
      EXPECT_EQ(UT_TEXT_HEAP, text.storage);
    }
  }
}

TEST(UtText, TracksItsLength) {
  UtText text{};
  ASSERT_EQ(RC_OK, UtTextAssign(&text, "abc"));
  EXPECT_FALSE(UtTextTrackLength(&text, true));
  EXPECT_EQ(3u, text.length);
  ASSERT_EQ(RC_OK, UtTextAppend(&text, "de"));
  ASSERT_EQ(RC_OK, UtTextAppend(&text, nullptr));
  EXPECT_EQ(5u, text.length);
  EXPECT_TRUE(UtTextTrackLength(&text, false));
  EXPECT_EQ(0u, text.length);
  EXPECT_EQ(5u, UtTextLength(&text));
  ASSERT_EQ(RC_OK, UtTextAssign(&text, nullptr));
  EXPECT_STREQ("", UtTextChars(&text));
  UtTextRelease(&text);
}

TEST(UtText, AttachesConstants) {
  UtText text{};
  UtTextAttachConstant(&text, "constant");
  EXPECT_EQ(9u, text.capacity);
  EXPECT_EQ(8u, UtTextLength(&text));
  EXPECT_FALSE(UtTextIsOwned(&text));
  EXPECT_EQ(RC_FIXED_TEXT_FULL, UtTextAppend(&text, "s"));
  UtTextRelease(&text);
}

TEST(UtText, TakesPartsOfItself) {
  UtText text{};
  ASSERT_EQ(RC_OK, UtTextAssign(&text, "abcdef"));
  for (int i = 0; i < 8; i++)  // each move of the block moves the source
    ASSERT_EQ(RC_OK, UtTextAppend(&text, text.text));
  EXPECT_EQ(6u * 256, UtTextLength(&text));
  ASSERT_EQ(RC_OK, UtTextAssignPart(&text, text.text + 2, 6));
  EXPECT_STREQ("cdefab", text.text);
  UtTextRelease(&text);
}

TEST(UtText, StaysAsItWasWithoutMemory) {
  char buffer[4];
  UtText text{};
  UtTextAttachInitial(&text, buffer, sizeof buffer);
  for (const UtTextStorage storage : {UT_TEXT_INITIAL, UT_TEXT_HEAP}) {
    const std::string before = UtTextChars(&text);
    UtFailAllocation(1);
    EXPECT_EQ(RC_NO_MEMORY, UtTextAppend(&text, "0123456789"));
    EXPECT_EQ(before, UtTextChars(&text));
    EXPECT_EQ(storage, text.storage);
    EXPECT_EQ(RC_OK, UtTextAppend(&text, "0123456789"));
  }
  EXPECT_STREQ("01234567890123456789", text.text);
  UtTextRelease(&text);
}

}  // namespace
