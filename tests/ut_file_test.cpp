// Reading; how outputs are written is among the cases.
#include "Cutil/ut_file.h"

#include "file_tree.h"

namespace {

using UtFile = FileTree;

TEST_F(UtFile, ReadsRegularFilesOnly) {
  UtString text;
  // A file whose size the system states as 0.
  EXPECT_EQ(0, UtReadWhole("/proc/self/maps", UT_LARGEST_FILE, &text));
  EXPECT_LT(1000u, text.size());

  make_pipe("pipe");
  write("ten", "0123456789");
  EXPECT_EQ(0, UtReadWhole("ten", 11, &text));
  EXPECT_EQ("0123456789", text);
  EXPECT_EQ(1006, UtReadWhole("ten", 10, &text));
  write("sparse", "");
  std::filesystem::resize_file("sparse", uintmax_t{1} << 30);
  for (const char* path :
       {"pipe", ".", "missing", "sparse", "/dev/zero", "", "/proc/self/mem"}) {
    EXPECT_EQ(1006, UtReadWhole(path, UT_LARGEST_FILE, &text)) << path;
    EXPECT_EQ(0u, text.size()) << path;
  }
}

// The new file beside its target is gone when nobody commits it.
TEST_F(UtFile, AbandonedOutput) {
  write("a", "old");
  {
    UtOutputFile file;
    ASSERT_EQ(0, file.open("a"));
    EXPECT_TRUE(file.write("new", 3));
    EXPECT_EQ(3u, file.written());
    EXPECT_EQ("old", ReadWhole("a"));
  }
  EXPECT_EQ("old", ReadWhole("a"));
  EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator("."), {}));
}

}  // namespace
