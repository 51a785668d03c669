// Values as text, so that tests of evaluation read and compare lines:
//     7   2.5   1e300   inf   nan   'abc'   (1,2,3)   void
// A REAL always shows a point, an exponent or letters; no form has blanks.
#pragma once

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "elut/model/value.h"

inline McValue ValueFromText(const std::string& text) {
  McValue value;
  if (text[0] == '\'') {
    if (McValueString(&value, text.substr(1, text.size() - 2).c_str())) abort();
  } else if (text[0] == '(') {
    value.type = McValueType::POINT;
    McPoint& to = value.point;
    sscanf(text.c_str(), "(%lf,%lf,%lf)", &to.x, &to.y, &to.z);
  } else if (text != "void") {
    char* end;
    const long integer = strtol(text.c_str(), &end, 10);
    value = *end == '\0' ? McValueInteger(static_cast<int32_t>(integer))
                         : McValueReal(strtod(text.c_str(), nullptr));
  }
  return value;
}

inline std::string NumberText(double number) {
  if (std::isnan(number)) return "nan";
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

inline std::string ValueText(const McValue& value) {
  const McPoint& point = value.point;
  switch (value.type) {
    case McValueType::VOID: return "void";
    case McValueType::INTEGER: return std::to_string(value.integer);
    case McValueType::STRING:
      return "'" + std::string(UtTextChars(&value.text)) + "'";
    case McValueType::POINT:
      return "(" + NumberText(point.x) + "," + NumberText(point.y) + "," +
             NumberText(point.z) + ")";
    case McValueType::REAL: break;
  }
  const std::string text = NumberText(value.real);
  return text + (text.find_first_of(".ein") == text.npos ? ".0" : "");
}

// The outcome of an operation: the value, or the code.
inline std::string OutcomeText(int code, const McValue& value) {
  return code == 0 ? ValueText(value) : std::to_string(code);
}
