#include "elut/compile/parse_state.h"
#include "elut/compile/variables.h"
#include "elut/files/listing.h"
#include "elut/files/program_file.h"
#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/targets.h"

namespace {

constexpr int PLAIN = XD_TRANSPORT_PLAIN;
constexpr int XDR = XD_TRANSPORT_XDR;

std::string Written(McProgram* program, int transport) {
  static MemoryFile file;
  FUZZ_CHECK(McXdrWriteToFile(program, transport, file.path()) == RC_OK);
  return file.bytes();
}

McProgram* Read(const std::string& bytes) {
  static MemoryFile file;
  file.set(bytes.data(), bytes.size());
  McProgram* program;
  FUZZ_CHECK(McXdrReadFromFile(file.path(), &program) == RC_OK);
  return program;
}

// The listing and the expressions of PRINT statements.
std::string Listed(const McProgram* program) {
  StdoutCapture listing;
  ChannelCatch expressions;
  FUZZ_CHECK(McDumpProgram(program) == RC_OK);
  (void)McPrintExpr(0, "", program);
  return listing.text() + expressions.take();
}

// Whichever transport a sound program takes, it stays the same.
void CheckRoundTrips(McProgram* program) {
  const std::string plain = Written(program, PLAIN);
  const std::string xdr = Written(program, XDR);
  const std::string listed = Listed(program);
  for (const std::string* bytes : {&plain, &xdr}) {
    McProgram* again = Read(*bytes);
    FUZZ_CHECK(Written(again, PLAIN) == plain);
    FUZZ_CHECK(Written(again, XDR) == xdr);
    FUZZ_CHECK(Listed(again) == listed);
    McProgramFree(&again);
  }
}

}  // namespace

void FuzzProgram(const uint8_t* bytes, size_t size) {
  const ChannelCatch channels;
  mc_parse.trace_level = size % 4 == 0;
  McProgram* program = McProgramCreate();
  {
    OpenSource source(bytes, size);
    int code = McParseProgram(program, &source.lines);
    if (code == RC_OK) {
      (void)Listed(program);
      code = McResolveCalls(program);
    }
    FUZZ_CHECK(McCompileEnter(nullptr) == RC_OK);
    if (code != RC_OK) McProgramFree(&program);
  }
  mc_parse.trace_level = 0;
  if (program == nullptr) return;
  CheckRoundTrips(program);
  McProgramFree(&program);
}

void FuzzProgramFile(const uint8_t* bytes, size_t size) {
  static MemoryFile file;
  file.set(bytes, size);
  McProgram* program;
  if (McXdrReadFromFile(file.path(), &program) != RC_OK) {
    FUZZ_CHECK(program == nullptr);
    return;
  }
  CheckRoundTrips(program);
  McProgramFree(&program);
}
