// A file is read once, whoever includes it, and what is found in it is noted
// once.
#include "tools/check/files.h"

#include "elut/grammar.h"

CheckFile* CheckFiles::open(const std::string& name) {
  const auto found = files_.find(name);
  if (found != files_.end()) return found->second.get();
  UtPtr<McSrcBytes> bytes = provider_.open(name.c_str());
  if (bytes == nullptr) return nullptr;
  std::string text;
  char block[65536];
  for (ptrdiff_t got; (got = bytes->read(block, sizeof block)) > 0;)
    text.append(block, static_cast<size_t>(got));
  auto file = std::make_unique<CheckFile>(name, std::move(text));
  return files_.emplace(name, std::move(file)).first->second.get();
}

CheckTexts CheckFiles::repaired(const CheckSource* of,
                                const CheckFault* fault) const {
  CheckTexts texts;
  for (const auto& [name, file] : files_) {
    const CheckSource& source = file->source;
    std::string_view text =
        std::string_view(source.text).substr(0, source.size());
    size_t without = CheckEdits::NONE;
    if (&source == of) {
      if (fault->cut_line > 0)
        text = text.substr(0, source.line_start(fault->cut_line));
      else
        without = fault->repair;
    }
    texts[name] = source.repairs.apply(text, without);
  }
  return texts;
}

void CheckScanAll(CheckFile* file) {
  file->scanner.move(0);
  while (file->scanner.next().kind != TOKEN_END_OF_INPUT) {
  }
  file->source.repairs.sort();
}
