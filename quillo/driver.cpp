// A run owns everything that lives longer than a source; a source has a front
// of its own, so that nothing of it is left for the next one.
#include "quillo/driver.h"

#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <utility>

#include "Cutil/codes.h"
#include "elut/compile/parse.h"
#include "elut/files/listing.h"
#include "elut/files/mask_file.h"
#include "elut/files/mask_print.h"
#include "elut/files/program_file.h"
#include "quillo/defaults.h"
#include "quillo/options.h"
#include "services/channels.h"
#include "trt/messages.h"

namespace {

constexpr DefaultsEntry DEFAULTS[] = {{"macro", "util", "glob", "MCPATH"}};

constexpr char CANNOT_COMPILE[] = "%s: Cannot compile %s. Error Code: %d\n";
constexpr char CANNOT_STORE[] = "%s: Cannot store %s. Error Code: %d\n";

// Builds the name of the file that a source is compiled into. The name is cut
// at its last ".", be that in a directory, and gets the extension.
UtString OutputName(const Options& options, const char* source,
                    const char* extension) {
  UtString name = options.destination;
  if (options.source_count > 1 || name.empty()) {
    const char* slash = strrchr(source, '/');
    name += slash == nullptr ? source : slash + 1;
  }
  const size_t dot = name.rfind('.');
  if (dot != UtString::npos) name.resize(dot);
  return name + extension;
}

// The files that must not be written because they are read.
class SourceFiles {
 public:
  explicit SourceFiles(const Options& options) : options_(options) {}

  // 1008 when `path` leads to one of the sources of the run, as they were when
  // the first output came up that exists already.
  [[nodiscard]] int check(const char* path) {
    struct stat output;
    if (stat(path, &output) != 0) return RC_OK;
    return UtGuarded([&]() -> int {
      if (files_.empty()) files_ = find();
      const bool found =
          std::binary_search(files_.begin(), files_.end(), IdentityOf(output));
      return found ? RC_CANNOT_CREATE : RC_OK;
    });
  }

 private:
  using Identity = std::pair<dev_t, ino_t>;
  static Identity IdentityOf(const struct stat& file) {
    return {file.st_dev, file.st_ino};
  }
  UtVector<Identity> find() const {
    UtVector<Identity> files;
    for (unsigned i = 0; i < options_.source_count; i++) {
      struct stat source;
      if (stat(options_.sources[i], &source) == 0)
        files.push_back(IdentityOf(source));
    }
    std::sort(files.begin(), files.end());
    return files;
  }

  const Options& options_;
  UtVector<Identity> files_;  // in order
};

// One run over the sources of the command line.
class CompileLoop {
 public:
  CompileLoop(Channels* channels, McRun* run, const char* program_path,
              const Options& options)
      : channels_(channels),
        run_(run),
        printer_(channels),
        program_path_(program_path),
        options_(options),
        sources_(options) {}

  int run() {
    for (unsigned i = 0; i < options_.source_count; i++)
      if (!compile(options_.sources[i])) return 1;
    return result_;
  }

 private:
  int report(const char* format, const char* name, int code);
  bool compile(const char* source);
  int mask(McFront* front, const char* output);
  int program(McFront* front, const char* source, const char* output);

  Channels* channels_;
  McRun* run_;
  McSrcFiles files_;
  McReportPrinter printer_;
  const char* program_path_;
  const Options& options_;
  SourceFiles sources_;
  int result_ = RC_OK;  // of the last source
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
// `format` is one of the two above.
int CompileLoop::report(const char* format, const char* name, int code) {
  channels_->print(CHANNEL_REPORTS, format, program_path_, name, code);
  return code;
}
#pragma GCC diagnostic pop

// False when the source cannot be opened, which ends the run.
bool CompileLoop::compile(const char* source) {
  struct stat status;
  if (stat(source, &status) == 0)
    UtExpectBytes(static_cast<size_t>(status.st_size));
  UtString output;
  UtPtr<McFront> front;
  const int code = UtGuarded([&] {
    output = OutputName(options_, source, options_.mask_mode ? ".cg" : ".cm");
    front = UtMake<McFront>(run_, &files_, &printer_);
    return McSrcOpen(&front->scanner.source, source);
  });
  if (code == RC_CANNOT_OPEN) {
    channels_->print(CHANNEL_REPORTS, TEXT_FILE_NOT_FOUND, source);
    return false;
  }
  const bool written = !options_.mask_mode || options_.compile_mask;
  if (code != RC_OK) {
    result_ = report(CANNOT_COMPILE, source, code);
  } else if (written && output.size() > FILE_NAME_LIMIT) {
    result_ = report(CANNOT_STORE, output.c_str(), RC_FIXED_TEXT_FULL);
  } else {
    front->parse.trace_level = options_.trace_level;
    result_ = options_.mask_mode ? mask(front.get(), output.c_str())
                                 : program(front.get(), source, output.c_str());
  }
  return true;
}

// Parses a mask definition, prints and writes it. The parser has reported what
// it found.
int CompileLoop::mask(McFront* front, const char* output) {
  EditorList list(&run_->attribute_names);
  const int code = MaskParseDefinition(front, &list);
  if (code != RC_OK) return code;
  if (options_.print_mask) (void)MaskListPrint(channels_, CHANNEL_MASKS, &list);
  if (!options_.compile_mask) return RC_OK;
  if (const int refusal = sources_.check(output))
    return report(CANNOT_STORE, output, refusal);
  // Nobody looks at how the writing went.
  (void)MaskListWrite(&list, options_.store_mode, output);
  return RC_OK;
}

int CompileLoop::program(McFront* front, const char* source,
                         const char* output) {
  McProgram program;
  int code = McParseProgram(front, &program);
  if (code == RC_OK && options_.dump_program)
    code = McDumpProgram(channels_, &program);
  if (code == RC_OK) code = McResolveCalls(&program);
  if (code != RC_OK) return report(CANNOT_COMPILE, source, code);
  code = sources_.check(output);
  if (code == RC_OK)
    code = McXdrWriteToFile(&program, options_.store_mode, output);
  return code == RC_OK ? code : report(CANNOT_STORE, output, code);
}

}  // namespace

int RunDriver(int argc, char** argv) {
  constexpr DriverIdentity identity;
  // A file-size limit then shows as a failed write, not as a killed process.
  signal(SIGXFSZ, SIG_IGN);
  Channels channels;
  channels.bind_standard();
  McRun run;
  Defaults defaults(&run.catalogs);
  // Start-up goes on without what cannot be loaded.
  (void)defaults.load_files(identity.resource_class, identity.version, DEFAULTS,
                            1, "dflt");
  (void)defaults.ensure_class(identity.resource_class);
  Options options;
  int status;
  if (!ReadOptions(&channels, argc, argv, &options, &status)) return status;
  return CompileLoop(&channels, &run, argv[0], options).run();
}
