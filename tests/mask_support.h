// What the tests of masks share: a list under construction, and what was
// printed on a channel.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Cutil/codes.h"
#include "elut/model/mask_objects.h"
#include "elut/model/program.h"
#include "services/channels.h"

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

template <class Value>
void Add(AttributeList* attributes, const char* name, Value value) {
  EXPECT_EQ(RC_OK, AttributeListAdd(attributes, name, value));
}
