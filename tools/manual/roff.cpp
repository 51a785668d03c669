// See roff.h.
#include "tools/manual/roff.h"

#include <algorithm>

#include "Cutil/ut_chars.h"

namespace {

constexpr size_t WIDTH = 76;

// A word that a sentence ends with.
bool EndsSentence(std::string_view word) {
  while (word.ends_with("\\fR")) word.remove_suffix(3);
  while (word.ends_with(')') || word.ends_with('"')) word.remove_suffix(1);
  return word.ends_with('.') || word.ends_with('!') || word.ends_with('?');
}

}  // namespace

std::string RoffEscape(std::string_view text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '\\': out += "\\e"; break;
      case '-': out += "\\-"; break;
      case '^': out += "\\(ha"; break;
      case '~': out += "\\(ti"; break;
      case '`': out += "\\(ga"; break;
      case '\'': out += "\\(aq"; break;
      case '"': out += "\\(dq"; break;
      default: out.push_back(c);
    }
  }
  return out;
}

std::string RoffArgument(std::string_view text) {
  std::string out;
  for (const char c : RoffEscape(text))
    out += c == ' ' ? "\\ " : std::string(1, c);
  // A punctuation mark of its own would leave the macro.
  const bool mark = out.size() == 1 && !UtIsNameByte(out[0]);
  return mark ? "\\&" + out : out;
}

std::string RoffFill(std::string_view escaped) {
  std::string out, line;
  const auto end_line = [&] {
    if (line.empty()) return;
    if (line[0] == '.' || line[0] == '\'') line.insert(0, "\\&");
    out += line + "\n";
    line.clear();
  };
  for (size_t at = 0; at < escaped.size();) {
    const size_t begin = escaped.find_first_not_of(" \n", at);
    if (begin == std::string_view::npos) break;
    const size_t end =
        std::min(escaped.find_first_of(" \n", begin), escaped.size());
    const std::string_view word = escaped.substr(begin, end - begin);
    if (!line.empty() && line.size() + 1 + word.size() > WIDTH) end_line();
    if (!line.empty()) line += ' ';
    line += word;
    if (EndsSentence(word)) end_line();
    at = end;
  }
  end_line();
  return out;
}

std::string RoffText(std::string_view text) {
  return RoffFill(RoffEscape(text));
}
