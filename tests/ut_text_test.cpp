#include "Cutil/ut_text.h"

#include <gtest/gtest.h>

#include <string>
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
  uint32_t capacity, length;
};
constexpr UtTextStorage HEAP = UT_TEXT_HEAP, FIXED = UT_TEXT_FIXED,
                        INITIAL = UT_TEXT_INITIAL;
const GrowthCase GROWTH[] = {
    {HEAP, 0, {{'R', 0}}, RC_OK, 8, 0},
    {HEAP, 0, {{'A', 7}}, RC_OK, 8, 7},
    {HEAP, 0, {{'A', 23}}, RC_OK, 24, 23},
    {HEAP, 0, {{'A', 24}, {'A', 1}}, RC_OK, 32, 1},
    {HEAP, 0, {{'A', 4}, {'+', 4}}, RC_OK, 16, 8},
    {HEAP, 0, {{'P', 9}}, RC_OK, 8, 3},
    {HEAP, 0, {{'P', 2}}, RC_OK, 8, 2},
    {HEAP, 0, {{'A', 5}, {'R', UINT32_MAX}}, RC_NO_MEMORY, 8, 5},
    {FIXED, 8, {{'A', 7}}, RC_OK, 8, 7},
    {FIXED, 8, {{'A', 7}, {'+', 1}}, RC_FIXED_TEXT_FULL, 8, 7},
    {FIXED, 8, {{'A', 5}, {'A', 8}}, RC_FIXED_TEXT_FULL, 8, 5},
    {FIXED, 0, {{'A', 0}}, RC_FIXED_TEXT_FULL, 0, 0},
    {INITIAL, 8, {{'A', 7}}, RC_OK, 8, 7},
    {INITIAL, 8, {{'A', 7}, {'+', 1}}, RC_OK, 16, 8},
    {INITIAL, 0, {{'A', 3}}, RC_OK, 8, 3},
};

int Apply(UtText* text, char operation, size_t count) {
  if (operation == 'R') return UtTextReserve(text, count);
  const std::string source(count, 'x');
  if (operation == 'A') return UtTextAssign(text, source.c_str());
  if (operation == 'P') return UtTextAssignPart(text, source.c_str(), 3);
  return UtTextAppend(text, source.c_str());
}

TEST(UtText, GrowsInSteps) {
  for (const bool tracked : {false, true})
    for (const GrowthCase& row : GROWTH) {
      SCOPED_TRACE(&row - GROWTH);
      char buffer[] = "????????????";
      UtText text{};
      if (row.storage == FIXED) UtTextAttachFixed(&text, buffer, row.size);
      if (row.storage == INITIAL) UtTextAttachInitial(&text, buffer, row.size);
      UtTextTrackLength(&text, tracked);
      int code = RC_OK;
      for (const auto& [operation, count] : row.steps) {
        EXPECT_EQ(RC_OK, code);
        code = Apply(&text, operation, count);
      }
      EXPECT_EQ(row.code, code);
      EXPECT_EQ(row.capacity, text.capacity);
      EXPECT_EQ(tracked ? row.length : 0, text.length);
      EXPECT_EQ(std::string(row.length, 'x'), UtTextChars(&text));
      EXPECT_EQ(row.length, UtTextLength(&text));
      EXPECT_EQ(UtTextIsOwned(&text), text.text != buffer);
      EXPECT_EQ('?', buffer[row.size]);  // nothing written behind the buffer
      UtTextRelease(&text);
      EXPECT_EQ(nullptr, text.text);
    }
}

TEST(UtText, ChangesItsSource) {
  UtText text{};
  UtTextAttachConstant(&text, "constant");
  EXPECT_EQ(9u, text.capacity);
  EXPECT_EQ(RC_FIXED_TEXT_FULL, UtTextAppend(&text, "s"));
  UtTextRelease(&text);
  ASSERT_EQ(RC_OK, UtTextAssign(&text, "abcdef"));
  EXPECT_FALSE(UtTextTrackLength(&text, true));
  EXPECT_EQ(6u, text.length);
  for (int i = 0; i < 8; i++)  // each move of the block moves the source
    ASSERT_EQ(RC_OK, UtTextAppend(&text, text.text));
  EXPECT_EQ(6u * 256, text.length);
  UtFailAllocation(1);
  const std::string more(6 * 256, 'x');
  EXPECT_EQ(RC_NO_MEMORY, UtTextAppend(&text, more.c_str()));
  ASSERT_EQ(RC_OK, UtTextAssignPart(&text, text.text + 2, 6));
  EXPECT_STREQ("cdefab", text.text);
  ASSERT_EQ(RC_OK, UtTextAssign(&text, nullptr));
  EXPECT_STREQ("", UtTextChars(&text));
  EXPECT_TRUE(UtTextTrackLength(&text, false));
  UtTextRelease(&text);
}

}  // namespace
