#include "elut/syntax/source_reader.h"

#include <gtest/gtest.h>

#include <thread>

#include "Cutil/codes.h"
#include "file_tree.h"

namespace {

class SourceReader : public FileTree {
 protected:
  ~SourceReader() override { McSrcReset(); }

  // The rest of the input, level by level, as the scanner would take it.
  static std::string rest() {
    std::string all;
    do {
      do {
        all.append(mc_src.next, mc_src.limit);
        for (; mc_src.next < mc_src.limit; mc_src.next++)
          mc_src.line += *mc_src.next == '\n';
      } while (McSrcMore(nullptr));
    } while (!McSrcWrap());
    return all;
  }
};

TEST_F(SourceReader, WhatALineIs) {
  const std::string longest(10238, 'x'), more(10239, 'x');
  const struct {
    std::string text, read;
  } rows[] = {
      {"a\n\nb\n", "a\n\nb\n"},
      {"a\r\r\nb\rc\n", "a\r\nb\rc\n"},
      {longest + "\r\nb\n", longest + "\nb\n"},
      {"a\n" + more + "\nb\n", "a\n"},
      {"a\n" + std::string(300000, 'x'), "a\n"},
      {std::string("a\nb\0c\nd\n", 8), "a\n"},
      {std::string(200000, '\n'), std::string(200000, '\n')},
  };
  for (size_t i = 0; i < std::size(rows); i++) {
    write("a", rows[i].text);
    ASSERT_EQ(RC_OK, McSrcOpen("a", nullptr));
    EXPECT_TRUE(rows[i].read == rest()) << "row " << i;
    EXPECT_EQ(1 + std::count(rows[i].read.begin(), rows[i].read.end(), '\n'),
              McSrcPosition().line);
  }
}

// Lines of files that take many windows, from a file and from a FIFO, of which
// there is no second look.
TEST_F(SourceReader, LineStoreOfLargeInput) {
  std::string text;
  for (int i = 1; i <= 20000; i++)
    text += std::to_string(i) + std::string(static_cast<size_t>(i % 90), '.') +
            "\r\n";
  make_pipe("pipe");
  for (const char* name : {"a", "pipe"}) {
    write("a", text);
    std::thread writer([&] {
      if (*name == 'p') std::ofstream(name, std::ios::binary) << text;
    });
    McLineStore store;
    ASSERT_EQ(RC_OK, McSrcOpen(name, &store));
    EXPECT_EQ(text.size() - 20000, rest().size());
    writer.join();
    for (uint32_t i : {1u, 2u, 900u, 901u, 12345u, 19999u, 20000u})
      EXPECT_EQ(std::to_string(i) + std::string(i % 90, '.'),
                McSrcLineText(&store, i));
    EXPECT_STREQ("", McSrcLineText(&store, 20001));
  }
}

// In the middle of a line only INCLUDE may push a file.
TEST_F(SourceReader, Include) {
  write("a", "one two\nthree\n");
  write("b", "b\n");
  ASSERT_EQ(RC_OK, McSrcOpen("a", nullptr));
  ASSERT_TRUE(McSrcMore(nullptr));
  mc_src.next += 3;
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcOpen("b", nullptr));
  bool too_deep;
  ASSERT_EQ(RC_OK, McSrcInclude("b", &too_deep));
  EXPECT_EQ("b\n two\nthree\n", rest());
}

TEST_F(SourceReader, ThirtyTwoLevels) {
  write("a", "x\n");
  bool too_deep = false;
  for (int i = 0; i < 32; i++) ASSERT_EQ(RC_OK, McSrcOpen("a", nullptr));
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcOpen("a", nullptr));
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcInclude("a", &too_deep));
  EXPECT_TRUE(too_deep);
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcInclude("none", &too_deep));
  EXPECT_FALSE(too_deep);
  std::string expected;
  for (int i = 0; i < 32; i++) expected += "x\n";
  EXPECT_EQ(expected, rest());
}

TEST_F(SourceReader, Text) {
  write("a", "a\n");
  ASSERT_EQ(RC_OK, McSrcOpen("a", nullptr));
  ASSERT_EQ(RC_OK, McSrcSetText("no line feed"));
  bool too_deep;
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcInclude("a", &too_deep));
  EXPECT_FALSE(too_deep);
  EXPECT_EQ("no line feed", rest());
  const std::string limit(10239, 'x');
  ASSERT_EQ(RC_OK, McSrcSetText((limit + "yz").c_str()));
  EXPECT_EQ(limit, rest());
}

}  // namespace
