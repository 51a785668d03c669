// What a repair is told as.
#include <algorithm>

#include "elut/grammar.h"
#include "tools/check/repairer.h"
#include "tools/check/words.h"

namespace {

const char* BlockEnd(int block) {
  switch (block) {
    case TOKEN_IF: return "END IF";
    case TOKEN_WHILE: return "END WHILE";
    case TOKEN_SELECT: return "END SELECT";
    case TOKEN_SUB: return "SUBEND";
    case TOKEN_COMMON: return "END COMMON";
    case TOKEN_LEFT_BRACE: return "'}'";
    case TOKEN_LEFT_PAREN: return "')'";
    case TOKEN_LEFT_BRACKET: return "']'";
    default: return "END";
  }
}

// Blocks that are open, by the indentation of their lines: of two that an END
// could close, it closes the one that it stands below.
struct Unclosed {
  CheckToken token;
  CheckToken closed_by;  // what looks like the end of an outer block
  bool found = false;
};

Unclosed FindUnclosed(const CheckToken& opening, const CheckToken& end) {
  Unclosed unclosed = {opening, end, false};
  if (opening.source != end.source) return unclosed;
  const int kind = opening.kind;
  CheckScanner scanner(opening.source);
  scanner.note_faults(false);
  scanner.move(opening.begin);
  std::vector<CheckToken> open;
  CheckToken before = {};
  for (CheckToken token = scanner.next();
       token.kind != TOKEN_END_OF_INPUT && token.begin < end.begin;
       token = scanner.next()) {
    const bool closes = kind == TOKEN_LEFT_BRACE
                            ? token.kind == TOKEN_RIGHT_BRACE
                            : token.kind == kind && before.kind == TOKEN_END;
    if (closes && open.size() > 1) {
      // It closes the innermost block, but stands below an outer one.
      const CheckToken& at =
          closes && kind == TOKEN_LEFT_BRACE ? token : before;
      if (CheckBeginsLine(at) &&
          CheckIndentation(at) < CheckIndentation(open.back()) &&
          std::ranges::any_of(open, [&](const CheckToken& outer) {
            return CheckIndentation(outer) == CheckIndentation(at);
          }))
        return {open.back(), at, true};
      open.pop_back();
    } else if (token.kind == kind && !closes) {
      open.push_back(token);
    }
    before = token;
  }
  return unclosed;
}

// Without its article.
std::string BareWordOf(int token) {
  std::string word = CheckWordOf(token);
  for (const std::string_view article : {"a ", "an ", "the "})
    if (word.starts_with(article)) return word.substr(article.size());
  return word;
}

}  // namespace

CheckFault* CheckRepairer::fault(const char* rule, const CheckToken& first,
                                 const CheckToken& last, std::string message,
                                 std::string hint) {
  const bool same = first.source == last.source;
  fault_ = first.source->add(rule, first.begin, same ? last.end : first.end,
                             std::move(message), std::move(hint));
  fault_->refused = true;
  return fault_;
}

// A fault behind the token in front of `at`.
CheckFault* CheckRepairer::fault_behind(const char* rule, ptrdiff_t at,
                                        std::string message, std::string hint) {
  const bool has = at > back_limit() && near(at - 1).source == near(at).source;
  CheckSource* source = near(at).source;
  const size_t place = has ? near(at - 1).end : near(at).begin;
  fault_ = source->add(rule, place, place, std::move(message), std::move(hint));
  fault_->refused = true;
  return fault_;
}

void CheckRepairer::report_missing_end(const CheckChange& change) {
  const int block = change.put.size() == 2               ? change.put[1]
                    : change.put[0] == TOKEN_SUBEND      ? TOKEN_SUB
                    : change.put[0] == TOKEN_RIGHT_BRACE ? TOKEN_LEFT_BRACE
                    : change.put[0] == TOKEN_RIGHT_PAREN ? TOKEN_LEFT_PAREN
                                                         : TOKEN_LEFT_BRACKET;
  const CheckEntry* open = opening(block);
  const auto at = -static_cast<ptrdiff_t>(change.back);
  if (open == nullptr || !open->token.source) {
    report_missing(change);
    return;
  }
  CheckToken token = open->token;
  std::string what = CheckWordOf(block);
  if (block == TOKEN_LEFT_BRACE) {
    // The object that the brace belongs to.
    what = "this '{'";
  } else {
    what = "this " + what;
  }
  const Unclosed unclosed = FindUnclosed(token, near(at));
  if (unclosed.found) token = unclosed.token;
  fault("missing-end", token, token, what + " has no " + BlockEnd(block));
  const CheckToken& stumble = unclosed.closed_by;
  if (unclosed.found) {
    fault_->related.push_back(
        {stumble.source->range(stumble.begin, stumble.end),
         "this END closes it, and stands below another one"});
  } else if (stumble.source != nullptr) {
    const std::string found = stumble.kind == TOKEN_END && at + 1 <= 0
                                  ? "END " + std::string(near(at + 1).text())
                                  : CheckWordOf(stumble.kind);
    fault_->related.push_back(
        {stumble.source->range(stumble.begin, stumble.end),
         std::string(BlockEnd(block)) + " is missing in front of " + found});
  }
}

void CheckRepairer::report_missing(const CheckChange& change) {
  const auto at = -static_cast<ptrdiff_t>(change.back);
  const int token = change.put[0];
  switch (token) {
    case TOKEN_SEMICOLON:
      fault_behind("missing-semicolon", at, "';' is missing here");
      fault_->safe = true;
      return;
    case TOKEN_PRINT:
      if (kind_at(at) == TOKEN_FNNAME) {
        fault("missing-call", near(at), near(at),
              "an FN call is an expression, and no statement",
              "CALL " + std::string(near(at).text().substr(2)) +
                  " calls the SUB for itself");
        return;
      }
      break;
    case TOKEN_IDENT:
    case TOKEN_ICONST: {
      const std::string words = CheckWordsOf(expected());
      const bool expression = words.find("an expression") != std::string::npos;
      const bool statement = words.find("a statement") != std::string::npos;
      fault_behind("missing-part", at,
                   (expression  ? std::string("an expression")
                    : statement ? std::string("a statement")
                                : CheckWordOf(token)) +
                       " is missing in front of " + CheckWordOf(kind_at(at)));
      return;
    }
    default: break;
  }
  fault_behind("missing-part", at,
               (token == TOKEN_INTEGER ? "a type" : CheckWordOf(token)) +
                   " is missing in front of " + CheckWordOf(kind_at(at)));
}

void CheckRepairer::report_wrong_end(const CheckChange& change) {
  const int block = change.put.back() == TOKEN_RIGHT_BRACE ? TOKEN_LEFT_BRACE
                                                           : change.put.back();
  const CheckToken& first =
      change.put.size() == 1 && change.remove == 1 && block != TOKEN_LEFT_BRACE
          ? near(-1)
          : near(0);
  const CheckToken& last = near(static_cast<ptrdiff_t>(change.remove) - 1);
  const std::string found(first.source->part(first.begin, last.end));
  fault("wrong-end", first, last, found + " closes nothing that is open here",
        std::string("write ") + BlockEnd(block));
  if (const CheckEntry* open = opening(block))
    fault_->related.push_back(
        {open->token.source->range(open->token.begin, open->token.end),
         "the block to be closed is this " + CheckWordOf(block)});
}

void CheckRepairer::report_unexpected(const CheckToken& error) {
  // ELSEIF, which would take one END IF more.
  if (!history_.empty() && kind_at(-1) == TOKEN_IDENT) {
    const CheckToken& word = near(-1);
    const CheckMeant meant = CheckMeantBy(word.text());
    if (meant.tokens.size() == 2 && meant.tokens[0] == TOKEN_ELSE) {
      fault("misspelled-keyword", word, word,
            "'" + std::string(word.text()) + "' is no keyword",
            "write ELSE IF, which has an END IF of its own");
      return;
    }
  }
  std::string message =
      error.kind == TOKEN_END_OF_INPUT
          ? "the file ends too early"
          : "unexpected " + (error.kind == TOKEN_IDENT ||
                                     error.kind == TOKEN_FNNAME ||
                                     error.kind == TOKEN_CFNNAME
                                 ? "name '" + std::string(error.text()) + "'"
                                 : BareWordOf(error.kind));
  const std::string words = CheckWordsOf(expected());
  fault("syntax-error", error, error, std::move(message),
        words.empty() ? "" : "expected is " + words);
}

void CheckRepairer::report(const CheckChange& change, const CheckToken& error) {
  const auto at = -static_cast<ptrdiff_t>(change.back);
  const CheckToken& first = near(at);
  const CheckToken& last =
      near(at + static_cast<ptrdiff_t>(std::max<size_t>(change.remove, 1)) - 1);
  switch (change.kind) {
    case CheckChange::PUT_IN:
      if (change.put.size() == 2 || change.put[0] == TOKEN_SUBEND ||
          change.put[0] == TOKEN_RIGHT_BRACE)
        return report_missing_end(change);
      return report_missing(change);
    case CheckChange::SPELL: {
      const CheckMeant meant = CheckMeantBy(first.text());
      std::string word;
      for (const int token : change.put)
        word += (word.empty() ? "" : " ") + CheckSpelling(token);
      const std::string found(first.text());
      if (meant.distance == 0 && !meant.tokens.empty() &&
          change.put.size() == 1)
        fault("keyword-case", first, first,
              "'" + found + "' is no keyword: keywords are written in capitals",
              "write " + word);
      else
        fault("misspelled-keyword", first, first,
              "'" + found + "' is no keyword", "did you mean '" + word + "'?");
      fault_->safe = change.only;
      return;
    }
    case CheckChange::KEYWORD_NAME: {
      const std::string name(first.text());
      if (CheckFault* known = keyword_faults_[name]) {
        if (known->related.size() < 3)
          known->related.push_back(
              {first.source->range(first.begin, first.end), "here, too"});
        fault_ = nullptr;
        return;
      }
      fault("keyword-as-name", first, first,
            name + " is a keyword and cannot be a name",
            "keywords are reserved in capitals only: " + name +
                "_ or small letters would do");
      keyword_faults_[name] = fault_;
      return;
    }
    case CheckChange::WRONG_END: return report_wrong_end(change);
    case CheckChange::SUB_END: {
      const std::string found(first.source->part(first.begin, last.end));
      fault("wrong-end", first, last, found + " does not end a SUB",
            "write SUBEND");
      return;
    }
    case CheckChange::BRACKETS:
      fault("wrong-bracket", first, first,
            "subscripts and arguments stand between '(' and ')'");
      return;
    case CheckChange::CALL_WORD:
      fault("missing-call", first, first,
            "a SUB is called with CALL" + std::string(),
            "write CALL " + std::string(first.text()));
      return;
    case CheckChange::OPERATOR:
      fault("foreign-operator", first, last,
            "there is no operator '" +
                std::string(first.source->part(first.begin, last.end)) + "'",
            "write " + change.text);
      return;
    case CheckChange::COMMENT:
      fault("foreign-comment", first, near(at + 1), "this begins no comment",
            "a comment begins with ! and ends with the line");
      return;
    case CheckChange::COMMA:
      fault("decimal-comma", first, last,
            "a number has a decimal point, not a comma",
            "write " + change.text);
      return;
    case CheckChange::POINT:
      fault("number-form", first, last,
            change.put[0] == TOKEN_RCONST
                ? "a digit is missing behind the decimal point"
            : change.text.starts_with("0x")
                ? "a hexadecimal number begins with 0x, with a small x"
                : "a number with a leading 0 is octal, and has no 8 or 9",
            "write " + change.text);
      return;
    case CheckChange::MISPLACED: {
      const char* where = "";
      switch (first.kind) {
        case TOKEN_IMPORT:
          where = "IMPORT stands in front of SUBs, declarations and statements";
          break;
        case TOKEN_SUB:
        case TOKEN_INCLUDE:
          where =
              "SUBs and INCLUDEs stand behind IMPORT, in front of "
              "declarations and statements";
          break;
        case TOKEN_INTEGER:
        case TOKEN_REAL:
        case TOKEN_STRING:
        case TOKEN_POINT:
        case TOKEN_COMMON:
          where =
              "declarations stand in front of the first statement of their "
              "routine";
          break;
        default: where = "it has no place among what stands around it";
      }
      fault("misplaced-part", first, first,
            CheckWordOf(first.kind) + " cannot stand here", where);
      return;
    }
    case CheckChange::TAKE_OUT:
      if (change.put.empty() && change.remove == 2 && first.kind == TOKEN_END) {
        fault("wrong-end", first, last,
              std::string(first.source->part(first.begin, last.end)) +
                  " closes nothing that is open here");
        return;
      }
      if (change.back > 0) {
        fault("syntax-error", first, last,
              "unexpected " + BareWordOf(first.kind));
        return;
      }
      return report_unexpected(error);
    case CheckChange::SKIPPED:
    case CheckChange::NOT_EQUAL: return report_unexpected(error);
  }
}
