// What a compile spends its time on: scanning, parsing with building, writing
// and reading, each alone, for programs and for masks; and what the tools for
// compiled files take.
//
// The inputs imitate the sources of a whole customer's site, about 10 MB each,
// in one file. Every run of a benchmark is printed, then the best one and the
// spread between the best and the worst. `per_byte` is the time divided by the
// bytes of the source, for writing and reading too, so that the figures add up.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "Cutil/codes.h"
#include "bench/generate.h"
#include "elut/compile/parse.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"
#include "elut/grammar.h"
#include "elut/syntax/lexer.h"
#include "services/channels.h"
#include "tools/compiled/assembly.h"
#include "tools/compiled/check.h"
#include "tools/dump.h"

namespace {

constexpr int XDR = 1, PLAIN = 4;  // transports
constexpr int RUNS = 7;

// The files that the benchmarks work on.
struct Files {
  std::string program, masks;  // sources
  std::string compiled;        // what one of them became
};
Files files;

// The sources are our own, so whatever fails here is a fault.
void Check(int code) {
  if (code != RC_OK) abort();
}

void CountBytes(benchmark::State& state) {
  state.counters["per_byte"] =
      benchmark::Counter(static_cast<double>(IMITATED_BYTES),
                         benchmark::Counter::kIsIterationInvariantRate |
                             benchmark::Counter::kInvert);
}

// A compile of a source file, opened as the driver opens it.
struct OpenSource {
  explicit OpenSource(const std::string& file) {
    Check(McSrcOpen(&front.scanner.source, file.c_str()));
  }

  Channels channels;
  McReportPrinter printer{&channels};
  McSrcFiles disk;
  McRun run;
  McFront front{&run, &disk, &printer};
};

void Scan(benchmark::State& state) {
  for (auto _ : state) {
    OpenSource source(files.program);
    McScanner* scanner = &source.front.scanner;
    for (McToken token; (token = McLex(scanner)).token != 0;)
      if (token.token == TOKEN_SCONST)
        McTokenTextRelease(&scanner->strings, token.value.text);
  }
  CountBytes(state);
}

UtPtr<McProgram> ParsedProgram() {
  OpenSource source(files.program);
  UtPtr<McProgram> program = McProgramCreate();
  Check(McParseProgram(&source.front, program.get()));
  Check(McResolveCalls(program.get()));
  return program;
}

void Parse(benchmark::State& state) {
  for (auto _ : state) {
    UtPtr<McProgram> program = ParsedProgram();
    state.PauseTiming();
    program.reset();
    state.ResumeTiming();
  }
  CountBytes(state);
}

void Write(benchmark::State& state, int transport) {
  const UtPtr<McProgram> program = ParsedProgram();
  for (auto _ : state)
    Check(McXdrWriteToFile(program.get(), transport, files.compiled.c_str()));
  CountBytes(state);
}

void Read(benchmark::State& state, int transport) {
  UtPtr<McProgram> program = ParsedProgram();
  Check(McXdrWriteToFile(program.get(), transport, files.compiled.c_str()));
  for (auto _ : state) {
    state.PauseTiming();
    program.reset();
    state.ResumeTiming();
    Check(McXdrReadFromFile(files.compiled.c_str(), &program));
  }
  CountBytes(state);
}

// The compiled program, for the tools that work on its bytes. What they take is
// compared with parse and write together.
std::string CompiledProgram(int transport) {
  const UtPtr<McProgram> program = ParsedProgram();
  XdMemory sink;
  Check(McXdrWriteToSink(program.get(), transport, &sink));
  return std::string(sink.bytes());
}

// Takes what is printed, and drops it.
class NoOutput : public ToolOutput {
 protected:
  bool write(const char*, size_t) override { return true; }
};

void Validate(benchmark::State& state, int transport) {
  const std::string bytes = CompiledProgram(transport);
  for (auto _ : state)
    CompiledCheck(bytes, [](const CompiledTrouble&) { abort(); });
  CountBytes(state);
}

void Dump(benchmark::State& state, int transport) {
  const std::string bytes = CompiledProgram(transport);
  for (auto _ : state) {
    NoOutput out;
    if (!ToolDumpText(bytes, &out) || !out.finish()) abort();
  }
  CountBytes(state);
}

void Disassemble(benchmark::State& state, int transport) {
  const std::string bytes = CompiledProgram(transport);
  for (auto _ : state) {
    NoOutput out;
    CompiledDisassemble(bytes, &out);
    if (!out.finish()) abort();
  }
  CountBytes(state);
}

void Assemble(benchmark::State& state, int transport) {
  ToolText text;
  CompiledDisassemble(CompiledProgram(transport), &text);
  if (!text.finish()) abort();
  for (auto _ : state) {
    XdMemory file;
    CompiledAssemblyError error;
    if (!CompiledAssemble(text.text, &file, &error)) abort();
  }
  CountBytes(state);
}

// Masks of the benchmarks' source.
struct Masks {
  Masks() {
    OpenSource source(files.masks);
    Check(MaskParseDefinition(&source.front, &list));
  }
  AttributeNames names;
  EditorList list{&names};
};

void ParseMasks(benchmark::State& state) {
  for (auto _ : state) {
    Masks masks;
    state.PauseTiming();
    MaskListFree(&masks.list);
    state.ResumeTiming();
  }
  CountBytes(state);
}

void WriteMasks(benchmark::State& state, int transport) {
  Masks masks;
  for (auto _ : state)
    Check(MaskListWrite(&masks.list, transport, files.compiled.c_str()));
  CountBytes(state);
}

void ReadMasks(benchmark::State& state, int transport) {
  Masks masks;
  Check(MaskListWrite(&masks.list, transport, files.compiled.c_str()));
  for (auto _ : state) {
    state.PauseTiming();
    MaskListFree(&masks.list);
    state.ResumeTiming();
    Check(MaskListRead(files.compiled.c_str(), &masks.list));
  }
  CountBytes(state);
}

double Best(const std::vector<double>& runs) {
  return *std::min_element(runs.begin(), runs.end());
}
double Spread(const std::vector<double>& runs) {
  return *std::max_element(runs.begin(), runs.end()) - Best(runs);
}

template <class Body>
void Register(const std::string& name, Body body) {
  benchmark::RegisterBenchmark((name + "/10MB").c_str(), body)
      ->Unit(benchmark::kMillisecond)
      ->Repetitions(RUNS)
      ->ComputeStatistics("best", Best)
      ->ComputeStatistics("spread", Spread);
}

template <class Body>
void RegisterPerTransport(const std::string& name, Body body) {
  for (const int transport : {XDR, PLAIN})
    Register(name + (transport == XDR ? "/xdr" : "/plain"),
             [=](benchmark::State& state) { body(state, transport); });
}

void WriteSource(const std::string& file, const std::string& text) {
  FILE* out = fopen(file.c_str(), "wb");
  if (out == nullptr || fwrite(text.data(), 1, text.size(), out) < text.size())
    abort();
  fclose(out);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

  std::string directory =
      (std::filesystem::temp_directory_path() / "quillo-bench-XXXXXX").string();
  if (mkdtemp(directory.data()) == nullptr) abort();
  files = {directory + "/site.mac", directory + "/site.msk",
           directory + "/compiled"};
  WriteSource(files.program, GenerateProgram(IMITATED_BYTES));
  WriteSource(files.masks, GenerateMasks(IMITATED_BYTES));

  Register("scan", Scan);
  Register("parse", Parse);
  RegisterPerTransport("write", Write);
  RegisterPerTransport("read", Read);
  RegisterPerTransport("validate", Validate);
  RegisterPerTransport("dump", Dump);
  RegisterPerTransport("disassemble", Disassemble);
  RegisterPerTransport("assemble", Assemble);
  Register("masks/parse", ParseMasks);
  RegisterPerTransport("masks/write", WriteMasks);
  RegisterPerTransport("masks/read", ReadMasks);
  benchmark::RunSpecifiedBenchmarks();
  std::filesystem::remove_all(directory);
  return 0;
}
