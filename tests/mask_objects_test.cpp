#include "elut/model/mask_objects.h"

#include "mask_support.h"

namespace {

constexpr char LONGEST[] = "1234567890123456789012345678901";

struct EditorCase {
  std::string first, second;
  const char* warning;  // nullptr: both are editors
};
const EditorCase EDITORS[] = {
    {"a", "A", nullptr},
    {"a", "a", "Ignore 2nd definition of editor a"},
    {"", "", "Ignore 2nd definition of editor "},
    // Equal as far as they are stored.
    {std::string(LONGEST) + "x", std::string(LONGEST) + "y",
     "Ignore 2nd definition of editor 1234567890123456789012345678901"},
};

TEST(MaskObjects, SecondDefinitionIsIgnored) {
  for (const auto& [first, second, warning] : EDITORS) {
    SCOPED_TRACE(first + " " + second);
    ChannelCapture warnings(2);
    EditorList list;
    MaskObject* kept = NewEditor(&list, first.c_str());
    MaskObject* ignored = NewEditor(&list, second.c_str());
    EXPECT_EQ(warning == nullptr ? "" : warning, warnings.text());
    EXPECT_EQ(warning == nullptr ? 2u : 1u, list.editors.size());
    EXPECT_EQ(kept, list.editors[0]);
    // What is in the ignored one still goes with the list; a second module
    // replaces the first.
    NewChild(&list, ignored, MaskObjectType::LABEL, "child");
    McProgram* program;
    EXPECT_EQ(RC_OK, MaskSetModule(ignored, &program));
    EXPECT_EQ(RC_OK, MaskSetModule(ignored, &program));
    EXPECT_EQ(program, ignored->program);
  }
}

TEST(MaskObjects, TenThousandEditorsFindEachOther) {
  ChannelCapture warnings(2);
  EditorList list;
  NewEditor(&list, "editor_1");
  MaskListFree(&list);  // it can be filled again
  for (int i = 0; i < 20000; i++)
    NewEditor(&list, ("editor_" + std::to_string(i % 10000)).c_str());
  EXPECT_EQ(10000u, list.editors.size());
  EXPECT_STREQ("editor_9999", list.editors[9999]->name);
}

}  // namespace
