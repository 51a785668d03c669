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

constexpr char CALLS[] =
    "ABS -4 gives 4; ABS -2147483648 gives -2147483648; ABS -0.5 gives 0.5; "
    "ABS (3,-4,12) gives 13.0; INT 2.9 gives 2; INT -2.1 gives -3; "
    "INT 2147483648.0 gives -2147483648; INT nan gives -2147483648; "
    "INT 3 gives 5294; COS 0 gives 1.0; COS inf gives 5295; "
    "SIN -inf gives 5295; COS 'a' gives 5698; COS gives 5294; "
    "VAL '12' gives 12.0; VAL '-1.5e3x' gives -1500.0; "
    "VAL '\t\n+.5' gives 0.5; VAL '0x10' gives 16.0; VAL '1e' gives 1.0; "
    "VAL 'infinity' gives inf; VAL 'NaN' gives nan; VAL '' gives 5294; "
    "VAL 'x1' gives 5294; VAL '-' gives 5294; VAL 1 gives 5698; "
    "STR -2147483648 gives '-2147483648'; STR 0.1 gives '0.1'; "
    "STR 1234567.0 gives '1.23457E+06'; STR -1e-300 gives '-1E-300'; "
    "STR inf gives 'INF'; STR 'a' gives 5294; NUM 'AB' gives 65; "
    "NUM '\xFF' gives -1; NUM '' gives 0; LEN 'abc' gives 3; LEN '' gives 0; "
    "POS 'abcabc' 'ca' gives 3; POS 'abc' 'abcd' gives 0; "
    "POS 'abc' '' gives 1; POS '' 'a' gives 0";

TEST(Builtins, Calls) {
  std::istringstream rows(CALLS);
  for (std::string row; std::getline(rows >> std::ws, row, ';');) {
    auto words = SplitAtBlanks(row);  // name, arguments, "gives", value or code
    unsigned number = 0;
    while (MC_BUILTIN_NAMES[number] != words[0]) number++;
    Values arguments({words.begin() + 1, words.end() - 2});
    McValue result;
    const int code =
        McFuncCall(number, arguments.count(), arguments.data(), &result);
    EXPECT_TRUE(code == RC_OK || result.type == McValueType::VOID) << row;
    EXPECT_EQ(OutcomeText(code, &result, ""), words.back()) << row;
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
    {"I", "1.0", RC_BAD_ARGUMENT, "1.0"},
    {"R", "1", RC_BAD_ARGUMENT, "1"},
    {"NN", "1 1.0", RC_OK, "1 1.0"},
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
