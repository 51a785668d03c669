// A literal is spelled character by character; numbers go through the shortest
// digits that lead back to them. A REAL without a literal is taken apart: it is
// a whole number of 53 bits times a power of two, and both halves of that
// number are INTEGERs.
#include "tools/decompile/spelling.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

#include "elut/syntax/source_reader.h"

void SpellInteger(std::string* out, int32_t value) {
  char digits[16];
  const bool negative = value < 0;
  if (negative) *out += "0x";
  const auto bits = static_cast<uint32_t>(value);
  const auto end =
      std::to_chars(digits, digits + sizeof digits, bits, negative ? 16 : 10);
  for (char* p = digits; p != end.ptr; p++)
    if (*p >= 'a') *p = static_cast<char>(*p - 'a' + 'A');
  out->append(digits, end.ptr);
}

void SpellSignedInteger(std::string* out, int32_t value) {
  if (value >= 0 || value == std::numeric_limits<int32_t>::min())
    return SpellInteger(out, value);
  *out += '-';
  SpellInteger(out, -value);
}

void SpellReal(std::string* out, double value) {
  if (value == 3.141592653589793) {
    *out += "PI";
    return;
  }
  // What is too large for a REAL is read as infinite.
  if (std::isinf(value)) {
    *out += "1e999";
    return;
  }
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value);
  const std::string_view text(digits, static_cast<size_t>(end.ptr - digits));
  *out += text;
  if (text.find_first_of(".e") == std::string_view::npos) *out += ".0";
}

namespace {

constexpr int STEP_BITS = 30;  // the largest power of two that is an INTEGER
constexpr std::string_view STEP = "1073741824";

// part * 2^exponent, exactly, with a REAL as the first result.
void SpellScaled(std::string* out, uint32_t part, int exponent) {
  SpellInteger(out, static_cast<int32_t>(part));
  bool is_real = false;
  const auto divide = [&](std::string_view by) {
    *out += '/';
    *out += by;
    is_real = true;
  };
  for (; exponent <= -STEP_BITS; exponent += STEP_BITS) divide(STEP);
  if (exponent < 0)
    divide(std::to_string(uint32_t{1} << -exponent));
  else if (!is_real)
    divide("1");
  for (; exponent >= STEP_BITS; exponent -= STEP_BITS) {
    *out += '*';
    *out += STEP;
  }
  if (exponent > 0) {
    *out += '*';
    *out += std::to_string(uint32_t{1} << exponent);
  }
}

constexpr int LARGE_EXPONENT = 1050;

// An infinite one less itself. Its bits are the machine's affair, so it is
// asked here in the same way.
bool SpellNan(std::string* out, double value) {
  volatile double infinite = std::numeric_limits<double>::infinity();
  const double made = infinite - infinite;
  const auto bits = [](double number) {
    return std::bit_cast<uint64_t>(number);
  };
  if (bits(made) != bits(value)) {
    if (bits(-made) != bits(value)) return false;
    *out += '-';
  }
  *out += '(';
  SpellScaled(out, 1, LARGE_EXPONENT);
  *out += '-';
  SpellScaled(out, 1, LARGE_EXPONENT);
  *out += ')';
  return true;
}

// A quotient of two small numbers that is the value, found by continued
// fractions.
bool SpellQuotient(std::string* out, double value) {
  constexpr double LIMIT = 1e6;
  double rest = value;
  double p = 1, q = 0, p_before = 0, q_before = 1;
  for (int i = 0; i < 20; i++) {
    const double whole = std::floor(rest);
    const double p_next = whole * p + p_before;
    const double q_next = whole * q + q_before;
    if (p_next > LIMIT || q_next > LIMIT) return false;
    p_before = p, q_before = q, p = p_next, q = q_next;
    if (p / q == value) {
      SpellInteger(out, static_cast<int32_t>(p));
      *out += '/';
      SpellInteger(out, static_cast<int32_t>(q));
      return true;
    }
    rest = 1 / (rest - whole);
  }
  return false;
}

}  // namespace

bool SpellRealByIntegers(std::string* out, double value) {
  const bool negative = std::signbit(value);
  if (std::isnan(value)) return SpellNan(out, value);
  double size = std::fabs(value);
  if (size == 0) {
    *out += negative ? "0/-1" : "0/1";
    return true;
  }
  if (negative) *out += '-';
  if (std::isinf(size)) {
    SpellScaled(out, 1, LARGE_EXPONENT);
    return true;
  }
  if (SpellQuotient(out, size)) return true;
  int exponent;
  size = std::frexp(size, &exponent);
  auto bits = static_cast<uint64_t>(std::ldexp(size, 53));
  const int zeros = std::countr_zero(bits);
  bits >>= zeros;
  exponent += zeros - 53;
  constexpr int LOW_BITS = 26;
  const auto high = static_cast<uint32_t>(bits >> LOW_BITS);
  const auto low = static_cast<uint32_t>(bits & ((1u << LOW_BITS) - 1));
  if (high != 0) {
    SpellScaled(out, high, exponent + LOW_BITS);
    *out += negative ? '-' : '+';
  }
  SpellScaled(out, low, exponent);
  return true;
}

bool SpellText(std::string* out, std::string_view text) {
  const size_t start = out->size();
  *out += '"';
  for (size_t i = 0; i < text.size(); i++) {
    const char c = text[i];
    // A backslash takes the n behind it with it, and keeps a quote from ending
    // the literal.
    const bool lost =
        c == '\0' ||
        (c == '\\' && (i + 1 == text.size() || text[i + 1] == 'n'));
    if (lost) {
      out->resize(start);
      return false;
    }
    if (c == '"')
      *out += "\\\"";
    else if (c == '\n')
      *out += "\\n";
    else
      *out += c;
  }
  *out += '"';
  if (out->size() - start <= MC_SRC_LINE_MAX) return true;
  // A last quote may stand doubled, a last line feed as itself.
  if (text.back() == '"')
    out->replace(out->size() - 3, 3, "\"\"");
  else if (text.back() == '\n')
    out->replace(out->size() - 3, 3, "\n\"");
  const size_t line = out->size() - start - (text.back() == '\n' ? 2 : 0);
  if (line <= MC_SRC_LINE_MAX) return true;
  out->resize(start);
  return false;
}

namespace {

constexpr size_t LONGEST_REFERENCE = 255;

// The parts of a message reference between its separators, the byte that it
// begins with.
struct Reference {
  std::string_view parts[3];
  size_t count = 0;

  bool split(std::string_view text) {
    const char separator = text[0];
    text.remove_prefix(1);
    while (!text.empty()) {
      const size_t end = text.find(separator);
      if (end == std::string_view::npos || count == 3) return false;
      parts[count++] = text.substr(0, end);
      text.remove_prefix(end + 1);
    }
    return true;
  }
};

bool SpellNumberPart(std::string* out, std::string_view part) {
  int32_t number;
  const auto end =
      std::from_chars(part.data(), part.data() + part.size(), number);
  if (end.ec != std::errc() || end.ptr != part.data() + part.size() ||
      std::to_string(number) != part)
    return false;
  SpellInteger(out, number);
  return true;
}

// NAME(part, part, ...) where the part numbered `number` is a number and an
// empty first one is left out when `shorter`.
bool SpellReference(std::string* out, const char* name, const Reference& from,
                    size_t number, bool shorter) {
  const size_t start = out->size();
  *out += name;
  *out += '(';
  bool spelled = true;
  for (size_t i = 0; spelled && i < from.count; i++) {
    if (i == 0 && shorter && from.parts[0].empty()) continue;
    if (out->back() != '(') *out += ", ";
    spelled = i == number ? SpellNumberPart(out, from.parts[i])
                          : SpellText(out, from.parts[i]);
  }
  *out += ')';
  if (!spelled) out->resize(start);
  return spelled;
}

bool SpellAsReference(std::string* out, std::string_view text, bool in_mask) {
  if (text.empty() || text.size() > LONGEST_REFERENCE) return false;
  if (text[0] < '\1' || text[0] > '\4') return false;
  Reference from;
  if (!from.split(text)) return false;
  switch (text[0]) {
    case '\1':
      return from.count == 3 && SpellReference(out, "MSG", from, 2, true);
    case '\2':
      return in_mask && from.count == 2 &&
             SpellReference(out, "MSGGLOB", from, 1, false);
    case '\3':
      return in_mask && from.count == 3 &&
             SpellReference(out, "MSGFILE", from, 1, false);
    default:
      return from.count == 3 && SpellReference(out, "MSGGET", from, 1, false);
  }
}

}  // namespace

bool SpellConstant(std::string* out, std::string_view text, bool in_mask) {
  return SpellAsReference(out, text, in_mask) || SpellText(out, text);
}
