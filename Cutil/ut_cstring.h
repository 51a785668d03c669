// UtCString: a text that knows the code page of its characters.
//
// A code page is a number: 65001 UTF-8, 1200 and 1201 UTF-16 with the low or
// the high byte first, any other a byte code page of the system. 256 stands
// for the default code page of the process wherever an operation is given a
// code page; no value ever holds it. A surrogate pair counts as one character
// in length(), and as two where substring() counts.
//
// The system's converter does the conversions; a character that the target
// cannot hold becomes "?". A text in a code page that the system does not know
// converts to the empty text.
//
// Operations that take memory return 0, or RC_NO_MEMORY with the value as it
// was.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Cutil/ut_memory.h"

enum UtCodePage : uint16_t {
  CODE_PAGE_DEFAULT = 256,
  CODE_PAGE_UTF16_LE = 1200,
  CODE_PAGE_UTF16_BE = 1201,
  CODE_PAGE_LATIN1 = 28591,
  CODE_PAGE_UTF8 = 65001,
};

// The code page that 256 stands for: that of the locale in the environment,
// UTF-8 when it names none. Looked up once.
uint16_t UtDefaultCodePage();

class UtCString {
 public:
  // Takes over bytes that are in the code page `from`, stored in `stored`. The
  // second form takes text up to its zero byte; nullptr is the empty text.
  [[nodiscard]] int assign(std::string_view bytes, uint16_t from,
                           uint16_t stored);
  [[nodiscard]] int assign(const char* bytes, uint16_t from, uint16_t stored);

  // Takes over UTF-16 in the byte order of this machine, up to its zero.
  [[nodiscard]] int assign(const char16_t* units, uint16_t stored);

  // A copy in another code page.
  [[nodiscard]] int convert(uint16_t code_page, UtCString* out) const;

  // `count` characters from `start` on. A negative start counts from the end;
  // a negative count, or one past the end, means up to the end.
  [[nodiscard]] int substring(int64_t start, int64_t count,
                              UtCString* out) const;

  // Replaces every occurrence, from left to right; an empty `old_text` has
  // none. The arguments may be in any code page.
  [[nodiscard]] int replace(const UtCString& old_text,
                            const UtCString& new_text);
  [[nodiscard]] int append(const UtCString& tail);
  [[nodiscard]] int concatenate(const UtCString& tail, UtCString* out) const;

  // 0 for equal texts. Texts of one code page are compared by their bytes or
  // 16-bit units, others as UTF-16 without byte-order marks. Plain bytes are
  // in the default code page; nullptr equals nothing, and nothing is equal
  // when memory is exhausted.
  [[nodiscard]] int compare(const UtCString& other) const;
  [[nodiscard]] int compare(const char* bytes) const;

  // Without case, the letters of Latin-1 are the same in upper and lower case.
  [[nodiscard]] bool starts_with(const UtCString& head, bool with_case) const;
  [[nodiscard]] bool ends_with(const UtCString& tail, bool with_case) const;

  // The characters; in UTF-16 behind the last unit stands a 16-bit zero.
  [[nodiscard]] const char* buffer() const { return bytes_.c_str(); }
  [[nodiscard]] uint16_t code_page() const { return code_page_; }
  [[nodiscard]] uint32_t length() const;

 private:
  [[nodiscard]] std::string_view content() const;
  [[nodiscard]] bool holds(const UtCString& part, bool with_case,
                           bool at_end) const;

  // UTF-16 content is followed by one zero byte, which makes the closing zero
  // of the string a 16-bit one.
  UtString bytes_;
  uint16_t code_page_ = CODE_PAGE_UTF8;
};
