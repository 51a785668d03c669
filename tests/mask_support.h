// What the tests of masks share: a list under construction, a file, and what
// was printed on a channel.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "Cutil/codes.h"
#include "elut/mask_objects.h"
#include "elut/program.h"
#include "quillo/channels.h"

// Collects the texts of a channel, one after the other.
class ChannelCapture {
 public:
  explicit ChannelCapture(unsigned channel) {
    ChannelReset();
    EXPECT_EQ(RC_OK, ChannelBindCallback(channel, 0, Collect, &text_));
  }
  ~ChannelCapture() { ChannelReset(); }
  const std::string& text() const { return text_; }

 private:
  static int Collect(const char* text, void* to) {
    *static_cast<std::string*>(to) += text;
    return 0;
  }
  std::string text_;
};

class TestFile {
 public:
  TestFile() {
    const int descriptor = mkstemp(path_);
    EXPECT_GE(descriptor, 0);
    close(descriptor);
  }
  ~TestFile() { unlink(path_); }
  const char* path() const { return path_; }

  std::string bytes() const {
    std::string all;
    FILE* file = fopen(path_, "rb");
    EXPECT_NE(nullptr, file);
    for (int c = getc(file); c != EOF; c = getc(file))
      all += static_cast<char>(c);
    fclose(file);
    return all;
  }
  void set_bytes(const std::string& all) const {
    FILE* file = fopen(path_, "wb");
    EXPECT_NE(nullptr, file);
    EXPECT_EQ(all.size(), fwrite(all.data(), 1, all.size(), file));
    fclose(file);
  }

 private:
  char path_[32] = "/tmp/mask_test_XXXXXX";
};

inline MaskObject* NewObject(EditorList* list, MaskObjectType type,
                             const char* name) {
  MaskObject* object;
  EXPECT_EQ(RC_OK, MaskCreateObject(list, name, type, &object));
  return object;
}

inline MaskObject* NewEditor(EditorList* list, const char* name) {
  MaskObject* object = NewObject(list, MaskObjectType::WINDOW, name);
  EXPECT_EQ(RC_OK, MaskAddEditor(list, object));
  return object;
}

inline MaskObject* NewChild(EditorList* list, MaskObject* parent,
                            MaskObjectType type, const char* name) {
  MaskObject* object = NewObject(list, type, name);
  MaskAppendChild(parent, object);
  return object;
}

inline AttributeList* NewHandler(MaskObject* object, EventSpec event) {
  AttributeList* attributes;
  EXPECT_EQ(RC_OK, MaskAddAttributeHandler(object, event, &attributes));
  return attributes;
}

// A body of the one statement PRINT `value`.
inline void SetPrintBody(McProgram* program, int32_t value) {
  McNodePool& nodes = program->nodes;
  const McNodeRef block = nodes.take(), print = nodes.take(),
                  number = nodes.take();
  const auto set = [&](McNodeRef node, McNodeKind kind, McNodeRef child) {
    nodes[node] = {};
    nodes[node].kind = kind;
    nodes[node].child = child;
  };
  set(block, McNodeKind::BLOCK, print);
  set(print, McNodeKind::PRINT, number);
  set(number, McNodeKind::INT, 0);
  nodes[number].integer = value;
  program->body = block;
}
