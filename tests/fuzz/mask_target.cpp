#include "elut/compile/variables.h"
#include "elut/files/mask_file.h"
#include "elut/files/mask_print.h"
#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/targets.h"

namespace {

constexpr int PLAIN = XD_TRANSPORT_PLAIN;
constexpr int XDR = XD_TRANSPORT_XDR;

std::string Written(EditorList* list, int transport) {
  static MemoryFile file;
  FUZZ_CHECK(MaskListWrite(list, transport, file.path()) == RC_OK);
  return file.bytes();
}

std::string Printed(const EditorList& list) {
  ChannelCatch output;
  FUZZ_CHECK(MaskListPrint(0, &list) == RC_OK);
  return output.take();
}

// Whichever transport sound masks take, they stay the same.
void CheckRoundTrips(EditorList* list) {
  const std::string plain = Written(list, PLAIN);
  const std::string xdr = Written(list, XDR);
  const std::string printed = Printed(*list);
  static MemoryFile file;
  for (const std::string* bytes : {&plain, &xdr}) {
    file.set(bytes->data(), bytes->size());
    EditorList again;
    FUZZ_CHECK(MaskListRead(file.path(), &again) == RC_OK);
    FUZZ_CHECK(Written(&again, PLAIN) == plain);
    FUZZ_CHECK(Written(&again, XDR) == xdr);
    FUZZ_CHECK(Printed(again) == printed);
  }
}

}  // namespace

void FuzzMask(const uint8_t* bytes, size_t size) {
  AttributeNamesReset();
  EditorList list;
  int code;
  {
    const ChannelCatch channels;
    OpenSource source(bytes, size);
    code = MaskParseDefinition(&list, &source.lines);
    FUZZ_CHECK(McCompileEnter(nullptr) == RC_OK);
  }
  if (code == RC_OK) CheckRoundTrips(&list);
}

void FuzzMaskFile(const uint8_t* bytes, size_t size) {
  AttributeNamesReset();
  static MemoryFile file;
  file.set(bytes, size);
  EditorList list;
  if (MaskListRead(file.path(), &list) == RC_OK)
    CheckRoundTrips(&list);
  else
    FUZZ_CHECK(list.editors.empty());
}

void FuzzText(const uint8_t* bytes, size_t size) {
  const ChannelCatch channels;
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  AttributeNamesReset();
  {
    EditorList list;
    MaskObject* holder;
    const int code = MaskParseHandlerText(text.c_str(), &list, &holder);
    FUZZ_CHECK((holder != nullptr) == (code == RC_OK));
    FUZZ_CHECK(McCompileEnter(nullptr) == RC_OK);
    McTokenStringsFree();
  }
  McProgram* program;
  (void)MaskParseHandlerText(text.c_str(), "form.msk (7)", &program);
  McTokenStringsFree();
  if (program == nullptr) program = McProgramCreate();
  // Into the program of the handler, whose names it may use.
  McNodeRef body;
  (void)McParseProgramText(text.c_str(), program, &body);
  FUZZ_CHECK(McCompileEnter(nullptr) == RC_OK);
  McTokenStringsFree();
  McProgramFree(&program);
  FUZZ_CHECK(McSrcSetText(text.c_str()) == RC_OK);
  (void)McParseExpressionList();
  McTokenStringsFree();
  McParseReset();
  McSrcReset();
}
