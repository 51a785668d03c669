// Memory blocks: the one place where the compiler takes and returns memory.
//
// Two ways lead here. UtResize and its relatives hold a block through a pointer
// variable and answer with a code. Everything that owns memory as an object
// (vectors, strings, arenas, UtMake) throws bad_alloc when there is none, and
// UtGuarded, at the edge of an operation, turns that into 1001; nothing else
// catches it.
//
// Every request passes one counter, so that a test can make the n-th request
// fail and see that the caller survives it. The counter belongs to the test
// that sets it: the compiler itself never writes to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "Cutil/codes.h"

// Makes the block held in `*holder` count * size bytes long, rounded up to a
// multiple of `granule` when that is not 0. Contents are kept; a first block
// is filled with zeros unless `uninitialised`. A size of 0 frees the block and
// clears the holder. Returns 0, or RC_NO_MEMORY with the holder unchanged.
[[nodiscard]] int UtResize(void** holder, size_t count, size_t size,
                           bool uninitialised, size_t granule);

// A zero-filled array, or nullptr when memory is exhausted.
[[nodiscard]] void* UtAllocZero(size_t count, size_t size);

// An uninitialised block, or nullptr when memory is exhausted.
[[nodiscard]] void* UtAllocBytes(size_t bytes);

// The same, but throws bad_alloc.
[[nodiscard]] void* UtTakeBytes(size_t bytes);

// Frees the block, if any. The template clears the holder with it.
void UtFreeBlock(void* block);

template <class T>
void UtFree(T** holder) {
  UtFreeBlock(*holder);
  *holder = nullptr;
}

// An object of its own, owned by the pointer.
struct UtDeleter {
  template <class T>
  void operator()(T* object) const {
    object->~T();
    UtFreeBlock(object);
  }
};
template <class T>
using UtPtr = std::unique_ptr<T, UtDeleter>;

// Makes one. Throws bad_alloc.
template <class T, class... Arguments>
[[nodiscard]] UtPtr<T> UtMake(Arguments&&... arguments) {
  void* block = UtTakeBytes(sizeof(T));
  try {
    return UtPtr<T>(::new (block) T(std::forward<Arguments>(arguments)...));
  } catch (...) {
    UtFreeBlock(block);
    throw;
  }
}

// Bytes of its own, uninitialised. Throws bad_alloc.
class UtBlock {
 public:
  UtBlock() = default;
  explicit UtBlock(size_t bytes)
      : bytes_(static_cast<char*>(UtTakeBytes(bytes))), size_(bytes) {}
  UtBlock(UtBlock&& other) noexcept
      : bytes_(std::exchange(other.bytes_, nullptr)),
        size_(std::exchange(other.size_, 0)) {}
  UtBlock& operator=(UtBlock&& other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~UtBlock() { UtFreeBlock(bytes_); }

  char* data() const { return bytes_; }
  size_t size() const { return size_; }
  void reset() { *this = UtBlock(); }

 private:
  char* bytes_ = nullptr;
  size_t size_ = 0;
};

// Makes a block of `old_bytes` bytes, or none, at least `*bytes` bytes long and
// tells how long it is now. From 256 KiB on such a block is a mapping of its
// own, in large pages where the system has them: it grows without being copied,
// and filling it costs few page faults. UtFreeGrown, with the length that it
// has, ends it. Throws bad_alloc with the block as it was.
[[nodiscard]] void* UtGrow(void* block, size_t old_bytes, size_t* bytes);
void UtFreeGrown(void* block, size_t bytes);

// About so many bytes will be asked for in small blocks. From 4 MiB on they
// will come from large pages where the system has them, since a page fault for
// every 4 KiB is dearer than the work in between.
void UtExpectBytes(size_t bytes);

// For tests: the `nth` request from now on fails (1: the next one), and after
// it all succeed again. 0 switches the fault off.
void UtFailAllocation(uint64_t nth);

// For tests: requests that a fault was asked for but has not met yet; 0 when
// it has struck or none was asked for.
uint64_t UtPendingFault();

// Standard allocator over the routines above.
template <class T>
struct UtAllocator {
  using value_type = T;
  UtAllocator() = default;
  template <class U>
  UtAllocator(const UtAllocator<U>&) {}
  T* allocate(size_t n) {
    if (n > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
    return static_cast<T*>(UtTakeBytes(n * sizeof(T)));
  }
  void deallocate(T* block, size_t) { UtFreeBlock(block); }
  template <class U>
  bool operator==(const UtAllocator<U>&) const {
    return true;
  }
};

template <class T>
using UtVector = std::vector<T, UtAllocator<T>>;
using UtString =
    std::basic_string<char, std::char_traits<char>, UtAllocator<char>>;

// Runs `step`, which returns a code, and turns exhausted memory into 1001.
template <class Step>
[[nodiscard]] int UtGuarded(Step&& step) {
  try {
    return std::forward<Step>(step)();
  } catch (const std::bad_alloc&) {
    return RC_NO_MEMORY;
  }
}
