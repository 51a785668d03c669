// The tokens of a text and of the files that it includes, with their places.
//
// The compiler's scanner is given whole files, prepared by the compiler's
// reader, so that the address of a character tells its offset. It tells where a
// token ends; the gap in front of it consists of white space, comments, and
// characters that it has reported as stray ones.
#ifndef TOOLS_TREE_SCAN_H
#define TOOLS_TREE_SCAN_H

#include <map>
#include <memory>

#include "elut/syntax/scanner.h"
#include "tools/tree/syntax_tree.h"

class SyntaxScanner : public McReportSink {
 public:
  // Reads files[0] of the tree.
  SyntaxScanner(SyntaxTree* tree, McSrcProvider* files);

  // Appends the next token to the tree.
  void next();

  // Goes on in the file that was named by the last literal behind INCLUDE,
  // which is `token`.
  void include(uint32_t token);

  void report(const McReport& report) override;

 private:
  // A file as the scanner sees it.
  struct Prepared {
    std::string text;  // with room for the scanner behind `length`
    size_t length;
    // Where carriage returns were taken out: offsets of the line feeds.
    std::vector<uint32_t> returns;
  };
  struct Level {
    uint32_t file;
    const Prepared* prepared;
    McSrcCursor cursor;  // while a deeper level is current
    size_t returns = 0;  // in front of the place that was reached
  };

  void open(uint32_t file);
  uint32_t load(const std::string& name, bool* failed);
  uint32_t raw(const char* place);
  void append(int kind, const char* begin, const char* end);
  void finish();

  SyntaxTree* tree_;
  McScanner scanner_;
  std::vector<std::unique_ptr<Prepared>> prepared_;  // by file
  std::map<std::string, uint32_t> numbers_;          // of files
  std::vector<Level> levels_;
  uint32_t included_ = 0;
  const char* stray_ = nullptr;  // the last one
  std::string literal_;          // the last one behind INCLUDE
};

#endif
