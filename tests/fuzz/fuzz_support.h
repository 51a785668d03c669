// What fuzz targets share: files that never touch a disk, output that is caught
// instead of printed, and checks.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "elut/compile/parse.h"
#include "elut/syntax/token_strings.h"
#include "services/channels.h"

// Ends the process when something that must hold does not.
#define FUZZ_CHECK(condition)                                         \
  do {                                                                \
    if (!(condition)) {                                               \
      fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      abort();                                                        \
    }                                                                 \
  } while (false)

// A regular file in memory. Opening its path gives a file of its own, as with
// any path.
class MemoryFile {
 public:
  MemoryFile() : file_(memfd_create("fuzz", MFD_CLOEXEC)) {
    FUZZ_CHECK(file_ >= 0);
    path_ = "/proc/self/fd/" + std::to_string(file_);
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { close(file_); }

  int descriptor() const { return file_; }
  const char* path() const { return path_.c_str(); }

  void set(const void* bytes, size_t size) {
    FUZZ_CHECK(ftruncate(file_, 0) == 0);
    FUZZ_CHECK(pwrite(file_, bytes, size, 0) == static_cast<ssize_t>(size));
  }
  std::string bytes() const {
    std::string all(static_cast<size_t>(lseek(file_, 0, SEEK_END)), '\0');
    FUZZ_CHECK(pread(file_, all.data(), all.size(), 0) ==
               static_cast<ssize_t>(all.size()));
    return all;
  }

 private:
  int file_;
  std::string path_;
};

// Catches the standard output while it lives.
class StdoutCapture {
 public:
  StdoutCapture() : file_(Catch()), real_(dup(1)) {
    fflush(stdout);
    FUZZ_CHECK(ftruncate(file_, 0) == 0 && lseek(file_, 0, SEEK_SET) == 0);
    dup2(file_, 1);
  }
  ~StdoutCapture() {
    fflush(stdout);
    dup2(real_, 1);
    close(real_);
  }
  // What has been printed so far.
  std::string text() const {
    fflush(stdout);
    std::string all(static_cast<size_t>(lseek(file_, 0, SEEK_CUR)), '\0');
    FUZZ_CHECK(pread(file_, all.data(), all.size(), 0) ==
               static_cast<ssize_t>(all.size()));
    return all;
  }

 private:
  static int Catch() {
    static const int file = memfd_create("stdout", MFD_CLOEXEC);
    return file;
  }
  int file_;
  int real_;
};

// The channels while it lives: what goes to channel 0 is kept, the other texts
// are formatted and dropped.
class ChannelCatch {
 public:
  ChannelCatch() {
    ChannelReset();
    FUZZ_CHECK(ChannelBindCallback(0, 0, Keep, &text_) == RC_OK);
    FUZZ_CHECK(ChannelBindCallback(1, 0, Drop, nullptr) == RC_OK);
    FUZZ_CHECK(ChannelBindCallback(2, 0, Drop, nullptr) == RC_OK);
  }
  ~ChannelCatch() { ChannelReset(); }

  // What came since the last call.
  std::string take() {
    std::string taken;
    taken.swap(text_);
    return taken;
  }

 private:
  static int Keep(const char* text, void* to) {
    *static_cast<std::string*>(to) += text;
    return RC_OK;
  }
  static int Drop(const char*, void*) { return RC_OK; }

  std::string text_;
};

// An open source file, as the driver opens one, and what has to go behind it.
// A zero byte ends a source; what stands behind it is a file of its own, which
// the source can include as /dev/fd/99.
class OpenSource {
 public:
  OpenSource(const uint8_t* bytes, size_t size) {
    static MemoryFile file;
    static MemoryFile included;
    FUZZ_CHECK(dup2(included.descriptor(), 99) == 99);
    const void* end = size == 0 ? nullptr : memchr(bytes, 0, size);
    const auto behind =
        end == nullptr ? 0
                       : static_cast<size_t>(bytes + size -
                                             static_cast<const uint8_t*>(end));
    included.set(bytes + size - behind + (behind > 0), behind - (behind > 0));
    file.set(bytes, size);
    McSrcReset();
    McParseReset();
    FUZZ_CHECK(McSrcOpen(file.path(), &lines) == RC_OK);
  }
  ~OpenSource() {
    McSrcReset();
    McTokenStringsFree();
    close(99);
  }

  McLineStore lines;
};
