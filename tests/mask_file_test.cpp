// Compiled mask files that none of our compilers writes. What they do write is
// among the cases.
#include "elut/files/mask_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "compile.h"
#include "elut/files/mask_print.h"
#include "rows.h"
#include "stream_catch.h"

namespace {

const std::string HEADER = FromHex("EE EE 03 11 00 20 04 00");

std::string Printed(const EditorList& list) {
  Channels channels;
  EXPECT_EQ(0, channels.bind(0, CHANNEL_STDOUT, 0));
  const StreamCatch out(stdout);
  EXPECT_EQ(0, MaskListPrint(&channels, 0, &list));
  return out.text();
}

TEST(MaskFile, Bodies) {
  // Bodies in the plain transport, "W" for one editor, a window w without
  // attributes so far; the code, the printed form, the bytes that are written
  // when they are others.
  constexpr char ROWS[] = R"(
    00000001 00 | 0 ;; W 0000 0000 00 00 00 | 0 | WINDOW w^J{^J}^J
    00000001 0E 00000001 77 0000 0000 00 00 00 | 0 | GRAPHIC w^J{^J}^J
    00000001 02 0000001F {{31*61}} 0000 0000 00 00 00
      + | 0 | WINDOW {{31*a}}^J{^J}^J
    00000001 0F 00000001 77 0000 0000 00 00 00 | 3016
    00000001 02 00000020 {{32*61}} 0000 0000 00 00 00 | 3016
    00000001 02 00000002 7700 0000 0000 00 00 00 | 3016
    // Too long; a sibling of an editor.
    W 0000 0000 00 00 00 00 | 3016
    W 0000 0000 00 00 02 00000000 0000 0000 00 00 00 | 3016
    // Attributes: their types; one of the type 255 carries no value and is not
    // printed; one of the type 5 is written as 4.
    W 0001 FF 00000001 6E 0000 00 00 00 | 0 | WINDOW w^J{^J}^J
    W 0001 04 00000001 6E FFFFFFFF 0000 00 00 00 | 0 | WINDOW w^J{^J^In= "";^J}^J
    W 0001 01 00000001 6E FFFFFFFF 0000 00 00 00 | 0 | WINDOW w^J{^J^In= -1;^J}^J
    W 0001 05 00000001 6E 00000001 61 0000 00 00 00
      + | 0 | WINDOW w^J{^J^In= "a";^J}^J
      + | W 0001 04 00000001 6E 00000001 61 0000 00 00 00
    W 0001 00 00000001 6E 0000 00 00 00 | 3016
    W 0001 02 00000001 6E 0000 00 00 00 | 3016
    W 0001 06 00000001 6E 0000 00 00 00 | 3016
    // A name with two types, no name, more than the file can hold.
    W 0002 04 00000001 6E FFFFFFFF 01 00000001 6E 00000001 0000 00 00 00 | 3016
    W 0001 01 FFFFFFFF 00000001 0000 00 00 00 | 3016
    W 0000 FFFF 01 00000001 00000000 0000 00 00 00 | 3016
    // Handlers of the kind 2 may hold no program, of 3 they have no body.
    W 0000 0001 02 FFFFFFFF FFFFFFFF 00 00 00 00 | 0 | WINDOW w^J{^J^ION ENTER
      + OR EXIT OR CONTROL OR KEY 0xffffffff OR ABORT OR EXPOSE OR RESIZE OR
      + BUTTON OR MOTION OR ACTIVATE OR MODIFIED EXECUTE^J^I{^J^I}^J}^J
    W 0000 0001 03 00000001 FFFFFFFF 00 00 00
      + | 0 | WINDOW w^J{^J^ION ENTER^J^I{^J^I}^J}^J
    W 0000 0000 02 00 00 | 3016 ;; W 0000 0001 02 00000001 00000000 02 00 00 00
      + | 3016)";
  const auto body = [](std::string hex) {
    if (hex[0] == 'W') hex.replace(0, 1, "00000001 02 00000001 77");
    return HEADER + FromHex(hex);
  };
  for (const auto& [hex, code, printed, other] : Rows<4>(ROWS)) {
    McRun run;
    EditorList list(&run.attribute_names);
    EXPECT_EQ(stoi(code), MaskListReadFromBytes(body(hex), &list)) << hex;
    EXPECT_EQ(printed, Printed(list)) << hex;
    if (code == "0")
      EXPECT_EQ(ToHex(body(other.empty() ? hex : other)),
                ToHex(Written(&list, 4)));
    else
      EXPECT_EQ(0u, list.editors.size() + run.attribute_names.count()) << hex;
  }
}

// A file that was refused leaves no name behind: the next one may use it for
// values of another type. What was there before stays.
TEST(MaskFile, RefusedNames) {
  Compile run, number, text, old;
  ASSERT_EQ(0, run.masks_of("WINDOW w { old = 1; }\n"));
  ASSERT_EQ(0, number.masks_of("WINDOW w { n = 1; m = 1; }\n"));
  ASSERT_EQ(0, text.masks_of("WINDOW w { n = \"a\"; }\n"));
  ASSERT_EQ(0, old.masks_of("WINDOW w { m = 1; old = \"a\"; }\n"));
  AttributeNames& names = run.run->attribute_names;
  EditorList list(&names);
  EXPECT_EQ(3016,
            MaskListReadFromBytes(Written(&number.masks, 4) + '\0', &list));
  EXPECT_EQ(1u, names.count());
  EXPECT_EQ(0, MaskListReadFromBytes(Written(&text.masks, 4), &list));
  EXPECT_EQ(3016, MaskListReadFromBytes(Written(&old.masks, 4), &list));
  EXPECT_EQ(2u, names.count());
  EXPECT_EQ("old n", std::string(names.name(0)) + " " + names.name(1));
  EXPECT_EQ("WINDOW w\n{\n\told= 1;\n}\n", Printed(run.masks));
}

TEST(MaskFile, HeadersAndTransports) {
  constexpr char ROWS[] = R"(
    EE EE 03 11 09 21 04 01 | 0 ;; EE EE 01 11 00 20 04 00 | 6197
    EE EE 02 11 00 20 04 00 | 6197 ;; EE EE 03 10 00 20 04 00 | 6194
    EE EE 03 11 00 20 03 00 | 3011)";
  Compile masks;
  for (const auto& [header, code] : Rows<2>(ROWS))
    EXPECT_EQ(stoi(code),
              MaskListReadFromBytes(FromHex(header + "00000000"), &masks.masks))
        << header;
  Compile window;
  ASSERT_EQ(0, window.masks_of("WINDOW w { n = 1; }\n"));
  const std::string path =
      testing::TempDir() + "quillo-masks" + std::to_string(getpid()) + ".cg";
  EXPECT_EQ(0, MaskListWrite(&window.masks, 4, path.c_str()));
  EXPECT_EQ(0, MaskListRead(path.c_str(), &masks.masks));
  EXPECT_EQ(Written(&window.masks, 4), Written(&masks.masks, 4));
  EXPECT_EQ(0, unlink(path.c_str()));
  EXPECT_EQ(1008, MaskListRead("/none", &masks.masks));
  EXPECT_TRUE(masks.masks.editors.empty());
  EXPECT_EQ(1008, MaskListRead("/dev/null", &masks.masks));
  EXPECT_EQ("code 3011", Written(&masks.masks, 2));
}

TEST(MaskFile, Nesting) {
  for (const auto& [depth, code] :
       {std::pair(150, 0), std::pair(151, 3016), std::pair(300000, 3016)}) {
    Compile deep;
    EditorList other(&deep.run->attribute_names);
    MaskObject* object =
        MaskCreateObject(&deep.masks, "deep", MaskObjectType::WINDOW);
    MaskAddEditor(&deep.masks, object, &deep.reports);
    for (int i = 1; i < depth; i++) {
      MaskObject* group =
          MaskCreateObject(&deep.masks, "", MaskObjectType::GROUP);
      MaskAppendChild(object, group);
      object = group;
    }
    EXPECT_EQ(code, MaskListReadFromBytes(Written(&deep.masks, 4), &other))
        << depth;
  }
}

}  // namespace
