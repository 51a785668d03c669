#include "util/xd_header.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Cutil/codes.h"

namespace {

constexpr uint8_t MAGIC = 0xEE;
constexpr size_t HEADER_BYTES = 8;

// Minor versions 0 to 9 of a release share one layout.
bool VersionFits(const XdHeader& header) {
  return header.maVers == XD_MAJOR_VERSION &&
         header.miVers / 10 == XD_MINOR_VERSION / 10;
}

// Opens a regular file; a FIFO would make the open wait for a writer.
FILE* OpenRegular(const char* path) {
  const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  struct stat status;
  if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
    if (FILE* file = fdopen(descriptor, "rb")) return file;
  }
  close(descriptor);
  return nullptr;
}

}  // namespace

int XdWriteHeader(FILE* file, const XdHeader& header) {
  const uint8_t bytes[HEADER_BYTES] = {
      MAGIC,         MAGIC,           header.kind,      header.maVers,
      header.miVers, header.Sub_vers, header.transport, 0,
  };
  if (fwrite(bytes, 1, HEADER_BYTES, file) != HEADER_BYTES)
    return RC_HEADER_WRITE;
  return fflush(file) == 0 ? RC_OK : RC_HEADER_WRITE;
}

int XdReadHeader(FILE* file, XdHeader* header) {
  *header = {};
  uint8_t magic[2];
  if (fread(magic, 1, sizeof magic, file) != sizeof magic)
    return RC_HEADER_READ;
  if (magic[0] != MAGIC || magic[1] != MAGIC) return RC_HEADER_MAGIC;
  uint8_t rest[HEADER_BYTES - sizeof magic];
  if (fread(rest, 1, sizeof rest, file) != sizeof rest) return RC_HEADER_READ;
  *header = {rest[0], rest[1], rest[2], rest[3], rest[4]};
  return RC_OK;
}

int XdOpenForReading(const char* path, XdFileKind kind, XdFileKind other_kind,
                     FILE** file, XdStream* xd, XdHeader* header) {
  *file = nullptr;
  FILE* opened = OpenRegular(path);
  if (opened == nullptr) return RC_CANNOT_CREATE;
  int code = RC_OK;
  if (XdReadHeader(opened, header) != RC_OK ||
      (header->kind != kind && header->kind != other_kind))
    code = RC_HEADER_MAGIC;
  else if (!VersionFits(*header))
    code = RC_HEADER_VERSION;
  else if (header->transport == XD_TRANSPORT_XDR)
    XdCreateXdr(xd, opened, XD_DECODE);
  else if (header->transport == XD_TRANSPORT_PLAIN)
    XdCreatePlain(xd, opened, XD_DECODE);
  else
    code = RC_INVALID;
  if (code != RC_OK) {
    fclose(opened);
    return code;
  }
  xd->maVers = header->maVers;
  xd->miVers = header->miVers;
  xd->Sub_vers = header->Sub_vers;
  *file = opened;
  return RC_OK;
}

int XdOpenForWriting(const char* path, XdFileKind kind, int transport,
                     FILE** file, XdStream* xd) {
  *file = nullptr;
  FILE* opened = fopen(path, "wbe");
  if (opened == nullptr) return RC_CANNOT_CREATE;
  int code = RC_OK;
  if (transport == XD_TRANSPORT_XDR)
    XdCreateXdr(xd, opened, XD_ENCODE);
  else if (transport == XD_TRANSPORT_PLAIN)
    XdCreatePlain(xd, opened, XD_ENCODE);
  else
    code = RC_INVALID;
  if (code == RC_OK)
    code = XdWriteHeader(
        opened, {kind, XD_MAJOR_VERSION, XD_MINOR_VERSION, XD_SUB_VERSION,
                 static_cast<uint8_t>(transport)});
  if (code != RC_OK) {
    fclose(opened);
    return code;
  }
  *file = opened;
  return RC_OK;
}

int XdCloseWritten(FILE* file, XdStream* xd, bool body) {
  const bool flushed = XdDestroy(xd);
  const bool closed = fclose(file) == 0;
  return body && flushed && closed ? RC_OK : RC_BODY_FAILED;
}
