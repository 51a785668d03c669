// Arena: many small texts and records that live and die together.
//
// A program and a mask list own one each; whatever hangs in them goes when the
// arena goes, so nothing in it is freed alone. Memory comes in chunks of half
// the size of all before, at least 1 KiB and at most 64 KiB: there are many
// small arenas. A large request gets a chunk of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>

class UtArena {
 public:
  static constexpr size_t SMALLEST_CHUNK = 1024;
  static constexpr size_t LARGEST_CHUNK = size_t{64} * 1024;

  explicit constexpr UtArena(size_t first_chunk = SMALLEST_CHUNK) noexcept
      : first_chunk_(first_chunk), chunk_bytes_(first_chunk) {}
  UtArena(const UtArena&) = delete;
  UtArena& operator=(const UtArena&) = delete;
  ~UtArena() { release(); }

  // `bytes` bytes on an 8-byte boundary, uninitialised. Throws bad_alloc, with
  // the arena as it was.
  [[nodiscard]] void* take(size_t bytes) {
    size_t rounded = (bytes + 7) & ~size_t{7};
    if (rounded < bytes || static_cast<size_t>(end_ - next_) < rounded)
      return take_slow(bytes);
    char* block = next_;
    next_ += rounded;
    return block;
  }

  // An array of `count` records, uninitialised.
  template <class Record>
  [[nodiscard]] Record* take_array(size_t count) {
    static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) <= 8);
    if (count > SIZE_MAX / sizeof(Record)) throw std::bad_alloc();
    return static_cast<Record*>(take(count * sizeof(Record)));
  }

  // A copy of the first `length` bytes of `text`, closed by a zero byte.
  [[nodiscard]] char* copy(const char* text, size_t length) {
    char* place = static_cast<char*>(take(length + 1));
    memcpy(place, text, length);
    place[length] = '\0';
    return place;
  }

  // Gives back `block` of `bytes` bytes when it is the youngest one and lies in
  // the current chunk; otherwise it stays until the arena is released.
  void give_back(void* block, size_t bytes) {
    char* start = static_cast<char*>(block);
    if (start + ((bytes + 7) & ~size_t{7}) == next_) next_ = start;
  }

  // Frees everything.
  void release();

 private:
  struct Chunk {
    Chunk* below;
  };
  void* take_slow(size_t bytes);

  Chunk* top_ = nullptr;
  char* next_ = nullptr;
  char* end_ = nullptr;
  size_t first_chunk_;
  size_t chunk_bytes_;  // of the next chunk
  size_t taken_ = 0;    // bytes of all chunks
};
