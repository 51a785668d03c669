#include "elut/syntax/source_reader.h"

#include <algorithm>
#include <thread>

#include "compile.h"
#include "file_tree.h"

namespace {

class SourceReader : public FileTree {
 protected:
  // The rest of the input, level by level, as the scanner would take it.
  std::string rest(McSource* from) {
    std::string all;
    McSrcCursor& cursor = from->cursor;
    do {
      do {
        all.append(cursor.next, cursor.limit);
        cursor.line +=
            static_cast<uint32_t>(std::count(cursor.next, cursor.limit, '\n'));
        cursor.next = cursor.limit;
      } while (McSrcMore(from, nullptr));
      failed |= McSrcReadFailed(*from);
    } while (!McSrcWrap(from));
    return all;
  }

  TextFiles files;
  McSource source{&files};
  bool failed = false;
};

TEST_F(SourceReader, WhatALineIs) {
  const std::string longest(10238, 'x'), more(10239, 'x');
  const struct {
    std::string text, read;
  } rows[] = {
      {"a\n\nb\n", "a\n\nb\n"},
      {"a\r\r\nb\rc\n", "a\r\nb\rc\n"},
      {longest + "\r\nb\n", longest + "\nb\n"},
      {longest + "\nb\n", longest + "\nb\n"},
      {"a\n" + more + "\nb\n", "a\n"},
      {"a\n" + more + "\r\nb\n", "a\n"},
      {"a\n" + std::string(300000, 'x'), "a\n"},
      {std::string("a\nb\0c\nd\n", 8), "a\n"},
      {std::string("a\nb\r\0\nd\n", 8), "a\n"},
      {"a\nb", "a\n"},
      {"", ""},
      {std::string(200000, '\n'), std::string(200000, '\n')},
  };
  for (size_t i = 0; i < std::size(rows); i++) {
    files.texts["a"] = rows[i].text;
    ASSERT_EQ(RC_OK, McSrcOpen(&source, "a"));
    EXPECT_TRUE(rows[i].read == rest(&source)) << "row " << i;
    EXPECT_EQ(1 + std::count(rows[i].read.begin(), rows[i].read.end(), '\n'),
              McSrcPosition(source).line);
  }
  EXPECT_FALSE(failed);
}

// Lines of files that take many windows, also from a FIFO, of which there is no
// second look.
TEST_F(SourceReader, LinesOfLargeInput) {
  std::string text;
  for (int i = 1; i <= 20000; i++)
    text += std::to_string(i) + std::string(static_cast<size_t>(i % 90), '.') +
            "\r\n";
  McSrcFiles disk;
  make_pipe("pipe");
  write("a", text);
  files.texts["text"] = text;
  for (const char* name : {"text", "a", "pipe"}) {
    std::thread writer([&] {
      if (*name == 'p') std::ofstream(name, std::ios::binary) << text;
    });
    McSrcProvider* provider = &disk;
    if (*name == 't') provider = &files;
    McSource large(provider);
    ASSERT_EQ(RC_OK, McSrcOpen(&large, name));
    EXPECT_EQ(text.size() - 20000, rest(&large).size());
    writer.join();
    const uint32_t file = McSrcPosition(large).file;
    for (uint32_t i : {1u, 2u, 900u, 901u, 12345u, 19999u, 20000u})
      EXPECT_EQ(std::to_string(i) + std::string(i % 90, '.'),
                McSrcLineText(large, file, i).c_str());
    EXPECT_EQ("", McSrcLineText(large, file, 20001));
    EXPECT_EQ("", McSrcLineText(large, file, 0));
    EXPECT_EQ("", McSrcLineText(large, file + 1, 1));
  }
}

// In the middle of a line only INCLUDE may push a file.
TEST_F(SourceReader, Include) {
  files.texts = {{"a", "one two\nthree\n"}, {"b", "b\n"}};
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcOpen(&source, "none"));
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcInclude(&source, "a")) << "no open level";
  ASSERT_EQ(RC_OK, McSrcOpen(&source, "a"));
  ASSERT_TRUE(McSrcMore(&source, nullptr));
  source.cursor.next += 3;
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcOpen(&source, "b"));
  ASSERT_EQ(RC_OK, McSrcInclude(&source, "b"));
  EXPECT_EQ(1, McSrcPosition(source).level);
  EXPECT_EQ("b\n two\nthree\n", rest(&source));
}

TEST_F(SourceReader, ThirtyTwoLevels) {
  files.texts["a"] = "x\n";
  for (int i = 0; i < 32; i++) ASSERT_EQ(RC_OK, McSrcOpen(&source, "a"));
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcOpen(&source, "a"));
  EXPECT_EQ(RC_TOO_DEEP, McSrcInclude(&source, "a"));
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcInclude(&source, "none"));
  std::string expected;
  for (int i = 0; i < 32; i++) expected += "x\n";
  EXPECT_EQ(expected, rest(&source));
}

TEST_F(SourceReader, Text) {
  files.texts["a"] = "a\n";
  ASSERT_EQ(RC_OK, McSrcOpen(&source, "a"));
  McSrcSetText(&source, "no line feed");
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcInclude(&source, "a"));
  EXPECT_EQ("no line feed", rest(&source));
  const std::string limit(10239, 'x');
  McSrcSetText(&source, limit + "yz");
  EXPECT_EQ(limit, rest(&source));
  McSrcSetText(&source, std::string_view("a\0b", 3));
  EXPECT_EQ("a", rest(&source));
}

// A source that cannot be read to its end has the lines in front of that.
TEST_F(SourceReader, ReadErrors) {
  struct Failing : McSrcBytes {
    ptrdiff_t read(char* place, size_t) override {
      if (at == 3) return -1;
      memcpy(place, "a\nb\nc\n" + 2 * at++, 2);
      return 2;
    }
    size_t read_again(uint64_t, char*, size_t) override { return 0; }
    bool can_read_again() const override { return false; }
    int at = 0;
  };
  struct : McSrcProvider {
    UtPtr<McSrcBytes> open(const char*) override { return UtMake<Failing>(); }
  } provider;
  McSource broken(&provider);
  ASSERT_EQ(RC_OK, McSrcOpen(&broken, "a"));
  EXPECT_EQ("a\nb\nc\n", rest(&broken));
  EXPECT_TRUE(failed);
  EXPECT_EQ("b", McSrcLineText(broken, McSrcPosition(broken).file, 2));
}

}  // namespace
