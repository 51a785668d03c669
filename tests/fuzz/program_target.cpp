#include "elut/files/listing.h"
#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/targets.h"

namespace {

// The listing, the expressions of PRINT statements, and all that nodes refer
// to.
std::string Listed(const McProgram& program) {
  Channels channels;
  channels.bind_standard();
  const StreamCatch out(stdout);
  FUZZ_CHECK(McDumpProgram(&channels, &program) == RC_OK);
  (void)McPrintExpr(&channels, CHANNEL_MASKS, "", &program);
  return out.text() + AllTrees(program);
}

// Whichever transport a sound program takes, it stays the same.
void CheckRoundTrips(McProgram* program) {
  const std::string plain = Written(program, XD_TRANSPORT_PLAIN);
  const std::string xdr = Written(program, XD_TRANSPORT_XDR);
  const std::string listed = Listed(*program);
  for (const std::string* bytes : {&plain, &xdr}) {
    UtPtr<McProgram> again;
    FUZZ_CHECK(McXdrReadFromBytes(*bytes, &again) == RC_OK);
    FUZZ_CHECK(Written(again.get(), XD_TRANSPORT_PLAIN) == plain);
    FUZZ_CHECK(Written(again.get(), XD_TRANSPORT_XDR) == xdr);
    FUZZ_CHECK(Listed(*again) == listed);
  }
}

}  // namespace

void FuzzProgram(const uint8_t* bytes, size_t size) {
  Compile compile;
  compile.front.parse.trace_level = size % 4 == 0;
  if (CompileInput(&compile, "a.mac", bytes, size) == RC_OK)
    CheckRoundTrips(&compile.program);
}

void FuzzProgramFile(const uint8_t* bytes, size_t size) {
  UtPtr<McProgram> program;
  const int code = McXdrReadFromBytes(TextOf(bytes, size), &program);
  FUZZ_CHECK((code == RC_OK) == (program != nullptr));
  if (code == RC_OK) CheckRoundTrips(program.get());
}
