// Scanning 16 bytes at once: the lengths of names, of literal parts and of
// white space.
//
// Where the machine has 16-byte registers they are used; the plain loops give
// the same results anywhere. Both read up to 16 bytes past the place where they
// stop, which the source reader's padding allows; none of these bytes counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Cutil/ut_chars.h"
#include "elut/syntax/token_strings.h"

#ifdef __SSE2__
#include <emmintrin.h>

// A bit for each of 16 bytes that a name cannot go on with.
inline unsigned McNameEnds(__m128i bytes) {
  const __m128i letter = _mm_sub_epi8(_mm_or_si128(bytes, _mm_set1_epi8(0x20)),
                                      _mm_set1_epi8('a'));
  const __m128i digit = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
  const __m128i name = _mm_or_si128(
      _mm_or_si128(
          _mm_cmpeq_epi8(_mm_min_epu8(letter, _mm_set1_epi8(25)), letter),
          _mm_cmpeq_epi8(_mm_min_epu8(digit, _mm_set1_epi8(9)), digit)),
      _mm_cmpeq_epi8(bytes, _mm_set1_epi8('_')));
  return ~static_cast<unsigned>(_mm_movemask_epi8(name)) & 0xFFFF;
}
#endif

// Length of the run of letters, digits and underscores at `text`.
inline size_t McNameRun(const char* text) {
  size_t length = 0;
#ifdef __SSE2__
  for (;; length += 16) {
    const unsigned ends = McNameEnds(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + length)));
    if (ends != 0) return length + static_cast<size_t>(__builtin_ctz(ends));
  }
#else
  while (UtIsNameByte(text[length])) length++;
  return length;
#endif
}

// The key of the name at `text`, which may begin with any byte, and its length;
// a name of more than 15 characters has length 0 for now.
inline McNameKey McShortName(const char* text, size_t* length) {
#ifdef __SSE2__
  // From 16 - n on there are n bytes of ones and then zeros.
  alignas(16) static constexpr uint8_t KEPT[32] = {
      255, 255, 255, 255, 255, 255, 255, 255,
      255, 255, 255, 255, 255, 255, 255, 255,
  };
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const unsigned ends = McNameEnds(bytes) & ~1u;
  if (ends == 0) {
    *length = 0;
    return {};
  }
  *length = static_cast<size_t>(__builtin_ctz(ends));
  const __m128i key = _mm_and_si128(
      bytes,
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(KEPT + 16 - *length)));
  return {static_cast<uint64_t>(_mm_cvtsi128_si64(key)),
          static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_srli_si128(key, 8)))};
#else
  *length = 1 + McNameRun(text + 1);
  if (*length > McName::SHORT) *length = 0;
  uint64_t words[2] = {};
  memcpy(words, text, *length);
  return {words[0], words[1]};
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

// The line feed that ends a comment, or the zero byte at the end of the lines
// at hand.
inline const char* McCommentEnd(const char* text) {
#ifdef __SSE2__
  for (;; text += 16) {
    const __m128i bytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const auto ends = static_cast<unsigned>(_mm_movemask_epi8(
        _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')),
                     _mm_cmpeq_epi8(bytes, _mm_setzero_si128()))));
    if (ends != 0) return text + __builtin_ctz(ends);
  }
#else
  while (*text != '\n' && *text != '\0') text++;
  return text;
#endif
}

// After the blanks at `text`.
inline const char* McSkipBlanks(const char* text) {
#ifdef __SSE2__
  for (;; text += 16) {
    const __m128i bytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const unsigned others = ~static_cast<unsigned>(_mm_movemask_epi8(
                                _mm_cmpeq_epi8(bytes, _mm_set1_epi8(' ')))) &
                            0xFFFF;
    if (others != 0) return text + __builtin_ctz(others);
  }
#else
  while (*text == ' ') text++;
  return text;
#endif
}

// The digits at `text`, as a number and how many there are; MANY for 8 and
// more.
struct McDigits {
  static constexpr size_t MANY = 8;
  uint32_t value;
  size_t count;
};

inline McDigits McTakeDigits(const char* text) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  uint64_t bytes;
  memcpy(&bytes, text, sizeof bytes);
  // The first digit is in the lowest byte. A byte that is none gets its top
  // bit.
  uint64_t digits = bytes ^ 0x3030303030303030;
  const uint64_t others =
      ((digits + 0x7676767676767676) | digits) & 0x8080808080808080;
  if (others == 0) return {0, McDigits::MANY};
  const auto bits = static_cast<unsigned>(__builtin_ctzll(others)) & ~7u;
  if (bits == 0) return {0, 0};
  // Zeros in front, then neighbours are joined: 8 digits, 4 pairs, 2 fours.
  digits <<= 64 - bits;
  digits = digits * 10 + (digits >> 8);
  digits = ((digits & 0x000000FF000000FF) * 0x000F424000000064 +
            ((digits >> 16) & 0x000000FF000000FF) * 0x0000271000000001) >>
           32;
  return {static_cast<uint32_t>(digits), bits / 8};
#else
  McDigits digits = {0, 0};
  for (; digits.count < McDigits::MANY && UtIsDigit(text[digits.count]);
       digits.count++)
    digits.value =
        digits.value * 10 + static_cast<uint32_t>(text[digits.count] - '0');
  return digits;
#endif
}
