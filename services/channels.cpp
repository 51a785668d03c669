// A text is treated in place, in the buffer it was formatted into. Treatments
// only shorten it, except for the newline that each channel on its way may
// append; the buffer has that much room behind the text. Nearly all texts are
// short and never leave the stack.
#include "services/channels.h"

#include <algorithm>
#include <cstring>

#include "Cutil/codes.h"
#include "Cutil/ut_chars.h"
#include "Cutil/ut_memory.h"

namespace {

constexpr size_t STACK_BYTES = 2048;
constexpr size_t NEWLINE_ROOM = CHANNEL_COUNT;

// Three digits and no fourth.
bool IsCode(const char* text) {
  return UtIsDigit(text[0]) && UtIsDigit(text[1]) && UtIsDigit(text[2]) &&
         !UtIsDigit(text[3]);
}

// Reads up to three octal digits; an 8 or 9 ends the number.
char OctalCode(const char* digits) {
  unsigned code = 0;
  for (int i = 0; i < 3 && UtIsOctal(digits[i]); i++)
    code = code * 8 + static_cast<unsigned>(digits[i] - '0');
  return static_cast<char>(code);
}

// Replaces the escapes of a text closed by a zero byte; returns its end.
char* ReplaceEscapes(char* text, char* end) {
  const char* from = strchr(text, '\\');
  if (from == nullptr) return end;
  char* to = text + (from - text);
  while (*from != '\0') {
    if (from[0] != '\\') {
      *to++ = *from++;
    } else if (from[1] == 'n') {
      *to++ = '\n';
      from += 2;
    } else if (IsCode(from + 1)) {
      *to = OctalCode(from + 1);
      if (*to == '\0') return to;  // a zero byte ends the text
      to++;
      from += 4;
    } else {
      *to++ = *from++;
      if (*from != '\0') *to++ = *from++;
    }
  }
  return to;
}

}  // namespace

struct Channels::Text {
  char* bytes;
  size_t length;
};

void Channels::treat(Text* text, uint32_t flags) {
  if (flags & CHANNEL_ADD_NEWLINE) text->bytes[text->length++] = '\n';
  const auto ends_line = [&] {
    return text->length > 0 && text->bytes[text->length - 1] == '\n';
  };
  if ((flags & CHANNEL_STRIP_NEWLINE) && ends_line()) text->length--;
  if ((flags & CHANNEL_NEWLINE_TO_BLANK) && ends_line())
    text->bytes[text->length - 1] = ' ';
  text->bytes[text->length] = '\0';
  if (flags & CHANNEL_ESCAPES) {
    const char* end = ReplaceEscapes(text->bytes, text->bytes + text->length);
    text->length = static_cast<size_t>(end - text->bytes);
    text->bytes[text->length] = '\0';
  }
}

// Treats the text for every channel from `*last` on; `*last` becomes the one
// that it is sent to.
int Channels::treat_on_the_way(Text* text, const Channel** last) const {
  const Channel* channel = *last;
  for (unsigned hops = 1; channel->kind == CHANNEL_REDIRECT; hops++) {
    if (channel->target >= CHANNEL_COUNT || hops == CHANNEL_COUNT)
      return RC_BAD_REDIRECTION;
    treat(text, channel->flags);
    channel = &channels_[channel->target];
  }
  treat(text, channel->flags);
  *last = channel;
  return RC_OK;
}

int Channels::send(const Channel& channel, const Text& text) {
  switch (channel.kind) {
    case CHANNEL_STDOUT:
      fwrite(text.bytes, 1, text.length, stdout);
      return RC_OK;
    case CHANNEL_STDERR:
      fflush(stdout);
      // Not buffered: one write.
      fwrite(text.bytes, 1, text.length, stderr);
      return RC_OK;
    case CHANNEL_CALLBACK:
      return channel.callback(text.bytes, channel.user_data);
  }
  return RC_OK;
}

void Channels::bind_standard() {
  channels_[CHANNEL_MASKS] = {.kind = CHANNEL_STDOUT, .flags = CHANNEL_ESCAPES};
  channels_[CHANNEL_REPORTS] = {.kind = CHANNEL_STDERR,
                                .flags = CHANNEL_ESCAPES};
  channels_[CHANNEL_WARNINGS] = {
      .kind = CHANNEL_STDOUT, .flags = CHANNEL_ADD_NEWLINE | CHANNEL_ESCAPES};
}

int Channels::bind(unsigned channel, const Channel& binding) {
  if (channel >= CHANNEL_COUNT) return RC_INVALID;
  if (channels_[channel].kind != CHANNEL_UNBOUND) return RC_CHANNEL_BOUND;
  channels_[channel] = binding;
  return RC_OK;
}

int Channels::bind(unsigned channel, uint32_t kind, uint32_t flags) {
  if (kind != CHANNEL_STDOUT && kind != CHANNEL_STDERR) return RC_INVALID;
  return bind(channel, Channel{.kind = kind, .flags = flags});
}

int Channels::bind_callback(unsigned channel, uint32_t flags,
                            ChannelCallback callback, void* user_data) {
  if (callback == nullptr) return RC_INVALID;
  return bind(channel, Channel{.kind = CHANNEL_CALLBACK,
                               .flags = flags,
                               .callback = callback,
                               .user_data = user_data});
}

int Channels::bind_target(unsigned channel, uint32_t flags, unsigned target) {
  return bind(channel, Channel{.kind = CHANNEL_REDIRECT,
                               .flags = flags,
                               .target = std::min(target, NO_TARGET)});
}

int Channels::print(unsigned channel, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int code = print_v(channel, format, arguments);
  va_end(arguments);
  return code;
}

int Channels::print_v(unsigned channel, const char* format, va_list arguments) {
  if (channel >= CHANNEL_COUNT) return RC_OK;
  char buffer[STACK_BYTES];
  va_list again;
  va_copy(again, arguments);
  const int written = vsnprintf(buffer, STACK_BYTES, format, arguments);
  int code = RC_OK;
  if (written > 0 && static_cast<size_t>(written) < STACK_BYTES) {
    const std::string_view text = buffer;
    code = print_parts(channel, &text, 1);
  } else if (written > 0) {
    const size_t bytes = static_cast<size_t>(written) + 1;
    char* block = static_cast<char*>(UtAllocBytes(bytes));
    if (block == nullptr) {
      code = RC_NO_MEMORY;
    } else {
      vsnprintf(block, bytes, format, again);
      const std::string_view text = block;
      code = print_parts(channel, &text, 1);
      UtFreeBlock(block);
    }
  }
  va_end(again);
  return code;
}

int Channels::print_parts(unsigned channel, const std::string_view* texts,
                          size_t count) {
  if (channel >= CHANNEL_COUNT) return RC_OK;
  size_t room = 1;
  for (size_t i = 0; i < count; i++) room += texts[i].size() + NEWLINE_ROOM;
  char on_stack[STACK_BYTES + NEWLINE_ROOM + 1];
  char* buffer = on_stack;
  if (room > sizeof on_stack) buffer = static_cast<char*>(UtAllocBytes(room));
  if (buffer == nullptr) return RC_NO_MEMORY;
  // Each part is treated where the one before it has ended.
  Text all = {buffer, 0};
  const Channel* last = nullptr;
  int code = RC_OK;
  for (size_t i = 0; i < count && code == RC_OK; i++) {
    Text part = {all.bytes + all.length,
                 std::min(texts[i].size(), texts[i].find('\0'))};
    if (part.length == 0) continue;
    memcpy(part.bytes, texts[i].data(), part.length);
    last = &channels_[channel];
    code = treat_on_the_way(&part, &last);
    all.length += part.length;
  }
  if (code == RC_OK && last != nullptr) code = send(*last, all);
  if (buffer != on_stack) UtFreeBlock(buffer);
  return code;
}

void Channels::out(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vfprintf(stdout, format, arguments);
  va_end(arguments);
}

void Channels::out_character(char c) {
  putc(static_cast<unsigned char>(c), stdout);
}

void Channels::error(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  fflush(stdout);
  vfprintf(stderr, format, arguments);
  va_end(arguments);
}
