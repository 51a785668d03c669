// The table of the header, as texts by number. The compiler itself uses the
// texts by their names, as formats that a compiler of C++ can check.
#include "trt/messages.h"

#include <cstdint>

namespace {

#define MESSAGE_POINTER(name, text) TEXT_##name,
constexpr const char* TEXTS[] = {MESSAGE_TABLE(MESSAGE_POINTER)};
#undef MESSAGE_POINTER

}  // namespace

const char* MessageText(unsigned number) {
  const auto index = static_cast<uint16_t>(number);
  return index < MSG_COUNT ? TEXTS[index] : nullptr;
}
