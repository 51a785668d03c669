// Random numbers that are the same on every machine: the generator known as
// splitmix64, and draws that use integers only.
#pragma once

#include <cstdint>
#include <iterator>

class SmithRandom {
 public:
  // Different seeds give unrelated numbers, and so do different streams.
  SmithRandom(uint64_t seed, uint64_t stream) : state_(seed) {
    state_ = next() + stream;
    state_ = next();
  }

  uint64_t next() {
    uint64_t mixed = state_ += 0x9E3779B97F4A7C15u;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
    return mixed ^ (mixed >> 31);
  }

  // 0 to limit - 1.
  uint32_t draw(uint32_t limit) {
    return static_cast<uint32_t>(((next() >> 32) * limit) >> 32);
  }
  uint32_t draw(uint32_t from, uint32_t to) {
    return from + draw(to - from + 1);
  }
  size_t index(size_t size) { return draw(static_cast<uint32_t>(size)); }
  bool percent(uint32_t chance) { return draw(100) < chance; }

  template <class Table>
  const auto& pick(const Table& table) {
    return std::data(table)[index(std::size(table))];
  }

 private:
  uint64_t state_;
};
