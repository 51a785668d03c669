// The text of a source while it is written: files, lines and indents.
//
// What is written is given token by token. Where a line may end is told apart
// from where one should: in a program without recorded lines every statement
// gets its own line, and long ones go on in the next. In a traced program the
// statements have their lines, and what stands between two of them shares the
// lines that there are, in the worst case one.
#ifndef TOOLS_DECOMPILE_LAYOUT_H
#define TOOLS_DECOMPILE_LAYOUT_H

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "tools/decompile/line_plan.h"

struct SourceFile {
  std::string name;
  std::string text;
};

// Parts of a text, for those who compare texts part by part.
enum class TextPart : uint8_t {
  IMPORTS,
  ROUTINE,    // a SUB, the main program, an EXECUTE block; its name
  SIGNATURE,  // name and parameters of a SUB
  VARIABLES,
  BODY,
  OBJECT,
  ATTRIBUTES,
  HANDLER,
  MODULE,
};

// Where a part begins, or where the one that began last ends.
struct TextMark {
  size_t offset;
  bool begins;
  bool named;  // it has the next one of the names
  TextPart part;
};

struct TextMarks {
  std::vector<TextMark> marks;
  std::deque<std::string> names;
};

class Layout {
 public:
  // Lines are kept this short where they can be.
  static constexpr size_t WIDTH = 79;

  // Writes to files of which the first, the main one, and the plan are given;
  // plan.lines are those of the survey. Further files are named stem_1.inc and
  // so on. `command` goes into a comment, which is the first line unless that
  // has a statement. With `limit` bytes in all files the text ends.
  Layout(const LineSurvey& survey, const LinePlan& plan, std::string main_name,
         std::string stem, std::string command, size_t limit);
  // Writes one text without a command, a statement per line however long it is,
  // and marks its parts.
  Layout(const LineSurvey& survey, const LinePlan& plan, TextMarks* marks);

  // A token, or several that belong together; a name with what is glued to it.
  // Never part of a token.
  void put(std::string_view text) {
    if (pending_ != Gap::NONE) fill_gap(text.size());
    if (column_ + text.size() > longest_) return put_far(text);
    file().text += text;
    column_ += text.size();
  }
  // A token that may have a line feed in it: a literal.
  void put_literal(std::string_view text);

  // A gap where the line may end. What follows goes deeper then.
  void blank() {
    if (pending_ == Gap::NONE) pending_ = Gap::BLANK;
  }
  // A gap where the line should end.
  void line() {
    if (pending_ < Gap::LINE) pending_ = Gap::LINE;
  }
  // The same with an empty line, but not where an indent has just begun.
  void paragraph() { pending_ = indented_ ? Gap::LINE : Gap::PARAGRAPH; }

  void indent() {
    indent_ += 2;
    indented_ = true;
  }
  void outdent() { indent_ -= 2; }

  // The next statement begins, on its recorded line.
  void statement();
  // The next place for INCLUDE.
  void place();

  // An INCLUDE of a file without anything in it.
  void include_none();

  void begin_part(TextPart part, std::string_view name) {
    if (marks_ == nullptr) return;
    marks_->marks.push_back({file().text.size(), true, !name.empty(), part});
    if (!name.empty()) marks_->names.emplace_back(name);
  }
  void end_part() {
    if (marks_ != nullptr)
      marks_->marks.push_back({file().text.size(), false, false, {}});
  }

  // Ends all files. The main one is the first.
  std::deque<SourceFile> finish();

  // The first statement that could not begin on its line any more, or NO_LINE.
  uint32_t late() const { return late_; }
  bool too_large() const { return too_large_; }

 private:
  enum class Gap : uint8_t { NONE, BLANK, LINE, PARAGRAPH };
  struct File {
    SourceFile* source;
    uint32_t line;
    size_t column;
    uint32_t next_line;  // of the file's next statement, or NO_LINE
  };

  SourceFile& file() { return *current_; }
  bool may_feed() const { return line_ < next_line_; }
  void feed();
  void begin_line(size_t indent);
  void fill_gap(size_t width);
  void put_far(std::string_view text);
  void put_command();
  void begin_file();
  void end_file();
  void end_last_line();

  const LineSurvey& survey_;
  const LinePlan& plan_;
  std::string stem_;
  std::string command_;  // empty: written
  size_t limit_;
  size_t longest_;  // column that a line may reach
  size_t width_;    // that it keeps to, where it can
  TextMarks* marks_ = nullptr;

  std::deque<SourceFile> files_;  // in the order of their names
  SourceFile* current_;
  uint32_t line_ = 1;
  size_t column_ = 0;
  uint32_t next_line_;
  std::vector<File> outer_;  // files that include the current one

  Gap pending_ = Gap::NONE;
  size_t indent_ = 0;
  bool indented_ = false;   // since the last token
  uint32_t statement_ = 0;  // the next one
  uint32_t place_ = 0;
  uint32_t begun_ = 0;  // files
  uint32_t late_ = NO_LINE;
  bool too_large_ = false;
};

#endif
