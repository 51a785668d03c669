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
    EXPECT_EQ(file != nullptr, code == RC_OK);
    if (file == nullptr) return code;
    uint8_t first = 0;
    EXPECT_TRUE(XdUChar(&xd, &first));
    EXPECT_EQ(first, 0x5A) << "the body begins right behind the header";
    EXPECT_TRUE(xd.maVers == header.maVers && xd.miVers == header.miVers);
    fclose(file);
    return code;
  }
};

struct ReadCase {
  const char* bytes;
  int code;    // of reading the header alone
  int judged;  // of opening the file
};
constexpr ReadCase READS[] = {
    {"EE EE 01 11 00 20 04 00 5A", RC_OK, RC_OK},
    {"EE EE 02 11 00 20 01 00 00 00 00 5A", RC_OK, RC_OK},
    {"EE EE 01 11 09 41 04 00 5A", RC_OK, RC_OK},            // any sub-version
    {"EE EE 03 11 00 20 04 00 5A", RC_OK, RC_HEADER_MAGIC},  // masks
    {"EE EE 01 11 0A 20 04 00 5A", RC_OK, RC_HEADER_VERSION},
    {"EE EE 01 10 00 20 04 00 5A", RC_OK, RC_HEADER_VERSION},
    {"EE EE 01 12 00 20 04 00 5A", RC_OK, RC_HEADER_VERSION},
    {"EE EE 01 11 00 20 00 00 5A", RC_OK, RC_INVALID},
    {"EE EE 01 11 00 20 02 00 5A", RC_OK, RC_INVALID},
    {"EE EE 01 11 00 20 05 00 5A", RC_OK, RC_INVALID},
    {"", RC_HEADER_READ, RC_HEADER_MAGIC},
    {"EE", RC_HEADER_READ, RC_HEADER_MAGIC},
    {"EE EE", RC_HEADER_READ, RC_HEADER_MAGIC},
    {"EE EE 01 11 00 20 04", RC_HEADER_READ, RC_HEADER_MAGIC},
    {"EE EF", RC_HEADER_MAGIC, RC_HEADER_MAGIC},
    {"EF EE 01 11 00 20 04 00 5A", RC_HEADER_MAGIC, RC_HEADER_MAGIC},
};

TEST_F(Header, IsReadAndJudged) {
  for (const ReadCase& row : READS) {
    write("f", FromHex(row.bytes));
    FILE* file = fopen("f", "rb");
    XdHeader header;
    EXPECT_EQ(XdReadHeader(file, &header), row.code) << row.bytes;
    EXPECT_TRUE(row.code != RC_HEADER_MAGIC || ftell(file) == 2) << row.bytes;
    fclose(file);
    EXPECT_EQ(open_for_reading(), row.judged) << row.bytes;
  }
}

TEST_F(Header, OnlyRegularFilesAreOpened) {
  EXPECT_EQ(open_for_reading(), RC_CANNOT_CREATE);  // there is none
  make_pipe("f");                                   // nobody writes into it
  EXPECT_EQ(open_for_reading(), RC_CANNOT_CREATE);
  std::filesystem::remove("f");
  std::filesystem::create_directory("f");
  EXPECT_EQ(open_for_reading(), RC_CANNOT_CREATE);
}

struct WriteCase {
  const char* path;
  XdFileKind kind;
  int transport;
  bool body;  // whether it succeeds
  int opened, closed;
  const char* bytes;
};
constexpr WriteCase WRITES[] = {
    {"f", XD_KIND_PROGRAM, 1, true, RC_OK, RC_OK,
     "EE EE 01 11 00 20 01 00 00 00 00 5A"},
    {"f", XD_KIND_MASK, 4, true, RC_OK, RC_OK, "EE EE 03 11 00 20 04 00 5A"},
    {"f", XD_KIND_MASK, 4, false, RC_OK, RC_BODY_FAILED,
     "EE EE 03 11 00 20 04 00 5A"},
    {"none/such", XD_KIND_MASK, 4, true, RC_CANNOT_CREATE, 0, ""},
    {".", XD_KIND_MASK, 4, true, RC_CANNOT_CREATE, 0, ""},
    {"f", XD_KIND_MASK, 0, true, RC_INVALID, 0, ""},
    {"f", XD_KIND_MASK, 2, true, RC_INVALID, 0, ""},
    {"f", XD_KIND_MASK, 260, true, RC_INVALID, 0, ""},  // 4 in the lowest byte
    {"/dev/full", XD_KIND_MASK, 4, true, RC_HEADER_WRITE, 0, ""},
};

TEST_F(Header, IsWritten) {
  for (const WriteCase& row : WRITES) {
    SCOPED_TRACE(row.path + std::to_string(row.transport));
    write("f", "");
    FILE* file = nullptr;
    XdStream xd;
    EXPECT_EQ(XdOpenForWriting(row.path, row.kind, row.transport, &file, &xd),
              row.opened);
    ASSERT_EQ(file != nullptr, row.opened == RC_OK);
    uint8_t byte = 0x5A;
    if (file != nullptr) {
      const bool body = XdUChar(&xd, &byte) && row.body;
      EXPECT_EQ(XdCloseWritten(file, &xd, body), row.closed);
    }
    std::ifstream written("f", std::ios::binary);
    EXPECT_EQ(ToHex(std::string(std::istreambuf_iterator<char>(written), {})),
              row.bytes);
  }
  FILE* file = fopen("/dev/full", "wb");
  XdStream xd;
  XdCreatePlain(&xd, file, XD_ENCODE);
  uint8_t byte = 0;
  EXPECT_TRUE(XdUChar(&xd, &byte));
  EXPECT_EQ(XdCloseWritten(file, &xd, true), RC_BODY_FAILED);
}

}  // namespace
