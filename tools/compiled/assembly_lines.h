// The lines of an assembly text, as words.
//
// A word is a name or number, a text between quotes, "{" at the end of a line,
// or "}" alone on one. ";" begins a remark. Lines without a word do not count.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

// Thrown by the parser, caught at its edge.
struct AssemblyFault {
  size_t line;
  size_t column;
  std::string message;
};

enum class AssemblyWordKind : uint8_t { WORD, TEXT, OPEN, CLOSE };

struct AssemblyWord {
  AssemblyWordKind kind;
  size_t column;
  std::string_view word;  // WORD: as it stands
  std::string text;       // TEXT: without quotes and escapes
};

// The lines of a text that are not empty, one at a time, as words.
class AssemblyLines {
 public:
  // Of a line: a variable with 255 dimensions has most.
  static constexpr size_t MOST_WORDS = 600;

  explicit AssemblyLines(std::string_view text) : text_(text) { advance(); }

  bool at_end() const { return count_ == 0; }
  size_t number() const { return number_; }
  // Words of the line.
  size_t count() const { return count_; }
  const AssemblyWord& operator[](size_t i) const { return words_[i]; }
  // Whether the line begins with that word.
  bool is(std::string_view word) const {
    return count_ > 0 && words_[0].kind == AssemblyWordKind::WORD &&
           words_[0].word == word;
  }
  bool closes() const {
    return count_ > 0 && words_[0].kind == AssemblyWordKind::CLOSE;
  }

  void advance();

  [[noreturn]] void fail(size_t column, std::string message) const {
    throw AssemblyFault{number_, column, std::move(message)};
  }

 private:
  AssemblyWord* add(AssemblyWordKind kind, size_t column);
  void read(std::string_view line);
  size_t read_text(std::string_view line, size_t at, std::string* text);

  std::string_view text_;
  size_t next_ = 0;    // where the next line begins
  size_t number_ = 0;  // of the line, from 1
  size_t count_ = 0;
  std::deque<AssemblyWord> words_;  // the first count_ of them are in use
};
