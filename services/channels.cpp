#include "services/channels.h"

#include <algorithm>
#include <cstring>

#include "Cutil/codes.h"
#include "Cutil/ut_memory.h"

// A text is treated in place, in the buffer it was formatted into. Treatments
// only shorten it, except for the newline that each channel on its way may
// append; the buffer has that much room behind the text. Nearly all texts are
// short and never leave the stack.

namespace {

constexpr unsigned NO_TARGET = 0xFFFF;
constexpr size_t STACK_BYTES = 2048;
constexpr size_t NEWLINE_ROOM = CHANNEL_COUNT;

struct Channel {
  uint32_t kind = CHANNEL_UNBOUND;
  uint32_t flags = 0;
  unsigned target = NO_TARGET;  // of a redirection
  FILE* stream = nullptr;
  ChannelCallback callback = nullptr;
  void* user_data = nullptr;
};

struct ChannelState {
  Channel channels[CHANNEL_COUNT];
} state;

struct Text {
  char* bytes;
  size_t length;
};

int Bind(unsigned channel, const Channel& binding) {
  if (channel >= CHANNEL_COUNT) return RC_INVALID;
  if (state.channels[channel].kind != CHANNEL_UNBOUND) return RC_CHANNEL_BOUND;
  state.channels[channel] = binding;
  return RC_OK;
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Three digits and no fourth.
bool IsCode(const char* text) {
  return IsDigit(text[0]) && IsDigit(text[1]) && IsDigit(text[2]) &&
         !IsDigit(text[3]);
}

// Reads up to three octal digits; an 8 or 9 ends the number.
char OctalCode(const char* digits) {
  unsigned code = 0;
  for (int i = 0; i < 3 && digits[i] < '8'; i++)
    code = code * 8 + static_cast<unsigned>(digits[i] - '0');
  return static_cast<char>(code);
}

void ReplaceEscapes(Text* text) {
  text->bytes[text->length] = '\0';
  const char* from = strchr(text->bytes, '\\');
  if (from == nullptr) return;
  char* to = text->bytes + (from - text->bytes);
  while (*from != '\0') {
    if (from[0] != '\\') {
      *to++ = *from++;
    } else if (from[1] == 'n') {
      *to++ = '\n';
      from += 2;
    } else if (IsCode(from + 1)) {
      *to = OctalCode(from + 1);
      if (*to == '\0') break;  // a zero byte ends the text
      to++;
      from += 4;
    } else {
      *to++ = *from++;
      if (*from != '\0') *to++ = *from++;
    }
  }
  text->length = static_cast<size_t>(to - text->bytes);
}

void Treat(Text* text, uint32_t flags) {
  if (flags & CHANNEL_ADD_NEWLINE) text->bytes[text->length++] = '\n';
  const auto ends_line = [&] {
    return text->length > 0 && text->bytes[text->length - 1] == '\n';
  };
  if ((flags & CHANNEL_STRIP_NEWLINE) && ends_line()) text->length--;
  if ((flags & CHANNEL_NEWLINE_TO_BLANK) && ends_line())
    text->bytes[text->length - 1] = ' ';
  if (flags & CHANNEL_ESCAPES) ReplaceEscapes(text);
}

int Send(const Channel& channel, Text text) {
  switch (channel.kind) {
    case CHANNEL_STDOUT:
    case CHANNEL_STDERR:
      fwrite(text.bytes, 1, text.length, channel.stream);
      fflush(channel.stream);
      return RC_OK;
    case CHANNEL_CALLBACK:
      text.bytes[text.length] = '\0';
      return channel.callback(text.bytes, channel.user_data);
  }
  return RC_OK;
}

// Treats the text for every channel on its way and sends it to the last one.
int Forward(unsigned first, Text text) {
  const Channel* channel = &state.channels[first];
  for (unsigned hops = 1; channel->kind == CHANNEL_REDIRECT; hops++) {
    if (channel->target >= CHANNEL_COUNT || hops == CHANNEL_COUNT)
      return RC_BAD_REDIRECTION;
    Treat(&text, channel->flags);
    channel = &state.channels[channel->target];
  }
  Treat(&text, channel->flags);
  return Send(*channel, text);
}

}  // namespace

void ChannelReset() {
  state = {};
}

int ChannelBind(unsigned channel, uint32_t kind, uint32_t flags) {
  if (kind != CHANNEL_STDOUT && kind != CHANNEL_STDERR) return RC_INVALID;
  return Bind(channel, {.kind = kind,
                        .flags = flags,
                        .stream = kind == CHANNEL_STDOUT ? stdout : stderr});
}

int ChannelBindCallback(unsigned channel, uint32_t flags,
                        ChannelCallback callback, void* user_data) {
  if (callback == nullptr) return RC_INVALID;
  return Bind(channel, {.kind = CHANNEL_CALLBACK,
                        .flags = flags,
                        .callback = callback,
                        .user_data = user_data});
}

int ChannelBindTarget(unsigned channel, uint32_t flags, unsigned target) {
  return Bind(channel, {.kind = CHANNEL_REDIRECT,
                        .flags = flags,
                        .target = std::min(target, NO_TARGET)});
}

int ChannelPrint(unsigned channel, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int code = ChannelPrintV(channel, format, arguments);
  va_end(arguments);
  return code;
}

int ChannelPrintV(unsigned channel, const char* format, va_list arguments) {
  if (channel >= CHANNEL_COUNT) return RC_OK;
  char buffer[STACK_BYTES + NEWLINE_ROOM];
  va_list again;
  va_copy(again, arguments);
  const int written = vsnprintf(buffer, STACK_BYTES, format, arguments);
  int code = RC_OK;
  if (written > 0 && static_cast<size_t>(written) < STACK_BYTES) {
    const size_t length = strlen(buffer);
    if (length > 0) code = Forward(channel, {buffer, length});
  } else if (written > 0) {
    const size_t bytes = static_cast<size_t>(written) + 1;
    char* block = static_cast<char*>(UtAllocBytes(bytes + NEWLINE_ROOM));
    if (block == nullptr) {
      code = RC_NO_MEMORY;
    } else {
      vsnprintf(block, bytes, format, again);
      const size_t length = strlen(block);
      if (length > 0) code = Forward(channel, {block, length});
      UtFreeBlock(block);
    }
  }
  va_end(again);
  return code;
}

void PrintOut(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vprintf(format, arguments);
  va_end(arguments);
}

void PrintTo(FILE* stream, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vfprintf(stream, format, arguments);
  va_end(arguments);
}

int PrintBuffer(char* buffer, size_t size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int wanted = vsnprintf(buffer, size, format, arguments);
  va_end(arguments);
  if (wanted < 0) return -1;
  if (size == 0) return 0;
  return static_cast<int>(std::min(static_cast<size_t>(wanted), size - 1));
}
