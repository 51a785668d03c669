// Hash of a text, for the look-up tables of the process. The values depend on
// the byte order of the machine and never reach a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Mixes 8 bytes into a hash. Both halves of the product count: the low bits,
// which tables use, would otherwise know nothing of the last of the 8 bytes.
inline uint64_t UtHashMix(uint64_t hash, uint64_t word) {
  __extension__ using Product = unsigned __int128;
  const Product product = Product{hash ^ word} * 0x9E3779B97F4A7C15;
  return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

// Takes 8 bytes at a time; what is left of a text is read as two words that may
// overlap, or as its first, middle and last byte.
inline uint32_t UtHash(const char* text, size_t length) {
  uint64_t hash = length;
  uint64_t word;
  for (; length >= 8; text += 8, length -= 8) {
    memcpy(&word, text, 8);
    hash = UtHashMix(hash, word);
  }
  if (length >= 4) {
    uint32_t first, last;
    memcpy(&first, text, 4);
    memcpy(&last, text + length - 4, 4);
    hash = UtHashMix(hash, uint64_t{last} << 32 | first);
  } else if (length > 0) {
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    hash = UtHashMix(hash, uint64_t{byte(0)} | uint64_t{byte(length / 2)} << 8 |
                               uint64_t{byte(length - 1)} << 16);
  }
  return static_cast<uint32_t>(hash);
}
