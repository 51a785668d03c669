// One file of a source while it is checked: its bytes, what the compiler reads
// of them, and its tokens.
//
// Three texts belong to a file. `raw` is what is stored. `text` is what the
// reader of the compiler hands to its scanner: lines without carriage returns,
// up to a line that cannot be read - or beyond it, when `mended` makes all
// lines readable. And there is the text that `repairs` make of `text`, which
// has no fault any more. Offsets are those of `text` if nothing else is said.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "elut/syntax/lexer.h"
#include "tools/check/text.h"

// What is wrong at a place, before it becomes a finding.
struct CheckFault {
  std::string rule;
  std::string message;
  std::string hint;
  ToolRange place;
  std::vector<ToolRelated> related;
  // What the repair of the fault is: a number of an edit of its file, or NONE.
  // Without that repair alone the compiler tells whether it minds.
  size_t repair = CheckEdits::NONE;
  // From this line on nothing of the file is read; 0: that is not the fault.
  uint32_t cut_line = 0;
  bool safe = false;     // the repair is what was meant, beyond doubt
  bool refused = false;  // the compiler surely refuses it
  bool follows = false;  // from others, so nothing is said of it
};

struct CheckSource {
  CheckSource(std::string file_name, std::string bytes);
  CheckSource(const CheckSource&) = delete;
  CheckSource& operator=(const CheckSource&) = delete;

  std::string name;
  std::string raw;
  CheckEdits mended;  // of raw
  std::string text;
  CheckEdits repairs;  // of text
  std::deque<CheckFault> faults;
  bool hopeless = false;  // no text at all, as in another encoding

  ToolRange range(size_t begin, size_t end) const;
  // The place in `raw` of one in `text`.
  size_t raw_offset(size_t offset) const;
  // Where line `line` begins in `text`.
  size_t line_start(uint32_t line) const { return lines_->start(line); }
  uint32_t line_of(size_t offset) const { return lines_->line_of(offset); }
  std::string_view line(uint32_t number) const { return lines_->line(number); }
  std::string_view part(size_t begin, size_t end) const {
    return std::string_view(text).substr(begin, end - begin);
  }

  // The bytes of text that the scanner reads.
  size_t size() const { return text.size() - MC_SRC_PADDING; }

  // Adds a fault; and the repair of one, which replaces the text from `begin`
  // to `end`. Of very many faults the first ones are kept.
  CheckFault* add(const char* rule, size_t begin, size_t end,
                  std::string message, std::string hint = "");
  void repair(CheckFault* fault, size_t begin, size_t end, std::string by);

 private:
  void mend();

  static constexpr size_t MOST_FAULTS = 2000;

  CheckFault left_out_;  // stands for those that are not kept
  std::string mended_raw_;
  std::unique_ptr<CheckLines> raw_lines_, mended_lines_, lines_;
};

struct CheckToken {
  int kind = 0;  // its number in the grammar
  uint32_t begin = 0, end = 0;
  CheckSource* source = nullptr;
  bool made = false;  // by a repair

  std::string_view text() const { return source->part(begin, end); }
};

// Blanks and tabs in front of the line that the token is on.
size_t CheckIndentation(const CheckToken& token);
// Whether the token is the first one of its line.
bool CheckBeginsLine(const CheckToken& token);

// The tokens of a file, read by the compiler's scanner.
//
// Characters that begin no token are faults. So that they cause no others, the
// scanner goes on with what was probably meant: a text in other quotes is a
// text, a name with a character that names do not have is a name.
class CheckScanner : private McReportSink {
 public:
  explicit CheckScanner(CheckSource* source);

  // The next token; END_OF_INPUT at the end of the file.
  CheckToken next();
  // Goes on at another place.
  void move(size_t offset) { at_ = offset; }
  // Otherwise strays are passed over.
  void note_faults(bool note) { note_ = note; }

 private:
  void report(const McReport& report) override;
  CheckToken repair_stray(size_t stray);
  bool in_name(size_t at) const;
  bool repair_text(size_t stray, CheckToken* token);
  bool repair_name(size_t begin, size_t stray, CheckToken* token);
  size_t skip_blanks(size_t at) const;

  CheckSource* source_;
  McScanner scanner_;
  size_t at_ = 0;
  bool note_ = true;
  std::vector<size_t> strays_;
  // What was made of strays, should the place be read again: a token, or one
  // of kind -1 when the scanner goes on at its end.
  std::map<size_t, CheckToken> repaired_;
  std::map<std::string, CheckFault*, std::less<>> words_;
};
