// Spelling follows the names that the grammar gives its symbols, so that a new
// keyword is known here, too.
#include "tools/check/words.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "elut/compile/builtins.h"
#include "elut/grammar.h"
#include "tools/suggest.h"

namespace {

// The name without the quotes of the grammar file.
std::string_view Literal(int token) {
  std::string_view name = MC_GRAMMAR.names[token];
  if (name.size() < 2 || name.front() != '"') return {};
  return name.substr(1, name.size() - 2);
}

bool IsWord(std::string_view text) {
  return !text.empty() &&
         std::ranges::all_of(text, [](char c) { return c >= 'A' && c <= 'Z'; });
}

const std::map<std::string_view, int>& Keywords() {
  static const std::map<std::string_view, int> keywords = [] {
    std::map<std::string_view, int> made;
    for (int token = 3; token < MC_GRAMMAR.tokens; token++)
      if (IsWord(Literal(token))) made.emplace(Literal(token), token);
    return made;
  }();
  return keywords;
}

struct Foreign {
  std::string_view word;
  int tokens[2];
};
// Words of other languages for what ours has.
constexpr Foreign FOREIGN[] = {
    {"INT", {TOKEN_INTEGER, 0}},       {"FLOAT", {TOKEN_REAL, 0}},
    {"DOUBLE", {TOKEN_REAL, 0}},       {"CHAR", {TOKEN_STRING, 0}},
    {"PROCEDURE", {TOKEN_SUB, 0}},     {"FUNCTION", {TOKEN_SUB, 0}},
    {"PROC", {TOKEN_SUB, 0}},          {"FUNC", {TOKEN_SUB, 0}},
    {"ELSIF", {TOKEN_ELSE, TOKEN_IF}}, {"ELIF", {TOKEN_ELSE, TOKEN_IF}},
    {"FI", {TOKEN_END, TOKEN_IF}},     {"WEND", {TOKEN_END, TOKEN_WHILE}},
    {"SWITCH", {TOKEN_SELECT, 0}},     {"ENDSUB", {TOKEN_END, TOKEN_SUB}},
};

std::string Upper(std::string_view word) {
  std::string upper(word);
  for (char& c : upper)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return upper;
}

// Tokens that have a common name where all of the first ones could stand.
struct Group {
  const char* words;
  std::vector<int> sure;
  std::vector<int> more;
};

const std::vector<Group>& Groups() {
  static const std::vector<Group> groups = {
      {"a statement",
       {TOKEN_WHILE, TOKEN_PRINT, TOKEN_LET},
       {TOKEN_IF, TOKEN_SELECT, TOKEN_CALL, TOKEN_RETURN, TOKEN_EXIT,
        TOKEN_BREAK, TOKEN_CONTINUE, TOKEN_SUBEXIT, TOKEN_ALLOCATE, TOKEN_FREE,
        TOKEN_IDENT, TOKEN_CFNNAME, TOKEN_SIGILNAME, TOKEN_SIGIL,
        TOKEN_SEMICOLON}},
      {"an expression",
       {TOKEN_IDENT, TOKEN_ICONST, TOKEN_LEFT_PAREN, TOKEN_MINUS},
       {TOKEN_RCONST, TOKEN_SCONST, TOKEN_FNNAME, TOKEN_CFNNAME, TOKEN_BUILTIN,
        TOKEN_SIGIL, TOKEN_SIGILNAME, TOKEN_PLUS, TOKEN_MSG, TOKEN_MSGGET}},
      {"an operator",
       {TOKEN_STAR, TOKEN_SLASH, TOKEN_AND, TOKEN_EQUAL},
       {TOKEN_PLUS, TOKEN_MINUS, TOKEN_MOD, TOKEN_DIV, TOKEN_POWER,
        TOKEN_NOT_EQUAL, TOKEN_GREATER, TOKEN_GREATER_EQUAL, TOKEN_LESS,
        TOKEN_LESS_EQUAL, TOKEN_OR, TOKEN_DOT, TOKEN_ASSIGNOP,
        TOKEN_LEFT_PAREN}},
      {"a declaration",
       {TOKEN_INTEGER, TOKEN_REAL, TOKEN_STRING, TOKEN_POINT},
       {TOKEN_COMMON}},
      {"an object",
       {TOKEN_BUTTON, TOKEN_MENU},
       {TOKEN_SCROLLBAR, TOKEN_RECORD, TOKEN_DIALOG, TOKEN_GRAPHIC,
        TOKEN_MENUBAR, TOKEN_LABEL, TOKEN_TABLE, TOKEN_TEXT, TOKEN_GROUP,
        TOKEN_ITEM}},
      {"an event",
       {TOKEN_ENTER, TOKEN_CONTROL, TOKEN_KEY},
       {TOKEN_EXIT, TOKEN_ABORT, TOKEN_BUTTON, TOKEN_MOTION, TOKEN_DESTROY,
        TOKEN_CONFIRM, TOKEN_CREATE, TOKEN_SHOW, TOKEN_HIDE, TOKEN_COMPUTE,
        TOKEN_ACTIVATE, TOKEN_MODIFY}},
  };
  return groups;
}

}  // namespace

bool CheckIsKeyword(int token) {
  return token > 2 && token < MC_GRAMMAR.tokens && IsWord(Literal(token));
}

int CheckKeyword(std::string_view word) {
  const auto found = Keywords().find(word);
  return found == Keywords().end() ? 0 : found->second;
}

std::string CheckWordOf(int token) {
  switch (token) {
    case TOKEN_END_OF_INPUT: return "the end of the file";
    case TOKEN_IDENT: return "a name";
    case TOKEN_FNNAME: return "an FN call";
    case TOKEN_CFNNAME: return "a CFN call";
    case TOKEN_SIGILNAME:
    case TOKEN_SIGIL: return "an external variable";
    case TOKEN_ICONST: return "an integer";
    case TOKEN_RCONST: return "a number";
    case TOKEN_SCONST: return "a text";
    case TOKEN_BUILTIN: return "a built-in function";
    case TOKEN_ASSIGNOP: return "'='";
    default: break;
  }
  const std::string_view text = Literal(token);
  return IsWord(text) ? std::string(text) : "'" + std::string(text) + "'";
}

std::string CheckSpelling(int token) {
  switch (token) {
    case TOKEN_IDENT: return "name";
    case TOKEN_ICONST: return "0";
    case TOKEN_SCONST: return "\"\"";
    case TOKEN_RCONST: return "0.0";
    case TOKEN_ASSIGNOP: return "=";
    default: return std::string(Literal(token));
  }
}

std::string CheckWordsOf(const std::vector<int>& tokens) {
  std::vector<int> left = tokens;
  const auto has = [&](int token) {
    return std::ranges::find(left, token) != left.end();
  };
  std::vector<std::string> words;
  for (const Group& group : Groups()) {
    if (!std::ranges::all_of(group.sure, has)) continue;
    words.push_back(group.words);
    std::erase_if(left, [&](int token) {
      return std::ranges::find(group.sure, token) != group.sure.end() ||
             std::ranges::find(group.more, token) != group.more.end();
    });
  }
  std::vector<std::string> single;
  for (const int token : left) single.push_back(CheckWordOf(token));
  words.insert(words.begin(), single.begin(), single.end());
  if (words.size() > 5) return {};
  std::string out;
  for (size_t i = 0; i < words.size(); i++) {
    if (i > 0) out += i + 1 == words.size() ? " or " : ", ";
    out += words[i];
  }
  return out;
}

CheckMeant CheckMeantBy(std::string_view word) {
  CheckMeant meant;
  const std::string upper = Upper(word);
  if (const int token = CheckKeyword(upper)) return {{token}, 0, true};
  for (const Foreign& row : FOREIGN) {
    if (row.word != upper) continue;
    meant.tokens = {row.tokens[0]};
    if (row.tokens[1] != 0) meant.tokens.push_back(row.tokens[1]);
    meant.distance = 1;
    return meant;
  }
  for (size_t i = 2; i + 2 <= upper.size(); i++) {
    const int first = CheckKeyword(std::string_view(upper).substr(0, i));
    const int second = CheckKeyword(std::string_view(upper).substr(i));
    if (first != 0 && second != 0 &&
        (first == TOKEN_END || first == TOKEN_ELSE))
      return {{first, second}, 0, true};
  }
  if (word.size() == 2)  // only if they are exchanged
    if (const int token = CheckKeyword(std::string{upper[1], upper[0]}))
      return {{token}, 1, true};
  if (word.size() < 3) return meant;
  // A name in small letters is rather a name.
  const bool loud = std::string_view(upper) == word;
  const int most = upper.size() < 5 ? 1 : 2;
  int best = most + 1;
  for (const auto& [keyword, token] : Keywords()) {
    const auto distance = static_cast<int>(ToolDistance(upper, keyword));
    if (distance > most || distance > best) continue;
    if (distance == best) {
      meant.only = false;
      meant.tokens.push_back(token);
      continue;
    }
    best = distance;
    meant = {{token}, distance + (loud ? 0 : 1), true};
  }
  return meant;
}

std::string CheckBuiltinMeantBy(std::string_view word) {
  const std::string upper = Upper(word);
  static const std::vector<std::string> names(std::begin(MC_BUILTIN_NAMES),
                                              std::end(MC_BUILTIN_NAMES));
  if (std::ranges::find(names, upper) != names.end()) return upper;
  // A name in small letters is rather a name.
  return upper == word && word.size() > 2 ? ToolNearest(upper, names) : "";
}
