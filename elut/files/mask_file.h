// The compiled mask file: what -cg writes and the run time loads.
//
// Behind the header of kind 3 stands the record of an EditorList. A WINDOW W
// without anything in it, plain transport:
//
//   EE EE 03 11 00 20 04 00   header
//   00 00 00 01               one editor
//   02                        type WINDOW
//   00 00 00 01 57            name "W"
//   00 00                     no attributes
//   00 00                     no handlers
//   00                        no MODULE program
//   00                        its children end
//   00                        its siblings end
//
// Reading trusts nothing. What none of our compilers writes is refused: a type
// of object that does not exist, an editor with a sibling, objects nested too
// deep, bytes behind the record.
#pragma once

#include "elut/model/mask_objects.h"
#include "util/XD_main.h"

// Objects inside each other, the editor included. The parser ends before it
// gets this far.
inline constexpr uint32_t MASK_NESTING_LIMIT = 150;

// Writes the list as a file. Returns 0, RC_CANNOT_CREATE, RC_INVALID for an
// unknown transport (the file is left empty), RC_HEADER_WRITE, or
// RC_BODY_FAILED; what was written by then is put in the file's place.
[[nodiscard]] int MaskListWrite(EditorList* list, int transport,
                                const char* path);

// The same for those who want the whole file or none: what could not be
// completed is not put in place.
[[nodiscard]] int MaskListWriteWhole(EditorList* list, int transport,
                                     const char* path);

// Writes the same bytes to a sink. Returns 0, RC_INVALID or RC_BODY_FAILED.
[[nodiscard]] int MaskListWriteToSink(EditorList* list, int transport,
                                      XdSink* sink);

// Replace the contents of the list by those of a file, or of the bytes of one.
// Return 0; RC_CANNOT_CREATE when the file cannot be opened or is no regular
// file; RC_HEADER_MAGIC; RC_HEADER_VERSION; RC_INVALID for an unknown
// transport; or RC_BODY_FAILED. A list that was refused is empty, and the names
// of its attributes are forgotten.
[[nodiscard]] int MaskListRead(const char* path, EditorList* list);
[[nodiscard]] int MaskListReadFromBytes(std::string_view bytes,
                                        EditorList* list);
