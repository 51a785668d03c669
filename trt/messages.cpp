#include "trt/messages.h"

#include <cstdarg>
#include <cstdint>

#include "services/channels.h"

namespace {

#define MESSAGE_POINTER(name, text) TEXT_##name,
constexpr const char* TEXTS[] = {MESSAGE_TABLE(MESSAGE_POINTER)};
#undef MESSAGE_POINTER

constexpr unsigned CHANNEL_WARNINGS = 2;

}  // namespace

const char* MessageText(unsigned number) {
  const auto index = static_cast<uint16_t>(number);
  return index < MSG_COUNT ? TEXTS[index] : nullptr;
}

// The number decides the arguments; the table's texts are the only formats.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
void MessagePrint(unsigned number, ...) {
  const char* text = MessageText(number);
  if (text == nullptr) return;
  va_list arguments;
  va_start(arguments, number);
  ChannelPrintV(CHANNEL_WARNINGS, text, arguments);
  va_end(arguments);
}
#pragma GCC diagnostic pop
