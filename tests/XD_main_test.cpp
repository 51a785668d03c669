#include "util/XD_main.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "tests/xd_support.h"

namespace {

std::string Named(XdTransport transport) {
  return transport == XD_TRANSPORT_XDR ? "XDR" : "plain";
}

// Scalars ------------------------------------------------------------------

// Writes the value, reads it back, cuts its bytes at every length.
template <class T>
void ExpectScalar(bool (*primitive)(XdStream*, T*), T value,
                  std::string_view plain, std::string_view xdr) {
  for (const XdTransport transport : XD_BOTH) {
    SCOPED_TRACE(Named(transport) + " of " + std::string(plain));
    const std::string bytes = XdWritten(
        transport, [&](XdStream* xd) { return primitive(xd, &value); });
    EXPECT_EQ(ToHex(bytes), transport == XD_TRANSPORT_XDR ? xdr : plain);
    T read = {};
    const auto take = [&](XdStream* xd) { return primitive(xd, &read); };
    const XdOutcome outcome = XdReadFrom(transport, bytes, take);
    EXPECT_TRUE(outcome.good && outcome.at_end);
    EXPECT_EQ(memcmp(&read, &value, sizeof value), 0);
    for (size_t length = 0; length < bytes.size(); ++length)
      EXPECT_FALSE(XdReadFrom(transport, {bytes.data(), length}, take).good);
  }
}

TEST(XdMain, Scalars) {
  ExpectScalar<uint8_t>(XdUChar, 7, "07", "00 00 00 07");
  ExpectScalar<uint8_t>(XdUChar, 255, "FF", "00 00 00 FF");
  ExpectScalar<int8_t>(XdChar, -2, "FE", "FF FF FF FE");
  ExpectScalar<uint16_t>(XdUShort, 266, "01 0A", "00 00 01 0A");
  ExpectScalar<uint16_t>(XdUShort, 0x8001, "80 01", "00 00 80 01");
  ExpectScalar<int16_t>(XdShort, -266, "FE F6", "FF FF FE F6");
  ExpectScalar<uint32_t>(XdULong, 266, "00 00 01 0A", "00 00 01 0A");
  ExpectScalar<uint32_t>(XdULong, 0x89ABCDEF, "89 AB CD EF", "89 AB CD EF");
  ExpectScalar<int32_t>(XdLong, -2, "FF FF FF FE", "FF FF FF FE");
  ExpectScalar<float>(XdFloat, -1.5F, "BF C0 00 00", "BF C0 00 00");
  ExpectScalar<double>(XdDouble, 0.1, "3F B9 99 99 99 99 99 9A",
                       "3F B9 99 99 99 99 99 9A");
}

TEST(XdMain, ItemsLieOnAnyBoundary) {
  struct Item {
    uint8_t byte;
    uint16_t half;
    uint32_t word;
    double real;
  };
  // More than two buffers; 15 bytes each in plain, so that every kind of item
  // meets the end of a buffer.
  std::vector<Item> items(10000);
  uint32_t i = 0;
  for (Item& item : items) {
    ++i;
    item = {static_cast<uint8_t>(i), static_cast<uint16_t>(i * 7), i * 70001,
            i / 3.0};
  }
  const auto transfer = [](XdStream* xd, std::vector<Item>* all) {
    return std::all_of(all->begin(), all->end(), [&](Item& item) {
      return XdUChar(xd, &item.byte) && XdUShort(xd, &item.half) &&
             XdULong(xd, &item.word) && XdDouble(xd, &item.real);
    });
  };
  for (const XdTransport transport : XD_BOTH) {
    const std::string bytes = XdWritten(
        transport, [&](XdStream* xd) { return transfer(xd, &items); });
    EXPECT_EQ(bytes.size(),
              items.size() * (transport == XD_TRANSPORT_XDR ? 20 : 15));
    std::vector<Item> read(items.size());
    const XdOutcome outcome = XdReadFrom(
        transport, bytes, [&](XdStream* xd) { return transfer(xd, &read); });
    EXPECT_TRUE(outcome.good && outcome.at_end);
    EXPECT_TRUE(std::equal(items.begin(), items.end(), read.begin(),
                           [](const Item& a, const Item& b) {
                             return a.byte == b.byte && a.half == b.half &&
                                    a.word == b.word && a.real == b.real;
                           }));
  }
}

// Texts --------------------------------------------------------------------

struct TextCase {
  const char* text;
  std::string_view plain;
  std::string_view xdr;
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
  for (const XdTransport transport : XD_BOTH) {
    for (const TextCase& row : TEXTS) {
      SCOPED_TRACE(Named(transport) + " of " + Shown(row.text));
      const std::string_view hex =
          transport == XD_TRANSPORT_XDR ? row.xdr : row.plain;
      const std::string bytes = FromHex(hex);
      char* text = const_cast<char*>(row.text);
      const char* hanging = row.text;
      UtArena arena;
      EXPECT_EQ(
          ToHex(XdWritten(transport,
                          [&](XdStream* xd) { return XdString(xd, &text); })),
          hex);
      EXPECT_EQ(ToHex(XdWritten(transport,
                                [&](XdStream* xd) {
                                  return XdText(xd, &arena, &hanging);
                                })),
                hex);
      for (size_t length = 0; length <= bytes.size(); ++length) {
        const std::string_view part(bytes.data(), length);
        const bool whole = length == bytes.size();
        text = nullptr;
        EXPECT_EQ(XdReadFrom(transport, part,
                             [&](XdStream* xd) { return XdString(xd, &text); })
                      .good,
                  whole);
        EXPECT_EQ(Shown(text), Shown(whole ? row.text : nullptr));
        UtFree(&text);
        EXPECT_EQ(XdReadFrom(transport, part,
                             [&](XdStream* xd) {
                               return XdText(xd, &arena, &hanging);
                             })
                      .good,
                  whole);
        EXPECT_EQ(Shown(hanging), Shown(whole ? row.text : nullptr));
      }
    }
  }
}

struct RefusedText {
  XdTransport transport;
  std::string_view bytes;
  bool takes_memory;
};
constexpr RefusedText REFUSED_TEXTS[] = {
    // Longer than the file: seen before memory is taken.
    {XD_TRANSPORT_PLAIN, "00 00 00 03 61 62", false},
    {XD_TRANSPORT_PLAIN, "7F FF FF FF 61 62", false},
    {XD_TRANSPORT_XDR, "FF FF FF FE 00 00 00 02 61 62 00 00", false},
    // Zero bytes, which no writer makes.
    {XD_TRANSPORT_PLAIN, "00 00 00 02 61 00", true},
    {XD_TRANSPORT_XDR, "00 00 00 02 00 00 00 02 00 61 00 00", true},
    // The two lengths differ.
    {XD_TRANSPORT_XDR, "00 00 00 02 00 00 00 01 61 00 00 00", true},
    {XD_TRANSPORT_XDR, "00 00 00 02 00 00 00 03 61 62 63 00", true},
    {XD_TRANSPORT_XDR, "00 00 00 02 FF FF FF FF 61 62 63 00", true},
};

TEST(XdMain, RefusedTexts) {
  for (const RefusedText& row : REFUSED_TEXTS) {
    SCOPED_TRACE(Named(row.transport) + " " + std::string(row.bytes));
    const std::string bytes = FromHex(row.bytes);
    // The 2nd request would fail: what is pending tells how many there were.
    UtFailAllocation(2);
    char* text = nullptr;
    EXPECT_FALSE(XdReadFrom(row.transport, bytes, [&](XdStream* xd) {
                   return XdString(xd, &text);
                 }).good);
    EXPECT_EQ(UtPendingFault(), row.takes_memory ? 1U : 2U);
    UtFailAllocation(0);
    EXPECT_EQ(text, nullptr);

    UtArena arena;
    const char* hanging = "old";
    EXPECT_FALSE(XdReadFrom(row.transport, bytes, [&](XdStream* xd) {
                   return XdText(xd, &arena, &hanging);
                 }).good);
    EXPECT_EQ(hanging, nullptr);
  }
}

TEST(XdMain, TextWithoutMemoryFails) {
  const std::string bytes = FromHex("00 00 00 02 61 62");
  char* text = nullptr;
  UtFailAllocation(1);
  EXPECT_FALSE(XdReadFrom(XD_TRANSPORT_PLAIN, bytes, [&](XdStream* xd) {
                 return XdString(xd, &text);
               }).good);
  EXPECT_EQ(text, nullptr);
  UtFailAllocation(0);
}

TEST(XdMain, LongTextCrossesBuffers) {
  const std::string long_text(200001, 'x');
  for (const XdTransport transport : XD_BOTH) {
    char* text = const_cast<char*>(long_text.c_str());
    const std::string bytes =
        XdWritten(transport, [&](XdStream* xd) { return XdString(xd, &text); });
    EXPECT_EQ(bytes.size(), transport == XD_TRANSPORT_XDR ? 200012U : 200005U);
    text = nullptr;
    EXPECT_TRUE(XdReadFrom(transport, bytes, [&](XdStream* xd) {
                  return XdString(xd, &text);
                }).good);
    EXPECT_TRUE(text == long_text);
    UtFree(&text);
  }
}

// Buffers and blocks -------------------------------------------------------

TEST(XdMain, TextsInBuffers) {
  for (const XdTransport transport : XD_BOTH) {
    SCOPED_TRACE(Named(transport));
    // One more than fits is written from a larger buffer.
    for (const size_t length : {size_t{0}, size_t{31}, size_t{32}}) {
      std::string text(length, 'n');
      const std::string bytes = XdWritten(transport, [&](XdStream* xd) {
        return XdStringBuf(xd, text.data(), 40);
      });
      char buffer[32] = "?";
      const bool fits = length < sizeof buffer;
      EXPECT_EQ(XdReadFrom(transport, bytes,
                           [&](XdStream* xd) {
                             return XdStringBuf(xd, buffer, sizeof buffer);
                           })
                    .good,
                fits);
      EXPECT_EQ(std::string(buffer), fits ? text : "?");
    }
    EXPECT_EQ(ToHex(XdWritten(
                  transport,
                  [](XdStream* xd) { return XdStringBuf(xd, nullptr, 32); })),
              "00 00 00 00");
    char open[] = {'a', 'b'};  // not closed within its capacity
    EXPECT_EQ(XdWritten(transport,
                        [&](XdStream* xd) {
                          return XdStringBuf(xd, open, sizeof open);
                        }),
              "failed");
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
    {XD_TRANSPORT_PLAIN, "00 00 00 03 01 00 03", 3, true},
    {XD_TRANSPORT_PLAIN, "00 00 00 03 01 00 03", 2, false},
    {XD_TRANSPORT_PLAIN, "00 00 00 04 01 00 03", 0, false},
    {XD_TRANSPORT_PLAIN, "FF FF FF FF 01 00 03", 0, false},
    {XD_TRANSPORT_XDR, "00 00 00 03 00 00 00 03 01 00 03 00", 0, true},
    {XD_TRANSPORT_XDR, "00 00 00 03 00 00 00 03 01 00 03 00", 4, true},
    {XD_TRANSPORT_XDR, "00 00 00 03 00 00 00 03 01 00 03 00", 2, false},
    {XD_TRANSPORT_XDR, "00 00 00 03 00 00 00 02 01 00 03 00", 0, false},
    {XD_TRANSPORT_XDR, "00 00 00 03 00 00 00 04 01 00 03 00", 0, false},
    {XD_TRANSPORT_XDR, "7F FF FF FF 7F FF FF FF 01 00 03 00", 0, false},
};

TEST(XdMain, Blocks) {
  for (const BlockCase& row : BLOCKS) {
    SCOPED_TRACE(Named(row.transport) + " " + std::string(row.bytes));
    const std::string bytes = FromHex(row.bytes);
    uint32_t length = 0;
    uint32_t capacity = row.capacity;
    char* block = nullptr;
    if (capacity != 0) block = static_cast<char*>(UtAllocBytes(capacity));
    const auto transfer = [&](XdStream* xd) {
      return XdBytes(xd, &block, &length, &capacity);
    };
    EXPECT_EQ(XdReadFrom(row.transport, bytes, transfer).good, row.good);
    if (row.good) {
      EXPECT_EQ(ToHex({block, length}), "01 00 03");
      EXPECT_EQ(capacity, row.capacity == 0 ? 3 : row.capacity);
      EXPECT_EQ(ToHex(XdWritten(row.transport, transfer)), row.bytes);
    }
    UtFree(&block);
  }
}

// Streams ------------------------------------------------------------------

TEST(XdMain, ReleasingTouchesNothingButTexts) {
  XdStream xd;
  XdCreateRelease(&xd);
  uint32_t word = 5;
  double real = 5;
  char buffer[] = "kept";
  char* block = buffer;
  uint32_t length = 4, capacity = 5;
  EXPECT_TRUE(XdULong(&xd, &word) && XdDouble(&xd, &real));
  EXPECT_TRUE(XdStringBuf(&xd, buffer, sizeof buffer));
  EXPECT_TRUE(XdBytes(&xd, &block, &length, &capacity));
  EXPECT_TRUE(word == 5 && real == 5 && block == buffer && length == 4);
  EXPECT_STREQ(buffer, "kept");

  char* text = static_cast<char*>(UtAllocZero(8, 1));
  EXPECT_TRUE(XdString(&xd, &text));
  EXPECT_EQ(text, nullptr);
  const char* hanging = "arena's";
  EXPECT_TRUE(XdText(&xd, nullptr, &hanging));
  EXPECT_EQ(hanging, nullptr);
  EXPECT_TRUE(XdDestroy(&xd));
}

TEST(XdMain, EndedStreamDoesNothing) {
  FILE* file = tmpfile();
  XdStream xd;
  XdCreatePlain(&xd, file, XD_ENCODE);
  uint32_t word = 5;
  EXPECT_TRUE(XdDestroy(&xd));
  EXPECT_TRUE(XdULong(&xd, &word));
  EXPECT_TRUE(XdDestroy(&xd));
  EXPECT_EQ(ftell(file), 0);
  fclose(file);
}

TEST(XdMain, FullDiskShows) {
  for (const XdTransport transport : XD_BOTH) {
    FILE* file = fopen("/dev/full", "wb");
    ASSERT_NE(file, nullptr);
    setvbuf(file, nullptr, _IONBF, 0);
    XdStream xd;
    XdCreate(&xd, transport, file, XD_ENCODE);
    uint32_t word = 5;
    EXPECT_TRUE(XdULong(&xd, &word));  // still in the buffer
    EXPECT_FALSE(XdDestroy(&xd));

    XdCreate(&xd, transport, file, XD_ENCODE);
    size_t written = 0;
    while (XdULong(&xd, &word)) ++written;
    EXPECT_EQ(written, XdStream::BUFFER_BYTES / 4);
    fclose(file);
  }
}

// The size of a pipe says nothing about what it will deliver.
TEST(XdMain, OnlyRegularFilesAreRead) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], "abcd", 4), 4);
  FILE* file = fdopen(ends[0], "rb");
  XdStream xd;
  XdCreatePlain(&xd, file, XD_DECODE);
  uint32_t word = 0;
  EXPECT_FALSE(XdULong(&xd, &word));
  fclose(file);
  close(ends[1]);
}

}  // namespace
