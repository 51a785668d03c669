// Runs the driver inside the test process, as often as a test likes.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "elut/mask_attributes.h"
#include "elut/parse_state.h"
#include "quillo/defaults.h"
#include "quillo/driver.h"
#include "quillo/environment.h"
#include "trt/catalog.h"

struct DriverResult {
  int status;  // the whole code
  std::string out;
  std::string err;
};

// Catches a standard stream while it lives.
class StreamCatch {
 public:
  explicit StreamCatch(FILE* stream)
      : stream_(stream),
        real_(dup(fileno(stream))),
        file_(memfd_create("caught", MFD_CLOEXEC)) {
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
  int real_;
  int file_;
};

// Puts back what a process keeps from run to run on purpose.
inline void ForgetRuns() {
  DefaultsReset();
  CatalogReset();
  AttributeNamesReset();
  EnvReset();
  mc_parse.trace_level = 0;
}

inline DriverResult RunDriverHere(const std::vector<std::string>& arguments) {
  std::vector<char*> argv = {const_cast<char*>("quillo")};
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  const int argc = static_cast<int>(argv.size());
  argv.push_back(nullptr);
  const StreamCatch out(stdout), err(stderr);
  const int status = RunDriver(argc, argv.data());
  return {status, out.text(), err.text()};
}

// The examples with this extension. They include each other by names that
// begin at the root of the project.
inline std::vector<std::string> Examples(const char* extension) {
  std::vector<std::string> names;
  for (const auto& entry :
       std::filesystem::directory_iterator(SOURCE_DIRECTORY "/examples"))
    if (entry.path().extension() == extension)
      names.push_back("examples/" + entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}
