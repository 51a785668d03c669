// quillo-tools format: what happens to each source, and what is said about it.
//
// A layout must not have anything to change about its own result. Where a text
// has errors, its structure is a guess, in which line ends take part; so the
// result is laid out again until it does not change any more. A text for which
// that does not come to an end stays as it is.
#include "tools/format/format.h"

#include <cstdio>
#include <filesystem>

#include "Cutil/ut_file.h"
#include "tools/command.h"
#include "tools/format/diff.h"
#include "tools/format/proof.h"

Formatted FormatSource(const std::string& name, std::string text,
                       const FormatStyle& style, McSrcProvider* files) {
  constexpr int ROUNDS = 6;
  Formatted result;
  SyntaxOptions options;
  options.files = files;
  const SyntaxTree tree = SyntaxParse(name, std::move(text), options);
  for (const SyntaxError& error : tree.errors) {
    if (tree.tokens[error.place].foreign ||
        error.fault == SyntaxFault::NO_FILE ||
        error.fault == SyntaxFault::TOO_MANY_FILES)
      continue;
    if (result.errors++ == 0)
      result.first_error_line =
          SyntaxLines(tree.text()).line_of(tree.tokens[error.place].begin);
  }
  result.text = FormatLayout(tree, style);
  options.form = tree.form;
  SyntaxTree after = SyntaxParse(name, result.text, options);
  for (int round = 0;; round++) {
    std::string again = FormatLayout(after, style);
    if (again == result.text) break;
    if (round == ROUNDS) {
      result.text = tree.text();
      return result;
    }
    result.text = std::move(again);
    after = SyntaxParse(name, result.text, options);
  }
  if (result.text == tree.text()) return result;
  result.refusal = FormatDifference(tree, after, files);
  if (!result.refusal.empty()) result.text = tree.text();
  return result;
}

namespace {

struct Options {
  std::vector<std::string> sources;
  bool in_place = false;
  bool check = false;
  bool diff = false;
  std::string range;
};

// Something is wrong with a configuration file or an option.
struct Misuse {
  std::string what;
};

uint32_t NumberOf(std::string_view text, uint32_t least, uint32_t most,
                  const std::string& what) {
  uint64_t number = 0;
  bool fits = !text.empty() && text.size() < 10;
  for (const char c : text) {
    fits = fits && c >= '0' && c <= '9';
    number = number * 10 + static_cast<uint64_t>(c - '0');
  }
  if (!fits || number < least || number > most)
    throw Misuse{what + " must be a number from " + std::to_string(least) +
                 " to " + std::to_string(most) + ", not '" + std::string(text) +
                 "'"};
  return static_cast<uint32_t>(number);
}

std::string_view Trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(" \t\r");
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

// Lines NAME = NUMBER; "#" begins a comment.
void ReadStyle(const std::string& path, std::string_view text,
               FormatStyle* style) {
  for (uint32_t number = 1; !text.empty(); number++) {
    const size_t feed = text.find('\n');
    std::string_view line = text.substr(0, feed);
    text.remove_prefix(feed == text.npos ? text.size() : feed + 1);
    line = Trimmed(line.substr(0, line.find('#')));
    if (line.empty()) continue;
    const std::string where = path + ":" + std::to_string(number) + ": ";
    const size_t equals = line.find('=');
    const std::string_view name = Trimmed(line.substr(0, equals));
    const std::string_view value = equals == line.npos
                                       ? std::string_view()
                                       : Trimmed(line.substr(equals + 1));
    if (name == "indent")
      style->indent = NumberOf(value, 1, 16, where + "indent");
    else if (name == "width")
      style->width = NumberOf(value, 40, 1000, where + "width");
    else
      throw Misuse{where + "there is no '" + std::string(name) +
                   "': indent, width"};
  }
}

// The style of the nearest .quillo-format from the directory of a source up.
FormatStyle StyleFor(const std::string& source) {
  namespace fs = std::filesystem;
  FormatStyle style;
  std::error_code error;
  fs::path directory =
      fs::absolute(source == "-" ? fs::path("x") : fs::path(source), error)
          .lexically_normal()
          .parent_path();
  for (;; directory = directory.parent_path()) {
    const std::string path = (directory / ".quillo-format").string();
    if (fs::exists(path, error)) {
      UtString text;
      if (UtReadWhole(path.c_str(), UT_LARGEST_FILE, &text) != RC_OK)
        throw Misuse{"cannot read " + path};
      ReadStyle(path, text, &style);
      return style;
    }
    if (directory == directory.parent_path()) return style;
  }
}

void ReadRange(std::string_view range, FormatStyle* style) {
  const size_t colon = range.find(':');
  if (colon == range.npos) throw Misuse{"--range needs two lines: FIRST:LAST"};
  style->first_line =
      NumberOf(range.substr(0, colon), 1, 999999999, "the first line");
  style->last_line = NumberOf(range.substr(colon + 1), style->first_line,
                              999999999, "the last line");
}

bool ReadStandardInput(std::string* text) {
  char part[64 * 1024];
  for (;;) {
    const ptrdiff_t got = UtRead(0, part, sizeof part);
    if (got <= 0) return got == 0;
    text->append(part, static_cast<size_t>(got));
  }
}

bool ReadSource(const std::string& source, std::string* text) {
  if (source == "-") return ReadStandardInput(text);
  UtString bytes;
  if (UtReadWhole(source.c_str(), UT_LARGEST_FILE, &bytes) != RC_OK)
    return false;
  text->assign(bytes.begin(), bytes.end());
  return true;
}

bool Replace(const std::string& path, const std::string& text) {
  UtOutputFile file;
  return file.open(path.c_str()) == RC_OK &&
         file.write(text.data(), text.size()) && file.commit();
}

void Print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

// One source; its status.
int Format(const Options& options, const std::string& source) {
  const char* const name = source.c_str();
  FormatStyle style = StyleFor(source);
  if (!options.range.empty()) ReadRange(options.range, &style);
  std::string text;
  if (!ReadSource(source, &text)) {
    std::fprintf(stderr, "quillo-tools: cannot read %s\n", name);
    return TOOL_TROUBLE;
  }
  const Formatted result = FormatSource(source, text, style);
  if (!result.refusal.empty()) {
    std::fprintf(stderr,
                 "quillo-tools: %s stays as it is, since the layout fails: "
                 "%s\n",
                 name, result.refusal.c_str());
    if (!options.in_place && !options.check && !options.diff) Print(text);
    return TOOL_TROUBLE;
  }
  if (result.errors > 0)
    std::fprintf(stderr, "%s:%u: %s\n", name, result.first_error_line,
                 result.errors == 1
                     ? "the place in error stays as it is"
                     : "this and other places in error stay as they are");
  const bool same = result.text == text;
  if (options.check && !same) std::printf("%s\n", name);
  if (options.diff && !same) Print(UnifiedDiff(source, text, result.text));
  if (options.in_place && !same && !Replace(source, result.text)) {
    std::fprintf(stderr, "quillo-tools: cannot write %s\n", name);
    return TOOL_TROUBLE;
  }
  if (options.check || options.diff) return same ? TOOL_FINE : TOOL_NO;
  if (!options.in_place) Print(result.text);
  return TOOL_FINE;
}

int Run(const Options& options) {
  int status = TOOL_FINE;
  try {
    for (const std::string& source : options.sources) {
      if (source == "-" && options.in_place)
        throw Misuse{"-i needs files, not the standard input"};
      status = std::max(status, Format(options, source));
    }
  } catch (const Misuse& misuse) {
    std::fprintf(stderr, "quillo-tools: %s\n", misuse.what.c_str());
    return TOOL_TROUBLE;
  }
  return status;
}

}  // namespace

void AddFormat(CLI::App* app, int* status) {
  CLI::App* command = app->add_subcommand(
      "format", "Lay sources out: blanks, lines and indentation");
  const auto options = std::make_shared<Options>();
  command
      ->add_option("SOURCE", options->sources,
                   "Sources; - for the standard input")
      ->required();
  CLI::Option* in_place =
      command->add_flag("-i", options->in_place, "Replace the files");
  CLI::Option* check = command->add_flag(
      "--check", options->check,
      "Only name the files that would change; exit status 1 if there are any");
  CLI::Option* diff =
      command->add_flag("--diff", options->diff,
                        "Only show what would change; exit status 1 if "
                        "anything would");
  in_place->excludes(check)->excludes(diff);
  check->excludes(diff);
  command->add_option("--range", options->range,
                      "Lay out these lines only: FIRST:LAST");
  command->callback([options, status] { *status = Run(*options); });
}
