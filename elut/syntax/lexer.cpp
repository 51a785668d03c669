// The scanner is an automaton whose first step is a table over all bytes: it
// tells what kind of token can begin there. Each kind then has one routine that
// finds the longest match. The text at hand consists of complete lines and is
// closed by a zero byte, so that no routine needs to ask for more, with two
// exceptions: white space goes on after the lines at hand, and a literal that
// ends in a line feed depends on the first character of the next line.
//
// What a source consists of mostly (names, operators, small numbers, white
// space, comments) is recognised in McLex itself, which calls nothing and so
// needs no room of its own: what may need more is handed over as its last step.
#include "elut/syntax/lexer.h"

#include <cstdlib>
#include <cstring>

#include "Cutil/codes.h"
#include "Cutil/ut_chars.h"
#include "elut/grammar.h"
#include "elut/syntax/operators.h"
#include "elut/syntax/scan_bytes.h"

namespace {

// What can begin with a byte.
enum Start : uint8_t {
  NOTHING,  // echoed and skipped
  END,      // zero byte: end of the lines at hand
  BLANK,
  FEED,
  COMMENT,
  LOWER,  // a name that begins with a small letter, which no reserved word does
  UPPER,  // a name or reserved word
  DIGIT,
  LITERAL,    // "
  CHARACTER,  // '
  SIGIL,
  AT,
  PUNCTUATION,  // a token of its own, or with the next character
};

struct StartTable {
  Start start[256] = {};
  uint8_t token[256] = {};  // of PUNCTUATION that stands alone
  uint8_t op[256] = {};     // that it is
  // Characters that may make one token share a bit.
  uint8_t first[256] = {};
  uint8_t second[256] = {};

  constexpr StartTable() {
    start[0] = END;
    start[' '] = start['\t'] = start['\f'] = BLANK;
    start['\n'] = FEED;
    start['!'] = start['#'] = COMMENT;
    for (int c = 'A'; c <= 'Z'; c++) start[c] = UPPER;
    for (int c = 'a'; c <= 'z'; c++) start[c] = LOWER;
    for (int c = '0'; c <= '9'; c++) start[c] = DIGIT;
    start['"'] = LITERAL;
    start['\''] = CHARACTER;
    start['$'] = start['%'] = start['&'] = SIGIL;
    start['@'] = AT;
    constexpr struct {
      char character;
      int token;
    } ALONE[] = {
        {':', TOKEN_COLON},         {';', TOKEN_SEMICOLON},
        {',', TOKEN_COMMA},         {'[', TOKEN_LEFT_BRACKET},
        {']', TOKEN_RIGHT_BRACKET}, {'(', TOKEN_LEFT_PAREN},
        {')', TOKEN_RIGHT_PAREN},   {'{', TOKEN_LEFT_BRACE},
        {'}', TOKEN_RIGHT_BRACE},   {'+', TOKEN_PLUS},
        {'-', TOKEN_MINUS},         {'*', TOKEN_STAR},
        {'/', TOKEN_SLASH},         {'=', TOKEN_ASSIGNOP},
        {'<', TOKEN_LESS},          {'>', TOKEN_GREATER},
        {'.', TOKEN_DOT},
    };
    for (const auto& row : ALONE) {
      start[static_cast<uint8_t>(row.character)] = PUNCTUATION;
      token[static_cast<uint8_t>(row.character)] =
          static_cast<uint8_t>(row.token);
      op[static_cast<uint8_t>(row.character)] = McOperatorOf(row.token);
    }
    constexpr uint8_t EQUALS = 1, STAR = 2, GREATER = 4, NUMBER = 8;
    first['+'] = first['-'] = first['/'] = first['='] = first['>'] = EQUALS;
    first['*'] = EQUALS | STAR;
    first['<'] = EQUALS | GREATER;
    first['.'] = NUMBER;
    second['='] = EQUALS;
    second['*'] = STAR;
    second['>'] = GREATER;
    for (int c = '0'; c <= '9'; c++) second[c] = NUMBER;
  }
};

constexpr StartTable TABLE;

// D, G and R after a number only make it a REAL.
bool IsRealSuffix(char c) {
  return (c | 0x20) == 'd' || (c | 0x20) == 'g' || (c | 0x20) == 'r';
}

// Values of tokens. All of a value is set: it travels in a register.
TokenValue NoValue() {
  TokenValue value;
  value.name = nullptr;
  return value;
}
TokenValue CodeValue(uint8_t code) {
  TokenValue value = NoValue();
  value.code = code;
  return value;
}
McToken OperatorToken(int token) {
  return {token, CodeValue(McOperatorOf(token))};
}
TokenValue IntegerValue(int32_t integer) {
  TokenValue value = NoValue();
  value.integer = integer;
  return value;
}

McToken TokenOf(const McName* name) {
  return {name->token, name->value};
}

// A name of any length.
[[gnu::noinline]] McToken AnyNameToken(McScanner* scanner, const char* text,
                                       size_t length) {
  scanner->source.cursor.next = text + length;
  return TokenOf(McNameSearch(&scanner->strings, text, length));
}

// The name at `text`, whose first character may be any, if it is one of the
// many that stand in their first slot; nullptr otherwise.
inline McName* QuickName(McScanner* scanner, const char* text, size_t* length) {
  const McNameKey key = McShortName(text, length);
  if (*length == 0) return nullptr;
  McName* name = scanner->strings.names.first(key.hash()).name();
  if (name == nullptr || name->key[0] != key.first || name->key[1] != key.last)
      [[unlikely]]
    return nullptr;
  scanner->source.cursor.next = text + *length;
  return name;
}

// A name whose first character may be any.
inline McToken NameToken(McScanner* scanner, const char* text) {
  size_t length;
  const McName* name = QuickName(scanner, text, &length);
  if (name == nullptr) [[unlikely]]
    return AnyNameToken(scanner, text, 1 + McNameRun(text + 1));
  return TokenOf(name);
}

// The same for one that begins with a small letter: what it is does not wait
// for the look-up.
inline McToken SmallNameToken(McScanner* scanner, const char* text) {
  size_t length;
  McName* name = QuickName(scanner, text, &length);
  if (name == nullptr) [[unlikely]]
    return AnyNameToken(scanner, text, 1 + McNameRun(text + 1));
  TokenValue value;
  value.name = name;
  return {TOKEN_IDENT, value};
}

McToken SigilToken(McScanner* scanner, const char* text) {
  if (UtIsLetter(text[1])) return NameToken(scanner, text);
  scanner->source.cursor.next = text + 1;
  return {TOKEN_SIGIL, CodeValue(static_cast<uint8_t>(*text))};
}

McToken AtToken(McScanner* scanner, const char* text) {
  const char* name = text + (text[1] == ':' ? 2 : 1);
  const char* end = name;
  while (UtIsNameByte(*end) || *end == '*' || *end == '.') end++;
  if (end != name)
    return AnyNameToken(scanner, text, static_cast<size_t>(end - text));
  scanner->source.cursor.next = text + 1;
  return {TOKEN_SIGIL, CodeValue('@')};
}

// Numbers -------------------------------------------------------------------

McToken IntegerToken(McScanner* scanner, const char* text, const char* end,
                     unsigned base) {
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
      return {TOKEN_ICONST, IntegerValue(INT32_MAX)};
    }
  }
  // An octal or hexadecimal number may set the sign bit: 0xFFFFFFFF is -1.
  return {TOKEN_ICONST,
          IntegerValue(static_cast<int32_t>(static_cast<uint32_t>(number)))};
}

McToken RealToken(McScanner* scanner, const char* end, double real) {
  scanner->source.cursor.next = end;
  TokenValue value;
  value.real = real;
  return {TOKEN_RCONST, value};
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

// Any number.
[[gnu::noinline]] McToken AnyNumberToken(McScanner* scanner, const char* text) {
  const char* end = text;
  while (UtIsDigit(*end)) end++;
  const char* whole = end;
  if (*end == '.' && UtIsDigit(end[1])) {
    do end++;
    while (UtIsDigit(*end));
  }
  end = SkipExponent(end);
  if (IsRealSuffix(*end)) end++;
  // Nothing that could go on after the token belongs to a number for strtod.
  if (end != whole) return RealToken(scanner, end, strtod(text, nullptr));
  if (*text != '0') return IntegerToken(scanner, text, end, 10);
  if (text[1] == 'x' && UtIsHex(text[2])) {
    end = text + 3;
    while (UtIsHex(*end)) end++;
    return IntegerToken(scanner, text, end, 16);
  }
  // The digits 8 and 9 are not octal: another number begins there.
  end = text + 1;
  while (UtIsOctal(*end)) end++;
  return IntegerToken(scanner, text, end, 8);
}

// A number, most of which are a few digits, or some with a point among them:
// then its value is the quotient of two numbers that are exact, and so exact to
// the last bit. Digits are taken together, since a loop over them would end
// where nobody expects it.
inline McToken NumberToken(McScanner* scanner, const char* text) {
  static constexpr double POWERS[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7};
  const McDigits whole = McTakeDigits(text);
  const char* end = text + whole.count;
  // Exponents and suffixes begin with a letter, as does what follows 0x;
  // another number begins with a digit that is not octal.
  if (whole.count == McDigits::MANY || UtIsLetter(*end) ||
      (*text == '0' && whole.count > 1)) [[unlikely]]
    return AnyNumberToken(scanner, text);
  if (*end != '.' || !UtIsDigit(end[1])) {
    scanner->source.cursor.next = end;
    return {TOKEN_ICONST, IntegerValue(static_cast<int32_t>(whole.value))};
  }
  const McDigits places = McTakeDigits(end + 1);
  end += 1 + places.count;
  if (places.count == McDigits::MANY || UtIsLetter(*end)) [[unlikely]]
    return AnyNumberToken(scanner, text);
  const double power = POWERS[places.count];
  return RealToken(scanner, end, (whole.value * power + places.value) / power);
}

// Punctuation -----------------------------------------------------------------

// A "=" alone is an assignment without an operator, whose code is 0.
inline McToken PunctuationAlone(const char* text) {
  const auto character = static_cast<uint8_t>(*text);
  return {TABLE.token[character], CodeValue(TABLE.op[character])};
}

// Of two characters, or the first of them alone; or a number that begins with a
// point.
[[gnu::noinline]] McToken TwoCharacterToken(McScanner* scanner,
                                            const char* text) {
  const char second = text[1];
  if (text[0] == '.' && UtIsDigit(second)) return AnyNumberToken(scanner, text);
  scanner->source.cursor.next = text + 2;
  switch (text[0]) {
    case '+':
      if (second == '=') return {TOKEN_ASSIGNOP, CodeValue(1)};
      break;
    case '-':
      if (second == '=') return {TOKEN_ASSIGNOP, CodeValue(2)};
      break;
    case '/':
      if (second == '=') return {TOKEN_ASSIGNOP, CodeValue(3)};
      break;
    case '*':
      if (second == '*') return OperatorToken(TOKEN_POWER);
      if (second == '=') return {TOKEN_ASSIGNOP, CodeValue(4)};
      break;
    case '=':
      if (second == '=') return OperatorToken(TOKEN_EQUAL);
      break;
    case '<':
      if (second == '=') return OperatorToken(TOKEN_LESS_EQUAL);
      if (second == '>') return OperatorToken(TOKEN_NOT_EQUAL);
      break;
    case '>':
      if (second == '=') return OperatorToken(TOKEN_GREATER_EQUAL);
      break;
  }
  scanner->source.cursor.next = text + 1;
  return PunctuationAlone(text);
}

inline McToken PunctuationToken(McScanner* scanner, const char* text) {
  if ((TABLE.first[static_cast<uint8_t>(text[0])] &
       TABLE.second[static_cast<uint8_t>(text[1])]) != 0)
    return TwoCharacterToken(scanner, text);
  scanner->source.cursor.next = text + 1;
  return PunctuationAlone(text);
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
// for \n. Any other backslash stays, and the search goes on after it.
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

// Nothing of the source was a token.
constexpr McToken SKIPPED = {-1, {}};

// The literal at the read position, if it is closed.
McToken LiteralToken(McScanner* scanner) {
  const char* text = scanner->source.cursor.next;
  const char* end = LiteralEnd(scanner, &text);
  if (end == nullptr) {
    SkipStray(scanner);
    return SKIPPED;
  }
  TokenValue value;
  value.text =
      McTokenTextNew(&scanner->strings, static_cast<size_t>(end - text));
  CopyLiteral(text, end, value.text);
  scanner->source.cursor.line += end[-2] == '\n';
  scanner->source.cursor.next = end;
  return {TOKEN_SCONST, value};
}

// The lines at hand are used up: brings further ones, or goes on in the level
// below.
McToken EndOfLines(McScanner* scanner) {
  McSource* source = &scanner->source;
  if (McSrcMore(source, nullptr)) return SKIPPED;
  // What is missing must not pass for the end of the source.
  if (McSrcReadFailed(*source))
    McParseFail(scanner, RC_CANNOT_OPEN, "file '%s' cannot be read\n",
                McSrcPosition(*source).name);
  if (!McSrcWrap(source)) return SKIPPED;
  return {TOKEN_END_OF_INPUT, NoValue()};
}

// What may need more than a look at the text. It goes on until it has a token,
// or hands the text over to McLex where that surely has one.
[[gnu::noinline]] McToken RareToken(McScanner* scanner, const char* text) {
  McSrcCursor* cursor = &scanner->source.cursor;
  cursor->next = text;
  for (;;) {
    text = cursor->next;
    McToken token = SKIPPED;
    switch (TABLE.start[static_cast<uint8_t>(*text)]) {
      case FEED: cursor->line++; [[fallthrough]];
      case BLANK: cursor->next = text + 1; break;
      case COMMENT: cursor->next = McCommentEnd(text); break;
      case LITERAL: token = LiteralToken(scanner); break;
      case CHARACTER:
        if (text[1] == '\0' || text[1] == '\n' || text[2] != '\'') {
          SkipStray(scanner);
          break;
        }
        cursor->next = text + 3;
        return {TOKEN_ICONST, IntegerValue(static_cast<uint8_t>(text[1]))};
      case SIGIL: return SigilToken(scanner, text);
      case AT: return AtToken(scanner, text);
      case END: token = EndOfLines(scanner); break;
      case NOTHING: SkipStray(scanner); break;
      case LOWER:
      case UPPER:
      case DIGIT:
      case PUNCTUATION: return McLex(scanner);
    }
    if (token.token >= 0) return token;
  }
}

}  // namespace

// Characters of a kind, as labels of a switch.
#define LETTERS(a, b, c, d, e, f, g, h, i, j, k, l, m) \
  case a:                                              \
  case b:                                              \
  case c:                                              \
  case d:                                              \
  case e:                                              \
  case f:                                              \
  case g:                                              \
  case h:                                              \
  case i:                                              \
  case j:                                              \
  case k:                                              \
  case l:                                              \
  case m
#define DIGITS \
  case '0':    \
  case '1':    \
  case '2':    \
  case '3':    \
  case '4':    \
  case '5':    \
  case '6':    \
  case '7':    \
  case '8':    \
  case '9'

McToken McLex(McScanner* scanner) {
  const char* text = scanner->source.cursor.next;
  for (;;) {
    // Most tokens have one blank in front of them or none. A branch would be
    // wrong about that every other time; so both characters are at hand.
    uint16_t two;
    memcpy(&two, text, sizeof two);
    const bool blank = (two & 0xFF) == ' ';
    const auto first = static_cast<uint8_t>(blank ? two >> 8 : two);
    text += blank;
    // One step from the character to its code.
    switch (first) {
      LETTERS('a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l', 'm')
          : LETTERS('n', 'o', 'p', 'q', 'r', 's', 't', 'u', 'v', 'w', 'x', 'y',
                    'z')
          : return SmallNameToken(scanner, text);
      LETTERS('A', 'B', 'C', 'D', 'E', 'F', 'G', 'H', 'I', 'J', 'K', 'L', 'M')
          : LETTERS('N', 'O', 'P', 'Q', 'R', 'S', 'T', 'U', 'V', 'W', 'X', 'Y',
                    'Z')
          : return NameToken(scanner, text);
    DIGITS:
      return NumberToken(scanner, text);
      case ':':
      case ';':
      case ',':
      case '[':
      case ']':
      case '(':
      case ')':
      case '{':
      case '}':
      case '+':
      case '-':
      case '*':
      case '/':
      case '=':
      case '<':
      case '>':
      case '.': return PunctuationToken(scanner, text);
      case '\n': scanner->source.cursor.line++; [[fallthrough]];
      case ' ':
      case '\t':
      case '\f': text = McSkipBlanks(text + 1); continue;
      case '!':
      case '#': text = McCommentEnd(text); continue;
      default: return RareToken(scanner, text);
    }
  }
}
