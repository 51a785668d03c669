#include "elut/syntax/lexer.h"

#include <gtest/gtest.h>

#include "elut/compile/parse.h"
#include "elut/syntax/source_reader.h"
#include "file_tree.h"
#include "mask_support.h"
#include "tree_text.h"

namespace {

// The tokens up to the end of the input.
std::string Tokens() {
  std::string all;
  TokenValue value;
  for (int token = McLex(&value); token != 0; token = McLex(&value))
    all += (all.empty() ? "" : ", ") + TokenText(token, value);
  return all;
}

struct LexCase {
  const char* source;
  const char* tokens;
  const char* echo = "";
};

constexpr LexCase CASES[] = {
    {"WHILE WHILEX While _X x-y",
     "WHILE, IDENT WHILEX, IDENT While, IDENT X, IDENT x, -, IDENT y", "_"},
    {"FNAREA FN1 FN FNa_1 fna CFNA CFN CFN9 CFNFNa FNWHILE",
     "FNNAME FNAREA, IDENT FN1, IDENT FN, FNNAME FNa_1, IDENT fna, "
     "CFNNAME CFNA, IDENT CFN, IDENT CFN9, CFNNAME CFNFNa, FNNAME FNWHILE"},
    {"%a &b1_ %1 $$x $_a %WHILE $é",
     "SIGILNAME %a, SIGILNAME &b1_, SIGIL %, 1, SIGIL $, SIGILNAME $x, "
     "SIGIL $, IDENT a, SIGILNAME %WHILE, SIGIL $",
     "_é"},
    {"@:a.b* @ @:;@*:",
     "SIGILNAME @:a.b*, SIGIL @, SIGIL @, :, ;, SIGILNAME @*, :"},
    {"= += -= /= *=",
     "ASSIGNOP 0, ASSIGNOP 1, ASSIGNOP 2, ASSIGNOP 3, ASSIGNOP 4"},
    {"===*=***+==><<>",
     "==, ASSIGNOP 0, ASSIGNOP 4, **, *, ASSIGNOP 1, ASSIGNOP 0, >, <, <>"},
    {":;,+-*/[](){}><.<=",
     ":, ;, ,, +, -, *, /, [, ], (, ), {, }, >, <, ., <="},
    {"017 0x1F 0X1F 09 00 0xG 1x 0189",
     "15, 31, 0, IDENT X1F, 0, 9, 0, 0, IDENT xG, 1, IDENT x, 1, 89"},
    {"2147483647 0xFFFFFFFF 037777777777 0x80000000 0x00000000FF",
     "2147483647, -1, -1, -2147483648, 255"},
    {"1.5E3D .5 2e-3 90D 5. 5.x 0x1.5 0x1e5",
     "1500.0, 0.5, 0.002, 90.0, 5, ., 5, ., IDENT x, 1, 0.5, 485"},
    {"1E 1e+2 1.5Ex 1E5DD 1..5",
     "1, IDENT E, 100.0, 1.5, IDENT Ex, 1e+05, IDENT D, 1, ., 0.5"},
    {"1e400 4.9e-324 0.30000000000000004 9007199254740993D 45g 45R 45f",
     "inf, 5e-324, 0.30000000000000004, 9007199254740992.0, 45.0, 45.0, 45, "
     "IDENT f"},
    {"'A' ''' '\t' '\\' '\xFF' 'AB'C' ''", "65, 39, 9, 92, 255, IDENT AB, 67",
     "'''"},
    {"\"\" \"abc\"\" \"\"\"", "'', 'abc\"', '\"'"},
    {R"("a\"b" "a\nb" "a\tb" "\\n" "\\" x" "\\\" ")",
     R"('a"b', 'a^Jb', 'a\tb', '\^J', '\" x', '\\" ')"},
    {"\"abc\n\"\"y\"", "'abc^J', 'y'"},
    {"a?\\b^`|~\x01\x7F\xC3\r", "IDENT a, IDENT b", "?\\^`|~\x01\x7F\xC3\r"},
};

TEST(Lexer, Tokens) {
  for (const LexCase& row : CASES) {
    SCOPED_TRACE(row.source);
    ASSERT_EQ(RC_OK, McSrcSetText(row.source));
    testing::internal::CaptureStdout();
    const std::string tokens = Tokens();
    fflush(stdout);
    EXPECT_EQ(row.echo, testing::internal::GetCapturedStdout());
    EXPECT_EQ(row.tokens, tokens);
  }
  McTokenStringsFree();
}

// The numbers stand in compiled files.
TEST(Lexer, Functions) {
  std::string source, expected = "IDENT ABSX";
  int functions = 0;
  for (const char* name :
       {"ABS",    "INT",     "COS",      "SIN",       "TAN",     "VAL",
        "STR",    "SYSTEM",  "PIPE",     "CHR",       "NUM",     "SPRINT",
        "MID",    "LEN",     "SPLIT",    "POS",       "UPC",     "LWC",
        "FOPEN",  "FCLOSE",  "FREMOVE",  "FGETS",     "FPUTS",   "FEOF",
        "FERRNO", "FACCESS", "CONNECT",  "CONNECTED", "TRIM",    "GETENV",
        "PUTENV", "GETFILE", "USERNAME", "DATE",      "TIME",    "IMPORTFN",
        "ROUND",  "DOPEN",   "DGETS",    "DCLOSE",    "VSYSTEM", "SUBSTSTR",
        "SUBSVAR"}) {
    source += " " + std::string(name);
    expected += ", BUILTIN " + std::to_string(functions++);
  }
  ASSERT_EQ(RC_OK, McSrcSetText(("ABSX" + source).c_str()));
  EXPECT_EQ(expected, Tokens());
  McTokenStringsFree();
}

TEST(Lexer, IntegersThatDoNotFit) {
  constexpr const char* NUMBERS[] = {"2147483648", "99999999999999999999999",
                                     "0x100000000", "040000000000"};
  for (const char* number : NUMBERS) {
    ChannelCapture reports(1);
    ASSERT_EQ(RC_OK, McSrcSetText(number));
    EXPECT_EQ("2147483647", Tokens());
    EXPECT_EQ("-1: Line:0 Code:5672 ! integer constant '" +
                  std::string(number) + "' out of range\n\n",
              reports.text());
  }
}

using LexerFile = FileTree;

// The scanner sees the file in windows of 64 KiB. A token must not change
// because a window ends in or right behind it.
TEST_F(LexerFile, WindowsEndAnywhere) {
  const std::string token = "\"ab\\\"c\n\"\"d\"\"\n\"e\n\"x1+=2.5E1\n";
  for (size_t before = 65536 - token.size() - 3; before <= 65536; before++) {
    std::string text;
    while (text.size() + 200 < before) text += std::string(99, '!') + "\n";
    text += std::string(before - text.size() - 1, ' ') + "\n" + token;
    write("a", text + text);
    ASSERT_EQ(RC_OK, McSrcOpen("a", nullptr));
    const std::string once =
        "'ab\"c^J', 'd\"', 'e^J', IDENT x1, ASSIGNOP 1, 25.0";
    EXPECT_EQ(once + ", " + once, Tokens()) << before;
  }
  McTokenStringsFree();
}

}  // namespace
