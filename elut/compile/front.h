// One compile: everything that exists while a source is read.
//
// A front is made for each source and passed to all that work on it; nothing of
// it is left when it ends, so that a source compiles to the same result
// whatever was compiled before it or is compiled beside it. What a run keeps
// from one source to the next stands in its McRun, which outlives its fronts.
// Runs share nothing: each may have a thread of its own.
#pragma once

#include <cstdint>

#include "elut/compile/arithmetic.h"
#include "elut/model/mask_objects.h"
#include "elut/model/program.h"
#include "elut/syntax/scanner.h"
#include "trt/catalog.h"

// What a run keeps.
struct McRun {
  CatalogSet catalogs;
  AttributeNames attribute_names;
  bool call_failure_reported = false;  // of a built-in in a bound: once
};

// Top-level forms that an entry accepts.
enum ParseMode : uint16_t {
  PARSE_PROGRAM = 2,
  PARSE_MODULE = 4,
  PARSE_MASK = 8,
  PARSE_EXPRESSION_LIST = 16,
  PARSE_HANDLER = 32,
};

// What the parser has to remember.
struct McParse {
  uint16_t mode = 0;        // ParseMode bits still allowed
  int16_t trace_level = 0;  // not 0: statements get TRACE nodes

  // The line on which the statement begun last began, 0 before the first one
  // and in text input; whether that statement is still incomplete; and the
  // file that the line is in (McSrcPlace).
  uint32_t statement_line = 0;
  bool statement_open = false;
  uint32_t statement_file = 0;

  // While the parser recovers from an error: how many tokens it is away from
  // having done so, and the next one, -1 for none.
  int error_flag = 0;
  McToken ahead = {};

  EditorList* editors = nullptr;    // of the mask definition
  UtVector<MaskObject*> objects;    // open mask objects, the innermost last
  AttributeList* target = nullptr;  // where attributes go; nullptr: the object
  AttributeList refused = {};       // of a handler that could not be added
  bool mask_limit = false;          // a list was full: the code stays 3011
  UtVector<McName*> names;          // of the IMPORT being read
};

// What is being compiled. While there is no program, as in a list of
// expressions, a scratch one takes its place; nothing of it is ever looked at.
struct McCompile {
  McProgram* program = nullptr;    // never nullptr while a parse runs
  McNodes* nodes = nullptr;        // of that program
  bool building = false;           // it is not the scratch program
  McSub* sub = nullptr;            // nullptr: main program
  McTree* body_slot = nullptr;     // takes the main body instead of the program
  McScope scope = MC_SCOPE_LOCAL;  // where the next declaration goes
  McValueType type = McValueType::INTEGER;  // of the next declaration
  uint32_t routine = 1;                     // number of the current routine
  uint32_t program_number = 1;              // number of the current program
  McProgram scratch;
};

struct McFront {
  // All three outlive the front. Throws bad_alloc.
  McFront(McRun* run_kept, McSrcProvider* files, McReportSink* reports)
      : run(run_kept), scanner(files, reports), math{reports} {}
  McFront(const McFront&) = delete;
  McFront& operator=(const McFront&) = delete;

  McRun* run;
  McScanner scanner;
  McMath math;
  McParse parse;
  McCompile compile;
};
