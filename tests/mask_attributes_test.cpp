#include "elut/model/mask_attributes.h"

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

TEST(MaskAttributes, Adds) {
  AttributeNamesReset();
  UtArena arena;
  AttributeList list;
  AttributeListInit(&list, &arena);
  for (const auto& [name, integer, text, code, entry] : ADDS) {
    EXPECT_EQ(code, text == nullptr ? AttributeListAdd(&list, name, integer)
                                    : AttributeListAdd(&list, name, text))
        << entry;
    EXPECT_EQ(entry, Line(list.entries[list.count - 1]));
  }
}

}  // namespace
