// Memory blocks: the one place where the compiler takes and returns memory.
//
// A block is held through a pointer variable; UtResize takes the address of
// that variable so that it can replace or clear it. Containers of the standard
// library take their memory here too, through UtAllocator; the bad_alloc that
// they throw when there is none is turned into 1001 by UtGuarded, and by
// nothing else.
//
// Every request passes one counter, so that a test can make the n-th request
// fail and see that the caller survives it.
#pragma once

#include <cstddef>
#include <cstdint>
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

// Frees the block, if any. The template clears the holder with it.
void UtFreeBlock(void* block);

template <class T>
void UtFree(T** holder) {
  UtFreeBlock(*holder);
  *holder = nullptr;
}

// A new object, or nullptr when memory is exhausted; UtDelete ends it.
template <class T>
[[nodiscard]] T* UtNew() {
  void* block = UtAllocBytes(sizeof(T));
  return block == nullptr ? nullptr : ::new (block) T();
}

template <class T>
void UtDelete(T** holder) {
  if (*holder != nullptr) (*holder)->~T();
  UtFree(holder);
}

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
    void* block = UtAllocBytes(n * sizeof(T));
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<T*>(block);
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
