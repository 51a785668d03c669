#include "elut/model/mask_events.h"

#include <gtest/gtest.h>

#include <sstream>

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

}  // namespace
