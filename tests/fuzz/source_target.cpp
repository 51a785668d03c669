// Sources through the tools that read them with all their blanks and comments.
#include <algorithm>

#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/targets.h"
#include "tools/check/check.h"
#include "tools/format/format.h"

void FuzzCheck(const uint8_t* bytes, size_t size) {
  // Files that an input names are those of the system; without a slash they are
  // none.
  std::string text = TextOf(bytes, size);
  std::ranges::replace(text, '/', '+');
  for (const char* name : {"a.mac", "a.msk"}) {
    const CheckTexts texts{{name, text}};
    const CheckResult result = CheckOne(name, texts, {});
    FUZZ_CHECK(
        std::ranges::any_of(result.findings, [](const ToolFinding& finding) {
          return finding.severity == ToolSeverity::ERROR;
        }) == CheckCompile(texts, name, CheckKindOf(name, text)).refused());
  }
}

void FuzzFormat(const uint8_t* bytes, size_t size) {
  TextFiles no_files;
  const FormatStyle style;
  for (const char* name : {"a.mac", "a.msk"}) {
    const Formatted once =
        FormatSource(name, TextOf(bytes, size), style, &no_files);
    FUZZ_CHECK(once.refusal.empty());
    const Formatted twice = FormatSource(name, once.text, style, &no_files);
    FUZZ_CHECK(twice.refusal.empty() && twice.text == once.text);
  }
}
