// Both transports work on one buffer. Plain items are copied to and from it
// with their bytes reversed; the XDR library reaches it through a table of
// operations of its own, so that it neither knows nor needs a file.
#include "util/XD_main.h"

#include <algorithm>
#include <bit>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

// Hands the filled part of the buffer on.
bool Flush(XdStream* xd) {
  const auto filled = static_cast<size_t>(xd->next - xd->start);
  xd->next = xd->start;
  if (filled == 0) return true;
  uint8_t* buffer = xd->sink->exchange(xd->start, filled);
  if (buffer == nullptr) return false;
  xd->start = xd->next = buffer;
  xd->limit = buffer + XdStream::BUFFER_BYTES;
  return true;
}

bool PutRaw(XdStream* xd, const void* bytes, size_t count) {
  const auto* from = static_cast<const uint8_t*>(bytes);
  while (count > 0) {
    if (xd->next == xd->limit && !Flush(xd)) return false;
    const size_t part =
        std::min(count, static_cast<size_t>(xd->limit - xd->next));
    memcpy(xd->next, from, part);
    xd->next += part;
    from += part;
    count -= part;
  }
  return true;
}

bool TakeRaw(XdStream* xd, void* bytes, size_t count) {
  if (count > XdRemaining(xd)) return XdFail(xd, "the end of the file");
  memcpy(bytes, xd->next, count);
  xd->next += count;
  return true;
}

// The plain transport of one item of `width` bytes, given in the byte order of
// the machine.
bool PlainItem(XdStream* xd, void* value, size_t width) {
  uint8_t bytes[8];
  if (xd->direction == XD_ENCODE) {
    memcpy(bytes, value, width);
    std::reverse(bytes, bytes + width);
    return PutRaw(xd, bytes, width);
  }
  if (xd->direction != XD_DECODE || !TakeRaw(xd, bytes, width)) return false;
  std::reverse(bytes, bytes + width);
  memcpy(value, bytes, width);
  return true;
}

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

// The library reads narrow items from words without looking at what does not
// fit; a file that has something there would be another when it is written.
bool XdrNarrow(XdStream* xd, void* value, size_t width,
               bool (*fits)(uint32_t word)) {
  uint32_t word = 0;
  if (xd->direction == XD_DECODE && XdRemaining(xd) >= 4) {
    memcpy(&word, xd->next, sizeof word);
    if (!fits(__builtin_bswap32(word)))
      return XdFail(xd, "a number that does not fit its field");
  }
  switch (width) {
    case 1: return xdr_u_char(&xd->xdr, static_cast<uint8_t*>(value));
    default: return xdr_u_short(&xd->xdr, static_cast<uint16_t*>(value));
  }
}

template <class T>
bool Fits(uint32_t word) {
  return static_cast<uint32_t>(static_cast<int32_t>(static_cast<T>(word))) ==
         word;
}

// The library's operations on the stream's buffer --------------------------

XdStream* Owner(XDR* xdr) {
  return static_cast<XdStream*>(xdr->x_private);
}

bool_t GetLong(XDR* xdr, long* value) {
  uint32_t word = 0;
  if (!TakeRaw(Owner(xdr), &word, sizeof word)) return FALSE;
  *value = static_cast<int32_t>(__builtin_bswap32(word));
  return TRUE;
}

bool_t PutLong(XDR* xdr, const long* value) {
  const uint32_t word = __builtin_bswap32(static_cast<uint32_t>(*value));
  return PutRaw(Owner(xdr), &word, sizeof word);
}

bool_t GetBytes(XDR* xdr, char* bytes, u_int count) {
  return TakeRaw(Owner(xdr), bytes, count);
}

bool_t PutBytes(XDR* xdr, const char* bytes, u_int count) {
  return PutRaw(Owner(xdr), bytes, count);
}

// Positions and in-place access are not used by the routines called here; the
// library takes these answers as "not offered".
u_int GetPosition(XDR*) {
  return static_cast<u_int>(-1);
}
bool_t SetPosition(XDR*, u_int) {
  return FALSE;
}
int32_t* Inline(XDR*, u_int) {
  return nullptr;
}
void Destroy(XDR*) {}
bool_t Control(XDR*, int, void*) {
  return FALSE;
}

constexpr XDR::xdr_ops BUFFER_OPERATIONS = {
    GetLong,     PutLong, GetBytes, PutBytes, GetPosition,
    SetPosition, Inline,  Destroy,  Control,
};

void CreateWriting(XdStream* xd, XdSink* sink, XdTransport transport) {
  xd->buffer = UtBlock(XdStream::BUFFER_BYTES);
  xd->direction = XD_ENCODE;
  xd->transport = transport;
  xd->sink = sink;
  xd->start = xd->next = reinterpret_cast<uint8_t*>(xd->buffer.data());
  xd->limit = xd->start + xd->buffer.size();
}

void CreateReading(XdStream* xd, std::string_view bytes, uint64_t offset,
                   XdTransport transport) {
  xd->direction = XD_DECODE;
  xd->transport = transport;
  // Nothing is written there.
  xd->start = xd->next =
      const_cast<uint8_t*>(reinterpret_cast<const uint8_t*>(bytes.data()));
  xd->limit = xd->start + bytes.size();
  xd->offset = offset;
  xd->failed = nullptr;
}

void ConnectLibrary(XdStream* xd) {
  xd->xdr = {};
  xd->xdr.x_op = static_cast<xdr_op>(xd->direction);
  xd->xdr.x_ops = &BUFFER_OPERATIONS;
  xd->xdr.x_private = xd;
}

// The length in front of a text: NULL_LENGTH when there is none.
bool TextLength(XdStream* xd, const char* text, uint32_t* length) {
  if (xd->direction == XD_ENCODE) {
    const size_t characters = text == nullptr ? 0 : strlen(text);
    if (characters >= XdStream::NULL_LENGTH) return false;
    *length = text == nullptr ? XdStream::NULL_LENGTH
                              : static_cast<uint32_t>(characters);
  }
  if (!XdULong(xd, length)) return false;
  return *length == XdStream::NULL_LENGTH || XdCountFits(xd, *length, 1);
}

#ifdef __SSE2__
// Writes a text of less than 32 characters that stands on a boundary of 32
// bytes, where the names of a compile do: all of these bytes are in one page.
// False when it is not written yet.
[[gnu::no_sanitize_address]] bool PutAlignedText(XdStream* xd,
                                                 const char* text) {
  constexpr ptrdiff_t ROOM = 2 * 4 + 32 + 4;  // lengths, characters, fill
  if (reinterpret_cast<uintptr_t>(text) % 32 != 0 ||
      xd->limit - xd->next < ROOM)
    return false;
  const auto* from = reinterpret_cast<const __m128i*>(text);
  const __m128i first = _mm_load_si128(from);
  const __m128i second = _mm_load_si128(from + 1);
  const __m128i zero = _mm_setzero_si128();
  const auto ends =
      static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(first, zero))) |
      static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(second, zero)))
          << 16;
  if (ends == 0) return false;
  const auto length = static_cast<uint32_t>(__builtin_ctz(ends));
  const bool is_xdr = xd->transport == XD_TRANSPORT_XDR;
  XdPutWord(xd, length);
  if (length == 0) return true;
  if (is_xdr) XdPutWord(xd, length);
  auto* to = reinterpret_cast<__m128i*>(xd->next);
  _mm_storeu_si128(to, first);
  _mm_storeu_si128(to + 1, second);
  memset(xd->next + length, 0, 4);
  xd->next += is_xdr ? (length + 3) / 4 * 4 : length;
  return true;
}
#endif

// Writes a text that the buffer has room for in one step: most texts of a file
// are short names. False when it is not written yet.
bool PutShortText(XdStream* xd, const char* text) {
  if (text == nullptr) return false;
#ifdef __SSE2__
  if (PutAlignedText(xd, text)) return true;
#endif
  if (xd->transport != XD_TRANSPORT_PLAIN) return false;
  const size_t length = strlen(text);
  if (static_cast<size_t>(xd->limit - xd->next) < length + 4) return false;
  XdPutWord(xd, static_cast<uint32_t>(length));
  memcpy(xd->next, text, length);
  xd->next += length;
  return true;
}

// What fills a text up to a multiple of four bytes is zero.
bool FillIsZero(const XdStream* xd, uint32_t length) {
  for (uint32_t i = 0; i < (0 - length) % 4; i++)
    if (xd->next[-1 - static_cast<ptrdiff_t>(i)] != 0) return false;
  return true;
}

}  // namespace

bool XdMemory::write(const uint8_t* bytes, size_t count) {
  return UtGuarded([&] {
           bytes_.insert(bytes_.end(), bytes, bytes + count);
           return RC_OK;
         }) == RC_OK;
}

void XdCreateXdr(XdStream* xd, XdSink* sink) {
  CreateWriting(xd, sink, XD_TRANSPORT_XDR);
  ConnectLibrary(xd);
}

void XdCreatePlain(XdStream* xd, XdSink* sink) {
  CreateWriting(xd, sink, XD_TRANSPORT_PLAIN);
}

void XdCreateXdr(XdStream* xd, std::string_view bytes, uint64_t offset) {
  CreateReading(xd, bytes, offset, XD_TRANSPORT_XDR);
  ConnectLibrary(xd);
}

void XdCreatePlain(XdStream* xd, std::string_view bytes, uint64_t offset) {
  CreateReading(xd, bytes, offset, XD_TRANSPORT_PLAIN);
}

void XdCreateRelease(XdStream* xd) {
  xd->direction = XD_FREE;
  xd->transport = XD_TRANSPORT_NONE;
  xd->start = xd->next = xd->limit = nullptr;
}

bool XdDestroy(XdStream* xd) {
  bool written = true;
  if (xd->direction == XD_ENCODE) {
    written = Flush(xd);
    if (!xd->sink->finish()) written = false;
  }
  // Without a buffer the inline primitives do nothing either.
  xd->start = xd->next = xd->limit = nullptr;
  xd->transport = XD_TRANSPORT_NONE;
  xd->buffer.reset();
  return written;
}

bool XdFail(XdStream* xd, const char* what) {
  if (xd->failed == nullptr) {
    xd->failed = what;
    xd->failed_at = xd->offset + static_cast<uint64_t>(xd->next - xd->start);
  }
  return false;
}

bool XdMakeRoom(XdStream* xd, size_t bytes) {
  const auto room = static_cast<size_t>(xd->limit - xd->next);
  return room >= bytes || Flush(xd);
}

bool XdAnyUChar(XdStream* xd, uint8_t* value) {
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR: return XdrNarrow(xd, value, 1, Fits<uint8_t>);
    case XD_TRANSPORT_PLAIN: return PlainItem(xd, value, 1);
  }
  return false;
}

bool XdAnyUShort(XdStream* xd, uint16_t* value) {
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR: return XdrNarrow(xd, value, 2, Fits<uint16_t>);
    case XD_TRANSPORT_PLAIN: return PlainItem(xd, value, 2);
  }
  return false;
}

bool XdAnyULong(XdStream* xd, uint32_t* value) {
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR: return xdr_u_int(&xd->xdr, value);
    case XD_TRANSPORT_PLAIN: return PlainItem(xd, value, 4);
  }
  return false;
}

bool XdChar(XdStream* xd, int8_t* value) {
  auto* bits = reinterpret_cast<uint8_t*>(value);
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR:
      if (xd->direction == XD_DECODE)
        return XdrNarrow(xd, bits, 1, Fits<int8_t>);
      return xdr_char(&xd->xdr, reinterpret_cast<char*>(value));
    case XD_TRANSPORT_PLAIN: return PlainItem(xd, bits, 1);
  }
  return false;
}

bool XdShort(XdStream* xd, int16_t* value) {
  auto* bits = reinterpret_cast<uint16_t*>(value);
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR:
      if (xd->direction == XD_DECODE)
        return XdrNarrow(xd, bits, 2, Fits<int16_t>);
      return xdr_short(&xd->xdr, value);
    case XD_TRANSPORT_PLAIN: return PlainItem(xd, bits, 2);
  }
  return false;
}

bool XdFloat(XdStream* xd, float* value) {
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR: return xdr_float(&xd->xdr, value);
    case XD_TRANSPORT_PLAIN: return PlainItem(xd, value, 4);
  }
  return false;
}

bool XdDouble(XdStream* xd, double* value) {
  // Both transports have the same bytes.
  if (xd->direction == XD_ENCODE && xd->limit - xd->next >= 8) {
    const uint64_t bytes = __builtin_bswap64(std::bit_cast<uint64_t>(*value));
    memcpy(xd->next, &bytes, sizeof bytes);
    xd->next += sizeof bytes;
    return true;
  }
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR: return xdr_double(&xd->xdr, value);
    case XD_TRANSPORT_PLAIN: return PlainItem(xd, value, 8);
  }
  return false;
}

bool XdCharacters(XdStream* xd, char* text, uint32_t length) {
  if (length == 0 || xd->direction == XD_FREE) return true;
  if (text == nullptr) return false;
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR:
      if (!xdr_string(&xd->xdr, &text, length))
        return XdFail(xd, "a text that is longer than its length");
      break;
    case XD_TRANSPORT_PLAIN:
      if (xd->direction == XD_ENCODE) return PutRaw(xd, text, length);
      if (!TakeRaw(xd, text, length)) return false;
      break;
  }
  if (xd->direction != XD_DECODE) return true;
  // What was read must be a text of just this length: the XDR encoding carries
  // a length of its own, which may be smaller.
  if (strnlen(text, length) != length)
    return XdFail(xd, "a text with a zero byte, or shorter than its length");
  return xd->transport != XD_TRANSPORT_XDR || FillIsZero(xd, length) ||
         XdFail(xd, "fill bytes that are not zero");
}

bool XdString(XdStream* xd, char** text) {
  if (xd->direction == XD_FREE) {
    UtFree(text);
    return true;
  }
  if (xd->transport == XD_TRANSPORT_NONE) return true;
  uint32_t length = 0;
  if (xd->direction == XD_DECODE) *text = nullptr;
  if (!TextLength(xd, *text, &length)) return false;
  if (length == XdStream::NULL_LENGTH) return true;
  if (xd->direction == XD_DECODE) {
    *text = static_cast<char*>(UtAllocBytes(size_t{length} + 1));
    if (*text == nullptr) return false;
    (*text)[length] = '\0';
  }
  if (XdCharacters(xd, *text, length)) return true;
  if (xd->direction == XD_DECODE) UtFree(text);
  return false;
}

bool XdText(XdStream* xd, UtArena* arena, const char** text) {
  if (xd->direction == XD_FREE) {
    *text = nullptr;
    return true;
  }
  if (xd->transport == XD_TRANSPORT_NONE) return true;
  uint32_t length = 0;
  if (xd->direction == XD_ENCODE) {
    if (PutShortText(xd, *text)) return true;
    if (!TextLength(xd, *text, &length)) return false;
    // Writing does not change the characters.
    return length == XdStream::NULL_LENGTH ||
           XdCharacters(xd, const_cast<char*>(*text), length);
  }
  *text = nullptr;
  if (!TextLength(xd, nullptr, &length)) return false;
  if (length == XdStream::NULL_LENGTH) return true;
  auto* place = arena->take_array<char>(size_t{length} + 1);
  place[length] = '\0';
  if (!XdCharacters(xd, place, length)) return false;
  *text = place;
  return true;
}

bool XdStringBuf(XdStream* xd, char* buffer, uint32_t capacity) {
  if (xd->direction == XD_FREE || xd->transport == XD_TRANSPORT_NONE)
    return true;
  uint32_t length = 0;
  if (xd->direction == XD_ENCODE && buffer != nullptr) {
    length = static_cast<uint32_t>(strnlen(buffer, capacity));
    if (length == capacity) return false;  // not closed by a zero byte
  }
  if (!XdULong(xd, &length)) return false;
  if (xd->direction == XD_DECODE) {
    if (buffer == nullptr || length >= capacity)
      return XdFail(xd, "a name that is too long");
    buffer[length] = '\0';
  }
  return XdCharacters(xd, buffer, length);
}

bool XdBytes(XdStream* xd, char** block, uint32_t* length, uint32_t* capacity) {
  if (xd->direction == XD_FREE || xd->transport == XD_TRANSPORT_NONE)
    return true;
  if (!XdULong(xd, length)) return false;
  if (*length == 0) return true;
  if (xd->direction == XD_DECODE) {
    if (!XdCountFits(xd, *length, 1)) return false;
    if (*block == nullptr) {
      *block = static_cast<char*>(UtAllocBytes(*length));
      if (*block == nullptr) return false;
      *capacity = *length;
    } else if (*length > *capacity) {
      return XdFail(xd, "a block that is longer than its room");
    }
  }
  if (xd->transport == XD_TRANSPORT_PLAIN)
    return xd->direction == XD_ENCODE ? PutRaw(xd, *block, *length)
                                      : TakeRaw(xd, *block, *length);
  const uint32_t expected = *length;
  if (!xdr_bytes(&xd->xdr, block, length, *capacity) || *length != expected)
    return XdFail(xd, "a block with two lengths");
  return xd->direction == XD_ENCODE || FillIsZero(xd, expected) ||
         XdFail(xd, "fill bytes that are not zero");
}
