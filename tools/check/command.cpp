// quillo-tools check: many sources at once, in the order given.
//
// Threads take one source after the other; what they found waits until it is
// its turn, so the output does not depend on their number.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>

#include "Cutil/ut_file.h"
#include "tools/check/check.h"
#include "tools/check/settings.h"
#include "tools/command.h"
#include "tools/findings/baseline.h"
#include "tools/findings/rules.h"
#include "tools/findings/writer.h"
#include "tools/job_queue.h"
#include "tools/source_list.h"
#include "tools/suggest.h"

namespace {

namespace fs = std::filesystem;

struct Options {
  std::vector<std::string> sources;
  std::string format = "text";
  size_t most_errors = CheckSettings().most_errors;
  std::vector<std::string> warn, off, error;
  std::string baseline;
  bool write_baseline = false;
  std::string color = "auto";
  bool quiet = false;
  bool fix = false;
  unsigned jobs = 0;
};

int Misused(const std::string& what) {
  std::fprintf(stderr, "quillo-tools: %s\n", what.c_str());
  return TOOL_TROUBLE;
}

// The settings of the command line; "" or what is wrong.
std::string TakeRules(const Options& options, CheckSettings* settings) {
  settings->most_errors = options.most_errors;
  settings->catalogs = CheckCatalogs::of_environment();
  const auto set = [&](const std::vector<std::string>& rules,
                       ToolSeverity severity) -> std::string {
    for (const std::string& rule : rules) {
      if (rule == "all") {
        for (const ToolRule& row : ToolRules())
          if (row.severity != ToolSeverity::ERROR)
            settings->severities[row.name] = severity;
        continue;
      }
      if (ToolFindRule(rule) == nullptr) {
        std::vector<std::string> names;
        for (const ToolRule& row : ToolRules()) names.emplace_back(row.name);
        const std::string near = ToolNearest(rule, names);
        return "there is no rule '" + rule + "'" +
               (near.empty() ? "" : "; did you mean '" + near + "'?");
      }
      settings->severities[rule] = severity;
    }
    return {};
  };
  std::string wrong = set(options.warn, ToolSeverity::WARNING);
  if (wrong.empty()) wrong = set(options.off, ToolSeverity::OFF);
  if (wrong.empty()) wrong = set(options.error, ToolSeverity::ERROR);
  return wrong;
}

bool Replace(const std::string& path, const std::string& text) {
  UtOutputFile file;
  return file.open(path.c_str()) == RC_OK &&
         file.write(text.data(), text.size()) && file.commit();
}

// One source as its thread leaves it.
struct Done {
  std::string name;
  CheckResult result;
  size_t most_errors = 0;
  std::string trouble;
};

class Run {
 public:
  Run(const Options& options, CheckSettings settings)
      : options_(options),
        settings_(std::move(settings)),
        writer_(*ToolFormatNamed(options.format),
                ToolUseColor(options.color, fileno(stdout)), &out_) {}

  int run();

 private:
  Done check(size_t number);
  void print(Done* done);
  bool was_shown(const ToolFinding& finding, const std::string& source);
  void flush() {
    std::fwrite(out_.data(), 1, out_.size(), stdout);
    out_.clear();
  }

  const Options& options_;
  CheckSettingsOf settings_;
  std::string out_;
  ToolFindingWriter writer_;
  ToolBaseline known_{options_.baseline}, written_{options_.baseline};
  ToolCounts counts_;
  size_t with_findings_ = 0, hidden_ = 0;
  std::set<std::string> shown_;  // findings in files that others include
  int status_ = TOOL_FINE;

  std::mutex mutex_;  // of the settings
};

Done Run::check(size_t number) {
  Done done;
  done.name = options_.sources[number];
  const std::string& name = options_.sources[number];
  try {
    CheckSettings settings;
    {
      const std::lock_guard lock(mutex_);
      settings = settings_(name);
    }
    done.most_errors = settings.most_errors;
    done.result = CheckOne(name, {}, settings);
    if (options_.fix && done.result.fixes.size() > 0) {
      if (!Replace(name, done.result.fixed)) {
        done.trouble = "cannot write '" + name + "'";
      } else {
        std::vector<ToolFinding> fixes = std::move(done.result.fixes);
        done.result = CheckOne(name, {}, settings);
        done.result.fixes = std::move(fixes);
      }
    } else {
      done.result.fixes.clear();
    }
    if (done.result.unreadable) done.trouble = "cannot read '" + name + "'";
  } catch (const CheckBadSettings& bad) {
    done.trouble = bad.what;
  } catch (const std::bad_alloc&) {
    done.trouble = "out of memory for '" + name + "'";
  }
  return done;
}

// A file that sources include is checked with each of them, and maybe by
// itself.
bool Run::was_shown(const ToolFinding& finding, const std::string& source) {
  const fs::path file = fs::path(finding.place.file).lexically_normal();
  if (file.extension() != ".inc" && file == fs::path(source).lexically_normal())
    return false;
  return !shown_
              .insert(file.string() + ':' + std::to_string(finding.place.line) +
                      ':' + std::to_string(finding.place.column) + ':' +
                      finding.rule)
              .second;
}

void Run::print(Done* done) {
  if (!done->trouble.empty()) {
    flush();
    status_ = Misused(done->trouble);
  }
  if (options_.format == "text")
    for (const ToolFinding& fix : done->result.fixes)
      out_ += fix.place.file + ":" + std::to_string(fix.place.line) + ":" +
              std::to_string(fix.place.column) + ": fixed: " + fix.message +
              "\n";
  bool any = false;
  for (const ToolFinding& finding : done->result.findings) {
    if (options_.write_baseline) {
      written_.add(finding);
      continue;
    }
    if (known_.take(finding) || was_shown(finding, done->name)) continue;
    if (options_.quiet && finding.severity != ToolSeverity::ERROR) continue;
    counts_.add(finding.severity);
    any = true;
    if (finding.severity == ToolSeverity::ERROR) {
      status_ = std::max<int>(status_, TOOL_NO);
      if (counts_.errors > done->most_errors) {
        hidden_++;
        continue;
      }
    }
    if (hidden_ == 0) writer_.write(finding);
  }
  with_findings_ += any;
  if (out_.size() > (size_t{1} << 16)) flush();
}

int Run::run() {
  if (!options_.baseline.empty() && !options_.write_baseline && !known_.read())
    return Misused("cannot read '" + options_.baseline + "'");
  const unsigned jobs = options_.jobs != 0
                            ? options_.jobs
                            : std::max(1u, std::thread::hardware_concurrency());
  DoInOrder<Done>(
      options_.sources.size(), jobs, [&](size_t i) { return check(i); },
      [&](size_t, Done done) { print(&done); }, [](size_t) {});
  writer_.finish();
  if (options_.format == "text" && !options_.quiet && hidden_ > 0)
    out_ += std::to_string(hidden_) +
            " more errors are not shown; --max-errors shows more\n";
  if (options_.format == "text" && !options_.quiet &&
      options_.sources.size() > 1 && !options_.write_baseline) {
    const std::string counts = counts_.text();
    out_ += std::to_string(options_.sources.size()) + " files checked: " +
            (counts.empty() ? "nothing found"
                            : counts + " in " + std::to_string(with_findings_) +
                                  (with_findings_ == 1 ? " file" : " files")) +
            "\n";
  }
  flush();
  if (options_.write_baseline && !written_.write())
    return Misused("cannot write '" + options_.baseline + "'");
  return status_;
}

int Check(Options options) {
  if (options.write_baseline && options.baseline.empty())
    return Misused("--write-baseline needs --baseline FILE");
  CheckSettings settings;
  if (const std::string wrong = TakeRules(options, &settings); !wrong.empty())
    return Misused(wrong);
  std::vector<std::string> sources;
  for (const std::string& source : options.sources) {
    std::error_code error;
    if (!fs::is_directory(source, error))
      sources.push_back(source);
    else if (!ToolAddDirectory(source, {".mac", ".msk", ".inc"}, &sources))
      return Misused("the directory '" + source + "' cannot be read");
  }
  options.sources = std::move(sources);
  return Run(options, std::move(settings)).run();
}

}  // namespace

void AddCheck(CLI::App* app, int* status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app->add_subcommand(
      "check", "Find faults in sources, and say where and what to do");
  command
      ->add_option("SOURCE", options->sources,
                   "Programs, modules, masks, include files; of a directory "
                   "all .mac, .msk and .inc in it")
      ->required();
  command->add_option("--format", options->format, "Form of the findings")
      ->type_name("FORMAT")
      ->check(CLI::IsMember(ToolFormatNames()));
  command->add_option("--max-errors", options->most_errors,
                      "Show so many errors at most (100)");
  command
      ->add_option("-W,--warn", options->warn,
                   "Switch a rule on, as a warning; \"all\" for all of them")
      ->allow_extra_args(false);
  command->add_option("--no-rule", options->off, "Switch a rule off")
      ->allow_extra_args(false);
  command->add_option("--error", options->error, "Make a rule an error")
      ->allow_extra_args(false);
  command
      ->add_option("--baseline", options->baseline,
                   "A file of known findings, which are not shown")
      ->type_name("FILE");
  command->add_flag("--write-baseline", options->write_baseline,
                    "Write what is found to the baseline");
  command
      ->add_option("--color", options->color, "Colours: auto, always or never")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "always", "never"}));
  command->add_flag("--quiet", options->quiet, "Show errors only, no summary");
  command->add_flag("--fix", options->fix,
                    "Mend what can be mended safely, and say what");
  command->add_option("-j,--jobs", options->jobs,
                      "Sources checked at the same time (one per core)");
  command->callback([options, status] { *status = Check(*options); });
}
