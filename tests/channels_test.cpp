#include "services/channels.h"

#include <gtest/gtest.h>

#include "rows.h"
#include "stream_catch.h"

namespace {

// Channels of which number 3 takes down what reaches it, and answers 41.
struct Recorded : Channels {
  explicit Recorded(uint32_t flags) {
    const auto take = [](const char* text, void* to) {
      *static_cast<std::string*>(to) += text;
      return 41;
    };
    EXPECT_EQ(0, bind_callback(3, flags, take, &taken));
  }
  std::string taken;
};

TEST(Channels, TreatTexts) {
  // Flags: 4 appends a newline, 1 removes one, 8 makes one a blank; 2: escapes,
  // which come last.
  constexpr char ROWS[] = R"(
    0 | a\n^J | a\n^J ;; 4 | a^J | a^J^J ;; 1 | a^J^J | a^J ;; 1 | a | a
    8 | a^J^J | a^J{{20}} ;; 13 | a^J | a{{20}} ;; 3 | a\n | a^J
    2 | \101\n\x\ | A^J\x\ ;; 2 | \\n | \\n
    // A fourth digit; 8 and 9 end the number; a zero byte ends the text.
    2 | \1012 | \1012 ;; 2 | \1018\1019\101a | \1018\1019Aa
    2 | \10.\377\401 | \10.{{FF}}^A ;; 2 | \389.\118. | ^C.^I.
    2 | \778.\078. | ?.^G. ;; 2 | a\000b | a ;; 2 | a\900b | a)";
  for (const auto& [flags, text, treated] : Rows<3>(ROWS)) {
    Recorded channels(static_cast<uint32_t>(stoul(flags)));
    EXPECT_EQ(41, channels.print(3, "%s", text.c_str()));
    EXPECT_EQ(treated, channels.taken) << flags << " " << text;
  }
}

// Each part of a report is treated by itself; all of it arrives at once.
TEST(Channels, PrintParts) {
  for (const size_t length : {1u, 2045u, 2046u, 2047u, 2048u, 5000u}) {
    Recorded channels(CHANNEL_ADD_NEWLINE | CHANNEL_ESCAPES);
    const std::string text(length, 'x');
    const std::string_view parts[] = {text, "", "\\n", {"b\0c", 3}};
    EXPECT_EQ(41, channels.print_parts(3, parts, 4));
    EXPECT_EQ(text + "\n\n\nb\n", channels.taken) << length;
    channels.taken.clear();
    EXPECT_EQ(41, channels.print(3, "%s", text.c_str()));
    EXPECT_EQ(text + "\n", channels.taken) << length;
  }
  Recorded channels(0);
  EXPECT_EQ(0, channels.print(3, "%s", ""));
  EXPECT_EQ(0, channels.print(4, "a"));
  EXPECT_EQ("", channels.taken);
}

TEST(Channels, Redirect) {
  // Where channels 0, 1 and 2 go, and the result of printing on channel 0: 41
  // when channel 3 was reached. One that is unbound ends the way.
  constexpr char ROWS[] =
      "3|41\n 1 2 3|41\n 1|0\n 1 0|1015\n 1 2 1|1015\n 4|1015\n 65539|1015";
  for (const auto& [targets, code] : Rows<2>(ROWS)) {
    Recorded channels(0);
    unsigned from = 0, to;
    for (std::istringstream all(targets); all >> to;)
      EXPECT_EQ(0, channels.bind_target(from++, CHANNEL_ADD_NEWLINE, to));
    EXPECT_EQ(stoi(code), channels.print(0, "abc")) << targets;
    EXPECT_EQ(code == "41" ? "abc" + std::string(from, '\n') : "",
              channels.taken);
  }
}

TEST(Channels, Bind) {
  Recorded channels(0);
  EXPECT_EQ(3009, channels.bind(3, CHANNEL_STDOUT, 0));
  EXPECT_EQ(3011, channels.bind(4, CHANNEL_STDOUT, 0));
  EXPECT_EQ(3011, channels.bind(0, CHANNEL_UNBOUND, 0));
  EXPECT_EQ(3011, channels.bind(0, CHANNEL_REDIRECT, 0));
  EXPECT_EQ(3011, channels.bind_callback(0, 0, nullptr, nullptr));
  EXPECT_EQ(0, channels.bind(0, CHANNEL_STDERR, 0));
  const StreamCatch out(stdout), err(stderr);
  channels.print(0, "a");
  channels.print(1, "b");
  Channels standard;
  standard.bind_standard();
  for (const unsigned channel : {2u, 1u, 0u, 3u})
    standard.print(channel, "\\n%u.", channel);
  EXPECT_EQ("\n2.\n\n0.", out.text());
  EXPECT_EQ("a\n1.", err.text());
}

}  // namespace
