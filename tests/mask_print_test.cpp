#include "elut/mask_print.h"

#include "mask_support.h"

namespace {

TEST(MaskPrint, ObjectsAndAttributes) {
  AttributeNamesReset();
  EditorList list;
  MaskObject* window = NewEditor(&list, "");
  Add(&window->attributes, "x", -5);
  Add(&window->attributes, "text", "a \"b\" %s");
  Add(&window->attributes, "text", "");
  window->attributes.entries[2].type = AttributeType{7};  // only in files
  McProgram* module;
  EXPECT_EQ(RC_OK, MaskSetModule(window, &module));  // is not printed
  SetPrintBody(module, 6);
  MaskObject* group = NewChild(&list, window, MaskObjectType::GROUP, "g");
  MaskObject* inner = NewChild(&list, group, MaskObjectType::GROUP, "h");
  NewChild(&list, inner, MaskObjectType::GRAPHIC, "");
  NewChild(&list, window, MaskObjectType::MENUBAR, "m");
  list.editors.push_back(nullptr);  // a place of a file that was empty
  NewEditor(&list, "w");
  ChannelCapture output(0);
  EXPECT_EQ(RC_OK, MaskListPrint(0, &list));
  EXPECT_EQ(
      "WINDOW \n{\n"
      "\tx= -5;\n"
      "\ttext= \"a \"b\" %s\";\n"
      "\tGROUP g\n\t{\n"
      "\t\tGROUP h\n\t\t{\n"
      "\t\t\tGRAPHIC \n\t\t\t{\n\t\t\t}\n"
      "\t\t}\n"
      "\t}\n"
      "\tMENUBAR m\n\t{\n\t}\n"
      "}\n"
      "WINDOW w\n{\n}\n",
      output.text());
}

struct EventCase {
  uint32_t mask, key;
  const char* line;
};
constexpr EventCase EVENTS[] = {
    {0x8, 0xFFFFFFFF, "ON KEY 0xffffffff\n"},
    // CREATE, DESTROY, SHOW, HIDE, CONFIRM and COMPUTE have no words.
    {0x3E800, 0, "ON\n"},
    {0x3E802, 0, "ON EXIT\n"},
    {0xFFFFFFFF, 1,
     "ON ENTER OR EXIT OR CONTROL OR KEY 0x1 OR ABORT OR EXPOSE OR RESIZE OR "
     "BUTTON OR MOTION OR ACTIVATE OR MODIFIED\n"},
};

TEST(MaskPrint, Events) {
  for (const EventCase& row : EVENTS) {
    EditorList list;
    MaskObject* object = NewObject(&list, MaskObjectType::BUTTON, "b");
    NewHandler(object, {row.mask, row.key});
    ChannelCapture output(1);
    EXPECT_EQ(RC_OK, EventHandlersPrint(1, "", &object->handlers));
    EXPECT_EQ(std::string(row.line) + "{\n}\n", output.text());
  }
}

}  // namespace
