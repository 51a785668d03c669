// State of the scanner: one object for each compile.
//
// It holds the source that is read, the names and texts found in it, and where
// reports go. Reports name the place that the source has reached.
#pragma once

#include "elut/syntax/reports.h"
#include "elut/syntax/source_reader.h"
#include "elut/syntax/token_strings.h"

struct McScanner {
  // Both outlive the scanner. Throws bad_alloc.
  McScanner(McSrcProvider* files, McReportSink* reports)
      : source(files), sink(reports) {}

  McSource source;
  McTokenStrings strings;
  McReportSink* sink;

  // The parse error code: 0, or what the last fault has set.
  int error_code = 0;

  // A text input with a location: "name (line)", the place after the text.
  // Reports show that name, and the line less the line feeds of the text.
  const char* text = nullptr;
  const char* location = nullptr;
};

// Reports an error at the place that has been reached. The text is formatted
// like printf.
void McParseError(McScanner* scanner, int code, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// The same, and makes `code` the parse error code.
void McParseFail(McScanner* scanner, int code, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// Reports something without a code, in the words given.
void McReportText(McReportSink* sink, McReportKind kind, const char* format,
                  ...) __attribute__((format(printf, 3, 4)));
