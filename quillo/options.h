// Command line: what quillo is asked to do.
#pragma once

#include <cstdint>
#include <span>

#include "services/channels.h"
#include "util/XD_main.h"

inline constexpr unsigned SOURCE_FILE_LIMIT = 256;
inline constexpr unsigned FILE_NAME_LIMIT = 255;  // bytes of an output name

struct Options {
  int store_mode = XD_TRANSPORT_XDR;  // transport of compiled files
  bool mask_mode = false;             // -w
  bool print_mask = false;            // -print, in mask mode only
  bool compile_mask = false;          // -cg, in mask mode only
  bool dump_program = false;          // -dump, in program mode only
  int16_t trace_level = 0;            // -t
  char destination[FILE_NAME_LIMIT + 1] = "";
  const char* sources[SOURCE_FILE_LIMIT];  // arguments, in their order
  unsigned source_count = 0;
};

enum class Option {
  HELP,
  STORE_XDR,
  STORE_PLAIN,
  MASK,
  PRINT,
  DUMP,
  COMPILE,
  OUT,
  TRACE
};

struct OptionRow {
  const char* name;  // without its "-"
  Option option;
  const char* value;    // name of the argument that follows; "": none
  const char* meaning;  // for the manual; -h prints a text of its own
};

// Every option that is understood.
std::span<const OptionRow> OptionTable();

// Reads the arguments. Returns true when sources are to be compiled; otherwise
// everything has been printed that there is to say, and `*status` is the exit
// status: 0 after -h, 1 for an unknown option or no source, 3 for an option
// without its value, 5 when -o names no directory for several sources.
[[nodiscard]] bool ReadOptions(Channels* out, int argc, char** argv,
                               Options* options, int* status);
