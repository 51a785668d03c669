// The scanner is an automaton whose first step is a table over all bytes: it
// tells what kind of token can begin there. Each kind then has one routine that
// finds the longest match. The text at hand consists of complete lines and is
// closed by a zero byte, so that no routine needs to ask for more, with two
// exceptions: white space goes on behind the lines at hand, and a literal that
// ends in a line feed depends on the first character of the next line.
#include "elut/syntax/lexer.h"

#include <cstdlib>
#include <cstring>

#include "Cutil/codes.h"
#include "Cutil/ut_chars.h"
#include "elut/grammar.h"
#include "elut/syntax/scan_bytes.h"

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

// D, G and R behind a number only make it a REAL.
bool IsRealSuffix(char c) {
  return (c | 0x20) == 'd' || (c | 0x20) == 'g' || (c | 0x20) == 'r';
}

int OperatorToken(McScanner* scanner, const char* text, TokenValue* value) {
  const char second = text[1];
  scanner->source.cursor.next = text + 2;
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
  scanner->source.cursor.next = text + 1;
  return TABLE.token[static_cast<uint8_t>(text[0])];
}

int NameToken(McScanner* scanner, const char* text, size_t length,
              TokenValue* value) {
  scanner->source.cursor.next = text + length;
  McName* name = McNameScan(&scanner->strings, text, length);
  *value = name->value;
  return name->token;
}

int SigilToken(McScanner* scanner, const char* text, TokenValue* value) {
  value->code = static_cast<uint8_t>(*text);
  scanner->source.cursor.next = text + 1;
  if (!UtIsLetter(text[1])) return TOKEN_SIGIL;
  return NameToken(scanner, text, 1 + McNameRun(text + 1), value);
}

int AtToken(McScanner* scanner, const char* text, TokenValue* value) {
  const char* name = text + (text[1] == ':' ? 2 : 1);
  const char* end = name;
  while (UtIsNameByte(*end) || *end == '*' || *end == '.') end++;
  if (end != name)
    return NameToken(scanner, text, static_cast<size_t>(end - text), value);
  value->code = '@';
  scanner->source.cursor.next = text + 1;
  return TOKEN_SIGIL;
}

// Numbers -------------------------------------------------------------------

int IntegerToken(McScanner* scanner, const char* text, const char* end,
                 unsigned base, TokenValue* value) {
  scanner->source.cursor.next = end;
  const uint64_t limit = base == 10 ? INT32_MAX : UINT32_MAX;
  uint64_t number = 0;
  for (const char* p = base == 16 ? text + 2 : text; p < end; p++) {
    const unsigned digit = UtIsDigit(*p)
                               ? static_cast<unsigned>(*p - '0')
                               : static_cast<unsigned>((*p | 0x20) - 'a') + 10;
    number = number * base + digit;
    if (number > limit) {
      McParseFail(scanner, RC_OVERFLOW,
                  "integer constant '%.*s' out of range\n",
                  static_cast<int>(end - text), text);
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
      if (UtIsDigit(*p))
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
  if (!UtIsDigit(*p)) return text;
  while (UtIsDigit(*p)) p++;
  return p;
}

int NumberToken(McScanner* scanner, const char* text, TokenValue* value) {
  const char* end = text;
  while (UtIsDigit(*end)) end++;
  const char* whole = end;
  if (*end == '.' && UtIsDigit(end[1])) {
    do end++;
    while (UtIsDigit(*end));
  }
  end = SkipExponent(end);
  const char* number = end;
  if (IsRealSuffix(*end)) end++;
  if (end != whole) {
    scanner->source.cursor.next = end;
    value->real = RealValue(text, number);
    return TOKEN_RCONST;
  }
  if (*text != '0') return IntegerToken(scanner, text, end, 10, value);
  if (text[1] == 'x' && UtIsHex(text[2])) {
    end = text + 3;
    while (UtIsHex(*end)) end++;
    return IntegerToken(scanner, text, end, 16, value);
  }
  // The digits 8 and 9 are not octal: another number begins there.
  end = text + 1;
  while (UtIsOctal(*end)) end++;
  return IntegerToken(scanner, text, end, 8, value);
}

// Literals ------------------------------------------------------------------

// Behind the literal that begins at `*text`, or nullptr when it is not closed.
// `*text` moves along when the lines at hand are.
const char* LiteralEnd(McScanner* scanner, const char** text) {
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
        if (p + 1 == scanner->source.cursor.limit) {
          const size_t offset = static_cast<size_t>(p - *text);
          if (!McSrcMore(&scanner->source, text)) return nullptr;
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
int LiteralToken(McScanner* scanner, TokenValue* value) {
  const char* text = scanner->source.cursor.next;
  const char* end = LiteralEnd(scanner, &text);
  if (end == nullptr) return -1;
  McTokenText* copy =
      McTokenTextNew(&scanner->strings, static_cast<size_t>(end - text));
  CopyLiteral(text, end, copy);
  scanner->source.cursor.line += end[-2] == '\n';
  scanner->source.cursor.next = end;
  value->text = copy;
  return TOKEN_SCONST;
}

void SkipComment(McScanner* scanner) {
  const auto left = static_cast<size_t>(scanner->source.cursor.limit -
                                        scanner->source.cursor.next);
  const void* feed = memchr(scanner->source.cursor.next, '\n', left);
  scanner->source.cursor.next = feed == nullptr
                                    ? scanner->source.cursor.limit
                                    : static_cast<const char*>(feed);
}

// Passes a character that begins no token.
void SkipStray(McScanner* scanner) {
  const char* stray = scanner->source.cursor.next++;
  const McSrcPlace place = McSrcPosition(scanner->source);
  scanner->sink->report({McReportKind::STRAY,
                         RC_OK,
                         {stray, 1},
                         place.level,
                         place.name,
                         place.line});
}

// What is left when the tokens that a source consists of mostly have been
// recognised. Returns the token, or -1 when something was skipped. It is kept
// apart so that the loop of McLex needs no room for it.
[[gnu::noinline]] int RareToken(McScanner* scanner, Start start,
                                TokenValue* value) {
  const char* text = scanner->source.cursor.next;
  int token = -1;
  switch (start) {
    case COMMENT: SkipComment(scanner); return -1;
    case LITERAL: token = LiteralToken(scanner, value); break;
    case CHARACTER:
      if (text[1] == '\0' || text[1] == '\n' || text[2] != '\'') break;
      value->integer = static_cast<uint8_t>(text[1]);
      scanner->source.cursor.next = text + 3;
      return TOKEN_ICONST;
    case SIGIL: return SigilToken(scanner, text, value);
    case AT: return AtToken(scanner, text, value);
    case END:
      if (McSrcMore(&scanner->source, nullptr)) return -1;
      // What is missing must not pass for the end of the source.
      if (McSrcReadFailed(scanner->source))
        McParseFail(scanner, RC_CANNOT_OPEN, "file '%s' cannot be read\n",
                    McSrcPosition(scanner->source).name);
      return McSrcWrap(&scanner->source) ? TOKEN_END_OF_INPUT : -1;
    default: break;
  }
  if (token < 0) SkipStray(scanner);
  return token;
}

}  // namespace

int McLex(McScanner* scanner, TokenValue* value) {
  const char* text = scanner->source.cursor.next;
  for (;;) {
    while (*text == ' ') text++;
    const auto first = static_cast<uint8_t>(*text);
    const Start start = TABLE.start[first];
    switch (start) {
      case SINGLE:
        scanner->source.cursor.next = text + 1;
        return TABLE.token[first];
      case NAME: return NameToken(scanner, text, McNameRun(text), value);
      case OPERATOR: return OperatorToken(scanner, text, value);
      case FEED: scanner->source.cursor.line++; [[fallthrough]];
      case BLANK: text++; continue;
      case DIGIT: return NumberToken(scanner, text, value);
      case POINT:
        if (UtIsDigit(text[1])) return NumberToken(scanner, text, value);
        scanner->source.cursor.next = text + 1;
        return TOKEN_DOT;
      default: {
        scanner->source.cursor.next = text;
        const int token = RareToken(scanner, start, value);
        if (token >= 0) return token;
        text = scanner->source.cursor.next;
      }
    }
  }
}
