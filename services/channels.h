// Output channels: everything the compiler prints goes to a numbered channel.
//
// There are four channels, 0 to 3. A channel is bound once, to a standard
// stream, to a call-back, or to another channel, together with the treatments
// that its texts get; whoever prints names only the number. A channel that is
// not bound swallows its texts. The driver binds
//
//   0  standard output        escapes            printed masks
//   1  standard error stream  escapes            reports and errors
//   2  standard output        escapes, newline   warnings
//
// and leaves 3 unbound. A text ends at its first zero byte.
//
// What goes to the standard output is collected there, and leaves before
// anything goes to the standard error stream, so that both interleave in the
// order of printing. A text, or a report of several parts, leaves for the
// standard error stream in one write: lines of processes that share it do not
// tear each other apart.
//
// A run has a table of channels of its own and passes it to who prints.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

enum ChannelKind : uint32_t {
  CHANNEL_UNBOUND = 0,
  CHANNEL_STDOUT = 1,
  CHANNEL_STDERR = 2,
  CHANNEL_CALLBACK = 4,
  CHANNEL_REDIRECT = 5,
};

// Treatments of a text, combined with "|". They are applied in this order.
enum ChannelFlags : uint32_t {
  CHANNEL_ADD_NEWLINE = 4,
  CHANNEL_STRIP_NEWLINE = 1,     // a final newline is removed
  CHANNEL_NEWLINE_TO_BLANK = 8,  // a final newline becomes a blank
  CHANNEL_ESCAPES = 2,           // \n is a newline, \101 is A
};

// Numbers of the channels, by what the compiler prints on them.
enum ChannelNumber : unsigned {
  CHANNEL_MASKS = 0,
  CHANNEL_REPORTS = 1,
  CHANNEL_WARNINGS = 2,
};
inline constexpr unsigned CHANNEL_COUNT = 4;

// Receives the treated text; its result is the result of the print.
using ChannelCallback = int (*)(const char* text, void* user_data);

class Channels {
 public:
  Channels() = default;
  Channels(const Channels&) = delete;
  Channels& operator=(const Channels&) = delete;

  // Binds the channels as the driver does.
  void bind_standard();

  // Bind a channel to a standard stream (CHANNEL_STDOUT or CHANNEL_STDERR), to
  // a call-back, or to another channel. Return 0; RC_CHANNEL_BOUND when the
  // channel has a binding, which then stays; RC_INVALID for a channel above 3,
  // another kind or no call-back. The target of a redirection is looked at when
  // something is printed.
  [[nodiscard]] int bind(unsigned channel, uint32_t kind, uint32_t flags);
  [[nodiscard]] int bind_callback(unsigned channel, uint32_t flags,
                                  ChannelCallback callback, void* user_data);
  [[nodiscard]] int bind_target(unsigned channel, uint32_t flags,
                                unsigned target);

  // Formats like printf, treats the text and sends it off. An empty text is not
  // sent, and a channel above 3 prints nothing. Returns 0; what the call-back
  // returned; RC_BAD_REDIRECTION when redirections loop or leave the table, and
  // RC_NO_MEMORY when a text of more than 2047 characters finds no memory:
  // nothing is printed then.
  int print(unsigned channel, const char* format, ...)
      __attribute__((format(printf, 3, 4)));
  int print_v(unsigned channel, const char* format, va_list arguments)
      __attribute__((format(printf, 3, 0)));

  // Sends texts off together. Each is treated as if it were printed alone.
  int print_parts(unsigned channel, const std::string_view* texts,
                  size_t count);

  // Standard output and standard error stream past the channels: untreated.
  void out(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void out_character(char c);
  void error(const char* format, ...) __attribute__((format(printf, 2, 3)));

 private:
  static constexpr unsigned NO_TARGET = 0xFFFF;
  struct Channel {
    uint32_t kind = CHANNEL_UNBOUND;
    uint32_t flags = 0;
    unsigned target = NO_TARGET;  // of a redirection
    ChannelCallback callback = nullptr;
    void* user_data = nullptr;
  };
  struct Text;

  int bind(unsigned channel, const Channel& binding);
  static void treat(Text* text, uint32_t flags);
  int treat_on_the_way(Text* text, const Channel** last) const;
  static int send(const Channel& channel, const Text& text);

  Channel channels_[CHANNEL_COUNT];
};
