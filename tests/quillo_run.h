// Runs the compiler in the current directory: the built program as a user does,
// and the driver inside the test process, as often as a test likes.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "elut/compile/parse_state.h"
#include "elut/model/mask_attributes.h"
#include "quillo/defaults.h"
#include "quillo/driver.h"
#include "services/environment.h"
#include "trt/catalog.h"

// The contents of a file; nothing when there is none.
inline std::optional<std::string> ReadWhole(const std::string& name) {
  // Only a regular file is sure to end.
  if (!std::filesystem::is_regular_file(name)) return std::nullopt;
  std::ifstream file(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// Catches a standard stream while it lives, what child processes write too.
class StreamCatch {
 public:
  explicit StreamCatch(FILE* stream) : stream_(stream) {
    fflush(stream_);
    dup2(file_, fileno(stream_));
  }
  ~StreamCatch() {
    fflush(stream_);
    dup2(real_, fileno(stream_));
    close(real_);
    close(file_);
  }
  std::string text() const {
    fflush(stream_);
    std::string all(static_cast<size_t>(lseek(file_, 0, SEEK_CUR)), '\0');
    EXPECT_EQ(ssize_t(all.size()), pread(file_, all.data(), all.size(), 0));
    return all;
  }

 private:
  FILE* stream_;
  int real_ = dup(fileno(stream_));
  int file_ = memfd_create("caught", MFD_CLOEXEC);
};

struct RunResult {
  int status;  // of a process: codes are cut to 8 bits; -1: killed
  std::string out;
  std::string err;
};

inline RunResult RunQuillo(const std::vector<std::string>& arguments) {
  const std::filesystem::path binary = QUILLO_BINARY;
  std::string command =
      "PATH=" + binary.parent_path().string() + " exec quillo";
  for (const auto& argument : arguments) command += " '" + argument + "'";
  const StreamCatch out(stdout), err(stderr);
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out.text(), err.text()};
}

inline RunResult RunDriverHere(const std::vector<std::string>& arguments) {
  std::vector<char*> argv = {const_cast<char*>("quillo")};
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const StreamCatch out(stdout), err(stderr);
  const int status = RunDriver(int(arguments.size()) + 1, argv.data());
  return {status, out.text(), err.text()};
}

// Puts back what a process keeps from run to run on purpose.
inline void ForgetRuns() {
  DefaultsReset();
  CatalogReset();
  AttributeNamesReset();
  EnvReset();
  mc_parse.trace_level = 0;
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
