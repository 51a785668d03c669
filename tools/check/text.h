// The text of a source, and texts made from it by edits.
//
// A fault is often found by trying what the text would be without it. So a text
// is edited, read again, edited again; and every place in a text made that way
// can be traced back to the file as it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/findings/finding.h"

struct CheckEdit {
  size_t begin, end;  // bytes that are replaced
  std::string text;
  size_t number;  // of the edit, in the order in which they were added
  size_t made;    // where `text` begins in the text that the edits make
};

// Edits of one text. They do not overlap.
class CheckEdits {
 public:
  void add(size_t begin, size_t end, std::string text);
  bool empty() const { return edits_.empty(); }
  size_t count() const { return edits_.size(); }
  const std::vector<CheckEdit>& all() const { return edits_; }

  // The text with all edits but number `without` made.
  static constexpr size_t NONE = SIZE_MAX;
  std::string apply(std::string_view text, size_t without = NONE) const;

  // The place in the text before that a place in the text made is from. What
  // was put in is at the place where that happened.
  size_t before(size_t offset) const;

  // Into the order of the text; needed before the others are asked.
  void sort();

 private:
  std::vector<CheckEdit> edits_;
};

// Line numbers of a text.
class CheckLines {
 public:
  explicit CheckLines(std::string_view text);

  size_t count() const { return starts_.size(); }
  uint32_t line_of(size_t offset) const;  // from 1
  size_t start(uint32_t line) const;      // of a line from 1; may be behind
  std::string_view line(uint32_t line) const;  // without its end

  // The range of bytes as people see it.
  ToolRange range(const std::string& file, size_t begin, size_t end) const;

 private:
  std::string_view text_;
  std::vector<size_t> starts_;
};
