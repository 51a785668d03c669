// Makers of values. A text may be as long as memory allows, and its copy is the
// only one of them that can fail.
#include "elut/model/value.h"

#include <cstring>
#include <utility>

#include "Cutil/codes.h"

McValue McValueInteger(int32_t integer) {
  McValue value;
  value.type = McValueType::INTEGER;
  value.integer = integer;
  return value;
}

McValue McValueReal(double real) {
  McValue value;
  value.type = McValueType::REAL;
  value.real = real;
  return value;
}

McValue McValuePoint(double x, double y, double z) {
  McValue value;
  value.type = McValueType::POINT;
  value.point = {x, y, z};
  return value;
}

int McValueString(McValue* value, const char* text) {
  if (strlen(text) > MC_LONGEST_TEXT) return RC_NO_MEMORY;
  McValue copy;
  copy.type = McValueType::STRING;
  if (const int code = UtTextAssign(&copy.text, text)) return code;
  *value = std::move(copy);
  return RC_OK;
}
