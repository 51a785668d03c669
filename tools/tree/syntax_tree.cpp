// Look-ups in a tree.
#include "tools/tree/syntax_tree.h"

#include <algorithm>

#include "elut/syntax/scan_bytes.h"

std::string_view SyntaxTokenText(int kind) {
  std::string_view name = MC_GRAMMAR.names[kind];
  if (name[0] == '"') name = name.substr(1, name.size() - 2);
  return name;
}

uint32_t SyntaxTree::file_of(uint32_t token) const {
  const auto above = std::upper_bound(
      runs.begin(), runs.end(), token,
      [](uint32_t t, const SyntaxRun& run) { return t < run.first_token; });
  return above[-1].file;
}

uint32_t SyntaxTree::previous(uint32_t token) const {
  if (token == 0) return SYNTAX_NONE;
  if (!tokens[token - 1].foreign) return token - 1;
  // Runs between two of the text belong to files inside each other.
  auto run = std::upper_bound(
      runs.begin(), runs.end(), token - 1,
      [](uint32_t t, const SyntaxRun& r) { return t < r.first_token; });
  while (run != runs.begin()) {
    const uint32_t first = (--run)->first_token;
    if (first == 0) return SYNTAX_NONE;
    if (!tokens[first - 1].foreign) return first - 1;
  }
  return SYNTAX_NONE;
}

uint32_t SyntaxTree::node_of(uint32_t token) const {
  // The last node that begins at the token or in front of it, or one above it.
  auto node = std::upper_bound(
      nodes.begin(), nodes.end(), token,
      [](uint32_t t, const SyntaxNode& n) { return t < n.first_token; });
  auto number = static_cast<uint32_t>(node - nodes.begin()) - 1;
  while (nodes[number].token_end <= token && number != 0)
    number = nodes[number].parent;
  return number;
}

SyntaxTrivia SyntaxGap::next() {
  begin_ = at_;
  if (at_ == end_) return SyntaxTrivia::END;
  if (at_ >= file_->read_end) {
    at_ = end_;
    return SyntaxTrivia::NOT_READ;
  }
  // A line feed ends all that is read.
  const char* text = file_->text.data();
  const char first = text[at_++];
  switch (first) {
    case '\r':
      if (text[at_] != '\n') return SyntaxTrivia::STRAY;
      at_++;
      return SyntaxTrivia::LINE_FEED;
    case '\n': return SyntaxTrivia::LINE_FEED;
    case '!':
    case '#':
      while (text[at_] != '\n') at_++;
      if (text[at_ - 1] == '\r') at_--;
      return SyntaxTrivia::COMMENT;
    case ' ':
    case '\t':
    case '\f':
      while (text[at_] == ' ' || text[at_] == '\t' || text[at_] == '\f') at_++;
      return SyntaxTrivia::BLANK;
    default: return SyntaxTrivia::STRAY;
  }
}

SyntaxLines::SyntaxLines(std::string_view text) {
  begin_.push_back(0);
  for (size_t at = text.find('\n'); at != text.npos;
       at = text.find('\n', at + 1))
    begin_.push_back(static_cast<uint32_t>(at) + 1);
}

uint32_t SyntaxLines::line_of(uint32_t offset) const {
  return static_cast<uint32_t>(
      std::upper_bound(begin_.begin(), begin_.end(), offset) - begin_.begin());
}
