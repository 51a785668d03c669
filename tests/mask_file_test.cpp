#include "elut/mask_file.h"

#include "elut/mask_print.h"
#include "mask_support.h"

namespace {

// "EE 03" as bytes; blanks between the digits do not matter.
std::string Bytes(const std::string& hex) {
  std::string bytes;
  unsigned digits = 1;  // a 1 in front of up to two digits
  for (const char c : hex) {
    if (c == ' ') continue;
    digits =
        digits * 16 + static_cast<unsigned>(c <= '9' ? c - '0' : c - 'A' + 10);
    if (digits < 0x100) continue;
    bytes += static_cast<char>(digits & 0xFF);
    digits = 1;
  }
  return bytes;
}

const std::string PLAIN_HEADER = Bytes("EE EE 03 11 00 20 04 00");
const std::string XDR_HEADER = Bytes("EE EE 03 11 00 20 01 00");

class MaskFile : public testing::Test {
 protected:
  MaskFile() { AttributeNamesReset(); }

  std::string written(EditorList* masks, int transport) {
    EXPECT_EQ(RC_OK, MaskListWrite(masks, transport, file.path()));
    return file.bytes();
  }
  int read(const std::string& bytes, EditorList* masks) {
    file.set_bytes(bytes);
    return MaskListRead(file.path(), masks);
  }
  static std::string printed(const EditorList& masks) {
    ChannelCapture output(0);
    EXPECT_EQ(RC_OK, MaskListPrint(0, &masks));
    return output.text();
  }

  // Something of everything that a list can hold.
  void fill() {
    MaskObject* window = NewEditor(&list, "Main");
    EXPECT_EQ(RC_OK, AttributeListAdd(&window->attributes, "x", -2));
    EXPECT_EQ(RC_OK, AttributeListAdd(&window->attributes, "text", "ab"));
    EXPECT_EQ(RC_OK, AttributeListAdd(&window->attributes, "text", ""));
    McProgram* program;
    EXPECT_EQ(RC_OK, MaskSetModule(window, &program));
    SetPrintBody(program, 1);
    EXPECT_EQ(RC_OK,
              MaskAddProgramHandler(window, MaskEvent(EVENT_EXIT), &program));
    SetPrintBody(program, 2);
    MaskObject* group = NewChild(&list, window, MaskObjectType::GROUP, "");
    AttributeList* attributes = NewHandler(
        NewChild(&list, group, MaskObjectType::GRAPHIC, "g"), MaskKeyEvent(13));
    EXPECT_EQ(RC_OK, AttributeListAdd(attributes, "action", "go"));
    NewChild(&list, window, MaskObjectType::LABEL, "l");
    NewEditor(&list, "Second");
  }

  TestFile file;
  EditorList list;
};

TEST_F(MaskFile, AnEmptyList) {
  EXPECT_EQ(PLAIN_HEADER + Bytes("00 00 00 00"),
            written(&list, XD_TRANSPORT_PLAIN));
  EXPECT_EQ(XDR_HEADER + Bytes("00 00 00 00"),
            written(&list, XD_TRANSPORT_XDR));
}

TEST_F(MaskFile, AnEmptyWindow) {
  NewEditor(&list, "W");
  EXPECT_EQ(PLAIN_HEADER +
                Bytes("00 00 00 01 02 00 00 00 01 57 00 00 00 00 00 00 00"),
            written(&list, XD_TRANSPORT_PLAIN));
  EXPECT_EQ(XDR_HEADER + Bytes("00 00 00 01 00 00 00 02 00 00 00 01 00 00 00 01"
                               "57 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                               "00 00 00 00 00 00 00 00"),
            written(&list, XD_TRANSPORT_XDR));
}

TEST_F(MaskFile, AWindowWithAHandlerAndAButton) {
  MaskObject* window = NewEditor(&list, "Main");
  EXPECT_EQ(RC_OK, AttributeListAdd(&window->attributes, "width", 10));
  EXPECT_EQ(RC_OK, AttributeListAdd(&window->attributes, "text", ""));
  AttributeList* attributes = NewHandler(window, {0x9, 13});
  EXPECT_EQ(RC_OK, AttributeListAdd(attributes, "action", "dummy"));
  NewChild(&list, window, MaskObjectType::BUTTON, "Ok");
  EXPECT_EQ(
      PLAIN_HEADER + Bytes("00 00 00 01"                       // editors
                           "02 00 00 00 04 4D 61 69 6E"        // WINDOW Main
                           "00 02"                             // attributes
                           "01 00 00 00 05 77 69 64 74 68"     // width
                           "00 00 00 0A"                       //   = 10
                           "04 00 00 00 04 74 65 78 74"        // text
                           "FF FF FF FF"                       //   = ""
                           "00 01"                             // handlers
                           "01 00 00 00 09 00 00 00 0D"        // ENTER, KEY 13
                           "00 01"                             // attributes
                           "04 00 00 00 06 61 63 74 69 6F 6E"  // action
                           "00 00 00 05 64 75 6D 6D 79"        //   = "dummy"
                           "00"                                // no program
                           "04 00 00 00 02 4F 6B 00 00 00 00 00"  // BUTTON Ok
                           "00 00 00"),  // ends: Ok's children, Ok's siblings,
                                         // Main's siblings
      written(&list, XD_TRANSPORT_PLAIN));
  EXPECT_EQ(XDR_HEADER +
                Bytes("00000001"
                      "00000002 00000004 00000004 4D61696E"
                      "00000002"
                      "00000001 00000005 00000005 7769647468 000000 0000000A"
                      "00000004 00000004 00000004 74657874 FFFFFFFF"
                      "00000001"
                      "00000001 00000009 0000000D"
                      "00000001"
                      "00000004 00000006 00000006 616374696F6E 0000"
                      "00000005 00000005 64756D6D79 000000"
                      "00000000"
                      "00000004 00000002 00000002 4F6B 0000 00000000 00000000"
                      "00000000"
                      "00000000 00000000 00000000"),
            written(&list, XD_TRANSPORT_XDR));
}

constexpr int TRANSPORTS[] = {XD_TRANSPORT_PLAIN, XD_TRANSPORT_XDR};

TEST_F(MaskFile, WhatIsReadIsWrittenAndPrintedAlike) {
  fill();
  for (const int transport : TRANSPORTS) {
    const std::string bytes = written(&list, transport);
    EditorList other;
    NewEditor(&other, "gone after the reading");
    ASSERT_EQ(RC_OK, read(bytes, &other));
    EXPECT_EQ(bytes, written(&other, transport));
    EXPECT_EQ(printed(list), printed(other));
    // The list can be added to, and its editors are found.
    ChannelCapture warnings(2);
    NewEditor(&other, "Second");
    NewEditor(&other, "Third");
    EXPECT_EQ("Ignore 2nd definition of editor Second", warnings.text());
    EXPECT_EQ(3u, other.editors.size());
  }
}

// A file that may be damaged: a code and an empty list, or a list that can be
// used like any other.
void ExpectSound(int code, EditorList* masks) {
  if (code != RC_OK) {
    EXPECT_TRUE(code == RC_BODY_FAILED || code == RC_HEADER_MAGIC ||
                code == RC_HEADER_VERSION || code == RC_INVALID)
        << code;
    EXPECT_TRUE(masks->editors.empty());
    return;
  }
  TestFile copy;
  EXPECT_EQ(RC_OK, MaskListWrite(masks, XD_TRANSPORT_XDR, copy.path()));
  ChannelCapture output(0);
  EXPECT_EQ(RC_OK, MaskListPrint(0, masks));
}

TEST_F(MaskFile, CutAtEveryLength) {
  fill();
  for (const int transport : TRANSPORTS) {
    const std::string bytes = written(&list, transport);
    for (size_t length = 0; length < bytes.size(); length++) {
      EditorList other;
      EXPECT_EQ(length < 8 ? RC_HEADER_MAGIC : RC_BODY_FAILED,
                read(bytes.substr(0, length), &other))
          << length;
      EXPECT_TRUE(other.editors.empty());
    }
  }
}

TEST_F(MaskFile, EachByteChanged) {
  fill();
  const std::string files[] = {written(&list, XD_TRANSPORT_PLAIN),
                               written(&list, XD_TRANSPORT_XDR)};
  for (const std::string& bytes : files) {
    for (size_t i = 0; i < bytes.size(); i++) {
      for (const int change : {1, 2, 4, 0x80, 0xFF}) {
        std::string changed = bytes;
        changed[i] = static_cast<char>(changed[i] ^ change);
        AttributeNamesReset();  // what a changed name leaves behind
        EditorList other;
        ExpectSound(read(changed, &other), &other);
      }
    }
  }
}

// Bodies in the plain transport, of a window W where not said otherwise.
struct BodyCase {
  const char* body;
  int code;
  const char* rewritten;  // nullptr: as it was read
};
#define W "00000001 02 00000001 57 "
#define NAME_N "00000001 6E "
constexpr BodyCase BODIES[] = {
    {"00000001 00", RC_OK, nullptr},  // a place without an editor
    {"00000002 00", RC_BODY_FAILED, nullptr},
    {"FFFFFFFF 00", RC_BODY_FAILED, nullptr},
    {W "0000 0000 00 00 00", RC_OK, nullptr},
    {W "0000 0000 00 00 00 00", RC_BODY_FAILED, nullptr},  // too long
    // A sibling of the editor; a child is no trouble.
    {W "0000 0000 00 00 02 00000000 0000 0000 00 00 00", RC_BODY_FAILED,
     nullptr},
    {W "0000 0000 00 02 00000000 0000 0000 00 00 00 00", RC_OK, nullptr},
    // Types of objects.
    {"00000001 0E 00000001 57 0000 0000 00 00 00", RC_OK, nullptr},
    {"00000001 0F 00000001 57 0000 0000 00 00 00", RC_BODY_FAILED, nullptr},
    // Names of 31 and of 32 characters, and one with a zero byte.
    {"00000001 02 0000001F "
     "61616161616161616161616161616161616161616161616161616161616161"
     "0000 0000 00 00 00",
     RC_OK, nullptr},
    {"00000001 02 00000020 "
     "6161616161616161616161616161616161616161616161616161616161616161"
     "0000 0000 00 00 00",
     RC_BODY_FAILED, nullptr},
    {"00000001 02 00000002 6100 0000 0000 00 00 00", RC_BODY_FAILED, nullptr},
    // Attribute types: 5 is a string too, 3 and 255 carry no value.
    {W "0001 01" NAME_N "FFFFFFFF 0000 00 00 00", RC_OK, nullptr},
    {W "0001 05" NAME_N "00000001 61 0000 00 00 00", RC_OK,
     W "0001 04" NAME_N "00000001 61 0000 00 00 00"},
    {W "0001 04" NAME_N "FFFFFFFF 0000 00 00 00", RC_OK, nullptr},
    {W "0001 03" NAME_N "0000 00 00 00", RC_OK, nullptr},
    {W "0001 FF" NAME_N "0000 00 00 00", RC_OK, nullptr},
    {W "0001 00" NAME_N "0000 00 00 00", RC_BODY_FAILED, nullptr},
    {W "0001 02" NAME_N "0000 00 00 00", RC_BODY_FAILED, nullptr},
    {W "0001 06" NAME_N "0000 00 00 00", RC_BODY_FAILED, nullptr},
    {W "0002 04" NAME_N "FFFFFFFF 05" NAME_N "FFFFFFFF 0000 00 00 00", RC_OK,
     W "0002 04" NAME_N "FFFFFFFF 04" NAME_N "FFFFFFFF 0000 00 00 00"},
    // A name with two types, no name, more attributes than the file can hold.
    {W "0002 04" NAME_N "FFFFFFFF 01" NAME_N "00000001 0000 00 00 00",
     RC_BODY_FAILED, nullptr},
    {W "0001 01 FFFFFFFF 00000001 0000 00 00 00", RC_BODY_FAILED, nullptr},
    {W "FFFF 01" NAME_N "FFFFFFFF 0000 00 00 00", RC_BODY_FAILED, nullptr},
    // Kinds of handlers: 0 and 3 have no body, 2 may hold no program.
    {W "0000 0001 01 00000001 00000000 0000 00 00 00", RC_OK, nullptr},
    {W "0000 0001 02 00000001 00000000 00 00 00 00", RC_OK, nullptr},
    {W "0000 0001 00 00000001 00000000 00 00 00", RC_OK, nullptr},
    {W "0000 0001 03 00000001 FFFFFFFF 00 00 00", RC_OK, nullptr},
    {W "0000 FFFF 01 00000001 00000000 0000 00 00 00", RC_BODY_FAILED, nullptr},
};
#undef NAME_N
#undef W

TEST_F(MaskFile, Bodies) {
  for (const BodyCase& row : BODIES) {
    AttributeNamesReset();
    const std::string bytes = PLAIN_HEADER + Bytes(row.body);
    EXPECT_EQ(row.code, read(bytes, &list)) << row.body;
    EXPECT_EQ(row.code != RC_OK, list.editors.empty()) << row.body;
    if (row.code != RC_OK) continue;
    const std::string expected =
        row.rewritten == nullptr ? bytes : PLAIN_HEADER + Bytes(row.rewritten);
    EXPECT_EQ(expected, written(&list, XD_TRANSPORT_PLAIN)) << row.body;
    ExpectSound(RC_OK, &list);
  }
}

struct HeaderCase {
  const char* header;
  int code;
};
constexpr HeaderCase HEADERS[] = {
    {"EE EE 03 11 00 20 04 00", RC_OK},
    {"EE EE 03 11 09 21 04 01", RC_OK},
    {"EE EF 03 11 00 20 04 00", RC_HEADER_MAGIC},
    {"EE EE 01 11 00 20 04 00", RC_HEADER_MAGIC},
    {"EE EE 02 11 00 20 04 00", RC_HEADER_MAGIC},
    {"EE EE 03 10 00 20 04 00", RC_HEADER_VERSION},
    {"EE EE 03 11 0A 20 04 00", RC_HEADER_VERSION},
    {"EE EE 03 11 00 20 03 00", RC_INVALID},
    {"EE EE 03 11 00 20 00 00", RC_INVALID},
};

TEST_F(MaskFile, Headers) {
  for (const HeaderCase& row : HEADERS)
    EXPECT_EQ(row.code, read(Bytes(row.header) + Bytes("00000000"), &list))
        << row.header;
  EXPECT_EQ(RC_CANNOT_CREATE, MaskListRead("/tmp/no/such.cg", &list));
}

TEST_F(MaskFile, NamesOfTheRunFixTypesForFilesToo) {
  MaskObject* window = NewEditor(&list, "W");
  EXPECT_EQ(RC_OK, AttributeListAdd(&window->attributes, "n", "a"));
  const std::string bytes = written(&list, XD_TRANSPORT_PLAIN);
  AttributeNamesReset();
  EditorList other;
  EXPECT_EQ(RC_OK,
            AttributeListAdd(&NewEditor(&other, "X")->attributes, "n", 1));
  EXPECT_EQ(RC_BODY_FAILED, read(bytes, &other));
}

TEST_F(MaskFile, FilesThatCannotBeWritten) {
  EXPECT_EQ(RC_CANNOT_CREATE,
            MaskListWrite(&list, XD_TRANSPORT_XDR, "/tmp/no/such.cg"));
  EXPECT_EQ(RC_HEADER_WRITE,
            MaskListWrite(&list, XD_TRANSPORT_XDR, "/dev/full"));
  file.set_bytes("old");
  EXPECT_EQ(RC_INVALID, MaskListWrite(&list, 2, file.path()));
  EXPECT_EQ("", file.bytes());
}

// Objects inside each other, `depth` of them; no routine may recurse here.
MaskObject* Nest(EditorList* masks, uint32_t depth) {
  MaskObject* object = NewEditor(masks, "deep");
  for (uint32_t i = 1; i < depth; i++)
    object = NewChild(masks, object, MaskObjectType::GROUP, "");
  return object;
}

struct DepthCase {
  uint32_t depth;
  int code;
};
constexpr DepthCase DEPTHS[] = {
    {150, RC_OK}, {151, RC_BODY_FAILED}, {300000, RC_BODY_FAILED}};

TEST_F(MaskFile, Nesting) {
  for (const DepthCase& row : DEPTHS) {
    MaskListFree(&list);
    Nest(&list, row.depth);
    EditorList other;
    EXPECT_EQ(row.code, read(written(&list, XD_TRANSPORT_PLAIN), &other));
  }
}

TEST_F(MaskFile, ReadingSurvivesExhaustedMemory) {
  fill();
  const std::string bytes = written(&list, XD_TRANSPORT_XDR);
  file.set_bytes(bytes);
  for (uint64_t nth = 1;; nth++) {
    AttributeNamesReset();
    EditorList other;
    UtFailAllocation(nth);
    const int code = MaskListRead(file.path(), &other);
    const bool struck = UtPendingFault() == 0;
    UtFailAllocation(0);
    EXPECT_EQ(struck ? RC_BODY_FAILED : RC_OK, code) << nth;
    EXPECT_EQ(struck, other.editors.empty());
    if (!struck) break;
  }
}

}  // namespace
