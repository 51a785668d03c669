#include "quillo/driver.h"

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "Cutil/codes.h"
#include "elut/compile/parse.h"
#include "elut/compile/parse_state.h"
#include "elut/files/listing.h"
#include "elut/files/mask_file.h"
#include "elut/files/mask_print.h"
#include "elut/files/program_file.h"
#include "elut/syntax/token_strings.h"
#include "quillo/defaults.h"
#include "quillo/options.h"
#include "services/channels.h"
#include "trt/messages.h"

namespace {

constexpr unsigned PRINTED_MASKS = 0;  // channels
constexpr unsigned REPORTS = 1;
constexpr unsigned WARNINGS = 2;

constexpr DefaultsEntry DEFAULTS[] = {{"macro", "util", "glob", "MCPATH"}};

constexpr char CANNOT_COMPILE[] = "%s: Cannot compile %s. Error Code: %d\n";
constexpr char CANNOT_STORE[] = "%s: Cannot store %s. Error Code: %d\n";

void StartServices() {
  constexpr DriverIdentity identity;
  // A file-size limit then shows as a failed write, not as a killed process.
  signal(SIGXFSZ, SIG_IGN);
  ChannelReset();
  // Just reset, every channel can be bound.
  (void)ChannelBind(PRINTED_MASKS, CHANNEL_STDOUT, CHANNEL_ESCAPES);
  (void)ChannelBind(REPORTS, CHANNEL_STDERR, CHANNEL_ESCAPES);
  (void)ChannelBind(WARNINGS, CHANNEL_STDOUT,
                    CHANNEL_ADD_NEWLINE | CHANNEL_ESCAPES);
  // Start-up goes on without what cannot be loaded.
  (void)DefaultsLoadFiles(identity.resource_class, identity.version, DEFAULTS,
                          1, "dflt");
  (void)DefaultsEnsureClass(identity.resource_class);
  McSrcReset();
}

// Name of a compiled file. Only a name that fits is written to; a longer one is
// shown in the report. No source that could be opened has a longer name.
struct OutputName {
  char text[FILE_NAME_LIMIT + PATH_MAX + 8];
  bool fits() const { return strlen(text) <= FILE_NAME_LIMIT; }
};

// Builds the name of the file that a source is compiled into. The name is cut
// at its last ".", be that in a directory, and gets the extension.
OutputName BuildOutputName(const Options& options, const char* source,
                           const char* extension) {
  OutputName output;
  const bool add_base =
      options.source_count > 1 || options.destination[0] == '\0';
  const char* slash = strrchr(source, '/');
  const char* base = slash == nullptr ? source : slash + 1;
  snprintf(output.text, sizeof output.text - 4, "%s%.*s", options.destination,
           PATH_MAX, add_base ? base : "");
  char* dot = strrchr(output.text, '.');
  if (dot != nullptr) *dot = '\0';
  strcat(output.text, extension);
  return output;
}

// One run over the sources of the command line.
class CompileLoop {
 public:
  CompileLoop(const char* program_path, const Options& options)
      : program_path_(program_path), options_(options) {}

  int run() {
    int result = RC_OK;
    for (unsigned i = 0; i < options_.source_count; i++) {
      const char* source = options_.sources[i];
      McSrcReset();
      McParseReset();
      const int opened = McSrcOpen(source, &lines_);
      if (opened == RC_CANNOT_OPEN) {
        ChannelPrint(REPORTS, TEXT_FILE_NOT_FOUND, source);
        lines_.release();
        return 1;
      }
      if (opened != RC_OK)
        result = report(source, opened, false);
      else
        result = options_.mask_mode ? mask(source) : program(source);
      lines_.release();
      McTokenStringsFree();
    }
    McSrcReset();
    return result;
  }

 private:
  int report(const char* name, int code, bool stored) {
    if (stored)
      ChannelPrint(REPORTS, CANNOT_STORE, program_path_, name, code);
    else
      ChannelPrint(REPORTS, CANNOT_COMPILE, program_path_, name, code);
    return code;
  }

  // Parses a mask definition, prints and writes it. The parser has reported
  // what it found.
  int mask(const char* source) {
    const OutputName output = BuildOutputName(options_, source, ".cg");
    if (options_.compile_mask && !output.fits())
      return report(output.text, RC_FIXED_TEXT_FULL, true);
    EditorList list;
    const int code = MaskParseDefinition(&list, &lines_);
    if (code == RC_OK && options_.print_mask)
      (void)MaskListPrint(PRINTED_MASKS, &list);
    if (code == RC_OK && options_.compile_mask)
      (void)MaskListWrite(&list, options_.store_mode, output.text);
    MaskListFree(&list);
    return code;
  }

  int program(const char* source) {
    const OutputName output = BuildOutputName(options_, source, ".cm");
    if (!output.fits()) return report(output.text, RC_FIXED_TEXT_FULL, true);
    McProgram* program = McProgramCreate();
    if (program == nullptr) return report(source, RC_NO_MEMORY, false);
    int code = McParseProgram(program, &lines_);
    if (code == RC_OK) {
      if (options_.dump_program) code = McDumpProgram(program);
      if (code == RC_OK) code = McResolveCalls(program);
    }
    if (code != RC_OK) {
      report(source, code, false);
    } else {
      code = McXdrWriteToFile(program, options_.store_mode, output.text);
      if (code != RC_OK) report(output.text, code, true);
    }
    // The program goes; no name may be looked up in it any more.
    (void)McCompileEnter(nullptr);
    McProgramFree(&program);
    return code;
  }

  const char* program_path_;
  const Options& options_;
  McLineStore lines_;  // of the source being compiled
};

}  // namespace

int RunDriver(int argc, char** argv) {
  StartServices();
  Options options;
  int status;
  if (!ReadOptions(argc, argv, &options, &status)) return status;
  mc_parse.trace_level = options.trace_level;
  return CompileLoop(argv[0], options).run();
}
