#include "tests/smith/files.h"

#include <cstring>
#include <utility>

#include "tests/smith/words.h"

namespace {

// Whether two tokens would be read as others without a gap between them, the
// first one ending in `last` and the second one beginning with `first`.
bool WouldMerge(char last, char first) {
  if (SmithIsNameByte(last) && SmithIsNameByte(first)) return true;
  if (last == '"' || last == '\'') return first == last;
  if (first == '=') return strchr("+-*/=<>", last) != nullptr;
  return (last == '*' && first == '*') || (last == '<' && first == '>');
}

bool MayFollowInSetting(char c) {
  return SmithIsNameByte(c) || c == '.' || c == '*';
}

}  // namespace

void SmithFiles::open(std::string name, uint32_t tokens, LineEnds ends) {
  open_.push_back(
      {.name = std::move(name), .text = {}, .tokens = tokens, .ends = ends});
}

void SmithFiles::close() {
  closed_[top().name] = std::move(open_.back().text);
  open_.pop_back();
}

void SmithFiles::token(std::string_view text) {
  File& file = open_.back();
  if (file.line + text.size() > LONGEST_LINE) raw("\n");
  // The name of a setting may have and end in dots and stars, too.
  if (!file.text.empty() &&
      (WouldMerge(file.text.back(), text[0]) ||
       (file.setting_at_end && MayFollowInSetting(text[0]))))
    raw(" ");
  raw(text);
  file.setting_at_end = text[0] == '@' && text.size() > 1;
  if (file.tokens != TO_THE_END) file.tokens--;
}

void SmithFiles::raw(std::string_view text) {
  if (text.empty()) return;
  File& file = open_.back();
  file.setting_at_end = false;
  for (const char c : text) {
    const bool wide =
        file.ends == LineEnds::CARRIAGE_RETURN_AND_FEED ||
        (file.ends == LineEnds::EITHER && file.text.size() % 2 == 0);
    if (c == '\n' && wide) file.text += '\r';
    file.text += c;
    file.line = c == '\n' ? 0 : file.line + 1;
  }
  size_ += text.size();
}
