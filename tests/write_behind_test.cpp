// Writing behind, and the streams that do it from some megabytes on.
#include "Cutil/ut_write_behind.h"

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "Cutil/codes.h"
#include "file_tree.h"
#include "util/xd_header.h"

namespace {

using WriteBehind = FileTree;

// Two buffers in turn, as a stream uses them. The thread is met awake, asleep
// and about to fall asleep.
TEST_F(WriteBehind, KeepsTheOrder) {
  std::string expected;
  {
    UtOutputFile file;
    ASSERT_EQ(0, file.open("a"));
    UtWriteBehind behind(&file);
    std::string buffers[2];
    for (size_t i = 0; i < 400; i++) {
      std::string& buffer = buffers[i % 2];
      buffer.assign(1 + i * 37 % 5000, static_cast<char>('a' + i % 26));
      expected += buffer;
      ASSERT_TRUE(behind.write(buffer.data(), buffer.size()));
      if (i % 50 == 0) usleep(2000);
      if (i % 70 == 0) {
        EXPECT_TRUE(behind.finish());
      }
    }
    EXPECT_TRUE(behind.finish());
    EXPECT_EQ(expected.size(), file.written());
    EXPECT_TRUE(file.commit());
  }
  EXPECT_EQ(expected, ReadWhole("a"));
}

TEST_F(WriteBehind, TellsOfFailures) {
  UtOutputFile file;
  ASSERT_EQ(0, file.open("/dev/full"));
  UtWriteBehind behind(&file);
  const std::string text(1000, 'x');
  EXPECT_TRUE(behind.write(text.data(), text.size()));
  EXPECT_FALSE(behind.write(text.data(), text.size()));
  EXPECT_FALSE(behind.finish());
}

constexpr uint32_t WORDS = 1'000'000;

bool WriteWords(XdStream* xd, void*) {
  for (uint32_t i = 0; i < WORDS; i++)
    if (!XdULong(xd, &i)) return false;
  return true;
}

TEST_F(WriteBehind, OfLargeFiles) {
  const auto write_words = [](XdPart part) {
    return XdWriteFile("a", XD_KIND_PROGRAM, XD_TRANSPORT_PLAIN, part,
                       WriteWords, nullptr);
  };
  ASSERT_EQ(0, write_words(XdPart::DROPPED));
  const std::string whole = ReadWhole("a").value();
  ASSERT_EQ(XD_HEADER_BYTES + 4 * WORDS, whole.size());
  for (uint32_t i = 0; i < WORDS; i++) {
    uint32_t word;
    memcpy(&word, &whole[XD_HEADER_BYTES + 4 * size_t{i}], 4);
    ASSERT_EQ(i, __builtin_bswap32(word));
  }

  // A limit in the part that is written behind.
  signal(SIGXFSZ, SIG_IGN);
  rlimit old;
  getrlimit(RLIMIT_FSIZE, &old);
  rlimit limit = {3'000'001, old.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  write("a", "old");
  EXPECT_EQ(RC_BODY_FAILED, write_words(XdPart::DROPPED));
  EXPECT_EQ("old", ReadWhole("a"));
  EXPECT_EQ(RC_BODY_FAILED, write_words(XdPart::KEPT));
  EXPECT_EQ(whole.substr(0, 3'000'001), ReadWhole("a"));
  setrlimit(RLIMIT_FSIZE, &old);
}

}  // namespace
