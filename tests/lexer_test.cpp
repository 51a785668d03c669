#include "elut/lexer.h"

#include <gtest/gtest.h>

#include "elut/parse.h"
#include "elut/source_reader.h"
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
    // Words.
    {"WHILE WHILEX While while END ENDX IFA",
     "WHILE, IDENT WHILEX, IDENT While, IDENT while, END, IDENT ENDX, "
     "IDENT IFA"},
    {"_X a_b a9_ x-y", "IDENT X, IDENT a_b, IDENT a9_, IDENT x, -, IDENT y",
     "_"},
    {"FNAREA FN1 FN FN_a FNa_1 fna CFNA CFN CFN9 CFNa CFNFNa FNWHILE",
     "FNNAME FNAREA, IDENT FN1, IDENT FN, IDENT FN_a, FNNAME FNa_1, IDENT fna, "
     "CFNNAME CFNA, IDENT CFN, IDENT CFN9, CFNNAME CFNa, CFNNAME CFNFNa, "
     "FNNAME FNWHILE"},
    {"ABS SUBSVAR ABSX abs ROUND TIME PI PIX Pi",
     "BUILTIN 0, BUILTIN 42, IDENT ABSX, IDENT abs, BUILTIN 36, BUILTIN 34, "
     "3.141592653589793, IDENT PIX, IDENT Pi"},
    {"SUBEND SUB END SUBEXIT", "SUBEND, SUB, END, SUBEXIT"},
    // External names.
    {"%a &b1_ $C %1 % a $$x",
     "SIGILNAME %a, SIGILNAME &b1_, SIGILNAME $C, "
     "SIGIL %, 1, SIGIL %, IDENT a, SIGIL $, SIGILNAME $x"},
    {"$_a %WHILE $é", "SIGIL $, IDENT a, SIGILNAME %WHILE, SIGIL $", "_é"},
    {"@:a.b* @ @: @1.*_ @.x;@*:",
     "SIGILNAME @:a.b*, SIGIL @, SIGIL @, :, "
     "SIGILNAME @1.*_, SIGILNAME @.x, ;, SIGILNAME @*, :"},
    {"@::a @-", "SIGIL @, :, :, IDENT a, SIGIL @, -"},
    // Operators: the longest wins.
    {"x+=1", "IDENT x, ASSIGNOP 1, 1"},
    {"= += -= /= *=",
     "ASSIGNOP 0, ASSIGNOP 1, ASSIGNOP 2, ASSIGNOP 3, "
     "ASSIGNOP 4"},
    {"a<>b a<=b a>=b a**b a==b",
     "IDENT a, <>, IDENT b, IDENT a, <=, IDENT b, IDENT a, >=, IDENT b, "
     "IDENT a, **, IDENT b, IDENT a, ==, IDENT b"},
    {"a=>b", "IDENT a, ASSIGNOP 0, >, IDENT b"},
    {"===*=***+==><",
     "==, ASSIGNOP 0, ASSIGNOP 4, **, *, ASSIGNOP 1, "
     "ASSIGNOP 0, >, <"},
    {"<<>>=", "<, <>, >="},
    {":;,+-*/[](){}><.", ":, ;, ,, +, -, *, /, [, ], (, ), {, }, >, <, ."},
    {"a!=b", "IDENT a"},
    // Integers.
    {"017 0x1F 0X1F 09 00 0 007", "15, 31, 0, IDENT X1F, 0, 9, 0, 0, 7"},
    {"2147483647 0x7fffFFFF 0xFFFFFFFF 037777777777 0x80000000 0x00000000FF",
     "2147483647, 2147483647, -1, -1, -2147483648, 255"},
    {"0x 0xG 1x 08 0189 1a",
     "0, IDENT x, 0, IDENT xG, 1, IDENT x, 0, 8, 1, "
     "89, 1, IDENT a"},
    {"0x1.5 0x1D 0x1e5 0xAR", "1, 0.5, 29, 485, 10, IDENT R"},
    // Reals.
    {"1.5E3D .5 2e-3 90D 5. 5.x",
     "1500.0, 0.5, 0.002, 90.0, 5, ., 5, ., "
     "IDENT x"},
    {"09.5 09e1 09D 45G 45R 45d 45g 45r 45f",
     "9.5, 90.0, 9.0, 45.0, 45.0, 45.0, 45.0, 45.0, 45, IDENT f"},
    {"1E 1E+ 1e+2 1.5e 1.5Ex 1E5x 1E5DD .5.5 1..5 1.2.3",
     "1, IDENT E, 1, IDENT E, +, 100.0, 1.5, IDENT e, 1.5, IDENT Ex, "
     "1e+05, IDENT x, 1e+05, IDENT D, 0.5, 0.5, 1, ., 0.5, 1.2, 0.3"},
    {"0.1 123456789.123456789 1e308 1e400 4.9e-324 0.30000000000000004",
     "0.1, 123456789.12345679, 1e+308, inf, 5e-324, 0.30000000000000004"},
    {"9007199254740993D 12345678901234567890R 1.7976931348623157E308G",
     "9007199254740992.0, 12345678901234567168.0, 1.7976931348623157e+308"},
    // Characters.
    {"'A' ''' '\"' '\t' '\\'", "65, 39, 34, 9, 92"},
    {"'\xFF' '\x80'", "255, 128"},
    {"'AB'C'", "IDENT AB, 67", "'"},
    {"'' 'ab '", "32, IDENT ab", "''"},
    {"'\n'x'", "120", "'"},
    // Literals.
    {"\"\" \"a\" \"a b\"", "'', 'a', 'a b'"},
    {"\"abc\"\" \"\"\"", "'abc\"', '\"'"},
    {"\"\"\"a\"", "'\"', IDENT a", "\""},
    {R"("a\"b" "a\nb" "a\tb" "\\n" "\\" x" "\\\" ")",
     R"('a"b', 'a^Jb', 'a\tb', '\^J', '\" x', '\\" ')"},
    {R"("\" "a\")", R"('" ', IDENT a)", R"(\")"},
    {"\"abc\n\"x", "'abc^J', IDENT x"},
    {"\"abc\n\"\"y\"", "'abc^J', 'y'"},
    {"\"a\n b\" c", "IDENT a, IDENT b, IDENT c", "\"\""},
    {"\"a\n\n\"", "IDENT a", "\"\""},
    {"\"abc", "IDENT abc", "\""},
    {"\"a\\\n\"x\"", "IDENT a, 'x'", "\"\\"},
    {"\"!#%\xE4\t\"", "'!#%\xE4^I'"},
    {R"("a\"")", R"('a"')"},
    {R"("a\""")", R"('a""')"},
    {R"("\n")", "'^J'"},
    // Blanks, comments, and what is no token.
    {"a\n!b c\n#d\n  e!f\n\tg\fh", "IDENT a, IDENT e, IDENT g, IDENT h"},
    {"a?\\b^`|~\x01\x7F\xC3\r", "IDENT a, IDENT b", "?\\^`|~\x01\x7F\xC3\r"},
    {"", ""},
    {" \n\t", ""},
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

TEST(Lexer, EveryKeywordAndFunction) {
  std::string source, expected;
  int keywords = 0, functions = 0;
  const auto add = [&](const char* name, const std::string& token) {
    source += std::string(name) + " ";
    expected += (expected.empty() ? "" : ", ") + token;
  };
#define MC_KEYWORD(name) (add(#name, #name), keywords++);
#include "elut/tokens.def"
#undef MC_KEYWORD
  // The numbers stand in compiled files.
  for (const char* name :
       {"ABS",    "INT",     "COS",      "SIN",       "TAN",     "VAL",
        "STR",    "SYSTEM",  "PIPE",     "CHR",       "NUM",     "SPRINT",
        "MID",    "LEN",     "SPLIT",    "POS",       "UPC",     "LWC",
        "FOPEN",  "FCLOSE",  "FREMOVE",  "FGETS",     "FPUTS",   "FEOF",
        "FERRNO", "FACCESS", "CONNECT",  "CONNECTED", "TRIM",    "GETENV",
        "PUTENV", "GETFILE", "USERNAME", "DATE",      "TIME",    "IMPORTFN",
        "ROUND",  "DOPEN",   "DGETS",    "DCLOSE",    "VSYSTEM", "SUBSTSTR",
        "SUBSVAR"})
    add(name, "BUILTIN " + std::to_string(functions++));
  EXPECT_EQ(75, keywords);
  EXPECT_EQ(43, functions);
  ASSERT_EQ(RC_OK, McSrcSetText(source.c_str()));
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

// The line counter stands at the line in which the token that was read last
// ends; line feeds behind it have not been passed.
using LexerFile = FileTree;

TEST_F(LexerFile, Lines) {
  write("a", "a\n! b\n\nc d\n\"x\n\" 'y\n\"z\n5\"q\"\n\n");
  const struct {
    const char* token;
    uint32_t line;
  } expected[] = {
      {"IDENT a", 1}, {"IDENT c", 4}, {"IDENT d", 4}, {"'x^J'", 6},
      {"IDENT y", 6}, {"IDENT z", 7}, {"5", 8},       {"'q'", 8},
  };
  testing::internal::CaptureStdout();
  ASSERT_EQ(RC_OK, McSrcOpen("a", nullptr));
  TokenValue value;
  for (const auto& row : expected) {
    const int token = McLex(&value);
    EXPECT_EQ(row.token, TokenText(token, value));
    EXPECT_EQ(row.line, McSrcPosition().line) << row.token;
  }
  EXPECT_EQ(0, McLex(&value));
  EXPECT_EQ(10u, McSrcPosition().line);
  EXPECT_EQ(-1, McSrcPosition().level);
  EXPECT_STREQ("a", McSrcPosition().name);
  fflush(stdout);
  EXPECT_EQ("'\"", testing::internal::GetCapturedStdout());
  McTokenStringsFree();
}

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
