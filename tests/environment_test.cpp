#include "quillo/environment.h"

#include <fcntl.h>

#include "tests/file_tree.h"

namespace {

using Environment = FileTree;

struct JoinCase {
  const char *head, *tail, *joined;  // "*": the current directory
};
constexpr JoinCase JOINS[] = {
    {"a", "b", "a/b"},     {"a/", "b", "a/b"},      {"a\\", "b", "a\\b"},
    {"", "b", "/b"},       {"a", "", "a/"},         {"a", "/b", "/b"},
    {"a", "\\b", "\\b"},   {"a", "c:/b", "c:/b"},   {"a", "C:\\b", "C:\\b"},
    {"a", "c:b", "a/c:b"}, {"a", "1:/b", "a/1:/b"}, {"a", "./b", "*/b"},
    {"a", ".\\b", "*\\b"}, {"a", ".b", "a/.b"},     {"a", "../b", "a/../b"},
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

TEST_F(Environment, TakesTheCurrentDirectoryOnce) {
  EXPECT_EQ(root(), PathCurrentDirectory());
  std::filesystem::create_directory("deeper");
  std::filesystem::current_path("deeper");
  EXPECT_EQ(root(), PathCurrentDirectory());
  std::filesystem::remove("../deeper");
  EnvReset();
  EXPECT_STREQ(".", PathCurrentDirectory());
  std::filesystem::current_path("/");
  EnvReset();
  EXPECT_STREQ("", PathCurrentDirectory());
}

struct PathCase {
  const char* path;
  bool is_directory, is_file;
};
constexpr PathCase PATHS[] = {
    {"", false, false},
    {"directory/", true, false},
    {"file", false, true},
    {"pipe", false, true},
    {"file/missing", false, false},
    {"d:", true, false},  // the directory "d:\"
    {"e:", false, false},
    {"//host/share", true, false},  // the directory "\\host\share"
    {"\\\\host/share", true, false},
    {"//host/other", false, false},
    {"//", true, false},  // the root itself
};

TEST_F(Environment, TestsPaths) {
  write("file", "");
  make_pipe("pipe");
  for (const char* name : {"directory", "d:\\", "\\\\host\\share"})
    std::filesystem::create_directory(name);
  for (const PathCase& row : PATHS) {
    EXPECT_EQ(row.is_directory, PathIsDirectory(row.path)) << row.path;
    EXPECT_EQ(row.is_file, PathIsFile(row.path)) << row.path;
  }
}

TEST_F(Environment, ReadsRegularFilesOnly) {
  UtString text;
  const std::string bytes("a\0\r\n\xFF", 5);
  write("file", bytes);
  EXPECT_EQ(RC_OK, FileReadWhole("file", &text));
  EXPECT_EQ(std::string_view(bytes), std::string_view(text));
  // A file whose size the system states as 0.
  EXPECT_EQ(RC_OK, FileReadWhole("/proc/self/maps", &text));
  EXPECT_LT(1000u, text.size());

  make_pipe("pipe");
  const int pipe = open("pipe", O_RDWR);
  ASSERT_EQ(3, ::write(pipe, "abc", 3));
  write("sparse", "");
  std::filesystem::resize_file("sparse", uintmax_t{1} << 30);
  for (const char* path : {"pipe", ".", "missing", "sparse", "/dev/zero", ""}) {
    EXPECT_EQ(RC_CANNOT_OPEN, FileReadWhole(path, &text)) << path;
    EXPECT_EQ(0u, text.size()) << path;
  }
  char left[4];
  EXPECT_EQ(3, read(pipe, left, sizeof left));  // nothing was taken out
  close(pipe);
}

}  // namespace
