// What tests of records need: bytes as people write them, and streams over
// files that have no name.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "util/XD_main.h"

constexpr XdTransport XD_BOTH[] = {XD_TRANSPORT_PLAIN, XD_TRANSPORT_XDR};

// "\x01\x0A" as "01 0A".
inline std::string ToHex(std::string_view bytes) {
  std::string hex;
  char digits[4];
  for (const char byte : bytes) {
    snprintf(digits, sizeof digits, " %02X", static_cast<uint8_t>(byte));
    hex += digits;
  }
  return hex.empty() ? hex : hex.substr(1);
}

// The other way round. Blanks separate bytes or groups of bytes.
inline std::string FromHex(std::string_view hex) {
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); ++i) {
    if (hex[i] == ' ') continue;
    const std::string digits(hex.substr(i++, 2));
    bytes += static_cast<char>(strtol(digits.c_str(), nullptr, 16));
  }
  return bytes;
}

inline void XdCreate(XdStream* xd, XdTransport transport, FILE* file,
                     XdDirection direction) {
  const bool is_xdr = transport == XD_TRANSPORT_XDR;
  (is_xdr ? XdCreateXdr : XdCreatePlain)(xd, file, direction);
}

// The bytes that `write`, called with a stream, puts into a file; "failed" when
// it, or the end of the stream, fails.
template <class Write>
std::string XdWritten(XdTransport transport, Write write) {
  FILE* file = tmpfile();
  XdStream xd;
  XdCreate(&xd, transport, file, XD_ENCODE);
  const bool good = write(&xd);
  std::string bytes = "failed";
  if (XdDestroy(&xd) && good) {
    bytes.resize(static_cast<size_t>(ftell(file)));
    rewind(file);
    if (fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) bytes = "?";
  }
  fclose(file);
  return bytes;
}

// How many of these bytes `read`, called with a stream, leaves; -1 when it
// fails.
constexpr int64_t XD_FAILED = -1;
template <class Read>
int64_t XdReadFrom(XdTransport transport, std::string_view bytes, Read read) {
  FILE* file = tmpfile();
  fwrite(bytes.data(), 1, bytes.size(), file);
  rewind(file);
  XdStream xd;
  XdCreate(&xd, transport, file, XD_DECODE);
  const bool good = read(&xd);
  const auto left = static_cast<int64_t>(XdRemaining(&xd));
  const bool ended = XdDestroy(&xd);
  fclose(file);
  return good && ended ? left : XD_FAILED;
}
