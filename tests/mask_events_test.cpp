#include "elut/mask_events.h"

#include "mask_support.h"

namespace {

struct KeyCase {
  const char* text;
  uint32_t code;
};
constexpr KeyCase KEYS[] = {
    {"INSC", 258},
    {"DELC", 259},
    {"INSL", 260},
    {"DELL", 261},
    {"CLE", 262},
    {"CLL", 263},
    {"BS", 264},
    {"CLS", 265},
    {"CUL", 270},
    {"CUR", 271},
    {"RETURN", 266},
    {"EXEC", 269},
    {"CUUP", 278},
    {"CUDN", 279},
    {"RECALL", 328},
    {"SHIFT-RECALL", 329},
    {"PGUP", 280},
    {"PGDN", 281},
    {"ESC", 283},
    {"PF1", 289},
    {"PF2", 290},
    {"PF3", 291},
    {"PF4", 292},
    {"PF5", 293},
    {"PF6", 294},
    {"PF7", 295},
    {"PF8", 296},
    {"PF9", 297},
    {"PF10", 298},
    {"PF11", 299},
    {"PF12", 300},
    {"SF1", 301},
    {"SF2", 302},
    {"SF3", 303},
    {"SF4", 304},
    {"SF5", 305},
    {"SF6", 306},
    {"SF7", 307},
    {"SF8", 308},
    {"SF9", 309},
    {"SF10", 310},
    {"SF11", 311},
    {"SF12", 312},
    // No key names: the first character counts.
    {"x", 120},
    {"XYZ", 88},
    {"pf1", 112},
    {"PF", 80},
    {"PF13", 80},
    {"ZZZ", 90},
    {"\xC4", 0xC4},
    {"", 0},
};

TEST(MaskEvents, KeyNames) {
  for (const KeyCase& row : KEYS)
    EXPECT_EQ(row.code, McKeyLookup(row.text)) << row.text;
}

struct JoinCase {
  EventSpec left, right;
  uint32_t mask, key;
};
const JoinCase JOINS[] = {
    {MaskEvent(EVENT_ENTER), MaskKeyEvent(13), 0x9, 13},
    {MaskKeyEvent(13), MaskEvent(EVENT_ENTER), 0x9, 13},
    {MaskKeyEvent(13), MaskKeyEvent(27), 0x8, 27},
    {MaskJoinEvents(MaskKeyEvent(13), MaskEvent(EVENT_ENTER)), MaskKeyEvent(27),
     0x9, 27},
    {MaskEvent(EVENT_BUTTON), MaskEvent(EVENT_MODIFY), 0x100080, 1},
    {MaskEvent(EVENT_MODIFY), MaskEvent(EVENT_BUTTON), 0x100080, 0},
    {MaskEvent(EVENT_BUTTON), MaskKeyEvent(0), 0x88, 0},
};

TEST(MaskEvents, JoinedEvents) {
  for (const JoinCase& row : JOINS) {
    const EventSpec joined = MaskJoinEvents(row.left, row.right);
    EXPECT_EQ(row.mask, joined.mask);
    EXPECT_EQ(row.key, joined.key) << std::hex << row.mask;
  }
}

TEST(MaskEvents, HandlersOfBothKinds) {
  AttributeNamesReset();
  EditorList list;
  MaskObject* object = NewObject(&list, MaskObjectType::BUTTON, "b");
  AttributeList* attributes = NewHandler(object, MaskEvent(EVENT_BUTTON));
  EXPECT_EQ(0, attributes->count);
  EXPECT_EQ(RC_OK, AttributeListAdd(attributes, "action", "show"));
  McProgram* program;
  EXPECT_EQ(RC_OK, MaskAddProgramHandler(object, MaskKeyEvent(266), &program));
  NewHandler(object, MaskEvent(EVENT_SHOW));  // the table has to move

  ASSERT_EQ(3, object->handlers.count);
  const EventHandler* handlers = object->handlers.entries;
  EXPECT_EQ(HandlerKind::ATTRIBUTES, handlers[0].kind);
  EXPECT_EQ(0x80u, handlers[0].event.mask);
  EXPECT_EQ(1u, handlers[0].event.key);
  EXPECT_STREQ("show", handlers[0].attributes.entries[0].text);
  EXPECT_EQ(HandlerKind::PROGRAM, handlers[1].kind);
  EXPECT_EQ(266u, handlers[1].event.key);
  EXPECT_EQ(program, handlers[1].program);
}

TEST(MaskEvents, AFullTableRefusesTheNext) {
  EditorList list;
  MaskObject* object = NewObject(&list, MaskObjectType::BUTTON, "b");
  for (uint32_t i = 0; i < 65528; i++) NewHandler(object, MaskKeyEvent(i));
  AttributeList* attributes;
  McProgram* program;
  EXPECT_EQ(RC_INVALID,
            MaskAddAttributeHandler(object, MaskKeyEvent(1), &attributes));
  EXPECT_EQ(RC_INVALID,
            MaskAddProgramHandler(object, MaskKeyEvent(1), &program));
  EXPECT_EQ(65528, object->handlers.count);
  EXPECT_EQ(65527u, object->handlers.entries[65527].event.key);
}

}  // namespace
