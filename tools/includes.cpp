// INCLUDE "name"; takes effect at its ";", before the next token is read, so
// following the tokens opens the same files in the same order as the parser.
#include "tools/includes.h"

#include "Cutil/codes.h"
#include "elut/grammar.h"
#include "elut/syntax/lexer.h"

namespace {

class NoReports : public McReportSink {
 public:
  void report(const McReport&) override {}
};

}  // namespace

UtPtr<McSrcBytes> ToolRecordedFiles::open(const char* name) {
  UtPtr<McSrcBytes> bytes = files_->open(name);
  const auto [place, added] = numbers_.try_emplace(name, names_.size());
  if (added)
    names_.push_back({name, bytes != nullptr});
  else
    names_[place->second].found |= bytes != nullptr;
  return bytes;
}

bool ToolIncludesOf(McSrcProvider* files, const char* source,
                    std::vector<ToolInclude>* includes) {
  ToolRecordedFiles recorded(files);
  NoReports silence;
  McScanner scanner(&recorded, &silence);
  if (McSrcOpen(&scanner.source, source) != RC_OK) return false;
  UtString name;  // behind INCLUDE
  int place = 0;  // of the next token in INCLUDE "name" ;
  for (;;) {
    const McToken token = McLex(&scanner);
    if (token.token == TOKEN_END_OF_INPUT) break;
    if (token.token == TOKEN_INCLUDE) {
      place = 1;
    } else if (token.token == TOKEN_SCONST) {
      if (place == 1) name = token.value.text->text();
      place = place == 1 ? 2 : 0;
      McTokenTextRelease(&scanner.strings, token.value.text);
    } else {
      // One that is missing, or nested too deep, is passed over.
      if (place == 2 && token.token == TOKEN_SEMICOLON)
        (void)McSrcInclude(&scanner.source, name.c_str());
      place = 0;
    }
  }
  includes->assign(recorded.names().begin() + 1, recorded.names().end());
  return true;
}
