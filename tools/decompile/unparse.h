// Programs and masks as source text.
//
// The same walk is done twice. The survey writes nothing: it collects the
// recorded lines of the statements, and the entries of the tables that no
// statement uses. The second one writes, knowing what the first has found.
//
// What no source has is refused: both throw a Refusal that says what and where.
#ifndef TOOLS_DECOMPILE_UNPARSE_H
#define TOOLS_DECOMPILE_UNPARSE_H

#include <string>
#include <vector>

#include "elut/model/mask_objects.h"
#include "elut/model/program.h"
#include "elut/syntax/token_strings.h"
#include "tools/decompile/entries.h"
#include "tools/decompile/layout.h"
#include "tools/decompile/line_plan.h"

struct Refusal {
  std::string reason;
};

struct Unparsing {
  McTokenStrings words;  // tells names from reserved words
  LineSurvey lines;
  std::vector<Entries> programs;  // in the order of the source
  enum class Traced : uint8_t { UNKNOWN, NO, YES } traced = Traced::UNKNOWN;
  uint32_t routine = 0;     // number of the current routine
  size_t next_program = 0;  // that the second walk writes

  // Masks may hold what is left of statements in error, since an error is
  // forgotten when the next object or handler begins. Such files need errors in
  // their source; `error` is true while one has not been forgotten.
  bool with_errors = false;
  bool error = false;

  // Only for people: entries are not put back, and recorded lines are kept in
  // `lines` instead of shaping the text. No survey is needed. Every declaration
  // and import stands on a line of its own, and the constants in use are noted.
  bool for_reading = false;
  std::vector<std::string> constants;
};

// A program or module of its own.
void SurveyProgram(Unparsing* unparsing, const McProgram& program);
void WriteProgram(Unparsing* unparsing, const McProgram& program,
                  Layout* layout);

// A file of mask definitions.
void SurveyMasks(Unparsing* unparsing, const EditorList& list);
void WriteMasks(Unparsing* unparsing, const EditorList& list, Layout* layout);

#endif
