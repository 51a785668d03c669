#include "elut/syntax/lexer.h"

#include <gtest/gtest.h>

#include "token_text.h"

namespace {

TEST(Lexer, Tokens) {
  // The source, its tokens, and the characters that begin none.
  constexpr char ROWS[] = R"(
    WHILE WHILEX While _X x-y   | WHILE IDENT.WHILEX IDENT.While IDENT.X IDENT.x
      + - IDENT.y | _
    FNAREA FN1 FN FNa_1 fna     | FNNAME.FNAREA IDENT.FN1 IDENT.FN FNNAME.FNa_1
      + IDENT.fna
    CFNA CFN CFN9 CFNFNa FNWHILE | CFNNAME.CFNA IDENT.CFN IDENT.CFN9
      + CFNNAME.CFNFNa FNNAME.FNWHILE
    %a &b1_ %1 $$x $_a %WHILE $é | SIGILNAME.%a SIGILNAME.&b1_ SIGIL.% 1 SIGIL.$
      + SIGILNAME.$x SIGIL.$ IDENT.a SIGILNAME.%WHILE SIGIL.$ | _é
    @:a.b* @ @:;@*: | SIGILNAME.@:a.b* SIGIL.@ SIGIL.@ : ; SIGILNAME.@* :
    = += -= /= *=   | ASSIGNOP.0 ASSIGNOP.1 ASSIGNOP.2 ASSIGNOP.3 ASSIGNOP.4
    ===*=***+==><<> | == ASSIGNOP.0 ASSIGNOP.4 ** * ASSIGNOP.1 ASSIGNOP.0 > < <>
    :;,+-*/[](){}><.<=>=          | : ; , + - * / [ ] ( ) { } > < . <= >=
    017 0x1F 0X1F 09 00 0xG 1x 0189 | 15 31 0 IDENT.X1F 0 9 0 0 IDENT.xG 1
      + IDENT.x 1 89
    2147483647 0xFFFFFFFF 037777777777 | 2147483647 -1 -1
    0x80000000 0x00000000aFf           | -2147483648 2815
    1.5E3D .5 2e-3 90D 5. 5.x  | 1500.0 0.5 0.002 90.0 5 . 5 . IDENT.x
    0x1.5 0x1e5 1E 1e+2 1.5Ex  | 1 0.5 485 1 IDENT.E 100.0 1.5 IDENT.Ex
    1E5DD 1..5 45g 45R 45f     | 1e+05 IDENT.D 1 . 0.5 45.0 45.0 45 IDENT.f
    1e400 4.9e-324 9007199254740993D PI | inf 5e-324 9007199254740992.0
      + 3.141592653589793
    0.30000000000000004 0.123456789012345 1234567.89012345 12345678.90123456
      + | 0.30000000000000004 0.123456789012345 1234567.89012345
      + 12345678.90123456
    'A' ''' '^I' '\' '{{FF}}' 'AB'C' '' | 65 39 9 92 255 IDENT.AB 67 | '''
    "" "abc"" """ "abc^J""y" | '' 'abc"' '"' 'abc^J' 'y'
    "a\"b" "a\nb" "a\tb"     | 'a"b' 'a^Jb' 'a\tb'
    "\\n" "\\"x" "\\\" ")    | '\^J' '\"x' '\\" ' )
    "abc^Jy"^J               | IDENT.abc IDENT.y | ""
    a!x^Jb#y^J^Lc            | IDENT.a IDENT.b IDENT.c
    a?\b^`{{7C}}~^A{{7F C3}}^M | IDENT.a IDENT.b | ?\^`{{7C}}~^A{{7F C3}}^M
    // Names of one length that differ in one place only.
    abcdefgh abcdefgx abcdefghijklmnop abcdefgHijklmnop abcdefghijklmnopq
      + abcdefghijklmnoPq | IDENT.abcdefgh IDENT.abcdefgx
      + IDENT.abcdefghijklmnop IDENT.abcdefgHijklmnop IDENT.abcdefghijklmnopq
      + IDENT.abcdefghijklmnoPq)";
  for (const auto& [source, tokens, strays] : Rows<3>(ROWS)) {
    Lexer lexer;
    EXPECT_EQ(tokens, lexer.tokens_of_text(source)) << source;
    EXPECT_EQ(strays, lexer.reports.text) << source;
  }
}

// The numbers stand in compiled files.
TEST(Lexer, Functions) {
  const std::string functions =
      "ABS INT COS SIN TAN VAL STR SYSTEM PIPE CHR NUM SPRINT MID LEN SPLIT "
      "POS UPC LWC FOPEN FCLOSE FREMOVE FGETS FPUTS FEOF FERRNO FACCESS "
      "CONNECT CONNECTED TRIM GETENV PUTENV GETFILE USERNAME DATE TIME "
      "IMPORTFN ROUND DOPEN DGETS DCLOSE VSYSTEM SUBSTSTR SUBSVAR";
  EXPECT_EQ("IDENT.ABSX" + Expanded("{{43# BUILTIN.#}}"),
            Lexer().tokens_of_text("ABSX " + functions));
}

TEST(Lexer, IntegersThatDoNotFit) {
  for (const std::string number : {"2147483648", "99999999999999999999999",
                                   "0x100000000", "040000000000"}) {
    Lexer lexer;
    EXPECT_EQ("2147483647", lexer.tokens_of_text(number));
    EXPECT_EQ(5672, lexer.scanner.error_code);
    EXPECT_EQ("-1: Line:0 Code:5672 ! integer constant '" + number +
                  "' out of range\n\n",
              lexer.reports.text);
  }
}

// The scanner sees the file in windows of 64 KiB. A token must not change
// because a window ends in or right behind it.
TEST(Lexer, WindowsEndAnywhere) {
  Lexer lexer;
  const std::string token = "\"ab\\\"c\n\"\"d\"\"\n\"e\n\"x1+=2.5E1\n";
  for (size_t before = 65536 - token.size() - 3; before <= 65536; before++) {
    std::string text;
    while (text.size() + 200 < before) text += std::string(99, '!') + "\n";
    text += std::string(before - text.size() - 1, ' ') + "\n" + token;
    const std::string once = "'ab\"c\n' 'd\"' 'e\n' IDENT.x1 ASSIGNOP.1 25.0";
    EXPECT_EQ(once + " " + once, lexer.tokens_of_file(text + text)) << before;
  }
}

}  // namespace
