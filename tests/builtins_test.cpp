#include "elut/compile/builtins.h"

#include <gtest/gtest.h>

#include "compile.h"
#include "rows.h"
#include "value_text.h"

namespace {

std::vector<McValue> Values(std::istream& words) {
  std::vector<McValue> values;
  for (std::string word; std::getline(words, word, ' ');)
    values.push_back(ValueFromText(word));
  return values;
}

TEST(Builtins, Calls) {
  constexpr char ROWS[] = R"(
    ABS -2147483648 | -2147483648 ;; ABS -2.5 | 2.5 ;; ABS -3 | 3
    ABS (3,-4,12) | 13.0 ;; ABS 'a' | 5294 ;; INT 2.9 | 2 ;; INT -2.1 | -3
    INT 2147483647.5 | 2147483647 ;; INT 2147483648.0 | -2147483648
    INT -2147483648.5 | -2147483648 ;; INT nan | -2147483648 ;; INT 3 | 5294
    COS 0 | 1.0 ;; SIN 0.5 | 0.479425538604203 ;; TAN 0.5 | 0.5463024898437905
    COS inf | 5295 ;; SIN inf | 5295 ;; TAN inf | 5295 ;; COS 'a' | 5698
    COS | 5294 ;; COS 1 2 | 5294 ;; VAL '-1.5e3x' | -1500.0
    VAL '^I^J+.5' | 0.5 ;; VAL '0x10' | 16.0 ;; VAL '1e' | 1.0
    VAL 'infinity' | inf ;; VAL '' | 5294 ;; VAL '-' | 5294 ;; VAL 1 | 5698
    STR -2147483648 | '-2147483648' ;; STR 0.1 | '0.1'
    STR 1234567.0 | '1.23457E+06' ;; STR inf | 'INF' ;; STR 'a' | 5294
    NUM 'AB' | 65 ;; NUM '{{FF}}' | -1 ;; NUM '' | 0 ;; LEN 'abc' | 3
    LEN '' | 0 ;; POS 'abcabc' 'ca' | 3 ;; POS 'abc' 'abcd' | 0
    POS 'abc' '' | 1
    // What only the run time offers is refused before its arguments.
    TIME 'a' | 5277 ;; FGETS | 5277 ;; ROUND 0.5 | 5277 ;; SUBSVAR 1 | 5277)";
  ReportText reports;
  McMath math{&reports};
  for (const auto& [call, expected] : Rows<2>(ROWS)) {
    std::istringstream words(call);
    std::string name;
    std::getline(words, name, ' ');
    unsigned number = 0;
    while (MC_BUILTIN_NAMES[number] != name) number++;
    std::vector<McValue> arguments = Values(words);
    McValue result;
    const int code =
        McFuncCall(&math, number, static_cast<uint32_t>(arguments.size()),
                   arguments.data(), &result);
    EXPECT_EQ(OutcomeText(code, result), expected) << call;
  }
  McValue result;
  EXPECT_EQ(5277, McFuncCall(&math, 43, 0, nullptr, &result));
}

TEST(Builtins, Signatures) {
  // Signature, arguments, the code, and the arguments afterwards.
  constexpr char ROWS[] = R"(
    A | void | 0 | void ;; I | 1.0 | 5294 | 1.0 ;; I | 1 | 0 | 1
    R | 1 | 5294 | 1 ;; NN | 1 1.0 | 0 | 1 1.0 ;; N | 'a' | 5294 | 'a'
    M | 'a' | 5294 | 'a' ;; M | (1,2,3) | 0 | (1,2,3) ;; s | 1 | 5698 | 1
    Sii | 'a' 1.5 2 | 0 | 'a' 2 2 ;; Sii | 'a' 1 | 5294 | 'a' 1
    rr | 1 'a' | 5698 | 1.0 'a' ;; . | | 0 |
    S. | 'a' (1,2,3) | 0 | 'a' (1,2,3) ;; S. | | 5294 | ;; x | 1 | 5100 | 1
    // "." was passed, and comes next.
    I.S | 1 2 | 0 | 1 2 ;; I.S | 1 | 0 | 1 ;; I.S | 1 2 3 | 5698 | 1 2 3)";
  ReportText reports;
  McMath math{&reports};
  for (const auto& [signature, given, code, left] : Rows<4>(ROWS)) {
    std::istringstream words(given);
    std::vector<McValue> arguments = Values(words);
    EXPECT_EQ(stoi(code),
              McFuncArguments(&math, signature.c_str(),
                              static_cast<uint32_t>(arguments.size()),
                              arguments.data()))
        << signature << given;
    std::string found;
    for (const McValue& value : arguments)
      found += (found.empty() ? "" : " ") + ValueText(value);
    EXPECT_EQ(left, found) << signature << given;
  }
}

}  // namespace
