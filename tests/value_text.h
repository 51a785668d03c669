// Values as text, so that tests of evaluation read and compare lines:
//
//     7   2.5   1e300   inf   nan   'abc'   (1,2,3)   void
//
// A REAL always shows a point, an exponent or letters. There are no blanks in
// any of these forms, which lets a row hold several values between blanks.
#pragma once

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "elut/value.h"

// The caller releases the value.
inline McValue ValueFromText(const std::string& text) {
  McValue value = McValueNone();
  char* end;
  if (text[0] == '\'') {
    const std::string characters = text.substr(1, text.size() - 2);
    if (McValueString(&value, characters.c_str()) != 0) abort();
  } else if (text[0] == '(') {
    value.type = McValueType::POINT;
    value.point.x = strtod(text.c_str() + 1, &end);
    value.point.y = strtod(end + 1, &end);
    value.point.z = strtod(end + 1, &end);
  } else if (text != "void") {
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
    case McValueType::REAL: {
      const std::string text = NumberText(value.real);
      const bool integer = text.find_first_of(".ein") == std::string::npos;
      return integer ? text + ".0" : text;
    }
    case McValueType::STRING:
      return "'" + std::string(UtTextChars(&value.text)) + "'";
    case McValueType::POINT:
      return "(" + NumberText(point.x) + "," + NumberText(point.y) + "," +
             NumberText(point.z) + ")";
  }
  return "?";
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
