// A directory of its own for each test; environment values are put back.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <string_view>

class FileTree : public testing::Test {
 protected:
  FileTree() : old_directory_(std::filesystem::current_path()) {
    char name[] = "/tmp/quillo-test-XXXXXX";
    root_ = std::filesystem::canonical(mkdtemp(name)).string();
    chmod(root_.c_str(), 0755);  // for tests that run as another user
    std::filesystem::current_path(root_);
  }
  ~FileTree() override {
    std::filesystem::current_path(old_directory_);
    std::filesystem::remove_all(root_);
    for (const auto& [name, value] : old_values_)
      set_environment(name.c_str(), value ? value->c_str() : nullptr);
  }

  const std::string& root() const { return root_; }

  // Writes a file, with the directories above it.
  void write(const std::filesystem::path& path, std::string_view text) {
    std::filesystem::create_directories(absolute(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
  }

  void make_pipe(const char* name) { ASSERT_EQ(0, mkfifo(name, 0600)); }

  void set_environment(const char* name, const char* value) {
    const char* old = getenv(name);
    old_values_.try_emplace(
        name, old == nullptr ? std::nullopt : std::optional<std::string>(old));
    value == nullptr ? ::unsetenv(name) : ::setenv(name, value, 1);
  }

 private:
  std::string root_;
  std::filesystem::path old_directory_;
  std::map<std::string, std::optional<std::string>> old_values_;
};

// The contents of a file; nothing when there is none.
inline std::optional<std::string> ReadWhole(const std::string& name) {
  // Only a regular file is sure to end.
  if (!std::filesystem::is_regular_file(name)) return std::nullopt;
  std::ifstream file(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// The examples with this extension. They include each other by names that
// begin at the root of the project.
inline std::vector<std::string> Examples(const std::string& extension) {
  std::vector<std::string> names;
  for (const auto& entry :
       std::filesystem::directory_iterator(SOURCE_DIRECTORY "/examples"))
    if (entry.path().extension() == extension)
      names.push_back("examples/" + entry.path().filename().string());
  return names;
}
