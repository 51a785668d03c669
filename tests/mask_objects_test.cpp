#include "elut/mask_objects.h"

#include <functional>

#include "mask_support.h"

namespace {

std::string Names(const MaskObject* parent) {
  std::string names;
  for (const MaskObject* child = parent->first_child; child != nullptr;
       child = child->next) {
    EXPECT_EQ(parent, child->parent);
    names += child->name;
    names += ' ';
  }
  return names;
}

struct NameCase {
  const char* given;
  const char* stored;
};
constexpr NameCase NAMES[] = {
    {"", ""},
    {"w", "w"},
    {"1234567890123456789012345678901", "1234567890123456789012345678901"},
    {"1234567890123456789012345678901234567890",
     "1234567890123456789012345678901"},
};

TEST(MaskObjects, NamesAreCut) {
  EditorList list;
  for (const NameCase& row : NAMES) {
    const MaskObject* object =
        NewObject(&list, MaskObjectType::LABEL, row.given);
    EXPECT_STREQ(row.stored, object->name);
    EXPECT_EQ(MaskObjectType::LABEL, object->type);
    EXPECT_EQ('\0', object->name[MASK_NAME_BYTES - 1]);
  }
}

TEST(MaskObjects, ChildrenKeepTheirOrder) {
  EditorList list;
  MaskObject* window = NewEditor(&list, "w");
  MaskObject* group = NewChild(&list, window, MaskObjectType::GROUP, "g");
  NewChild(&list, group, MaskObjectType::LABEL, "a");
  NewChild(&list, window, MaskObjectType::LABEL, "b");
  NewChild(&list, window, MaskObjectType::LABEL, "c");
  EXPECT_EQ("g b c ", Names(window));
  EXPECT_EQ("a ", Names(group));
}

struct EditorCase {
  const char* first;
  const char* second;
  const char* warning;  // nullptr: both are editors
};
constexpr EditorCase EDITORS[] = {
    {"a", "b", nullptr},
    {"a", "A", nullptr},
    {"a", "a", "Ignore 2nd definition of editor a"},
    {"", "", "Ignore 2nd definition of editor "},
    // Equal as far as they are stored.
    {"1234567890123456789012345678901x", "1234567890123456789012345678901y",
     "Ignore 2nd definition of editor 1234567890123456789012345678901"},
};

TEST(MaskObjects, SecondDefinitionIsIgnored) {
  for (const EditorCase& row : EDITORS) {
    ChannelCapture warnings(2);
    EditorList list;
    MaskObject* first = NewEditor(&list, row.first);
    MaskObject* second = NewEditor(&list, row.second);
    const bool ignored = row.warning != nullptr;
    EXPECT_EQ(ignored ? row.warning : "", warnings.text());
    ASSERT_EQ(ignored ? 1u : 2u, list.editors.size());
    EXPECT_EQ(first, list.editors[0]);
    // What is in the ignored one still goes with the list.
    NewChild(&list, second, MaskObjectType::LABEL, "child");
    McProgram* program;
    EXPECT_EQ(RC_OK, MaskSetModule(second, &program));
  }
}

TEST(MaskObjects, TenThousandEditorsFindEachOther) {
  ChannelCapture warnings(2);
  EditorList list;
  for (int round = 0; round < 2; round++)
    for (int i = 0; i < 10000; i++)
      NewEditor(&list, ("editor_" + std::to_string(i)).c_str());
  EXPECT_EQ(10000u, list.editors.size());
  EXPECT_STREQ("editor_9999", list.editors[9999]->name);
}

TEST(MaskObjects, AFreedListCanBeFilledAgain) {
  EditorList list;
  NewEditor(&list, "a");
  MaskListFree(&list);
  EXPECT_TRUE(list.editors.empty());
  NewEditor(&list, "a");
  EXPECT_EQ(1u, list.editors.size());
}

TEST(MaskObjects, ASecondModuleReplacesTheFirst) {
  EditorList list;
  MaskObject* window = NewEditor(&list, "w");
  McProgram *first, *second;
  EXPECT_EQ(RC_OK, MaskSetModule(window, &first));
  EXPECT_EQ(RC_OK, MaskSetModule(window, &second));
  EXPECT_EQ(second, window->program);
}

// One builder of each kind after the other, with every allocation failing
// once: a builder that fails changes nothing.
TEST(MaskObjects, BuildersSurviveExhaustedMemory) {
  EditorList* list;
  MaskObject* window;
  McProgram* program;
  AttributeList* attributes;
  const std::string long_text(70000, 'x');
  const std::function<int()> builders[] = {
      [&] {
        return MaskCreateObject(list, "w", MaskObjectType::WINDOW, &window);
      },
      [&] { return MaskAddEditor(list, window); },
      [&] {
        return AttributeListAdd(&window->attributes, "t", long_text.c_str());
      },
      [&] {
        return MaskAddAttributeHandler(window, {EVENT_ENTER, 0}, &attributes);
      },
      [&] { return AttributeListAdd(attributes, "n", 1); },
      [&] {
        return MaskAddProgramHandler(window, {EVENT_EXIT, 0}, &program);
      },
      [&] { return MaskSetModule(window, &program); },
  };
  const auto state = [&]() -> std::string {
    if (window == nullptr) return "no window";
    return std::to_string(list->editors.size()) + " editors, " +
           std::to_string(window->attributes.count) + " attributes, " +
           std::to_string(window->handlers.count) + " handlers" +
           (window->program == nullptr ? "" : ", module");
  };
  bool struck = true;
  for (uint64_t nth = 1; struck; nth++) {
    AttributeNamesReset();
    EditorList fresh;
    list = &fresh;
    window = nullptr;
    UtFailAllocation(nth);
    struck = false;
    for (const std::function<int()>& build : builders) {
      const std::string before = state();
      int code = build();
      if (code != RC_OK) {
        EXPECT_FALSE(struck);
        EXPECT_TRUE(code == RC_NO_MEMORY || code == RC_NO_NODE) << code;
        EXPECT_EQ(before, state());
        struck = true;
        code = build();
      }
      ASSERT_EQ(RC_OK, code);
    }
    UtFailAllocation(0);
    EXPECT_EQ("1 editors, 1 attributes, 2 handlers, module", state());
  }
}

}  // namespace
