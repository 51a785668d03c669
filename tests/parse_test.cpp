#include "elut/compile/parse.h"

#include <gtest/gtest.h>

#include "elut/compile/parse_state.h"
#include "file_tree.h"
#include "mask_support.h"
#include "tree_text.h"

namespace {

class Parse : public FileTree {
 protected:
  ~Parse() override {
    mc_parse.trace_level = 0;
    McSrcReset();
    (void)McCompileEnter(nullptr);
    McTokenStringsFree();
  }

  int parse(const std::string& source) {
    McParseReset();
    EXPECT_EQ(RC_OK, McSrcSetText(source.c_str()));
    return McParseProgram(&program, nullptr);
  }
  // The main body of a program with these statements and variables to use.
  std::string body(const std::string& statements) {
    EXPECT_EQ(RC_OK, parse("PROGRAM p; INTEGER a, b, c, d(5), e(*); POINT q;" +
                           statements));
    return tree(program.body);
  }
  std::string tree(McNodeRef node, const McSub* sub = nullptr) const {
    return TreeText{program, sub}(node);
  }

  McProgram program;
  ChannelCapture reports{1};
};

using TreeCase = std::pair<const char*, const char*>;

TEST_F(Parse, Expressions) {
  constexpr TreeCase ROWS[] = {
      // From the loosest to the tightest.
      {"1 OR 2 AND 3 == 4 < 5 + 6 * 7 ** 8",
       "OPERA OR(INT 1, OPERA AND(INT 2, OPERA==(INT 3, OPERA<(INT 4, "
       "OPERA+(INT 5, OPERA*(INT 6, OPERA**(INT 7, INT 8)))))))"},
      {"-b ** c", "OPERA**(UNARY-(VAR b), VAR c)"},
      {"b ** -+c", "OPERA**(VAR b, UNARY-(UNARY+(VAR c)))"},
      // Of equal strength: to the left, but for the power.
      {"1 / 2 MOD 3 DIV 4 * 5",
       "OPERA*(OPERA DIV(OPERA MOD(OPERA/(INT 1, INT 2), INT 3), INT 4), "
       "INT 5)"},
      {"2 ** 3 ** 2", "OPERA**(INT 2, OPERA**(INT 3, INT 2))"},
      // Assignments as operands take all that follows.
      {"1 + b = 3 OR 4",
       "OPERA+(INT 1, ASSIGN(VAR b, OPERA OR(INT 3, INT 4)))"},
      // A variable in parentheses is handed on as a value.
      {"((b)) + (5)", "OPERA+(UNARY(VAR b), INT 5)"},
      {"q(3).Z.X(4)", "VAR q(INT 3, REFER Z, REFER X(INT 4))"},
      {"%x + @:y.*", "OPERA+(EXTERN %x, EXTERN @:y.*)"},
      {"&(b) = %c = 1", "ASSIGN(EXTIND &(VAR b), ASSIGN(EXTERN %c, INT 1))"},
      {"FNx + CFNy(b, d(*))", "OPERA+(CALL FN x, CALL CFN y(VAR b, REFVAR d))"},
      {"MSG(\"f\", 7)", "STRING '^A^Af^A7^A'"},
      {"MSG(\"f\", \"g\", 07)", "STRING '^Af^Ag^A7^A'"},
      {"MSGGET(\"f\", 0xFFFFFFFF, \"\")", "STRING '^Df^D-1^D^D'"},
      {"q.x + q.XX + b.X", "OPERA+(OPERA+(VAR q, VAR q), VAR b)"},
  };
  for (const auto& [source, expected] : ROWS)
    EXPECT_EQ("PRINT(" + std::string(expected) + ")",
              body("PRINT " + std::string(source) + ";"));
  EXPECT_EQ("", reports.text());
}

TEST_F(Parse, Statements) {
  constexpr TreeCase ROWS[] = {
      {";", "BLOCK"},
      {"; LET a += 1; ; d(1) *= 2;",
       "BLOCK(ASSIGN+(VAR a, INT 1), ASSIGN*(VAR d(INT 1), INT 2))"},
      {"CALL s; CALL s(1, (a), d(*));",
       "BLOCK(CALL SUB s, CALL SUB s(INT 1, UNARY(VAR a), REFVAR d))"},
      {"IF a THEN IF b THEN BREAK END IF ELSE CONTINUE END IF",
       "IF(VAR a, IF(VAR b, BREAK), CONT)"},
      {"SELECT a; CASE 1, > 5, 2 TO 4; PRINT a; CASE ELSE PRINT 0; END SELECT",
       "SELECT(VAR a, CASE(PRINT(VAR a), OPERA==(INT 1), OPERA>(INT 5), "
       "OPERA TO(INT 2, INT 4)), PRINT(INT 0))"},
      {"ALLOCATE e(10), e(0:a, b); FREE e, e;",
       "BLOCK(ALLOC(VAR e(DIM(INT 10)), VAR e(DIM(VAR a, INT 0), "
       "DIM(VAR b))), FREE(VAR e, VAR e))"},
      {"CALL s(1, no(*), 2); CALL s(no(*), 2);",
       "BLOCK(CALL SUB s(INT 1, INT 2), CALL SUB s(INT 2))"},
  };
  for (const auto& [source, expected] : ROWS) EXPECT_EQ(expected, body(source));
  EXPECT_EQ("", reports.text());
}

// A TRACE node carries the line on which its own statement began.
TEST_F(Parse, TraceLines) {
  write("a.mac",
        "PROGRAM p;\n\n;\nPRINT\n1\n; BREAK\nWHILE 1\nDO\n;\nIF 2 THEN "
        "BREAK\nELSE\nBREAK\nEND IF END\nWHILE\n");
  mc_parse.trace_level = -1;
  ASSERT_EQ(RC_OK, McSrcOpen("a.mac", nullptr));
  EXPECT_EQ(RC_OK, McParseProgram(&program, nullptr));
  EXPECT_EQ(
      "BLOCK(TRACE 4(PRINT(INT 1)), TRACE 6(BREAK), "
      "TRACE 7(WHILE(INT 1, BLOCK(TRACE 10(IF(INT 2, TRACE 10(BREAK), "
      "TRACE 12(BREAK)))))))",
      tree(program.body));
}

TEST_F(Parse, RoutinesAndScopes) {
  ASSERT_EQ(RC_OK,
            parse("PROGRAM p; SUB s(INTEGER a, b(*); STRING c)"
                  "  COMMON m INTEGER v; END COMMON COMMON n REAL r; END COMMON"
                  "  INTEGER l, a; l = v = a; PRINT c, b(1), r; CALL s; CALL u;"
                  "END SUB "
                  "COMMON m REAL v, w; END COMMON INTEGER v; v = w;"));
  ASSERT_EQ(RC_OK, McResolveCalls(&program));
  const McSub* s = &program.subs[0];
  EXPECT_EQ(
      "BLOCK(ASSIGN(VAR l, ASSIGN(VAR v@16, VAR a)), "
      "PRINT(VAR c@3, VAR b@3(INT 1), VAR r@17), CALL #0, CALL SUB u)",
      tree(s->body, s));
  McNodeRef slot;
  EXPECT_EQ(RC_OK, McParseProgramText("PROGRAM t; PRINT w;", &program, &slot));
  EXPECT_EQ("PRINT(VAR w@16)", tree(slot));
  EXPECT_EQ("ASSIGN(VAR v, VAR w@16)", tree(program.body))
      << "the body is as it was";
}

TEST_F(Parse, HandlerTextWithLocation) {
  McProgram* handler;
  for (const char* location : {"m.msk (10)", "m.msk"})
    EXPECT_EQ(1, MaskParseHandlerText("ON ENTER\nEXECUTE\n{ PRINT x; }",
                                      location, &handler));
  EXPECT_EQ(
      "-1:m.msk Line:8 Code:1 ! undefined variable 'x'\n\n"
      "-1: Line:1 Code:1 ! undefined variable 'x'\n\n",
      reports.text());
}

// What each entry says to inputs that it does not take.
TEST_F(Parse, Failures) {
  enum Entry { PROGRAM, MASK, EXPRESSIONS };
  const struct {
    Entry entry;
    const char* source;
    int code;
  } rows[] = {
      {PROGRAM, "WINDOW w { ; }", 5},
      {PROGRAM, "ON ENTER DO a;", 7},
      {PROGRAM, "PROGRAM p; ; } PRINT );", 5281},
      {PROGRAM, "PROGRAM p; ; INTEGER a;", 1},
      {MASK, "PROGRAM p; ;", 3},
      {MASK, "MODULE m;", 4},
      {MASK, "a.X + FNf(b)", 2},
      {MASK, "WINDOW w { MODULE { SUB s ; SUBEND } }", 5281},
      {EXPRESSIONS, "a, b(1) + c.X, d = 5, (z), \"t\", MSG(\"f\", 1)", 0},
      {EXPRESSIONS, "1;", 5281},
  };
  for (const auto& row : rows) {
    McParseReset();
    ASSERT_EQ(RC_OK, McSrcSetText(row.source));
    EditorList list;
    const int code = row.entry == PROGRAM ? McParseProgram(&program, nullptr)
                     : row.entry == MASK  ? MaskParseDefinition(&list, nullptr)
                                          : McParseExpressionList();
    EXPECT_EQ(row.code, code) << row.source;
  }
}

TEST_F(Parse, Containment) {
  const std::string any = " HELP ON ENTER ";
  const std::string simple = " BUTTON SCROLLBAR RECORD DIALOG GRAPHIC LABEL";
  const std::string inner = simple + " MENUBAR MENU TEXT GROUP HELP ";
  const std::pair<std::string, std::string> rows[] = {
      {"WINDOW {", inner + "TABLE ON ENTER MODULE "},
      {"APPLICATION {", any + "WINDOW MODULE "},
      {"WINDOW { BUTTON {", any},
      {"WINDOW { MENUBAR {", any + "MENUBAR MENU ITEM "},
      {"WINDOW { MENU { ITEM {", any},
      {"WINDOW { TABLE {", inner + "ITEM ON ENTER "},
      {"WINDOW { TEXT {", any + "ITEM "},
      {"WINDOW { GROUP {", inner + "TABLE "},
      {"WINDOW { LABEL {", ""},
  };
  for (const auto& [parents, allowed] : rows)
    for (const std::string member :
         {"WINDOW", "APPLICATION", "BUTTON", "SCROLLBAR", "RECORD", "DIALOG",
          "GRAPHIC", "MENUBAR", "MENU", "ITEM", "TABLE", "TEXT", "GROUP",
          "LABEL", "HELP", "ON ENTER", "MODULE"}) {
      std::string source = parents + member;
      source += member == "MODULE" ? " { INTEGER x; }" : " { ; }";
      for (const char c : parents) source += c == '{' ? " }" : "";
      ASSERT_EQ(RC_OK, McSrcSetText(source.c_str()));
      EditorList list;
      const bool may = allowed.find(" " + member + " ") != std::string::npos;
      EXPECT_EQ(may ? RC_OK : RC_PARSE_FAILED,
                MaskParseDefinition(&list, nullptr))
          << source;
    }
}

}  // namespace
