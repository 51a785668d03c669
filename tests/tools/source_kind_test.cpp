#include "tools/source_kind.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

using enum ToolSourceKind;

struct KindCase {
  const char* text;
  ToolSourceKind kind;
};
constexpr KindCase KINDS[] = {
    {"PROGRAM p;\n", PROGRAM},
    {"! WINDOW w {\n\f# \xFF\n\r\n MODULE m;\n", MODULE},
    {"WINDOW w { }\n", MASK},
    {"APPLICATION a { }\n", MASK},
    {"WINDOWS w { }\n", MASK},           // misspelt: the brace tells
    {"ON KEY 3 EXECUTE { ; }\n", MASK},  // a handler: refused as either
    {"? ;WINDOW w { }\n", MASK},         // a stray character and more
    {"program p;\nx = 1;\n", UNKNOWN},   // words are in upper case only
    {"\"WINDOW w {\";\n", UNKNOWN},      // a text
    {"1 + 2\n", UNKNOWN},
    {"", UNKNOWN},
    {"PROGRAM p;", UNKNOWN},  // a line without its end is not read
};

TEST(SourceKind, FirstTokenDecides) {
  for (const KindCase& row : KINDS)
    EXPECT_EQ(ToolKindOfText(row.text), row.kind) << row.text;
}

// Bytes in small pieces that may be readable only once.
class Drops : public McSrcBytes {
 public:
  Drops(std::string_view text, bool again) : text_(text), again_(again) {}
  ptrdiff_t read(char* place, size_t room) override {
    if (text_.size() == at_) return -1;
    const size_t got = std::min<size_t>({room, 7, text_.size() - at_});
    memcpy(place, text_.data() + at_, got);
    at_ += got;
    return static_cast<ptrdiff_t>(got);
  }
  size_t read_again(uint64_t offset, char* place, size_t room) override {
    EXPECT_TRUE(again_);
    const size_t got = std::min<size_t>(room, text_.size() - offset);
    memcpy(place, text_.data() + offset, got);
    return got;
  }
  bool can_read_again() const override { return again_; }

 private:
  std::string_view text_;
  bool again_;
  size_t at_ = 0;
};

class DropsFiles : public McSrcProvider {
 public:
  DropsFiles(std::string_view text, bool again) : text_(text), again_(again) {}
  UtPtr<McSrcBytes> open(const char* name) override {
    opened += name;
    if (*name == '-') return nullptr;
    return UtMake<Drops>(text_, again_);
  }
  std::string opened;

 private:
  std::string_view text_;
  bool again_;
};

// Whatever was read for the kind is read by the compile, then what follows,
// and the error at the end is still one.
TEST(SourceKind, SourceIsReadWhole) {
  std::string text = "! " + std::string(300, 'c') + "\nMODULE m;\n";
  while (text.size() < 1000) text += "SUB s ; SUBEND\n";
  for (const bool again : {false, true}) {
    DropsFiles files(text, again);
    ToolSource source(&files, "a.mac");
    ASSERT_TRUE(source.found());
    EXPECT_EQ(source.kind(), MODULE);
    const UtPtr<McSrcBytes> bytes = source.open("a.mac");
    std::string all;
    char part[11];
    ptrdiff_t got;
    while ((got = bytes->read(part, sizeof part)) > 0)
      all.append(part, static_cast<size_t>(got));
    EXPECT_EQ(got, -1);
    EXPECT_EQ(all, text);
    EXPECT_NE(source.open("b.inc"), nullptr);
    EXPECT_EQ(files.opened, "a.macb.inc");
  }
  DropsFiles files("", false);
  EXPECT_FALSE(ToolSource(&files, "-").found());
}

}  // namespace
