// Scanning many bytes at once: the lengths of names and of literal parts.
//
// Where the machine has 16-byte registers they are used; the plain loops give
// the same results anywhere. Both read up to 16 bytes past the place where they
// stop, which the source reader's padding allows; none of these bytes counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Cutil/ut_chars.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

// Length of the run of letters, digits and underscores at `text`.
inline size_t McNameRun(const char* text) {
  size_t length = 0;
#ifdef __SSE2__
  for (;; length += 16) {
    const __m128i bytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + length));
    const __m128i letter = _mm_sub_epi8(
        _mm_or_si128(bytes, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
    const __m128i digit = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
    const __m128i name = _mm_or_si128(
        _mm_or_si128(
            _mm_cmpeq_epi8(_mm_min_epu8(letter, _mm_set1_epi8(25)), letter),
            _mm_cmpeq_epi8(_mm_min_epu8(digit, _mm_set1_epi8(9)), digit)),
        _mm_cmpeq_epi8(bytes, _mm_set1_epi8('_')));
    const unsigned others =
        ~static_cast<unsigned>(_mm_movemask_epi8(name)) & 0xFFFF;
    if (others != 0) return length + static_cast<size_t>(__builtin_ctz(others));
  }
#else
  while (UtIsNameByte(text[length])) length++;
  return length;
#endif
}

// Distance to the first double quote, backslash, line feed or zero byte.
inline size_t McLiteralRun(const char* text) {
  size_t length = 0;
#ifdef __SSE2__
  for (;; length += 16) {
    const __m128i bytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + length));
    const __m128i stop =
        _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('"')),
                                  _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'))),
                     _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')),
                                  _mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(stop));
    if (mask != 0) return length + static_cast<size_t>(__builtin_ctz(mask));
  }
#else
  while (text[length] != '"' && text[length] != '\\' && text[length] != '\n' &&
         text[length] != '\0')
    length++;
  return length;
#endif
}

// The first `length` (1 to 8) bytes of `text`, the others taken as zero.
inline uint64_t McLoadBytes(const char* text, size_t length) {
  uint64_t word;
  memcpy(&word, text, sizeof word);
  return length < 8 ? word & ((uint64_t{1} << (8 * length)) - 1) : word;
}
