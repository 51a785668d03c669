#include "elut/constants.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <string_view>

#include "elut/value.h"

namespace {

class Constants : public testing::Test {
 protected:
  uint32_t add(double real) {
    uint32_t index = 99;
    EXPECT_EQ(table_.add_real(real, &index), RC_OK);
    return index;
  }
  uint32_t add(std::string_view text) {
    uint32_t index = 99;
    EXPECT_EQ(table_.add_string(&arena_, text.data(),
                                static_cast<uint32_t>(text.size()), &index),
              RC_OK);
    return index;
  }

  UtArena arena_;
  McConstants table_;
};

TEST_F(Constants, EqualRealsShareAnEntry) {
  struct Row {
    double real;
    uint32_t index;
  };
  const double none = std::nan("");
  const Row ROWS[] = {
      {1.5, 0},
      {0.0, 1},
      {-0.0, 1},  // equal, although its bits differ
      {1.5, 0},
      {std::nextafter(1.5, 2), 2},
      {std::numeric_limits<double>::infinity(), 3},
      {std::numeric_limits<double>::infinity(), 3},
      {none, 4},
      {none, 5},  // equals nothing, not even itself
      {1.5, 0},
  };
  for (const Row& row : ROWS) EXPECT_EQ(add(row.real), row.index) << row.real;
  EXPECT_EQ(table_.count(), 6U);
  EXPECT_FALSE(std::signbit(table_[1].real)) << "the first one is kept";
}

TEST_F(Constants, EqualTextsShareAnEntry) {
  using std::string_view_literals::operator""sv;
  EXPECT_EQ(add(""sv), 0U);
  EXPECT_EQ(add("a"sv), 1U);
  EXPECT_EQ(add("A"sv), 2U);
  EXPECT_EQ(add("a\0b"sv), 3U);
  EXPECT_EQ(add("a\0c"sv), 4U);
  EXPECT_EQ(add("a\0b"sv), 3U);
  EXPECT_EQ(add("a"sv), 1U);
  EXPECT_EQ(add(0.0), 5U) << "never equal to the empty text";
  EXPECT_EQ(table_[3].type, McValueType::STRING);
  EXPECT_EQ(std::string_view(table_[3].text, table_[3].length), "a\0b"sv);
  EXPECT_STREQ(table_[1].text, "a");
}

TEST_F(Constants, TextsAreCopied) {
  std::string text = "here";
  add(text);
  text[0] = 'w';
  EXPECT_STREQ(table_[0].text, "here");
}

TEST_F(Constants, AppendedEntriesAreFound) {
  add(1.0);
  for (const double real : {2.0, 1.0, 3.0}) {
    McConstant constant = {};
    constant.type = McValueType::REAL;
    constant.real = real;
    EXPECT_EQ(table_.append(constant), RC_OK);
  }
  EXPECT_EQ(table_.count(), 4U);  // as they stand in the file
  EXPECT_EQ(add(1.0), 0U);
  EXPECT_EQ(add(3.0), 3U);
  EXPECT_EQ(add(4.0), 4U);
  table_.clear();
  EXPECT_EQ(add(4.0), 0U);
}

TEST_F(Constants, Many) {
  constexpr uint32_t COUNT = 100000;
  for (int round = 0; round < 2; ++round) {
    for (uint32_t i = 0; i < COUNT; ++i) {
      ASSERT_EQ(add(i / 8.0), i * 2);
      ASSERT_EQ(add("text " + std::to_string(i)), i * 2 + 1);
    }
  }
  EXPECT_EQ(table_.count(), 2 * COUNT);
}

// Each request fails once; the same constants come out in the end.
TEST_F(Constants, WithoutMemory) {
  for (uint32_t i = 0; i < 500; ++i) {
    const std::string text(i, 'x');
    for (uint64_t nth = 1;; ++nth) {
      uint32_t index = 0;
      UtFailAllocation(nth);
      const int code = table_.add_string(&arena_, text.c_str(), i, &index);
      const bool struck = UtPendingFault() == 0;
      UtFailAllocation(0);
      ASSERT_EQ(code, struck ? RC_NO_MEMORY : RC_OK);
      if (!struck) {
        ASSERT_EQ(index, i);
        break;
      }
      ASSERT_EQ(table_.count(), i);
    }
  }
}

TEST(Value, StringsOwnTheirText) {
  std::string text = "text";
  McValue value;
  ASSERT_EQ(McValueString(&value, text.c_str()), RC_OK);
  text[0] = 'n';
  EXPECT_EQ(value.type, McValueType::STRING);
  EXPECT_STREQ(UtTextChars(&value.text), "text");
  McValueRelease(&value);
  EXPECT_EQ(value.type, McValueType::VOID);
  McValueRelease(&value);  // nothing is owned any more

  UtFailAllocation(1);
  EXPECT_EQ(McValueString(&value, "text"), RC_NO_MEMORY);
  UtFailAllocation(0);
  EXPECT_EQ(value.type, McValueType::VOID);
}

}  // namespace
