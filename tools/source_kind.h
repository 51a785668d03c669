// What a source is, told by its text: nobody has to say -w for a mask.
//
// The forms of the language begin with a word of their own, so the first token
// decides. A source that begins with none of them is no form at all, and the
// compiler refuses it either way; then a brace among its first tokens tells
// that a mask was meant, for the sake of the reports.
#pragma once

#include "elut/syntax/source_reader.h"

enum class ToolSourceKind : uint8_t { PROGRAM, MODULE, MASK, UNKNOWN };

// Whether the source is compiled as masks are. What is unknown is taken for a
// program.
constexpr bool ToolIsMask(ToolSourceKind kind) {
  return kind == ToolSourceKind::MASK;
}

// The kind of a source as far as it has been read: of a whole text, or of its
// beginning.
[[nodiscard]] ToolSourceKind ToolKindOfText(std::string_view text);

// One source that is opened once, asked for its kind, and then read by a
// compile that gets this as its provider:
//
//   ToolSource source(&files, name);
//   if (!source.found()) ...
//   if (ToolIsMask(source.kind())) ...
//   McFront front(&run, &source, &reports);
//   McSrcOpen(&front.scanner.source, name);   // reads what was opened
//   MaskParseDefinition(&front, &list);       // what it includes comes from
//                                             // files
//
// So also a pipe has a kind, and a file that is replaced meanwhile is not
// taken for what it was. Throws bad_alloc.
class ToolSource : public McSrcProvider {
 public:
  // Both outlive the object.
  ToolSource(McSrcProvider* files, const char* name);
  ~ToolSource() override;

  bool found() const { return found_; }
  ToolSourceKind kind() const { return kind_; }

  // The first time the source itself, whatever the name; then the files.
  [[nodiscard]] UtPtr<McSrcBytes> open(const char* name) override;

 private:
  class Replayed;

  McSrcProvider* files_;
  UtPtr<Replayed> opened_;  // until it is handed out
  bool found_ = false;
  ToolSourceKind kind_ = ToolSourceKind::UNKNOWN;
};
