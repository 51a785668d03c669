// UtText: a growable text closed by a zero byte, in one of three storages.
//
// All fields zero is the empty text on the heap. A text owns its heap block and
// releases it at its end; it can be moved, not copied.
#pragma once

#include <cstddef>
#include <cstdint>

enum UtTextStorage : uint8_t {
  UT_TEXT_HEAP = 0,     // block owned by the text
  UT_TEXT_FIXED = 1,    // buffer of the caller that may not grow
  UT_TEXT_INITIAL = 2,  // buffer of the caller, given up for a heap block the
                        // first time more room is needed
};

struct UtText {
  UtText() = default;
  UtText(UtText&& other) noexcept { swap(other); }
  UtText& operator=(UtText&& other) noexcept {
    swap(other);
    return *this;
  }
  ~UtText();
  void swap(UtText& other) noexcept;

  char* text = nullptr;   // nullptr: empty
  uint32_t capacity = 0;  // bytes at `text`, the closing zero byte included
  uint32_t length = 0;    // characters; 0 while it is not tracked
  uint8_t storage = 0;    // UtTextStorage
  uint8_t tracks_length =
      0;  // 1: every change keeps `length`; 0: it is counted
};
static_assert(sizeof(UtText) == 24);

// Start over with a buffer of the caller, which becomes the empty text.
void UtTextAttachFixed(UtText* text, char* buffer, uint32_t size);
void UtTextAttachInitial(UtText* text, char* buffer, uint32_t size);

// Each of these makes room first: the capacity becomes characters + 1, rounded
// up to a multiple of 8, when it does not suffice. They return 0,
// RC_FIXED_TEXT_FULL when a fixed buffer would have to grow, or RC_NO_MEMORY,
// with the text unchanged. The source may be a part of the text itself.
[[nodiscard]] int UtTextReserve(UtText* text, size_t characters);
[[nodiscard]] int UtTextAssign(UtText* text, const char* source);
[[nodiscard]] int UtTextAppend(UtText* text, const char* source);

// At most the first `count` characters of `source`.
[[nodiscard]] int UtTextAssignPart(UtText* text, const char* source,
                                   size_t count);

[[nodiscard]] uint32_t UtTextLength(const UtText* text);

// The characters; "" for a text that has none.
inline const char* UtTextChars(const UtText* text) {
  return text->capacity == 0 ? "" : text->text;
}

inline bool UtTextIsOwned(const UtText* text) {
  return text->storage == UT_TEXT_HEAP;
}

// Returns whether the length was tracked before.
bool UtTextTrackLength(UtText* text, bool on);

// Frees the block of an owned text, then sets all fields to zero.
void UtTextRelease(UtText* text);
