// Source reader: the text of the files being compiled, whole lines at a time.
//
// Open files form a stack of at most 32 levels, numbered 0 to 31; the level
// number is -1 while no file is open. When the top file ends, reading goes on
// in the file below, right after the place where the upper one was opened.
// Each file counts its own lines from 1.
//
// The scanner reads through the cursor of an McSource: the text from `next` up
// to `limit` consists of complete lines of the current level, and a zero byte
// stands at `limit`. The scanner advances `next` itself and counts the line
// feeds that it passes; a character that it looked at and did not take is not
// passed. At `limit` it calls McSrcMore.
//
// What a line is: at most 10,238 characters and a line feed. A carriage return
// in front of the line feed is not part of it. The input of a level ends in
// front of a line that is longer, that holds a zero byte, or that has no line
// feed at its end. A read error ends it, too, and can be asked for.
//
// Where the bytes come from is the affair of an McSrcProvider: files of the
// system, or texts in memory that stand for files. To show a line of a source
// in a report, it is read again; of what can be read only once, a FIFO or a
// device, the lines are kept.
//
// An McSource owns what it has opened. Everything here throws bad_alloc when
// memory is exhausted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Cutil/ut_memory.h"

inline constexpr int MC_SRC_LEVELS = 32;
// Files that one source may include. A file that includes itself twice would
// otherwise be read some billion times.
inline constexpr uint32_t MC_SRC_INCLUDES = 10000;
inline constexpr size_t MC_SRC_LINE_MAX = 10238;  // without the line feed
// Bytes after `limit` that may be loaded, though not interpreted.
inline constexpr size_t MC_SRC_PADDING = 32;

// The bytes of one source.
class McSrcBytes {
 public:
  McSrcBytes() = default;
  McSrcBytes(const McSrcBytes&) = delete;
  McSrcBytes& operator=(const McSrcBytes&) = delete;
  virtual ~McSrcBytes() = default;

  // The next bytes, at most `room`: their number, 0 at the end, -1 when they
  // cannot be read.
  [[nodiscard]] virtual ptrdiff_t read(char* place, size_t room) = 0;

  // Bytes that were read before, from `offset` on; 0 when there are none any
  // more.
  [[nodiscard]] virtual size_t read_again(uint64_t offset, char* place,
                                          size_t room) = 0;
  [[nodiscard]] virtual bool can_read_again() const = 0;
};

// Opens sources by their names.
class McSrcProvider {
 public:
  McSrcProvider() = default;
  McSrcProvider(const McSrcProvider&) = delete;
  McSrcProvider& operator=(const McSrcProvider&) = delete;
  virtual ~McSrcProvider() = default;

  // nullptr when there is no such source.
  [[nodiscard]] virtual UtPtr<McSrcBytes> open(const char* name) = 0;
};

// The files of the system, exactly as named; a directory is none.
class McSrcFiles : public McSrcProvider {
 public:
  [[nodiscard]] UtPtr<McSrcBytes> open(const char* name) override;
};

// Bytes in memory, which outlive the source that reads them.
class McSrcMemory : public McSrcBytes {
 public:
  explicit McSrcMemory(std::string_view text) : text_(text) {}
  ptrdiff_t read(char* place, size_t room) override;
  size_t read_again(uint64_t offset, char* place, size_t room) override;
  bool can_read_again() const override { return true; }

 private:
  std::string_view text_;
  size_t at_ = 0;
};

// The complete lines at the start of a text.
struct McSrcLines {
  char* end;      // after the last one
  char* raw_end;  // the same in the text as it was read
  bool stopped;   // a line follows that ends the input of the level
};

// The lines from `text` on that the scanner may see. Carriage returns in front
// of line feeds are taken out, so that what follows `end` may have moved. What
// is behind the last line feed counts as stopped when no line can begin so.
[[nodiscard]] McSrcLines McSrcTakeLines(char* text, char* end);

struct McSrcCursor {
  const char* next;   // next character
  const char* limit;  // end of the complete lines at hand; holds a zero byte
  uint32_t line;      // line that `next` is in, counted from 1
};

struct McSrcLevel;

struct McSource {
  // The provider outlives the source.
  explicit McSource(McSrcProvider* files);
  McSource(const McSource&) = delete;
  McSource& operator=(const McSource&) = delete;
  ~McSource();

  McSrcCursor cursor;
  McSrcProvider* provider;
  UtVector<UtPtr<McSrcLevel>> levels;  // the current one last
  UtPtr<McSrcLevel> ended;             // the bottom level, when it has ended
  UtVector<char> text;                 // copy of a text input
  uint32_t opened = 0;                 // number of the file opened last
  uint32_t included = 0;               // files included so far
};

// Closes every level, and forgets the one that ended.
void McSrcReset(McSource* source);

// Opens `name` as a new level. Returns 0, or RC_CANNOT_OPEN when there is no
// such source, when 32 levels are open, or when part of the current line has
// been read; the stack is then as it was.
[[nodiscard]] int McSrcOpen(McSource* source, const char* name);

// The same in the middle of a line, whose rest is read when the new level has
// ended: what INCLUDE needs. Returns 0; RC_CANNOT_OPEN; RC_TOO_DEEP for the
// 33rd level or file number 10,001. Without an open level, as in text input,
// it is refused.
[[nodiscard]] int McSrcInclude(McSource* source, const char* name);

// Makes `text` (its first 10,239 characters) the whole input. Levels that are
// open are closed. No lines are counted.
void McSrcSetText(McSource* source, std::string_view text);

// Brings further complete lines of the current level in front of `limit`;
// false when the level has ended. The text from `*keep` on stays readable in
// front of them, and `*keep` and the cursor follow it to where it is now.
// Without `keep` the text that was read is gone.
bool McSrcMore(McSource* source, const char** keep);

// True when a read error ended the current level.
bool McSrcReadFailed(const McSource& source);

// Ends the current level. True when there is no more input, false when reading
// goes on in the level below.
bool McSrcWrap(McSource* source);

struct McSrcPlace {
  int level;         // -1: no file is open
  uint32_t file;     // number of that file, another one for each; 0: none
  uint32_t line;     // of the current level, or where the last file ended
  const char* name;  // of the current or that last file; empty for text input
};
McSrcPlace McSrcPosition(const McSource& source);

// Line `number` of a file, as long as that is the current one or the bottom one
// that has ended; the empty text otherwise, and when there is no such line.
UtString McSrcLineText(const McSource& source, uint32_t file, uint32_t number);
