// Reading goes through one window per level: whole lines for the scanner in
// front, the beginning of a line whose end has not been read yet behind them.
// A refill moves what must stay to the front of the window and reads behind
// it.
//
// Most text has neither zero bytes nor carriage returns and no line of ten
// thousand characters. That is found out for a block at a time, and then only
// its last line feed matters; other blocks are taken line by line.
#include "elut/syntax/source_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "Cutil/codes.h"
#include "Cutil/ut_file.h"

namespace {

// Room of a window: a block of the file, behind a line that is kept and the
// beginning of one that is not complete.
constexpr size_t READ_BYTES = size_t{64} * 1024;
constexpr size_t LINE_BYTES = MC_SRC_LINE_MAX + 2;  // with CR and LF
constexpr size_t WINDOW_BYTES = READ_BYTES + 3 * LINE_BYTES;

constexpr char NO_INPUT[MC_SRC_PADDING] = {};

// A file of the system.
class DiskFile : public McSrcBytes {
 public:
  DiskFile(UtDescriptor file, bool regular)
      : file_(std::move(file)), regular_(regular) {}
  ptrdiff_t read(char* place, size_t room) override {
    return UtRead(file_.number(), place, room);
  }
  size_t read_again(uint64_t offset, char* place, size_t room) override {
    const ssize_t got =
        pread(file_.number(), place, room, static_cast<off_t>(offset));
    return got > 0 ? static_cast<size_t>(got) : 0;
  }
  bool can_read_again() const override { return regular_; }

 private:
  UtDescriptor file_;
  bool regular_;
};

// Where the lines of a level begin, for those that a report shows.
class LineIndex {
 public:
  // Complete lines that take `bytes` from `offset` on in the file, the first
  // one being `line`; their text is kept when the file cannot be read again.
  void append(const McSrcBytes& file, uint32_t line, uint64_t offset,
              uint64_t bytes, std::string_view lines) {
    if (file.can_read_again()) {
      blocks_.push_back({line, offset});
      end_ = offset + bytes;
    } else {
      blocks_.push_back({line, kept_.size()});
      kept_ += lines;
      end_ = kept_.size();
    }
  }

  UtString text(McSrcBytes* bytes, uint32_t number) const;

 private:
  struct Block {
    uint32_t line;    // number of its first line
    uint64_t offset;  // of that line, in the file or in kept_
  };
  size_t read(McSrcBytes* bytes, uint64_t offset, char* place,
              size_t room) const {
    const size_t got = std::min<uint64_t>(room, end_ - offset);
    if (bytes->can_read_again()) return bytes->read_again(offset, place, got);
    memcpy(place, kept_.data() + offset, got);
    return got;
  }

  UtVector<Block> blocks_;
  uint64_t end_ = 0;  // after the last complete line, where offsets count
  UtString kept_;
};

UtString LineIndex::text(McSrcBytes* bytes, uint32_t number) const {
  const auto above = std::upper_bound(
      blocks_.begin(), blocks_.end(), number,
      [](uint32_t n, const Block& block) { return n < block.line; });
  if (above == blocks_.begin()) return {};
  uint64_t offset = above[-1].offset;
  uint32_t skip = number - above[-1].line;
  UtString line;
  char part[4096];
  while (const size_t got = read(bytes, offset, part, sizeof part)) {
    offset += got;
    const char* from = part;
    const char* end = part + got;
    for (; skip > 0; skip--) {
      const void* feed = memchr(from, '\n', static_cast<size_t>(end - from));
      if (feed == nullptr) break;
      from = static_cast<const char*>(feed) + 1;
    }
    if (skip > 0) continue;
    const char* feed = std::find(from, end, '\n');
    line.append(from, feed);
    if (feed != end || line.size() > LINE_BYTES) break;
  }
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

// Takes lines one by one, and carriage returns in front of line feeds out.
McSrcLines TakeEachLine(char* text, char* end) {
  McSrcLines lines = {text, text, false};
  const auto has_zero = [](const char* line, size_t length) {
    return memchr(line, '\0', length) != nullptr;
  };
  for (char* line = text; line < end;) {
    const auto left = static_cast<size_t>(end - line);
    char* feed = static_cast<char*>(memchr(line, '\n', left));
    if (feed == nullptr) {
      lines.stopped = left > MC_SRC_LINE_MAX + 1 || has_zero(line, left);
      break;
    }
    auto length = static_cast<size_t>(feed - line);
    if (length > 0 && feed[-1] == '\r') length--;
    lines.stopped = length > MC_SRC_LINE_MAX || has_zero(line, length);
    if (lines.stopped) break;
    if (lines.end != line) memmove(lines.end, line, length);
    lines.end += length;
    *lines.end++ = '\n';
    lines.raw_end = line = feed + 1;
  }
  return lines;
}

// True when no line of the text, nor what follows its last line feed, is longer
// than a line may be. Looks at a line feed in ten thousand bytes or so.
bool LinesFit(const char* text, const char* end) {
  while (static_cast<size_t>(end - text) > MC_SRC_LINE_MAX) {
    const void* feed = memrchr(text, '\n', MC_SRC_LINE_MAX + 1);
    if (feed == nullptr) return false;
    text = static_cast<const char*>(feed) + 1;
  }
  return true;
}

uint32_t FeedsIn(const char* text, const char* end) {
  return static_cast<uint32_t>(std::count(text, end, '\n'));
}

}  // namespace

// One open file.
struct McSrcLevel {
  UtString name;
  UtPtr<McSrcBytes> bytes;
  uint32_t number = 0;  // counts the files opened
  UtBlock window;
  McSrcCursor cursor = {};  // while a deeper level is current
  char* rest = nullptr;     // incomplete line after the complete ones
  size_t rest_bytes = 0;
  char* limit = nullptr;     // where the zero byte stands
  char covered = 0;          // what it stands on
  uint64_t rest_offset = 0;  // of the incomplete line, in the file
  bool ended = false;        // nothing after `limit` will be scanned
  bool failed = false;       // because of a read error
  LineIndex lines;
};

namespace {

McSrcLevel* Top(const McSource& source) {
  return source.levels.empty() ? nullptr : source.levels.back().get();
}

void CursorToNothing(McSource* source) {
  source->cursor = {NO_INPUT, NO_INPUT, 0};
}

bool IsFull(const McSource& source) {
  return source.levels.size() >= size_t{MC_SRC_LEVELS};
}

// Pushes a level over an open file.
void PushLevel(McSource* source, UtPtr<McSrcBytes> bytes, const char* name) {
  auto level = UtMake<McSrcLevel>();
  level->name = name;
  level->bytes = std::move(bytes);
  level->window = UtBlock(WINDOW_BYTES + MC_SRC_PADDING);
  memset(level->window.data(), 0, MC_SRC_PADDING);
  level->rest = level->limit = level->window.data();
  level->number = source->opened + 1;
  source->levels.reserve(MC_SRC_LEVELS);
  // From here on nothing fails.
  source->opened++;
  if (McSrcLevel* below = Top(*source)) below->cursor = source->cursor;
  source->cursor = {level->limit, level->limit, 1};
  source->levels.push_back(std::move(level));
}

}  // namespace

McSrcLines McSrcTakeLines(char* text, char* end) {
  const auto bytes = static_cast<size_t>(end - text);
  if (memchr(text, '\0', bytes) != nullptr ||
      memchr(text, '\r', bytes) != nullptr || !LinesFit(text, end))
    return TakeEachLine(text, end);
  char* feed = static_cast<char*>(memrchr(text, '\n', bytes));
  char* after = feed == nullptr ? text : feed + 1;
  return {after, after, false};
}

UtPtr<McSrcBytes> McSrcFiles::open(const char* name) {
  UtDescriptor file(::open(name, O_RDONLY | O_CLOEXEC));
  struct stat status;
  if (!file.is_open() || fstat(file.number(), &status) != 0 ||
      S_ISDIR(status.st_mode))
    return nullptr;
  return UtMake<DiskFile>(std::move(file), S_ISREG(status.st_mode));
}

ptrdiff_t McSrcMemory::read(char* place, size_t room) {
  const size_t got = read_again(at_, place, room);
  at_ += got;
  return static_cast<ptrdiff_t>(got);
}

size_t McSrcMemory::read_again(uint64_t offset, char* place, size_t room) {
  const size_t got =
      offset < text_.size() ? std::min(room, text_.size() - offset) : 0;
  memcpy(place, text_.data() + offset, got);
  return got;
}

McSource::McSource(McSrcProvider* files) : provider(files) {
  CursorToNothing(this);
}

McSource::~McSource() = default;

void McSrcReset(McSource* source) {
  source->levels.clear();
  source->ended.reset();
  source->text.clear();
  source->included = 0;
  CursorToNothing(source);
}

int McSrcOpen(McSource* source, const char* name) {
  if (IsFull(*source)) return RC_CANNOT_OPEN;
  const McSrcLevel* top = Top(*source);
  const char* next = source->cursor.next;
  if (top != nullptr && next != top->window.data() && next[-1] != '\n')
    return RC_CANNOT_OPEN;
  UtPtr<McSrcBytes> bytes = source->provider->open(name);
  if (bytes == nullptr) return RC_CANNOT_OPEN;
  PushLevel(source, std::move(bytes), name);
  return RC_OK;
}

int McSrcInclude(McSource* source, const char* name) {
  if (source->levels.empty()) return RC_CANNOT_OPEN;
  UtPtr<McSrcBytes> bytes = source->provider->open(name);
  if (bytes == nullptr) return RC_CANNOT_OPEN;
  if (IsFull(*source) || source->included == MC_SRC_INCLUDES)
    return RC_TOO_DEEP;
  PushLevel(source, std::move(bytes), name);
  source->included++;
  return RC_OK;
}

void McSrcSetText(McSource* source, std::string_view text) {
  McSrcReset(source);
  text = text.substr(0, MC_SRC_LINE_MAX + 1);
  text = text.substr(0, text.find('\0'));
  source->text.assign(text.begin(), text.end());
  source->text.resize(text.size() + MC_SRC_PADDING, '\0');
  const char* start = source->text.data();
  source->cursor = {start, start + text.size(), 0};
}

bool McSrcMore(McSource* source, const char** keep) {
  McSrcLevel* level = Top(*source);
  if (level == nullptr || level->ended) return false;
  McSrcCursor* cursor = &source->cursor;
  const uint32_t line = cursor->line + FeedsIn(cursor->next, cursor->limit);

  // Bring the kept text and the incomplete line to the front.
  char* window = level->window.data();
  *level->limit = level->covered;
  size_t kept = 0;
  if (keep != nullptr) {
    kept = static_cast<size_t>(cursor->limit - *keep);
    memmove(window, *keep, kept);
    cursor->next = window + (cursor->next - *keep);
    *keep = window;
  } else {
    cursor->next = window;
  }
  char* start = window + kept;
  if (level->rest_bytes > 0) memmove(start, level->rest, level->rest_bytes);
  char* filled = start + level->rest_bytes;

  McSrcLines lines = {start, start, false};
  while (lines.end == start && !lines.stopped) {
    const ptrdiff_t got = level->bytes->read(filled, READ_BYTES);
    level->failed = got < 0;
    if (got <= 0) break;
    filled += got;
    lines = McSrcTakeLines(start, filled);
  }
  memset(filled, 0, MC_SRC_PADDING);
  const bool any = lines.end != start;
  level->ended = !any || lines.stopped;
  if (any)
    level->lines.append(*level->bytes, line, level->rest_offset,
                        static_cast<uint64_t>(lines.raw_end - start),
                        {start, static_cast<size_t>(lines.end - start)});
  level->rest_offset += static_cast<uint64_t>(lines.raw_end - start);
  level->rest = lines.raw_end;
  level->rest_bytes =
      level->ended ? 0 : static_cast<size_t>(filled - lines.raw_end);
  level->limit = lines.end;
  level->covered = *lines.end;
  *lines.end = '\0';
  cursor->limit = lines.end;
  return any;
}

bool McSrcReadFailed(const McSource& source) {
  return !source.levels.empty() && Top(source)->failed;
}

bool McSrcWrap(McSource* source) {
  if (source->levels.empty()) return true;
  UtPtr<McSrcLevel> level = std::move(source->levels.back());
  source->levels.pop_back();
  if (McSrcLevel* below = Top(*source)) {
    source->cursor = below->cursor;
    return false;
  }
  level->cursor = source->cursor;
  level->window.reset();
  source->ended = std::move(level);
  CursorToNothing(source);
  return true;
}

McSrcPlace McSrcPosition(const McSource& source) {
  if (const McSrcLevel* top = Top(source))
    return {static_cast<int>(source.levels.size()) - 1, top->number,
            source.cursor.line, top->name.c_str()};
  if (const McSrcLevel* last = source.ended.get())
    return {-1, last->number, last->cursor.line, last->name.c_str()};
  return {-1, 0, 0, ""};
}

UtString McSrcLineText(const McSource& source, uint32_t file, uint32_t number) {
  const McSrcLevel* level = Top(source);
  if (level == nullptr) level = source.ended.get();
  if (level == nullptr || level->number != file) return {};
  return level->lines.text(level->bytes.get(), number);
}
