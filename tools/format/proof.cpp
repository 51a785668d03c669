// Tokens and comments are compared in one walk over both trees. The compiler
// then compiles both texts in memory; one that is included is compiled as part
// of a program that has nothing else. Statements carry no lines there: these
// are what a layout changes.
#include "tools/format/proof.h"

#include "elut/compile/parse.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"

namespace {

// The tokens of the text itself with the comments in front of them.
class Walk {
 public:
  explicit Walk(const SyntaxTree& tree) : tree_(tree) { begin_gap(); }

  // The next comment, without blanks at its end, or token; false at the end.
  bool next(std::string_view* text, bool* is_comment) {
    for (;;) {
      switch (gap_.next()) {
        case SyntaxTrivia::END: return next_token(text, is_comment);
        case SyntaxTrivia::BLANK:
        case SyntaxTrivia::LINE_FEED: break;
        case SyntaxTrivia::STRAY:
        case SyntaxTrivia::NOT_READ:
          *text = gap_.text();
          *is_comment = true;
          return true;
        case SyntaxTrivia::COMMENT:
          *text = gap_.text();
          *text = text->substr(0, text->find_last_not_of(" \t\f") + 1);
          *is_comment = true;
          return true;
      }
    }
  }

 private:
  void begin_gap() {
    while (tree_.tokens[token_].foreign) token_++;
    gap_ = SyntaxGap(tree_, token_);
  }
  bool next_token(std::string_view* text, bool* is_comment) {
    if (tree_.tokens[token_].kind == TOKEN_END_OF_INPUT) return false;
    *text = tree_.text_of(token_);
    *is_comment = false;
    token_++;
    begin_gap();
    return true;
  }

  const SyntaxTree& tree_;
  uint32_t token_ = 0;
  SyntaxGap gap_{tree_.files[0], 0, 0};
};

// Gives the compiler a text in the place of a file.
class OneFile : public McSrcProvider, public McReportSink {
 public:
  OneFile(const SyntaxTree& tree, McSrcProvider* files)
      : tree_(tree), files_(files) {
    if (tree.form == SyntaxForm::FRAGMENT)
      program_ = "PROGRAM x;\nINCLUDE \"" + tree.files[0].name + "\";\n;\n";
  }
  UtPtr<McSrcBytes> open(const char* name) override {
    if (*name == '\0')
      return UtMake<McSrcMemory>(program_.empty() ? tree_.text() : program_);
    if (name == tree_.files[0].name) return UtMake<McSrcMemory>(tree_.text());
    return files_ != nullptr ? files_->open(name) : system_.open(name);
  }
  void report(const McReport&) override {}

 private:
  const SyntaxTree& tree_;
  McSrcProvider* files_;
  std::string program_;
  McSrcFiles system_;
};

// The compiled file; empty when there is none.
std::string Compiled(const SyntaxTree& tree, McSrcProvider* files) {
  OneFile file(tree, files);
  McRun run;
  McFront front(&run, &file, &file);
  XdMemory sink;
  if (McSrcOpen(&front.scanner.source, "") != RC_OK) return {};
  int code;
  if (tree.form == SyntaxForm::MASK) {
    EditorList list(&run.attribute_names);
    code = MaskParseDefinition(&front, &list);
    if (code == RC_OK)
      code = MaskListWriteToSink(&list, XD_TRANSPORT_PLAIN, &sink);
  } else {
    McProgram program;
    code = McParseProgram(&front, &program);
    if (code == RC_OK) code = McResolveCalls(&program);
    if (code == RC_OK)
      code = McXdrWriteToSink(&program, XD_TRANSPORT_PLAIN, &sink);
  }
  return code == RC_OK ? std::string(sink.bytes()) : std::string();
}

}  // namespace

std::string FormatDifference(const SyntaxTree& before, const SyntaxTree& after,
                             McSrcProvider* files) {
  Walk one(before);
  Walk other(after);
  for (;;) {
    std::string_view a, b;
    bool a_comment, b_comment;
    const bool more = one.next(&a, &a_comment);
    if (more != other.next(&b, &b_comment)) return "its end would be another";
    if (!more) break;
    if (a != b || a_comment != b_comment)
      return "'" + std::string(a) + "' would become '" + std::string(b) + "'";
  }
  if (Compiled(before, files) != Compiled(after, files))
    return "it would be compiled to something else";
  return {};
}
