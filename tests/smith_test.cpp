// Random sources: they have everything that the language offers, each compiles
// to the same bytes every time, and these can be read.
#include "smith/smith.h"

#include <gtest/gtest.h>

#include "compile.h"
#include "tree_text.h"

namespace {

constexpr SmithKind KINDS[] = {SmithKind::PROGRAM, SmithKind::MODULE,
                               SmithKind::MASK};

TEST(Smith, CoversTheLanguage) {
  SmithCoverage coverage;
  for (uint64_t seed = 0; seed < 2000; seed++)
    (void)Smith(KINDS[seed % 3], seed, SmithSize::SMALL, "a", &coverage);
  for (size_t i = 0; i < coverage.productions.size(); i++)
    EXPECT_LT(0u, coverage.productions[i]) << SmithProductions()[i];
  const std::string text = "PROGRAM p;\nPRINT \"a\", x(1);\n";
  for (uint64_t seed = 0; seed < 2000; seed++)
    (void)SmithDamage(text, seed, &coverage);
  for (size_t i = 0; i < coverage.damages.size(); i++)
    EXPECT_LT(0u, coverage.damages[i]) << SmithDamages()[i];
}

// What a compile says, and what it yields in that transport.
struct Result {
  bool operator==(const Result&) const = default;
  int code;
  std::string reports, bytes;
};

Result ResultOf(const SmithSource& source, int transport) {
  Compile compile;
  compile.files.texts = source.includes;
  compile.files.texts[source.file] = source.text;
  const int code = compile.compile(source.file);
  return {code, compile.reports.text,
          source.kind == SmithKind::MASK
              ? Written(&compile.masks, transport)
              : Written(&compile.program, transport)};
}

std::string ReadAndWritten(const SmithSource& source, const std::string& bytes,
                           int transport) {
  if (source.kind == SmithKind::MASK) {
    McRun run;
    EditorList masks(&run.attribute_names);
    EXPECT_EQ(RC_OK, MaskListReadFromBytes(bytes, &masks));
    return Written(&masks, transport);
  }
  UtPtr<McProgram> program;
  EXPECT_EQ(RC_OK, McXdrReadFromBytes(bytes, &program));
  if (program == nullptr) return "";
  (void)AllTrees(*program);  // follows every reference
  return Written(program.get(), transport);
}

TEST(Smith, CompilesAlike) {
  for (uint64_t seed = 0; seed < 300; seed++) {
    SmithSource source = Smith(KINDS[seed % 3], seed);
    SCOPED_TRACE(seed);
    const Result plain = ResultOf(source, XD_TRANSPORT_PLAIN);
    const Result xdr = ResultOf(source, XD_TRANSPORT_XDR);
    ASSERT_EQ(RC_OK, plain.code) << plain.reports;
    ASSERT_TRUE(plain == ResultOf(source, XD_TRANSPORT_PLAIN));
    ASSERT_TRUE(xdr.bytes ==
                ReadAndWritten(source, plain.bytes, XD_TRANSPORT_XDR));
    ASSERT_TRUE(plain.bytes ==
                ReadAndWritten(source, xdr.bytes, XD_TRANSPORT_PLAIN));
    source.text = SmithDamage(source.text, seed);
    ASSERT_TRUE(ResultOf(source, XD_TRANSPORT_PLAIN) ==
                ResultOf(source, XD_TRANSPORT_PLAIN));
  }
}

}  // namespace
