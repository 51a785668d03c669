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

#include "services/environment.h"

class FileTree : public testing::Test {
 protected:
  FileTree() : old_directory_(std::filesystem::current_path()) {
    char name[] = "/tmp/quillo-test-XXXXXX";
    root_ = std::filesystem::canonical(mkdtemp(name)).string();
    std::filesystem::current_path(root_);
    EnvReset();
  }
  ~FileTree() override {
    std::filesystem::current_path(old_directory_);
    EnvReset();
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
