#include "elut/builtins.h"

#include <gtest/gtest.h>

#include "Cutil/codes.h"
#include "tests/value_text.h"

namespace {

// The numbers stand in compiled files.
TEST(Builtins, NumbersAndNames) {
  constexpr std::pair<unsigned, const char*> NAMES[] = {
      {0, "ABS"},       {4, "TAN"},    {10, "NUM"},    {11, "SPRINT"},
      {15, "POS"},      {21, "FGETS"}, {24, "FERRNO"}, {27, "CONNECTED"},
      {32, "USERNAME"}, {36, "ROUND"}, {42, "SUBSVAR"}};
  for (const auto& [number, name] : NAMES)
    EXPECT_STREQ(MC_BUILTIN_NAMES[number], name);
}

class Values {
 public:
  explicit Values(const std::vector<std::string>& words) {
    for (const std::string& word : words)
      values_.push_back(ValueFromText(word));
  }
  ~Values() {
    for (McValue& value : values_) McValueRelease(&value);
  }
  McValue* data() { return values_.data(); }
  uint32_t count() const { return static_cast<uint32_t>(values_.size()); }
  std::string text() const {
    std::string text;
    for (const McValue& value : values_)
      text += (text.empty() ? "" : " ") + ValueText(value);
    return text;
  }

 private:
  std::vector<McValue> values_;
};

struct CallCase {
  const char* call;     // name and arguments
  const char* outcome;  // value or code
};
constexpr CallCase CALLS[] = {
    {"ABS -4", "4"},
    {"ABS -2147483648", "-2147483648"},
    {"ABS -0.5", "0.5"},
    {"ABS (3,-4,12)", "13.0"},
    {"ABS 'a'", "5294"},
    {"INT 2.9", "2"},
    {"INT -2.1", "-3"},
    {"INT 2147483647.9", "2147483647"},
    {"INT 2147483648.0", "-2147483648"},
    {"INT nan", "-2147483648"},
    {"INT 3", "5294"},
    {"COS 0", "1.0"},  // an INTEGER is converted
    {"SIN 0.0", "0.0"},
    {"TAN 0.0", "0.0"},
    {"COS inf", "5295"},
    {"SIN -inf", "5295"},
    {"TAN inf", "5295"},
    {"COS nan", "nan"},
    {"COS 'a'", "5698"},
    {"COS", "5294"},
    {"COS 0 0", "5294"},
    {"VAL '12'", "12.0"},
    {"VAL '-1.5e3x'", "-1500.0"},
    {"VAL '\t\n+.5'", "0.5"},
    {"VAL '0x10'", "16.0"},
    {"VAL '1e'", "1.0"},
    {"VAL 'infinity'", "inf"},
    {"VAL 'NaN'", "nan"},
    {"VAL '1,5'", "1.0"},
    {"VAL ''", "5294"},
    {"VAL 'x1'", "5294"},
    {"VAL '-'", "5294"},
    {"VAL 1", "5698"},
    {"STR -2147483648", "'-2147483648'"},
    {"STR 0.1", "'0.1'"},
    {"STR 1234567.0", "'1.23457E+06'"},
    {"STR -1e-300", "'-1E-300'"},
    {"STR inf", "'INF'"},
    {"STR 'a'", "5294"},
    {"NUM 'AB'", "65"},
    {"NUM '\xFF'", "-1"},
    {"NUM ''", "0"},
    {"LEN 'abc'", "3"},
    {"LEN ''", "0"},
    {"LEN 3", "5698"},
    {"POS 'abcabc' 'ca'", "3"},
    {"POS 'abc' 'abcd'", "0"},
    {"POS 'abc' ''", "1"},
    {"POS '' 'a'", "0"},
    {"POS 'abc'", "5294"},
};

TEST(Builtins, Calls) {
  for (const CallCase& row : CALLS) {
    auto words = SplitAtBlanks(row.call);
    unsigned number = 0;
    while (MC_BUILTIN_NAMES[number] != words[0]) number++;
    words.erase(words.begin());
    Values arguments(words);
    McValue result;
    const int code =
        McFuncCall(number, arguments.count(), arguments.data(), &result);
    if (code != RC_OK) {
      EXPECT_EQ(result.type, McValueType::VOID) << row.call;
    }
    EXPECT_EQ(OutcomeText(code, &result, ""), row.outcome) << row.call;
  }
}

TEST(Builtins, RunTimeFunctionsAreRefused) {
  const std::string offered = " ABS INT COS SIN TAN VAL STR NUM LEN POS ";
  McValue result;
  for (unsigned number = 0; number < 50; number++) {
    if (number < MC_BUILTIN_COUNT &&
        offered.find(std::string(" ") + MC_BUILTIN_NAMES[number] + " ") !=
            std::string::npos)
      continue;
    // No signature allows eleven arguments, yet the function comes first.
    Values arguments(std::vector<std::string>(11, "void"));
    EXPECT_EQ(McFuncCall(number, 11, arguments.data(), &result),
              RC_BAD_FUNCTION)
        << number;
  }
}

struct SignatureCase {
  const char* signature;
  const char* arguments;
  int code;
  const char* fitted;  // the arguments afterwards
};
constexpr SignatureCase SIGNATURES[] = {
    {"", "", RC_OK, ""},
    {"", "1", RC_BAD_ARGUMENT, "1"},
    {"A", "void", RC_OK, "void"},
    {"I", "1", RC_OK, "1"},
    {"I", "1.0", RC_BAD_ARGUMENT, "1.0"},
    {"R", "1.0", RC_OK, "1.0"},
    {"R", "1", RC_BAD_ARGUMENT, "1"},
    {"NN", "1 1.0", RC_OK, "1 1.0"},
    {"N", "(1,2,3)", RC_BAD_ARGUMENT, "(1,2,3)"},
    {"MMM", "1 1.0 (1,2,3)", RC_OK, "1 1.0 (1,2,3)"},
    {"M", "'a'", RC_BAD_ARGUMENT, "'a'"},
    {"Ss", "'a' 'b'", RC_OK, "'a' 'b'"},
    {"s", "1", RC_BAD_CONVERSION, "1"},
    {"Sii", "'a' 1.5 2", RC_OK, "'a' 2 2"},
    {"Sii", "'a' 1", RC_BAD_ARGUMENT, "'a' 1"},
    {"Sii", "'a' 1 2 3", RC_BAD_ARGUMENT, "'a' 1 2 3"},
    {"rr", "1 'a'", RC_BAD_CONVERSION, "1.0 'a'"},
    {".", "", RC_OK, ""},
    {"S.", "'a' (1,2,3)", RC_OK, "'a' (1,2,3)"},
    {"S.", "", RC_BAD_ARGUMENT, ""},
    {"I.S", "1 2", RC_OK, "1 2"},  // "." was passed
    {"I.S", "1", RC_OK, "1"},      // "." comes next
    {"I.S", "1 2 3", RC_BAD_CONVERSION, "1 2 3"},
    {"I?", "1 2", RC_BAD_STORAGE, "1 2"},
};

TEST(Builtins, Signatures) {
  for (const SignatureCase& row : SIGNATURES) {
    Values arguments(SplitAtBlanks(row.arguments));
    EXPECT_EQ(
        McFuncArguments(row.signature, arguments.count(), arguments.data()),
        row.code)
        << row.signature << " with " << row.arguments;
    EXPECT_EQ(arguments.text(), row.fitted) << row.signature;
  }
}

}  // namespace
