// The command `compile`: many sources at once, and an honest answer.
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "Cutil/ut_memory.h"
#include "tools/command.h"
#include "tools/compile/compile_source.h"
#include "tools/findings/writer.h"
#include "tools/job_queue.h"
#include "tools/output_names.h"
#include "tools/source_list.h"

namespace {

constexpr char DETAILS[] =
    R"(Each source is compiled as if it were the only one, to the bytes that quillo
gives for it, several of them side by side; what there is to report comes in
the order of the sources. Programs and masks are told apart by their text, so
both may be given together; with --kind, a source of the other kind is an error.
A source about which anything is reported counts as
failed, and its compiled file is not written: an older one stays as it was,
unless --remove-stale is given. A compiled file appears whole or not at all.
Before anything is written it is refused that one file would be written twice,
be it through a link, or that a file to be written is one of the sources.

A SOURCE is a file, a directory, which stands for the .mac and .msk files in it
and below it, or @LIST, a file with a name in each line; @- reads the names
from the standard input.

The exit status is 0 when every source was compiled without a report, every file
was stored and what there was to print was printed, 1 when not, and 2 when
nothing was done because of the way the command was used.
)";

struct Compile {
  std::vector<std::string> arguments;
  ToolOutputOptions outputs;
  std::string kind;
  std::string format = "text";
  std::string color = "auto";
  unsigned threads = 0;
  bool noxdr = false;
  bool trace = false;
  bool absolute = false;
  bool remove_stale = false;
  bool quiet = false;

  int run();
};

int Trouble(const std::string& what) {
  std::fprintf(stderr, "quillo-tools: %s\n", what.c_str());
  return TOOL_TROUBLE;
}

// The line that shows, on a terminal, how far the work has come.
class Progress {
 public:
  Progress(bool wanted, size_t count) : count_(count) {
    const char* terminal = getenv("TERM");
    shown_ = wanted && count > 1 && isatty(STDERR_FILENO) != 0 &&
             terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
  }
  void show(size_t done) {
    if (!shown_) return;
    std::fprintf(stderr, "\r[%zu/%zu]\033[K", done, count_);
    visible_ = true;
  }
  // Makes room for other lines.
  void hide() {
    if (visible_) std::fputs("\r\033[K", stderr);
    visible_ = false;
  }

 private:
  size_t count_;
  bool shown_;
  bool visible_ = false;
};

int Compile::run() {
  outputs.depfiles |= !outputs.depfile_directory.empty();
  outputs.sources_stay = true;
  if (!kind.empty()) outputs.masks = kind == "mask";
  std::string complaint;
  std::vector<std::string> sources, stems;
  McSrcFiles files;
  if (!ToolExpandSources(arguments, &sources, &complaint) ||
      !ToolPlanOutputs(outputs, &files, sources, &stems, &complaint))
    return Trouble(complaint);
  CompileOptions options;
  options.transport = noxdr ? XD_TRANSPORT_PLAIN : XD_TRANSPORT_XDR;
  options.trace_level = trace ? 1 : 0;
  options.masks = outputs.masks;
  options.depfile = outputs.depfiles;
  options.depfile_prefix = ToolDepfilePrefix(outputs);
  if (absolute)
    options.absolute_prefix =
        ToolAsPrefix(std::filesystem::current_path().string());
  options.remove_stale = remove_stale;
  const std::string prefix = ToolAsPrefix(outputs.directory);
  if (!ToolMakeDirectories(prefix, stems, &complaint) ||
      (outputs.depfiles &&
       !ToolMakeDirectories(options.depfile_prefix, stems, &complaint)))
    return Trouble(complaint);

  // A file-size limit then shows as a failed write, not as a killed process.
  signal(SIGXFSZ, SIG_IGN);
  const SourceIdentities identities(sources);
  std::string out;
  ToolFindingWriter writer(*ToolFormatNamed(format),
                           ToolUseColor(color, STDOUT_FILENO), &out);
  Progress progress(!quiet, sources.size());
  size_t failed = 0;
  const auto leave = [&] {
    if (out.empty()) return;
    progress.hide();
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fflush(stdout);
    out.clear();
  };
  leave();
  StoreGate gate;
  const int code = UtGuarded([&] {
    const Interrupts interrupts(&gate);
    DoInOrder<CompileOutcome>(
        sources.size(), threads,
        [&](size_t i) {
          return CompileSource(options, identities, &gate,
                               {sources[i], prefix, stems[i]});
        },
        [&](size_t, const CompileOutcome& outcome) {
          if (!outcome.compiled) failed++;
          for (const ToolFinding& finding : outcome.findings)
            writer.write(finding);
          leave();
        },
        [&](size_t done) { progress.show(done); });
    writer.finish();
    leave();
    return RC_OK;
  });
  progress.hide();
  if (!quiet)
    std::fprintf(stderr, "%zu compiled, %zu failed\n", sources.size() - failed,
                 failed);
  if (code != RC_OK) std::fputs("quillo-tools: out of memory\n", stderr);
  // Files may have been stored by now, so this is no trouble of usage.
  if (std::ferror(stdout)) {
    std::fputs("quillo-tools: cannot write the output\n", stderr);
    std::clearerr(stdout);
    return TOOL_NO;
  }
  return failed == 0 && code == RC_OK ? TOOL_FINE : TOOL_NO;
}

}  // namespace

void AddCompile(CLI::App* app, int* status) {
  CLI::App* command =
      app->add_subcommand("compile", "Compile programs, modules and masks");
  auto own = std::make_shared<Compile>();
  own->threads = std::max(1U, std::thread::hardware_concurrency());
  command->add_option("source", own->arguments, "What to compile")
      ->required()
      ->type_name("SOURCE|@LIST|DIR");
  command
      ->add_option("-o,--output", own->outputs.directory,
                   "Write into this directory, which is made if need be, "
                   "instead of the current one")
      ->type_name("DIR");
  command
      ->add_option("--root", own->outputs.root,
                   "Below the output directory, keep the directories that lead "
                   "from this one to the sources")
      ->type_name("DIR");
  command
      ->add_option("-j,--jobs", own->threads,
                   "Compile so many sources side by side; otherwise as many as "
                   "there are processors")
      ->type_name("N")
      ->check(CLI::Range(1U, 256U));
  command
      ->add_option("--kind", own->kind,
                   "What all sources must be: program (or module), or mask")
      ->type_name("KIND")
      ->check(CLI::IsMember({"program", "mask"}));
  command->add_flag("--noxdr", own->noxdr,
                    "Store in the plain encoding, not in XDR");
  command->add_flag("--trace", own->trace, "Store line numbers for tracing");
  auto* depfile = command->add_flag(
      "--depfile", own->outputs.depfiles,
      "Write the names of the included files, as make and ninja read them, "
      "beside each compiled file: a.cm.d beside a.cm");
  command
      ->add_option("--depfile-dir", own->outputs.depfile_directory,
                   "Write these files below this directory")
      ->type_name("DIR")
      ->excludes(depfile);
  command->add_flag("--depfile-absolute", own->absolute,
                    "Write absolute names into these files");
  command
      ->add_option("--format", own->format,
                   "Form of the reports: text, gcc or json")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"text", "gcc", "json"}));
  command->add_option("--color", own->color, "Colours: auto, always or never")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "always", "never"}));
  command->add_flag("--remove-stale", own->remove_stale,
                    "Remove the older compiled file of a source that fails");
  command->add_flag("-q,--quiet", own->quiet,
                    "No summary and no progress line");
  command->footer(DETAILS);
  command->callback([own, status] { *status = own->run(); });
}
