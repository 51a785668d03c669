// Values as text, so that tests of evaluation read and compare lines:
//     7   2.5   1e300   inf   nan   'abc'   (1,2,3)   void
// A REAL always shows a point, an exponent or letters; no form has blanks.
#pragma once

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "elut/model/value.h"

// The caller releases the value.
inline McValue ValueFromText(const std::string& text) {
  McValue value = McValueNone();
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
  if (value.type == McValueType::VOID) return "void";
  if (value.type == McValueType::INTEGER) return std::to_string(value.integer);
  if (value.type == McValueType::STRING)
    return "'" + std::string(UtTextChars(&value.text)) + "'";
  if (value.type == McValueType::POINT)
    return "(" + NumberText(point.x) + "," + NumberText(point.y) + "," +
           NumberText(point.z) + ")";
  const std::string text = NumberText(value.real);
  return text + (text.find_first_of(".ein") == text.npos ? ".0" : "");
}

inline std::vector<std::string> SplitAtBlanks(const std::string& row) {
  std::istringstream words(row);
  std::vector<std::string> found;
  for (std::string word; std::getline(words, word, ' ');) found.push_back(word);
  return found;
}

// The outcome of an operation: the value, or the code, followed by what was
// printed on the standard error stream. Releases the value.
inline std::string OutcomeText(int code, McValue* value,
                               const std::string& printed) {
  const std::string text = code == 0 ? ValueText(*value) : std::to_string(code);
  McValueRelease(value);
  return printed.empty() ? text : text + " " + printed;
}
