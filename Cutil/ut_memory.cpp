// A thin layer over the C library's allocator, with the fault that tests ask
// for in front of it: one place, so that one counter reaches every request.
#include "Cutil/ut_memory.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// The size at which a request is refused before it reaches the system.
constexpr size_t TOO_LARGE = (size_t{1} << 63) - 1;

// Requests up to the one that fails; 0: none does. Only tests write here.
uint64_t fail_in = 0;

bool Fails() {
  return fail_in != 0 && --fail_in == 0;
}

constexpr size_t LARGE_BLOCK = size_t{256} << 10;
constexpr size_t LARGEST_THRESHOLD = size_t{32} << 20;
constexpr size_t LARGE_PAGE = size_t{2} << 20;

// Address space for a mapping, on the boundary of a large page; nullptr when
// there is none.
char* Reserve(size_t bytes) {
  void* place = mmap(nullptr, bytes + LARGE_PAGE, PROT_NONE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (place == MAP_FAILED) return nullptr;
  char* start = static_cast<char*>(place);
  const size_t before = (0 - reinterpret_cast<uintptr_t>(start)) % LARGE_PAGE;
  if (before > 0) munmap(start, before);
  munmap(start + before + bytes, LARGE_PAGE - before);
  return start + before;
}

// A mapping of whole large pages in the place of a block, which may be one.
void* Map(void* block, size_t old_bytes, size_t bytes) {
  char* start = Reserve(bytes);
  if (start == nullptr) return nullptr;
  void* mapped;
  if (old_bytes >= LARGE_BLOCK)
    mapped =
        mremap(block, old_bytes, bytes, MREMAP_MAYMOVE | MREMAP_FIXED, start);
  else
    mapped = mmap(start, bytes, PROT_READ | PROT_WRITE,
                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
  if (mapped == MAP_FAILED) {
    munmap(start, bytes);
    return nullptr;
  }
  // Whether the system has any does not matter to us.
  (void)madvise(mapped, bytes, MADV_HUGEPAGE);
  if (old_bytes < LARGE_BLOCK && block != nullptr) {
    memcpy(mapped, block, old_bytes);
    free(block);
  }
  return mapped;
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

void* UtGrow(void* block, size_t old_bytes, size_t* bytes) {
  if (Fails()) throw std::bad_alloc();
  void* grown = nullptr;
  if (*bytes < LARGE_BLOCK) {
    grown = realloc(block, *bytes);
  } else {
    // Room ahead costs nothing until it is used, where address space is not
    // limited.
    const size_t needed = (*bytes + LARGE_PAGE - 1) / LARGE_PAGE * LARGE_PAGE;
    for (const size_t factor : {size_t{4}, size_t{1}}) {
      grown = Map(block, old_bytes, needed * factor);
      if (grown == nullptr) continue;
      *bytes = needed * factor;
      break;
    }
  }
  if (grown == nullptr) throw std::bad_alloc();
  return grown;
}

void UtFreeGrown(void* block, size_t bytes) {
  if (bytes < LARGE_BLOCK)
    free(block);
  else
    munmap(block, bytes);
}

void UtExpectBytes(size_t bytes) {
  if (bytes < 2 * LARGE_PAGE) return;
  // The C library extends the heap when a block does not fit; by how much, and
  // that it keeps what is free, are its options. Blocks that grow leave room
  // behind for small ones.
  bytes = std::min<size_t>(2 * bytes, INT32_MAX);
  mallopt(M_TOP_PAD, static_cast<int>(bytes));
  mallopt(M_TRIM_THRESHOLD, INT32_MAX);
  mallopt(M_MMAP_THRESHOLD, static_cast<int>(LARGEST_THRESHOLD));
  // More than the C library may have left of its first step, so that the heap
  // is extended now, and can be advised on.
  void* block = malloc(LARGE_BLOCK);
  char* end = static_cast<char*>(sbrk(0));
  const size_t ahead = bytes / LARGE_PAGE * LARGE_PAGE;
  const size_t after = reinterpret_cast<uintptr_t>(end) % LARGE_PAGE;
  if (block != nullptr)
    (void)madvise(end - after - ahead, ahead, MADV_HUGEPAGE);
  free(block);
}

void UtFailAllocation(uint64_t nth) {
  fail_in = nth;
}

uint64_t UtPendingFault() {
  return fail_in;
}
