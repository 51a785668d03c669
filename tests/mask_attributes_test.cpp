#include "elut/mask_attributes.h"

#include <gtest/gtest.h>

#include <string>

#include "Cutil/codes.h"

namespace {

// One add after the other to one list; a row with `text` adds a text.
struct AddCase {
  const char* name;
  int32_t integer;
  const char* text;
  int code;
  const char* entry;  // the entry that is the last one then
};
constexpr AddCase ADDS[] = {
    {"width", 10, nullptr, RC_OK, "0 width 1 10"},
    {"text", 0, "Ok", RC_OK, "1 text 5 Ok"},
    {"width", -1, nullptr, RC_OK, "0 width 1 -1"},
    {"text", 0, "", RC_OK, "1 text 4 none"},
    // The first use of a name fixes its type; the entry is made all the same.
    {"width", 0, "wide", RC_INVALID, "0 width 1 0"},
    {"text", 7, nullptr, RC_INVALID, "1 text 4 none"},
    {"help", 0, "", RC_OK, "2 help 4 none"},  // also when that text was empty
    {"help", 0, "x", RC_OK, "2 help 5 x"},
    {"", 3, nullptr, RC_OK, "3  1 3"},
};

std::string Line(const Attribute& entry) {
  const bool is_integer = entry.type == AttributeType::INTEGER;
  const char* text = is_integer || entry.text == nullptr ? "none" : entry.text;
  return std::to_string(entry.name) + " " + AttributeName(entry.name) + " " +
         std::to_string(static_cast<int>(entry.type)) + " " +
         (is_integer ? std::to_string(entry.integer) : text);
}

class MaskAttributes : public testing::Test {
 protected:
  MaskAttributes() {
    AttributeNamesReset();
    AttributeListInit(&list, &arena);
  }
  UtArena arena;
  AttributeList list;
};

TEST_F(MaskAttributes, Adds) {
  for (const auto& [name, integer, text, code, entry] : ADDS) {
    EXPECT_EQ(code, text == nullptr ? AttributeListAdd(&list, name, integer)
                                    : AttributeListAdd(&list, name, text))
        << entry;
    EXPECT_EQ(entry, Line(list.entries[list.count - 1]));
  }
  EXPECT_EQ(std::size(ADDS), list.count);
}

TEST_F(MaskAttributes, AFullListRefusesTheNextAndChangesNothing) {
  for (int i = 0; i < 65504; i++)
    ASSERT_EQ(RC_OK, AttributeListAdd(&list, "n", i));
  EXPECT_EQ(RC_INVALID, AttributeListAdd(&list, "new", "x"));
  EXPECT_EQ(65504, list.count);
  for (int i = 0; i < 65504; i++) ASSERT_EQ(i, list.entries[i].integer);
  // "new" was not registered: it may still become an integer's name.
  AttributeListInit(&list, &arena);
  EXPECT_EQ(RC_OK, AttributeListAdd(&list, "new", 1));
}

TEST_F(MaskAttributes, TheRunHas65536Names) {
  for (int i = 0; i < 65536; i++) {
    if (i % 60000 == 0) AttributeListInit(&list, &arena);
    const std::string name = "n" + std::to_string(i);
    ASSERT_EQ(RC_OK, AttributeListAdd(&list, name.c_str(), 1));
  }
  const uint16_t count = list.count;
  EXPECT_EQ(RC_INVALID, AttributeListAdd(&list, "n65536", 1));
  EXPECT_EQ(count, list.count);
  EXPECT_EQ(RC_OK, AttributeListAdd(&list, "n65535", 2));
  EXPECT_EQ("65535 n65535 1 2", Line(list.entries[count]));
}

}  // namespace
