#include "util/xd_header.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Cutil/codes.h"
#include "tests/xd_support.h"

namespace {

// A named file that the test removes again.
class Header : public testing::Test {
 protected:
  Header() : path_(testing::TempDir() + "xd_" + std::to_string(getpid())) {}
  ~Header() override { unlink(path_.c_str()); }

  void make_file(std::string_view hex) {
    const std::string bytes = FromHex(hex);
    FILE* file = fopen(path_.c_str(), "wb");
    fwrite(bytes.data(), 1, bytes.size(), file);
    fclose(file);
  }

  std::string bytes_of_file() {
    std::string bytes(100, '\0');
    FILE* file = fopen(path_.c_str(), "rb");
    bytes.resize(fread(bytes.data(), 1, bytes.size(), file));
    fclose(file);
    return ToHex(bytes);
  }

  // Opens the path for a program file and closes it again.
  int open_for_reading() {
    FILE* file = nullptr;
    XdStream xd;
    XdHeader header;
    const int code = XdOpenForReading(path_.c_str(), XD_KIND_PROGRAM,
                                      XD_KIND_MODULE, &file, &xd, &header);
    EXPECT_EQ(file != nullptr, code == RC_OK);
    if (file == nullptr) return code;
    uint8_t first = 0;
    EXPECT_TRUE(XdUChar(&xd, &first));
    EXPECT_EQ(first, 0x5A) << "the body begins right behind the header";
    EXPECT_TRUE(xd.maVers == header.maVers && xd.miVers == header.miVers);
    fclose(file);
    return code;
  }

  std::string path_;
};

struct ReadCase {
  std::string_view bytes;
  int code;
};

TEST_F(Header, IsRead) {
  constexpr ReadCase CASES[] = {
      {"EE EE 02 11 00 20 04 00", RC_OK},
      {"EE EE FF FF FF FF FF FF", RC_OK},  // the caller judges the values
      {"", RC_HEADER_READ},
      {"EE", RC_HEADER_READ},
      {"EE EE", RC_HEADER_READ},
      {"EE EE 02 11 00 20 04", RC_HEADER_READ},
      {"EE EF", RC_HEADER_MAGIC},
      {"EF EE 02 11 00 20 04 00", RC_HEADER_MAGIC},
  };
  for (const ReadCase& row : CASES) {
    SCOPED_TRACE(row.bytes);
    make_file(row.bytes);
    FILE* file = fopen(path_.c_str(), "rb");
    XdHeader header;
    EXPECT_EQ(XdReadHeader(file, &header), row.code);
    EXPECT_TRUE(row.code != RC_HEADER_MAGIC || ftell(file) == 2);
    fclose(file);
  }
}

TEST_F(Header, IsJudged) {
  constexpr ReadCase CASES[] = {
      {"EE EE 01 11 00 20 04 00 5A", RC_OK},
      {"EE EE 02 11 00 20 01 00 00 00 00 5A", RC_OK},
      {"EE EE 03 11 00 20 04 00 5A", RC_HEADER_MAGIC},  // masks
      {"EE EE 01 11 00 20 04", RC_HEADER_MAGIC},
      {"4D 5A 01 11 00 20 04 00 5A", RC_HEADER_MAGIC},
      {"EE EE 01 11 09 20 04 00 5A", RC_OK},
      {"EE EE 01 11 0A 20 04 00 5A", RC_HEADER_VERSION},
      {"EE EE 01 10 00 20 04 00 5A", RC_HEADER_VERSION},
      {"EE EE 01 12 00 20 04 00 5A", RC_HEADER_VERSION},
      {"EE EE 01 11 00 41 04 00 5A", RC_OK},  // any sub-version
      {"EE EE 01 11 00 20 00 00 5A", RC_INVALID},
      {"EE EE 01 11 00 20 02 00 5A", RC_INVALID},
      {"EE EE 01 11 00 20 05 00 5A", RC_INVALID},
  };
  for (const ReadCase& row : CASES) {
    SCOPED_TRACE(row.bytes);
    make_file(row.bytes);
    EXPECT_EQ(open_for_reading(), row.code);
  }
}

TEST_F(Header, OnlyRegularFilesAreOpened) {
  EXPECT_EQ(open_for_reading(), RC_CANNOT_CREATE);  // there is none
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);        // nobody writes into it
  EXPECT_EQ(open_for_reading(), RC_CANNOT_CREATE);
  unlink(path_.c_str());
  ASSERT_EQ(mkdir(path_.c_str(), 0700), 0);
  EXPECT_EQ(open_for_reading(), RC_CANNOT_CREATE);
  rmdir(path_.c_str());
}

TEST_F(Header, IsWritten) {
  struct WriteCase {
    XdFileKind kind;
    int transport;
    std::string_view bytes;
  };
  constexpr WriteCase CASES[] = {
      {XD_KIND_PROGRAM, 1, "EE EE 01 11 00 20 01 00 00 00 00 5A"},
      {XD_KIND_MASK, 4, "EE EE 03 11 00 20 04 00 5A"},
  };
  for (const WriteCase& row : CASES) {
    FILE* file = nullptr;
    XdStream xd;
    ASSERT_EQ(
        XdOpenForWriting(path_.c_str(), row.kind, row.transport, &file, &xd),
        RC_OK);
    uint8_t byte = 0x5A;
    const bool body = XdUChar(&xd, &byte);
    EXPECT_EQ(XdCloseWritten(file, &xd, body), RC_OK);
    EXPECT_EQ(bytes_of_file(), row.bytes);
  }
}

TEST_F(Header, WritingFails) {
  struct FailCase {
    std::string path;
    int transport;
    int code;
  };
  const FailCase CASES[] = {
      {path_ + "/none/such", 4, RC_CANNOT_CREATE},
      {testing::TempDir(), 4, RC_CANNOT_CREATE},
      {path_, 0, RC_INVALID},
      {path_, 2, RC_INVALID},
      {path_, 260, RC_INVALID},  // 4 in the lowest byte
      {"/dev/full", 4, RC_HEADER_WRITE},
  };
  for (const FailCase& row : CASES) {
    SCOPED_TRACE(row.path);
    FILE* file = nullptr;
    XdStream xd;
    EXPECT_EQ(XdOpenForWriting(row.path.c_str(), XD_KIND_MASK, row.transport,
                               &file, &xd),
              row.code);
    EXPECT_EQ(file, nullptr);
  }
  EXPECT_EQ(bytes_of_file(), "");
}

TEST_F(Header, FailedBodyShowsWhenClosed) {
  for (const bool body : {true, false}) {
    const char* path = body ? "/dev/full" : path_.c_str();
    FILE* file = fopen(path, "wb");
    ASSERT_NE(file, nullptr);
    XdStream xd;
    XdCreatePlain(&xd, file, XD_ENCODE);
    uint8_t byte = 0;
    EXPECT_TRUE(XdUChar(&xd, &byte));
    EXPECT_EQ(XdCloseWritten(file, &xd, body), RC_BODY_FAILED);
  }
}

}  // namespace
