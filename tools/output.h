// What commands print: text, or JSON for programs that read it.
//
// Both go through a buffer to one place, the standard output or a file, so that
// an output of any size takes no more memory than the buffer.
#ifndef TOOLS_OUTPUT_H
#define TOOLS_OUTPUT_H

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "Cutil/ut_file.h"

// Collects bytes and hands them on in large pieces.
class ToolOutput {
 public:
  ToolOutput() : buffer_(BUFFER_BYTES) {}
  ToolOutput(const ToolOutput&) = delete;
  ToolOutput& operator=(const ToolOutput&) = delete;
  virtual ~ToolOutput() = default;

  void put(char c) {
    if (used_ == buffer_.size()) flush();
    buffer_.data()[used_++] = c;
  }
  void put(std::string_view text) {
    if (text.size() > buffer_.size() - used_) return put_long(text);
    // An empty text may point nowhere, which memcpy does not take.
    used_ += text.copy(buffer_.data() + used_, text.size());
  }
  // A literal: the compiler knows how much to copy.
  template <size_t SIZE>
  void put(const char (&literal)[SIZE]) {
    memcpy(room(SIZE), literal, SIZE);
    used_ += SIZE - 1;
  }
  void decimal(uint64_t number);
  void decimal(int64_t number);
  void decimal(uint32_t number) { decimal(uint64_t{number}); }
  void decimal(int32_t number) { decimal(int64_t{number}); }
  // At least `digits` hexadecimal digits.
  void hex(uint64_t number, unsigned digits);
  // Two digits per byte.
  void hex_bytes(std::string_view bytes);
  // An offset of 8 digits and up to PLACE_BYTES bytes that are there, with
  // blanks between them, filled up to a number of columns and two more.
  static constexpr size_t PLACE_BYTES = 16;
  void place(uint64_t offset, std::string_view bytes, size_t columns);
  // The shortest text that is read as the same number; "nan", "inf", "-inf".
  void real(double number);
  // Between quotes; what is not printable ASCII, quotes and backslashes as
  // \n, \t, \", \\ or \xNN.
  void quoted(std::string_view text);
  // Room for up to some hundred bytes that the caller writes, and where they
  // end.
  char* room(size_t bytes) {
    if (buffer_.size() - used_ < bytes) flush();
    return buffer_.data() + used_;
  }
  void end_at(const char* end) {
    used_ = static_cast<size_t>(end - buffer_.data());
  }
  // Blanks; and takes back those that were put last.
  void indent(size_t columns);
  void drop_blanks() {
    while (used_ > 0 && buffer_.data()[used_ - 1] == ' ') used_--;
  }

  // Hands on what is left. False when not all could be written.
  bool finish() {
    flush();
    return !failed_;
  }

 protected:
  [[nodiscard]] virtual bool write(const char* bytes, size_t count) = 0;

 private:
  static constexpr size_t BUFFER_BYTES = size_t{64} * 1024;
  void flush();
  void put_long(std::string_view text);

  UtBlock buffer_;
  size_t used_ = 0;
  bool failed_ = false;
};

// To the standard output.
class ToolStdout : public ToolOutput {
 protected:
  bool write(const char* bytes, size_t count) override;
};

// To a file, which takes the place of its target only when it is complete
// (Cutil/ut_file.h).
class ToolFile : public ToolOutput {
 public:
  // Opens it, or says on the standard error stream why that cannot be done.
  [[nodiscard]] bool open(const std::string& path);
  [[nodiscard]] bool commit();

 protected:
  bool write(const char* bytes, size_t count) override;

 private:
  std::string path_;
  UtOutputFile file_;
};

// To a string.
class ToolText : public ToolOutput {
 public:
  std::string text;

 protected:
  bool write(const char* bytes, size_t count) override;
};

// JSON, value by value: what is between begin and end of an object needs keys,
// what is between those of an array does not. Elements of an array of objects
// stand on lines of their own.
//
// A text of a file is a sequence of bytes: each becomes the character of that
// code, U+0000 to U+00FF, so that a program which reads them gets the bytes
// back, whatever they mean.
class ToolJson {
 public:
  explicit ToolJson(ToolOutput* output) : output_(output) {}

  ToolJson& key(const char* name);
  void begin_object();
  void end_object();
  void begin_array();
  void end_array();
  void text(std::string_view bytes);
  void hex_bytes(std::string_view bytes);
  void number(uint64_t number);
  void number(int64_t number);
  void number(uint32_t value) { number(uint64_t{value}); }
  void number(int32_t value) { number(int64_t{value}); }
  // A number that JSON has no form for becomes "nan", "inf" or "-inf".
  void real(double number);
  void boolean(bool value);
  void null();
  // What is JSON already.
  void raw(std::string_view json);

 private:
  void value();
  void characters(std::string_view bytes);

  ToolOutput* output_;
  unsigned depth_ = 0;  // arrays and objects around a value
  bool first_ = true;   // of its array or object
  bool keyed_ = false;  // its key has been written
};

// Reads a file for a command. Says on the standard error stream why that
// cannot be done: TOOL_TROUBLE.
[[nodiscard]] bool ToolRead(const std::string& path, UtString* bytes);

// The same for a text, which may also come from a pipe, or as "-" from the
// standard input.
[[nodiscard]] bool ToolReadText(const std::string& path, UtString* text);

#endif
