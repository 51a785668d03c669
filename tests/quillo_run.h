// Runs the built compiler as a user does, in the current directory.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

// The contents of a file; nothing when there is none.
inline std::optional<std::string> ReadWhole(const std::string& name) {
  // Only a regular file is sure to end.
  if (!std::filesystem::is_regular_file(name)) return std::nullopt;
  std::ifstream file(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

struct RunResult {
  int status;  // of the process: codes are cut to 8 bits; -1: killed
  std::string out;
  std::string err;
};

inline constexpr const char* STDOUT_FILE = ".stdout";
inline constexpr const char* STDERR_FILE = ".stderr";

// Runs quillo, under that name, with these arguments. `file_limit` is the size
// that a file may have, in bytes; 0: any.
inline RunResult RunQuillo(const std::vector<std::string>& arguments,
                           rlim_t file_limit = 0,
                           const char* output_file = STDOUT_FILE) {
  std::vector<char*> argv = {const_cast<char*>("quillo")};
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int flags = O_WRONLY | O_CREAT | O_TRUNC;
    dup2(open(output_file, flags, 0600), 1);
    dup2(open(STDERR_FILE, flags, 0600), 2);
    if (file_limit != 0) {
      const rlimit limit = {file_limit, file_limit};
      setrlimit(RLIMIT_FSIZE, &limit);
    }
    execv(QUILLO_BINARY, argv.data());
    _exit(127);
  }
  int status = 0;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
          ReadWhole(output_file).value_or(""),
          ReadWhole(STDERR_FILE).value_or("")};
}
