// Millions of names and nodes must neither pay for a block each nor be freed
// one by one. Chunks form a list with the one in use on top, and an address in
// that chunk is all that taking a block moves; what does not fit goes here. A
// large request gets a chunk of its own, put below the top one, whose rest
// stays in use: otherwise a few long texts would waste most of the memory.
#include "Cutil/ut_arena.h"

#include <algorithm>

#include "Cutil/ut_memory.h"

void* UtArena::take_slow(size_t wanted) {
  static_assert(sizeof(Chunk) % 8 == 0);
  const size_t bytes = (wanted + 7) & ~size_t{7};
  // A request that would waste most of a chunk's rest gets its own chunk,
  // placed below the current one, whose rest stays in use.
  const bool own = bytes > chunk_bytes_ / 4;
  const size_t room = own ? bytes : chunk_bytes_;
  if (bytes < wanted || room > SIZE_MAX - sizeof(Chunk)) throw std::bad_alloc();
  auto* chunk = static_cast<Chunk*>(UtTakeBytes(sizeof(Chunk) + room));
  char* start = reinterpret_cast<char*>(chunk + 1);
  if (own && top_ != nullptr) {
    chunk->below = top_->below;
    top_->below = chunk;
    return start;
  }
  chunk->below = top_;
  top_ = chunk;
  next_ = start + bytes;
  end_ = start + room;
  taken_ += room;
  chunk_bytes_ = std::clamp(taken_ / 2, first_chunk_, LARGEST_CHUNK);
  return start;
}

void UtArena::release() {
  while (top_ != nullptr) {
    Chunk* chunk = top_;
    top_ = chunk->below;
    UtFreeBlock(chunk);
  }
  next_ = nullptr;
  end_ = nullptr;
  chunk_bytes_ = first_chunk_;
  taken_ = 0;
}
