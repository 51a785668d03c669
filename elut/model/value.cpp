#include "elut/model/value.h"

#include "Cutil/codes.h"

McValue McValueNone() {
  McValue value = {};
  value.type = McValueType::VOID;
  return value;
}

McValue McValueInteger(int32_t integer) {
  McValue value = McValueNone();
  value.type = McValueType::INTEGER;
  value.integer = integer;
  return value;
}

McValue McValueReal(double real) {
  McValue value = McValueNone();
  value.type = McValueType::REAL;
  value.real = real;
  return value;
}

int McValueString(McValue* value, const char* text) {
  *value = McValueNone();
  UtText copy;
  UtTextInit(&copy);
  if (const int code = UtTextAssign(&copy, text)) return code;
  value->type = McValueType::STRING;
  value->text = copy;
  return RC_OK;
}

void McValueRelease(McValue* value) {
  if (value->type == McValueType::STRING) UtTextRelease(&value->text);
  *value = McValueNone();
}
