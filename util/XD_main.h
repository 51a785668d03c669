// XD streams: how records of compiled files become bytes, and back.
//
// A stream has a direction and a transport. The direction says whether the
// record routines write values, read them, or only release the memory that
// reading would have allocated: one routine per record serves all three, so
// that writing, reading and releasing can never disagree about the layout. The
// transport says how a value becomes bytes:
//
//   XDR    RFC 4506, through the XDR library. Every integer takes 4 bytes.
//   plain  big-endian at the natural width, no alignment, no fill.
//   none   no bytes at all; for releasing.
//
// For example the value 266, written by XdUShort:  plain 01 0A, XDR 00 00 01 0A
// and the text "ab", written by XdString:
//   plain 00 00 00 02 61 62
//   XDR   00 00 00 02 00 00 00 02 61 62 00 00   (its length twice)
// An empty text is 00 00 00 00 and an absent one FF FF FF FF in both.
//
// A stream writes into a buffer and hands it, when it is full, to an XdSink: a
// file (util/xd_header.h) or memory. It may get another one back to go on with.
// It reads from memory, where a file has been read whole: what is left of it
// bounds every count that it claims. The library works on the same memory,
// through operations of ours; single items use its inline macros while the
// buffer has room.
//
// Primitives and record routines return true for success and print nothing. A
// stream that reads remembers where and why it failed first.
#pragma once

#include <rpc/types.h>
#include <rpc/xdr.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "Cutil/ut_arena.h"
#include "Cutil/ut_memory.h"

// The library's own operation codes.
enum XdDirection : int32_t {
  XD_ENCODE = XDR_ENCODE,  // 0: write
  XD_DECODE = XDR_DECODE,  // 1: read
  XD_FREE = XDR_FREE,      // 2: release only
};

// Numbers of the header's transport byte. 2, 3 and 5 belong to the run time.
enum XdTransport : int32_t {
  XD_TRANSPORT_NONE = 0,
  XD_TRANSPORT_XDR = 1,
  XD_TRANSPORT_PLAIN = 4,
};

// Takes what a writing stream has put together.
class XdSink {
 public:
  XdSink() = default;
  XdSink(const XdSink&) = delete;
  XdSink& operator=(const XdSink&) = delete;
  virtual ~XdSink() = default;
  [[nodiscard]] virtual bool write(const uint8_t* bytes, size_t count) = 0;

  // Takes what stands at the start of a buffer of XdStream::BUFFER_BYTES, and
  // returns the buffer to go on with: the same, or one of its own while that
  // one is still being written. nullptr when something could not be written.
  [[nodiscard]] virtual uint8_t* exchange(uint8_t* buffer, size_t count) {
    return write(buffer, count) ? buffer : nullptr;
  }
  // Waits until no buffer is needed any more. False when something could not
  // be written.
  [[nodiscard]] virtual bool finish() { return true; }
};

// A sink that keeps it all.
class XdMemory : public XdSink {
 public:
  // False when memory is exhausted.
  [[nodiscard]] bool write(const uint8_t* bytes, size_t count) override;
  std::string_view bytes() const {
    return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()};
  }

 private:
  UtVector<uint8_t> bytes_;
};

struct XdStream {
  static constexpr size_t BUFFER_BYTES = size_t{64} * 1024;
  static constexpr uint32_t NULL_LENGTH = 0xFFFFFFFF;  // of an absent text

  XdStream() = default;
  XdStream(const XdStream&) = delete;
  XdStream& operator=(const XdStream&) = delete;

  XDR xdr = {};  // the library's handle; used by the XDR transport only
  XdDirection direction = XD_FREE;
  XdTransport transport = XD_TRANSPORT_NONE;
  uint8_t maVers = 0;  // version of the file being read
  uint8_t miVers = 0;
  uint8_t Sub_vers = 0;
  uint8_t* next = nullptr;   // next byte to fill or to take
  uint8_t* limit = nullptr;  // end of the buffer, or of what can be read
  uint8_t* start = nullptr;  // of the buffer, or of what can be read
  XdSink* sink = nullptr;    // the caller's
  UtBlock buffer;
  uint64_t offset = 0;           // reading: of `start`, in the file
  const char* failed = nullptr;  // reading: what was wrong first, and the
  uint64_t failed_at = 0;        // offset in the file where that stands
};

// Puts a writing stream over a sink. Throws bad_alloc.
void XdCreateXdr(XdStream* xd, XdSink* sink);
void XdCreatePlain(XdStream* xd, XdSink* sink);

// Puts a reading stream over bytes, which stay the caller's; they begin at
// `offset` in their file.
void XdCreateXdr(XdStream* xd, std::string_view bytes, uint64_t offset);
void XdCreatePlain(XdStream* xd, std::string_view bytes, uint64_t offset);

// A stream whose primitives release what they would read.
void XdCreateRelease(XdStream* xd);

// Ends the stream. When writing, hands the rest of the buffer to the sink
// first: false when that fails.
[[nodiscard]] bool XdDestroy(XdStream* xd);

// Bytes that can still be read. A count of records that are at least n bytes
// each cannot be larger than this divided by n.
inline uint64_t XdRemaining(const XdStream* xd) {
  return static_cast<uint64_t>(xd->limit - xd->next);
}

// Notes what is wrong with what is being read, unless something was before;
// returns false.
[[gnu::cold]] bool XdFail(XdStream* xd, const char* what);

// True when `count` records of at least `bytes` bytes can still follow.
[[nodiscard]] inline bool XdCountFits(XdStream* xd, uint64_t count,
                                      uint64_t bytes) {
  return xd->direction != XD_DECODE || count <= XdRemaining(xd) / bytes ||
         XdFail(xd, "a count of more than the file holds");
}

// Scalars ------------------------------------------------------------------

// The general forms, for all directions, transports and fill states.
[[nodiscard]] bool XdAnyUChar(XdStream* xd, uint8_t* value);
[[nodiscard]] bool XdAnyUShort(XdStream* xd, uint16_t* value);
[[nodiscard]] bool XdAnyULong(XdStream* xd, uint32_t* value);

// True when 4 bytes can be written straight into the buffer.
inline bool XdHasRoom(const XdStream* xd) {
  return xd->direction == XD_ENCODE && xd->limit - xd->next >= 4;
}

inline void XdPutWord(XdStream* xd, uint32_t value) {
  // Plain items are not aligned, so the place is reached byte-wise there.
  if (xd->transport == XD_TRANSPORT_XDR) {
    auto* place = reinterpret_cast<int32_t*>(xd->next);
    IXDR_PUT_U_INT32(place, value);
  } else {
    const uint32_t swapped = __builtin_bswap32(value);
    memcpy(xd->next, &swapped, sizeof swapped);
  }
  xd->next += 4;
}

// An unsigned 8-bit value.
[[nodiscard]] inline bool XdUChar(XdStream* xd, uint8_t* value) {
  if (!XdHasRoom(xd)) return XdAnyUChar(xd, value);
  if (xd->transport == XD_TRANSPORT_PLAIN)
    *xd->next++ = *value;
  else
    XdPutWord(xd, *value);
  return true;
}

// An unsigned 16-bit value.
[[nodiscard]] inline bool XdUShort(XdStream* xd, uint16_t* value) {
  if (!XdHasRoom(xd)) return XdAnyUShort(xd, value);
  if (xd->transport == XD_TRANSPORT_PLAIN) {
    const uint16_t swapped = __builtin_bswap16(*value);
    memcpy(xd->next, &swapped, sizeof swapped);
    xd->next += 2;
  } else {
    XdPutWord(xd, *value);
  }
  return true;
}

// An unsigned 32-bit value.
[[nodiscard]] inline bool XdULong(XdStream* xd, uint32_t* value) {
  if (!XdHasRoom(xd)) return XdAnyULong(xd, value);
  XdPutWord(xd, *value);
  return true;
}

// Signed values of 8, 16 and 32 bits, and IEEE floats of 32 and 64 bits.
[[nodiscard]] bool XdChar(XdStream* xd, int8_t* value);
[[nodiscard]] bool XdShort(XdStream* xd, int16_t* value);
[[nodiscard]] bool XdFloat(XdStream* xd, float* value);
[[nodiscard]] bool XdDouble(XdStream* xd, double* value);

[[nodiscard]] inline bool XdLong(XdStream* xd, int32_t* value) {
  // The bits of a signed value are those of the unsigned one.
  return XdULong(xd, reinterpret_cast<uint32_t*>(value));
}

// A code in 8 bits, which must be below `count`.
template <class Enum>
[[nodiscard]] bool XdEnum(XdStream* xd, Enum* value, unsigned count) {
  auto code = static_cast<uint8_t>(*value);
  if (!XdUChar(xd, &code)) return false;
  if (code >= count) return XdFail(xd, "a code that does not exist");
  *value = static_cast<Enum>(code);
  return true;
}

// Ports --------------------------------------------------------------------
//
// A record routine that runs millions of times is a template over a port: the
// way its items take. XdPort is the stream itself. XdFastPort writes to one
// transport without looking at the fill state; its user has made room for the
// longest record before.

struct XdPort {
  XdStream* xd;
  bool uchar(uint8_t* value) { return XdUChar(xd, value); }
  bool schar(int8_t* value) { return XdChar(xd, value); }
  bool ushort(uint16_t* value) { return XdUShort(xd, value); }
  bool ulong(uint32_t* value) { return XdULong(xd, value); }
  bool slong(int32_t* value) { return XdLong(xd, value); }
};

template <XdTransport TRANSPORT>
struct XdFastPort {
  uint8_t* next;
  bool uchar(const uint8_t* value) { return put<1>(*value); }
  bool schar(const int8_t* value) {
    return put<1>(static_cast<uint32_t>(int32_t{*value}));
  }
  bool ushort(const uint16_t* value) { return put<2>(*value); }
  bool ulong(const uint32_t* value) { return put<4>(*value); }
  bool slong(const int32_t* value) {
    return put<4>(static_cast<uint32_t>(*value));
  }

 private:
  // The lowest WIDTH bytes of a value, or all four in XDR.
  template <int WIDTH>
  bool put(uint32_t value) {
    if constexpr (TRANSPORT == XD_TRANSPORT_XDR) {
      auto* place = reinterpret_cast<int32_t*>(next);
      IXDR_PUT_U_INT32(place, value);
      next += 4;
    } else {
      const uint32_t swapped = __builtin_bswap32(value << (32 - 8 * WIDTH));
      memcpy(next, &swapped, WIDTH);
      next += WIDTH;
    }
    return true;
  }
};

// Makes room for `bytes` bytes, at most a thousand, in the buffer of a writing
// stream.
[[nodiscard]] bool XdMakeRoom(XdStream* xd, size_t bytes);

// Texts and blocks ---------------------------------------------------------
//
// A text that is read is refused when it is longer than the file, or when it
// holds a zero byte: nothing that writes these files makes one.

// A text in a block of its own, or nullptr. Reading allocates the block, and
// leaves nullptr when it fails; releasing frees it and clears the pointer.
[[nodiscard]] bool XdString(XdStream* xd, char** text);

// A text that hangs in `arena`, or nullptr. Releasing clears the pointer; the
// arena frees the text.
[[nodiscard]] bool XdText(XdStream* xd, UtArena* arena, const char** text);

// A text in the caller's buffer of `capacity` bytes; nullptr counts as empty.
// Reading fails when the closing zero byte would not fit.
[[nodiscard]] bool XdStringBuf(XdStream* xd, char* buffer, uint32_t capacity);

// `length` bytes. Reading into a block that is nullptr allocates it and sets
// `capacity`; reading into an existing one fails when it is too small. Nothing
// is released: the record that owns the block does that.
[[nodiscard]] bool XdBytes(XdStream* xd, char** block, uint32_t* length,
                           uint32_t* capacity);

// The characters of a text whose length has been transferred already.
[[nodiscard]] bool XdCharacters(XdStream* xd, char* text, uint32_t length);
