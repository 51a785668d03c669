// Sources for the benchmarks, made up in memory: the same ones at every call.
//
// They imitate what a customer's site compiles in one rebuild, gathered in one
// file: about 10 MB of SUBs of 30 statements, or of windows with their code.
#pragma once

#include <cstddef>
#include <string>

inline constexpr size_t IMITATED_BYTES = 10'000'000;

// A program of `bytes` bytes and one SUB more at most. Each SUB has parameters,
// local variables, a COMMON block and 30 statements: assignments, IF, WHILE and
// SELECT nests, calls, PRINT with texts, between comments.
std::string GenerateProgram(size_t bytes);

// Windows with groups, labels, buttons, attributes and handlers, some of which
// carry code.
std::string GenerateMasks(size_t bytes);
