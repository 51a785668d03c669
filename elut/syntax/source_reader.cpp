// Reading goes through one window per level: whole lines for the scanner in
// front, the beginning of a line whose end has not been read yet behind them.
// A refill moves what must stay to the front of the window and reads behind
// it. Each line is looked at once, with memchr, before the scanner sees it.
#include "elut/syntax/source_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "Cutil/codes.h"

namespace {

// Room of a window: a block of the file, behind a line that is kept and the
// beginning of one that is not complete.
constexpr size_t READ_BYTES = size_t{64} * 1024;
constexpr size_t LINE_BYTES = MC_SRC_LINE_MAX + 2;  // with CR and LF
constexpr size_t WINDOW_BYTES = READ_BYTES + 3 * LINE_BYTES;

struct Level {
  int file = -1;
  char* name = nullptr;
  McLineStore* store = nullptr;
  McLineStore* own_store = nullptr;  // `store`, when the level owns it
  uint32_t number = 0;               // counts the files opened
  char* window = nullptr;
  McSrcCursor cursor = {};  // while a deeper level is current
  char* rest = nullptr;     // incomplete line behind the complete ones
  size_t rest_bytes = 0;
  char* limit = nullptr;     // where the zero byte stands
  char covered = 0;          // what it stands on
  uint64_t rest_offset = 0;  // of the incomplete line, in the file
  bool ended = false;        // nothing behind `limit` will be scanned
};

struct ReaderState {
  Level levels[MC_SRC_LEVELS];
  int top = -1;
  uint32_t opened = 0;        // number of the file opened last
  char* text = nullptr;       // copy of a text input
  char* last_name = nullptr;  // of the bottom file that was closed last
  uint32_t last_number = 0;   // and its number
  uint32_t last_line = 0;     // where its counter stood
  uint32_t included = 0;      // files included since the stack was empty
  bool exhausted = false;     // a level ended for want of memory
} state;

constexpr char NO_INPUT[MC_SRC_PADDING] = {};

void CursorToNothing() {
  mc_src = {NO_INPUT, NO_INPUT, 0};
}

ssize_t ReadFile(int file, char* place, size_t bytes) {
  for (;;) {
    const ssize_t got = read(file, place, bytes);
    if (got >= 0 || errno != EINTR) return got;
  }
}

int OpenSource(const char* name) {
  const int file = open(name, O_RDONLY | O_CLOEXEC);
  if (file < 0) return -1;
  struct stat status;
  if (fstat(file, &status) != 0 || S_ISDIR(status.st_mode)) {
    close(file);
    return -1;
  }
  return file;
}

bool IsRegular(int file) {
  struct stat status;
  return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

// Frees a level and hands back its name, which is then the caller's.
char* CloseLevel(Level* level) {
  if (level->store == nullptr || !level->store->attached()) close(level->file);
  UtFree(&level->window);
  UtDelete(&level->own_store);
  char* name = level->name;
  *level = {};
  return name;
}

void CloseAll() {
  for (; state.top >= 0; state.top--) {
    char* name = CloseLevel(&state.levels[state.top]);
    UtFree(&name);
  }
  UtFree(&state.text);
  UtFree(&state.last_name);
  state.last_number = 0;
  state.last_line = 0;
  state.included = 0;
  state.exhausted = false;
  CursorToNothing();
}

// Pushes a level over an open file, whose owner it becomes. Its lines go to
// `store`, or to a store of its own.
int PushLevel(int file, const char* name, McLineStore* store, bool own_store) {
  Level level;
  level.file = file;
  if (own_store) store = level.own_store = UtNew<McLineStore>();
  const size_t name_bytes = strlen(name) + 1;
  level.name = static_cast<char*>(UtAllocBytes(name_bytes));
  level.window =
      static_cast<char*>(UtAllocBytes(WINDOW_BYTES + MC_SRC_PADDING));
  if (level.name == nullptr || level.window == nullptr ||
      (own_store && store == nullptr)) {
    char* unused = CloseLevel(&level);
    UtFree(&unused);
    return RC_NO_MEMORY;
  }
  memcpy(level.name, name, name_bytes);
  memset(level.window, 0, MC_SRC_PADDING);
  level.rest = level.limit = level.window;
  level.store = store;
  level.number = ++state.opened;
  if (store != nullptr && IsRegular(file)) store->attach(file);
  if (state.top >= 0) state.levels[state.top].cursor = mc_src;
  state.levels[++state.top] = level;
  mc_src = {level.window, level.window, 1};
  return RC_OK;
}

// The complete lines at the start of `text`, up to `end`.
struct Lines {
  char* end;      // behind the last one
  char* raw_end;  // the same in the text as it was read
  uint32_t count;
  bool stopped;  // a line follows that ends the input of the level
};

// Finds the complete lines and takes carriage returns in front of line feeds
// out, so that what follows `end` may have moved.
Lines TakeLines(char* text, char* end) {
  Lines lines = {text, text, 0, false};
  // Most files have neither zero bytes nor carriage returns.
  const bool zeros =
      memchr(text, '\0', static_cast<size_t>(end - text)) != nullptr;
  for (char* line = text; line < end;) {
    const auto left = static_cast<size_t>(end - line);
    char* feed = static_cast<char*>(memchr(line, '\n', left));
    if (feed == nullptr) {
      lines.stopped = left > MC_SRC_LINE_MAX + 1 ||
                      (zeros && memchr(line, '\0', left) != nullptr);
      break;
    }
    auto length = static_cast<size_t>(feed - line);
    if (length > 0 && feed[-1] == '\r') length--;
    lines.stopped = length > MC_SRC_LINE_MAX ||
                    (zeros && memchr(line, '\0', length) != nullptr);
    if (lines.stopped) break;
    if (lines.end != line) memmove(lines.end, line, length);
    lines.end += length;
    *lines.end++ = '\n';
    lines.raw_end = line = feed + 1;
    lines.count++;
  }
  return lines;
}

}  // namespace

McSrcCursor mc_src = {NO_INPUT, NO_INPUT, 0};

void McLineStore::release() {
  if (file_ >= 0) close(file_);
  file_ = -1;
  lines_ = 0;
  blocks_ = {};
  text_ = {};
}

int McLineStore::append(const char* text, size_t bytes, uint32_t lines,
                        uint64_t offset) {
  return UtGuarded([&] {
    blocks_.push_back({lines_ + 1, attached() ? offset : text_.size()});
    if (!attached()) text_.append(text, bytes);
    lines_ += lines;
    return RC_OK;
  });
}

size_t McLineStore::read_at(uint64_t offset, char* place, size_t bytes) const {
  if (attached()) {
    const ssize_t got = pread(file_, place, bytes, static_cast<off_t>(offset));
    return got > 0 ? static_cast<size_t>(got) : 0;
  }
  const size_t got = std::min<uint64_t>(bytes, text_.size() - offset);
  memcpy(place, text_.data() + offset, got);
  return got;
}

const char* McLineStore::text(uint32_t number) {
  line_[0] = '\0';
  if (number == 0 || number > lines_) return line_;
  const auto above = std::upper_bound(
      blocks_.begin(), blocks_.end(), number,
      [](uint32_t n, const Block& block) { return n < block.line; });
  const Block& block = above[-1];
  uint64_t offset = block.offset;
  uint32_t skip = number - block.line;
  char part[4096];
  size_t filled = 0;
  for (;;) {
    const size_t got = read_at(offset, part, sizeof part);
    if (got == 0) break;  // the file has become shorter meanwhile
    offset += got;
    const char* from = part;
    const char* end = part + got;
    for (; skip > 0; skip--) {
      const void* feed = memchr(from, '\n', static_cast<size_t>(end - from));
      if (feed == nullptr) break;
      from = static_cast<const char*>(feed) + 1;
    }
    if (skip > 0) continue;
    const auto left = static_cast<size_t>(end - from);
    const void* feed = memchr(from, '\n', left);
    const size_t length =
        feed == nullptr
            ? left
            : static_cast<size_t>(static_cast<const char*>(feed) - from);
    const size_t taken = std::min(length, sizeof line_ - 1 - filled);
    memcpy(line_ + filled, from, taken);
    filled += taken;
    if (feed != nullptr) break;
  }
  if (filled > 0 && line_[filled - 1] == '\r') filled--;
  line_[filled] = '\0';
  return line_;
}

void McSrcReset() {
  CloseAll();
}

int McSrcOpen(const char* name, McLineStore* store) {
  if (state.top + 1 >= MC_SRC_LEVELS) return RC_CANNOT_OPEN;
  if (state.top >= 0 && mc_src.next != state.levels[state.top].window &&
      mc_src.next[-1] != '\n')
    return RC_CANNOT_OPEN;
  const int file = OpenSource(name);
  if (file < 0) return RC_CANNOT_OPEN;
  return PushLevel(file, name, store, false);
}

int McSrcInclude(const char* name, bool* too_deep) {
  *too_deep = false;
  if (state.top < 0) return RC_CANNOT_OPEN;
  const int file = OpenSource(name);
  if (file < 0) return RC_CANNOT_OPEN;
  if (state.top + 1 >= MC_SRC_LEVELS || state.included == MC_SRC_INCLUDES) {
    close(file);
    *too_deep = true;
    return RC_CANNOT_OPEN;
  }
  state.included++;
  return PushLevel(file, name, nullptr, true);
}

int McSrcSetText(const char* text) {
  CloseAll();
  const size_t length = strnlen(text, MC_SRC_LINE_MAX + 1);
  state.text = static_cast<char*>(UtAllocZero(length + MC_SRC_PADDING, 1));
  if (state.text == nullptr) return RC_NO_MEMORY;
  memcpy(state.text, text, length);
  mc_src = {state.text, state.text + length, 0};
  return RC_OK;
}

void McSrcStop() {
  mc_src.next = mc_src.limit = NO_INPUT;
  for (int i = 0; i <= state.top; i++) {
    Level* level = &state.levels[i];
    level->ended = true;
    level->rest_bytes = 0;
    level->cursor.next = level->cursor.limit = NO_INPUT;
  }
}

bool McSrcMore(const char** keep) {
  if (state.top < 0) return false;
  Level* level = &state.levels[state.top];
  if (level->ended) return false;

  // Bring the kept text and the incomplete line to the front.
  *level->limit = level->covered;
  size_t kept = 0;
  if (keep != nullptr) {
    kept = static_cast<size_t>(mc_src.limit - *keep);
    memmove(level->window, *keep, kept);
    mc_src.next = level->window + (mc_src.next - *keep);
    *keep = level->window;
  } else {
    mc_src.next = level->window;
  }
  char* start = level->window + kept;
  if (level->rest_bytes > 0) memmove(start, level->rest, level->rest_bytes);
  char* filled = start + level->rest_bytes;

  Lines lines = {start, start, 0, false};
  while (lines.count == 0 && !lines.stopped) {
    const ssize_t got = ReadFile(level->file, filled, READ_BYTES);
    if (got <= 0) break;
    filled += got;
    lines = TakeLines(start, filled);
  }
  memset(filled, 0, MC_SRC_PADDING);
  level->ended = lines.count == 0 || lines.stopped;
  if (lines.count > 0 && level->store != nullptr &&
      level->store->append(start, static_cast<size_t>(lines.end - start),
                           lines.count, level->rest_offset) != RC_OK) {
    lines.count = 0;
    lines.end = start;
    level->ended = true;
    state.exhausted = true;
  }
  level->rest_offset += static_cast<uint64_t>(lines.raw_end - start);
  level->rest = lines.raw_end;
  level->rest_bytes =
      level->ended ? 0 : static_cast<size_t>(filled - lines.raw_end);
  level->limit = lines.end;
  level->covered = *lines.end;
  *lines.end = '\0';
  mc_src.limit = lines.end;
  return lines.count > 0;
}

bool McSrcExhausted() {
  return state.exhausted;
}

bool McSrcWrap() {
  if (state.top < 0) return true;
  const uint32_t line = mc_src.line;
  const uint32_t number = state.levels[state.top].number;
  char* name = CloseLevel(&state.levels[state.top--]);
  if (state.top >= 0) {
    UtFree(&name);
    mc_src = state.levels[state.top].cursor;
    return false;
  }
  UtFree(&state.last_name);
  state.last_name = name;
  state.last_number = number;
  state.last_line = line;
  state.included = 0;
  CursorToNothing();
  return true;
}

McSrcPlace McSrcPosition() {
  if (state.top >= 0)
    return {state.top, state.levels[state.top].number, mc_src.line,
            state.levels[state.top].name};
  return {-1, state.last_number, state.last_line,
          state.last_name == nullptr ? "" : state.last_name};
}

McLineStore* McSrcLines() {
  return state.top >= 0 ? state.levels[state.top].store : nullptr;
}

const char* McSrcLineText(McLineStore* store, uint32_t number) {
  return store == nullptr ? "" : store->text(number);
}
