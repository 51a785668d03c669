// A file is loaded as a whole, its lines are taken as the compiler's reader
// takes them, and the scanner's cursor is set to them. Offsets count the
// carriage returns that were taken out, whose places only go up.
#include "tools/tree/scan.h"

#include <cstring>

#include "Cutil/codes.h"
#include "elut/syntax/lexer.h"
#include "elut/syntax/scan_bytes.h"

namespace {

SyntaxStop StopOf(const SyntaxFile& file) {
  if (file.read_end == file.text.size()) return SyntaxStop::NONE;
  const std::string_view rest =
      std::string_view(file.text).substr(file.read_end);
  const size_t feed = rest.find('\n');
  const std::string_view line = rest.substr(0, feed);
  if (line.find('\0') != line.npos) return SyntaxStop::ZERO_BYTE;
  return feed == rest.npos && line.size() <= MC_SRC_LINE_MAX + 1
             ? SyntaxStop::NO_LINE_FEED
             : SyntaxStop::LONG_LINE;
}

// Offsets of tokens have 32 bits.
void CheckSize(const std::string& text) {
  if (text.size() >= SYNTAX_NONE) throw std::bad_alloc();
}

// Reads a file, as far as the compiler could. False after a read error.
bool ReadAll(McSrcBytes* bytes, std::string* text) {
  char part[64 * 1024];
  for (;;) {
    const ptrdiff_t got = bytes->read(part, sizeof part);
    if (got <= 0) return got == 0;
    text->append(part, static_cast<size_t>(got));
    CheckSize(*text);
    // Nothing is read behind such a line, and some devices never end.
    if (memchr(part, '\0', static_cast<size_t>(got)) != nullptr) return true;
  }
}

// The first character from `text` on that is not white space nor of a comment.
const char* SkipTrivia(const char* text) {
  for (;;) {
    switch (*text) {
      case ' ': text = McSkipBlanks(text); break;
      case '\n':
      case '\t':
      case '\f': text++; break;
      case '!':
      case '#': text = McCommentEnd(text); break;
      default: return text;
    }
  }
}

}  // namespace

SyntaxScanner::SyntaxScanner(SyntaxTree* tree, McSrcProvider* files)
    : tree_(tree), scanner_(files, this) {
  CheckSize(tree->text());
  open(0);
}

void SyntaxScanner::open(uint32_t number) {
  SyntaxFile* file = &tree_->files[number];
  if (prepared_.size() <= number) prepared_.resize(number + 1);
  if (prepared_[number] == nullptr) {
    auto made = std::make_unique<Prepared>();
    made->text.reserve(file->text.size() + MC_SRC_PADDING);
    made->text = file->text;
    made->text.resize(file->text.size() + MC_SRC_PADDING);
    char* text = made->text.data();
    const McSrcLines lines = McSrcTakeLines(text, text + file->text.size());
    made->length = static_cast<size_t>(lines.end - text);
    *lines.end = '\0';
    file->read_end = static_cast<uint32_t>(lines.raw_end - text);
    file->stop = StopOf(*file);
    if (made->length < file->read_end) {
      for (size_t at = file->text.find("\r\n"); at < file->read_end;
           at = file->text.find("\r\n", at + 2))
        made->returns.push_back(
            static_cast<uint32_t>(at - made->returns.size()));
    }
    prepared_[number] = std::move(made);
  }
  if (!levels_.empty()) levels_.back().cursor = scanner_.source.cursor;
  const Prepared* prepared = prepared_[number].get();
  const char* text = prepared->text.data();
  scanner_.source.cursor = {text, text + prepared->length, 1};
  levels_.push_back({number, prepared, scanner_.source.cursor});
  tree_->runs.push_back({static_cast<uint32_t>(tree_->tokens.size()), number});
}

uint32_t SyntaxScanner::load(const std::string& name, bool* failed) {
  const auto known = numbers_.find(name);
  if (known != numbers_.end()) return known->second;
  const UtPtr<McSrcBytes> bytes = scanner_.source.provider->open(name.c_str());
  if (bytes == nullptr) return SYNTAX_NONE;
  SyntaxFile file;
  file.name = name;
  *failed = !ReadAll(bytes.get(), &file.text);
  const auto number = static_cast<uint32_t>(tree_->files.size());
  tree_->files.push_back(std::move(file));
  numbers_[name] = number;
  return number;
}

void SyntaxScanner::include(uint32_t token) {
  bool failed = false;
  uint32_t file = load(literal_, &failed);
  SyntaxFault fault = SyntaxFault::NO_FILE;
  if (file != SYNTAX_NONE && (levels_.size() == size_t{MC_SRC_LEVELS} ||
                              included_ == MC_SRC_INCLUDES)) {
    fault = SyntaxFault::TOO_MANY_FILES;
    file = SYNTAX_NONE;
  }
  tree_->includes.push_back({token, file, literal_});
  if (file == SYNTAX_NONE || failed)
    tree_->errors.push_back({fault, 0, token, token, SYNTAX_NONE, {}});
  if (file == SYNTAX_NONE) return;
  included_++;
  open(file);
}

void SyntaxScanner::report(const McReport& report) {
  if (report.kind == McReportKind::STRAY) stray_ = report.text.data();
  if (report.kind == McReportKind::ERROR) {
    const auto token = static_cast<uint32_t>(tree_->tokens.size());
    tree_->errors.push_back(
        {SyntaxFault::NUMBER, 0, token, token, SYNTAX_NONE, {}});
  }
}

// The offset of a character of the current file.
inline uint32_t SyntaxScanner::raw(const char* place) {
  Level& level = levels_.back();
  const auto offset =
      static_cast<uint32_t>(place - level.prepared->text.data());
  const std::vector<uint32_t>& returns = level.prepared->returns;
  while (level.returns < returns.size() && returns[level.returns] <= offset)
    level.returns++;
  return offset + static_cast<uint32_t>(level.returns);
}

inline void SyntaxScanner::append(int kind, const char* begin,
                                  const char* end) {
  SyntaxToken token;
  token.begin = raw(begin);
  token.kind = static_cast<unsigned>(kind) & 127;
  token.foreign = levels_.size() > 1;
  token.length = (raw(end - 1) + 1 - token.begin) & 0xFFFFFF;
  tree_->tokens.push_back(token);
}

void SyntaxScanner::next() {
  McSrcCursor* cursor = &scanner_.source.cursor;
  const char* from = cursor->next;
  stray_ = nullptr;
  McToken token = McLex(&scanner_);
  while (token.token == TOKEN_END_OF_INPUT && levels_.size() > 1) {
    levels_.pop_back();
    *cursor = levels_.back().cursor;
    tree_->runs.push_back(
        {static_cast<uint32_t>(tree_->tokens.size()), levels_.back().file});
    from = cursor->next;
    stray_ = nullptr;
    token = McLex(&scanner_);
  }
  if (token.token == TOKEN_END_OF_INPUT) return finish();
  if (stray_ != nullptr) from = stray_ + 1;
  append(static_cast<int>(token.token), SkipTrivia(from), cursor->next);
  if (token.token == TOKEN_SCONST) {
    const size_t count = tree_->tokens.size();
    McTokenText* text = token.value.text;
    if (count > 1 && tree_->tokens[count - 2].kind == TOKEN_INCLUDE)
      literal_ = text->text();
    McTokenTextRelease(&scanner_.strings, text);
  }
}

void SyntaxScanner::finish() {
  SyntaxToken end = {};
  end.begin = tree_->files[0].read_end;
  tree_->tokens.push_back(end);
}
