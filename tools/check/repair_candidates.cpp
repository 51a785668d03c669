// What could have been meant where the parser cannot go on.
#include <algorithm>

#include "elut/grammar.h"
#include "tools/check/repairer.h"
#include "tools/check/words.h"

namespace {

constexpr ptrdiff_t WORDS_BACK = 16;  // tokens that are asked for lost words

}  // namespace

bool CheckRepairer::is_sub(std::string_view name) {
  if (!std::exchange(has_subs_, true)) {
    const std::string& text = stream_.file()->source.text;
    for (size_t at = text.find("SUB "); at != std::string::npos;
         at = text.find("SUB ", at + 4)) {
      size_t begin = at + 4;
      while (text[begin] == ' ') begin++;
      size_t end = begin;
      while (isalnum(static_cast<unsigned char>(text[end])) != 0 ||
             text[end] == '_')
        end++;
      subs_.insert(text.substr(begin, end - begin));
    }
  }
  return subs_.contains(name);
}

// Misspelled keywords from the beginning of the statement on.
void CheckRepairer::collect_spellings() {
  const ptrdiff_t start =
      std::max(statement_start() - 1, std::max<ptrdiff_t>(back_limit(), -24));
  for (ptrdiff_t at = start; at <= 0; at++) {
    const CheckToken& token = near(at);
    const auto back = static_cast<size_t>(-at);
    if (token.kind == TOKEN_IDENT || token.kind == TOKEN_BUILTIN) {
      if (token.made) continue;
      const CheckMeant meant = CheckMeantBy(token.text());
      const int cost = std::max(1, meant.distance);
      const bool two =
          meant.tokens.size() == 2 &&
          (meant.tokens[0] == TOKEN_END || meant.tokens[0] == TOKEN_ELSE);
      if (two || (meant.tokens.size() == 1 && meant.distance == 0))
        consider({CheckChange::SPELL, back, 1, meant.tokens, cost, true, ""});
      if (two) continue;
      for (const int keyword : meant.tokens)
        consider(
            {CheckChange::SPELL, back, 1, {keyword}, cost, meant.only, ""});
    } else if (CheckIsKeyword(token.kind) && at >= -1) {
      consider({CheckChange::KEYWORD_NAME,
                back,
                1,
                {TOKEN_IDENT},
                keyword_faults_.contains(token.text()) ? 0 : 3,
                false,
                ""});
    }
  }
}

// END of another block, or a block that is not closed.
void CheckRepairer::collect_ends() {
  static constexpr int BLOCKS[] = {TOKEN_IF, TOKEN_WHILE, TOKEN_SELECT,
                                   TOKEN_SUB, TOKEN_COMMON};
  const bool behind_end = !history_.empty() && kind_at(-1) == TOKEN_END;
  for (const int block : BLOCKS) {
    consider({CheckChange::PUT_IN, 0, 0, {TOKEN_END, block}, 3, false, ""});
    if (behind_end) {
      consider({CheckChange::PUT_IN, 1, 0, {TOKEN_END, block}, 3, false, ""});
      consider({CheckChange::WRONG_END, 0, 1, {block}, 3, false, ""});
      consider({CheckChange::PUT_IN, 0, 0, {block}, 4, false, ""});
    }
  }
  if (behind_end) {
    consider({CheckChange::TAKE_OUT, 1, 2, {}, 4, false, ""});
    consider({CheckChange::TAKE_OUT, 1, 1, {}, 5, false, ""});
    consider({CheckChange::PUT_IN, 1, 0, {TOKEN_SUBEND}, 4, false, ""});
  }
  if (kind_at(0) == TOKEN_SUBEND) {
    for (const int block : BLOCKS)
      consider(
          {CheckChange::WRONG_END, 0, 1, {TOKEN_END, block}, 4, false, ""});
  } else if (kind_at(0) == TOKEN_END) {
    consider({CheckChange::TAKE_OUT, 0, 2, {}, 4, false, ""});
    consider({CheckChange::WRONG_END, 0, 2, {TOKEN_RIGHT_BRACE}, 5, false, ""});
  } else if (kind_at(0) == TOKEN_RIGHT_BRACE) {
    for (const int block : BLOCKS)
      consider(
          {CheckChange::WRONG_END, 0, 1, {TOKEN_END, block}, 5, false, ""});
  }
}

// Words at the beginning of a line that are lost, or a part of them: what a
// statement begins with, END of END IF, the end of a SUB.
void CheckRepairer::collect_words() {
  static constexpr int FIRST[] = {TOKEN_IF,     TOKEN_WHILE, TOKEN_SELECT,
                                  TOKEN_COMMON, TOKEN_SUB,   TOKEN_INTEGER,
                                  TOKEN_END};
  const auto begins = [&](ptrdiff_t at) { return CheckBeginsLine(near(at)); };
  for (ptrdiff_t at = 0; at >= std::max(back_limit(), -WORDS_BACK); at--) {
    if (!begins(at) || near(at).made) continue;
    const auto back = static_cast<size_t>(-at);
    for (const int word : FIRST) {
      if (word != TOKEN_END && at < 0)
        consider({CheckChange::PUT_IN, back, 0, {word}, 6, false, ""});
      if (kind_at(at) == TOKEN_IDENT &&
          CheckSpelling(word).starts_with(near(at).text()))
        consider({CheckChange::SPELL, back, 1, {word}, 3, false, ""});
    }
  }
  for (ptrdiff_t at = 0; at > std::max(back_limit(), -WORDS_BACK); at--) {
    const auto back = static_cast<size_t>(-at);
    const int kind = kind_at(at);
    const bool after_end = kind_at(at - 1) == TOKEN_END;
    const bool is_block = kind == TOKEN_IF || kind == TOKEN_WHILE ||
                          kind == TOKEN_SELECT || kind == TOKEN_COMMON ||
                          kind == TOKEN_SUB;
    if (is_block && begins(at) && !after_end && at < 0)
      consider({CheckChange::PUT_IN, back, 0, {TOKEN_END}, 4, false, ""});
    // END, and SUB on a line below it.
    if (kind == TOKEN_SUB && begins(at) && after_end && begins(at - 1))
      consider(
          {CheckChange::SUB_END, back + 1, 1, {TOKEN_SUBEND}, 2, false, ""});
    // The file that a SUB begins in ends in front of SUBEND.
    if (near(at - 1).source != near(at).source)
      consider({CheckChange::PUT_IN, back, 0, {TOKEN_SUBEND}, 4, false, ""});
  }
  if (kind_at(0) == TOKEN_SUB && kind_at(1) == TOKEN_END)
    consider({CheckChange::SUB_END, 0, 2, {TOKEN_SUBEND}, 2, false, ""});
  if (kind_at(0) == TOKEN_END && begins(0) && begins(1))
    consider({CheckChange::SUB_END, 0, 1, {TOKEN_SUBEND}, 3, false, ""});
}

// What is on the lines of the error: up to the ";", or to their end. A few
// tokens round it.
void CheckRepairer::collect_skips() {
  const auto line_of = [&](ptrdiff_t at) {
    const CheckToken& token = near(at);
    return std::pair(token.source, token.source->line_of(std::min<size_t>(
                                       token.begin, token.source->size())));
  };
  const auto count = static_cast<ptrdiff_t>(ahead_.size());
  ptrdiff_t end = 0;
  while (end + 1 < count && line_of(end) == line_of(0)) end++;
  ptrdiff_t semicolon = 0;
  while (semicolon + 1 < count && kind_at(semicolon) != TOKEN_SEMICOLON)
    semicolon++;
  ptrdiff_t start = 0;
  for (int lines = 0; lines < 2; lines++) {
    if (start > back_limit()) {
      const auto line = line_of(lines == 0 ? 0 : start - 1);
      while (start > back_limit() && line_of(start - 1) == line) start--;
    }
    for (const ptrdiff_t last : {end, semicolon + 1})
      if (last > start && last < count)
        consider({CheckChange::SKIPPED,
                  static_cast<size_t>(-start),
                  static_cast<size_t>(last - start),
                  {},
                  9,
                  false,
                  ""});
  }
  // Of the statement and of the line that the error is in.
  ptrdiff_t first = 0, behind = 0;
  while (first > std::max<ptrdiff_t>(back_limit(), -2) &&
         kind_at(first - 1) != TOKEN_SEMICOLON &&
         line_of(first - 1) == line_of(0))
    first--;
  while (behind < std::min<ptrdiff_t>(end, 3) &&
         kind_at(behind) != TOKEN_SEMICOLON)
    behind++;
  for (ptrdiff_t from = first; from <= 0; from++)
    for (ptrdiff_t to = std::max<ptrdiff_t>(0, from + 2); to <= behind; to++)
      consider({CheckChange::TAKE_OUT,
                static_cast<size_t>(-from),
                static_cast<size_t>(to - from),
                {},
                7,
                false,
                ""});
}

// Whole constructs that stand in a wrong place.
void CheckRepairer::collect_constructs() {
  const auto up_to = [&](ptrdiff_t from, int closing, int alternative) {
    for (auto at = static_cast<size_t>(from); at < ahead_.size(); at++) {
      if (ahead_[at].kind == closing) return at + 1;
      if (alternative != 0 && ahead_[at].kind == alternative && at > 0 &&
          ahead_[at - 1].kind == TOKEN_END)
        return at + 1;
    }
    return size_t{0};
  };
  size_t end = 0;
  switch (kind_at(0)) {
    case TOKEN_IMPORT:
    case TOKEN_INCLUDE:
    case TOKEN_PROGRAM:
    case TOKEN_MODULE:
    case TOKEN_INTEGER:
    case TOKEN_REAL:
    case TOKEN_STRING:
    case TOKEN_POINT: end = up_to(0, TOKEN_SEMICOLON, 0); break;
    case TOKEN_SUB: end = up_to(0, TOKEN_SUBEND, TOKEN_SUB); break;
    case TOKEN_COMMON: end = up_to(1, -1, TOKEN_COMMON); break;
    case TOKEN_ON: {
      // Up to the brace that closes it, or the ";".
      int depth = 0;
      for (size_t at = 1; at < ahead_.size() && end == 0; at++) {
        const int kind = ahead_[at].kind;
        depth += kind == TOKEN_LEFT_BRACE;
        depth -= kind == TOKEN_RIGHT_BRACE;
        if ((kind == TOKEN_RIGHT_BRACE || kind == TOKEN_SEMICOLON) &&
            depth == 0)
          end = at + 1;
        if (depth < 0) break;
      }
      break;
    }
    case TOKEN_BUTTON:
    case TOKEN_SCROLLBAR:
    case TOKEN_RECORD:
    case TOKEN_DIALOG:
    case TOKEN_GRAPHIC:
    case TOKEN_MENU:
    case TOKEN_MENUBAR:
    case TOKEN_ITEM:
    case TOKEN_TABLE:
    case TOKEN_TEXT:
    case TOKEN_GROUP:
    case TOKEN_LABEL:
    case TOKEN_WINDOW:
    case TOKEN_APPLICATION:
    case TOKEN_HELP: {
      int depth = 0;
      for (size_t at = 1; at < ahead_.size() && end == 0; at++) {
        depth += ahead_[at].kind == TOKEN_LEFT_BRACE;
        depth -= ahead_[at].kind == TOKEN_RIGHT_BRACE;
        if (ahead_[at].kind == TOKEN_RIGHT_BRACE && depth == 0) end = at + 1;
        if (depth < 0) break;
      }
      break;
    }
    default: break;
  }
  if (end > 0) consider({CheckChange::MISPLACED, 0, end, {}, 5, false, ""});
}

// Habits from other languages.
void CheckRepairer::collect_foreign(const CheckToken& error) {
  const ptrdiff_t limit = back_limit();
  const auto adjacent = [&](ptrdiff_t at) {
    return near(at - 1).end == near(at).begin;
  };
  const auto has = [&](ptrdiff_t at) { return at >= limit; };
  const auto replace = [&](CheckChange::Kind kind, ptrdiff_t from, size_t count,
                           std::vector<int> put, std::string text) {
    consider({kind, static_cast<size_t>(std::max<ptrdiff_t>(0, -from)), count,
              std::move(put), 1, false, std::move(text)});
  };
  for (ptrdiff_t at = -1; at <= 1; at++) {
    if (!has(at - 1) || !adjacent(at)) continue;
    const int first = kind_at(at - 1), second = kind_at(at);
    const auto is = [&](const char* text) {
      return near(at - 1).source == near(at).source &&
             near(at).source->part(near(at - 1).begin, near(at).end) == text;
    };
    if (is("&&")) replace(CheckChange::OPERATOR, at - 1, 2, {TOKEN_AND}, "AND");
    if (is("=>"))
      replace(CheckChange::OPERATOR, at - 1, 2, {TOKEN_GREATER_EQUAL}, ">=");
    if (is("=<"))
      replace(CheckChange::OPERATOR, at - 1, 2, {TOKEN_LESS_EQUAL}, "<=");
    if (is("><"))
      replace(CheckChange::OPERATOR, at - 1, 2, {TOKEN_NOT_EQUAL}, "<>");
    if (is(":="))
      replace(CheckChange::OPERATOR, at - 1, 2, {TOKEN_ASSIGNOP}, "=");
    if (is("==="))
      replace(CheckChange::OPERATOR, at - 1, 2, {TOKEN_EQUAL}, "==");
    if (is("++") && kind_at(at + 1) != TOKEN_IDENT)
      replace(CheckChange::OPERATOR, at - 1, 2, {TOKEN_ASSIGNOP, TOKEN_ICONST},
              " += 1");
    if (is("--") && kind_at(at + 1) != TOKEN_IDENT)
      replace(CheckChange::OPERATOR, at - 1, 2, {TOKEN_ASSIGNOP, TOKEN_ICONST},
              " -= 1");
    if (is("++") && kind_at(at + 1) == TOKEN_IDENT)
      replace(CheckChange::OPERATOR, at - 1, 3,
              {TOKEN_IDENT, TOKEN_ASSIGNOP, TOKEN_ICONST},
              std::string(near(at + 1).text()) + " += 1");
    if (is("--") && kind_at(at + 1) == TOKEN_IDENT)
      replace(CheckChange::OPERATOR, at - 1, 3,
              {TOKEN_IDENT, TOKEN_ASSIGNOP, TOKEN_ICONST},
              std::string(near(at + 1).text()) + " -= 1");
    // 08, 0X1F
    if (first == TOKEN_ICONST && near(at - 1).text().starts_with('0') &&
        (second == TOKEN_ICONST || second == TOKEN_RCONST ||
         (second == TOKEN_IDENT && near(at).text().starts_with('X')))) {
      std::string number =
          std::string(near(at - 1).text()) + std::string(near(at).text());
      if (second == TOKEN_IDENT)
        number[1] = 'x';
      else
        number.erase(
            0, std::min(number.find_first_not_of('0'), number.size() - 1));
      replace(CheckChange::POINT, at - 1, 2, {TOKEN_ICONST}, number);
    }
    // Comments: up to the end of the line, or to what closes them.
    const bool slashes = first == TOKEN_SLASH && second == TOKEN_SLASH;
    const bool star =
        first == TOKEN_SLASH && (second == TOKEN_STAR || second == TOKEN_POWER);
    if (slashes || star) {
      const CheckToken& open = near(at - 1);
      const std::string& text = open.source->text;
      size_t end = slashes ? text.find('\n', open.begin)
                           : text.find("*/", open.begin + 2);
      if (end == std::string::npos)
        end = open.source->size();
      else if (star)
        end += 2;
      size_t count = 0;
      for (ptrdiff_t i = at - 1; i < static_cast<ptrdiff_t>(ahead_.size());
           i++) {
        if (near(i).source != open.source || near(i).begin >= end ||
            near(i).kind == TOKEN_END_OF_INPUT)
          break;
        count++;
      }
      replace(CheckChange::COMMENT, at - 1, count, {}, "");
    }
  }
  // 10,5 and 10.
  if (has(-1) && error.kind == TOKEN_COMMA && kind_at(-1) == TOKEN_ICONST &&
      kind_at(1) == TOKEN_ICONST && adjacent(0) && adjacent(1))
    replace(CheckChange::COMMA, -1, 3, {TOKEN_RCONST},
            std::string(near(-1).text()) + "." + std::string(near(1).text()));
  if (has(-2) && kind_at(-1) == TOKEN_DOT && kind_at(-2) == TOKEN_ICONST &&
      adjacent(-1))
    replace(CheckChange::POINT, -2, 2, {TOKEN_RCONST},
            std::string(near(-2).text()) + ".0");
  if (has(-1) && error.kind == TOKEN_DOT && kind_at(-1) == TOKEN_ICONST &&
      adjacent(0))
    replace(CheckChange::POINT, -1, 2, {TOKEN_RCONST},
            std::string(near(-1).text()) + ".0");
  // hole[k]
  for (ptrdiff_t at = 0; at >= std::max<ptrdiff_t>(limit, -8); at--) {
    if (kind_at(at) == TOKEN_SEMICOLON) break;
    const bool square = kind_at(at) == TOKEN_LEFT_BRACKET;
    if (!square && kind_at(at) != TOKEN_LEFT_BRACE) continue;
    const int close = square ? TOKEN_RIGHT_BRACKET : TOKEN_RIGHT_BRACE;
    std::vector<int> put = {TOKEN_LEFT_PAREN};
    for (ptrdiff_t i = at + 1;
         i < std::min<ptrdiff_t>(40, static_cast<ptrdiff_t>(ahead_.size()));
         i++) {
      if (kind_at(i) == TOKEN_SEMICOLON) break;
      if (kind_at(i) == close) {
        put.push_back(TOKEN_RIGHT_PAREN);
        if (i >= 0)
          replace(CheckChange::BRACKETS, at, static_cast<size_t>(i - at) + 1,
                  std::move(put), "");
        break;
      }
      put.push_back(kind_at(i));
    }
  }
}

// Tokens that are missing.
void CheckRepairer::collect_missing(const CheckToken& error) {
  const bool new_line = !history_.empty() && near(-1).source == error.source &&
                        error.source->line_of(near(-1).begin) <
                            error.source->line_of(std::min<size_t>(
                                error.begin, error.source->size()));
  for (int token = 3; token <= TOKEN_WITH; token++) {
    int cost = 6;
    switch (token) {
      case TOKEN_SEMICOLON: cost = new_line ? 2 : 3; break;
      case TOKEN_RIGHT_PAREN:
      case TOKEN_RIGHT_BRACKET:
      case TOKEN_THEN:
      case TOKEN_DO: cost = 2; break;
      case TOKEN_RIGHT_BRACE:
      case TOKEN_LEFT_BRACE:
      case TOKEN_SUBEND:
      case TOKEN_COLON: cost = 3; break;
      case TOKEN_COMMA:
      case TOKEN_LEFT_PAREN:
      case TOKEN_ASSIGNOP:
      case TOKEN_ICONST: cost = 4; break;
      case TOKEN_END: cost = 4; break;
      case TOKEN_IF:
      case TOKEN_WHILE:
      case TOKEN_SELECT:
      case TOKEN_SUB:
      case TOKEN_COMMON: cost = 7; break;
      default: cost = CheckIsKeyword(token) ? 6 : 5;
    }
    consider({CheckChange::PUT_IN, 0, 0, {token}, cost, false, ""});
  }
}

// A token too many, or another one in its place.
void CheckRepairer::collect_superfluous(const CheckToken& error) {
  if (error.kind == TOKEN_END_OF_INPUT) return;
  const bool light =
      (error.kind == TOKEN_SEMICOLON && !history_.empty() &&
       kind_at(-1) == TOKEN_SEMICOLON) ||
      error.kind == TOKEN_COMMA || error.kind == TOKEN_RIGHT_PAREN ||
      error.kind == TOKEN_RIGHT_BRACE || error.kind == TOKEN_RIGHT_BRACKET;
  consider({CheckChange::TAKE_OUT, 0, 1, {}, light ? 3 : 5, false, ""});
  if (!history_.empty() && kind_at(-1) != TOKEN_END)
    consider(
        {CheckChange::TAKE_OUT,
         1,
         1,
         {},
         kind_at(-1) == TOKEN_SEMICOLON || kind_at(-1) == TOKEN_COMMA ? 4 : 6,
         false,
         ""});
  for (const int token :
       {TOKEN_SEMICOLON, TOKEN_COMMA, TOKEN_RIGHT_PAREN, TOKEN_COLON,
        TOKEN_ASSIGNOP, TOKEN_EQUAL, TOKEN_THEN, TOKEN_DO, TOKEN_IDENT,
        TOKEN_SCONST, TOKEN_ICONST, TOKEN_RIGHT_BRACE, TOKEN_LEFT_BRACE,
        TOKEN_RIGHT_BRACKET})
    if (token != error.kind)
      consider({CheckChange::TAKE_OUT, 0, 1, {token}, 5, false, ""});
}

void CheckRepairer::collect(const CheckToken& error) {
  changes_.clear();
  look_ahead(LOOK_LONG);
  collect_missing(error);
  collect_superfluous(error);
  next_words_.clear();
  if (error.kind == TOKEN_IDENT && !error.made) {
    const CheckMeant meant = CheckMeantBy(error.text());
    if (meant.tokens.size() == 2 && meant.distance == 0)
      next_words_.push_back(meant.tokens);
    else
      for (const int token : meant.tokens) next_words_.push_back({token});
  }
  collect_spellings();
  collect_ends();
  collect_words();
  collect_skips();
  collect_constructs();
  collect_foreign(error);
  const ptrdiff_t start = statement_start();
  if (start < 0 && kind_at(start) == TOKEN_IDENT)
    consider({CheckChange::CALL_WORD,
              static_cast<size_t>(-start),
              0,
              {TOKEN_CALL},
              is_sub(near(start).text()) ? 1 : 5,
              false,
              ""});
  // The statement up to its ";", or up to where a line begins a new one.
  size_t end = 0;
  while (end + 1 < ahead_.size() && ahead_[end].kind != TOKEN_SEMICOLON) end++;
  if (end + 1 < ahead_.size()) {
    consider({CheckChange::SKIPPED, 0, end, {}, 9, false, ""});
    consider({CheckChange::SKIPPED,
              static_cast<size_t>(-start),
              end + 1 + static_cast<size_t>(-start),
              {},
              9,
              false,
              ""});
    consider({CheckChange::SKIPPED, 0, end + 1, {}, 9, false, ""});
  }
}
