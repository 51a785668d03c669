#include "elut/compile/parse_text.h"
#include "elut/files/mask_print.h"
#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/targets.h"

namespace {

// The printed form, and all that the nodes of programs refer to.
std::string Printed(const EditorList& list) {
  Channels channels;
  channels.bind_standard();
  const StreamCatch out(stdout);
  FUZZ_CHECK(MaskListPrint(&channels, CHANNEL_MASKS, &list) == RC_OK);
  std::string text = out.text();
  for (const MaskObject* object = list.youngest; object != nullptr;
       object = object->older) {
    if (object->program != nullptr) text += AllTrees(*object->program);
    for (uint16_t i = 0; i < object->handlers.count; i++) {
      const EventHandler& handler = object->handlers.entries[i];
      if (handler.kind == HandlerKind::PROGRAM && handler.program != nullptr)
        text += AllTrees(*handler.program);
    }
  }
  return text;
}

// Whichever transport sound masks take, they stay the same.
void CheckRoundTrips(EditorList* list) {
  const std::string plain = Written(list, XD_TRANSPORT_PLAIN);
  const std::string xdr = Written(list, XD_TRANSPORT_XDR);
  const std::string printed = Printed(*list);
  for (const std::string* bytes : {&plain, &xdr}) {
    McRun run;
    EditorList again(&run.attribute_names);
    FUZZ_CHECK(MaskListReadFromBytes(*bytes, &again) == RC_OK);
    FUZZ_CHECK(Written(&again, XD_TRANSPORT_PLAIN) == plain);
    FUZZ_CHECK(Written(&again, XD_TRANSPORT_XDR) == xdr);
    FUZZ_CHECK(Printed(again) == printed);
  }
}

}  // namespace

void FuzzMask(const uint8_t* bytes, size_t size) {
  Compile compile;
  if (CompileInput(&compile, "a.msk", bytes, size) == RC_OK)
    CheckRoundTrips(&compile.masks);
}

void FuzzMaskFile(const uint8_t* bytes, size_t size) {
  McRun run;
  EditorList list(&run.attribute_names);
  if (MaskListReadFromBytes(TextOf(bytes, size), &list) == RC_OK)
    return CheckRoundTrips(&list);
  FUZZ_CHECK(list.editors.empty() && run.attribute_names.count() == 0);
}

void FuzzText(const uint8_t* bytes, size_t size) {
  const std::string text = TextOf(bytes, size);
  Compile handlers;
  MaskObject* holder;
  const int code = MaskParseHandlerText(&handlers.front, text.c_str(),
                                        &handlers.masks, &holder);
  FUZZ_CHECK((holder != nullptr) == (code == RC_OK));
  Compile programs;
  McProgram* program;
  (void)MaskParseHandlerText(&programs.front, text.c_str(), "form.msk (7)",
                             &programs.masks, &program);
  if (program == nullptr) program = &programs.program;
  // Into the program of the handler, whose names it may use.
  McTree body;
  (void)McParseProgramText(&programs.front, text.c_str(), program, &body);
  (void)AllTrees(*program);
  McSrcSetText(&handlers.front.scanner.source, text);
  (void)McParseExpressionList(&handlers.front);
}
