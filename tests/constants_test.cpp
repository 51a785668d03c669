#include "elut/model/constants.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using std::string_view_literals::operator""sv;

class Constants : public testing::Test {
 protected:
  uint32_t add(double real) {
    uint32_t index = 99;
    EXPECT_EQ(table_.add_real(real, &index), RC_OK);
    return index;
  }
  uint32_t add(std::string_view text) {
    uint32_t index = 99;
    const auto length = static_cast<uint32_t>(text.size());
    EXPECT_EQ(table_.add_string(&arena_, text.data(), length, &index), RC_OK);
    return index;
  }

  UtArena arena_;
  McConstants table_;
};

TEST_F(Constants, EqualOnesShareAnEntry) {
  constexpr std::pair<double, uint32_t> REALS[] = {
      {1.5, 0},
      {0.0, 1},
      {-0.0, 1},  // equal, although its bits differ
      {1.5000000000000002, 2},
      {INFINITY, 3},
      {NAN, 4},
      {NAN, 5},  // equals nothing, not even itself
      {1.5, 0},
  };
  for (const auto& [real, index] : REALS) EXPECT_EQ(add(real), index) << real;
  EXPECT_FALSE(std::signbit(table_[1].real)) << "the first one is kept";
  constexpr std::pair<std::string_view, uint32_t> TEXTS[] = {
      {""sv, 6},      {"a"sv, 7},    {"A"sv, 8}, {"a\0b"sv, 9},
      {"a\0c"sv, 10}, {"a\0b"sv, 9}, {"a"sv, 7}, {""sv, 6}};
  for (const auto& [text, index] : TEXTS)
    EXPECT_EQ(add(std::string(text)), index) << text;  // it is copied
  EXPECT_EQ(std::string_view(table_[9].text, table_[9].length), "a\0b"sv);
}

}  // namespace
