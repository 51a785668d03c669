// The sink of the reports looks at the cursor of the source while the parser is
// at the place that the report is about.
#include "tools/check/compile.h"

#include <algorithm>
#include <cstring>

#include "Cutil/codes.h"
#include "elut/compile/parse.h"

namespace {

class Collector : public McReportSink {
 public:
  explicit Collector(CheckOutcome* outcome) : outcome_(outcome) {}
  void watch(const McSource* source) { source_ = source; }

  void report(const McReport& report) override {
    outcome_->error_count += report.kind == McReportKind::ERROR;
    if (outcome_->reports.size() == MOST_REPORTS) return;
    CheckReport made = {
        report.kind, report.code, std::string(report.text), "", 0, 0, true};
    while (made.text.ends_with('\n')) made.text.pop_back();
    if (source_ != nullptr) {
      const McSrcPlace place = McSrcPosition(*source_);
      made.file = place.name;
      made.line = place.line;
      made.at_end = place.level < 0;
      const McSrcCursor& cursor = source_->cursor;
      const auto left = static_cast<size_t>(cursor.limit - cursor.next);
      const void* feed = memchr(cursor.next, '\n', left);
      made.to_line_end =
          feed == nullptr ? left
                          : static_cast<size_t>(static_cast<const char*>(feed) -
                                                cursor.next);
    }
    outcome_->reports.push_back(std::move(made));
  }

 private:
  static constexpr size_t MOST_REPORTS = 20000;

  CheckOutcome* outcome_;
  const McSource* source_ = nullptr;
};

}  // namespace

UtPtr<McSrcBytes> CheckProvider::open(const char* name) {
  const auto found = texts_->find(std::string_view(name));
  if (found == texts_->end()) return files_.open(name);
  return UtMake<McSrcMemory>(found->second);
}

size_t CheckOutcome::errors() const {
  return error_count == 0 && code != RC_OK ? 1 : error_count;
}

CheckOutcome CheckCompile(const CheckTexts& texts, const std::string& name,
                          CheckKind kind) {
  CheckOutcome outcome;
  CheckProvider provider(&texts);
  Collector collector(&outcome);
  McRun run;
  McFront front(&run, &provider, &collector);
  outcome.code =
      UtGuarded([&] { return McSrcOpen(&front.scanner.source, name.c_str()); });
  if (outcome.code != RC_OK) return outcome;
  collector.watch(&front.scanner.source);
  if (kind == CheckKind::MASK) {
    EditorList list(&run.attribute_names);
    outcome.code = MaskParseDefinition(&front, &list);
  } else {
    McProgram program;
    outcome.code = McParseProgram(&front, &program);
  }
  return outcome;
}
