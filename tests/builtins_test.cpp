#include "elut/compile/builtins.h"

#include <gtest/gtest.h>

#include "tests/value_text.h"

namespace {

// The numbers stand in compiled files.
TEST(Builtins, Numbers) {
  constexpr std::pair<unsigned, const char*> NAMES[] = {
      {0, "ABS"},     {10, "NUM"},      {15, "POS"},   {21, "FGETS"},
      {24, "FERRNO"}, {32, "USERNAME"}, {36, "ROUND"}, {42, "SUBSVAR"}};
  for (const auto& [number, name] : NAMES)
    EXPECT_STREQ(MC_BUILTIN_NAMES[number], name);
}

constexpr char CALLS[] =
    "ABS -2147483648 gives -2147483648; ABS (3,-4,12) gives 13.0; "
    "INT 2.9 gives 2; INT -2.1 gives -3; INT 2147483648.0 gives -2147483648; "
    "INT nan gives -2147483648; INT 3 gives 5294; COS 0 gives 1.0; "
    "COS inf gives 5295; COS 'a' gives 5698; COS gives 5294; "
    "VAL '-1.5e3x' gives -1500.0; VAL '\t\n+.5' gives 0.5; "
    "VAL '0x10' gives 16.0; VAL '1e' gives 1.0; VAL 'infinity' gives inf; "
    "VAL '' gives 5294; VAL '-' gives 5294; VAL 1 gives 5698; "
    "STR -2147483648 gives '-2147483648'; STR 0.1 gives '0.1'; "
    "STR 1234567.0 gives '1.23457E+06'; STR inf gives 'INF'; "
    "STR 'a' gives 5294; NUM 'AB' gives 65; NUM '\xFF' gives -1; "
    "NUM '' gives 0; LEN '' gives 0; POS 'abcabc' 'ca' gives 3; "
    "POS 'abc' 'abcd' gives 0; POS 'abc' '' gives 1; "
    // What only the run time offers is refused before its arguments.
    "TIME 'a' gives 5277; FGETS gives 5277; ROUND 0.5 gives 5277";

TEST(Builtins, Calls) {
  std::istringstream rows(CALLS);
  for (std::string row; std::getline(rows >> std::ws, row, ';');) {
    auto words = SplitAtBlanks(row);  // name, arguments, "gives", value or code
    unsigned number = 0;
    while (MC_BUILTIN_NAMES[number] != words[0]) number++;
    McValue arguments[2], result;
    const auto count = static_cast<uint32_t>(words.size() - 3);
    for (uint32_t i = 0; i < count; i++)
      arguments[i] = ValueFromText(words[i + 1]);
    const int code = McFuncCall(number, count, arguments, &result);
    EXPECT_EQ(OutcomeText(code, &result, ""), words.back()) << row;
    for (uint32_t i = 0; i < count; i++) McValueRelease(&arguments[i]);
  }
}

// Signature, arguments, "gives", the code, and the arguments afterwards.
constexpr char SIGNATURES[] =
    "A void gives 0 void; I 1.0 gives 5294 1.0; NN 1 1.0 gives 0 1 1.0; "
    "M 'a' gives 5294 'a'; s 1 gives 5698 1; Sii 'a' 1.5 2 gives 0 'a' 2 2; "
    "Sii 'a' 1 gives 5294 'a' 1; rr 1 'a' gives 5698 1.0 'a'; . gives 0; "
    "S. 'a' (1,2,3) gives 0 'a' (1,2,3); S. gives 5294; "
    // "." was passed, and comes next.
    "I.S 1 2 gives 0 1 2; I.S 1 gives 0 1; I.S 1 2 3 gives 5698 1 2 3";

TEST(Builtins, Signatures) {
  std::istringstream rows(SIGNATURES);
  for (std::string row; std::getline(rows >> std::ws, row, ';');) {
    const auto words = SplitAtBlanks(row.substr(0, row.find(" gives ")));
    McValue arguments[3];
    const auto count = static_cast<uint32_t>(words.size() - 1);
    for (uint32_t i = 0; i < count; i++)
      arguments[i] = ValueFromText(words[i + 1]);
    std::string outcome =
        std::to_string(McFuncArguments(words[0].c_str(), count, arguments));
    for (uint32_t i = 0; i < count; i++)
      outcome += " " + OutcomeText(0, &arguments[i], "");
    EXPECT_EQ(outcome, row.substr(row.find(" gives ") + 7)) << row;
  }
}

}  // namespace
