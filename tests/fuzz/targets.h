// Fuzz targets: what holds for any bytes whatsoever.
//
// A target takes one input, does with it all that a run of the compiler could,
// and ends the process when something does not hold. What it checks beyond
// crashes, leaks and endless loops stands beside each. tests/fuzz/fuzz_main.cpp
// makes a libFuzzer program of each; corpus_test.cpp runs the seeds in
// tests/fuzz/corpus/NAME, and what is one step away from them, through the
// target NAME in every build.
//
// docs/reliability.md says how to run them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>

using FuzzTarget = void (*)(const uint8_t* bytes, size_t size);

// A program source, compiled. What is written can be read, and read, written
// and listed again it is the same in both transports.
void FuzzProgram(const uint8_t* bytes, size_t size);

// A mask source. The same, with the printed form for the listing.
void FuzzMask(const uint8_t* bytes, size_t size);

// Sources given as text: a handler, a program, expressions.
void FuzzText(const uint8_t* bytes, size_t size);

// A compiled program or mask file. It is refused, or what was read can be used
// like what was compiled: listed, written and read again.
void FuzzProgramFile(const uint8_t* bytes, size_t size);
void FuzzMaskFile(const uint8_t* bytes, size_t size);

// A defaults file that may include itself, and a message catalog.
void FuzzDefaults(const uint8_t* bytes, size_t size);
void FuzzCatalog(const uint8_t* bytes, size_t size);

// The tokens of a file. They do not depend on where in the file they stand.
void FuzzLexer(const uint8_t* bytes, size_t size);

// A file of either kind, in the tools for compiled files: validate agrees with
// the readers, dump covers every byte, and the text form gives the same bytes.
void FuzzCompiledFile(const uint8_t* bytes, size_t size);

// The text form of a compiled file. What it gives can be read.
void FuzzAssembly(const uint8_t* bytes, size_t size);

// A source that compiles comes back from what it is compiled into; a file of
// either kind, if it has a source, compiles to itself.
void FuzzDecompile(const uint8_t* bytes, size_t size);
void FuzzDecompileFile(const uint8_t* bytes, size_t size);

// Two files behind each other, compared.
void FuzzDiffFile(const uint8_t* bytes, size_t size);

// A source; the check reports an error just when the compiler does, and what is
// laid out is laid out.
void FuzzCheck(const uint8_t* bytes, size_t size);
void FuzzFormat(const uint8_t* bytes, size_t size);

struct FuzzTargetRow {
  const char* name;
  FuzzTarget run;
};
inline std::ostream& operator<<(std::ostream& out, const FuzzTargetRow& row) {
  return out << row.name;
}
inline constexpr FuzzTargetRow FUZZ_TARGETS[] = {
    {"program", FuzzProgram},
    {"mask", FuzzMask},
    {"text", FuzzText},
    {"program_file", FuzzProgramFile},
    {"mask_file", FuzzMaskFile},
    {"defaults", FuzzDefaults},
    {"catalog", FuzzCatalog},
    {"lexer", FuzzLexer},
    {"program_file_tools", FuzzCompiledFile},
    {"mask_file_tools", FuzzCompiledFile},
    {"assembly", FuzzAssembly},
    {"program_file_source", FuzzDecompileFile},
    {"mask_file_source", FuzzDecompileFile},
    {"program_file_diff", FuzzDiffFile},
};
