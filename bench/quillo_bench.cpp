// What a compile spends its time on: scanning, parsing with building, writing
// and reading, each alone, for programs and for masks.
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
#include "elut/compile/parse_state.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"
#include "elut/grammar.h"
#include "elut/syntax/lexer.h"
#include "services/channels.h"

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

// A source file that is open for a compile, as the driver opens it.
class OpenSource {
 public:
  explicit OpenSource(const std::string& file) {
    McSrcReset();
    McParseReset();
    Check(McSrcOpen(file.c_str(), &lines_));
  }
  ~OpenSource() {
    McSrcReset();
    McTokenStringsFree();
  }
  McLineStore* lines() { return &lines_; }

 private:
  McLineStore lines_;
};

void Scan(benchmark::State& state) {
  for (auto _ : state) {
    OpenSource source(files.program);
    TokenValue value;
    for (int token; (token = McLex(&value)) != 0;)
      if (token == TOKEN_SCONST) McTokenTextRelease(value.text);
  }
  CountBytes(state);
}

McProgram* ParsedProgram() {
  OpenSource source(files.program);
  McProgram* program = McProgramCreate();
  Check(McParseProgram(program, source.lines()));
  Check(McResolveCalls(program));
  Check(McCompileEnter(nullptr));
  return program;
}

void Parse(benchmark::State& state) {
  for (auto _ : state) {
    McProgram* program = ParsedProgram();
    state.PauseTiming();
    McProgramFree(&program);
    state.ResumeTiming();
  }
  CountBytes(state);
}

void Write(benchmark::State& state, int transport) {
  McProgram* program = ParsedProgram();
  for (auto _ : state)
    Check(McXdrWriteToFile(program, transport, files.compiled.c_str()));
  McProgramFree(&program);
  CountBytes(state);
}

void Read(benchmark::State& state, int transport) {
  McProgram* program = ParsedProgram();
  Check(McXdrWriteToFile(program, transport, files.compiled.c_str()));
  for (auto _ : state) {
    state.PauseTiming();
    McProgramFree(&program);
    state.ResumeTiming();
    Check(McXdrReadFromFile(files.compiled.c_str(), &program));
  }
  McProgramFree(&program);
  CountBytes(state);
}

void ParseMasksInto(EditorList* list) {
  OpenSource source(files.masks);
  Check(MaskParseDefinition(list, source.lines()));
}

void ParseMasks(benchmark::State& state) {
  for (auto _ : state) {
    EditorList list;
    ParseMasksInto(&list);
    state.PauseTiming();
    MaskListFree(&list);
    state.ResumeTiming();
  }
  CountBytes(state);
}

void WriteMasks(benchmark::State& state, int transport) {
  EditorList list;
  ParseMasksInto(&list);
  for (auto _ : state)
    Check(MaskListWrite(&list, transport, files.compiled.c_str()));
  CountBytes(state);
}

void ReadMasks(benchmark::State& state, int transport) {
  EditorList list;
  ParseMasksInto(&list);
  Check(MaskListWrite(&list, transport, files.compiled.c_str()));
  for (auto _ : state) {
    state.PauseTiming();
    MaskListFree(&list);
    state.ResumeTiming();
    Check(MaskListRead(files.compiled.c_str(), &list));
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
  Check(ChannelBind(1, CHANNEL_STDERR, 0));

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
  Register("masks/parse", ParseMasks);
  RegisterPerTransport("masks/write", WriteMasks);
  RegisterPerTransport("masks/read", ReadMasks);
  benchmark::RunSpecifiedBenchmarks();
  std::filesystem::remove_all(directory);
  return 0;
}
