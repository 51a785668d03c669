// The header goes to a file together with the first buffer of the body. How
// many bytes have reached the file when a write fails tells which of the two is
// not complete.
#include "util/xd_header.h"

#include <optional>
#include <utility>

#include "Cutil/codes.h"
#include "Cutil/ut_file.h"
#include "Cutil/ut_write_behind.h"

namespace {

constexpr uint8_t MAGIC = 0xEE;

// Minor versions 0 to 9 of a release share one layout.
bool VersionFits(const XdHeader& header) {
  return header.maVers == XD_MAJOR_VERSION &&
         header.miVers / 10 == XD_MINOR_VERSION / 10;
}

// In a large file the next buffer is filled while one is written, if a
// processor is free for that.
class FileSink : public XdSink {
 public:
  explicit FileSink(UtOutputFile* file) : file_(file) {}
  ~FileSink() override {
    behind_.reset();
    UtFreeBlock(spare_);
  }

  bool write(const uint8_t* bytes, size_t count) override {
    return file_->write(bytes, count);
  }
  uint8_t* exchange(uint8_t* buffer, size_t count) override {
    if (!behind_.has_value() && !begin_behind())
      return write(buffer, count) ? buffer : nullptr;
    return behind_->write(buffer, count) ? std::exchange(free_, buffer)
                                         : nullptr;
  }
  bool finish() override { return !behind_.has_value() || behind_->finish(); }

 private:
  static constexpr unsigned FIRST_BUFFERS = 8;  // of a large file: 512 KiB

  // Asks once for all that it takes.
  bool begin_behind() {
    if (++buffers_ != FIRST_BUFFERS || !UtProcessorIsFree()) return false;
    spare_ = UtAllocBytes(XdStream::BUFFER_BYTES);
    if (spare_ == nullptr) return false;
    free_ = static_cast<uint8_t*>(spare_);
    behind_.emplace(file_);
    return true;
  }

  UtOutputFile* file_;
  unsigned buffers_ = 0;
  void* spare_ = nullptr;    // a second buffer
  uint8_t* free_ = nullptr;  // of the two, the one that is not being written
  std::optional<UtWriteBehind> behind_;
};

}  // namespace

void XdWriteHeader(XdStream* xd, XdFileKind kind) {
  const uint8_t bytes[XD_HEADER_BYTES] = {
      MAGIC,
      MAGIC,
      kind,
      XD_MAJOR_VERSION,
      XD_MINOR_VERSION,
      XD_SUB_VERSION,
      static_cast<uint8_t>(xd->transport),
      0,
  };
  memcpy(xd->next, bytes, sizeof bytes);
  xd->next += sizeof bytes;
}

int XdReadHeader(std::string_view bytes, XdHeader* header) {
  *header = {};
  const auto* byte = reinterpret_cast<const uint8_t*>(bytes.data());
  if (bytes.size() < 2) return RC_HEADER_READ;
  if (byte[0] != MAGIC || byte[1] != MAGIC) return RC_HEADER_MAGIC;
  if (bytes.size() < XD_HEADER_BYTES) return RC_HEADER_READ;
  *header = {byte[2], byte[3], byte[4], byte[5], byte[6]};
  return RC_OK;
}

int XdOpenForWriting(XdStream* xd, XdSink* sink, int transport) {
  return UtGuarded([&] {
    switch (transport) {
      case XD_TRANSPORT_XDR: XdCreateXdr(xd, sink); return RC_OK;
      case XD_TRANSPORT_PLAIN: XdCreatePlain(xd, sink); return RC_OK;
      default: return RC_INVALID;
    }
  });
}

int XdOpenForReading(std::string_view file, XdFileKind kind,
                     XdFileKind other_kind, XdStream* xd, XdHeader* header) {
  if (XdReadHeader(file, header) != RC_OK ||
      (header->kind != kind && header->kind != other_kind))
    return RC_HEADER_MAGIC;
  if (!VersionFits(*header)) return RC_HEADER_VERSION;
  const std::string_view body = file.substr(XD_HEADER_BYTES);
  switch (header->transport) {
    case XD_TRANSPORT_XDR: XdCreateXdr(xd, body, XD_HEADER_BYTES); break;
    case XD_TRANSPORT_PLAIN: XdCreatePlain(xd, body, XD_HEADER_BYTES); break;
    default: return RC_INVALID;
  }
  xd->maVers = header->maVers;
  xd->miVers = header->miVers;
  xd->Sub_vers = header->Sub_vers;
  return RC_OK;
}

int XdWriteFile(const char* path, XdFileKind kind, int transport, XdPart part,
                XdBodyWriter body, void* model) {
  UtOutputFile file;
  int code = file.open(path);
  if (code == RC_CANNOT_CREATE) return code;
  XdStream xd;
  FileSink sink(&file);
  if (code == RC_OK) code = XdOpenForWriting(&xd, &sink, transport);
  if (code == RC_OK) {
    XdWriteHeader(&xd, kind);
    bool complete = body(&xd, model);
    complete &= XdDestroy(&xd);
    if (!complete)
      code =
          file.written() < XD_HEADER_BYTES ? RC_HEADER_WRITE : RC_BODY_FAILED;
  }
  // A header alone, or a part of one, is never put in the place of a file.
  if (code != RC_OK && (part == XdPart::DROPPED || code == RC_HEADER_WRITE ||
                        code == RC_NO_MEMORY))
    file.abandon();
  else if (!file.commit() && code == RC_OK)
    code = RC_BODY_FAILED;
  return code == RC_NO_MEMORY ? RC_BODY_FAILED : code;
}
