// Files as a whole: read in one piece, or written so that nobody ever sees a
// part of them.
//
// Paths are byte strings, handed to the system unchanged.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Cutil/ut_memory.h"

// Closes a descriptor at the end of its scope.
class UtDescriptor {
 public:
  explicit UtDescriptor(int number = -1) : number_(number) {}
  UtDescriptor(UtDescriptor&& other) noexcept
      : number_(std::exchange(other.number_, -1)) {}
  UtDescriptor& operator=(UtDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~UtDescriptor() { (void)close(); }

  bool is_open() const { return number_ >= 0; }
  int number() const { return number_; }
  // False when the system reports an error that only shows now.
  bool close();

 private:
  int number_;  // -1: none
};

// Reads up to `bytes` bytes, again after an interruption. Returns their number,
// 0 at the end of the file, or -1.
ptrdiff_t UtRead(int descriptor, void* place, size_t bytes);

// Reads what a descriptor still gives, also that of a pipe, into `*text`.
// Returns 0, RC_CANNOT_OPEN when that fails or there are `limit` bytes and
// more, or RC_NO_MEMORY; `*text` is empty then.
[[nodiscard]] int UtReadStream(int descriptor, size_t limit, UtString* text);

inline constexpr size_t UT_LARGEST_FILE = size_t{1} << 30;

// Reads a whole file into `*text`. Only regular files are opened: a pipe or a
// device in the place of a file neither blocks nor loses anything. Returns 0,
// RC_CANNOT_OPEN for everything that cannot be read or has `limit` bytes and
// more, or RC_NO_MEMORY; `*text` is empty then.
[[nodiscard]] int UtReadWhole(const char* path, size_t limit, UtString* text);

// A file that is written. It goes to a new file beside its target, which takes
// the target's place when it is complete: whoever looks at the target, at any
// moment and after a kill at any moment, sees the old file or the new one.
//
// That needs a target that is absent or a regular file with one link, in a
// directory that can be written. A symbolic link is followed first; mode and,
// where possible, owner of an existing file are kept. Anything else (a device,
// a FIFO, a file with several links, a directory that cannot be written) is
// written in place.
class UtOutputFile {
 public:
  UtOutputFile() = default;
  UtOutputFile(const UtOutputFile&) = delete;
  UtOutputFile& operator=(const UtOutputFile&) = delete;
  ~UtOutputFile() { abandon(); }

  // Returns 0; RC_CANNOT_CREATE, also for an existing file that may not be
  // written; or RC_NO_MEMORY.
  [[nodiscard]] int open(const char* path);

  // False when not all of the bytes could be written.
  [[nodiscard]] bool write(const void* bytes, size_t count);

  // Bytes that reached the system.
  uint64_t written() const { return written_; }

  // Puts what was written in the place of the target. False when it may not be
  // complete; the target is then what it was, or empty when it was written in
  // place.
  [[nodiscard]] bool commit();

  // Gives up: the target stays what it was, or is cut to nothing when it was
  // written in place. Does nothing after a commit.
  void abandon();

 private:
  int open_beside(const struct stat* existing);

  UtDescriptor file_;
  UtString target_;     // links followed
  UtString temporary_;  // empty: written in place
  uint64_t written_ = 0;
};
