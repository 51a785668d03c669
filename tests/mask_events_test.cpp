#include "elut/model/mask_events.h"

#include <sstream>

#include "mask_support.h"

namespace {

TEST(MaskEvents, KeyNames) {
  std::istringstream keys(
      "INSC 258 DELC 259 INSL 260 DELL 261 CLE 262 CLL 263 BS 264 CLS 265 "
      "RETURN 266 EXEC 269 CUL 270 CUR 271 CUUP 278 CUDN 279 PGUP 280 PGDN 281 "
      "ESC 283 PF1 289 PF2 290 PF3 291 PF4 292 PF5 293 PF6 294 PF7 295 PF8 296 "
      "PF9 297 PF10 298 PF11 299 PF12 300 SF1 301 SF2 302 SF3 303 SF4 304 "
      "SF5 305 SF6 306 SF7 307 SF8 308 SF9 309 SF10 310 SF11 311 SF12 312 "
      "RECALL 328 SHIFT-RECALL 329 "
      // No key names: the first character counts.
      "x 120 XYZ 88 pf1 112 PF 80 PF13 80 ZZZ 90 \xC4 196");
  std::string name;
  for (uint32_t code; keys >> name >> code;)
    EXPECT_EQ(code, McKeyLookup(name.c_str())) << name;
  EXPECT_EQ(0u, McKeyLookup(""));
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

}  // namespace
