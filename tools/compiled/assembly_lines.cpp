// Words are kept from line to line, so that reading a line takes memory only
// when it has more of them than those before it.
#include "tools/compiled/assembly_lines.h"

#include <algorithm>

void AssemblyLines::advance() {
  count_ = 0;
  while (count_ == 0 && next_ < text_.size()) {
    const size_t end = std::min(text_.find('\n', next_), text_.size());
    number_++;
    read(text_.substr(next_, end - next_));
    next_ = end + 1;
  }
  if (count_ == 0) number_++;
}

AssemblyWord* AssemblyLines::add(AssemblyWordKind kind, size_t column) {
  if (count_ == MOST_WORDS) fail(column + 1, "too many words");
  if (count_ == words_.size()) words_.emplace_back();
  AssemblyWord* word = &words_[count_++];
  word->kind = kind;
  word->column = column + 1;
  return word;
}

namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

// Reads a text behind its first quote; returns where it goes on.
size_t AssemblyLines::read_text(std::string_view line, size_t at,
                                std::string* text) {
  const size_t begin = at;
  text->clear();
  for (; at < line.size(); at++) {
    const char c = line[at];
    if (c == '"') return at + 1;
    if (c != '\\') {
      *text += c;
      continue;
    }
    const char escape = ++at < line.size() ? line[at] : '\0';
    switch (escape) {
      case 'n': *text += '\n'; break;
      case 't': *text += '\t'; break;
      case '"':
      case '\\': *text += escape; break;
      case 'x': {
        const int high = at + 1 < line.size() ? HexDigit(line[at + 1]) : -1;
        const int low = at + 2 < line.size() ? HexDigit(line[at + 2]) : -1;
        if (high < 0 || low < 0) fail(at, "\\x needs two hexadecimal digits");
        *text += static_cast<char>(high * 16 + low);
        at += 2;
        break;
      }
      default: fail(at, "an escape that does not exist");
    }
  }
  fail(begin, "a text that does not end");
}

void AssemblyLines::read(std::string_view line) {
  constexpr std::string_view BLANKS = " \t\r";
  constexpr std::string_view ENDS = " \t\r\";";
  size_t at = 0;
  while ((at = line.find_first_not_of(BLANKS, at)) < line.size()) {
    const char c = line[at];
    if (c == ';') return;
    if (count_ > 0 && (words_[count_ - 1].kind == AssemblyWordKind::OPEN ||
                       words_[count_ - 1].kind == AssemblyWordKind::CLOSE))
      fail(at + 1, "something behind the last word of a line");
    if (c == '"') {
      AssemblyWord* word = add(AssemblyWordKind::TEXT, at);
      at = read_text(line, at + 1, &word->text);
      continue;
    }
    const size_t end = std::min(line.find_first_of(ENDS, at), line.size());
    const std::string_view word = line.substr(at, end - at);
    const AssemblyWordKind kind = word == "{"   ? AssemblyWordKind::OPEN
                                  : word == "}" ? AssemblyWordKind::CLOSE
                                                : AssemblyWordKind::WORD;
    if (kind == AssemblyWordKind::CLOSE && count_ > 0)
      fail(at + 1, "\"}\" stands on a line of its own");
    add(kind, at)->word = word;
    at = end;
  }
}
