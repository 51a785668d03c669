#include "services/environment.h"

#include "tests/file_tree.h"

namespace {

using Environment = FileTree;

struct JoinCase {
  const char *head, *tail, *joined;  // "*": the current directory
};
constexpr JoinCase JOINS[] = {
    {"a", "b", "a/b"},       {"a\\", "b", "a\\b"},    {"", "b", "/b"},
    {"a", "", "a/"},         {"a", "/b", "/b"},       {"a", "\\b", "\\b"},
    {"a", "c:/b", "c:/b"},   {"a", "C:\\b", "C:\\b"}, {"a", "c:b", "a/c:b"},
    {"a", "1:/b", "a/1:/b"}, {"a", "./b", "*/b"},     {"a", ".\\b", "*\\b"},
    {"a", ".b", "a/.b"},     {"a", "../b", "a/../b"},
};

TEST_F(Environment, JoinsPaths) {
  for (const JoinCase& row : JOINS) {
    std::string expected = row.joined;
    if (expected[0] == '*') expected.replace(0, 1, root());
    UtString joined;
    EXPECT_EQ(RC_OK, PathJoin(row.head, row.tail, &joined));
    EXPECT_STREQ(expected.c_str(), joined.c_str()) << row.head << row.tail;
  }
}

TEST_F(Environment, TestsPaths) {
  std::filesystem::create_directory("d:\\");
  std::filesystem::create_directory("\\\\host\\share");
  for (const char* path : {"d:", "//host/share", "\\\\host/share", "//"})
    EXPECT_TRUE(PathIsDirectory(path)) << path;
  for (const char* path : {"", "e:", "//host/other"})
    EXPECT_FALSE(PathIsDirectory(path) || PathIsFile(path)) << path;
}

TEST_F(Environment, ReadsRegularFilesOnly) {
  UtString text;
  // A file whose size the system states as 0.
  EXPECT_EQ(RC_OK, FileReadWhole("/proc/self/maps", &text));
  EXPECT_LT(1000u, text.size());

  make_pipe("pipe");
  write("sparse", "");
  std::filesystem::resize_file("sparse", uintmax_t{1} << 30);
  for (const char* path : {"pipe", ".", "missing", "sparse", "/dev/zero", ""}) {
    EXPECT_EQ(RC_CANNOT_OPEN, FileReadWhole(path, &text)) << path;
    EXPECT_EQ(0u, text.size()) << path;
  }
}

}  // namespace
