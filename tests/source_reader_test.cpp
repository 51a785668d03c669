#include "elut/source_reader.h"

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
  std::string read(const std::string& text, McLineStore* store = nullptr) {
    write("a", text);
    EXPECT_EQ(RC_OK, McSrcOpen("a", store));
    return rest();
  }
};

TEST_F(SourceReader, WhatALineIs) {
  const std::string longest(10238, 'x'), more(10239, 'x');
  const struct {
    std::string text, read;
  } rows[] = {
      {"", ""},
      {"a", ""},
      {"\n", "\n"},
      {"a\nb", "a\n"},
      {"a\n\nb\n", "a\n\nb\n"},
      {"a\r\n\r\nb\r", "a\n\n"},
      {"a\r\r\nb\rc\n", "a\r\nb\rc\n"},
      {longest + "\nb\n", longest + "\nb\n"},
      {longest + "\r\nb\n", longest + "\nb\n"},
      {longest + "\r\r\nb\n", ""},
      {"a\n" + more + "\nb\n", "a\n"},
      {"a\n" + more, "a\n"},
      {"a\n" + std::string(300000, 'x'), "a\n"},
      {std::string("a\nb\0c\nd\n", 8), "a\n"},
      {std::string("a\nb\nc\0", 6), "a\nb\n"},
      {std::string("\0\n", 2), ""},
      {std::string(200000, '\n'), std::string(200000, '\n')},
  };
  for (size_t i = 0; i < std::size(rows); i++) {
    EXPECT_TRUE(rows[i].read == read(rows[i].text)) << "row " << i;
    EXPECT_EQ(1 + std::count(rows[i].read.begin(), rows[i].read.end(), '\n'),
              McSrcPosition().line);
  }
}

TEST_F(SourceReader, LineStore) {
  McLineStore store;
  read("one\r\n\nthree\n" + std::string(10238, 'x') + "\nfive\nsix", &store);
  const struct {
    uint32_t line;
    std::string text;
  } rows[] = {
      {0, ""},
      {1, "one"},
      {2, ""},
      {3, "three"},
      {4, std::string(10238, 'x')},
      {5, "five"},
      {6, ""},
      {7, ""},
      {UINT32_MAX, ""},
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.text, McSrcLineText(&store, row.line)) << row.line;
  EXPECT_STREQ("", McSrcLineText(nullptr, 1));
  store.release();
  EXPECT_STREQ("", McSrcLineText(&store, 1));
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

TEST_F(SourceReader, RefusedOpens) {
  std::filesystem::create_directory("directory");
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcOpen("none", nullptr));
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcOpen("directory", nullptr));
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcOpen("", nullptr));
  EXPECT_EQ(-1, McSrcPosition().level);

  // In the middle of a line only INCLUDE may push a file.
  write("a", "one two\nthree\n");
  write("b", "b\n");
  ASSERT_EQ(RC_OK, McSrcOpen("a", nullptr));
  ASSERT_TRUE(McSrcMore(nullptr));
  mc_src.next += 3;
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcOpen("b", nullptr));
  EXPECT_EQ(0, McSrcPosition().level);
  bool too_deep;
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcInclude("none", &too_deep));
  EXPECT_FALSE(too_deep);
  ASSERT_EQ(RC_OK, McSrcInclude("b", &too_deep));
  EXPECT_EQ(1, McSrcPosition().level);
  EXPECT_STREQ("b", McSrcPosition().name);
  EXPECT_EQ("b\n two\nthree\n", rest());
}

TEST_F(SourceReader, ThirtyTwoLevels) {
  write("a", "x\n");
  bool too_deep = false;
  for (int i = 0; i < 32; i++) {
    ASSERT_EQ(RC_OK, McSrcOpen("a", nullptr));
    EXPECT_EQ(i, McSrcPosition().level);
  }
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcOpen("a", nullptr));
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcInclude("a", &too_deep));
  EXPECT_TRUE(too_deep);
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcInclude("none", &too_deep));
  EXPECT_FALSE(too_deep);
  EXPECT_EQ(31, McSrcPosition().level);
  std::string expected;
  for (int i = 0; i < 32; i++) expected += "x\n";
  EXPECT_EQ(expected, rest());
  EXPECT_EQ(RC_OK, McSrcOpen("a", nullptr));
  EXPECT_EQ(0, McSrcPosition().level);
}

TEST_F(SourceReader, Text) {
  write("a", "a\n");
  ASSERT_EQ(RC_OK, McSrcOpen("a", nullptr));
  ASSERT_EQ(RC_OK, McSrcSetText("no line feed"));
  EXPECT_EQ(-1, McSrcPosition().level);
  EXPECT_EQ(0u, McSrcPosition().line);
  EXPECT_STREQ("", McSrcPosition().name);
  bool too_deep;
  EXPECT_EQ(RC_CANNOT_OPEN, McSrcInclude("a", &too_deep));
  EXPECT_FALSE(too_deep);
  EXPECT_EQ("no line feed", rest());
  const std::string limit(10239, 'x');
  ASSERT_EQ(RC_OK, McSrcSetText((limit + "yz").c_str()));
  EXPECT_EQ(limit, rest());
}

}  // namespace
