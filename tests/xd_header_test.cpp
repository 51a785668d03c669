#include "util/xd_header.h"

#include <gtest/gtest.h>

#include "xd_support.h"

namespace {

constexpr std::pair<const char*, int> READS[] = {
    {"EE EE 01 11 00 20 04 00 5A", 0},
    {"EE EE 02 11 00 20 01 00 00 00 00 5A", 0},
    {"EE EE 01 11 09 41 04 00 5A", 0},     // any sub-version
    {"EE EE 03 11 00 20 04 00 5A", 6197},  // masks
    {"EE EE 01 11 0A 20 04 00 5A", 6194},
    {"EE EE 01 10 00 20 04 00 5A", 6194},
    {"EE EE 01 12 00 20 04 00 5A", 6194},
    {"EE EE 01 11 00 20 00 00 5A", 3011},
    {"EE EE 01 11 00 20 05 00 5A", 3011},
    {"", 6197},
    {"EE EE 01 11 00 20 04", 6197},
    {"EF EE 01 11 00 20 04 00 5A", 6197},
    {"EE EF 01 11 00 20 04 00 5A", 6197},
};

TEST(Header, IsReadAndJudged) {
  for (const auto& [hex, code] : READS) {
    const std::string bytes = FromHex(hex);
    XdStream xd;
    XdHeader header;
    EXPECT_EQ(
        XdOpenForReading(bytes, XD_KIND_PROGRAM, XD_KIND_MODULE, &xd, &header),
        code)
        << hex;
    uint8_t first = 0;  // the body begins right behind the header
    EXPECT_EQ(code == 0, XdUChar(&xd, &first) && first == 0x5A);
    const char version[] = {char(xd.maVers), char(xd.miVers),
                            char(xd.Sub_vers)};
    EXPECT_EQ(code == 0 ? bytes.substr(3, 3) : std::string(3, '\0'),
              std::string(version, 3));
  }
  XdHeader header;
  EXPECT_EQ(XdReadHeader("\xEE", &header), 6199);
  EXPECT_EQ(XdReadHeader("\xEE\xEE\x01\x11\x00\x20\x04", &header), 6199);
  EXPECT_EQ(XdReadHeader("\xEE\x01", &header), 6197);
  EXPECT_EQ(XdReadHeader(FromHex("EE EE 09 08 07 06 05 04"), &header), 0);
  EXPECT_EQ(ToHex({reinterpret_cast<char*>(&header), sizeof header}),
            "09 08 07 06 05");
}

}  // namespace
