// Source reader: the text of the files being compiled, whole lines at a time.
//
// Open files form a stack of at most 32 levels, numbered 0 to 31; the level
// number is -1 while no file is open. When the top file ends, reading goes on
// in the file below, right behind the place where the upper one was opened.
// Each file counts its own lines from 1.
//
// The scanner reads through McSrcCursor: the text from `next` up to `limit`
// consists of complete lines of the current level, and a zero byte stands at
// `limit`. The scanner advances `next` itself and counts the line feeds that it
// passes; a character that it looked at and did not take is not passed. At
// `limit` it calls McSrcMore.
//
// What a line is: at most 10,238 characters and a line feed. A carriage return
// in front of the line feed is not part of it. The input of a level ends in
// front of a line that is longer, that holds a zero byte, or that has no line
// feed at its end; the same goes for a read error.
//
// A line store keeps what McSrcLineText needs to show a line of a file in a
// report. That of the bottom file belongs to the caller and outlives its level;
// included files have stores of their own while they are open. For a regular
// file it keeps the open file and the offset of every 64 KiB of it, not the
// text, so that a compile does not hold its source in memory; for a FIFO or a
// device it keeps the text.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Cutil/ut_memory.h"

inline constexpr int MC_SRC_LEVELS = 32;
// Files that one source may include. A file that includes itself twice would
// otherwise be read some billion times.
inline constexpr uint32_t MC_SRC_INCLUDES = 10000;
inline constexpr size_t MC_SRC_LINE_MAX = 10238;  // without the line feed
// Bytes behind `limit` that may be loaded, though not interpreted.
inline constexpr size_t MC_SRC_PADDING = 32;

struct McSrcCursor {
  const char* next;   // next character
  const char* limit;  // end of the complete lines at hand; holds a zero byte
  uint32_t line;      // line that `next` is in, counted from 1
};
extern McSrcCursor mc_src;

class McLineStore {
 public:
  McLineStore() = default;
  McLineStore(const McLineStore&) = delete;
  McLineStore& operator=(const McLineStore&) = delete;
  ~McLineStore() { release(); }

  // Drops all lines.
  void release();

  // Keeps `file` open until it is released; lines are read from it again.
  void attach(int file) { file_ = file; }
  bool attached() const { return file_ >= 0; }

  // Adds `lines` complete lines, `text` of `bytes` bytes, which begin at
  // `offset` in the file. Returns 0 or RC_NO_MEMORY.
  [[nodiscard]] int append(const char* text, size_t bytes, uint32_t lines,
                           uint64_t offset);

  // Line `number`, counted from 1, without its line feed; the empty text when
  // there is no such line. Valid until the next call.
  const char* text(uint32_t number);

 private:
  struct Block {
    uint32_t line;    // number of its first line
    uint64_t offset;  // of that line, in the file or in text_
  };
  size_t read_at(uint64_t offset, char* place, size_t bytes) const;

  int file_ = -1;  // -1: the lines are in text_
  uint32_t lines_ = 0;
  UtVector<Block> blocks_;
  UtString text_;
  char line_[MC_SRC_LINE_MAX + 2] = {};
};

// Closes every level, and forgets the file that was open last.
void McSrcReset();

// Opens `name`, exactly as named, as a new level; `store`, or nullptr, gets its
// lines. Returns RC_CANNOT_OPEN when it cannot be opened or is a directory,
// when 32 levels are open, or when part of the current line has been read; the
// stack is then as it was. RC_NO_MEMORY likewise.
[[nodiscard]] int McSrcOpen(const char* name, McLineStore* store);

// The same in the middle of a line, whose rest is read when the new level has
// ended: what INCLUDE needs. `*too_deep` tells whether the 33rd level, or
// file number 10,001, was the reason. Without an open level, as in text input,
// it is refused.
[[nodiscard]] int McSrcInclude(const char* name, bool* too_deep);

// Makes `text` (its first 10,239 characters) the whole input. Levels that are
// open are closed. No lines are counted. Returns 0 or RC_NO_MEMORY.
[[nodiscard]] int McSrcSetText(const char* text);

// Makes the input end here, whatever is left of it.
void McSrcStop();

// Brings further complete lines of the current level in front of `limit`;
// false when the level has ended. The text from `*keep` on stays readable in
// front of them, and `*keep` and the cursor follow it to where it is now.
// Without `keep` the text that was read is gone.
bool McSrcMore(const char** keep);

// True when a level ended in front of lines that no memory was left to keep.
bool McSrcExhausted();

// Ends the current level. True when there is no more input, false when reading
// goes on in the level below.
bool McSrcWrap();

struct McSrcPlace {
  int level;         // -1: no file is open
  uint32_t file;     // number of that file, another one for each; 0: none
  uint32_t line;     // of the current level, or where the last file ended
  const char* name;  // of the current or that last file; empty for text input
};
McSrcPlace McSrcPosition();

// The line store of the current level; nullptr when it has none, or when no
// file is open.
McLineStore* McSrcLines();

// Line `number` of the store; the empty text when there is none, or no store.
const char* McSrcLineText(McLineStore* store, uint32_t number);
