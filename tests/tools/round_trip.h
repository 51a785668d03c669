// Compiled files that are decompiled, compiled again, and decompiled again.
#pragma once

#include <string>

#include "tests/compile.h"
#include "tools/decompile/decompile.h"

struct CompileWay {
  int transport;
  int16_t trace;
};
inline constexpr CompileWay COMPILE_WAYS[] = {{XD_TRANSPORT_XDR, 0},
                                              {XD_TRANSPORT_PLAIN, 0},
                                              {XD_TRANSPORT_XDR, 1},
                                              {XD_TRANSPORT_PLAIN, 1}};

// What a source compiles to; empty when that is nothing.
inline std::string CompileBytes(McSrcProvider* files, const std::string& name,
                                CompileWay way) {
  Compile compile(nullptr, files);
  compile.front.parse.trace_level = way.trace;
  if (compile.compile(name) != RC_OK) return {};
  return name.ends_with(".msk") ? Written(&compile.masks, way.transport)
                                : Written(&compile.program, way.transport);
}

// What is wrong with the way back from the bytes and forth again; empty for
// nothing. `*text` becomes the source.
inline std::string RoundTrip(const std::string& bytes, CompileWay way,
                             std::string* text = nullptr) {
  const Decompiled first = Decompile(bytes, "again");
  if (first.outcome != DecompileOutcome::GIVEN) return first.message;
  TextFiles files;
  for (const SourceFile& file : first.files) files.texts[file.name] = file.text;
  if (text != nullptr) *text = first.files[0].text;
  const std::string again = CompileBytes(&files, first.files[0].name, way);
  if (again != bytes) return "the text compiles to other bytes";
  const Decompiled second = Decompile(again, "again");
  if (second.files.size() != first.files.size()) return "the text changes";
  for (size_t i = 0; i < first.files.size(); i++)
    if (second.files[i].text != first.files[i].text) return "the text changes";
  return {};
}
