// A change may fail for want of memory, its source may be a part of the text
// itself, and a text that was refused must be what it was. So every change goes
// through one routine that makes room first, moves the source along, and then
// cannot fail.
#include "Cutil/ut_text.h"

#include <cstring>
#include <utility>

#include "Cutil/ut_memory.h"

namespace {

constexpr size_t GRANULE = 8;
constexpr size_t LARGEST_CAPACITY = UINT32_MAX - GRANULE + 1;

// Gives the text a block of `capacity` bytes with the characters it had.
int Grow(UtText* text, size_t capacity) {
  const bool from_caller = text->storage == UT_TEXT_INITIAL;
  void* block = from_caller ? nullptr : text->text;
  const bool fresh = block == nullptr;
  if (const int code = UtResize(&block, capacity, 1, true, 0)) return code;
  char* bytes = static_cast<char*>(block);
  if (fresh) bytes[0] = '\0';
  if (from_caller && text->capacity > 0)
    memcpy(bytes, text->text, text->capacity);
  text->text = bytes;
  text->capacity = static_cast<uint32_t>(capacity);
  text->storage = UT_TEXT_HEAP;
  return RC_OK;
}

// Replaces everything from `position` on by `count` bytes of `source`. When
// these lie in the text itself they move with its block.
int Write(UtText* text, size_t position, const char* source, size_t count) {
  const auto start = reinterpret_cast<uintptr_t>(text->text);
  const auto from = reinterpret_cast<uintptr_t>(source);
  const bool inside = from >= start && from - start < text->capacity;
  if (const int code = UtTextReserve(text, position + count)) return code;
  if (inside) source = text->text + (from - start);
  memmove(text->text + position, source, count);
  text->text[position + count] = '\0';
  if (text->tracks_length)
    text->length = static_cast<uint32_t>(position + count);
  return RC_OK;
}

void Attach(UtText* text, char* buffer, size_t size, UtTextStorage storage) {
  UtTextRelease(text);
  text->text = buffer;
  text->capacity = static_cast<uint32_t>(size);
  text->storage = storage;
}

}  // namespace

UtText::~UtText() {
  if (storage == UT_TEXT_HEAP) UtFreeBlock(text);
}

void UtText::swap(UtText& other) noexcept {
  std::swap(text, other.text);
  std::swap(capacity, other.capacity);
  std::swap(length, other.length);
  std::swap(storage, other.storage);
  std::swap(tracks_length, other.tracks_length);
}

void UtTextAttachFixed(UtText* text, char* buffer, uint32_t size) {
  Attach(text, buffer, size, UT_TEXT_FIXED);
  if (size != 0) buffer[0] = '\0';
}

void UtTextAttachInitial(UtText* text, char* buffer, uint32_t size) {
  Attach(text, buffer, size, UT_TEXT_INITIAL);
  if (size != 0) buffer[0] = '\0';
}

int UtTextReserve(UtText* text, size_t characters) {
  if (characters < text->capacity) return RC_OK;
  if (text->storage == UT_TEXT_FIXED) return RC_FIXED_TEXT_FULL;
  if (characters >= LARGEST_CAPACITY) return RC_NO_MEMORY;
  return Grow(text, (characters + GRANULE) / GRANULE * GRANULE);
}

int UtTextAssign(UtText* text, const char* source) {
  if (source == nullptr) source = "";
  return Write(text, 0, source, strlen(source));
}

int UtTextAssignPart(UtText* text, const char* source, size_t count) {
  if (source == nullptr) source = "";
  return Write(text, 0, source, strnlen(source, count));
}

int UtTextAppend(UtText* text, const char* source) {
  if (source == nullptr) return RC_OK;
  return Write(text, UtTextLength(text), source, strlen(source));
}

uint32_t UtTextLength(const UtText* text) {
  if (text->tracks_length) return text->length;
  return static_cast<uint32_t>(strlen(UtTextChars(text)));
}

bool UtTextTrackLength(UtText* text, bool on) {
  const bool before = text->tracks_length != 0;
  if (on && !before) text->length = UtTextLength(text);
  if (!on) text->length = 0;
  text->tracks_length = on;
  return before;
}

void UtTextRelease(UtText* text) {
  UtText none;
  text->swap(none);
}
