// Parse entries: one parser for every kind of input.
//
// An entry prepares the front for one kind of input, runs the parser over the
// tokens of the scanner, and returns the parse error code: 0, or the code that
// the last fault set, or 5281 when the parse failed and no rule set one; 1001
// when memory was exhausted. Errors are reported as they are met.
//
// After an error in a statement or a declaration the parse goes on with what
// follows the next ";". Any other syntax error ends it, as does a construct
// nested more than 150 parser states deep.
//
// What a parse has built stays in the caller's program or list, also when it
// failed.
#pragma once

#include "elut/compile/front.h"

// A program or module from the open source of the front.
[[nodiscard]] int McParseProgram(McFront* front, McProgram* program);

// Mask definitions from the open source of the front.
[[nodiscard]] int MaskParseDefinition(McFront* front, EditorList* list);

// For other entries (parse_text.h) ------------------------------------------

// Prepares what all entries have in common, with `program`, or none, current.
// Names and texts go to `store`, which outlives the front or the program.
void McParsePrepare(McFront* front, uint16_t mode, McStore* store,
                    McProgram* program);

// Runs the parser over what is left of the input and turns its outcome into the
// code of the entry.
[[nodiscard]] int McParseRun(McFront* front);
