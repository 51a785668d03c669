#include "elut/mask_print.h"

#include "mask_support.h"

namespace {

std::string Printed(const EditorList& list) {
  ChannelCapture output(0);
  EXPECT_EQ(RC_OK, MaskListPrint(0, &list));
  return output.text();
}

class MaskPrint : public testing::Test {
 protected:
  MaskPrint() { AttributeNamesReset(); }
  EditorList list;
};

TEST_F(MaskPrint, AWindowWithAHandlerAndAButton) {
  MaskObject* window = NewEditor(&list, "Main");
  EXPECT_EQ(RC_OK, AttributeListAdd(&window->attributes, "width", 10));
  AttributeList* attributes = NewHandler(
      window, MaskJoinEvents(MaskEvent(EVENT_ENTER), MaskKeyEvent(13)));
  EXPECT_EQ(RC_OK, AttributeListAdd(attributes, "action", "dummy"));
  NewChild(&list, window, MaskObjectType::BUTTON, "Ok");
  EXPECT_EQ(
      "WINDOW Main\n"
      "{\n"
      "\twidth= 10;\n"
      "\tON ENTER OR KEY 0xd\n"
      "\t{\n"
      "\t\taction= \"dummy\";\n"
      "\t}\n"
      "\tBUTTON Ok\n"
      "\t{\n"
      "\t}\n"
      "}\n",
      Printed(list));
}

TEST_F(MaskPrint, NestedObjectsAndNeighbours) {
  MaskObject* window = NewEditor(&list, "");
  MaskObject* group = NewChild(&list, window, MaskObjectType::GROUP, "g");
  MaskObject* inner = NewChild(&list, group, MaskObjectType::GROUP, "h");
  NewChild(&list, inner, MaskObjectType::GRAPHIC, "");
  NewChild(&list, window, MaskObjectType::MENUBAR, "m");
  list.editors.push_back(nullptr);  // a place of a file that was empty
  NewEditor(&list, "w");
  EXPECT_EQ(
      "WINDOW \n{\n"
      "\tGROUP g\n\t{\n"
      "\t\tGROUP h\n\t\t{\n"
      "\t\t\tGRAPHIC \n\t\t\t{\n\t\t\t}\n"
      "\t\t}\n"
      "\t}\n"
      "\tMENUBAR m\n\t{\n\t}\n"
      "}\n"
      "WINDOW w\n{\n}\n",
      Printed(list));
}

TEST_F(MaskPrint, Attributes) {
  MaskObject* window = NewEditor(&list, "w");
  AttributeList* own = &window->attributes;
  EXPECT_EQ(RC_OK, AttributeListAdd(own, "x", -5));
  EXPECT_EQ(RC_OK, AttributeListAdd(own, "text", ""));
  EXPECT_EQ(RC_OK, AttributeListAdd(own, "text", "a \"b\" %s"));
  EXPECT_EQ(RC_INVALID, AttributeListAdd(own, "x", "a text"));
  EXPECT_EQ(RC_INVALID, AttributeListAdd(own, "text", 1));
  own->entries[4].type = AttributeType{7};  // as only a file can hold it
  EXPECT_EQ(
      "WINDOW w\n{\n"
      "\tx= -5;\n"
      "\ttext= \"\";\n"
      "\ttext= \"a \"b\" %s\";\n"
      "\tx= 0;\n"
      "}\n",
      Printed(list));
}

struct EventCase {
  uint32_t mask;
  uint32_t key;
  const char* line;
};
constexpr EventCase EVENTS[] = {
    {0x1, 0, "ON ENTER\n"},
    {0x9, 266, "ON ENTER OR KEY 0x10a\n"},
    {0x8, 0xFFFFFFFF, "ON KEY 0xffffffff\n"},
    {0x80, 1, "ON BUTTON\n"},
    {0x100000, 0, "ON MODIFIED\n"},
    // CREATE, DESTROY, SHOW, HIDE, CONFIRM and COMPUTE have no words.
    {0x3E800, 0, "ON\n"},
    {0x3E802, 0, "ON EXIT\n"},
    {0xFFFFFFFF, 1,
     "ON ENTER OR EXIT OR CONTROL OR KEY 0x1 OR ABORT OR EXPOSE OR RESIZE OR "
     "BUTTON OR MOTION OR ACTIVATE OR MODIFIED\n"},
};

TEST_F(MaskPrint, Events) {
  for (const EventCase& row : EVENTS) {
    MaskObject* object = NewObject(&list, MaskObjectType::BUTTON, "b");
    NewHandler(object, {row.mask, row.key});
    ChannelCapture output(1);
    EXPECT_EQ(RC_OK, EventHandlersPrint(1, "", &object->handlers));
    EXPECT_EQ(std::string(row.line) + "{\n}\n", output.text());
  }
}

TEST_F(MaskPrint, Programs) {
  MaskObject* window = NewEditor(&list, "w");
  McProgram *handler, *module;
  EXPECT_EQ(RC_OK,
            MaskAddProgramHandler(window, MaskEvent(EVENT_CREATE), &handler));
  SetPrintBody(handler, 5);
  EXPECT_EQ(RC_OK, MaskSetModule(window, &module));
  SetPrintBody(module, 6);
  EXPECT_EQ(
      "WINDOW w\n{\n"
      "\tON EXECUTE\n"
      "\t{\n"
      "\t\tPRINT 5;\n"
      "\t}\n"
      "}\n",
      Printed(list));
}

}  // namespace
