#include "Cutil/ut_memory.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

namespace {

// The size at which a request is refused before it reaches the system.
constexpr size_t TOO_LARGE = (size_t{1} << 63) - 1;

struct MemoryState {
  uint64_t fail_in = 0;  // requests up to the one that fails; 0: none does
  char* heap_start = nullptr;  // end of the heap when it was first looked at
  char* heap_top = nullptr;    // and when it was last looked at
} state;

constexpr uintptr_t PAGE = 4096;
constexpr size_t LARGE_PAGE = size_t{2} << 20;

// Asks for large pages in a range of fresh memory: a page fault costs more than
// filling the page. Whether the system has any does not matter to us.
void AdviseLargePages(char* start, char* end) {
  start += (0 - reinterpret_cast<uintptr_t>(start)) % PAGE;
  end -= reinterpret_cast<uintptr_t>(end) % PAGE;
  if (end > start)
    (void)madvise(start, static_cast<size_t>(end - start), MADV_HUGEPAGE);
}

// The heap has grown up to `top`. Once it is large it grows in large steps.
[[gnu::noinline]] void HeapGrew(char* top) {
  char* old_top = state.heap_top;
  state.heap_top = top;
  if (state.heap_start == nullptr) state.heap_start = old_top = top;
  if (top - state.heap_start < ptrdiff_t{2 * LARGE_PAGE}) return;
  mallopt(M_TOP_PAD, int{2 * LARGE_PAGE});
  AdviseLargePages(old_top, top);
}

// Looks at the heap after a block was taken. Blocks so large that they lie
// outside it are left alone: they move when they grow, which large pages do
// not survive.
void* Taken(void* block) {
  char* top = static_cast<char*>(sbrk(0));
  if (top != state.heap_top) HeapGrew(top);
  return block;
}

bool Fails() {
  return state.fail_in != 0 && --state.fail_in == 0;
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
  if (Taken(block) == nullptr) return RC_NO_MEMORY;
  *holder = block;
  return RC_OK;
}

void* UtAllocZero(size_t count, size_t size) {
  return Fails() ? nullptr : Taken(calloc(count, size));
}

void* UtAllocBytes(size_t bytes) {
  return Fails() ? nullptr : malloc(bytes);
}

void UtFreeBlock(void* block) {
  free(block);
}

void UtFailAllocation(uint64_t nth) {
  state.fail_in = nth;
}

uint64_t UtPendingFault() {
  return state.fail_in;
}
