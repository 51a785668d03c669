// A thin layer over the C library's allocator, with the fault that tests ask
// for in front of it.
#include "Cutil/ut_memory.h"

#include <cstdlib>

namespace {

// The size at which a request is refused before it reaches the system.
constexpr size_t TOO_LARGE = (size_t{1} << 63) - 1;

// Requests up to the one that fails; 0: none does. Only tests write here.
uint64_t fail_in = 0;

bool Fails() {
  return fail_in != 0 && --fail_in == 0;
}

}  // namespace

int UtResize(void** holder, size_t count, size_t size, bool uninitialised,
             size_t granule) {
  size_t bytes;
  if (__builtin_mul_overflow(count, size, &bytes)) return RC_NO_MEMORY;
  if (bytes == 0) {
    UtFree(holder);
    return RC_OK;
  }
  if (bytes >= TOO_LARGE) return RC_NO_MEMORY;
  if (granule != 0 && bytes % granule != 0) {
    if (__builtin_add_overflow(bytes, granule - bytes % granule, &bytes))
      return RC_NO_MEMORY;
  }
  if (Fails()) return RC_NO_MEMORY;
  void* block;
  if (*holder != nullptr)
    block = realloc(*holder, bytes);
  else
    block = uninitialised ? malloc(bytes) : calloc(1, bytes);
  if (block == nullptr) return RC_NO_MEMORY;
  *holder = block;
  return RC_OK;
}

void* UtAllocZero(size_t count, size_t size) {
  return Fails() ? nullptr : calloc(count, size);
}

void* UtAllocBytes(size_t bytes) {
  return Fails() ? nullptr : malloc(bytes);
}

void* UtTakeBytes(size_t bytes) {
  void* block = UtAllocBytes(bytes);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void UtFreeBlock(void* block) {
  free(block);
}

void UtFailAllocation(uint64_t nth) {
  fail_in = nth;
}

uint64_t UtPendingFault() {
  return fail_in;
}
