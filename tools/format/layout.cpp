// Two passes over the tokens. The first one walks the tree along with them and
// decides what stands in front of each token: nothing, a blank, a new line of
// some level, or what is there now. The second one writes the lines. One that
// becomes too long is broken at the last place where the fewest parentheses are
// open; since it is never longer than a line and a token, each place is looked
// at few times only.
//
// Nothing depends on how a line was broken before, so that a second run finds
// nothing to do. The exceptions are marked by the writer of the source: blank
// lines, the lines of the members of a mask object, objects on one line, and
// the column of a trailing comment; these come out of a run as they go into it.
#include "tools/format/layout.h"

#include <algorithm>

namespace {

enum class Place : uint8_t {
  NOTHING,
  BLANK,
  LINE,    // begins a line of its own
  MEMBER,  // a blank, where a line that is too long is broken first
  KEPT,    // the gap stays as it is
};

// What stands in front of a token.
struct Before {
  Place place = Place::BLANK;
  uint8_t pad = 0;     // columns of the token, filled up with blanks
  uint16_t level = 0;  // of a LINE
  bool unary = false;  // the token is a sign
};

bool IsObject(int symbol) {
  switch (symbol) {
    case SYMBOL_window:
    case SYMBOL_application:
    case SYMBOL_simple_object:
    case SYMBOL_menu:
    case SYMBOL_item:
    case SYMBOL_table:
    case SYMBOL_text_object:
    case SYMBOL_group:
    case SYMBOL_label: return true;
    default: return false;
  }
}

// Nodes whose first token begins a line.
bool BeginsLine(int symbol) {
  switch (symbol) {
    case SYMBOL_program:
    case SYMBOL_module:
    case SYMBOL_import:
    case SYMBOL_include:
    case SYMBOL_sub_definition:
    case SYMBOL_declaration:
    case SYMBOL_variable_declaration:
    case SYMBOL_statement:
    case SYMBOL_case_clause:
    case SYMBOL_event_handler:
    case SYMBOL_module_block: return true;
    default: return IsObject(symbol);
  }
}

// Nodes whose lines are one level below their first one.
bool Indents(int symbol) {
  switch (symbol) {
    case SYMBOL_sub_definition:
    case SYMBOL_declaration:
    case SYMBOL_statement:
    case SYMBOL_case_clause:
    case SYMBOL_event_handler:
    case SYMBOL_module_block: return true;
    default: return IsObject(symbol);
  }
}

bool IsType(int token) {
  return token == TOKEN_INTEGER || token == TOKEN_REAL ||
         token == TOKEN_STRING || token == TOKEN_POINT;
}

// Tokens in front of a list that goes on below its first element.
bool LeadsList(int token) {
  switch (token) {
    case TOKEN_PRINT:
    case TOKEN_IMPORT:
    case TOKEN_ALLOCATE:
    case TOKEN_FREE:
    case TOKEN_CASE: return true;
    default: return IsType(token);
  }
}

bool IsOperator(int token) {
  return (token >= TOKEN_PLUS && token <= TOKEN_OR) &&
         token != TOKEN_LEFT_PAREN;
}

// Columns that a text takes.
uint32_t WidthOf(std::string_view text) {
  return static_cast<uint32_t>(std::count_if(
      text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

// A gap as the layout sees it.
struct GapFacts {
  uint32_t feeds = 0;  // before the first comment, or all
  bool has_comment = false;
  bool has_stray = false;
  bool own_line_comment = false;
};

class Layout {
 public:
  Layout(const SyntaxTree& tree, const FormatStyle& style)
      : tree_(tree), style_(style), text_(tree.text()) {}

  std::string run() {
    const size_t feed = text_.find('\n');
    feed_ = feed != text_.npos && feed > 0 && text_[feed - 1] == '\r' ? "\r\n"
                                                                      : "\n";
    before_.resize(tree_.tokens.size());
    plan();
    keep_lines_in_error();
    keep_marked();
    align_declarations();
    write();
    return std::move(out_);
  }

 private:
  int kind(uint32_t token) const { return tree_.tokens[token].kind; }

  GapFacts facts_of(uint32_t token) const {
    GapFacts facts;
    const uint32_t begin = tree_.gap_begin(token);
    const uint32_t end = tree_.tokens[token].begin;
    if (end == begin || (end == begin + 1 && text_[begin] == ' ')) return facts;
    SyntaxGap gap(tree_.files[0], begin, end);
    for (;;) {
      switch (gap.next()) {
        case SyntaxTrivia::END: return facts;
        case SyntaxTrivia::BLANK: break;
        case SyntaxTrivia::LINE_FEED:
          if (!facts.has_comment) facts.feeds++;
          break;
        case SyntaxTrivia::COMMENT:
          facts.own_line_comment |= facts.has_comment || facts.feeds > 0;
          facts.has_comment = true;
          break;
        case SyntaxTrivia::STRAY:
        case SyntaxTrivia::NOT_READ: facts.has_stray = true;
      }
    }
  }

  // Planning ------------------------------------------------------------------

  // A node round the token at hand.
  struct Open {
    uint32_t node;
    uint16_t base;   // level of the lines that its own tokens begin
    uint16_t inner;  // of those that nodes below it begin
  };
  // Braces that are open: whether their members stand on one line.
  struct Braces {
    uint32_t end;  // the token that closes them
    bool flat;
  };

  void plan() {
    uint32_t node = 0;
    const auto count = static_cast<uint32_t>(tree_.tokens.size()) - 1;
    for (uint32_t token = 0; token < count; token++) {
      while (!open_.empty() &&
             tree_.nodes[open_.back().node].token_end <= token)
        open_.pop_back();
      Before before;
      bool planned = false;
      while (node < tree_.nodes.size() &&
             tree_.nodes[node].first_token <= token) {
        if (tree_.nodes[node].token_end > token) {
          enter(node);
          const int symbol = tree_.nodes[node].symbol;
          if (BeginsLine(symbol)) {
            before = {Place::LINE, 0, open_.back().base};
            planned = true;
          } else if (symbol == SYMBOL_attribute ||
                     symbol == SYMBOL_common_member) {
            before = member(token, open_.back().base);
            planned = true;
          }
        }
        node++;
      }
      if (!planned && token > 0) before = plan_inside(token);
      if (kind(token) == TOKEN_LEFT_BRACE) {
        // Its closing one ends the node that both belong to.
        const uint32_t end = tree_.nodes[open_.back().node].token_end - 1;
        braces_.push_back({end, fits_one_line(token, end)});
      } else if (!braces_.empty()) {
        if (braces_.back().flat && before.place == Place::LINE)
          before.place = Place::BLANK;
        if (token >= braces_.back().end) braces_.pop_back();
      }
      if (token == 0) before.place = Place::LINE;
      const SyntaxNode& innermost = tree_.nodes[open_.back().node];
      before.unary = innermost.symbol == SYMBOL_expression &&
                     innermost.first_token == token;
      before_[token] = before;
    }
  }

  void enter(uint32_t node) {
    Open entry = {node, 0, 0};
    const int symbol = tree_.nodes[node].symbol;
    if (!open_.empty()) {
      const Open& parent = open_.back();
      const int of = tree_.nodes[parent.node].symbol;
      const bool inside = BeginsLine(symbol) || symbol == SYMBOL_body ||
                          symbol == SYMBOL_attribute ||
                          symbol == SYMBOL_common_member ||
                          symbol == SYMBOL_YYerror;
      entry.base = inside ? parent.inner : parent.base;
      // The branches of SELECT stand below it.
      if (symbol == SYMBOL_case_clause && of == SYMBOL_statement)
        entry.base = parent.base;
    }
    entry.inner = entry.base;
    if (Indents(symbol) || (symbol == SYMBOL_common_member &&
                            kind(tree_.nodes[node].first_token) == TOKEN_HELP))
      entry.inner++;
    open_.push_back(entry);
  }

  // A member of an object begins a line where it did before, and where it is
  // more than an attribute.
  Before member(uint32_t token, uint16_t level) {
    if (token == 0 || braces_.empty() || braces_.back().flat) return {};
    const int symbol = kind(token);
    const int last = kind(token - 1);
    if (last == TOKEN_LEFT_BRACE || last == TOKEN_RIGHT_BRACE ||
        symbol == TOKEN_HELP || facts_of(token).feeds > 0 ||
        facts_of(token).has_comment || ends_handler(token))
      return {Place::LINE, 0, level};
    return {Place::MEMBER, 0, level};
  }

  // Whether a handler without braces ends in front of a token.
  bool ends_handler(uint32_t token) const {
    uint32_t node = tree_.node_of(token - 1);
    while (tree_.nodes[node].token_end == token && node != 0) {
      if (tree_.nodes[node].symbol == SYMBOL_event_handler) return true;
      node = tree_.nodes[node].parent;
    }
    return false;
  }

  // Whether two tokens of a mask stand side by side.
  static bool sticks(int last, int next) {
    if (next == TOKEN_SEMICOLON)
      return last != TOKEN_LEFT_BRACE && last != TOKEN_RIGHT_BRACE;
    return next == TOKEN_COMMA || next == TOKEN_LEFT_PAREN ||
           next == TOKEN_RIGHT_PAREN || last == TOKEN_LEFT_PAREN;
  }

  // Whether what braces hold stands on one line and may stay there.
  bool fits_one_line(uint32_t open, uint32_t end) const {
    if (open == 0 || kind(end) != TOKEN_RIGHT_BRACE) return false;
    if (!braces_.empty() && braces_.back().flat) return true;
    uint32_t lines = 0;
    uint32_t first = open;  // of the line
    while (first > 0 && before_[first].place != Place::LINE) first--;
    uint32_t width = before_[first].level * style_.indent;
    for (uint32_t token = first; token <= end; token++) {
      if (tree_.tokens[token].foreign) return false;
      width += tree_.tokens[token].length;
      if (token > first && !sticks(kind(token - 1), kind(token))) width++;
      if (width > style_.width) return false;
      if (token <= open) continue;
      const GapFacts facts = facts_of(token);
      if (facts.feeds > 0 || facts.has_comment || facts.has_stray) return false;
      switch (kind(token)) {
        case TOKEN_IF:
        case TOKEN_WHILE:
        case TOKEN_SELECT:
        case TOKEN_SUB:
        case TOKEN_COMMON: return false;
        case TOKEN_EXECUTE: return false;
        case TOKEN_SEMICOLON: lines++; break;
        default: break;
      }
    }
    // One statement is enough for a handler.
    return kind(open - 1) != TOKEN_EXECUTE || lines <= 1;
  }

  // A token that is not the first one of a line's node.
  Before plan_inside(uint32_t token) {
    const Open& open = open_.back();
    const SyntaxNode& node = tree_.nodes[open.node];
    const int symbol = node.symbol;
    const int last = token == 0 ? 0 : kind(token - 1);
    switch (kind(token)) {
      case TOKEN_END:
      case TOKEN_SUBEND:
        if (Indents(symbol) || symbol == SYMBOL_sub_end)
          return {Place::LINE, 0, open.base};
        break;
      case TOKEN_ELSE:
        if (symbol == SYMBOL_statement && last != TOKEN_CASE)
          return {Place::LINE, 0, open.base};
        break;
      case TOKEN_CASE:
        if (symbol == SYMBOL_statement) return {Place::LINE, 0, open.base};
        break;
      case TOKEN_RIGHT_BRACE:
        if (!braces_.empty() && braces_.back().end == token &&
            !braces_.back().flat)
          return {Place::LINE, 0, open.base};
        return {};
      case TOKEN_SEMICOLON:
        if (symbol == SYMBOL_body) return {Place::LINE, 0, open.base};
        if (is_empty_statement(token, node))
          return {Place::LINE, 0, open.inner};
        if (last == TOKEN_LEFT_BRACE || last == TOKEN_RIGHT_BRACE)
          return member(token, open.inner);
        return {Place::NOTHING, 0, 0};
      default: break;
    }
    return {separator(token, node), 0, 0};
  }

  // A lone ";" among the statements of a block.
  bool is_empty_statement(uint32_t token, const SyntaxNode& node) const {
    if (node.symbol == SYMBOL_case_clause || node.symbol == SYMBOL_statement) {
      switch (kind(node.first_token)) {
        case TOKEN_IF:
        case TOKEN_WHILE: return true;
        case TOKEN_CASE:
        case TOKEN_SELECT: break;
        default: return false;
      }
      // The first ";" belongs to the head.
      const int last = kind(token - 1);
      if (last == TOKEN_SEMICOLON || last == TOKEN_ELSE) return true;
      const uint32_t before = tree_.node_of(token - 1);
      for (uint32_t n = before; n != 0 && &tree_.nodes[n] != &node;
           n = tree_.nodes[n].parent)
        if (tree_.nodes[n].symbol == SYMBOL_statement ||
            tree_.nodes[n].symbol == SYMBOL_case_clause)
          return true;
    }
    return false;
  }

  // Between two tokens of a line.
  Place separator(uint32_t token, const SyntaxNode& node) const {
    const int last = kind(token - 1);
    const int next = kind(token);
    if (last == TOKEN_LEFT_PAREN || last == TOKEN_LEFT_BRACKET ||
        last == TOKEN_DOT)
      return Place::NOTHING;
    switch (next) {
      case TOKEN_COMMA:
      case TOKEN_RIGHT_PAREN:
      case TOKEN_RIGHT_BRACKET:
      case TOKEN_LEFT_BRACKET:
      case TOKEN_DOT: return Place::NOTHING;
      case TOKEN_LEFT_PAREN:
        if (node.symbol == SYMBOL_parameters) return Place::BLANK;
        switch (last) {
          case TOKEN_IDENT:
          case TOKEN_FNNAME:
          case TOKEN_CFNNAME:
          case TOKEN_BUILTIN:
          case TOKEN_SIGIL:
          case TOKEN_MSG:
          case TOKEN_MSGGET:
          case TOKEN_MSGGLOB:
          case TOKEN_MSGFILE:
          case TOKEN_RIGHT_BRACKET: return Place::NOTHING;
          default: break;
        }
        break;
      case TOKEN_COLON: return Place::NOTHING;
      default: break;
    }
    if (last == TOKEN_COLON) return Place::NOTHING;
    if (node.symbol == SYMBOL_key && token != node.first_token)
      return Place::NOTHING;
    if ((last == TOKEN_MINUS || last == TOKEN_PLUS) && is_unary(token - 1))
      return Place::NOTHING;
    return Place::BLANK;
  }

  bool is_unary(uint32_t token) const { return before_[token].unary; }

  // What stays --------------------------------------------------------------

  void keep(uint32_t token) { before_[token].place = Place::KEPT; }

  // From the first token of a line to the last one, and the end of the line.
  void keep_line(uint32_t token) {
    if (token == SYNTAX_NONE || tree_.tokens[token].foreign) return;
    const auto last = static_cast<uint32_t>(tree_.tokens.size()) - 1;
    uint32_t first = token;
    while (!begins_source_line(first)) {
      const uint32_t before = tree_.previous(first);
      if (before == SYNTAX_NONE) break;
      first = before;
    }
    keep(first);
    for (uint32_t next = first + 1; next <= last; next++) {
      if (tree_.tokens[next].foreign) continue;
      keep(next);
      if (begins_source_line(next)) break;
    }
  }

  void keep_lines_in_error() {
    if (tree_.errors.empty()) return;
    for (const SyntaxError& error : tree_.errors) {
      if (tree_.tokens[error.place].foreign) continue;
      keep_line(tree_.previous(error.place));
      keep_line(error.place);
      keep_line(error.token);
    }
    for (uint32_t n = 0; n < tree_.nodes.size(); n++) {
      const SyntaxNode& node = tree_.nodes[n];
      if (!node.is_error()) continue;
      for (uint32_t token = node.first_token; token < node.token_end; token++)
        if (!tree_.tokens[token].foreign) keep(token);
      keep_line(node.first_token);
      if (node.token_end > node.first_token) keep_line(node.token_end - 1);
    }
  }

  bool begins_source_line(uint32_t token) const {
    const uint32_t begin = tree_.gap_begin(token);
    return text_.substr(begin, tree_.tokens[token].begin - begin).find('\n') !=
           text_.npos;
  }

  // Stray characters, lines outside of the range, and what a comment protects.
  void keep_marked() {
    const bool all = style_.first_line <= 1 && style_.last_line == UINT32_MAX;
    const bool marked = text_.find("format off") != text_.npos;
    uint32_t line = 1;
    uint32_t counted = 0;  // line feeds up to here
    bool off = false;
    for (uint32_t token = 0; token < tree_.tokens.size(); token++) {
      const SyntaxToken& t = tree_.tokens[token];
      if (t.foreign) continue;
      if (!all) {
        line += static_cast<uint32_t>(
            std::count(text_.begin() + counted, text_.begin() + t.begin, '\n'));
        counted = t.begin;
        if (line < style_.first_line || line > style_.last_line) keep(token);
      }
      if (off) keep(token);
      const uint32_t begin = tree_.gap_begin(token);
      if (t.begin - begin <= 1 && !(t.begin > begin && text_[begin] != ' '))
        continue;
      SyntaxGap gap(tree_, token);
      bool same_line = false;  // as a stray character
      for (SyntaxTrivia piece = gap.next(); piece != SyntaxTrivia::END;
           piece = gap.next()) {
        if (piece == SyntaxTrivia::STRAY) keep(token), same_line = true;
        if (piece == SyntaxTrivia::LINE_FEED) same_line = false;
        if (!marked || piece != SyntaxTrivia::COMMENT) continue;
        if (says(gap.text(), "format off")) {
          off = true;
          keep(token);
        } else if (says(gap.text(), "format on")) {
          off = false;
        }
      }
      // It may be a quote that is not closed on this line.
      if (same_line) keep_line(token);
    }
  }

  static bool says(std::string_view comment, std::string_view words) {
    comment.remove_prefix(1);
    const size_t begin = comment.find_first_not_of(" \t");
    const size_t end = comment.find_last_not_of(" \t");
    return begin != comment.npos &&
           comment.substr(begin, end - begin + 1) == words;
  }

  // Declarations
  // ---------------------------------------------------------------

  // The names of declarations one below the other begin in one column.
  void align_declarations() {
    uint32_t longest = 0;
    std::vector<uint32_t> run;
    const auto finish = [&] {
      for (const uint32_t token : run)
        before_[token].pad = static_cast<uint8_t>(longest);
      run.clear();
      longest = 0;
    };
    for (uint32_t token = 0; token < tree_.tokens.size(); token++) {
      if (tree_.tokens[token].foreign) continue;
      const Before& before = before_[token];
      if (before.place == Place::KEPT) finish();
      if (before.place != Place::LINE) continue;
      const bool declares = IsType(kind(token));
      if (!declares) {
        finish();
        continue;
      }
      const GapFacts facts = facts_of(token);
      if (!run.empty() && (facts.own_line_comment || facts.feeds > 1 ||
                           before_[run.back()].level != before.level))
        finish();
      if (before_[token + 1].place == Place::KEPT) {
        finish();
        continue;
      }
      longest = std::max<uint32_t>(longest, tree_.tokens[token].length);
      run.push_back(token);
    }
    finish();
  }

  // Writing -------------------------------------------------------------------

  // Where a line may be broken.
  struct Break {
    size_t at;        // in line_: the blank
    uint32_t column;  // of what then begins the next line
    uint32_t cost;
  };

  void write() {
    const auto last = static_cast<uint32_t>(tree_.tokens.size()) - 1;
    for (uint32_t token = 0; token < last; token++) {
      if (tree_.tokens[token].foreign) continue;
      write_gap(token);
      write_token(token);
    }
    write_end(last);
  }

  // The gap in front of a token, with its comments.
  void write_gap(uint32_t token) {
    const Before& before = before_[token];
    const uint32_t begin = tree_.gap_begin(token);
    const uint32_t end = tree_.tokens[token].begin;
    if (before.place == Place::KEPT) return write_kept(begin, end, token);
    const bool simple =
        end == begin || (end == begin + 1 && text_[begin] == ' ');
    bool commented = false;
    uint32_t feeds = 0;
    if (!simple) {
      SyntaxGap gap(tree_.files[0], begin, end);
      for (SyntaxTrivia piece = gap.next(); piece != SyntaxTrivia::END;
           piece = gap.next()) {
        if (piece == SyntaxTrivia::LINE_FEED) feeds++;
        if (piece != SyntaxTrivia::COMMENT) continue;
        write_comment(gap, token, feeds, commented);
        commented = true;
        feeds = 0;
      }
    }
    if (before.place == Place::LINE || commented) {
      const bool starts = before.place == Place::LINE;
      const uint32_t column =
          starts ? before.level * style_.indent : continuation();
      if (starts) begin_statement(column);
      if (begin > 0 || commented) new_line(feeds > 1);
      set_column(column);
      return;
    }
    if (before.place == Place::NOTHING) return;
    note_break(token);
    if (before.place == Place::MEMBER)
      begin_statement(before.level * style_.indent);
    line_ += ' ';
    width_++;
  }

  void write_comment(const SyntaxGap& gap, uint32_t token, uint32_t feeds,
                     bool commented) {
    std::string_view text = gap.text();
    text = text.substr(0, text.find_last_not_of(" \t\f") + 1);
    if (feeds == 0 && !commented && gap.begin() > 0) {
      comment_ = text;
      comment_column_ = source_column(gap.begin());
      return;
    }
    // In front of what closes a block it is a line of that block.
    const Before& before = before_[token];
    uint32_t column = continuation();
    if (before.place == Place::LINE) {
      const int closes = kind(token);
      const bool inside = closes == TOKEN_END || closes == TOKEN_SUBEND ||
                          closes == TOKEN_RIGHT_BRACE;
      column = (before.level + (inside ? 1U : 0U)) * style_.indent;
    }
    if (!out_is_empty()) new_line(feeds > 1);
    set_column(column);
    line_ += text;
    width_ += WidthOf(text);
  }

  bool out_is_empty() const {
    return out_.empty() && line_.empty() && pending_.empty();
  }

  // A gap that stays as it is, with its line feeds.
  void write_kept(uint32_t begin, uint32_t end, uint32_t token) {
    std::string_view gap = text_.substr(begin, end - begin);
    // Behind "format on" the layout begins with the next line.
    for (size_t feed = gap.find('\n'); feed != gap.npos;
         feed = gap.find('\n')) {
      flush();
      out_ += line_;
      out_ += gap.substr(0, feed + 1);
      line_.clear();
      breaks_.clear();
      fresh_ = true;
      gap.remove_prefix(feed + 1);
    }
    line_ += gap;
    width_ = WidthOf(line_);
    if (BeginsAnything(token)) begin_statement(width_);
  }

  bool BeginsAnything(uint32_t token) const {
    return before_[token].level > 0 || fresh_;
  }

  void write_token(uint32_t token) {
    const SyntaxToken& t = tree_.tokens[token];
    const std::string_view text = text_.substr(t.begin, t.length);
    if (t.kind == TOKEN_RIGHT_PAREN || t.kind == TOKEN_RIGHT_BRACKET) {
      if (!columns_.empty()) columns_.pop_back();
    }
    const bool first = fresh_;
    fresh_ = false;
    line_ += text;
    width_ += WidthOf(text);
    const uint8_t pad = before_[token].pad;
    if (pad > text.size() && before_[token].place == Place::LINE) {
      line_.append(pad - text.size(), ' ');
      width_ += pad - static_cast<uint32_t>(text.size());
    }
    // A literal may hold a line feed, at its end.
    if (t.kind == TOKEN_SCONST && text.find('\n') != text.npos) {
      width_ = 1;
      breaks_.clear();
    }
    if (first && LeadsList(t.kind)) list_column_ = width_ + 1;
    if (t.kind == TOKEN_LEFT_PAREN || t.kind == TOKEN_LEFT_BRACKET)
      columns_.push_back(width_);
    while (width_ > style_.width && break_line()) {
    }
  }

  // What is left behind the last token.
  void write_end(uint32_t token) {
    const uint32_t begin = tree_.gap_begin(token);
    const uint32_t end = tree_.files[0].read_end;
    if (before_[token].place == Place::KEPT) {
      write_kept(begin, end, token);
      flush();
      out_ += line_;
    } else {
      SyntaxGap gap(tree_.files[0], begin, end);
      bool commented = false;
      uint32_t feeds = 0;
      for (SyntaxTrivia piece = gap.next(); piece != SyntaxTrivia::END;
           piece = gap.next()) {
        if (piece == SyntaxTrivia::LINE_FEED) feeds++;
        if (piece != SyntaxTrivia::COMMENT) continue;
        before_[token] = {Place::LINE, 0, 0};
        write_comment(gap, token, feeds, commented);
        commented = true;
        feeds = 0;
      }
      if (!out_is_empty()) new_line(false);
      flush();
    }
    out_ += text_.substr(end);
  }

  // Lines ---------------------------------------------------------------------

  void begin_statement(uint32_t column) {
    columns_.clear();
    list_column_ = 0;
    column_ = column;
  }

  // The column in which a broken line goes on: behind the last parenthesis that
  // is open, below the first element of a list, or to the right.
  uint32_t wanted_continuation() const {
    return !columns_.empty()   ? columns_.back()
           : list_column_ != 0 ? list_column_
                               : column_ + 2 * style_.indent;
  }
  // That, unless there would be little room left.
  uint32_t limited(uint32_t column) const {
    return column + 24 > style_.width ? column_ + 2 * style_.indent : column;
  }
  uint32_t continuation() const { return limited(wanted_continuation()); }

  // Members of an object go on where they began.
  uint32_t column_of(const Break& place) const {
    return place.cost == 0 ? place.column : limited(place.column);
  }

  void set_column(uint32_t column) {
    line_.assign(column, ' ');
    width_ = column;
    breaks_.clear();
    fresh_ = true;
  }

  // Ends the line; what its trailing comment needs is known later.
  void new_line(bool blank_line) {
    while (!line_.empty() && line_.back() == ' ') line_.pop_back();
    if (comment_.empty()) {
      flush();
      out_ += line_;
      out_ += feed_;
    } else {
      pending_.push_back(
          {line_, comment_,
           WidthOf(line_.substr(
               line_.rfind('\n') == line_.npos ? 0 : line_.rfind('\n') + 1))});
      if (pending_.size() == 1) pending_column_ = comment_column_;
    }
    comment_ = {};
    line_.clear();
    if (blank_line) {
      flush();
      out_ += feed_;
    }
  }

  // Writes the lines whose comments stand one below the other.
  void flush() {
    if (pending_.empty()) return;
    uint32_t column = std::min(pending_column_, FARTHEST_COMMENT);
    for (const Commented& line : pending_)
      column = std::max(column, line.width + 2);
    for (const Commented& line : pending_) {
      out_ += line.code;
      out_.append(column - line.width, ' ');
      out_ += line.comment;
      out_ += feed_;
    }
    pending_.clear();
  }

  uint32_t source_column(uint32_t offset) const {
    const size_t feed = text_.rfind('\n', offset);
    const size_t begin = feed == text_.npos ? 0 : feed + 1;
    return WidthOf(text_.substr(begin, offset - begin));
  }

  void note_break(uint32_t token) {
    const int last = kind(token - 1);
    const int next = kind(token);
    uint32_t cost;
    if (before_[token].place == Place::MEMBER)
      cost = 0;
    else if (last == TOKEN_COMMA || last == TOKEN_SEMICOLON)
      cost = 1;
    else if (next == TOKEN_AND || next == TOKEN_OR || next == TOKEN_FROM)
      cost = 1;
    else if (IsOperator(next) && !is_unary(token))
      cost = 2;
    else if (last == TOKEN_ASSIGNOP)
      cost = 3;
    else
      cost = 1000;  // where a line could not be read any more
    cost += 4 * static_cast<uint32_t>(columns_.size());
    const uint32_t column = before_[token].place == Place::MEMBER
                                ? before_[token].level * style_.indent
                                : wanted_continuation();
    breaks_.push_back({line_.size(), column, cost});
  }

  // Moves the end of a line that is too long into a new one. False when there
  // is no place for that.
  bool break_line() {
    const Break* best = nullptr;
    for (const Break& place : breaks_) {
      if (place.cost >= 1000 && width_ < LONGEST_LINE) continue;
      if (best == nullptr || place.cost <= best->cost) best = &place;
    }
    if (best == nullptr || column_of(*best) >= best->at) {
      if (width_ < LONGEST_LINE || best == nullptr) return false;
    }
    Break chosen = *best;
    chosen.column = column_of(chosen);
    const std::string rest = line_.substr(chosen.at + 1);
    line_.resize(chosen.at);
    // Columns behind the break move.
    const uint32_t moved =
        WidthOf(line_.substr(
            line_.rfind('\n') == line_.npos ? 0 : line_.rfind('\n') + 1)) +
        1;
    for (uint32_t& column : columns_)
      if (column >= moved) column = column - moved + chosen.column;
    std::vector<Break> later;
    for (Break place : breaks_)
      if (place.at > chosen.at) {
        if (place.cost >= 4 && place.column >= moved)
          place.column = place.column - moved + chosen.column;
        place.at = place.at - chosen.at - 1 + chosen.column;
        later.push_back(place);
      }
    if (list_column_ > moved) list_column_ = 0;
    const std::string_view kept_comment = comment_;
    comment_ = {};
    new_line(false);
    comment_ = kept_comment;
    line_.assign(chosen.column, ' ');
    line_ += rest;
    width_ = chosen.column + WidthOf(rest);
    breaks_ = std::move(later);
    return true;
  }

  static constexpr uint32_t FARTHEST_COMMENT = 48;
  // The compiler reads lines of 10,238 bytes; a character may have four.
  static constexpr uint32_t LONGEST_LINE = 2000;

  struct Commented {
    std::string code;
    std::string_view comment;
    uint32_t width;
  };

  const SyntaxTree& tree_;
  const FormatStyle& style_;
  std::string_view text_;
  std::string_view feed_;
  std::vector<Before> before_;  // by token
  std::vector<Open> open_;
  std::vector<Braces> braces_;

  std::string out_;
  std::string line_;    // being written
  uint32_t width_ = 0;  // its columns
  bool fresh_ = true;   // it has no token yet
  std::vector<Break> breaks_;
  std::vector<uint32_t> columns_;  // behind the parentheses that are open
  uint32_t list_column_ = 0;       // of the elements of a list; 0: none
  uint32_t column_ = 0;            // of the statement
  std::string_view comment_;       // at the end of the line
  uint32_t comment_column_ = 0;    // where it stood
  std::vector<Commented> pending_;
  uint32_t pending_column_ = 0;
};

}  // namespace

std::string FormatLayout(const SyntaxTree& tree, const FormatStyle& style) {
  return Layout(tree, style).run();
}
