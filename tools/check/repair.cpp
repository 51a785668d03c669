// A change is tried on a copy of the states alone: a few tokens for each of
// some hundred changes, and then further for those that did not fail at once.
#include "tools/check/repair.h"

#include <algorithm>

#include "elut/grammar.h"
#include "tools/check/repairer.h"
#include "tools/check/words.h"

namespace {

constexpr size_t LOOK_SHORT = 12;  // tokens that each change is tried on
constexpr size_t TO_THE_END = 1000000;
// A repair that the parser follows no further than that has mended little; of
// more than so many in a row only the first ones are told.
constexpr size_t LITTLE = 6;
constexpr size_t MOST_LITTLE = 2;

}  // namespace

bool CheckRepairer::run() {
  begin_file();
  for (;;) {
    const CheckToken token = stream_.next();
    switch (feed(token)) {
      case CheckTaken::ACCEPTED: return true;
      case CheckTaken::SHIFTED: break;
      case CheckTaken::TOO_DEEP: return too_deep(token);
      case CheckTaken::ERROR:
        stream_.put_back(token);
        if (left_ == 0) return false;
        left_--;
        if (!repair(token)) return false;
    }
  }
}

// How many tokens from the error on the parser takes after the change. Behind a
// token that was missing there may be a misspelled one.
size_t CheckRepairer::progress(const CheckChange& change, size_t limit) {
  // Tokens that are left out prove nothing.
  const auto end = static_cast<ptrdiff_t>(change.remove) -
                   static_cast<ptrdiff_t>(change.back + change.put.size());
  const auto left_out = static_cast<size_t>(std::max<ptrdiff_t>(0, end));
  size_t most = advance(change, limit + left_out);
  if (most != TO_THE_END) most -= std::min(most, left_out);
  if (change.kind != CheckChange::PUT_IN || change.back != 0 || most > 3 ||
      ahead_[0].kind != TOKEN_IDENT)
    return most;
  for (const std::vector<int>& word : next_words_) {
    CheckChange both = change;
    both.put.insert(both.put.end(), word.begin(), word.end());
    both.remove = 1;
    most = std::max(most, advance(both, limit));
  }
  return most;
}

size_t CheckRepairer::advance(const CheckChange& change, size_t limit) {
  std::vector<int> states = states_at(change.back);
  for (const int token : change.put)
    if (shift(&states, token) != CheckTaken::SHIFTED) return 0;
  const auto begin = -static_cast<ptrdiff_t>(change.back);
  ptrdiff_t at = begin + static_cast<ptrdiff_t>(change.remove);
  while (at < static_cast<ptrdiff_t>(std::min(limit, ahead_.size()))) {
    const CheckTaken outcome = shift(&states, kind_at(at));
    if (outcome == CheckTaken::ACCEPTED) return TO_THE_END;
    if (outcome != CheckTaken::SHIFTED) break;
    at++;
  }
  return at < 0 ? 0 : static_cast<size_t>(at);
}

bool CheckRepairer::repair(const CheckToken& error) {
  // "!=" begins a comment: what follows it on the line is read again.
  if (!history_.empty() && near(-1).source == error.source) {
    CheckSource* source = error.source;
    const size_t gap = near(-1).end;
    const std::string_view text = source->part(gap, error.begin);
    const size_t at = text.find_first_not_of(" \t");
    if (at != std::string_view::npos && text.substr(at).starts_with("!=")) {
      fault_ =
          source->add("foreign-operator", gap + at, gap + at + 2,
                      "\"!=\" begins a comment", "write <> for \"not equal\"");
      source->repair(fault_, gap + at, gap + at + 2, "<>");
      fault_->refused = true;
      stream_.rescan(gap + at + 2);
      const CheckToken made = {TOKEN_NOT_EQUAL, static_cast<uint32_t>(gap + at),
                               static_cast<uint32_t>(gap + at + 2), source,
                               true};
      stream_.put_back(made);
      return true;
    }
  }
  collect(error);
  size_t best = 0;
  for (CheckChange& change : changes_) {
    change.progress = progress(change, LOOK_SHORT);
    best = std::max(best, change.progress);
  }
  std::erase_if(changes_, [&](const CheckChange& change) {
    return change.progress == 0 || std::min(change.progress, LOOK_SHORT) + 1 <
                                       std::min(best, LOOK_SHORT);
  });
  best = 0;
  for (CheckChange& change : changes_) {
    change.progress = progress(change, LOOK_LONG);
    best = std::max(best, change.progress);
  }
  const CheckChange* chosen = nullptr;
  for (const CheckChange& change : changes_) {
    if (change.progress + 2 < best) continue;
    if (chosen == nullptr || change.cost < chosen->cost ||
        (change.cost == chosen->cost && change.progress > chosen->progress))
      chosen = &change;
  }
  if (chosen == nullptr) {
    report_unexpected(error);
    return false;
  }
  const CheckChange change = *chosen;
  if (const size_t behind = end_of_routine(change); behind > 0) {
    fault_ = nullptr;
    report(change, error);
    leave(routine_, behind);
  } else if (const size_t end = end_of_body(change); end > 0) {
    fault("wrong-end", error, error, "SUBEND closes nothing that is open here",
          "there is no SUB for it");
    leave(body_, end);
  } else {
    make(change, error);
  }
  mute(change);
  return true;
}

// Whether the parser, with what was in front of a part, follows the tokens from
// `sync` on further than another change would lead it.
bool CheckRepairer::goes_on(const CheckPart& part, size_t sync,
                            size_t progress) const {
  std::vector<int> states;
  for (const CheckEntry& entry : part.stack) states.push_back(entry.state);
  for (size_t at = sync; at < ahead_.size(); at++) {
    const CheckTaken outcome = shift(&states, ahead_[at].kind);
    if (outcome == CheckTaken::ACCEPTED) return true;
    if (outcome != CheckTaken::SHIFTED) return at > progress + LOOK_SHORT;
  }
  return true;
}

// The same for a SUBEND whose SUB is lost: what stands in front of it was taken
// for the main program.
size_t CheckRepairer::end_of_body(const CheckChange& change) {
  if (ahead_[0].kind != TOKEN_SUBEND || opening(TOKEN_SUB) != nullptr ||
      body_.stack.empty() || body_.begin.source != ahead_[0].source ||
      change.progress >= LOOK_SHORT || !goes_on(body_, 1, change.progress))
    return 0;
  return 1;
}

// Where the parser can go on when it leaves out the routine that it is in: the
// number of a token ahead, or 0. That is better than a change behind which the
// parser stumbles over the end of the routine, or the beginning of something,
// because it has lost what is around it.
size_t CheckRepairer::end_of_routine(const CheckChange& change) {
  const auto is_structure = [](int kind) {
    return kind == TOKEN_SUBEND || kind == TOKEN_SUB || kind == TOKEN_IMPORT ||
           kind == TOKEN_COMMON || kind == TOKEN_INTEGER ||
           kind == TOKEN_REAL || kind == TOKEN_STRING || kind == TOKEN_POINT ||
           kind == TOKEN_END_OF_INPUT;
  };
  // The token that it stumbles over; those that are left out count.
  const size_t reach = advance(change, LOOK_LONG);
  const CheckEntry* sub = opening(TOKEN_SUB);
  if (sub == nullptr || sub->token.source != ahead_[0].source ||
      routine_.stack.empty() || routine_.begin.source != sub->token.source ||
      routine_.begin.begin != sub->token.begin || reach >= ahead_.size())
    return 0;
  const CheckSource& source = *sub->token.source;
  const bool in_header =
      source.line_of(sub->token.begin) == source.line_of(ahead_[0].begin);
  if (!is_structure(ahead_[reach].kind) &&
      !(in_header && reach < 2 * LOOK_SHORT))
    return 0;
  size_t sync = 0;
  for (size_t at = 0; at < ahead_.size() && sync == 0; at++) {
    const CheckToken& token = ahead_[at];
    if (token.source != sub->token.source) return 0;
    if (token.kind == TOKEN_SUBEND) sync = at + 1;
    if (at > 0 && token.kind == TOKEN_SUB && CheckBeginsLine(token) &&
        ahead_[at - 1].kind != TOKEN_END)
      sync = at;
  }
  return sync > 0 && goes_on(routine_, sync, reach) ? sync : 0;
}

// Goes on as if a part was not there.
void CheckRepairer::leave(const CheckPart& part, size_t sync) {
  CheckSource* source = part.begin.source;
  const size_t begin = part.begin.begin, end = ahead_[sync - 1].end;
  std::string blanks(source->part(begin, end));
  for (char& c : blanks)
    if (c != '\n') c = ' ';
  source->repair(fault_, begin, end, blanks);
  CheckScanner scanner(source);
  scanner.note_faults(false);
  scanner.move(begin);
  for (CheckToken token = scanner.next();
       token.kind != TOKEN_END_OF_INPUT && token.begin < end;
       token = scanner.next())
    if (token.kind == TOKEN_IDENT) dropped_->emplace(token.text());
  for (size_t i = 0; i < sync; i++) (void)stream_.next();
  go_back_to(part);
}

// Of faults that come one behind the other, without a statement between them,
// the later ones follow from the first.
void CheckRepairer::mute(const CheckChange& change) {
  const bool is_vague =
      change.kind == CheckChange::TAKE_OUT ||
      change.kind == CheckChange::SKIPPED ||
      change.kind == CheckChange::KEYWORD_NAME ||
      (change.kind == CheckChange::PUT_IN && change.put[0] != TOKEN_SEMICOLON);
  bool little = change.progress < LITTLE;
  for (size_t at = 0; at < change.progress && little; at++)
    little = kind_at(static_cast<ptrdiff_t>(at)) != TOKEN_SEMICOLON;
  if (!little || !is_vague) {
    if (!little) little_ = 0;
    return;
  }
  if (++little_ > MOST_LITTLE && fault_ != nullptr) fault_->follows = true;
}

// Notes the fault, and goes on in the source as it would be without it.
void CheckRepairer::make(const CheckChange& change, const CheckToken& error) {
  fault_ = nullptr;
  report(change, error);
  const auto at = -static_cast<ptrdiff_t>(change.back);
  const auto end = at + static_cast<ptrdiff_t>(change.remove);
  // The text.
  CheckSource* source = near(at).source;
  std::string text = change.text;
  if (text.empty() && change.kind != CheckChange::COMMENT)
    for (const int token : change.put)
      text += (text.empty() ? "" : " ") + CheckSpelling(token);
  if (change.kind == CheckChange::BRACKETS) {
    source->repair(fault_, near(at).begin, near(at).end, "(");
    source->repair(nullptr, near(end - 1).begin, near(end - 1).end, ")");
  } else if (change.kind == CheckChange::KEYWORD_NAME) {
    source->repair(fault_, near(at).begin, near(at).end,
                   "x_" + std::string(near(at).text()));
  } else if (change.remove == 0) {
    const bool has = at > back_limit() && near(at - 1).source == source;
    const size_t place = has ? near(at - 1).end : near(at).begin;
    if (change.put[0] != TOKEN_SEMICOLON) text = " " + text + " ";
    // A last line without a line feed would not be read.
    if (place == source->size()) text += '\n';
    source->repair(fault_, place, place, text);
  } else {
    size_t from = near(at).begin;
    size_t to = near(at).end;
    for (ptrdiff_t i = at; i < end; i++)
      if (near(i).source == source) to = std::max<size_t>(to, near(i).end);
    if (change.kind == CheckChange::COMMENT) {
      const bool line = source->part(from, from + 2) == "//";
      const size_t close = source->text.find(line ? "\n" : "*/", from + 2);
      to = close == std::string::npos ? source->size() : close + (line ? 0 : 2);
    }
    if (text.empty())
      for (const char c : source->part(from, to))
        text.push_back(c == '\n' ? c : ' ');
    source->repair(fault_, from, to, text);
  }
  // The tokens: those from the change on are read again.
  std::vector<CheckToken> again;
  for (const int token : change.put) {
    CheckToken made = near(at);
    made.kind = token;
    made.made = true;
    again.push_back(made);
  }
  if (change.kind == CheckChange::BRACKETS)
    for (size_t i = 0; i < again.size(); i++)
      again[i] = near(at + static_cast<ptrdiff_t>(i)),
      again[i].kind = change.put[i];
  for (ptrdiff_t i = end; i < 0; i++) again.push_back(near(i));
  if (change.put.empty())
    for (ptrdiff_t i = at; i < end; i++)
      if (near(i).kind == TOKEN_IDENT) dropped_->emplace(near(i).text());
  for (ptrdiff_t i = 0; i < end; i++) (void)stream_.next();
  // The stack in front of the change.
  if (change.back > 0) go_back(change.back);
  for (size_t i = again.size(); i-- > 0;) stream_.put_back(again[i]);
}

bool CheckRepairer::too_deep(const CheckToken& token) {
  fault("nesting-too-deep", token, token,
        "this is nested deeper than the compiler can follow",
        "it gives up at 150 levels of its stack");
  return false;
}

// A header that is missing.
void CheckRepairer::begin_file() {
  ahead_ = stream_.look(4);
  const CheckToken first = ahead_[0];
  const bool mask = kind_ == CheckKind::MASK;
  if (mask ? first.kind == TOKEN_WINDOW || first.kind == TOKEN_APPLICATION
           : first.kind == TOKEN_PROGRAM || first.kind == TOKEN_MODULE)
    return;
  if (first.kind == TOKEN_IDENT) {
    const CheckMeant meant = CheckMeantBy(first.text());
    for (const int token : meant.tokens)
      if (mask ? token == TOKEN_WINDOW || token == TOKEN_APPLICATION
               : token == TOKEN_PROGRAM || token == TOKEN_MODULE)
        return;  // its spelling is repaired where it is met
  }
  if (mask) {
    if (first.kind != TOKEN_IDENT && first.kind != TOKEN_SCONST) return;
    fault("no-header", first, first,
          "masks begin with WINDOW NAME { or APPLICATION NAME {");
    first.source->repair(fault_, first.begin, first.begin, "WINDOW name { ");
    put_back_made(first, {TOKEN_WINDOW, TOKEN_IDENT, TOKEN_LEFT_BRACE});
    return;
  }
  fault("no-header", first, first,
        "a program begins with PROGRAM NAME;, a module with MODULE NAME;");
  if (first.kind == TOKEN_END_OF_INPUT)
    fault_->message = "the file has no PROGRAM and no MODULE in it";
  // A file of nothing but SUBs would be a module.
  const std::string_view text = first.source->part(0, first.source->size());
  const size_t last = text.find_last_not_of(" \t\n\f");
  const bool module = first.kind == TOKEN_SUB && last != text.npos &&
                      (text.substr(0, last + 1).ends_with("SUBEND") ||
                       text.substr(0, last + 1).ends_with("END SUB"));
  const bool empty = first.kind == TOKEN_END_OF_INPUT;
  std::vector<int> tokens = {module ? TOKEN_MODULE : TOKEN_PROGRAM, TOKEN_IDENT,
                             TOKEN_SEMICOLON};
  if (empty) tokens.push_back(TOKEN_SEMICOLON);
  first.source->repair(fault_, first.begin, first.begin,
                       module  ? "MODULE name; "
                       : empty ? "PROGRAM name; ;\n"
                               : "PROGRAM name; ");
  put_back_made(first, tokens);
}

bool CheckRepair(CheckFiles* files, CheckFile* main, CheckKind kind,
                 size_t most, CheckNames* dropped) {
  const bool done = CheckRepairer(files, main, kind, most, dropped).run();
  for (const auto& [name, file] : files->all()) file->source.repairs.sort();
  return done;
}
