// What a compile has to say, as values that go to a sink.
//
// The parser's own reports have a place and a code; the compiler prints one as
//
//   0:prog.mac Line:12 Code:0 ! syntax error
//
// A sink gets each report once, in the order in which they are met, while the
// compile goes on. The compiler's sink prints them; a test or a tool collects.
#pragma once

#include <cstdint>
#include <string_view>

enum class McReportKind : uint8_t {
  ERROR,        // with a place and a code
  SOURCE_LINE,  // the line of a statement in error, after its ERROR
  STRAY,        // a character that begins no token; the text is the character
  WARNING,      // the compile goes on as if nothing had been
  ARITHMETIC,   // a fault of the arithmetic of a bound
  FAILED_CALL,  // of a built-in function in a bound
};

// Texts and names are valid during the call only.
struct McReport {
  McReportKind kind;
  int code;               // of an ERROR
  std::string_view text;  // ends with a line feed when its line is not to go on
  int level;              // of the file, -1: none
  const char* file;
  uint32_t line;  // from 1; 0: not known
};

class McReportSink {
 public:
  McReportSink() = default;
  McReportSink(const McReportSink&) = delete;
  McReportSink& operator=(const McReportSink&) = delete;
  virtual ~McReportSink() = default;
  virtual void report(const McReport& report) = 0;
};

class Channels;

// Prints reports on the channels, as users of the compiler see them.
class McReportPrinter : public McReportSink {
 public:
  explicit McReportPrinter(Channels* channels) : channels_(channels) {}
  void report(const McReport& report) override;

 private:
  Channels* channels_;
};
