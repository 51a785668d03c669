// Streams over bytes.
#pragma once

#include "rows.h"
#include "util/XD_main.h"

void XdCreate(XdTransport transport, XdStream* xd, auto... over) {
  if (transport == XD_TRANSPORT_XDR)
    XdCreateXdr(xd, over...);
  else
    XdCreatePlain(xd, over...);
}

// The bytes that `write` makes, or "failed".
std::string XdWritten(XdTransport transport, auto write) {
  XdMemory sink;
  XdStream xd;
  XdCreate(transport, &xd, static_cast<XdSink*>(&sink));
  const bool good = write(&xd) && XdDestroy(&xd);
  return good ? std::string(sink.bytes()) : "failed";
}

// How many of these bytes `read` leaves.
constexpr int64_t XD_FAILED = -1;
int64_t XdReadFrom(XdTransport transport, std::string_view bytes, auto read) {
  XdStream xd;
  XdCreate(transport, &xd, bytes, uint64_t{0});
  return read(&xd) ? static_cast<int64_t>(XdRemaining(&xd)) : XD_FAILED;
}
