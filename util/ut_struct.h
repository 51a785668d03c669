// Record pool: many records of one size in a row, known by their numbers.
//
// Records are numbered from 0. One is added at the end, and the end can be cut
// off; the records in front of it stay where they are among each other, though
// adding one may move them all: a reference to a record does not outlive the
// next add(). Nothing is cleared when it is cut or added.
//
// A pool grows in blocks of 64 records, by half of what it has, and, once it is
// large, by mapping further memory behind it without copying what is there.
#pragma once

#include <cstdint>
#include <type_traits>

#include "Cutil/ut_memory.h"

// The most records of a pool: other fields of a record have bits to spare when
// a number takes no more than 26.
inline constexpr uint32_t UT_STRUCT_LIMIT = uint32_t{1} << 26;

template <class Record>
class UtStruct {
  static_assert(std::is_trivially_copyable_v<Record>);

 public:
  static constexpr uint32_t BLOCK_RECORDS = 64;

  UtStruct() = default;
  UtStruct(const UtStruct&) = delete;
  UtStruct& operator=(const UtStruct&) = delete;
  ~UtStruct() { release(); }

  uint32_t count() const { return count_; }

  // Adds a record. Throws bad_alloc, also beyond UT_STRUCT_LIMIT.
  void add(const Record& record) {
    if (count_ == capacity_) grow();
    records_[count_++] = record;
  }

  // Drops the records from `count` on.
  void cut(uint32_t count) { count_ = count; }

  Record& operator[](uint32_t number) { return records_[number]; }
  const Record& operator[](uint32_t number) const { return records_[number]; }

  void release() {
    UtFreeGrown(records_, size_t{capacity_} * sizeof(Record));
    records_ = nullptr;
    count_ = capacity_ = 0;
  }

 private:
  [[gnu::noinline, gnu::cold]] void grow() {
    if (capacity_ == UT_STRUCT_LIMIT) throw std::bad_alloc();
    uint64_t wanted = uint64_t{capacity_} + capacity_ / 2 + BLOCK_RECORDS;
    wanted -= wanted % BLOCK_RECORDS;
    if (wanted > UT_STRUCT_LIMIT) wanted = UT_STRUCT_LIMIT;
    size_t bytes = wanted * sizeof(Record);
    records_ = static_cast<Record*>(
        UtGrow(records_, size_t{capacity_} * sizeof(Record), &bytes));
    const size_t room = bytes / sizeof(Record);
    capacity_ =
        room > UT_STRUCT_LIMIT ? UT_STRUCT_LIMIT : static_cast<uint32_t>(room);
  }

  Record* records_ = nullptr;
  uint32_t count_ = 0;
  uint32_t capacity_ = 0;
};
