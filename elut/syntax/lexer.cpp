// The scanner is an automaton whose first step is a table over all bytes: it
// tells what kind of token can begin there. Each kind then has one routine that
// finds the longest match. The text at hand consists of complete lines and is
// closed by a zero byte, so that no routine needs to ask for more, with two
// exceptions: white space goes on behind the lines at hand, and a literal that
// ends in a line feed depends on the first character of the next line.
#include "elut/syntax/lexer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Cutil/codes.h"
#include "elut/compile/parse.h"
#include "elut/grammar.h"
#include "elut/syntax/scan_bytes.h"
#include "elut/syntax/source_reader.h"

namespace {

// What can begin with a byte.
enum Start : uint8_t {
  NOTHING,  // echoed and skipped
  END,      // zero byte: end of the lines at hand
  BLANK,
  FEED,
  COMMENT,
  NAME,
  DIGIT,
  POINT,      // a real number or the character
  LITERAL,    // "
  CHARACTER,  // '
  SIGIL,
  AT,
  SINGLE,    // a token of its own
  OPERATOR,  // may be the first of two
};

struct StartTable {
  Start start[256] = {};
  uint8_t token[256] = {};  // of SINGLE, and of OPERATOR when it stands alone

  constexpr StartTable() {
    start[0] = END;
    start[' '] = start['\t'] = start['\f'] = BLANK;
    start['\n'] = FEED;
    start['!'] = start['#'] = COMMENT;
    for (int c = 'A'; c <= 'Z'; c++) start[c] = start[c + 32] = NAME;
    for (int c = '0'; c <= '9'; c++) start[c] = DIGIT;
    start['.'] = POINT;
    start['"'] = LITERAL;
    start['\''] = CHARACTER;
    start['$'] = start['%'] = start['&'] = SIGIL;
    start['@'] = AT;
    single(':', TOKEN_COLON);
    single(';', TOKEN_SEMICOLON);
    single(',', TOKEN_COMMA);
    single('[', TOKEN_LEFT_BRACKET);
    single(']', TOKEN_RIGHT_BRACKET);
    single('(', TOKEN_LEFT_PAREN);
    single(')', TOKEN_RIGHT_PAREN);
    single('{', TOKEN_LEFT_BRACE);
    single('}', TOKEN_RIGHT_BRACE);
    pair('+', TOKEN_PLUS);
    pair('-', TOKEN_MINUS);
    pair('*', TOKEN_STAR);
    pair('/', TOKEN_SLASH);
    pair('=', TOKEN_ASSIGNOP);
    pair('<', TOKEN_LESS);
    pair('>', TOKEN_GREATER);
    token['.'] = TOKEN_DOT;
  }
  constexpr void single(int c, int number) {
    start[c] = SINGLE;
    token[c] = static_cast<uint8_t>(number);
  }
  constexpr void pair(int c, int number) {
    start[c] = OPERATOR;
    token[c] = static_cast<uint8_t>(number);
  }
};

constexpr StartTable TABLE;

bool IsOctal(char c) {
  return c >= '0' && c <= '7';
}

bool IsHex(char c) {
  return McIsDigit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f');
}

// D, G and R behind a number only make it a REAL.
bool IsRealSuffix(char c) {
  return (c | 0x20) == 'd' || (c | 0x20) == 'g' || (c | 0x20) == 'r';
}

// Memory is exhausted: the compile fails, and reading further is no use.
int Exhausted() {
  McParseExhausted();
  return TOKEN_END_OF_INPUT;
}

int OperatorToken(const char* text, TokenValue* value) {
  const char second = text[1];
  mc_src.next = text + 2;
  switch (text[0]) {
    case '+':
    case '-':
    case '/':
      if (second != '=') break;
      value->code = text[0] == '+' ? 1 : text[0] == '-' ? 2 : 3;
      return TOKEN_ASSIGNOP;
    case '*':
      if (second == '*') return TOKEN_POWER;
      if (second != '=') break;
      value->code = 4;
      return TOKEN_ASSIGNOP;
    case '=':
      if (second == '=') return TOKEN_EQUAL;
      value->code = 0;
      break;
    case '<':
      if (second == '=') return TOKEN_LESS_EQUAL;
      if (second == '>') return TOKEN_NOT_EQUAL;
      break;
    case '>':
      if (second == '=') return TOKEN_GREATER_EQUAL;
      break;
  }
  mc_src.next = text + 1;
  return TABLE.token[static_cast<uint8_t>(text[0])];
}

int NameToken(const char* text, size_t length, TokenValue* value) {
  mc_src.next = text + length;
  McName* name = McNameScan(text, length);
  if (name == nullptr) return Exhausted();
  *value = name->value;
  return name->token;
}

int SigilToken(const char* text, TokenValue* value) {
  value->code = static_cast<uint8_t>(*text);
  mc_src.next = text + 1;
  if (!McIsLetter(text[1])) return TOKEN_SIGIL;
  return NameToken(text, 1 + McNameRun(text + 1), value);
}

int AtToken(const char* text, TokenValue* value) {
  const char* name = text + (text[1] == ':' ? 2 : 1);
  const char* end = name;
  while (McIsNameByte(*end) || *end == '*' || *end == '.') end++;
  if (end != name)
    return NameToken(text, static_cast<size_t>(end - text), value);
  value->code = '@';
  mc_src.next = text + 1;
  return TOKEN_SIGIL;
}

// Numbers -------------------------------------------------------------------

int IntegerToken(const char* text, const char* end, unsigned base,
                 TokenValue* value) {
  mc_src.next = end;
  const uint64_t limit = base == 10 ? INT32_MAX : UINT32_MAX;
  uint64_t number = 0;
  for (const char* p = base == 16 ? text + 2 : text; p < end; p++) {
    const unsigned digit = McIsDigit(*p)
                               ? static_cast<unsigned>(*p - '0')
                               : static_cast<unsigned>((*p | 0x20) - 'a') + 10;
    number = number * base + digit;
    if (number > limit) {
      McParseIntegerTooLarge(text, static_cast<size_t>(end - text));
      value->integer = INT32_MAX;
      return TOKEN_ICONST;
    }
  }
  // An octal or hexadecimal number may set the sign bit: 0xFFFFFFFF is -1.
  value->integer = static_cast<int32_t>(static_cast<uint32_t>(number));
  return TOKEN_ICONST;
}

// The value of digits with a point. Up to 15 digits and 22 places the division
// of two exact numbers is exact to the last bit; the C library does the rest.
double RealValue(const char* text, const char* end) {
  constexpr double POWERS[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                               1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  if (end - text <= 16) {
    int64_t digits = 0;
    const char* point = nullptr;
    const char* p = text;
    for (; p < end; p++) {
      if (McIsDigit(*p))
        digits = digits * 10 + (*p - '0');
      else if (*p == '.')
        point = p;
      else
        break;
    }
    const auto places = point == nullptr ? 0 : end - point - 1;
    if (p == end) return static_cast<double>(digits) / POWERS[places];
  }
  // Nothing that could go on behind the token belongs to a number for strtod.
  return strtod(text, nullptr);
}

// An exponent at `text`, or its start when there is none.
const char* SkipExponent(const char* text) {
  if ((*text | 0x20) != 'e') return text;
  const char* p = text + 1;
  if (*p == '+' || *p == '-') p++;
  if (!McIsDigit(*p)) return text;
  while (McIsDigit(*p)) p++;
  return p;
}

int NumberToken(const char* text, TokenValue* value) {
  const char* end = text;
  while (McIsDigit(*end)) end++;
  const char* whole = end;
  if (*end == '.' && McIsDigit(end[1])) {
    do end++;
    while (McIsDigit(*end));
  }
  end = SkipExponent(end);
  const char* number = end;
  if (IsRealSuffix(*end)) end++;
  if (end != whole) {
    mc_src.next = end;
    value->real = RealValue(text, number);
    return TOKEN_RCONST;
  }
  if (*text != '0') return IntegerToken(text, end, 10, value);
  if (text[1] == 'x' && IsHex(text[2])) {
    end = text + 3;
    while (IsHex(*end)) end++;
    return IntegerToken(text, end, 16, value);
  }
  // The digits 8 and 9 are not octal: another number begins there.
  end = text + 1;
  while (IsOctal(*end)) end++;
  return IntegerToken(text, end, 8, value);
}

// Literals ------------------------------------------------------------------

// Behind the literal that begins at `*text`, or nullptr when it is not closed.
// `*text` moves along when the lines at hand are.
const char* LiteralEnd(const char** text) {
  const char* p = *text + 1;
  for (;;) {
    p += McLiteralRun(p);
    switch (*p) {
      case '"': return p[1] == '"' ? p + 2 : p + 1;
      case '\\':
        while (*p == '\\') p++;
        if (*p == '\n' || *p == '\0') return nullptr;
        p++;
        continue;
      case '\n':
        if (p + 1 == mc_src.limit) {
          const size_t offset = static_cast<size_t>(p - *text);
          if (!McSrcMore(text)) return nullptr;
          p = *text + offset;
        }
        return p[1] == '"' ? p + 2 : nullptr;
      default: return nullptr;
    }
  }
}

// Copies the value of the literal from `text` to `end`: the characters between
// the first and the last one, without the backslash of \" and with a line feed
// for \n. Any other backslash stays, and the search goes on behind it.
void CopyLiteral(const char* text, const char* end, McTokenText* value) {
  const char* from = text + 1;
  end--;
  char* to = value->text();
  while (from < end) {
    const auto left = static_cast<size_t>(end - from);
    const void* found = memchr(from, '\\', left);
    const size_t plain =
        found == nullptr
            ? left
            : static_cast<size_t>(static_cast<const char*>(found) - from);
    memcpy(to, from, plain);
    to += plain;
    from += plain;
    if (from == end) break;
    if (from[1] == '"' || from[1] == 'n') {
      *to++ = from[1] == 'n' ? '\n' : '"';
      from += 2;
    } else {
      *to++ = *from++;
    }
  }
  *to = '\0';
  value->length = static_cast<uint32_t>(to - value->text());
}

// The token of the literal at the read position, or -1 when it is not closed.
int LiteralToken(TokenValue* value) {
  const char* text = mc_src.next;
  const char* end = LiteralEnd(&text);
  if (end == nullptr) return -1;
  McTokenText* copy = McTokenTextNew(static_cast<size_t>(end - text));
  if (copy == nullptr) return Exhausted();
  CopyLiteral(text, end, copy);
  mc_src.line += end[-2] == '\n';
  mc_src.next = end;
  value->text = copy;
  return TOKEN_SCONST;
}

void SkipComment() {
  const auto left = static_cast<size_t>(mc_src.limit - mc_src.next);
  const void* feed = memchr(mc_src.next, '\n', left);
  mc_src.next = feed == nullptr ? mc_src.limit : static_cast<const char*>(feed);
}

// What is left when the tokens that a source consists of mostly have been
// recognised. Returns the token, or -1 when something was skipped. It is kept
// apart so that the loop of McLex needs no room for it.
[[gnu::noinline]] int RareToken(Start start, TokenValue* value) {
  const char* text = mc_src.next;
  int token = -1;
  switch (start) {
    case COMMENT: SkipComment(); return -1;
    case LITERAL: token = LiteralToken(value); break;
    case CHARACTER:
      if (text[1] == '\0' || text[1] == '\n' || text[2] != '\'') break;
      value->integer = static_cast<uint8_t>(text[1]);
      mc_src.next = text + 3;
      return TOKEN_ICONST;
    case SIGIL: return SigilToken(text, value);
    case AT: return AtToken(text, value);
    case END:
      if (McSrcMore(nullptr)) return -1;
      // What is missing must not pass for the end of the source.
      if (McSrcExhausted()) return Exhausted();
      return McSrcWrap() ? TOKEN_END_OF_INPUT : -1;
    default: break;
  }
  // What begins no token is written to the standard output.
  if (token < 0) putchar_unlocked(static_cast<unsigned char>(*mc_src.next++));
  return token;
}

}  // namespace

int McLex(TokenValue* value) {
  const char* text = mc_src.next;
  for (;;) {
    while (*text == ' ') text++;
    const auto first = static_cast<uint8_t>(*text);
    const Start start = TABLE.start[first];
    switch (start) {
      case SINGLE: mc_src.next = text + 1; return TABLE.token[first];
      case NAME: return NameToken(text, McNameRun(text), value);
      case OPERATOR: return OperatorToken(text, value);
      case FEED: mc_src.line++; [[fallthrough]];
      case BLANK: text++; continue;
      case DIGIT: return NumberToken(text, value);
      case POINT:
        if (McIsDigit(text[1])) return NumberToken(text, value);
        mc_src.next = text + 1;
        return TOKEN_DOT;
      default: {
        mc_src.next = text;
        const int token = RareToken(start, value);
        if (token >= 0) return token;
        text = mc_src.next;
      }
    }
  }
}
