// Numbers are formatted by the standard library's to_chars, straight into the
// buffer: most of a large output is numbers.
#include "tools/output.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "Cutil/codes.h"

namespace {

constexpr char DIGITS[] = "0123456789abcdef";

}  // namespace

// Output ----------------------------------------------------------------------

void ToolOutput::flush() {
  if (used_ > 0 && !failed_) failed_ = !write(buffer_.data(), used_);
  used_ = 0;
}

// Room for that many bytes, a few hundred at most.
char* ToolOutput::room(size_t bytes) {
  if (buffer_.size() - used_ < bytes) flush();
  return buffer_.data() + used_;
}

void ToolOutput::put(std::string_view text) {
  if (text.size() > buffer_.size() - used_) {
    flush();
    if (text.size() > buffer_.size()) {
      failed_ = failed_ || !write(text.data(), text.size());
      return;
    }
  }
  // An empty text may point nowhere, which memcpy does not take.
  used_ += text.copy(buffer_.data() + used_, text.size());
}

void ToolOutput::decimal(uint64_t number) {
  char* place = room(24);
  used_ +=
      static_cast<size_t>(std::to_chars(place, place + 24, number).ptr - place);
}

void ToolOutput::decimal(int64_t number) {
  char* place = room(24);
  used_ +=
      static_cast<size_t>(std::to_chars(place, place + 24, number).ptr - place);
}

void ToolOutput::hex(uint64_t number, unsigned digits) {
  while (digits < 16 && number >> 4 * digits != 0) digits++;
  char* place = room(16);
  for (unsigned i = 0; i < digits; i++)
    place[i] = DIGITS[number >> 4 * (digits - 1 - i) & 15];
  used_ += digits;
}

void ToolOutput::hex_bytes(std::string_view bytes) {
  for (const char c : bytes) {
    const auto byte = static_cast<uint8_t>(c);
    put(DIGITS[byte >> 4]);
    put(DIGITS[byte & 15]);
  }
}

void ToolOutput::place(uint64_t offset, std::string_view bytes,
                       size_t columns) {
  constexpr unsigned OFFSET_DIGITS = 8;  // files are smaller than 4 GiB
  const size_t width = std::max(3 * bytes.size(), columns + 1) + 1;
  char* next = room(OFFSET_DIGITS + 2 + width);
  used_ += OFFSET_DIGITS + 2 + width;
  memset(next, ' ', OFFSET_DIGITS + 2 + width);
  for (unsigned i = OFFSET_DIGITS; i-- > 0; offset >>= 4)
    next[i] = DIGITS[offset & 15];
  next += OFFSET_DIGITS + 2;
  for (const char c : bytes) {
    const auto byte = static_cast<uint8_t>(c);
    next[0] = DIGITS[byte >> 4];
    next[1] = DIGITS[byte & 15];
    next += 3;
  }
}

void ToolOutput::real(double number) {
  if (std::isnan(number)) return put("nan");
  if (std::isinf(number)) return put(number < 0 ? "-inf" : "inf");
  char* place = room(32);
  used_ +=
      static_cast<size_t>(std::to_chars(place, place + 32, number).ptr - place);
}

void ToolOutput::quoted(std::string_view text) {
  put('"');
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      put('\\');
      put(c);
    } else if (c == '\n') {
      put("\\n");
    } else if (c == '\t') {
      put("\\t");
    } else if (c >= ' ' && c <= '~') {
      put(c);
    } else {
      put("\\x");
      hex(static_cast<uint8_t>(c), 2);
    }
  }
  put('"');
}

void ToolOutput::indent(size_t columns) {
  for (size_t i = 0; i < columns; i++) put(' ');
}

bool ToolStdout::write(const char* bytes, size_t count) {
  return fwrite(bytes, 1, count, stdout) == count;
}

bool ToolText::write(const char* bytes, size_t count) {
  text.append(bytes, count);
  return true;
}

bool ToolFile::open(const std::string& path) {
  path_ = path;
  if (file_.open(path.c_str()) == RC_OK) return true;
  fprintf(stderr, "quillo-tools: cannot create '%s'\n", path.c_str());
  return false;
}

bool ToolFile::write(const char* bytes, size_t count) {
  return file_.write(bytes, count);
}

bool ToolFile::commit() {
  if (finish() && file_.commit()) return true;
  file_.abandon();
  fprintf(stderr, "quillo-tools: cannot write '%s'\n", path_.c_str());
  return false;
}

// JSON ------------------------------------------------------------------------

// What stands between a value and the one before it.
void ToolJson::value() {
  if (keyed_) {
    keyed_ = false;
    return;
  }
  if (!first_) output_->put(',');
  if (depth_ > 0) output_->put('\n');
  first_ = false;
}

ToolJson& ToolJson::key(const char* name) {
  if (!first_) output_->put(',');
  first_ = false;
  characters(name);
  output_->put(':');
  keyed_ = true;
  return *this;
}

void ToolJson::begin_object() {
  value();
  output_->put('{');
  depth_++;
  first_ = true;
}

void ToolJson::end_object() {
  output_->put('}');
  depth_--;
  first_ = false;
  if (depth_ == 0) output_->put('\n');
}

void ToolJson::begin_array() {
  value();
  output_->put('[');
  depth_++;
  first_ = true;
}

void ToolJson::end_array() {
  if (!first_) output_->put('\n');
  output_->put(']');
  depth_--;
  first_ = false;
}

void ToolJson::text(std::string_view bytes) {
  value();
  characters(bytes);
}

void ToolJson::characters(std::string_view bytes) {
  output_->put('"');
  for (const char c : bytes) {
    const auto byte = static_cast<uint8_t>(c);
    if (c == '"' || c == '\\') {
      output_->put('\\');
      output_->put(c);
    } else if (byte >= ' ' && byte < 0x7F) {
      output_->put(c);
    } else {
      output_->put("\\u00");
      output_->hex(byte, 2);
    }
  }
  output_->put('"');
}

void ToolJson::hex_bytes(std::string_view bytes) {
  value();
  output_->put('"');
  output_->hex_bytes(bytes);
  output_->put('"');
}

void ToolJson::number(uint64_t number) {
  value();
  output_->decimal(number);
}

void ToolJson::number(int64_t number) {
  value();
  output_->decimal(number);
}

void ToolJson::real(double number) {
  value();
  const bool named = !std::isfinite(number);
  if (named) output_->put('"');
  output_->real(number);
  if (named) output_->put('"');
}

void ToolJson::boolean(bool value_of_it) {
  value();
  output_->put(value_of_it ? "true" : "false");
}

void ToolJson::null() {
  value();
  output_->put("null");
}

void ToolJson::raw(std::string_view json) {
  value();
  output_->put(json);
}

bool ToolRead(const std::string& path, UtString* bytes) {
  switch (UtReadWhole(path.c_str(), UT_LARGEST_FILE, bytes)) {
    case RC_OK: return true;
    case RC_NO_MEMORY: throw std::bad_alloc();
    default:
      fprintf(stderr, "quillo-tools: cannot read '%s'\n", path.c_str());
      return false;
  }
}
