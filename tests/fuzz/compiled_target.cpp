#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/targets.h"
#include "tests/tools/compiled_files.h"
#include "tools/compiled/assembly.h"
#include "tools/compiled/check.h"
#include "tools/dump.h"

namespace {

bool IsReadable(std::string_view bytes) {
  bool readable = true;
  CompiledCheck(bytes, [&](const CompiledTrouble& trouble) {
    FUZZ_CHECK(trouble.offset <= bytes.size());
    readable &= trouble.grade != CompiledGrade::UNREADABLE;
  });
  return readable;
}

// Adds up what a walk covers.
class Coverage : public CompiledSink {
 public:
  void value(const CompiledValue& value) override { cover(value); }
  void node(const CompiledNode& node) override {
    CompiledValue values[COMPILED_NODE_FIELDS];
    const int count = CompiledNodeValues(walk->transport(), node, values);
    for (int i = 0; i < count; i++) cover(values[i]);
  }
  void node_end(const CompiledValue& value) override { cover(value); }
  uint64_t end = 0;

 private:
  void cover(const CompiledValue& value) {
    FUZZ_CHECK(value.offset == end);
    end += value.length;
  }
};

void CheckTextForm(const std::string& bytes) {
  ToolText text;
  CompiledDisassemble(bytes, &text);
  FUZZ_CHECK(text.finish());
  XdMemory again;
  CompiledAssemblyError error;
  FUZZ_CHECK(CompiledAssemble(text.text, &again, &error));
  FUZZ_CHECK(again.bytes() == bytes);
}

}  // namespace

void FuzzCompiledFile(const uint8_t* bytes, size_t size) {
  const std::string file = TextOf(bytes, size);
  const bool readable = IsReadable(file);
  FUZZ_CHECK(readable == ReaderTakes(file));
  Coverage coverage;
  CompiledWalk walk(file, &coverage);
  const bool complete = walk.run();
  FUZZ_CHECK(coverage.end == walk.position() && coverage.end <= size);
  FUZZ_CHECK(complete || !readable);
  ToolText text, json;
  FUZZ_CHECK(ToolDumpText(file, &text) == complete);
  FUZZ_CHECK(ToolDumpJson("a.cm", file, &json) == complete);
  if (readable) CheckTextForm(file);
}

void FuzzAssembly(const uint8_t* bytes, size_t size) {
  XdMemory file;
  CompiledAssemblyError error;
  if (!CompiledAssemble(TextOf(bytes, size), &file, &error)) {
    FUZZ_CHECK(!error.message.empty());
    return;
  }
  const std::string made(file.bytes());
  FUZZ_CHECK(ReaderTakes(made));
  CheckTextForm(made);
}
