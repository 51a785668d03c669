// The tree's parser and the compiler's read the same language: the first error
// is at the same token. And a tree has every byte of its text.
#include "tools/tree/syntax_tree.h"

#include <gtest/gtest.h>

#include "tests/tools/smith_sources.h"

namespace {

// Where a parser stumbled: the bytes behind the token, without carriage returns
// in front of line feeds.
struct Stumble {
  std::string file;  // empty: at the end of all input, or not at all
  ptrdiff_t rest = -1;
  bool operator==(const Stumble&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Stumble& at) {
  return out << at.file << " with " << at.rest << " bytes to go";
}

// Collects what the compiler says.
class Listener : public McReportSink {
 public:
  void report(const McReport& report) override {
    if (report.kind != McReportKind::ERROR) return;
    any = true;
    if (stumbled || !(report.text == "syntax error" ||
                      report.text == "yacc stack overflow" ||
                      report.text == "error in declaration\n"))
      return;
    stumbled = true;
    if (report.level < 0) return;
    const McSrcCursor& cursor = scanner->source.cursor;
    first = {report.file, cursor.limit - cursor.next};
  }
  const McScanner* scanner = nullptr;
  bool any = false;
  bool stumbled = false;
  Stumble first;
};

bool IsSyntax(const SyntaxError& error) {
  switch (error.fault) {
    case SyntaxFault::NUMBER:
    case SyntaxFault::NO_FILE:
    case SyntaxFault::TOO_MANY_FILES: return false;
    default: return true;
  }
}

const SyntaxError* FirstError(const SyntaxTree& tree) {
  for (const SyntaxError& error : tree.errors)
    if (IsSyntax(error)) return &error;
  return nullptr;
}

Stumble StumbleOf(const SyntaxTree& tree, const SyntaxError* error) {
  if (error == nullptr) return {};
  const SyntaxToken& token = tree.tokens[error->token];
  if (token.kind == TOKEN_END_OF_INPUT) return {};
  const SyntaxFile& file = tree.files[tree.file_of(error->token)];
  ptrdiff_t rest = file.read_end - token.end();
  for (size_t at = file.text.find("\r\n", token.end()); at < file.read_end;
       at = file.text.find("\r\n", at + 2))
    rest--;
  return {file.name, rest};
}

SyntaxTree TreeOf(RandomSource* source) {
  SyntaxOptions options;
  options.files = &source->files;
  options.form = source->is_mask ? SyntaxForm::MASK : SyntaxForm::PROGRAM;
  return SyntaxParse(source->name, source->text(), options);
}

std::string Together(const SyntaxTree& tree) {
  std::string text;
  for (uint32_t token = 0; token < tree.tokens.size(); token++) {
    if (tree.tokens[token].foreign) continue;
    SyntaxGap gap(tree, token);
    while (gap.next() != SyntaxTrivia::END) text += gap.text();
    text += tree.text_of(token);
  }
  return text;
}

// Every node is within its parent and behind its older siblings.
void ExpectSoundNodes(const SyntaxTree& tree) {
  for (uint32_t n = 1; n < tree.nodes.size(); n++) {
    const SyntaxNode& node = tree.nodes[n];
    const SyntaxNode& parent = tree.nodes[node.parent];
    ASSERT_LT(node.parent, n);
    ASSERT_LE(node.end, parent.end);
    ASSERT_GE(node.first_token, parent.first_token);
    ASSERT_LE(node.token_end, parent.token_end);
    const uint32_t next = node.end < parent.end
                              ? tree.nodes[node.end].first_token
                              : parent.token_end;
    ASSERT_LE(node.token_end, next);
  }
}

void CompareOverSources(bool damaged) {
  for (uint64_t seed = 1; seed <= SourceCount(); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomSource source(seed, damaged);
    Listener listener;
    McRun run;
    McFront front(&run, &source.files, &listener);
    listener.scanner = &front.scanner;
    McProgram program;
    EditorList masks(&run.attribute_names);
    ASSERT_EQ(McSrcOpen(&front.scanner.source, source.name.c_str()), RC_OK);
    (void)(source.is_mask ? MaskParseDefinition(&front, &masks)
                          : McParseProgram(&front, &program));
    const SyntaxTree tree = TreeOf(&source);
    const SyntaxError* error = FirstError(tree);
    ASSERT_EQ(error != nullptr, listener.stumbled);
    ASSERT_EQ(StumbleOf(tree, error), listener.first);
    ASSERT_EQ(Together(tree), source.text());
    ExpectSoundNodes(tree);
    ASSERT_TRUE(damaged || tree.errors.empty());
  }
}

TEST(Tree, IsSoundForSoundSources) {
  CompareOverSources(false);
}
TEST(Tree, StumblesWhereTheCompilerDoes) {
  CompareOverSources(true);
}

}  // namespace
