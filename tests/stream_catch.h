// Catches a standard stream while it lives, what child processes write too.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

class StreamCatch {
 public:
  explicit StreamCatch(FILE* stream) : stream_(stream) {
    fflush(stream_);
    dup2(file_, fileno(stream_));
  }
  StreamCatch(const StreamCatch&) = delete;
  StreamCatch& operator=(const StreamCatch&) = delete;
  ~StreamCatch() {
    fflush(stream_);
    dup2(real_, fileno(stream_));
    close(real_);
    close(file_);
  }
  // What has been written so far.
  std::string text() const {
    fflush(stream_);
    std::string all(static_cast<size_t>(lseek(file_, 0, SEEK_CUR)), '\0');
    const ssize_t got = pread(file_, all.data(), all.size(), 0);
    if (got != static_cast<ssize_t>(all.size())) abort();
    return all;
  }

 private:
  FILE* stream_;
  int real_ = dup(fileno(stream_));
  int file_ = memfd_create("caught", MFD_CLOEXEC);
};
