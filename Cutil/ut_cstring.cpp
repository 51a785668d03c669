// Every operation works on plain bytes in one code page: arguments are
// converted to the code page of the value first. Questions that have to look at
// letters, or at texts in two code pages, are asked in UTF-16, which all of
// them can be converted to. The converter is the system's.
#include "Cutil/ut_cstring.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

bool IsUtf16(uint16_t code_page) {
  return code_page == CODE_PAGE_UTF16_LE || code_page == CODE_PAGE_UTF16_BE;
}

uint16_t Resolve(uint16_t code_page) {
  return code_page == CODE_PAGE_DEFAULT ? UtDefaultCodePage() : code_page;
}

bool IsContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The name under which the system's converter knows a code page.
void ConverterName(uint16_t code_page, char (&name)[24]) {
  const unsigned number = code_page;
  if (number == CODE_PAGE_UTF8)
    strcpy(name, "UTF-8");
  else if (IsUtf16(code_page))
    strcpy(name, number == CODE_PAGE_UTF16_LE ? "UTF-16LE" : "UTF-16BE");
  else if (number >= CODE_PAGE_LATIN1 && number <= CODE_PAGE_LATIN1 + 15)
    snprintf(name, sizeof name, "ISO-8859-%u", number - CODE_PAGE_LATIN1 + 1);
  else
    snprintf(name, sizeof name, "CP%u", number);
}

class Converter {
 public:
  Converter(uint16_t from, uint16_t to) {
    char from_name[24], to_name[24];
    ConverterName(from, from_name);
    ConverterName(to, to_name);
    handle_ = iconv_open(to_name, from_name);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (known()) iconv_close(handle_);
  }

  bool known() const {
    return reinterpret_cast<intptr_t>(handle_) != intptr_t{-1};
  }

  // Converts as much as there is; `*rest` starts with what does not convert.
  void step(std::string_view* rest, UtString* out) {
    char* from = const_cast<char*>(rest->data());
    size_t left = rest->size();
    bool full = true;
    while (full) {
      char buffer[512];
      char* to = buffer;
      size_t room = sizeof buffer;
      full = iconv(handle_, &from, &left, &to, &room) == SIZE_MAX &&
             errno == E2BIG;
      out->append(buffer, static_cast<size_t>(to - buffer));
    }
    rest->remove_prefix(rest->size() - left);
  }

 private:
  iconv_t handle_;
};

// The bytes of the first character, which could not be converted.
size_t CharacterBytes(std::string_view text, uint16_t code_page) {
  size_t bytes = 1;
  if (IsUtf16(code_page)) {
    const size_t high = code_page == CODE_PAGE_UTF16_LE ? 1 : 0;
    const bool pair = text.size() >= 4 && (text[high] & 0xFC) == 0xD8 &&
                      (text[high + 2] & 0xFC) == 0xDC;
    bytes = pair ? 4 : 2;
  } else if (code_page == CODE_PAGE_UTF8) {
    while (bytes < text.size() && IsContinuation(text[bytes])) bytes++;
  }
  return std::min(bytes, text.size());
}

void AppendQuestionMark(uint16_t code_page, UtString* out) {
  if (code_page == CODE_PAGE_UTF16_BE) out->push_back('\0');
  out->push_back('?');
  if (code_page == CODE_PAGE_UTF16_LE) out->push_back('\0');
}

UtString Converted(std::string_view text, uint16_t from, uint16_t to) {
  if (from == to) return UtString(text);
  UtString out;
  Converter converter(from, to);
  while (converter.known() && !text.empty()) {
    converter.step(&text, &out);
    if (text.empty()) break;
    AppendQuestionMark(to, &out);
    text.remove_prefix(CharacterBytes(text, from));
  }
  return out;
}

// Offset of the character `count`, at most the size of the text.
size_t Offset(std::string_view text, uint16_t code_page, uint64_t count) {
  if (IsUtf16(code_page)) return std::min(count * 2, uint64_t{text.size()});
  if (code_page != CODE_PAGE_UTF8)
    return std::min(count, uint64_t{text.size()});
  size_t at = 0;
  for (; at < text.size() && count > 0; count--)
    at += CharacterBytes(text.substr(at), code_page);
  return at;
}

int64_t CountedCharacters(std::string_view text, uint16_t code_page) {
  if (IsUtf16(code_page)) return static_cast<int64_t>(text.size() / 2);
  if (code_page != CODE_PAGE_UTF8) return static_cast<int64_t>(text.size());
  int64_t count = 0;
  for (size_t at = 0; at < text.size(); count++)
    at += CharacterBytes(text.substr(at), code_page);
  return count;
}

using Units = std::basic_string<char16_t, std::char_traits<char16_t>,
                                UtAllocator<char16_t>>;

Units Utf16(std::string_view text, uint16_t code_page) {
  const UtString bytes = Converted(text, code_page, CODE_PAGE_UTF16_LE);
  Units units(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < units.size(); i++) {
    const auto low = static_cast<unsigned char>(bytes[2 * i]);
    const auto high = static_cast<unsigned char>(bytes[2 * i + 1]);
    units[i] = static_cast<char16_t>(low | high << 8);
  }
  return units;
}

std::u16string_view WithoutMark(std::u16string_view units) {
  if (units.starts_with(u'\xFEFF') || units.starts_with(u'\xFFFE'))
    units.remove_prefix(1);
  return units;
}

void FoldCase(Units* units) {
  for (char16_t& unit : *units) {
    const bool letter = (unit >= u'A' && unit <= u'Z') ||
                        (unit >= 0xC0 && unit <= 0xDE && unit != 0xD7);
    if (letter) unit = static_cast<char16_t>(unit + 32);
  }
}

uint16_t LocaleCodePage() {
  const char* locale = nullptr;
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    locale = getenv(name);
    if (locale != nullptr && *locale != '\0') break;
  }
  const char* charset = locale == nullptr ? nullptr : strchr(locale, '.');
  if (charset == nullptr) return CODE_PAGE_UTF8;
  unsigned number = 0;
  if (sscanf(charset, ".ISO-8859-%2u", &number) == 1 ||
      sscanf(charset, ".ISO8859-%2u", &number) == 1)
    return static_cast<uint16_t>(CODE_PAGE_LATIN1 - 1 + number);
  if (sscanf(charset, ".CP%4u", &number) == 1)
    return static_cast<uint16_t>(number);
  return CODE_PAGE_UTF8;
}

}  // namespace

uint16_t UtDefaultCodePage() {
  static const uint16_t code_page = LocaleCodePage();
  return code_page;
}

int UtCString::assign(std::string_view bytes, uint16_t from, uint16_t stored) {
  from = Resolve(from);
  stored = Resolve(stored);
  return UtGuarded([&] {
    UtString converted = Converted(bytes, from, stored);
    if (IsUtf16(stored)) converted.push_back('\0');
    bytes_.swap(converted);
    code_page_ = stored;
    return RC_OK;
  });
}

int UtCString::assign(const char* bytes, uint16_t from, uint16_t stored) {
  return assign(bytes == nullptr ? std::string_view() : bytes, from, stored);
}

int UtCString::assign(const char16_t* units, uint16_t stored) {
  const std::u16string_view text = units == nullptr ? u"" : units;
  return assign({reinterpret_cast<const char*>(text.data()), text.size() * 2},
                __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? CODE_PAGE_UTF16_LE
                                                          : CODE_PAGE_UTF16_BE,
                stored);
}

int UtCString::convert(uint16_t code_page, UtCString* out) const {
  return out->assign(content(), code_page_, code_page);
}

int UtCString::substring(int64_t start, int64_t count, UtCString* out) const {
  const int64_t total = CountedCharacters(content(), code_page_);
  if (start >= total || start < -total)
    return out->assign("", code_page_, code_page_);
  if (start < 0) start += total;
  if (count < 0 || count > total - start) count = total - start;
  const size_t from =
      Offset(content(), code_page_, static_cast<uint64_t>(start));
  const std::string_view rest = content().substr(from);
  const size_t size = Offset(rest, code_page_, static_cast<uint64_t>(count));
  return out->assign(rest.substr(0, size), code_page_, code_page_);
}

int UtCString::replace(const UtCString& old_text, const UtCString& new_text) {
  return UtGuarded([&] {
    const UtString wanted =
        Converted(old_text.content(), old_text.code_page_, code_page_);
    const UtString inserted =
        Converted(new_text.content(), new_text.code_page_, code_page_);
    UtString result;
    const std::string_view text = content();
    const size_t unit = IsUtf16(code_page_) ? 2 : 1;
    size_t copied = 0;
    size_t at = wanted.empty() ? std::string_view::npos : text.find(wanted);
    while (at != std::string_view::npos) {
      if (at % unit != 0) {  // not where a character begins
        at = text.find(wanted, at + 1);
        continue;
      }
      result.append(text.substr(copied, at - copied)).append(inserted);
      copied = at + wanted.size();
      at = text.find(wanted, copied);
    }
    result.append(text.substr(copied));
    return assign(std::string_view(result), code_page_, code_page_);
  });
}

int UtCString::append(const UtCString& tail) {
  return concatenate(tail, this);
}

int UtCString::concatenate(const UtCString& tail, UtCString* out) const {
  return UtGuarded([&] {
    UtString result(content());
    result += Converted(tail.content(), tail.code_page_, code_page_);
    return out->assign(std::string_view(result), code_page_, code_page_);
  });
}

int UtCString::compare(const UtCString& other) const {
  if (code_page_ == other.code_page_) return content().compare(other.content());
  int order = 1;
  const int code = UtGuarded([&] {
    const Units ours = Utf16(content(), code_page_);
    const Units theirs = Utf16(other.content(), other.code_page_);
    order = WithoutMark(ours).compare(WithoutMark(theirs));
    return RC_OK;
  });
  return code == RC_OK ? order : 1;
}

int UtCString::compare(const char* bytes) const {
  if (bytes == nullptr) return 1;
  UtCString other;
  if (other.assign(bytes, CODE_PAGE_DEFAULT, CODE_PAGE_DEFAULT) != RC_OK)
    return 1;
  return compare(other);
}

bool UtCString::starts_with(const UtCString& head, bool with_case) const {
  return holds(head, with_case, false);
}

bool UtCString::ends_with(const UtCString& tail, bool with_case) const {
  return holds(tail, with_case, true);
}

uint32_t UtCString::length() const {
  const std::string_view text = content();
  int64_t count = CountedCharacters(text, code_page_);
  if (IsUtf16(code_page_)) {
    const size_t high = code_page_ == CODE_PAGE_UTF16_LE ? 1 : 0;
    for (size_t i = high; i < text.size(); i += 2)
      if ((text[i] & 0xFC) == 0xDC) count--;
  }
  return static_cast<uint32_t>(count);
}

bool UtCString::holds(const UtCString& part, bool with_case,
                      bool at_end) const {
  bool found = false;
  const int code = UtGuarded([&] {
    Units text = Utf16(content(), code_page_);
    Units wanted = Utf16(part.content(), part.code_page_);
    if (!with_case) {
      FoldCase(&text);
      FoldCase(&wanted);
    }
    found = at_end ? text.ends_with(wanted) : text.starts_with(wanted);
    return RC_OK;
  });
  return code == RC_OK && found;
}

std::string_view UtCString::content() const {
  std::string_view text(bytes_);
  if (IsUtf16(code_page_)) text.remove_suffix(1);
  return text;
}
