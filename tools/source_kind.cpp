// The compiler's scanner reads the first tokens, and the bytes that it took on
// the way are then read a second time: again from the file, or, from what can
// be read only once, out of a copy.
#include "tools/source_kind.h"

#include <algorithm>
#include <cstring>

#include "Cutil/codes.h"
#include "elut/grammar.h"
#include "elut/syntax/lexer.h"

namespace {

// Tokens in which a brace is looked for when the first one tells nothing. A
// header of the wrong spelling is shorter.
constexpr int TOKENS_FOR_A_GUESS = 64;

// What the scanner has to say here it says again during the compile.
class NoReports : public McReportSink {
 public:
  void report(const McReport&) override {}
};

ToolSourceKind KindOfTokens(McScanner* scanner) {
  switch (McLex(scanner).token) {
    case TOKEN_PROGRAM: return ToolSourceKind::PROGRAM;
    case TOKEN_MODULE: return ToolSourceKind::MODULE;
    case TOKEN_WINDOW:
    case TOKEN_APPLICATION: return ToolSourceKind::MASK;
    default: break;
  }
  for (int i = 1; i < TOKENS_FOR_A_GUESS; i++) {
    const int64_t token = McLex(scanner).token;
    if (token == TOKEN_END_OF_INPUT) break;
    if (token == TOKEN_LEFT_BRACE) return ToolSourceKind::MASK;
  }
  return ToolSourceKind::UNKNOWN;
}

// Hands out one source.
class OneSource : public McSrcProvider {
 public:
  explicit OneSource(UtPtr<McSrcBytes> bytes) : bytes_(std::move(bytes)) {}
  UtPtr<McSrcBytes> open(const char*) override { return std::move(bytes_); }

 private:
  UtPtr<McSrcBytes> bytes_;
};

ToolSourceKind KindOfBytes(UtPtr<McSrcBytes> bytes) {
  OneSource provider(std::move(bytes));
  NoReports silence;
  McScanner scanner(&provider, &silence);
  if (McSrcOpen(&scanner.source, "") != RC_OK) return ToolSourceKind::UNKNOWN;
  return KindOfTokens(&scanner);
}

}  // namespace

// Bytes of which the first ones are read twice.
class ToolSource::Replayed : public McSrcBytes {
 public:
  explicit Replayed(UtPtr<McSrcBytes> bytes) : bytes_(std::move(bytes)) {}

  // The first reading.
  ptrdiff_t read_first(char* place, size_t room) {
    const ptrdiff_t got = bytes_->read(place, room);
    if (got <= 0) return got;
    read_first_ += static_cast<size_t>(got);
    if (!bytes_->can_read_again()) copy_.append(place, place + got);
    return got;
  }

  ptrdiff_t read(char* place, size_t room) override {
    if (at_ == read_first_) {
      UtString().swap(copy_);
      return bytes_->read(place, room);
    }
    room = std::min(room, read_first_ - at_);
    if (bytes_->can_read_again())
      room = bytes_->read_again(at_, place, room);
    else
      memcpy(place, copy_.data() + at_, room);
    at_ += room;
    return static_cast<ptrdiff_t>(room);
  }
  size_t read_again(uint64_t offset, char* place, size_t room) override {
    return bytes_->read_again(offset, place, room);
  }
  bool can_read_again() const override { return bytes_->can_read_again(); }

 private:
  UtPtr<McSrcBytes> bytes_;
  size_t read_first_ = 0;
  size_t at_ = 0;  // of the second reading
  UtString copy_;
};

namespace {

// Lets the scanner read without giving the source away.
template <class Source>
class Borrowed : public McSrcBytes {
 public:
  explicit Borrowed(Source* source) : source_(source) {}
  ptrdiff_t read(char* place, size_t room) override {
    return source_->read_first(place, room);
  }
  size_t read_again(uint64_t offset, char* place, size_t room) override {
    return source_->read_again(offset, place, room);
  }
  bool can_read_again() const override { return source_->can_read_again(); }

 private:
  Source* source_;
};

}  // namespace

ToolSourceKind ToolKindOfText(std::string_view text) {
  return KindOfBytes(UtMake<McSrcMemory>(text));
}

ToolSource::ToolSource(McSrcProvider* files, const char* name) : files_(files) {
  UtPtr<McSrcBytes> bytes = files->open(name);
  found_ = bytes != nullptr;
  if (!found_) return;
  opened_ = UtMake<Replayed>(std::move(bytes));
  kind_ = KindOfBytes(UtMake<Borrowed<Replayed>>(opened_.get()));
}

ToolSource::~ToolSource() = default;

UtPtr<McSrcBytes> ToolSource::open(const char* name) {
  return opened_ != nullptr ? std::move(opened_) : files_->open(name);
}
