#include "util/XD_main.h"

#include <gtest/gtest.h>

#include "xd_support.h"

namespace {

constexpr XdTransport BOTH[] = {XD_TRANSPORT_PLAIN, XD_TRANSPORT_XDR};

// Writes an item as `hex` and reads that again; cut at any length, it fails.
void ExpectItem(XdTransport transport, std::string_view hex, auto write,
                auto read) {
  EXPECT_EQ(ToHex(XdWritten(transport, write)), hex) << transport;
  const std::string bytes = FromHex(hex);
  for (size_t length = 0; length <= bytes.size(); ++length)
    EXPECT_EQ(XdReadFrom(transport, {bytes.data(), length}, read),
              length == bytes.size() ? 0 : XD_FAILED)
        << transport << ": " << hex << length;
}

template <class T>
void ExpectScalar(bool (*primitive)(XdStream*, T*), T value,
                  std::string_view plain, std::string_view xdr) {
  for (const XdTransport transport : BOTH) {
    T read = {};
    ExpectItem(
        transport, transport == XD_TRANSPORT_XDR ? xdr : plain,
        [&](XdStream* xd) { return primitive(xd, &value); },
        [&](XdStream* xd) { return primitive(xd, &read); });
    EXPECT_EQ(memcmp(&read, &value, sizeof value), 0) << plain;
  }
}

TEST(XdMain, Scalars) {
  ExpectScalar<uint8_t>(XdUChar, 255, "FF", "00 00 00 FF");
  ExpectScalar<int8_t>(XdChar, -2, "FE", "FF FF FF FE");
  ExpectScalar<uint16_t>(XdUShort, 0x8001, "80 01", "00 00 80 01");
  ExpectScalar<int16_t>(XdShort, -266, "FE F6", "FF FF FE F6");
  ExpectScalar<uint32_t>(XdULong, 0x89ABCDEF, "89 AB CD EF", "89 AB CD EF");
  ExpectScalar<float>(XdFloat, -1.5F, "BF C0 00 00", "BF C0 00 00");
  ExpectScalar<double>(XdDouble, 0.1, "3F B9 99 99 99 99 99 9A",
                       "3F B9 99 99 99 99 99 9A");
}

// More than two buffers; 15 bytes each in plain, so that every kind of item
// meets the end of a buffer. Reading, it compares.
bool TransferItems(XdStream* xd) {
  for (uint32_t i = 1; i <= 10000; ++i) {
    const uint32_t seed = xd->direction == XD_ENCODE ? i : 0;
    auto byte = static_cast<uint8_t>(seed);
    auto half = static_cast<uint16_t>(seed * 7);
    uint32_t word = seed * 70001;
    double real = seed / 3.0;
    if (!XdUChar(xd, &byte) || !XdUShort(xd, &half) || !XdULong(xd, &word) ||
        !XdDouble(xd, &real) || byte != static_cast<uint8_t>(i) ||
        half != static_cast<uint16_t>(i * 7) || word != i * 70001 ||
        real != i / 3.0)
      return false;
  }
  return true;
}

TEST(XdMain, ItemsCrossBuffers) {
  for (const XdTransport transport : BOTH) {
    const std::string bytes = XdWritten(transport, TransferItems);
    EXPECT_EQ(XdReadFrom(transport, bytes, TransferItems), 0);
  }
}

TEST(XdMain, Texts) {
  constexpr struct {
    const char *text, *plain, *xdr;
  } TEXTS[] = {
      {nullptr, "FF FF FF FF", "FF FF FF FF"},
      {"", "00 00 00 00", "00 00 00 00"},
      {"ab", "00 00 00 02 61 62", "00 00 00 02 00 00 00 02 61 62 00 00"},
      {"abcd", "00 00 00 04 61 62 63 64",
       "00 00 00 04 00 00 00 04 61 62 63 64"},
  };
  for (const XdTransport transport : BOTH)
    for (const auto& row : TEXTS) {
      const char* text = row.text;
      UtArena arena;
      const auto item = [&](XdStream* xd) { return XdText(xd, &arena, &text); };
      ExpectItem(transport, transport == XD_TRANSPORT_XDR ? row.xdr : row.plain,
                 item, item);
      EXPECT_STREQ(text, row.text);
    }
}

// Names are copied in one step where they stand and end suitably. What is
// behind a text must not show, wherever the end of the buffer meets it.
TEST(XdMain, TextsOfAnyLengthAndPlace) {
  alignas(32) char place[96];
  for (const XdTransport transport : BOTH) {
    std::string expected;
    const std::string written = XdWritten(transport, [&](XdStream* xd) {
      for (size_t i = 0; i < 20000; i++) {
        const size_t length = i % 41, from = i % 3 == 0 ? i % 33 : 0;
        memset(place, 'x', sizeof place);
        memset(place + from, static_cast<int>('a' + i % 23), length);
        place[from + length] = '\0';
        const char* text = place + from;
        if (!XdText(xd, nullptr, &text)) return false;
        const std::string count = {0, 0, 0, static_cast<char>(length)};
        expected += count;
        if (transport == XD_TRANSPORT_XDR && length > 0) expected += count;
        expected += text;
        if (transport == XD_TRANSPORT_XDR)
          expected.append((0 - length) % 4, '\0');
      }
      return true;
    });
    EXPECT_EQ(expected, written);
  }
}

TEST(XdMain, RefusedTexts) {
  // Transport, requests for memory until the text is refused, bytes: longer
  // than the file; with zero bytes; with two lengths that differ; filled up
  // with something.
  constexpr char ROWS[] = R"(
    4 | 0 | 00 00 00 03 61 62 ;; 1 | 0 | FF FF FF FE 00 00 00 02 61 62 00 00
    4 | 1 | 00 00 00 02 61 00 ;; 1 | 1 | 00 00 00 02 00 00 00 01 61 00 00 00
    1 | 1 | 00 00 00 02 FF FF FF FF 61 62 63 00
    1 | 1 | 00 00 00 02 00 00 00 02 61 62 00 01
    1 | 1 | 00 00 00 02 00 00 00 02 61 62 01 00)";
  for (const auto& [transport, requests, hex] : Rows<3>(ROWS)) {
    char* text = nullptr;
    UtFailAllocation(2);  // what is pending tells how many there were
    const auto left =
        XdReadFrom(XdTransport(stoi(transport)), FromHex(hex),
                   [&](XdStream* xd) { return XdString(xd, &text); });
    EXPECT_EQ(UtPendingFault(), 2 - stoul(requests)) << hex;
    EXPECT_TRUE(left == XD_FAILED && text == nullptr) << hex;
    UtFailAllocation(0);
  }
}

TEST(XdMain, TextsInBuffers) {
  for (const size_t length : {0U, 31U, 32U, 40U}) {
    std::string source(length, 'n');
    const std::string bytes = XdWritten(XD_TRANSPORT_XDR, [&](XdStream* xd) {
      return XdStringBuf(xd, source.data(), 40);
    });
    EXPECT_EQ(bytes == "failed", length == 40);
    char buffer[32] = "?";
    const auto left = XdReadFrom(XD_TRANSPORT_XDR, bytes, [&](XdStream* xd) {
      return XdStringBuf(xd, buffer, sizeof buffer);
    });
    EXPECT_EQ(left, length < 32 ? 0 : XD_FAILED);
    EXPECT_EQ(buffer, length < 32 ? source : "?");
  }
}

// A block is made when there is none, and must be large enough when there is.
TEST(XdMain, Blocks) {
  for (const XdTransport transport : BOTH)
    for (const uint32_t length : {0u, 1u, 7u, 8u}) {
      char written[] = "abcdefgh";
      char* block = written;
      uint32_t left = length, capacity = 8;
      const std::string bytes = XdWritten(transport, [&](XdStream* xd) {
        return XdBytes(xd, &block, &left, &capacity);
      });
      for (const bool own : {false, true}) {
        char room[7] = {};
        block = own ? nullptr : room;
        capacity = own ? 0 : sizeof room;
        const int64_t rest = XdReadFrom(transport, bytes, [&](XdStream* xd) {
          return XdBytes(xd, &block, &left, &capacity);
        });
        EXPECT_EQ(own || length < 8 ? 0 : XD_FAILED, rest);
        EXPECT_EQ(length, left);
        EXPECT_EQ(own ? length : sizeof room, capacity);
        if (rest == 0 && length > 0) {
          EXPECT_EQ(std::string(written, length), std::string(block, length));
        }
        if (own) UtFree(&block);
      }
    }
}

// Releasing frees what a text owns and touches nothing else.
TEST(XdMain, Releases) {
  XdStream xd;
  XdCreateRelease(&xd);
  char* text = static_cast<char*>(UtAllocBytes(2));
  const char* hanging = "a";
  char buffer[] = "b";
  char* block = buffer;
  uint32_t word = 7, capacity = 8;
  uint16_t half = 9;
  uint8_t byte = 10;
  double real = 1.5;
  EXPECT_TRUE(XdString(&xd, &text) && XdText(&xd, nullptr, &hanging) &&
              XdStringBuf(&xd, buffer, 2) &&
              XdBytes(&xd, &block, &word, &capacity) && XdULong(&xd, &word) &&
              XdUShort(&xd, &half) && XdUChar(&xd, &byte) &&
              XdDouble(&xd, &real) && XdDestroy(&xd));
  EXPECT_EQ(nullptr, text);
  EXPECT_EQ(nullptr, hanging);
  EXPECT_EQ(buffer, block);
  EXPECT_STREQ("b", buffer);
  EXPECT_EQ(7 + 8 + 9 + 10 + 1.5, word + capacity + half + byte + real);
}

// A narrow item of XDR that is too wide would be another when written again.
TEST(XdMain, RefusedNumbers) {
  // What takes a word: u8, i8, u16 and i16.
  constexpr char ROWS[] = R"(
    000000FF | 1011 ;; 00000100 | 0011 ;; 00000080 | 1011 ;; FFFFFF80 | 0101
    FFFFFF7F | 0001 ;; 0000FFFF | 0010 ;; 00010000 | 0000 ;; 00008000 | 0010
    FFFF8000 | 0001 ;; FFFF7FFF | 0000)";
  for (const auto& [word, expected] : Rows<2>(ROWS)) {
    std::string taken;
    const auto take = [&](auto primitive, auto value) {
      const auto item = [&](XdStream* xd) { return primitive(xd, &value); };
      taken +=
          XdReadFrom(XD_TRANSPORT_XDR, FromHex(word), item) == 0 ? '1' : '0';
    };
    take(XdUChar, uint8_t{});
    take(XdChar, int8_t{});
    take(XdUShort, uint16_t{});
    take(XdShort, int16_t{});
    EXPECT_EQ(expected, taken) << word;
  }
}

// A stream that reads tells where in the file it failed first, and why.
TEST(XdMain, Failures) {
  XdStream xd;
  XdCreatePlain(&xd, std::string_view("\0\0\0\7abc", 7), 100);
  char* text;
  EXPECT_FALSE(XdString(&xd, &text));
  EXPECT_STREQ("a count of more than the file holds", xd.failed);
  EXPECT_EQ(104u, xd.failed_at);
  uint32_t word;
  EXPECT_FALSE(XdULong(&xd, &word));
  EXPECT_EQ(104u, xd.failed_at);
}

}  // namespace
