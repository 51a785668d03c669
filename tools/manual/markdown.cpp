// The documents are taken line by line. A block knows from its first line what
// it is, and a list item is a text of its own, two columns further in.
#include "tools/manual/markdown.h"

#include <stdexcept>

#include "tools/manual/roff.h"

namespace {

using Lines = std::vector<std::string>;

Lines LinesOf(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const size_t feed = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, feed));
    text.remove_prefix(std::min(feed + 1, text.size()));
  }
  return lines;
}

// The rank of a heading, 0 for another line.
int Rank(const std::string& line) {
  const size_t rank = line.find_first_not_of('#');
  const bool heading =
      rank != std::string::npos && rank > 0 && line[rank] == ' ';
  return heading ? static_cast<int>(rank) : 0;
}

bool IsFence(const std::string& line) {
  return line.starts_with("```");
}

// Calls `see` with each line and its rank; headings in blocks are none.
template <class See>
void EachLine(std::string_view document, See see) {
  bool in_block = false;
  for (const std::string& line : LinesOf(document)) {
    if (IsFence(line)) in_block = !in_block;
    see(line, in_block ? 0 : Rank(line));
  }
}

// The text between two marks; `*at` moves behind the second one.
std::string_view Between(std::string_view text, std::string_view mark,
                         size_t* at) {
  const size_t begin = *at + mark.size();
  const size_t end = text.find(mark, begin);
  if (end == std::string_view::npos) return {};
  *at = end + mark.size();
  return text.substr(begin, end - begin);
}

std::string Inline(std::string_view text);

// A link at `*at`, or nothing.
std::string Link(std::string_view text, size_t* at) {
  const size_t middle = text.find("](", *at);
  const size_t end = text.find(')', middle);
  if (middle == std::string_view::npos || end == std::string_view::npos ||
      text.substr(*at + 1, middle - *at - 1).find('[') !=
          std::string_view::npos)
    return {};
  const std::string_view shown = text.substr(*at + 1, middle - *at - 1);
  *at = end + 1;
  return Inline(shown);
}

std::string Inline(std::string_view text) {
  struct Mark {
    std::string_view mark;
    const char* font;
  };
  constexpr Mark MARKS[] = {
      {"``", "\\fB"}, {"`", "\\fB"}, {"**", "\\fB"}, {"*", "\\fI"}};
  std::string out;
  for (size_t at = 0; at < text.size();) {
    std::string_view inner;
    const Mark* found = nullptr;
    for (const Mark& mark : MARKS) {
      if (!text.substr(at).starts_with(mark.mark)) continue;
      const size_t before = at;
      inner = Between(text, mark.mark, &at);
      // A lone star is a star.
      if (!inner.empty() && (inner[0] != ' ' || mark.mark[0] == '`')) {
        found = &mark;
        break;
      }
      at = before;
    }
    if (found != nullptr) {
      out += found->font;
      out += found->mark[0] == '`' ? RoffEscape(inner) : Inline(inner);
      out += "\\fR";
      continue;
    }
    if (text[at] == '[') {
      const std::string link = Link(text, &at);
      if (!link.empty()) {
        out += link;
        continue;
      }
    }
    if (text[at] == '\\' && at + 1 < text.size() &&
        std::string_view("|*`_[]\\<>").find(text[at + 1]) !=
            std::string_view::npos)
      at++;
    out += RoffEscape(text.substr(at, 1));
    at++;
  }
  return out;
}

Lines Cells(const std::string& row) {
  Lines cells;
  std::string cell;
  for (size_t i = 1; i < row.size(); i++) {
    if (row[i] == '\\' && i + 1 < row.size() && row[i + 1] == '|') {
      cell += "|";
      i++;
    } else if (row[i] == '|') {
      const size_t begin = cell.find_first_not_of(' ');
      const size_t end = cell.find_last_not_of(' ');
      cells.push_back(begin == std::string::npos
                          ? ""
                          : cell.substr(begin, end + 1 - begin));
      cell.clear();
    } else {
      cell.push_back(row[i]);
    }
  }
  return cells;
}

class Converter {
 public:
  explicit Converter(Lines lines) : lines_(std::move(lines)) {}

  std::string run() {
    while (at_ < lines_.size()) block();
    return std::move(out_);
  }

 private:
  const std::string& line() const { return lines_[at_]; }
  bool blank() const {
    return line().find_first_not_of(' ') == std::string::npos;
  }
  static bool starts_item(const std::string& line) {
    return line.starts_with("- ") || line.starts_with("* ");
  }

  void block() {
    if (blank()) {
      at_++;
      after_text_ = !out_.empty();
    } else if (Rank(line()) > 0) {
      out_ += ".Ss " + Inline(line().substr(line().find(' ') + 1)) + "\n";
      at_++;
      after_text_ = false;
    } else if (IsFence(line())) {
      at_++;
      Lines code;
      for (; at_ < lines_.size() && !IsFence(line()); at_++)
        code.push_back(line());
      at_++;
      display(code);
    } else if (line().starts_with("    ")) {
      Lines code;
      for (; at_ < lines_.size() && line().starts_with("    "); at_++)
        code.push_back(line().substr(4));
      display(code);
    } else if (line().starts_with("|")) {
      table();
    } else if (starts_item(line())) {
      list();
    } else {
      paragraph();
    }
  }

  void separate() {
    if (after_text_ && !out_.empty()) out_ += ".Pp\n";
    after_text_ = false;
  }

  void display(const Lines& code) {
    out_ += ".Bd -literal -offset indent\n";
    for (const std::string& text : code) {
      const std::string escaped = RoffEscape(text);
      out_ += (escaped.starts_with('.') ? "\\&" : "") + escaped + "\n";
    }
    out_ += ".Ed\n";
    after_text_ = true;
  }

  void paragraph() {
    separate();
    std::string text;
    for (; at_ < lines_.size() && !blank() && !IsFence(line()) &&
           !line().starts_with("|") && !starts_item(line());
         at_++)
      text += line() + " ";
    out_ += RoffFill(Inline(text));
  }

  void table() {
    std::vector<Lines> rows;
    for (; at_ < lines_.size() && line().starts_with("|"); at_++)
      rows.push_back(Cells(line()));
    if (rows.size() < 3) return;
    separate();
    // Terminals have no pages that a cell would have to fit on.
    out_ += ".TS\nnokeep nowarn;\n";
    for (size_t i = 0; i < rows[0].size(); i++)
      out_ += i + 1 < rows[0].size() ? "l " : "lx.\n";
    for (size_t row = 0; row < rows.size(); row++) {
      std::string heads;
      for (const std::string& cell : rows[0]) heads += cell;
      if (row == 1 || (row == 0 && heads.empty())) continue;
      rows[row].resize(rows[0].size());
      for (size_t i = 0; i < rows[row].size(); i++) {
        std::string text = RoffFill(Inline(rows[row][i]));
        if (row == 0) text = RoffFill("\\fB" + Inline(rows[row][i]) + "\\fR");
        out_ += i == 0 ? "" : "\t";
        out_ += text.empty() ? "" : "T{\n" + text + "T}";
      }
      out_ += "\n";
    }
    out_ += ".TE\n";
    after_text_ = true;
  }

  void list() {
    std::vector<Lines> items;
    for (; at_ < lines_.size(); at_++) {
      if (starts_item(line()))
        items.push_back({line().substr(2)});
      else if (blank() || line().starts_with("  "))
        items.back().push_back(blank() ? "" : line().substr(2));
      else
        break;
    }
    std::string text;
    for (Lines& item : items) {
      if (item[0].starts_with("[") && item[0].find("](#") != std::string::npos)
        continue;
      while (item.back().empty()) item.pop_back();
      text += ".It\n" + Converter(std::move(item)).run();
    }
    if (text.empty()) return;
    out_ += ".Bl -bullet -width 1n\n" + text + ".El\n";
    after_text_ = true;
  }

  Lines lines_;
  size_t at_ = 0;
  bool after_text_ = false;
  std::string out_;
};

}  // namespace

std::vector<MarkdownSection> MarkdownSections(std::string_view document,
                                              int rank) {
  std::vector<MarkdownSection> sections(1);
  EachLine(document, [&](const std::string& line, int line_rank) {
    if (line_rank == rank)
      sections.push_back({line.substr(line.find(' ') + 1), ""});
    else if (line_rank == 0 || line_rank > rank)
      sections.back().text += line + "\n";
  });
  return sections;
}

std::string MarkdownSectionNamed(std::string_view document,
                                 std::string_view heading) {
  std::string text;
  int rank = 0;
  EachLine(document, [&](const std::string& line, int line_rank) {
    if (line_rank > 0 && line.substr(line.find(' ') + 1) == heading)
      rank = line_rank;
    else if (line_rank > 0 && line_rank <= rank)
      rank = 0;
    else if (rank > 0)
      text += line + "\n";
  });
  if (text.empty())
    throw std::runtime_error("no section '" + std::string(heading) + "'");
  return text;
}

std::string MarkdownToMdoc(std::string_view text) {
  return Converter(LinesOf(text)).run();
}
