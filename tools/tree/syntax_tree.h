// The lossless syntax tree of a source, for tools.
//
// It is made from the compiler's own scanner and the automaton of its grammar,
// so that there is one language. Every byte of the text is part of a token or
// of the gap in front of one; the gap in front of the last token, the end of
// the input, takes what follows the last real one. Putting gaps and tokens
// together gives the text.
//
//   x = 1 + y;     statement ( assignment ( x = expression ( 1 + y ) ) ; )
//
// A rule of the grammar with two children and more becomes a node, and so does
// each statement but a lone ";" and each body, whatever they consist of. Rules
// that only hand one symbol on, and those without symbols, leave none. Lists
// leave none either: their elements are children of what the list is part of.
//
// Every text has a tree. What does not fit stands in error nodes: a node with
// tokens holds what is too much, one without stands where a token is missing.
//
// Included files are read in their place, as the compiler does. Their tokens
// and nodes stand among those of the text, marked as foreign: a SUB may begin
// in the text and end in an included file.
//
// A tree owns all that is in it. Parsing keeps no state and may go on in
// several threads at once. It throws bad_alloc, also for a text of 4 GiB.
#ifndef TOOLS_TREE_SYNTAX_TREE_H
#define TOOLS_TREE_SYNTAX_TREE_H

#include <bitset>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "elut/grammar.h"
#include "elut/syntax/source_reader.h"

inline constexpr uint32_t SYNTAX_NONE = UINT32_MAX;

// What a text is. The compiler reads programs and modules, or, when it is told
// so, masks; a fragment has SUBs, and is only ever included.
enum class SyntaxForm : uint8_t { AUTO, PROGRAM, MASK, FRAGMENT };

struct SyntaxToken {
  uint32_t begin;        // offset in the text of its file
  uint32_t kind : 7;     // TOKEN_...; 0: end of the input
  uint32_t foreign : 1;  // of an included file
  uint32_t length : 24;  // bytes; with all of what the file has of it

  uint32_t end() const { return begin + length; }
};
static_assert(sizeof(SyntaxToken) == 8 && MC_GRAMMAR.tokens <= 128);

// Nodes stand in the order in which their text begins, parents first: the first
// child of a node follows it, and the node behind all that is below it is its
// next sibling, or that of a parent.
struct SyntaxNode {
  uint16_t symbol;       // SYMBOL_... of the grammar
  uint16_t rule;         // of the grammar; in an error node the missing token
  uint32_t first_token;  // tokens from here ...
  uint32_t token_end;    // ... up to here
  uint32_t end;          // behind the nodes below this one
  uint32_t parent;       // SYNTAX_NONE: this is the root, node 0

  bool is_error() const { return symbol == SYMBOL_YYerror; }
};

// What is wrong, and what the parser made of it.
enum class SyntaxFault : uint8_t {
  MISSING,         // `missing` was taken for granted in front of the token
  UNWANTED,        // the token was left out
  REPLACED,        // the token was taken for `missing`
  SKIPPED,         // all up to a place where the parser can go on was left out
  FORM,            // no program or no mask, where one is expected
  TOO_DEEP,        // constructs are nested deeper than the compiler follows
  NUMBER,          // an integer constant that does not fit
  NO_FILE,         // an included file that there is not, or that cannot be read
  TOO_MANY_FILES,  // files include each other too deep, or too many of them
};

struct SyntaxError {
  SyntaxFault fault;
  uint8_t missing;  // TOKEN_..., of MISSING and REPLACED; 0: none
  uint32_t token;   // that the parser stumbled on, as the compiler does
  // The token that is at fault: `token`, or the one before, as in WHLE a DO,
  // where only the next name cannot follow. What is missing is missing in front
  // of it.
  uint32_t place;
  // The token that opened what is closed wrongly or not at all, "IF" or "(";
  // SYNTAX_NONE otherwise.
  uint32_t opener;
  // Tokens that could have stood there.
  std::bitset<128> expected;
};

// Why a file was not read to its end.
enum class SyntaxStop : uint8_t {
  NONE,
  NO_LINE_FEED,  // the last line has none
  LONG_LINE,     // a line is longer than MC_SRC_LINE_MAX
  ZERO_BYTE,     // a line holds a zero byte
};

struct SyntaxFile {
  std::string name;
  std::string text;
  uint32_t read_end = 0;  // what follows is not read
  SyntaxStop stop = SyntaxStop::NONE;
};

// An INCLUDE statement, by the token that names the file.
struct SyntaxInclude {
  uint32_t token;
  uint32_t file;  // SYNTAX_NONE: it could not be included
  std::string name;
};

// Tokens from `first_token` on, up to the next run, come from one file.
struct SyntaxRun {
  uint32_t first_token;
  uint32_t file;
};

struct SyntaxTree {
  SyntaxForm form = SyntaxForm::AUTO;  // never AUTO after parsing
  std::vector<SyntaxFile> files;       // the text itself first
  std::vector<SyntaxToken> tokens;     // the end of the input last
  std::vector<SyntaxNode> nodes;       // the root first
  std::vector<SyntaxError> errors;     // in the order of their tokens
  std::vector<SyntaxInclude> includes;
  std::vector<SyntaxRun> runs;

  const std::string& text() const { return files[0].text; }
  // Number of the file that a token is in.
  uint32_t file_of(uint32_t token) const;
  std::string_view text_of(uint32_t token) const {
    const SyntaxToken& t = tokens[token];
    return std::string_view(files[t.foreign ? file_of(token) : 0].text)
        .substr(t.begin, t.length);
  }
  // The token of the same file in front of `token`, which must not be foreign,
  // or SYNTAX_NONE.
  uint32_t previous(uint32_t token) const;
  // Where the gap in front of a token that is not foreign begins.
  uint32_t gap_begin(uint32_t token) const {
    const uint32_t before = previous(token);
    return before == SYNTAX_NONE ? 0 : tokens[before].end();
  }
  // The innermost node that has the token as its child. Takes time in
  // proportion to the depth of the nodes in front of it: whoever asks for many
  // tokens should walk the tree.
  uint32_t node_of(uint32_t token) const;
};

struct SyntaxOptions {
  SyntaxForm form = SyntaxForm::AUTO;
  // Opens included files; nullptr: the files of the system. A caller that has a
  // text which is to stand for a file gives an McSrcMemory for its name.
  McSrcProvider* files = nullptr;
  // Whether INCLUDE is followed. Otherwise it stays a statement of its own.
  bool follow_includes = true;
};

// `name` is the name of the text in reports.
[[nodiscard]] SyntaxTree SyntaxParse(std::string name, std::string text,
                                     const SyntaxOptions& options = {});

// A token as users write it: IF, ; and, for those that have many texts, what
// the grammar calls them: IDENT, SCONST.
[[nodiscard]] std::string_view SyntaxTokenText(int kind);

// The children of a node from left to right: token(number) for a token,
// node(number) for a node.
template <class Token, class Node>
void SyntaxChildren(const SyntaxTree& tree, uint32_t parent, Token token,
                    Node node) {
  const SyntaxNode& all = tree.nodes[parent];
  uint32_t child = parent + 1;
  for (uint32_t at = all.first_token;;) {
    if (child < all.end && tree.nodes[child].first_token == at) {
      node(child);
      at = tree.nodes[child].token_end;
      child = tree.nodes[child].end;
    } else if (at < all.token_end) {
      token(at++);
    } else {
      break;
    }
  }
}

// Gaps ----------------------------------------------------------------------

enum class SyntaxTrivia : uint8_t {
  BLANK,      // blanks, tabs and form feeds
  LINE_FEED,  // one, with the carriage return in front of it
  COMMENT,    // from "!" or "#" up to the end of the line
  STRAY,      // one character that begins no token; the compiler echoes it
  NOT_READ,   // all that the compiler does not read
  END,        // of the gap
};

// The pieces of a gap, one after the other.
class SyntaxGap {
 public:
  // In front of a token that is not foreign.
  SyntaxGap(const SyntaxTree& tree, uint32_t token)
      : SyntaxGap(tree.files[0], tree.gap_begin(token),
                  tree.tokens[token].kind == TOKEN_END_OF_INPUT
                      ? static_cast<uint32_t>(tree.text().size())
                      : tree.tokens[token].begin) {}
  SyntaxGap(const SyntaxFile& file, uint32_t begin, uint32_t end)
      : file_(&file), at_(begin), end_(end) {}

  // Goes on to the next piece and tells what it is.
  SyntaxTrivia next();
  uint32_t begin() const { return begin_; }
  uint32_t end() const { return at_; }
  std::string_view text() const {
    return std::string_view(file_->text).substr(begin_, at_ - begin_);
  }

 private:
  const SyntaxFile* file_;
  uint32_t begin_ = 0;
  uint32_t at_;
  uint32_t end_;
};

// Lines ---------------------------------------------------------------------

// Where the lines of a text begin.
class SyntaxLines {
 public:
  explicit SyntaxLines(std::string_view text);
  uint32_t count() const { return static_cast<uint32_t>(begin_.size()); }
  // Number of the line that an offset is in, from 1.
  uint32_t line_of(uint32_t offset) const;
  uint32_t begin_of(uint32_t line) const { return begin_[line - 1]; }

 private:
  std::vector<uint32_t> begin_;
};

#endif
