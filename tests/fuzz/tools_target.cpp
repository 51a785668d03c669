// Compiled files through the tools that turn them back into words.
#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/targets.h"
#include "tools/compare/difference.h"
#include "tools/decompile/decompile.h"

namespace {

// A text that is given compiles to the bytes that it was made of.
void CheckText(const std::string& bytes) {
  const Decompiled result = Decompile(bytes, "a");
  if (result.outcome != DecompileOutcome::GIVEN) return;
  Compile compile;
  for (const SourceFile& file : result.files)
    compile.files.texts[file.name] = file.text;
  const std::string& name = result.files[0].name;
  compile.front.parse.trace_level =
      result.files[0].text.find("-t 1 ") != std::string::npos ? 1 : 0;
  FUZZ_CHECK(compile.compile(name) == RC_OK);
  FUZZ_CHECK(bytes == (name.ends_with(".msk")
                           ? Written(&compile.masks, bytes[6])
                           : Written(&compile.program, bytes[6])));
}

}  // namespace

void FuzzDecompileFile(const uint8_t* bytes, size_t size) {
  CheckText(TextOf(bytes, size));
}

void FuzzDecompile(const uint8_t* bytes, size_t size) {
  for (const char* name : {"a.mac", "a.msk"})
    for (const int16_t trace : {int16_t{0}, int16_t{1}}) {
      Compile compile;
      compile.front.parse.trace_level = trace;
      if (CompileInput(&compile, name, bytes, size) != RC_OK) continue;
      const bool masks = name[3] == 's';
      const std::string made =
          masks ? Written(&compile.masks, XD_TRANSPORT_PLAIN)
                : Written(&compile.program, XD_TRANSPORT_PLAIN);
      FUZZ_CHECK(Decompile(made, "a").outcome == DecompileOutcome::GIVEN);
      CheckText(made);
    }
}

// The input is one file behind the other, the first one half of it.
void FuzzDiffFile(const uint8_t* bytes, size_t size) {
  const std::string both = TextOf(bytes, size);
  const std::string a = both.substr(0, size / 2), b = both.substr(size / 2);
  FUZZ_CHECK(!FindDifference(a, "a", a, "a").affects_users());
  for (const Difference& difference :
       {FindDifference(a, "a", b, "b"), FindDifference(both, "a", b, "b")}) {
    bool changed = false;
    difference.each_change([&](const Change&) { changed = true; });
    FUZZ_CHECK(!difference.trouble.empty() || difference.same() || changed);
    ToolText out;
    PrintDifference(&out, difference);
    PrintDifferenceJson(&out, difference);
    FUZZ_CHECK(out.finish());
  }
}
