// The 8 bytes at the start of every compiled file.
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
// The header is the same in both transports: it is written and read directly
// on the file, never through a stream.
#pragma once

#include <cstdint>
#include <cstdio>

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

// The program's version, "1700" split into two halves, and its sub-version.
constexpr uint8_t XD_MAJOR_VERSION = 17;
constexpr uint8_t XD_MINOR_VERSION = 0;
constexpr uint8_t XD_SUB_VERSION = ' ';

// Writes the header and flushes the file. Returns 0 or RC_HEADER_WRITE.
[[nodiscard]] int XdWriteHeader(FILE* file, const XdHeader& header);

// Returns 0, RC_HEADER_MAGIC when the file does not begin with EE EE, or
// RC_HEADER_READ when it ends within the header.
[[nodiscard]] int XdReadHeader(FILE* file, XdHeader* header);

// Opens a compiled file whose kind is `kind` or `other_kind`, judges its header
// and puts a reading stream over its body. The caller closes `*file`, which is
// nullptr when the call fails. Returns 0, RC_CANNOT_CREATE when it cannot be
// opened or is no regular file, RC_HEADER_MAGIC when the header cannot be read
// or is of another kind, RC_HEADER_VERSION, or RC_INVALID for a transport that
// files do not have.
[[nodiscard]] int XdOpenForReading(const char* path, XdFileKind kind,
                                   XdFileKind other_kind, FILE** file,
                                   XdStream* xd, XdHeader* header);

// Opens `path` for writing, writes the header and puts a writing stream over
// the body. The caller closes `*file`, which is nullptr when the call fails.
// Returns 0, RC_CANNOT_CREATE, RC_INVALID for an unknown transport (the file
// is left empty), or RC_HEADER_WRITE.
[[nodiscard]] int XdOpenForWriting(const char* path, XdFileKind kind,
                                   int transport, FILE** file, XdStream* xd);

// Ends what XdOpenForWriting began, `body` telling whether the record routine
// succeeded. Returns 0, or RC_BODY_FAILED when the body, the last buffer or
// the closing failed: a full disk may show only then.
[[nodiscard]] int XdCloseWritten(FILE* file, XdStream* xd, bool body);
