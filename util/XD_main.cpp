#include "util/XD_main.h"

#include <sys/stat.h>

#include <algorithm>

namespace {

uint8_t* BufferStart(XdStream* xd) {
  return reinterpret_cast<uint8_t*>(xd->buffer);
}

// Hands the filled part of the buffer to the file.
bool Flush(XdStream* xd) {
  const auto filled = static_cast<size_t>(xd->next - BufferStart(xd));
  xd->next = BufferStart(xd);
  return filled == 0 || fwrite(xd->buffer, 1, filled, xd->file) == filled;
}

// Reads the next part of the file into the buffer, which is used up.
bool Refill(XdStream* xd) {
  const size_t wanted = std::min<uint64_t>(xd->left, XdStream::BUFFER_BYTES);
  const size_t got = wanted == 0 ? 0 : fread(xd->buffer, 1, wanted, xd->file);
  // A file that has become shorter since it was opened ends here.
  xd->left = got == wanted ? xd->left - got : 0;
  xd->next = BufferStart(xd);
  xd->limit = xd->next + got;
  return got != 0;
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
  if (count > XdRemaining(xd)) return false;
  auto* to = static_cast<uint8_t*>(bytes);
  while (count > 0) {
    if (xd->next == xd->limit && !Refill(xd)) return false;
    const size_t part =
        std::min(count, static_cast<size_t>(xd->limit - xd->next));
    memcpy(to, xd->next, part);
    xd->next += part;
    to += part;
    count -= part;
  }
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

// The library's operations on the stream's buffer --------------------------

XdStream* Owner(XDR* xdr) {
  return static_cast<XdStream*>(xdr->x_private);
}

bool_t GetLong(XDR* xdr, long* value) {
  uint32_t word;
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

void Create(XdStream* xd, FILE* file, XdDirection direction,
            XdTransport transport) {
  xd->file = file;
  xd->direction = direction;
  xd->transport = transport;
  xd->maVers = xd->miVers = xd->Sub_vers = 0;
  xd->next = xd->limit = BufferStart(xd);
  xd->left = 0;
  if (direction == XD_ENCODE) xd->limit += XdStream::BUFFER_BYTES;
  if (direction != XD_DECODE || file == nullptr) return;
  struct stat status;
  const long position = ftell(file);
  if (fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode) &&
      position >= 0 && status.st_size > position)
    xd->left = static_cast<uint64_t>(status.st_size - position);
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
  return xd->direction == XD_ENCODE || *length == XdStream::NULL_LENGTH ||
         *length <= XdRemaining(xd);
}

// Writes a text that the buffer has room for in one step: most texts of a file
// are short names. False when it is not written yet.
bool PutShortText(XdStream* xd, const char* text) {
  if (xd->transport != XD_TRANSPORT_PLAIN || text == nullptr) return false;
  const size_t length = strlen(text);
  if (static_cast<size_t>(xd->limit - xd->next) < length + 4) return false;
  XdPutWord(xd, static_cast<uint32_t>(length));
  memcpy(xd->next, text, length);
  xd->next += length;
  return true;
}

}  // namespace

void XdCreateXdr(XdStream* xd, FILE* file, XdDirection direction) {
  Create(xd, file, direction, XD_TRANSPORT_XDR);
  xd->xdr = {};
  xd->xdr.x_op = static_cast<xdr_op>(direction);
  xd->xdr.x_ops = &BUFFER_OPERATIONS;
  xd->xdr.x_private = xd;
}

void XdCreatePlain(XdStream* xd, FILE* file, XdDirection direction) {
  Create(xd, file, direction, XD_TRANSPORT_PLAIN);
}

void XdCreateRelease(XdStream* xd) {
  Create(xd, nullptr, XD_FREE, XD_TRANSPORT_NONE);
}

bool XdDestroy(XdStream* xd) {
  const bool written = xd->direction != XD_ENCODE || Flush(xd);
  // Without a buffer the inline primitives do nothing either.
  xd->next = xd->limit = BufferStart(xd);
  xd->left = 0;
  xd->transport = XD_TRANSPORT_NONE;
  return written;
}

bool XdMakeRoom(XdStream* xd, size_t bytes) {
  const auto room = static_cast<size_t>(xd->limit - xd->next);
  return room >= bytes || Flush(xd);
}

bool XdAnyUChar(XdStream* xd, uint8_t* value) {
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR: return xdr_u_char(&xd->xdr, value);
    case XD_TRANSPORT_PLAIN: return PlainItem(xd, value, 1);
  }
  return false;
}

bool XdAnyUShort(XdStream* xd, uint16_t* value) {
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR: return xdr_u_short(&xd->xdr, value);
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
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR:
      return xdr_char(&xd->xdr, reinterpret_cast<char*>(value));
    case XD_TRANSPORT_PLAIN: return PlainItem(xd, value, 1);
  }
  return false;
}

bool XdShort(XdStream* xd, int16_t* value) {
  switch (xd->transport) {
    case XD_TRANSPORT_NONE: return true;
    case XD_TRANSPORT_XDR: return xdr_short(&xd->xdr, value);
    case XD_TRANSPORT_PLAIN: return PlainItem(xd, value, 2);
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
      if (!xdr_string(&xd->xdr, &text, length)) return false;
      break;
    case XD_TRANSPORT_PLAIN:
      if (xd->direction == XD_ENCODE) return PutRaw(xd, text, length);
      if (!TakeRaw(xd, text, length)) return false;
      break;
  }
  // What was read must be a text of just this length: the XDR encoding carries
  // a length of its own, which may be smaller.
  return xd->direction != XD_DECODE || strnlen(text, length) == length;
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
  auto* place = static_cast<char*>(arena->take(size_t{length} + 1));
  if (place == nullptr) return false;
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
    if (buffer == nullptr || length >= capacity) return false;
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
    if (*length > XdRemaining(xd)) return false;
    if (*block == nullptr) {
      *block = static_cast<char*>(UtAllocBytes(*length));
      if (*block == nullptr) return false;
      *capacity = *length;
    } else if (*length > *capacity) {
      return false;
    }
  }
  if (xd->transport == XD_TRANSPORT_XDR) {
    const uint32_t expected = *length;
    return xdr_bytes(&xd->xdr, block, length, *capacity) && *length == expected;
  }
  return xd->direction == XD_ENCODE ? PutRaw(xd, *block, *length)
                                    : TakeRaw(xd, *block, *length);
}
