// Bytes as people write them, and streams over files that have no name.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "util/XD_main.h"

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

// The other way round; blanks are skipped.
inline std::string FromHex(std::string_view hex) {
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); ++i) {
    if (hex[i] == ' ') continue;
    const char digits[] = {hex[i], hex[++i], '\0'};
    bytes += static_cast<char>(strtol(digits, nullptr, 16));
  }
  return bytes;
}

inline auto XdCreator(XdTransport transport) {
  return transport == XD_TRANSPORT_XDR ? XdCreateXdr : XdCreatePlain;
}

// The bytes that `write` puts into a file, or "failed".
std::string XdWritten(XdTransport transport, auto write) {
  char* text = nullptr;
  size_t length = 0;
  FILE* file = open_memstream(&text, &length);
  XdStream xd;
  XdCreator(transport)(&xd, file, XD_ENCODE);
  const bool good = write(&xd) && XdDestroy(&xd);
  fclose(file);
  const std::string bytes(text, length);
  free(text);
  return good ? bytes : "failed";
}

// How many of these bytes `read` leaves.
constexpr int64_t XD_FAILED = -1;
int64_t XdReadFrom(XdTransport transport, std::string_view bytes, auto read) {
  FILE* file = tmpfile();
  fwrite(bytes.data(), 1, bytes.size(), file);
  rewind(file);
  XdStream xd;
  XdCreator(transport)(&xd, file, XD_DECODE);
  const bool good = read(&xd);
  fclose(file);
  return good ? static_cast<int64_t>(XdRemaining(&xd)) : XD_FAILED;
}
