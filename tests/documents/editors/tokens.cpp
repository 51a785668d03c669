// quillo_tokens: where the scanner sees which tokens, for comparison with what
// editors make of a source.
//
//   quillo_tokens FILE...
//
// prints for each file a line "= FILE", then a line "BEGIN END CLASS" for each
// token, comment and stray character, and "END END end" for the place up to
// which the file is read. Places are bytes of the text in which carriage
// returns in front of line feeds do not count.
//
// The scanner does not tell where a token is. Its cursor tells how much of the
// lines at hand it has left, so lines are handed to it one at a time and
// counted. A token begins where the last one ended, after blanks, comments and
// the stray characters that were reported meanwhile.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "elut/grammar.h"
#include "elut/syntax/lexer.h"

namespace {

struct Text {
  std::string raw;    // as the file has it
  std::string lines;  // without carriage returns in front of line feeds
  size_t read = 0;    // bytes of raw that were handed out
  size_t ends = 0;    // the same in lines
};

class Lines : public McSrcBytes {
 public:
  explicit Lines(Text* text) : text_(text) {}
  ptrdiff_t read(char* place, size_t room) override {
    const size_t feed = text_->raw.find('\n', text_->read);
    const size_t end = feed == std::string::npos ? text_->raw.size() : feed + 1;
    const size_t count = std::min(room, end - text_->read);
    text_->raw.copy(place, count, text_->read);
    text_->read += count;
    if (count > 0 && place[count - 1] == '\n')
      text_->ends = text_->lines.find('\n', text_->ends) + 1;
    return static_cast<ptrdiff_t>(count);
  }
  size_t read_again(uint64_t, char*, size_t) override { return 0; }
  bool can_read_again() const override { return true; }

 private:
  Text* text_;
};

class OneText : public McSrcProvider {
 public:
  explicit OneText(Text* text) : text_(text) {}
  UtPtr<McSrcBytes> open(const char*) override { return UtMake<Lines>(text_); }

 private:
  Text* text_;
};

class CountStrays : public McReportSink {
 public:
  void report(const McReport& report) override {
    count += report.kind == McReportKind::STRAY;
  }
  size_t count = 0;
};

const char* ClassOf(int token) {
  switch (token) {
    case TOKEN_IDENT: return "name";
    case TOKEN_FNNAME:
    case TOKEN_CFNNAME: return "function";
    case TOKEN_SIGILNAME:
    case TOKEN_SIGIL: return "external";
    case TOKEN_BUILTIN: return "builtin";
    case TOKEN_ICONST: return "integer";
    case TOKEN_RCONST: return "real";
    case TOKEN_SCONST: return "text";
    case TOKEN_COLON:
    case TOKEN_SEMICOLON:
    case TOKEN_COMMA:
    case TOKEN_DOT:
    case TOKEN_LEFT_BRACKET:
    case TOKEN_RIGHT_BRACKET:
    case TOKEN_LEFT_PAREN:
    case TOKEN_RIGHT_PAREN:
    case TOKEN_LEFT_BRACE:
    case TOKEN_RIGHT_BRACE: return "sign";
#define MC_KEYWORD(name) case TOKEN_##name:
#include "elut/syntax/tokens.def"
#undef MC_KEYWORD
      return "keyword";
  }
  return "operator";
}

void Print(size_t begin, size_t end, const char* kind) {
  printf("%zu %zu %s\n", begin, end, kind);
}

// Skips what is no token, `strays` stray characters among it.
size_t Skip(const std::string& text, size_t at, size_t strays) {
  for (;;) {
    const char c = at < text.size() ? text[at] : '\0';
    if (c == ' ' || c == '\t' || c == '\n' || c == '\f') {
      at++;
    } else if (c == '!' || c == '#') {
      const size_t end = std::min(text.find('\n', at), text.size());
      Print(at, end, "comment");
      at = end;
    } else if (strays-- > 0) {
      Print(at, at + 1, "stray");
      at++;
    } else {
      return at;
    }
  }
}

bool PrintTokens(const char* name) {
  Text text;
  std::ifstream file(name, std::ios::binary);
  text.raw.assign(std::istreambuf_iterator<char>(file), {});
  if (!file) return false;
  for (size_t i = 0; i < text.raw.size(); i++)
    if (text.raw.compare(i, 2, "\r\n") != 0) text.lines += text.raw[i];
  printf("= %s\n", name);
  OneText provider(&text);
  CountStrays strays;
  McScanner scanner(&provider, &strays);
  if (McSrcOpen(&scanner.source, name) != 0) return false;
  const McSrcCursor& cursor = scanner.source.cursor;
  for (size_t at = 0;;) {
    const size_t before = strays.count;
    const McToken token = McLex(&scanner);
    at = Skip(text.lines, at, strays.count - before);
    if (token.token == 0) {
      Print(at, at, "end");
      return true;
    }
    const size_t end =
        text.ends - static_cast<size_t>(cursor.limit - cursor.next);
    Print(at, end, ClassOf(static_cast<int>(token.token)));
    at = end;
  }
}

}  // namespace

int main(int, char** arguments) {
  while (*++arguments != nullptr)
    if (!PrintTokens(*arguments)) {
      fprintf(stderr, "quillo_tokens: cannot read '%s'\n", *arguments);
      return 1;
    }
}
