#include "util/XD_main.h"

#include <gtest/gtest.h>

#include "tests/xd_support.h"

namespace {

// Writes an item as `hex` and reads that again; cut at any length, it fails.
template <class Write, class Read>
void ExpectItem(XdTransport transport, std::string_view hex, Write write,
                Read read) {
  SCOPED_TRACE("transport " + std::to_string(transport) + ": " +
               std::string(hex));
  EXPECT_EQ(ToHex(XdWritten(transport, write)), hex);
  const std::string bytes = FromHex(hex);
  for (size_t length = 0; length <= bytes.size(); ++length)
    EXPECT_EQ(XdReadFrom(transport, {bytes.data(), length}, read),
              length == bytes.size() ? 0 : XD_FAILED)
        << length;
}

template <class T>
void ExpectScalar(bool (*primitive)(XdStream*, T*), T value,
                  std::string_view plain, std::string_view xdr) {
  for (const XdTransport transport : XD_BOTH) {
    T read = {};
    ExpectItem(
        transport, transport == XD_TRANSPORT_XDR ? xdr : plain,
        [&](XdStream* xd) { return primitive(xd, &value); },
        [&](XdStream* xd) { return primitive(xd, &read); });
    EXPECT_EQ(memcmp(&read, &value, sizeof value), 0) << plain;
  }
}

TEST(XdMain, Scalars) {
  ExpectScalar<uint8_t>(XdUChar, 7, "07", "00 00 00 07");
  ExpectScalar<uint8_t>(XdUChar, 255, "FF", "00 00 00 FF");
  ExpectScalar<int8_t>(XdChar, -2, "FE", "FF FF FF FE");
  ExpectScalar<uint16_t>(XdUShort, 266, "01 0A", "00 00 01 0A");
  ExpectScalar<uint16_t>(XdUShort, 0x8001, "80 01", "00 00 80 01");
  ExpectScalar<int16_t>(XdShort, -266, "FE F6", "FF FF FE F6");
  ExpectScalar<uint32_t>(XdULong, 0x89ABCDEF, "89 AB CD EF", "89 AB CD EF");
  ExpectScalar<int32_t>(XdLong, -2, "FF FF FF FE", "FF FF FF FE");
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

TEST(XdMain, ItemsAndTextsCrossBuffers) {
  const std::string long_text(200001, 'x');
  for (const XdTransport transport : XD_BOTH) {
    const bool is_xdr = transport == XD_TRANSPORT_XDR;
    std::string bytes = XdWritten(transport, TransferItems);
    EXPECT_EQ(bytes.size(), is_xdr ? 200000U : 150000U);
    EXPECT_EQ(XdReadFrom(transport, bytes, TransferItems), 0);

    char* text = const_cast<char*>(long_text.c_str());
    const auto transfer = [&](XdStream* xd) { return XdString(xd, &text); };
    bytes = XdWritten(transport, transfer);
    EXPECT_EQ(bytes.size(), is_xdr ? 200012U : 200005U);
    text = nullptr;
    EXPECT_EQ(XdReadFrom(transport, bytes, transfer), 0);
    EXPECT_TRUE(text == long_text);
    UtFree(&text);
  }
}

// Texts and blocks ---------------------------------------------------------

struct TextCase {
  const char* text;
  std::string_view plain, xdr;
};
constexpr TextCase TEXTS[] = {
    {nullptr, "FF FF FF FF", "FF FF FF FF"},
    {"", "00 00 00 00", "00 00 00 00"},
    {"ab", "00 00 00 02 61 62", "00 00 00 02 00 00 00 02 61 62 00 00"},
    {"abcd", "00 00 00 04 61 62 63 64", "00 00 00 04 00 00 00 04 61 62 63 64"},
    {"abcde", "00 00 00 05 61 62 63 64 65",
     "00 00 00 05 00 00 00 05 61 62 63 64 65 00 00 00"},
};

std::string Shown(const char* text) {
  return text == nullptr ? "none" : '"' + std::string(text) + '"';
}

TEST(XdMain, Texts) {
  for (const XdTransport transport : XD_BOTH)
    for (const TextCase& row : TEXTS) {
      const auto hex = transport == XD_TRANSPORT_XDR ? row.xdr : row.plain;
      char* text = const_cast<char*>(row.text);
      const char* hanging = row.text;
      UtArena arena;
      const auto judge = [&](bool good, const char* read) {
        EXPECT_EQ(Shown(read), Shown(good ? row.text : nullptr));
      };
      const auto text_item = [&](XdStream* xd) {
        if (xd->direction == XD_ENCODE) return XdString(xd, &text);
        text = nullptr;
        const bool good = XdString(xd, &text);
        judge(good, text);
        UtFree(&text);
        return good;
      };
      const auto hanging_item = [&](XdStream* xd) {
        const bool good = XdText(xd, &arena, &hanging);
        judge(good, hanging);
        return good;
      };
      ExpectItem(transport, hex, text_item, text_item);
      ExpectItem(transport, hex, hanging_item, hanging_item);
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
    {XD_TRANSPORT_XDR, 1, "00 00 00 02 00 00 00 02 00 61 00 00"},
    {XD_TRANSPORT_XDR, 1, "00 00 00 02 00 00 00 01 61 00 00 00"},
    {XD_TRANSPORT_XDR, 1, "00 00 00 02 FF FF FF FF 61 62 63 00"},
};

TEST(XdMain, RefusedTexts) {
  for (const auto& [transport, requests, hex] : REFUSED_TEXTS) {
    char* text = nullptr;
    const char* hanging = "old";
    UtArena arena;
    UtFailAllocation(2);  // what is pending tells how many there were
    const auto left = XdReadFrom(transport, FromHex(hex), [&](XdStream* xd) {
      return XdString(xd, &text);
    });
    EXPECT_EQ(UtPendingFault(), 2 - requests) << hex;
    UtFailAllocation(0);
    const auto left_too =
        XdReadFrom(transport, FromHex(hex),
                   [&](XdStream* xd) { return XdText(xd, &arena, &hanging); });
    EXPECT_TRUE(left == XD_FAILED && left_too == XD_FAILED) << hex;
    EXPECT_TRUE(text == nullptr && hanging == nullptr) << hex;
  }
}

TEST(XdMain, TextsInBuffers) {
  for (const XdTransport transport : XD_BOTH) {
    char* text = nullptr;
    uint32_t capacity = 32;
    const auto item = [&](XdStream* xd) {
      return XdStringBuf(xd, text, capacity);
    };
    EXPECT_EQ(ToHex(XdWritten(transport, item)), "00 00 00 00");
    char open[] = {'a', 'b'};  // not closed within its capacity
    text = open;
    capacity = 2;
    EXPECT_EQ(XdWritten(transport, item), "failed");
    for (const size_t length : {0U, 31U, 32U}) {
      std::string source(length, 'n');
      text = source.data();
      capacity = 40;
      const std::string bytes = XdWritten(transport, item);
      char buffer[32] = "?";
      text = buffer;
      capacity = 32;
      const bool fits = length < 32;
      EXPECT_EQ(XdReadFrom(transport, bytes, item), fits ? 0 : XD_FAILED);
      EXPECT_EQ(buffer, fits ? source : "?");
    }
  }
}

struct BlockCase {
  XdTransport transport;
  std::string_view bytes;
  uint32_t capacity;  // of the block read into; 0: none yet
  bool good;
};
constexpr BlockCase BLOCKS[] = {
    {XD_TRANSPORT_PLAIN, "00 00 00 03 01 00 03", 0, true},
    {XD_TRANSPORT_PLAIN, "00 00 00 03 01 00 03", 2, false},
    {XD_TRANSPORT_PLAIN, "00 00 00 04 01 00 03", 0, false},
    {XD_TRANSPORT_XDR, "00 00 00 03 00 00 00 03 01 00 03 00", 4, true},
    {XD_TRANSPORT_XDR, "00 00 00 03 00 00 00 02 01 00 03 00", 0, false},
    {XD_TRANSPORT_XDR, "7F FF FF FF 7F FF FF FF 01 00 03 00", 0, false},
};

TEST(XdMain, Blocks) {
  for (const BlockCase& row : BLOCKS) {
    uint32_t length = 0, capacity = row.capacity;
    char* block = nullptr;
    if (capacity != 0) block = static_cast<char*>(UtAllocBytes(capacity));
    const auto item = [&](XdStream* xd) {
      return XdBytes(xd, &block, &length, &capacity);
    };
    const auto left = XdReadFrom(row.transport, FromHex(row.bytes), item);
    EXPECT_EQ(left, row.good ? 0 : XD_FAILED) << row.bytes;
    if (left == 0) {
      EXPECT_EQ(ToHex(XdWritten(row.transport, item)), row.bytes);
    }
    UtFree(&block);
  }
}

// Streams ------------------------------------------------------------------

TEST(XdMain, ReleasingTouchesNothingButTexts) {
  XdStream xd;
  XdCreateRelease(&xd);
  uint32_t word = 5, length = 4, capacity = 5;
  char buffer[] = "kept";
  char* block = buffer;
  char* text = static_cast<char*>(UtAllocZero(8, 1));
  EXPECT_TRUE(XdULong(&xd, &word) && XdStringBuf(&xd, buffer, sizeof buffer));
  EXPECT_TRUE(XdBytes(&xd, &block, &length, &capacity) && XdString(&xd, &text));
  EXPECT_TRUE(word == 5 && block == buffer && length == 4 && text == nullptr);
  EXPECT_STREQ(buffer, "kept");
}

TEST(XdMain, FullDiskShows) {
  for (const XdTransport transport : XD_BOTH) {
    FILE* file = fopen("/dev/full", "wb");
    ASSERT_NE(file, nullptr);
    setvbuf(file, nullptr, _IONBF, 0);
    XdStream xd;
    uint32_t word = 5;
    XdCreate(&xd, transport, file, XD_ENCODE);
    EXPECT_TRUE(XdULong(&xd, &word));  // still in the buffer
    EXPECT_FALSE(XdDestroy(&xd));
    EXPECT_TRUE(XdULong(&xd, &word));  // an ended stream does nothing
    EXPECT_TRUE(XdDestroy(&xd));

    XdCreate(&xd, transport, file, XD_ENCODE);
    size_t written = 0;
    while (XdULong(&xd, &word)) ++written;
    EXPECT_EQ(written, XdStream::BUFFER_BYTES / 4);
    fclose(file);
  }
}

}  // namespace
