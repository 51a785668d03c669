// Compiles in memory: sources and what becomes of them, without a file or a
// process.
#pragma once

#include <map>
#include <string>

#include "elut/compile/parse.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"

// Texts that stand for files.
class TextFiles : public McSrcProvider {
 public:
  UtPtr<McSrcBytes> open(const char* name) override {
    const auto found = texts.find(name);
    if (found == texts.end()) return nullptr;
    return UtMake<McSrcMemory>(found->second);
  }
  std::map<std::string, std::string> texts;
};

// Reports as users see them.
class ReportText : public McReportSink {
 public:
  void report(const McReport& report) override {
    const bool error = report.kind == McReportKind::ERROR;
    if (error)
      text += std::to_string(report.level) + ":" + report.file +
              " Line:" + std::to_string(report.line) +
              " Code:" + std::to_string(report.code) + " ! ";
    text += report.text;
    if (error || report.kind == McReportKind::WARNING) text += '\n';
  }
  std::string text;
};

// What a file would hold, or "code" and why there is none.
inline std::string Written(auto write, auto* model, int transport) {
  XdMemory sink;
  const int code = write(model, transport, &sink);
  return code == RC_OK ? std::string(sink.bytes())
                       : "code " + std::to_string(code);
}
inline std::string Written(McProgram* program, int transport) {
  return Written(McXdrWriteToSink, program, transport);
}
inline std::string Written(EditorList* masks, int transport) {
  return Written(MaskListWriteToSink, masks, transport);
}

// One source and what it is compiled into. Sources come from `files`, in a run
// of its own, if not said otherwise.
class Compile {
 public:
  explicit Compile(McRun* run_of_others = nullptr,
                   McSrcProvider* other_files = nullptr)
      : run(run_of_others != nullptr ? run_of_others : &own_run),
        provider(other_files != nullptr ? other_files : &files) {}

  // Compiles the text of that name: masks when it ends with ".msk". Returns the
  // code.
  int compile(const std::string& name) {
    const int opened = McSrcOpen(&front.scanner.source, name.c_str());
    if (opened != RC_OK) return opened;
    if (name.ends_with(".msk")) return MaskParseDefinition(&front, &masks);
    const int code = McParseProgram(&front, &program);
    return code == RC_OK ? McResolveCalls(&program) : code;
  }
  int program_of(const std::string& source) {
    files.texts["a.mac"] = source;
    return compile("a.mac");
  }
  int masks_of(const std::string& source) {
    files.texts["a.msk"] = source;
    return compile("a.msk");
  }

 private:
  McRun own_run;

 public:
  McRun* run;
  TextFiles files;
  McSrcProvider* provider;
  ReportText reports;
  McFront front{run, provider, &reports};
  McProgram program;
  EditorList masks{&run->attribute_names};
};
