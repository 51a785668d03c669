// One table of options, one pass over the arguments: an error or -h decides as
// soon as it is met, and what follows is not looked at. That order can be seen
// from outside, so a library for command lines, which reads everything first,
// is of no use here.
#include "quillo/options.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "services/environment.h"

namespace {

// Exit statuses.
enum : int { STATUS_USAGE = 1, STATUS_NO_VALUE = 3, STATUS_NO_DIRECTORY = 5 };

constexpr char USAGE[] =
    "usage: %s [ options] exportfile\n"
    "       -h              help.\n"
    "       -w              Maskendefinition lesen.\n"
    "       -cg             Maskendefinition compilieren.\n"
    "       -print          Maskendefinition ausgeben.\n"
    "       -t level        Trace.\n"
    "       -o destination  destination filename.\n"
    "       -xdr          \tuse xdr to store (default).\n"
    "       -noxdr          don't use xdr to store.\n"
    "       -xrm resourceline.\n";

constexpr char DESCRIPTION[] =
    "Compiler fuer Programme, Module und Maskendefinitionen.\n";

constexpr OptionRow OPTIONS[] = {
    {"h", Option::HELP, "", "Print the usage text and end"},
    {"o", Option::OUT, "destination",
     "Where to write: with one file the name of the output, with several the "
     "directory of the outputs"},
    {"xdr", Option::STORE_XDR, "", "Store compiled files in XDR; the default"},
    {"noxdr", Option::STORE_PLAIN, "",
     "Store compiled files in the plain encoding, which is shorter"},
    {"dump", Option::DUMP, "",
     "Print the listing of each program; not for masks"},
    {"t", Option::TRACE, "level",
     "With a level other than 0: store line numbers for tracing"},
    {"w", Option::MASK, "", "The files are mask definitions"},
    {"print", Option::PRINT, "", "With -w: print them"},
    {"cg", Option::COMPILE, "", "With -w: write compiled mask files"},
};

// Reads the arguments one after the other.
class ArgumentReader {
 public:
  ArgumentReader(Channels* out, int argc, char** argv, Options* options,
                 int* status)
      : out_(out),
        next_(argv + 1),
        end_(argv + argc),
        program_(argc > 0 ? argv[0] : "quillo"),
        options_(options),
        status_(status) {}

  bool read() {
    while (next_ < end_) {
      const char* argument = *next_++;
      const bool done =
          argument[0] == '-' ? option(argument + 1) : source(argument);
      if (!done) return false;
    }
    if (options_->source_count == 0)
      return fail(STATUS_USAGE, "missing filename");
    return options_->source_count == 1 || options_->destination[0] == '\0' ||
           directory();
  }

 private:
  bool fail(int status, const char* message) {
    out_->error("%s: %s\n", program_, message);
    out_->error(USAGE, program_);
    *status_ = status;
    return false;
  }

  bool source(const char* name) {
    if (options_->source_count == SOURCE_FILE_LIMIT)
      return fail(STATUS_USAGE, "too many source files");
    options_->sources[options_->source_count++] = name;
    return true;
  }

  bool option(const char* name) {
    for (const OptionRow& row : OPTIONS)
      if (strcmp(row.name, name) == 0) return apply(row.option);
    out_->error("%s: illegal option: %s\n", program_, name);
    out_->error(USAGE, program_);
    *status_ = STATUS_USAGE;
    return false;
  }

  bool apply(Option option) {
    switch (option) {
      case Option::HELP:
        out_->out(USAGE, program_);
        out_->out("%s", DESCRIPTION);
        *status_ = 0;
        return false;
      case Option::STORE_XDR:
        options_->store_mode = XD_TRANSPORT_XDR;
        return true;
      case Option::STORE_PLAIN:
        options_->store_mode = XD_TRANSPORT_PLAIN;
        return true;
      case Option::MASK: options_->mask_mode = true; return true;
      case Option::PRINT: options_->print_mask = true; return true;
      case Option::DUMP: options_->dump_program = true; return true;
      case Option::COMPILE: options_->compile_mask = true; return true;
      case Option::OUT: return destination();
      case Option::TRACE: return trace_level();
    }
    return false;
  }

  // The value of an option, or nullptr.
  const char* value() {
    if (next_ == end_ || (*next_)[0] == '-') return nullptr;
    return *next_++;
  }

  bool destination() {
    const char* name = value();
    if (name == nullptr)
      return fail(STATUS_NO_VALUE, "missing destination filename");
    if (strlen(name) > FILE_NAME_LIMIT)
      return fail(STATUS_NO_VALUE, "destination filename too long");
    strcpy(options_->destination, name);
    return true;
  }

  bool trace_level() {
    const char* level = value();
    if (level == nullptr) return fail(STATUS_NO_VALUE, "missing tracelevel");
    options_->trace_level = static_cast<int16_t>(strtol(level, nullptr, 10));
    return true;
  }

  // Several sources need a directory as the destination.
  bool directory() {
    if (!PathIsDirectory(options_->destination))
      return fail(STATUS_NO_DIRECTORY, "directory not found");
    const size_t length = strlen(options_->destination);
    // Without room for the slash no output name fits either.
    if (options_->destination[length - 1] != '/' && length < FILE_NAME_LIMIT)
      strcpy(options_->destination + length, "/");
    return true;
  }

  Channels* out_;
  char** next_;
  char** end_;
  const char* program_;
  Options* options_;
  int* status_;
};

}  // namespace

std::span<const OptionRow> OptionTable() {
  return OPTIONS;
}

bool ReadOptions(Channels* out, int argc, char** argv, Options* options,
                 int* status) {
  return ArgumentReader(out, argc, argv, options, status).read();
}
