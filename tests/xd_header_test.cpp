#include "util/xd_header.h"

#include "Cutil/codes.h"
#include "tests/file_tree.h"
#include "tests/xd_support.h"

namespace {

class Header : public FileTree {
 protected:
  // Opens "f" for a program file and closes it again.
  static int open_for_reading() {
    FILE* file = nullptr;
    XdStream xd;
    XdHeader header;
    const int code = XdOpenForReading("f", XD_KIND_PROGRAM, XD_KIND_MODULE,
                                      &file, &xd, &header);
    if (file == nullptr) return code;
    uint8_t first = 0;  // the body begins right behind the header
    EXPECT_TRUE(XdUChar(&xd, &first) && first == 0x5A);
    fclose(file);
    return code;
  }
};

constexpr std::pair<const char*, int> READS[] = {
    {"EE EE 01 11 00 20 04 00 5A", RC_OK},
    {"EE EE 02 11 00 20 01 00 00 00 00 5A", RC_OK},
    {"EE EE 01 11 09 41 04 00 5A", RC_OK},            // any sub-version
    {"EE EE 03 11 00 20 04 00 5A", RC_HEADER_MAGIC},  // masks
    {"EE EE 01 11 0A 20 04 00 5A", RC_HEADER_VERSION},
    {"EE EE 01 10 00 20 04 00 5A", RC_HEADER_VERSION},
    {"EE EE 01 12 00 20 04 00 5A", RC_HEADER_VERSION},
    {"EE EE 01 11 00 20 00 00 5A", RC_INVALID},
    {"", RC_HEADER_MAGIC},
    {"EE EE 01 11 00 20 04", RC_HEADER_MAGIC},
    {"EF EE 01 11 00 20 04 00 5A", RC_HEADER_MAGIC},
};

TEST_F(Header, IsReadAndJudged) {
  for (const auto& [bytes, code] : READS) {
    write("f", FromHex(bytes));
    EXPECT_EQ(open_for_reading(), code) << bytes;
  }
  std::filesystem::remove("f");
  make_pipe("f");  // nobody writes into it
  EXPECT_EQ(open_for_reading(), RC_CANNOT_CREATE);
}

TEST_F(Header, IsWritten) {
  FILE* file = nullptr;
  XdStream xd;
  const auto open = [&](const char* path, int transport) {
    return XdOpenForWriting(path, XD_KIND_MASK, transport, &file, &xd);
  };
  for (const int transport : {0, 2, 260})  // 4 in the lowest byte
    EXPECT_EQ(open("f", transport), RC_INVALID);
  EXPECT_EQ(open("none/such", 4), RC_CANNOT_CREATE);
  EXPECT_EQ(open("/dev/full", 4), RC_HEADER_WRITE);
  ASSERT_EQ(open("f", 4), RC_OK);
  EXPECT_EQ(XdCloseWritten(file, &xd, false), RC_BODY_FAILED);
  std::ifstream written("f", std::ios::binary);
  EXPECT_EQ(ToHex(std::string(std::istreambuf_iterator<char>(written), {})),
            "EE EE 03 11 00 20 04 00");
}

}  // namespace
