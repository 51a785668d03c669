// The 8 bytes at the start of every compiled file, and the files themselves.
//
//   offset  size  field
//   0       2     magic EE EE
//   2       1     kind: 1 program with a main body, 2 module, 3 masks
//   3       1     major version, 17
//   4       1     minor version, 0
//   5       1     sub-version, ' '
//   6       1     transport of the body: 1 XDR, 4 plain
//   7       1     0
//
// The header is the same in both transports: its bytes do not go through the
// primitives of a stream.
#pragma once

#include <cstdint>

#include "util/XD_main.h"

enum XdFileKind : uint8_t {
  XD_KIND_PROGRAM = 1,
  XD_KIND_MODULE = 2,  // the run time loads modules of this kind only
  XD_KIND_MASK = 3,
};

struct XdHeader {
  uint8_t kind;
  uint8_t maVers;
  uint8_t miVers;
  uint8_t Sub_vers;
  uint8_t transport;
};

inline constexpr size_t XD_HEADER_BYTES = 8;

// The program's version, "1700" split into two halves, and its sub-version.
constexpr uint8_t XD_MAJOR_VERSION = 17;
constexpr uint8_t XD_MINOR_VERSION = 0;
constexpr uint8_t XD_SUB_VERSION = ' ';

// Puts the header of this version in front of all that a new writing stream
// will write.
void XdWriteHeader(XdStream* xd, XdFileKind kind);

// Returns 0, RC_HEADER_MAGIC when the bytes do not begin with EE EE, or
// RC_HEADER_READ when they end within the header.
[[nodiscard]] int XdReadHeader(std::string_view bytes, XdHeader* header);

// Puts a writing stream over a sink. RC_INVALID for a transport that files do
// not have, RC_NO_MEMORY.
[[nodiscard]] int XdOpenForWriting(XdStream* xd, XdSink* sink, int transport);

// Judges a file of one of two kinds by its header and puts a reading stream
// over its body. Returns 0, RC_HEADER_MAGIC when the header cannot be read or
// is of another kind, RC_HEADER_VERSION, or RC_INVALID for a transport that
// files do not have.
[[nodiscard]] int XdOpenForReading(std::string_view file, XdFileKind kind,
                                   XdFileKind other_kind, XdStream* xd,
                                   XdHeader* header);

// What becomes of a file whose body could not be written completely.
enum class XdPart {
  DROPPED,  // what was there before stays
  KEPT,     // it is put in place as far as it goes
};

// Writes a compiled file, which takes the place of an older one when it is
// complete (ut_file.h). `body` writes the record. Returns 0; RC_CANNOT_CREATE;
// RC_INVALID for an unknown transport; RC_HEADER_WRITE; or RC_BODY_FAILED when
// the body failed, the last buffer, or the closing: a full disk may show only
// then. With XdPart::KEPT an unknown transport leaves an empty file.
using XdBodyWriter = bool (*)(XdStream* xd, void* model);
[[nodiscard]] int XdWriteFile(const char* path, XdFileKind kind, int transport,
                              XdPart part, XdBodyWriter body, void* model);
