#include "elut/files/mask_file.h"

#include "file_tree.h"
#include "mask_support.h"
#include "quillo_run.h"
#include "xd_support.h"

namespace {

const std::string PLAIN_HEADER = FromHex("EE EE 03 11 00 20 04 00");
const std::string XDR_HEADER = FromHex("EE EE 03 11 00 20 01 00");

class MaskFile : public FileTree {
 protected:
  MaskFile() { AttributeNamesReset(); }

  static std::string written(EditorList* masks, int transport) {
    EXPECT_EQ(RC_OK, MaskListWrite(masks, transport, "f"));
    return ReadWhole("f").value_or("");
  }
  int read(const std::string& bytes, EditorList* masks) {
    write("f", bytes);
    return MaskListRead("f", masks);
  }

  EditorList list;
};

TEST_F(MaskFile, Bytes) {
  MaskObject* window = NewEditor(&list, "Main");
  Add(&window->attributes, "width", 10);
  Add(&window->attributes, "text", "");
  Add(NewHandler(window, {0x9, 13}), "action", "dummy");
  NewChild(&list, window, MaskObjectType::BUTTON, "Ok");
  const std::string plain = FromHex(
      "00 00 00 01"                          // editors
      "02 00 00 00 04 4D 61 69 6E"           // WINDOW Main
      "00 02"                                // attributes
      "01 00 00 00 05 77 69 64 74 68"        // width
      "00 00 00 0A"                          //   = 10
      "04 00 00 00 04 74 65 78 74"           // text
      "FF FF FF FF"                          //   = ""
      "00 01"                                // handlers
      "01 00 00 00 09 00 00 00 0D"           // ENTER, KEY 13
      "00 01"                                // attributes
      "04 00 00 00 06 61 63 74 69 6F 6E"     // action
      "00 00 00 05 64 75 6D 6D 79"           //   = "dummy"
      "00"                                   // no program
      "04 00 00 00 02 4F 6B 00 00 00 00 00"  // BUTTON Ok
      "00 00 00");  // ends: Ok's children, Ok's siblings, Main's siblings
  const std::string xdr = FromHex(
      "00000001"
      "00000002 00000004 00000004 4D61696E 00000002"
      "00000001 00000005 00000005 7769647468 000000 0000000A"
      "00000004 00000004 00000004 74657874 FFFFFFFF 00000001"
      "00000001 00000009 0000000D 00000001"
      "00000004 00000006 00000006 616374696F6E 0000"
      "00000005 00000005 64756D6D79 000000 00000000"
      "00000004 00000002 00000002 4F6B 0000 00000000 00000000 00000000"
      "00000000 00000000 00000000");
  EXPECT_EQ(ToHex(PLAIN_HEADER + plain),
            ToHex(written(&list, XD_TRANSPORT_PLAIN)));
  EXPECT_EQ(ToHex(XDR_HEADER + xdr), ToHex(written(&list, XD_TRANSPORT_XDR)));
}

// Bodies in the plain transport, of a window W where not said otherwise.
#define W "00000001 02 00000001 57 "
#define NAME_N "00000001 6E "
#define A_31 "61616161616161616161616161616161616161616161616161616161616161"
constexpr const char* GOOD_BODIES[] = {
    "00000001 00",  // a place without an editor
    W "0000 0000 00 00 00",
    "00000001 0E 00000001 57 0000 0000 00 00 00",  // the last type
    "00000001 02 0000001F " A_31 "0000 0000 00 00 00",
    // Attributes of the type 255 carry no value.
    W "0001 FF" NAME_N "0000 00 00 00",
    W "0001 04" NAME_N "FFFFFFFF 0000 00 00 00",
    // Handlers of the kind 2 may hold no program, of 3 they have no body.
    W "0000 0001 02 00000001 00000000 00 00 00 00",
    W "0000 0001 03 00000001 FFFFFFFF 00 00 00",
};
constexpr const char* BAD_BODIES[] = {
    W "0000 0000 00 00 00 00",                           // too long
    W "0000 0000 00 00 02 00000000 0000 0000 00 00 00",  // an editor's sibling
    "00000001 0F 00000001 57 0000 0000 00 00 00",        // no such type
    "00000001 02 00000020 61 " A_31 "0000 0000 00 00 00",
    "00000001 02 00000002 6100 0000 0000 00 00 00",  // a zero in the name
    W "0001 06" NAME_N "0000 00 00 00",              // nor of an attribute
    // A name with two types, no name, more than the file can hold.
    W "0002 04" NAME_N "FFFFFFFF 01" NAME_N "00000001 0000 00 00 00",
    W "0001 01 FFFFFFFF 00000001 0000 00 00 00",
    W "0000 FFFF 01 00000001 00000000 0000 00 00 00",
};
// Type 5 is a string too, and written as type 4.
constexpr char TYPE_5[] = W "0001 05" NAME_N "00000001 61 0000 00 00 00";
constexpr char TYPE_4[] = W "0001 04" NAME_N "00000001 61 0000 00 00 00";

TEST_F(MaskFile, Bodies) {
  const auto again = [&](const char* body) {
    AttributeNamesReset();
    EXPECT_EQ(RC_OK, read(PLAIN_HEADER + FromHex(body), &list)) << body;
    return ToHex(written(&list, XD_TRANSPORT_PLAIN).substr(8));
  };
  for (const char* body : GOOD_BODIES)
    EXPECT_EQ(ToHex(FromHex(body)), again(body));
  EXPECT_EQ(ToHex(FromHex(TYPE_4)), again(TYPE_5));
  for (const char* body : BAD_BODIES) {
    AttributeNamesReset();
    EXPECT_EQ(RC_BODY_FAILED, read(PLAIN_HEADER + FromHex(body), &list))
        << body;
    EXPECT_TRUE(list.editors.empty()) << body;
  }
}

TEST_F(MaskFile, Headers) {
  constexpr std::pair<const char*, int> READ[] = {
      {"EE EE 03 11 09 21 04 01", RC_OK},
      {"EE EE 01 11 00 20 04 00", RC_HEADER_MAGIC},
      {"EE EE 03 10 00 20 04 00", RC_HEADER_VERSION},
      {"EE EE 03 11 00 20 03 00", RC_INVALID}};
  for (const auto& [header, code] : READ)
    EXPECT_EQ(code, read(FromHex(header) + std::string(4, '\0'), &list))
        << header;
  EXPECT_EQ(RC_CANNOT_CREATE, MaskListRead("none", &list));
  EXPECT_EQ(RC_INVALID, MaskListWrite(&list, 2, "f"));
  EXPECT_EQ("", ReadWhole("f"));
}

TEST_F(MaskFile, Nesting) {
  constexpr std::pair<int, int> DEPTHS[] = {
      {150, RC_OK}, {151, RC_BODY_FAILED}, {300000, RC_BODY_FAILED}};
  for (const auto& [depth, code] : DEPTHS) {
    MaskListFree(&list);
    MaskObject* object = NewEditor(&list, "deep");
    for (int i = 1; i < depth; i++)
      object = NewChild(&list, object, MaskObjectType::GROUP, "");
    EditorList other;
    EXPECT_EQ(code, read(written(&list, XD_TRANSPORT_PLAIN), &other)) << depth;
  }
}

}  // namespace
