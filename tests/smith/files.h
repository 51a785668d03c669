// The files of a source while it is written. Like the reader of the compiler,
// the writer has a stack of open files: an INCLUDE opens one, which takes the
// tokens that follow, and when it ends, the tokens go on behind the INCLUDE.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

enum class LineEnds : uint8_t { FEED, CARRIAGE_RETURN_AND_FEED, EITHER };

class SmithFiles {
 public:
  // Lines up to this length are read by the compiler, with some to spare.
  static constexpr size_t LONGEST_LINE = 10000;
  static constexpr uint32_t TO_THE_END = UINT32_MAX;

  // Opens a file that takes `tokens` tokens. It ends its lines as `ends` says;
  // EITHER changes from line to line.
  void open(std::string name, uint32_t tokens, LineEnds ends);
  // Closes the innermost file.
  void close();

  size_t depth() const { return open_.size(); }
  // Whether the innermost file has all the tokens that it takes.
  bool full() const { return top().tokens == 0; }
  size_t line_length() const { return top().line; }
  size_t size() const { return size_; }  // of all files
  const std::string& name() const { return top().name; }

  // Appends a token, behind a blank or line feed if it needs one.
  void token(std::string_view text);
  // Appends white space and comments; also what is never read.
  void raw(std::string_view text);
  // Whether the text ends in a line feed, or is empty.
  bool at_line_start() const { return top().line == 0; }

  // The texts of the closed files by their names.
  std::map<std::string, std::string> take() { return std::move(closed_); }

 private:
  struct File {
    std::string name;
    std::string text;
    uint32_t tokens;  // that it still takes
    LineEnds ends;
    size_t line = 0;              // length of the last line
    bool setting_at_end = false;  // the last token is @ and a name
  };

  const File& top() const { return open_.back(); }

  std::vector<File> open_;
  std::map<std::string, std::string> closed_;
  size_t size_ = 0;
};
