// Record pool: many records of one size that refer to each other by number.
//
// Records are numbered from 1; 0 means none, so a link takes 4 bytes instead
// of 8. They come in blocks of 64, which lie behind each other in memory:
// taking a record may move them all, so a reference to a record does not
// outlive the next take(). A record is not cleared when it is taken. What is
// given back is handed out again first. Releasing the pool frees all blocks.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "Cutil/ut_memory.h"

using UtRecord = uint32_t;  // number of a record; 0: none

template <class Record>
class UtStruct {
  static_assert(std::is_trivially_copyable_v<Record>);
  static_assert(sizeof(Record) >= sizeof(UtRecord));

 public:
  static constexpr uint32_t BLOCK_RECORDS = 64;

  UtStruct() = default;
  UtStruct(const UtStruct&) = delete;
  UtStruct& operator=(const UtStruct&) = delete;
  ~UtStruct() { release(); }

  // A free record. Throws bad_alloc, also when the numbers are exhausted.
  [[nodiscard]] UtRecord take() {
    if (free_ != 0) return take_returned();
    if (used_ >= capacity_) grow();
    return used_++;
  }

  // Gives `record` back.
  void give(UtRecord record) {
    memcpy(static_cast<void*>(&records_[record]), &free_, sizeof free_);
    free_ = record;
  }

  Record& operator[](UtRecord record) { return records_[record]; }
  const Record& operator[](UtRecord record) const { return records_[record]; }

  // One more than the highest number handed out so far.
  UtRecord end() const { return used_; }

  // Gives blocks that no record was ever taken from back. Never fails: without
  // memory for a smaller pool it stays as it is.
  void trim() {
    const uint32_t blocks = (used_ + BLOCK_RECORDS - 1) / BLOCK_RECORDS;
    if (blocks * BLOCK_RECORDS >= capacity_) return;
    void* block = records_;
    const size_t size = size_t{blocks} * BLOCK_RECORDS;
    if (UtResize(&block, size, sizeof(Record), true, 0) != RC_OK) return;
    records_ = static_cast<Record*>(block);
    capacity_ = static_cast<uint32_t>(size);
  }

  void release() {
    UtFree(&records_);
    used_ = 1;
    capacity_ = free_ = 0;
  }

 private:
  [[gnu::noinline]] UtRecord take_returned() {
    const UtRecord record = free_;
    memcpy(&free_, static_cast<void*>(&records_[record]), sizeof free_);
    return record;
  }

  // Adds blocks: half as many again as there are, so that all growth together
  // moves each record a bounded number of times.
  [[gnu::noinline, gnu::cold]] void grow() {
    const uint64_t blocks = capacity_ / BLOCK_RECORDS;
    const uint64_t wanted = (blocks + blocks / 2 + 1) * BLOCK_RECORDS;
    void* block = records_;
    if (wanted > UINT32_MAX ||
        UtResize(&block, wanted, sizeof(Record), true, 0) != RC_OK)
      throw std::bad_alloc();
    records_ = static_cast<Record*>(block);
    capacity_ = static_cast<uint32_t>(wanted);
  }

  Record* records_ = nullptr;
  uint32_t used_ = 1;      // number 0 is never handed out
  uint32_t capacity_ = 0;  // always whole blocks
  UtRecord free_ = 0;      // head of the list of returned records
};
