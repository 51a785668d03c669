// How a report looks to users of the compiler. Its header, its text and its
// line feed leave together, so that compilers that run side by side do not tear
// each other's lines apart.
#include "elut/syntax/reports.h"

#include <cstdio>

#include "Cutil/ut_memory.h"
#include "services/channels.h"

namespace {

// "level:file Line:line Code:code ! " around the name of the file, which may be
// of any length.
void PrintError(Channels* channels, const McReport& report) {
  char level[16];
  char rest[64];
  snprintf(level, sizeof level, "%d:", report.level);
  snprintf(rest, sizeof rest, " Line:%d Code:%d ! ",
           static_cast<int>(report.line), report.code);
  UtString header;
  const int code = UtGuarded([&] {
    header.append(level).append(report.file).append(rest);
    return RC_OK;
  });
  if (code != RC_OK) header.clear();
  const std::string_view parts[] = {header, report.text, "\n"};
  channels->print_parts(CHANNEL_REPORTS, parts, std::size(parts));
}

}  // namespace

void McReportPrinter::report(const McReport& report) {
  switch (report.kind) {
    case McReportKind::ERROR: return PrintError(channels_, report);
    case McReportKind::SOURCE_LINE:
    case McReportKind::FAILED_CALL:
      channels_->print_parts(CHANNEL_REPORTS, &report.text, 1);
      return;
    case McReportKind::WARNING:
      channels_->print_parts(CHANNEL_WARNINGS, &report.text, 1);
      return;
    case McReportKind::STRAY: channels_->out_character(report.text[0]); return;
    case McReportKind::ARITHMETIC:
      channels_->error("%.*s", static_cast<int>(report.text.size()),
                       report.text.data());
      return;
  }
}
