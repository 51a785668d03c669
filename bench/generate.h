// Sources for the benchmarks, made up in memory: the same ones at every call.
//
// Two imitate what a customer's site compiles in one rebuild, gathered in one
// file: about 10 MB of SUBs of 30 statements, or of windows with their code.
// The others have much of one thing, so that what it costs shows.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

inline constexpr size_t IMITATED_BYTES = 10'000'000;

// A program of `bytes` bytes and one SUB more at most. Each SUB has parameters,
// local variables, a COMMON block and 30 statements: assignments, IF, WHILE and
// SELECT nests, calls, PRINT with texts, between comments.
std::string GenerateProgram(size_t bytes);

// Windows with groups, labels, buttons, attributes and handlers, some of which
// carry code.
std::string GenerateMasks(size_t bytes);

// A source of about that many bytes, of a shape:
//   mixed    GenerateProgram
//   masks    GenerateMasks
//   flat     one main body of assignments
//   strings  statements with a text constant each that occurs once
//   symbols  variables, each used three times, in a scattered order
//   calls    a call of another routine in each statement
//   deep     one assignment whose expression has all the operators
//   trivial  the shortest program
// The empty text for any other.
std::string GenerateShape(std::string_view shape, size_t bytes);
