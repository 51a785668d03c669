// How values are spelled in a source, so that the compiler reads the same
// value again.
//
// The spellings append to a text. Those that return bool leave it as it was
// when no source spells the value: a text with a backslash in front of an "n",
// for example, since \n is a line feed and \\n a backslash and a line feed.
#ifndef TOOLS_DECOMPILE_SPELLING_H
#define TOOLS_DECOMPILE_SPELLING_H

#include <cstdint>
#include <string>
#include <string_view>

// A literal: 5, or 0xFFFFFFFB for -5, which as a literal has no sign.
void SpellInteger(std::string* out, int32_t value);

// An INTEGER where an expression may stand: -5.
void SpellSignedInteger(std::string* out, int32_t value);

// A literal for a REAL that is not negative and not a NaN, in the fewest
// digits.
void SpellReal(std::string* out, double value);

// An expression of INTEGER literals only, for any REAL but most NaNs: those
// whose bits no arithmetic gives. It nests no deeper than an addition of
// products, whatever the value.
[[nodiscard]] bool SpellRealByIntegers(std::string* out, double value);

// A string literal. It stays on its line when it can; one that is too long for
// a line ends in a line feed and a quote on the next line.
[[nodiscard]] bool SpellText(std::string* out, std::string_view text);

// A string constant of a program: MSG(...) or MSGGET(...) where the text is
// what these make, or a literal. In masks MSGGLOB and MSGFILE make texts, too.
[[nodiscard]] bool SpellConstant(std::string* out, std::string_view text,
                                 bool in_mask);

#endif
