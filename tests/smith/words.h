// The words that sources are made of.
#pragma once

#include <string_view>
#include <vector>

constexpr bool SmithIsLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
constexpr bool SmithIsDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr bool SmithIsNameByte(char c) {
  return SmithIsLetter(c) || SmithIsDigit(c) || c == '_';
}

const std::vector<std::string_view>& SmithKeywords();
const std::vector<std::string_view>& SmithBuiltins();

// Whether a text that has the form of a name is a word of the language, or the
// name of a function call.
bool SmithIsReserved(std::string_view name);

constexpr std::string_view SMITH_WORDS[] = {
    "count",  "layer", "length", "angle",  "row",    "grid",   "sheet",
    "bolt",   "plate", "edge",   "scale",  "title",  "centre", "draw",
    "update", "check", "store",  "radius", "offset", "unit",   "index"};

// Names that look like something else.
constexpr std::string_view SMITH_ODD_NAMES[] = {
    "FN",  "FN1", "FN_", "CFN", "CFN9", "CFN_x", "Fnx", "Pi", "PIX", "E5", "D",
    "X1F", "x",   "X",   "Y",   "Z",    "e",     "g_",  "R",  "If",  "TOO"};
