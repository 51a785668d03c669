// Compiled program file (.cm): one program as the run time loads it.
//
// Behind the header of xd_header.h stands the program record; its fields, in
// the order of the file:
//
//   u8    1, or 0 for no program, which ends the record
//   string pool (string_pool.h), text name
//   u16   imports       each: u8 kind, text name, text FROM or FILE, and
//                       unless bit 0x80 of the kind is set text MODULE
//   u32   constants     each: u8 type, then f64, or u32 length and characters
//   u32   nodes of the main body, 0 without one
//   tree of the main body, variables, COMMON blocks of the main program
//   u16   SUBs          each: text name, variables (locals), variables
//                       (parameters), COMMON blocks, tree of the body
//   u16   calls         each: u8 kind, +0x80 external; text name, or for a
//                       bound one u16 SUB
//
//   variables           u16 count, u16 0; each: u8 type, u8 storage, u8
//                       dimensions, u8 flags (1 range, 2 bounds), text name,
//                       range (2 x i32 or f64), bounds (2 x i32 each)
//   COMMON blocks       u16 count; each: variables, text name
//   tree                u8 kind (0: none, ends the record), payload, the trees
//                       of the children, u8 0
//
// A BLOCK over PRINT 5, plain:  08 0E 02 00 00 00 05 00 00 00
//
// One routine per record writes and reads it. Reading believes no count, index
// or code; it refuses what no compiler writes.
#pragma once

#include "elut/model/program.h"
#include "util/XD_main.h"

// Bits of a variable's flags.
constexpr uint8_t HAS_RANGE = 0x01;
constexpr uint8_t HAS_DIMS = 0x02;
// Bit in the kind of a call of another module's SUB.
constexpr uint8_t EXTERNAL_CALL = 0x80;

// Writes `program` to `path`, as a module when it has no main body; a
// `transport` of 1 is XDR, 4 is plain. A file that could not be completed is
// not put there (ut_file.h). Returns 0, RC_CANNOT_CREATE, RC_INVALID for
// another transport, RC_HEADER_WRITE or RC_BODY_FAILED.
[[nodiscard]] int McXdrWriteToFile(McProgram* program, int transport,
                                   const char* path);

// Writes the same bytes to a sink. Returns 0, RC_INVALID or RC_BODY_FAILED.
[[nodiscard]] int McXdrWriteToSink(McProgram* program, int transport,
                                   XdSink* sink);

// Reads a program or module, from a file or from the bytes of one. `*program`
// is none when the call fails. Returns 0; RC_CANNOT_CREATE when the file cannot
// be opened or is no regular file; the codes of XdOpenForReading; or
// RC_BODY_FAILED.
[[nodiscard]] int McXdrReadFromFile(const char* path,
                                    UtPtr<McProgram>* program);
[[nodiscard]] int McXdrReadFromBytes(std::string_view bytes,
                                     UtPtr<McProgram>* program);

// The record, which is written, or read: then it makes the program in `*slot`,
// which must be nullptr, or leaves it so. The program lies in `shared`, or in a
// store of its own for nullptr. A failed read leaves no program behind. Throws
// bad_alloc.
[[nodiscard]] bool McXdrProgram(XdStream* xd, McStore* shared,
                                McProgram** slot);
