#include "util/XD_main.h"

#include <gtest/gtest.h>

#include "tests/xd_support.h"

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

struct TextCase {
  const char* text;
  std::string_view plain, xdr;
};
constexpr TextCase TEXTS[] = {
    {nullptr, "FF FF FF FF", "FF FF FF FF"},
    {"", "00 00 00 00", "00 00 00 00"},
    {"ab", "00 00 00 02 61 62", "00 00 00 02 00 00 00 02 61 62 00 00"},
    {"abcd", "00 00 00 04 61 62 63 64", "00 00 00 04 00 00 00 04 61 62 63 64"},
};

TEST(XdMain, Texts) {
  for (const XdTransport transport : BOTH)
    for (const TextCase& row : TEXTS) {
      const char* text = row.text;
      UtArena arena;
      const auto item = [&](XdStream* xd) { return XdText(xd, &arena, &text); };
      ExpectItem(transport, transport == XD_TRANSPORT_XDR ? row.xdr : row.plain,
                 item, item);
      EXPECT_STREQ(text, row.text);
    }
}

struct RefusedText {
  XdTransport transport;
  uint64_t requests;  // for memory, until the text is refused
  std::string_view bytes;
};
constexpr RefusedText REFUSED_TEXTS[] = {
    // Longer than the file; with zero bytes; with two lengths that differ.
    {XD_TRANSPORT_PLAIN, 0, "00 00 00 03 61 62"},
    {XD_TRANSPORT_XDR, 0, "FF FF FF FE 00 00 00 02 61 62 00 00"},
    {XD_TRANSPORT_PLAIN, 1, "00 00 00 02 61 00"},
    {XD_TRANSPORT_XDR, 1, "00 00 00 02 00 00 00 01 61 00 00 00"},
    {XD_TRANSPORT_XDR, 1, "00 00 00 02 FF FF FF FF 61 62 63 00"},
};

TEST(XdMain, RefusedTexts) {
  for (const auto& [transport, requests, hex] : REFUSED_TEXTS) {
    char* text = nullptr;
    UtFailAllocation(2);  // what is pending tells how many there were
    const auto left = XdReadFrom(transport, FromHex(hex), [&](XdStream* xd) {
      return XdString(xd, &text);
    });
    EXPECT_EQ(UtPendingFault(), 2 - requests) << hex;
    EXPECT_TRUE(left == XD_FAILED && text == nullptr) << hex;
    UtFailAllocation(0);
  }
}

TEST(XdMain, TextsInBuffers) {
  for (const size_t length : {0U, 31U, 32U}) {
    std::string source(length, 'n');
    const std::string bytes = XdWritten(XD_TRANSPORT_XDR, [&](XdStream* xd) {
      return XdStringBuf(xd, source.data(), 40);
    });
    char buffer[32] = "?";
    const auto left = XdReadFrom(XD_TRANSPORT_XDR, bytes, [&](XdStream* xd) {
      return XdStringBuf(xd, buffer, sizeof buffer);
    });
    EXPECT_EQ(left, length < 32 ? 0 : XD_FAILED);
    EXPECT_EQ(buffer, length < 32 ? source : "?");
  }
}

}  // namespace
