// Numbers are formatted straight into the buffer: most of a large output is
// numbers.
#include "tools/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "Cutil/codes.h"

namespace {

constexpr char DIGITS[] = "0123456789abcdef";

// Each byte as two digits and two blanks, so that one store writes them.
struct ByteTexts {
  char text[256][4];
  constexpr ByteTexts() : text() {
    for (int byte = 0; byte < 256; byte++) {
      text[byte][0] = DIGITS[byte >> 4];
      text[byte][1] = DIGITS[byte & 15];
      text[byte][2] = text[byte][3] = ' ';
    }
  }
};
constexpr ByteTexts BYTES;

}  // namespace

// Output ----------------------------------------------------------------------

void ToolOutput::flush() {
  if (used_ > 0 && !failed_) failed_ = !write(buffer_.data(), used_);
  used_ = 0;
}

// A text that the rest of the buffer does not take.
void ToolOutput::put_long(std::string_view text) {
  flush();
  if (text.size() > buffer_.size())
    failed_ = failed_ || !write(text.data(), text.size());
  else
    put(text);
}

// Most numbers have a few digits, for which this is faster than to_chars.
void ToolOutput::decimal(uint64_t number) {
  constexpr size_t MOST_DIGITS = 20;
  char digits[2 * MOST_DIGITS] = {};
  char* first = digits + MOST_DIGITS;
  do {
    *--first = static_cast<char>('0' + number % 10);
    number /= 10;
  } while (number != 0);
  memcpy(room(MOST_DIGITS), first, MOST_DIGITS);
  used_ += static_cast<size_t>(digits + MOST_DIGITS - first);
}

void ToolOutput::decimal(int64_t number) {
  if (number < 0) put('-');
  decimal(number < 0 ? 0 - static_cast<uint64_t>(number)
                     : static_cast<uint64_t>(number));
}

void ToolOutput::hex(uint64_t number, unsigned digits) {
  while (digits < 16 && number >> 4 * digits != 0) digits++;
  char* place = room(16);
  for (unsigned i = 0; i < digits; i++)
    place[i] = DIGITS[number >> 4 * (digits - 1 - i) & 15];
  used_ += digits;
}

void ToolOutput::hex_bytes(std::string_view bytes) {
  for (const char c : bytes) put({BYTES.text[static_cast<uint8_t>(c)], 2});
}

void ToolOutput::place(uint64_t offset, std::string_view bytes,
                       size_t columns) {
  constexpr unsigned OFFSET_DIGITS = 8;  // files are smaller than 4 GiB
  constexpr size_t WIDEST = 3 * PLACE_BYTES + 1;
  const size_t width = std::max(3 * bytes.size(), columns + 1) + 1;
  char* next = room(OFFSET_DIGITS + 2 + WIDEST);
  used_ += OFFSET_DIGITS + 2 + width;
  for (unsigned i = OFFSET_DIGITS; i > 0; offset >>= 8)
    memcpy(next + (i -= 2), BYTES.text[offset & 0xFF], 2);
  next += OFFSET_DIGITS;
  memset(next, ' ', 2 + WIDEST);
  next += 2;
  for (const char c : bytes) {
    memcpy(next, BYTES.text[static_cast<uint8_t>(c)], sizeof BYTES.text[0]);
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
  output_->put(first_ ? "\"" : ",\"");
  first_ = false;
  output_->put(name);
  output_->put("\":");
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
  size_t plain = 0;  // where what needs no change begins
  for (size_t i = 0; i < bytes.size(); i++) {
    const char c = bytes[i];
    if (c >= ' ' && c <= '~' && c != '"' && c != '\\') continue;
    output_->put(bytes.substr(plain, i - plain));
    plain = i + 1;
    if (c == '"' || c == '\\') {
      output_->put('\\');
      output_->put(c);
    } else {
      output_->put("\\u00");
      output_->hex(static_cast<uint8_t>(c), 2);
    }
  }
  output_->put(bytes.substr(plain));
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

namespace {

bool Tell(int code, const std::string& path) {
  if (code == RC_NO_MEMORY) throw std::bad_alloc();
  if (code != RC_OK)
    fprintf(stderr, "quillo-tools: cannot read '%s'\n", path.c_str());
  return code == RC_OK;
}

}  // namespace

bool ToolRead(const std::string& path, UtString* bytes) {
  return Tell(UtReadWhole(path.c_str(), UT_LARGEST_FILE, bytes), path);
}

bool ToolReadText(const std::string& path, UtString* text) {
  if (path == "-")
    return Tell(UtReadStream(STDIN_FILENO, UT_LARGEST_FILE, text), path);
  const UtDescriptor file(open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
  return Tell(file.is_open()
                  ? UtReadStream(file.number(), UT_LARGEST_FILE, text)
                  : RC_CANNOT_OPEN,
              path);
}
