// The text is read by the reader of the compiler, over the bytes in memory, and
// scanned by its scanner, over the text in memory; so the rules of both are
// theirs.
#include "tools/check/source.h"

#include <algorithm>
#include <cstring>

#include "Cutil/ut_chars.h"
#include "elut/grammar.h"
#include "tools/findings/columns.h"

namespace {

constexpr std::string_view BLANKS = " \t\f\r";

class OneText : public McSrcProvider {
 public:
  explicit OneText(std::string_view text) : text_(text) {}
  UtPtr<McSrcBytes> open(const char*) override {
    return UtMake<McSrcMemory>(text_);
  }

 private:
  std::string_view text_;
};

std::string ReadableText(std::string_view raw) {
  OneText provider(raw);
  McSource source(&provider);
  std::string text;
  if (McSrcOpen(&source, "") != 0) return text;
  while (McSrcMore(&source, nullptr)) {
    McSrcCursor* cursor = &source.cursor;
    text.append(cursor->next, cursor->limit);
    cursor->next = cursor->limit;
  }
  return text;
}

// Kind of a stray character that is nothing.
constexpr int SKIP = -1;

}  // namespace

size_t CheckIndentation(const CheckToken& token) {
  const std::string_view line =
      token.source->line(token.source->line_of(token.begin));
  return std::min(line.find_first_not_of(" \t"), line.size());
}

bool CheckBeginsLine(const CheckToken& token) {
  return token.begin ==
         token.source->line_start(token.source->line_of(token.begin)) +
             CheckIndentation(token);
}

CheckSource::CheckSource(std::string file_name, std::string bytes)
    : name(std::move(file_name)), raw(std::move(bytes)) {
  raw_lines_ = std::make_unique<CheckLines>(raw);
  mend();
  if (hopeless) raw.clear();
  if (!mended.empty()) {
    mended.sort();
    mended_raw_ = mended.apply(raw);
    mended_lines_ = std::make_unique<CheckLines>(mended_raw_);
    text = ReadableText(mended_raw_);
  } else {
    text = ReadableText(raw);
  }
  text.append(MC_SRC_PADDING, '\0');
  lines_ =
      std::make_unique<CheckLines>(std::string_view(text).substr(0, size()));
}

// Makes all of the file readable.
void CheckSource::mend() {
  const auto fault = [&](const char* rule, size_t begin, size_t end,
                         const char* message, const char* hint) {
    faults.push_back({rule,
                      message,
                      hint,
                      raw_lines_->range(name, begin, end),
                      {},
                      CheckEdits::NONE,
                      0,
                      false,
                      false});
    faults.back().cut_line = raw_lines_->line_of(begin);
    return &faults.back();
  };
  const auto edit = [&](CheckFault* of, size_t begin, size_t end,
                        const char* by) {
    if (of != nullptr && of->repair == CheckEdits::NONE)
      of->repair = mended.count();
    mended.add(begin, end, by);
  };
  if (raw.starts_with("\xFF\xFE") || raw.starts_with("\xFE\xFF") ||
      (raw.size() >= 4 && ((raw[0] == 0 && raw[1] != 0 && raw[2] == 0) ||
                           (raw[0] != 0 && raw[1] == 0 && raw[3] == 0)))) {
    hopeless = true;
    fault("encoding", 0, std::min<size_t>(raw.size(), 2),
          "the file is UTF-16, of which nothing can be read",
          "store it as UTF-8 or in an 8-bit code page");
    return;
  }
  if (raw.find('\n') == std::string::npos &&
      raw.find('\r') != std::string::npos) {
    const size_t first = raw.find('\r');
    CheckFault* of = fault(
        "line-ends", first, first + 1,
        "the lines end with a carriage return alone: nothing of the file is "
        "read",
        "end lines with a line feed, or with carriage return and line feed");
    for (size_t at = first; at != std::string::npos;
         at = raw.find('\r', at + 1))
      edit(of, at, at + 1, "\n");
    if (!raw.ends_with('\r')) edit(of, raw.size(), raw.size(), "\n");
    return;
  }
  CheckFault* long_line = nullptr;
  CheckFault* zero = nullptr;
  const size_t expected = faults.size();
  for (size_t start = 0; start < raw.size();) {
    const size_t feed = raw.find('\n', start);
    const size_t end = std::min(feed, raw.size());
    size_t length = end - start;
    if (feed != std::string::npos && length > 0 && raw[end - 1] == '\r')
      length--;
    if (const void* at = memchr(raw.data() + start, '\0', length)) {
      size_t offset =
          static_cast<size_t>(static_cast<const char*>(at) - raw.data());
      if (faults.size() == expected)
        zero = fault("zero-byte", offset, offset + 1,
                     "a zero byte: this line and the rest of the file are not "
                     "read",
                     "");
      for (; offset < end; offset++)
        if (raw[offset] == '\0') edit(zero, offset, offset + 1, " ");
    }
    if (length > MC_SRC_LINE_MAX) {
      if (faults.size() == expected)
        long_line = fault(
            "line-too-long", start + MC_SRC_LINE_MAX, start + length,
            "the line is longer than 10,238 characters: it and the rest of the "
            "file are not read",
            "break the line; a statement may take several");
      size_t from = start;
      while (from + MC_SRC_LINE_MAX < start + length) {
        size_t at = raw.rfind(' ', from + MC_SRC_LINE_MAX);
        if (at == std::string::npos || at <= from) break;
        edit(long_line, at, at + 1, "\n");
        from = at;
      }
    }
    if (feed == std::string::npos) {
      const size_t first = raw.find_first_not_of(BLANKS, start);
      if (first != std::string::npos) {
        const size_t last = raw.find_last_not_of(BLANKS);
        CheckFault* of =
            fault("no-final-line-feed", first, last + 1,
                  "the last line has no line feed at its end: it is not read",
                  "end the line");
        of->safe = true;
        edit(of, raw.size(), raw.size(), "\n");
      }
      break;
    }
    start = feed + 1;
  }
}

size_t CheckSource::raw_offset(size_t offset) const {
  const uint32_t line = lines_->line_of(offset);
  const size_t column = offset - lines_->start(line);
  if (mended.empty()) return raw_lines_->start(line) + column;
  return mended.before(mended_lines_->start(line) + column);
}

ToolRange CheckSource::range(size_t begin, size_t end) const {
  return raw_lines_->range(name, raw_offset(begin), raw_offset(end));
}

CheckFault* CheckSource::add(const char* rule, size_t begin, size_t end,
                             std::string message, std::string hint) {
  if (faults.size() == MOST_FAULTS) {
    left_out_ = {};
    return &left_out_;
  }
  faults.push_back({rule,
                    std::move(message),
                    std::move(hint),
                    range(begin, end),
                    {},
                    CheckEdits::NONE,
                    0,
                    false,
                    false});
  return &faults.back();
}

void CheckSource::repair(CheckFault* fault, size_t begin, size_t end,
                         std::string by) {
  if (fault != nullptr && fault->repair == CheckEdits::NONE)
    fault->repair = repairs.count();
  repairs.add(begin, end, std::move(by));
}

// Scanner -------------------------------------------------------------------

CheckScanner::CheckScanner(CheckSource* source)
    : source_(source), scanner_(nullptr, this) {}

void CheckScanner::report(const McReport& report) {
  if (report.kind == McReportKind::STRAY)
    strays_.push_back(
        static_cast<size_t>(report.text.data() - source_->text.data()));
}

size_t CheckScanner::skip_blanks(size_t at) const {
  const std::string& text = source_->text;
  for (;; at++) {
    const char c = text[at];
    if (c == '!' || c == '#')
      at = text.find('\n', at);
    else if (c != ' ' && c != '\t' && c != '\n' && c != '\f')
      return at;
  }
}

namespace {

// What opens a text in other programs, and what closes it.
struct Quotes {
  std::string_view open;
  std::string_view close[2];
};
constexpr Quotes QUOTES[] = {
    {"'", {"'", "'"}},
    {"\xE2\x80\x9C", {"\xE2\x80\x9D", "\""}},            // left double
    {"\xE2\x80\x9D", {"\xE2\x80\x9D", "\xE2\x80\x9C"}},  // right double
    {"\xE2\x80\x9E", {"\xE2\x80\x9C", "\xE2\x80\x9D"}},  // low double
    {"\xE2\x80\x98", {"\xE2\x80\x99", "'"}},             // left single
    {"\xE2\x80\x99", {"\xE2\x80\x99", "'"}},
    {"\xE2\x80\x9A", {"\xE2\x80\x98", "\xE2\x80\x99"}},
    {"\xC2\xAB", {"\xC2\xBB", "\xC2\xBB"}},
    {"\xC2\xBB", {"\xC2\xAB", "\xC2\xAB"}},
    {"\x93", {"\x94", "\""}},
    {"\x84", {"\x93", "\x94"}},
    {"\x91", {"\x92", "'"}},
    {"\xAB", {"\xBB", "\xBB"}},
    {"`", {"`", "'"}},
};

// White space that the scanner does not know.
constexpr std::string_view STRANGE_BLANKS[] = {
    "\xC2\xA0",     "\xEF\xBB\xBF", "\xE2\x80\xAF", "\xE2\x80\x8B",
    "\xE2\x80\x82", "\xE2\x80\x83", "\xE2\x80\x89", "\xE3\x80\x80",
    "\v",           "\r",
};

struct StrangeOperator {
  std::string_view text;
  int token;
  std::string_view word;
};
constexpr StrangeOperator STRANGE_OPERATORS[] = {
    {"||", TOKEN_OR, "OR"},
    {"^", TOKEN_POWER, "**"},
    {"\xE2\x89\xA4", TOKEN_LESS_EQUAL, "<="},
    {"\xE2\x89\xA5", TOKEN_GREATER_EQUAL, ">="},
    {"\xE2\x89\xA0", TOKEN_NOT_EQUAL, "<>"},
    {"\xE2\x88\x92", TOKEN_MINUS, "-"},
    {"\xE2\x80\x93", TOKEN_MINUS, "-"},
};

std::string CloseText(std::string_view inner) {
  std::string text = "\"";
  for (const char c : inner) {
    if (c == '"') text.push_back('\\');
    text.push_back(c);
  }
  while (text.size() > 1 && text.ends_with('\\')) text.pop_back();
  return text + "\"";
}

}  // namespace

// A text in quotes of another kind, or one that is not closed.
bool CheckScanner::repair_text(size_t stray, CheckToken* token) {
  const std::string_view text = source_->text;
  const size_t line_end = text.find('\n', stray);
  const std::string_view rest = text.substr(stray, line_end - stray);
  const auto take = [&](size_t end, std::string by, CheckFault* fault) {
    *token = {TOKEN_SCONST, static_cast<uint32_t>(stray),
              static_cast<uint32_t>(end), source_, false};
    source_->repair(fault, stray, end, std::move(by));
    return true;
  };
  if (rest[0] != '"') {
    for (const Quotes& quotes : QUOTES) {
      if (!rest.starts_with(quotes.open)) continue;
      const size_t from = quotes.open.size();
      for (const std::string_view close : quotes.close) {
        const size_t at = rest.find(close, from);
        if (at == std::string_view::npos) continue;
        const size_t end = stray + at + close.size();
        std::string by = CloseText(rest.substr(from, at - from));
        CheckFault* fault = source_->add(
            "wrong-quote", stray, end, "a text stands between double quotes",
            "write " + (by.size() < 60 ? by : std::string("\"...\"")));
        return take(end, std::move(by), fault);
      }
    }
    return false;
  }
  // The text probably ends in front of what ends the statement.
  size_t end = rest.find_last_not_of(" \t\f\r;");
  end = end == std::string_view::npos ? 1 : end + 1;
  const std::string_view line =
      source_->line(source_->line_of(stray))
          .substr(0, stray - source_->line_start(source_->line_of(stray)));
  const auto open =
      std::ranges::count(line, '(') - std::ranges::count(line, ')');
  for (auto left = open - std::ranges::count(rest.substr(0, end), '(');
       left > 0 && end > 1 && rest[end - 1] == ')'; left--)
    end--;
  CheckFault* fault = source_->add(
      "unclosed-text", stray,
      stray + std::max<size_t>(1, rest.find_last_not_of(" \t\f\r") + 1),
      "the text has no closing quote on its line",
      rest.substr(1).find('"') != std::string_view::npos
          ? "the quote behind a \"\\\" belongs to the text"
          : "");
  return take(stray + end, CloseText(rest.substr(1, end - 1)), fault);
}

// A name, from `begin` on, with characters that names do not have.
bool CheckScanner::repair_name(size_t begin, size_t stray, CheckToken* token) {
  const std::string_view text = source_->text;
  size_t end = stray + 1;
  while (in_name(end)) end++;
  const std::string_view word = text.substr(begin, end - begin);
  if (!std::ranges::any_of(word, [](char c) {
        return UtIsLetter(c) || static_cast<uint8_t>(c) >= 0xC0;
      }))
    return false;
  *token = {TOKEN_IDENT, static_cast<uint32_t>(begin),
            static_cast<uint32_t>(end), source_, false};
  std::string name = "x";
  for (const char c : word) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    if (UtIsNameByte(c) && c != '_')
      name.push_back(c);
    else
      name += {'_', DIGITS[static_cast<uint8_t>(c) >> 4], DIGITS[c & 15], '_'};
  }
  CheckFault*& fault = words_[std::string(word)];
  if (fault != nullptr) {
    if (fault->related.size() < 3)
      fault->related.push_back({source_->range(begin, end), "here, too"});
    source_->repair(nullptr, begin, end, name);
    return true;
  }
  fault = source_->add(
      "name-character", begin, end,
      "the name '" + ToolUtf8(word) + "' has characters that names cannot have",
      word[0] == '_' ? "a name begins with a letter"
                     : "a name has letters from A to Z, digits and _");
  source_->repair(fault, begin, end, name);
  return true;
}

// Whether the byte could have been meant to be of a name.
bool CheckScanner::in_name(size_t at) const {
  const std::string_view rest = std::string_view(source_->text).substr(at);
  if (UtIsNameByte(rest[0])) return true;
  if (static_cast<uint8_t>(rest[0]) < 0x80) return false;
  const auto begins = [&](std::string_view text) {
    return rest.starts_with(text);
  };
  return !std::ranges::any_of(STRANGE_BLANKS, begins) &&
         !std::ranges::any_of(STRANGE_OPERATORS, begins,
                              &StrangeOperator::text) &&
         !std::ranges::any_of(QUOTES, [&](const Quotes& quotes) {
           return begins(quotes.open) || begins(quotes.close[0]);
         });
}

// Makes of the stray character, and of what belongs to it, what was probably
// meant: a token, or nothing (false).
CheckToken CheckScanner::repair_stray(size_t stray) {
  const std::string_view text = source_->text;
  CheckToken token;
  const auto place = [&](int kind, size_t end) {
    return CheckToken{kind, static_cast<uint32_t>(stray),
                      static_cast<uint32_t>(end), source_, false};
  };
  const std::string_view rest = text.substr(stray);
  for (const std::string_view blank : STRANGE_BLANKS) {
    if (!rest.starts_with(blank)) continue;
    const char* what = blank == "\xEF\xBB\xBF" ? "a byte order mark"
                       : blank == "\xC2\xA0"   ? "a no-break blank"
                       : blank == "\r"         ? "a carriage return in the line"
                                               : "a blank of another kind";
    CheckFault* fault = source_->add(
        "stray-character", stray, stray + blank.size(),
        std::string(what) + " is no part of the language",
        "the compiler writes it to the standard output and skips it");
    source_->repair(fault, stray, stray + blank.size(),
                    std::string(blank.size(), ' '));
    return place(SKIP, stray + blank.size());
  }
  for (const StrangeOperator& row : STRANGE_OPERATORS) {
    if (!rest.starts_with(row.text)) continue;
    CheckFault* fault =
        source_->add("foreign-operator", stray, stray + row.text.size(),
                     "there is no operator '" + std::string(row.text) + "'",
                     "write " + std::string(row.word));
    source_->repair(fault, stray, stray + row.text.size(),
                    " " + std::string(row.word) + " ");
    return place(row.token, stray + row.text.size());
  }
  if (repair_text(stray, &token)) return token;
  if ((rest[0] == '_' || in_name(stray)) && repair_name(stray, stray, &token))
    return token;
  size_t end = stray + 1;
  if (static_cast<uint8_t>(rest[0]) >= 0xC0)
    while ((static_cast<uint8_t>(text[end]) & 0xC0) == 0x80) end++;
  const auto byte = static_cast<uint8_t>(rest[0]);
  const std::string shown =
      byte < 0x20 || byte == 0x7F
          ? "a control character"
          : "'" + ToolUtf8(text.substr(stray, end - stray)) + "'";
  CheckFault* fault = source_->add(
      "stray-character", stray, end, shown + " begins nothing of the language",
      "the compiler writes it to the standard output and skips it");
  source_->repair(fault, stray, end, std::string(end - stray, ' '));
  return place(SKIP, end);
}

CheckToken CheckScanner::next() {
  const char* text = source_->text.data();
  const size_t size = source_->size();
  for (;;) {
    CheckToken token;
    strays_.clear();
    scanner_.source.cursor = {text + at_, text + size, 1};
    const McToken found = McLex(&scanner_);
    if (!strays_.empty() && note_) {
      const auto [row, fresh] = repaired_.try_emplace(strays_[0]);
      if (fresh) row->second = repair_stray(strays_[0]);
      token = row->second;
      at_ = token.end;
      if (token.kind == SKIP) continue;
      return token;
    }
    if (found.token == TOKEN_END_OF_INPUT)
      return {TOKEN_END_OF_INPUT, static_cast<uint32_t>(size),
              static_cast<uint32_t>(size), source_, false};
    token = {static_cast<int>(found.token),
             static_cast<uint32_t>(
                 skip_blanks(strays_.empty() ? at_ : strays_.back() + 1)),
             static_cast<uint32_t>(scanner_.source.cursor.next - text), source_,
             false};
    at_ = token.end;
    if (!note_ || static_cast<uint8_t>(text[at_]) < 0x80 ||
        !UtIsLetter(text[token.begin]) || !in_name(at_))
      return token;
    const auto [row, fresh] = repaired_.try_emplace(at_);
    if (fresh && !repair_name(token.begin, at_, &row->second))
      row->second = token;
    at_ = row->second.end;
    return row->second;
  }
}
