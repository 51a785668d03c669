// What an operator does depends on the types of both operands. They are sorted
// into pairings first, in which a number is an INTEGER or a REAL; then each
// operator handles the pairings that it knows, and yields VOID for the others.
#include "elut/compile/arithmetic.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <utility>

#include "Cutil/codes.h"
#include "elut/syntax/scanner.h"

namespace {

// An INTEGER as bits, whose arithmetic wraps.
uint32_t Bits(const McValue& value) {
  return static_cast<uint32_t>(value.integer);
}

McValue Wrapped(uint32_t bits) {
  return McValueInteger(static_cast<int32_t>(bits));
}

McValue NearestInteger(McMath* math, double real) {
  // Not a number: what the conversion instruction of the machine yields.
  if (std::isnan(real)) return McValueInteger(INT32_MIN);
  double nearest = std::floor(real + 0.5);
  if (nearest > INT32_MAX)
    nearest =
        McMathError(math, McMathFault::OVERFLOW, McMathSubject::INTEGER, real);
  if (nearest < INT32_MIN)
    nearest =
        McMathError(math, McMathFault::UNDERFLOW, McMathSubject::INTEGER, real);
  return McValueInteger(static_cast<int32_t>(nearest));
}

}  // namespace

int McValueConvert(McMath* math, McValueType type, McValue* value) {
  math->code = RC_OK;
  if (value->type == type) return RC_OK;
  if (value->type == McValueType::REAL && type == McValueType::INTEGER) {
    *value = NearestInteger(math, value->real);
    return math->code;
  }
  if (value->type == McValueType::INTEGER && type == McValueType::REAL) {
    *value = McValueReal(value->integer);
    return RC_OK;
  }
  return RC_BAD_CONVERSION;
}

namespace {

enum class Pairing : uint8_t {
  NONE,  // no operator is defined for these types
  INTEGERS,
  NUMBERS,  // at least one of them REAL
  NUMBER_POINT,
  POINT_NUMBER,
  POINTS,
  TEXTS,
  TEXT_INTEGER,
};

constexpr unsigned TYPE_COUNT = 5;
static_assert(std::size(MC_TYPE_NAMES) == TYPE_COUNT);

Pairing PairingOf(McValueType left, McValueType right) {
  using enum Pairing;
  static constexpr Pairing PAIRINGS[TYPE_COUNT][TYPE_COUNT] = {
      // VOID, INTEGER, REAL, STRING, POINT on the right
      {NONE, NONE, NONE, NONE, NONE},
      {NONE, INTEGERS, NUMBERS, NONE, NUMBER_POINT},
      {NONE, NUMBERS, NUMBERS, NONE, NUMBER_POINT},
      {NONE, TEXT_INTEGER, NONE, TEXTS, NONE},
      {NONE, POINT_NUMBER, POINT_NUMBER, NONE, POINTS},
  };
  const auto row = static_cast<unsigned>(left);
  const auto column = static_cast<unsigned>(right);
  if (row >= TYPE_COUNT || column >= TYPE_COUNT) return NONE;
  return PAIRINGS[row][column];
}

struct Operation {
  McMath* math;
  McValue* left;
  McValue* right;
  Pairing pairing;
  double a, b;       // operands that are numbers
  McPoint p, q;      // operands; a number stands for three coordinates
  int code = RC_OK;  // RC_NO_MEMORY when a text could not be made
};

double NumberOf(const McValue& value) {
  if (value.type == McValueType::INTEGER) return value.integer;
  return value.type == McValueType::REAL ? value.real : 0;
}

McPoint PointOf(const McValue& value) {
  if (value.type == McValueType::POINT) return value.point;
  const double number = NumberOf(value);
  return {number, number, number};
}

// The left text grows into the result, with room to spare, so that a long
// chain of additions copies each text a bounded number of times.
McValue Concatenated(Operation* on) {
  UtText* text = &on->left->text;
  const char* tail = UtTextChars(&on->right->text);
  UtTextTrackLength(text, true);
  const size_t length = size_t{text->length} + strlen(tail);
  if (length > MC_LONGEST_TEXT)
    on->code = RC_NO_MEMORY;
  else if (length >= text->capacity)
    on->code = UtTextReserve(text, length + length / 2);
  if (on->code == RC_OK) on->code = UtTextAppend(text, tail);
  if (on->code != RC_OK) return McValue();
  return std::move(*on->left);
}

McValue Add(Operation* on) {
  switch (on->pairing) {
    case Pairing::INTEGERS: return Wrapped(Bits(*on->left) + Bits(*on->right));
    case Pairing::NUMBERS: return McValueReal(on->a + on->b);
    case Pairing::NUMBER_POINT:
    case Pairing::POINT_NUMBER:
    case Pairing::POINTS:
      return McValuePoint(on->p.x + on->q.x, on->p.y + on->q.y,
                          on->p.z + on->q.z);
    case Pairing::TEXTS: return Concatenated(on);
    case Pairing::TEXT_INTEGER:
    case Pairing::NONE: break;
  }
  return McValue();
}

McValue Subtract(const Operation& on) {
  switch (on.pairing) {
    case Pairing::INTEGERS: return Wrapped(Bits(*on.left) - Bits(*on.right));
    case Pairing::NUMBERS: return McValueReal(on.a - on.b);
    case Pairing::NUMBER_POINT:
    case Pairing::POINT_NUMBER:
    case Pairing::POINTS:
      return McValuePoint(on.p.x - on.q.x, on.p.y - on.q.y, on.p.z - on.q.z);
    case Pairing::TEXTS:
    case Pairing::TEXT_INTEGER:
    case Pairing::NONE: break;
  }
  return McValue();
}

double DivisionFault(const Operation& on) {
  return McMathError(on.math, McMathFault::DOMAIN, McMathSubject::DIVISION,
                     on.a);
}

McValue CrossProduct(const McPoint& p, const McPoint& q) {
  return McValuePoint(p.y * q.z - p.z * q.y, p.z * q.x - p.x * q.z,
                      p.x * q.y - p.y * q.x);
}

McValue Divide(const Operation& on) {
  switch (on.pairing) {
    case Pairing::INTEGERS:
    case Pairing::NUMBERS:
      return McValueReal(on.b == 0 ? DivisionFault(on) : on.a / on.b);
    case Pairing::POINT_NUMBER: {
      if (on.b != 0)
        return McValuePoint(on.p.x / on.b, on.p.y / on.b, on.p.z / on.b);
      const double replacement = DivisionFault(on);
      return McValuePoint(replacement, replacement, replacement);
    }
    case Pairing::POINTS: return CrossProduct(on.p, on.q);
    case Pairing::NUMBER_POINT:
    case Pairing::TEXTS:
    case Pairing::TEXT_INTEGER:
    case Pairing::NONE: break;
  }
  return McValue();
}

McValue Repeated(Operation* on) {
  const UtText& piece = on->left->text;
  const size_t length = UtTextLength(&piece);
  const size_t times = static_cast<size_t>(std::max(on->right->integer, 0));
  const size_t wanted = length * times;
  McValue result;
  UtText text;
  on->code =
      wanted > MC_LONGEST_TEXT ? RC_NO_MEMORY : UtTextReserve(&text, wanted);
  if (on->code != RC_OK) return result;
  // What is there already is copied behind itself, doubling it each time.
  memcpy(text.text, UtTextChars(&piece), std::min(length, wanted));
  for (size_t done = length; done < wanted; done *= 2)
    memcpy(text.text + done, text.text, std::min(done, wanted - done));
  text.text[wanted] = '\0';
  result.type = McValueType::STRING;
  result.text = std::move(text);
  return result;
}

McValue Multiply(Operation* on) {
  const McPoint& p = on->p;
  const McPoint& q = on->q;
  switch (on->pairing) {
    case Pairing::INTEGERS: return Wrapped(Bits(*on->left) * Bits(*on->right));
    case Pairing::NUMBERS: return McValueReal(on->a * on->b);
    case Pairing::NUMBER_POINT:
    case Pairing::POINT_NUMBER:
      return McValuePoint(p.x * q.x, p.y * q.y, p.z * q.z);
    case Pairing::POINTS: return McValueReal(p.x * q.x + p.y * q.y + p.z * q.z);
    case Pairing::TEXT_INTEGER: return Repeated(on);
    case Pairing::TEXTS:
    case Pairing::NONE: break;
  }
  return McValue();
}

McValue Power(const Operation& on) {
  if (on.pairing == Pairing::INTEGERS)
    return NearestInteger(on.math, std::pow(on.a, on.b));
  if (on.pairing == Pairing::NUMBERS) return McValueReal(std::pow(on.a, on.b));
  return McValue();
}

// The quotient of the most negative INTEGER by -1 is none.
bool HasQuotient(int32_t dividend, int32_t divisor) {
  return divisor != 0 && !(dividend == INT32_MIN && divisor == -1);
}

McValue Modulo(const Operation& on) {
  if (on.pairing == Pairing::NUMBERS) return McValueReal(std::fmod(on.a, on.b));
  if (on.pairing != Pairing::INTEGERS) return McValue();
  if (HasQuotient(on.left->integer, on.right->integer))
    return McValueInteger(on.left->integer % on.right->integer);
  return McValueInteger(static_cast<int32_t>(DivisionFault(on)));
}

McValue WholeQuotient(const Operation& on) {
  if (on.pairing == Pairing::NUMBERS)
    return McValueReal(on.b == 0 ? DivisionFault(on) : std::floor(on.a / on.b));
  if (on.pairing != Pairing::INTEGERS) return McValue();
  if (HasQuotient(on.left->integer, on.right->integer))
    return McValueInteger(on.left->integer / on.right->integer);
  return McValueInteger(static_cast<int32_t>(DivisionFault(on)));
}

int CompareTexts(const Operation& on) {
  return strcmp(UtTextChars(&on.left->text), UtTextChars(&on.right->text));
}

// Neither less nor greater, so what is not a number equals everything.
bool Equal(double a, double b) {
  return !(a < b) && !(a > b);
}

// INTEGER 1 when the operands being equal is what was `wanted`, else 0.
McValue Equality(const Operation& on, bool wanted) {
  switch (on.pairing) {
    case Pairing::INTEGERS:
    case Pairing::NUMBERS: return McValueInteger(Equal(on.a, on.b) == wanted);
    case Pairing::POINTS: {
      const bool equal = Equal(on.p.x, on.q.x) && Equal(on.p.y, on.q.y) &&
                         Equal(on.p.z, on.q.z);
      return McValueInteger(equal == wanted);
    }
    case Pairing::TEXTS:
      return McValueInteger((CompareTexts(on) == 0) == wanted);
    case Pairing::NUMBER_POINT:
    case Pairing::POINT_NUMBER:
    case Pairing::TEXT_INTEGER:
    case Pairing::NONE: break;
  }
  return McValue();
}

template <class Holds>
McValue Order(const Operation& on, Holds holds) {
  if (on.pairing == Pairing::TEXTS)
    return McValueInteger(holds(CompareTexts(on), 0));
  if (on.pairing == Pairing::INTEGERS || on.pairing == Pairing::NUMBERS)
    return McValueInteger(holds(on.a, on.b));
  return McValue();
}

McValue Apply(uint8_t op, Operation* on) {
  switch (static_cast<McOperator>(op)) {
    case MC_ADD: return Add(on);
    case MC_SUBTRACT: return Subtract(*on);
    case MC_DIVIDE: return Divide(*on);
    case MC_MULTIPLY: return Multiply(on);
    case MC_POWER: return Power(*on);
    case MC_MOD: return Modulo(*on);
    case MC_DIV: return WholeQuotient(*on);
    case MC_EQUAL: return Equality(*on, true);
    case MC_NOT_EQUAL: return Equality(*on, false);
    case MC_GREATER: return Order(*on, std::greater());
    case MC_GREATER_EQUAL: return Order(*on, std::greater_equal());
    case MC_LESS: return Order(*on, std::less());
    case MC_LESS_EQUAL: return Order(*on, std::less_equal());
    case MC_AND:
    case MC_OR:
    case MC_RANGE: break;
  }
  return McValue();
}

}  // namespace

int McValueBinary(McMath* math, uint8_t op, McValue* left, McValue* right,
                  McValue* result) {
  math->code = RC_OK;
  Operation on = {
      .math = math,
      .left = left,
      .right = right,
      .pairing = PairingOf(left->type, right->type),
      .a = NumberOf(*left),
      .b = NumberOf(*right),
      .p = PointOf(*left),
      .q = PointOf(*right),
  };
  *result = Apply(op, &on);
  if (math->code != RC_OK) return math->code;
  if (on.code != RC_OK) return on.code;
  return result->type == McValueType::VOID ? RC_BAD_OPERATOR : RC_OK;
}

namespace {

void Negate(McValue* value) {
  switch (value->type) {
    case McValueType::INTEGER: *value = Wrapped(0 - Bits(*value)); break;
    case McValueType::REAL: value->real = -value->real; break;
    case McValueType::STRING:
      if (value->text.text == nullptr) break;
      std::reverse(value->text.text,
                   value->text.text + UtTextLength(&value->text));
      break;
    case McValueType::POINT:
      *value = McValuePoint(-value->point.x, -value->point.y, -value->point.z);
      break;
    case McValueType::VOID: break;
  }
}

bool HasType(const McValue& value) {
  return value.type != McValueType::VOID &&
         static_cast<unsigned>(value.type) < TYPE_COUNT;
}

}  // namespace

int McValueUnary(uint8_t op, McValue* value) {
  if (op == MC_VALUE) return RC_OK;
  if (!HasType(*value)) return RC_BAD_CONVERSION;
  if (op == MC_PLUS) return RC_OK;
  if (op != MC_NEGATE) return RC_BAD_UNARY;
  Negate(value);
  return RC_OK;
}

int McValueTruth(const McValue& value, int32_t* truth) {
  *truth = 0;
  switch (value.type) {
    case McValueType::INTEGER: *truth = value.integer != 0; return RC_OK;
    case McValueType::REAL:
      *truth = value.real < 0 || value.real > 0;
      return RC_OK;
    case McValueType::STRING:
      *truth = static_cast<int8_t>(*UtTextChars(&value.text));
      return RC_OK;
    case McValueType::POINT:
      *truth = value.point.x != 0 || value.point.y != 0 || value.point.z != 0;
      return RC_OK;
    case McValueType::VOID: break;
  }
  return RC_BAD_CONVERSION;
}

namespace {

struct Fault {
  McMathFault fault;
  const char* name;
  int code;
};
constexpr Fault FAULTS[] = {
    {McMathFault::DOMAIN, "DOMAIN", RC_DOMAIN},
    {McMathFault::SINGULARITY, "SINGULARITY", RC_SINGULARITY},
    {McMathFault::OVERFLOW, "OVERFLOW", RC_OVERFLOW},
    {McMathFault::UNDERFLOW, "UNDERFLOW", RC_UNDERFLOW},
    {McMathFault::TLOSS, "TLOSS", RC_TLOSS},
    {McMathFault::PLOSS, "PLOSS", RC_PLOSS},
    {McMathFault::TYPE_CAST, "TYPE CAST", RC_TYPE_CAST},
};

constexpr const char* SUBJECT_NAMES[] = {"INTEGER", "DIVISION",
                                         "FLOATINGPOINT"};

}  // namespace

double McMathError(McMath* math, McMathFault fault, McMathSubject subject,
                   double value) {
  for (const Fault& row : FAULTS) {
    if (row.fault != fault) continue;
    McReportText(math->reports, McReportKind::ARITHMETIC, "%s: %s ERROR\n",
                 SUBJECT_NAMES[static_cast<unsigned>(subject)], row.name);
    math->code = row.code;
  }
  if (subject == McMathSubject::DIVISION) return 0;
  if (subject != McMathSubject::INTEGER) return value;
  if (fault == McMathFault::OVERFLOW) return INT32_MAX;
  return fault == McMathFault::UNDERFLOW ? INT32_MIN : value;
}
