// A bound may call a few of the built-ins. Types and counts are looked at in
// one place, with the signatures of builtins.def as a little language of one
// character per argument; so a function below is called with arguments that
// fit, and is nothing but its formula. It sets the result only when it
// succeeds.
#include "elut/compile/builtins.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "Cutil/codes.h"

namespace {

int Abs(McValue* arguments, McValue* result) {
  const McValue& value = arguments[0];
  if (value.type == McValueType::POINT) {
    const auto& [x, y, z] = value.point;
    *result = McValueReal(std::sqrt(x * x + y * y + z * z));
  } else if (value.type == McValueType::REAL) {
    *result = McValueReal(std::fabs(value.real));
  } else {
    *result = McValueInteger(value.integer);
    if (value.integer < 0) return McValueUnary(MC_NEGATE, result);
  }
  return RC_OK;
}

int Int(McValue* arguments, McValue* result) {
  const double whole = std::floor(arguments[0].real);
  const bool fits = whole >= INT32_MIN && whole <= INT32_MAX;
  *result = McValueInteger(fits ? static_cast<int32_t>(whole) : INT32_MIN);
  return RC_OK;
}

int CallMathLibrary(double (*function)(double), double x, McValue* result) {
  // Volatile, because g++ takes cos, sin and tan for functions that leave errno
  // alone and would not look at it again after the call.
  double (*volatile called)(double) = function;
  errno = 0;
  const double y = called(x);
  if (errno != 0) return RC_MATH_LIBRARY;
  *result = McValueReal(y);
  return RC_OK;
}

int Cos(McValue* arguments, McValue* result) {
  return CallMathLibrary(cos, arguments[0].real, result);
}

int Sin(McValue* arguments, McValue* result) {
  return CallMathLibrary(sin, arguments[0].real, result);
}

int Tan(McValue* arguments, McValue* result) {
  return CallMathLibrary(tan, arguments[0].real, result);
}

const char* Text(const McValue& value) {
  return UtTextChars(&value.text);
}

int Val(McValue* arguments, McValue* result) {
  double real;
  if (sscanf(Text(arguments[0]), "%lG", &real) != 1) return RC_BAD_ARGUMENT;
  *result = McValueReal(real);
  return RC_OK;
}

int Str(McValue* arguments, McValue* result) {
  char text[32];
  if (arguments[0].type == McValueType::INTEGER)
    snprintf(text, sizeof text, "%d", arguments[0].integer);
  else
    snprintf(text, sizeof text, "%G", arguments[0].real);
  return McValueString(result, text);
}

int Num(McValue* arguments, McValue* result) {
  *result = McValueInteger(static_cast<signed char>(*Text(arguments[0])));
  return RC_OK;
}

int Len(McValue* arguments, McValue* result) {
  const uint32_t length = UtTextLength(&arguments[0].text);
  *result = McValueInteger(static_cast<int32_t>(length));
  return RC_OK;
}

int Pos(McValue* arguments, McValue* result) {
  const char* text = Text(arguments[0]);
  const char* found = strstr(text, Text(arguments[1]));
  const auto position = found == nullptr ? 0 : found - text + 1;
  *result = McValueInteger(static_cast<int32_t>(position));
  return RC_OK;
}

struct Builtin {
  const char* signature;
  int (*function)(McValue* arguments, McValue* result);
};

constexpr Builtin BUILTINS[] = {
#define MC_BUILTIN(name, signature, function) {signature, function},
#include "elut/syntax/builtins.def"
#undef MC_BUILTIN
};

int FitType(bool fits) {
  return fits ? RC_OK : RC_BAD_ARGUMENT;
}

int FitArgument(McMath* math, char wanted, McValue* argument) {
  const McValueType type = argument->type;
  const bool integer = type == McValueType::INTEGER;
  const bool real = type == McValueType::REAL;
  switch (wanted) {
    case 'A':
    case '.': return RC_OK;
    case 'I': return FitType(integer);
    case 'R': return FitType(real);
    case 'N': return FitType(integer || real);
    case 'M': return FitType(integer || real || type == McValueType::POINT);
    case 'S':
    case 's': return McValueConvert(math, McValueType::STRING, argument);
    case 'i': return McValueConvert(math, McValueType::INTEGER, argument);
    case 'r': return McValueConvert(math, McValueType::REAL, argument);
  }
  return RC_BAD_STORAGE;
}

}  // namespace

int McFuncArguments(McMath* math, const char* signature, uint32_t count,
                    McValue* arguments) {
  const char* wanted = signature;
  uint32_t fitted = 0;
  bool optional = false;
  for (; *wanted != '\0' && fitted < count; wanted++, fitted++) {
    const int code = FitArgument(math, *wanted, &arguments[fitted]);
    if (code != RC_OK) return code;
    optional |= *wanted == '.';
  }
  if (fitted < count) return RC_BAD_ARGUMENT;
  return FitType(*wanted == '\0' || *wanted == '.' || optional);
}

int McFuncCall(McMath* math, unsigned function, uint32_t count,
               McValue* arguments, McValue* result) {
  *result = McValue();
  if (function >= MC_BUILTIN_COUNT) return RC_BAD_FUNCTION;
  const Builtin& builtin = BUILTINS[function];
  if (builtin.function == nullptr) return RC_BAD_FUNCTION;
  const int code = McFuncArguments(math, builtin.signature, count, arguments);
  return code == RC_OK ? builtin.function(arguments, result) : code;
}
