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
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>

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

constexpr unsigned CHANNEL_COUNT = 4;

// Receives the treated text; its result is the result of the print.
using ChannelCallback = int (*)(const char* text, void* user_data);

// Unbinds every channel.
void ChannelReset();

// Bind a channel to a standard stream (CHANNEL_STDOUT or CHANNEL_STDERR), to a
// call-back, or to another channel. Return 0; RC_CHANNEL_BOUND when the channel
// has a binding, which then stays; RC_INVALID for a channel above 3, another
// kind or no call-back. The target of a redirection is looked at when something
// is printed.
[[nodiscard]] int ChannelBind(unsigned channel, uint32_t kind, uint32_t flags);
[[nodiscard]] int ChannelBindCallback(unsigned channel, uint32_t flags,
                                      ChannelCallback callback,
                                      void* user_data);
[[nodiscard]] int ChannelBindTarget(unsigned channel, uint32_t flags,
                                    unsigned target);

// Formats like printf, treats the text and sends it off; a stream is flushed
// after each text, so that the two standard streams interleave in the order of
// printing. An empty text is not sent, and a channel above 3 prints nothing.
// Returns 0; what the call-back returned; RC_BAD_REDIRECTION when redirections
// loop or leave the table, and RC_NO_MEMORY when a text of more than 2047
// characters finds no memory: nothing is printed then.
int ChannelPrint(unsigned channel, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
int ChannelPrintV(unsigned channel, const char* format, va_list arguments)
    __attribute__((format(printf, 2, 0)));

// Formatted output past the channels: untreated and not flushed.
void PrintOut(const char* format, ...) __attribute__((format(printf, 1, 2)));
void PrintTo(FILE* stream, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// Formats into a buffer of `size` bytes, cutting a text that does not fit.
// Returns the number of characters in the buffer, -1 on a formatting error.
int PrintBuffer(char* buffer, size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
