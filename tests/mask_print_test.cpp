#include "elut/files/mask_print.h"

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
  MaskObject* group = NewChild(&list, window, MaskObjectType::GROUP, "g");
  NewChild(&list, group, MaskObjectType::GRAPHIC, "");
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
      "\t\tGRAPHIC \n\t\t{\n\t\t}\n"
      "\t}\n"
      "\tMENUBAR m\n\t{\n\t}\n"
      "}\n"
      "WINDOW w\n{\n}\n",
      output.text());
}

TEST(MaskPrint, Events) {
  EditorList list;
  MaskObject* object = NewObject(&list, MaskObjectType::BUTTON, "b");
  NewHandler(object, {0xFFFFFFFF, 0xFFFFFFFF});
  ChannelCapture output(1);
  EXPECT_EQ(RC_OK, EventHandlersPrint(1, "", &object->handlers));
  EXPECT_EQ(
      "ON ENTER OR EXIT OR CONTROL OR KEY 0xffffffff OR ABORT OR EXPOSE OR "
      "RESIZE OR BUTTON OR MOTION OR ACTIVATE OR MODIFIED\n{\n}\n",
      output.text());
}

}  // namespace
