#include "services/environment.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "file_tree.h"
#include "rows.h"

// The host's name as a test wants it, in the place of the system's.
static std::string host_name = "host";

extern "C" int gethostname(char* name, size_t size) noexcept {
  strncpy(name, host_name.c_str(), size);
  if (host_name.size() < size) return 0;
  errno = ENAMETOOLONG;
  return -1;
}

namespace {

using Environment = FileTree;

TEST_F(Environment, JoinsPaths) {
  // "*" is the current directory.
  constexpr char ROWS[] = R"(
    a | b | a/b ;; a\ | b | a\b ;; a/ | b | a/b ;; | b | /b ;; a | | a/
    a | /b | /b ;; a | \b | \b ;; a | c:/b | c:/b ;; a | C:\b | C:\b
    a | c:b | a/c:b ;; a | 1:/b | a/1:/b ;; a | ./b | */b ;; a | .\b | *\b
    a | .b | a/.b ;; a | ../b | a/../b ;; a | ./ | */ ;; a | . | a/.)";
  WorkingDirectory directory;
  for (auto [head, tail, joined] : Rows<3>(ROWS)) {
    if (joined[0] == '*') joined.replace(0, 1, root());
    EXPECT_EQ(joined, directory.join(head.c_str(), tail.c_str()).c_str())
        << head << tail;
  }
  std::filesystem::current_path("/");
  EXPECT_EQ(root() + "/b", directory.join("a", "./b").c_str()) << "taken once";
  WorkingDirectory top;
  EXPECT_EQ("/b", top.join("a", "./b"));
}

TEST_F(Environment, LongDirectories) {
  std::filesystem::path path = root();
  for (int i = 0; i < 3; i++) path /= std::string(200, 'd');
  std::filesystem::create_directories(path);
  std::filesystem::current_path(path);
  EXPECT_EQ(path.string(), WorkingDirectory().path().c_str());
  std::filesystem::remove_all(path);
  EXPECT_EQ(".", WorkingDirectory().path());
}

TEST_F(Environment, TestsPaths) {
  std::filesystem::create_directory("d:\\");
  std::filesystem::create_directory("\\\\host\\share");
  write("file", "");
  make_pipe("pipe");
  for (const char* path : {".", "d:", "//host/share", "\\\\host/share", "//"})
    EXPECT_TRUE(PathIsDirectory(path) && !PathIsFile(path)) << path;
  for (const char* path : {"", "e:", "//host/other", "none"})
    EXPECT_FALSE(PathIsDirectory(path) || PathIsFile(path)) << path;
  for (const char* path : {"file", "pipe"})
    EXPECT_TRUE(!PathIsDirectory(path) && PathIsFile(path)) << path;
}

TEST_F(Environment, Values) {
  set_environment("HD_U", "");
  EXPECT_STREQ("", EnvValue("HD_U", "x"));
  set_environment("HD_U", nullptr);
  EXPECT_STREQ("x", EnvValue("HD_U", "x"));
  EXPECT_EQ(nullptr, EnvValue("HD_U"));
  for (const size_t length : {1u, 31u, 32u, 64u}) {
    host_name.assign(length, 'h');
    char name[HOST_NAME_BYTES] = "?";
    EXPECT_EQ(length < 32, EnvHostName(name));
    EXPECT_EQ(length < 32 ? host_name : "", name);
  }
  host_name = "host";
}

}  // namespace
