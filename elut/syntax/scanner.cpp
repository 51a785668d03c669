// Texts of reports are put together here, whatever their length, and get the
// place that the source has reached. Without memory for a long one the report
// goes out without it: that something is wrong must be heard in any case.
#include "elut/syntax/scanner.h"

#include <cstdarg>
#include <cstdio>

namespace {

// A formatted text.
class Formatted {
 public:
  __attribute__((format(printf, 2, 0)))
  Formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length =
        vsnprintf(on_stack_, sizeof on_stack_, format, arguments);
    if (length > 0 && static_cast<size_t>(length) < sizeof on_stack_) {
      text_ = {on_stack_, static_cast<size_t>(length)};
    } else if (length > 0) {
      const int code = UtGuarded([&] {
        long_.resize(static_cast<size_t>(length));
        vsnprintf(long_.data(), long_.size() + 1, format, again);
        return RC_OK;
      });
      if (code == RC_OK) text_ = long_;
    }
    va_end(again);
  }
  std::string_view text() const { return text_; }

 private:
  char on_stack_[512];
  UtString long_;
  std::string_view text_;
};

// Where a text input with a location stands: the location names the end of the
// text, whose line feeds lead back to its start.
McSrcPlace TextPlace(const McScanner& scanner, char (&name)[256]) {
  int line;
  if (sscanf(scanner.location, "%255s (%d)", name, &line) != 2) {
    name[0] = '\0';
    return {-1, 0, 1, name};
  }
  for (const char* p = scanner.text; *p != '\0'; p++) line -= *p == '\n';
  return {-1, 0, static_cast<uint32_t>(line), name};
}

void ReportError(McScanner* scanner, int code, std::string_view text) {
  char name[256] = "";
  const McSrcPlace place = scanner->location != nullptr
                               ? TextPlace(*scanner, name)
                               : McSrcPosition(scanner->source);
  scanner->sink->report(
      {McReportKind::ERROR, code, text, place.level, place.name, place.line});
}

}  // namespace

void McParseError(McScanner* scanner, int code, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  ReportError(scanner, code, Formatted(format, arguments).text());
  va_end(arguments);
}

void McParseFail(McScanner* scanner, int code, const char* format, ...) {
  scanner->error_code = code;
  va_list arguments;
  va_start(arguments, format);
  ReportError(scanner, code, Formatted(format, arguments).text());
  va_end(arguments);
}

void McReportText(McReportSink* sink, McReportKind kind, const char* format,
                  ...) {
  va_list arguments;
  va_start(arguments, format);
  const Formatted formatted(format, arguments);
  va_end(arguments);
  sink->report({kind, RC_OK, formatted.text(), -1, "", 0});
}
