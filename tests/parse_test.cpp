#include "elut/parse.h"

#include <gtest/gtest.h>

#include "elut/parse_state.h"
#include "file_tree.h"
#include "mask_support.h"
#include "tree_text.h"

namespace {

// Parses a program from text; its reports are in reports().
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
    const int code = parse(
        "PROGRAM p; INTEGER a, b, c, d(5), e(*); REAL r; STRING s; POINT q;" +
        statements);
    return code == RC_OK ? tree() : "code " + std::to_string(code);
  }
  std::string tree() const { return TreeText(program, nullptr)(program.body); }

  McProgram program;
  ChannelCapture reports{1};
};

struct TreeCase {
  const char* source;
  const char* tree;
};

TEST_F(Parse, Expressions) {
  // Behind "a = ".
  constexpr TreeCase ROWS[] = {
      // Binding, from the loosest to the tightest.
      {"b OR c AND a", "OPERA OR(VAR b, OPERA AND(VAR c, VAR a))"},
      {"b AND c == a", "OPERA AND(VAR b, OPERA==(VAR c, VAR a))"},
      {"b == c < a", "OPERA==(VAR b, OPERA<(VAR c, VAR a))"},
      {"b <> c >= a", "OPERA<>(VAR b, OPERA>=(VAR c, VAR a))"},
      {"b < c + a", "OPERA<(VAR b, OPERA+(VAR c, VAR a))"},
      {"b + c * a", "OPERA+(VAR b, OPERA*(VAR c, VAR a))"},
      {"b * c ** a", "OPERA*(VAR b, OPERA**(VAR c, VAR a))"},
      {"-b ** c", "OPERA**(UNARY 2(VAR b), VAR c)"},
      {"b ** -c", "OPERA**(VAR b, UNARY 2(VAR c))"},
      {"-b * c", "OPERA*(UNARY 2(VAR b), VAR c)"},
      {"- -+b", "UNARY 2(UNARY 2(UNARY 1(VAR b)))"},
      // Of equal strength: to the left, but for the power.
      {"1 OR 2 OR 3", "OPERA OR(OPERA OR(INT 1, INT 2), INT 3)"},
      {"1 == 2 <> 3", "OPERA<>(OPERA==(INT 1, INT 2), INT 3)"},
      {"1 > 2 <= 3", "OPERA<=(OPERA>(INT 1, INT 2), INT 3)"},
      {"1 - 2 - 3", "OPERA-(OPERA-(INT 1, INT 2), INT 3)"},
      {"1 / 2 MOD 3 DIV 4 * 5",
       "OPERA*(OPERA DIV(OPERA MOD(OPERA/(INT 1, INT 2), INT 3), INT 4), "
       "INT 5)"},
      {"2 ** 3 ** 2", "OPERA**(INT 2, OPERA**(INT 3, INT 2))"},
      {"(1 - (2 - 3))", "OPERA-(INT 1, OPERA-(INT 2, INT 3))"},
      // Assignments as operands take all that follows.
      {"b = c", "ASSIGN(VAR b, VAR c)"},
      {"1 + b = 3 OR 4",
       "OPERA+(INT 1, ASSIGN(VAR b, OPERA OR(INT 3, INT 4)))"},
      {"b * c += 1 - 2", "OPERA*(VAR b, ASSIGN+(VAR c, OPERA-(INT 1, INT 2)))"},
      {"-b = 1", "UNARY 2(ASSIGN(VAR b, INT 1))"},
      // A variable in parentheses is handed on as a value.
      {"(b)", "UNARY 0(VAR b)"},
      {"((b))", "UNARY 0(VAR b)"},
      {"(q.X)", "UNARY 0(VAR q(REFER X))"},
      {"(b + 1)", "OPERA+(VAR b, INT 1)"},
      {"(5)", "INT 5"},
      // Operands.
      {"d(1)", "VAR d(INT 1)"},
      {"d(1, b)", "VAR d(INT 1, VAR b)"},
      {"q.X", "VAR q(REFER X)"},
      {"q.Y(1, 2)", "VAR q(REFER Y(INT 1, INT 2))"},
      {"q(3).Z.X(4)", "VAR q(INT 3, REFER Z, REFER X(INT 4))"},
      {"2.5 + 2.5", "OPERA+(REAL 2.5, REAL 2.5)"},
      {"\"t\" * 3", "OPERA*(STRING 't', INT 3)"},
      {"PI", "REAL 3.141592653589793"},
      {"%x + @:y.*", "OPERA+(EXTERN %x, EXTERN @:y.*)"},
      {"$(\"n\" + 1)", "EXTIND $(OPERA+(STRING 'n', INT 1))"},
      {"&(b) = %c = 1", "ASSIGN(EXTIND &(VAR b), ASSIGN(EXTERN %c, INT 1))"},
      {"ABS(-1)", "FUNC 0(UNARY 2(INT 1))"},
      {"DATE + MID(s, 1, 2)", "OPERA+(FUNC 33, FUNC 12(VAR s, INT 1, INT 2))"},
      {"FNx + FNy(b, d(*))", "OPERA+(CALL FN x, CALL FN y(VAR b, REFVAR d))"},
      {"CFNx(CFNx)", "CALL CFN x(CALL CFN x)"},
      {"MSG(\"f\", 7)", "STRING '^A^Af^A7^A'"},
      {"MSG(\"f\", \"g\", 07)", "STRING '^Af^Ag^A7^A'"},
      {"MSG(\"\", \"g\", 7)", "STRING '^A^Ag^A7^A'"},
      {"MSGGET(\"\", 12, \"txt\")", "STRING '^D^D12^Dtxt^D'"},
      {"MSGGET(\"f\", 0xFFFFFFFF, \"\")", "STRING '^Df^D-1^D^D'"},
      // Members that are none leave the variable as it is.
      {"q.x + q.W + q.XX + b.X",
       "OPERA+(OPERA+(OPERA+(VAR q, VAR q), VAR q), "
       "VAR b)"},
  };
  for (const TreeCase& row : ROWS)
    EXPECT_EQ("ASSIGN(VAR a, " + std::string(row.tree) + ")",
              body("a = " + std::string(row.source) + ";"))
        << row.source;
  EXPECT_EQ("", reports.text());
}

TEST_F(Parse, Statements) {
  constexpr TreeCase ROWS[] = {
      {";", "BLOCK"},
      {";;;", "BLOCK"},
      {"a = 1;", "ASSIGN(VAR a, INT 1)"},
      {"LET a += 1;", "ASSIGN+(VAR a, INT 1)"},
      {"a -= 1; a /= 2;",
       "BLOCK(ASSIGN-(VAR a, INT 1), ASSIGN/(VAR a, INT 2))"},
      {"; a = 1; ; a *= 2;",
       "BLOCK(ASSIGN(VAR a, INT 1), ASSIGN*(VAR a, INT 2))"},
      {"q.X = 1;", "ASSIGN(VAR q(REFER X), INT 1)"},
      {"d(1) = 1;", "ASSIGN(VAR d(INT 1), INT 1)"},
      {"CFNf; CFNf(1);", "BLOCK(CALL CFN f, CALL CFN f(INT 1))"},
      {"CALL s; CALL s(1, (a), d(*));",
       "BLOCK(CALL SUB s, CALL SUB s(INT 1, UNARY 0(VAR a), REFVAR d))"},
      {"PRINT; PRINT a, \"x\";", "BLOCK(PRINT, PRINT(VAR a, STRING 'x'))"},
      {"RETURN a; EXIT 1;", "BLOCK(RETURN(VAR a), EXIT(INT 1))"},
      {"BREAK", "BREAK"},
      {"BREAK CONTINUE SUBEXIT;", "BLOCK(BREAK, CONT, SUBEX)"},
      {"WHILE a < 3 DO PRINT a; END WHILE",
       "WHILE(OPERA<(VAR a, INT 3), PRINT(VAR a))"},
      {"IF a THEN ; END IF", "IF(VAR a, BLOCK)"},
      {"IF a THEN BREAK ELSE BREAK; ; END IF", "IF(VAR a, BREAK, BREAK)"},
      {"IF a THEN IF b THEN BREAK END IF ELSE CONTINUE END IF",
       "IF(VAR a, IF(VAR b, BREAK), CONT)"},
      {"SELECT a; CASE 1, > 5, 2 TO 4; PRINT a; CASE ELSE PRINT 0; END SELECT",
       "SELECT(VAR a, CASE(PRINT(VAR a), OPERA==(INT 1), OPERA>(INT 5), "
       "OPERA TO(INT 2, INT 4)), PRINT(INT 0))"},
      {"SELECT a; CASE < 1, == 2, >= 3, <= 4, <> 5; ; CASE b; BREAK END SELECT",
       "SELECT(VAR a, CASE(BLOCK, OPERA<(INT 1), OPERA==(INT 2), "
       "OPERA>=(INT 3), OPERA<=(INT 4), OPERA<>(INT 5)), "
       "CASE(BREAK, OPERA==(VAR b)))"},
      {"SELECT 1; CASE 2; ; CASE ELSE ; BREAK CONTINUE END SELECT",
       "SELECT(INT 1, CASE(BLOCK, OPERA==(INT 2)), BLOCK(BREAK, CONT))"},
      {"ALLOCATE e(10), e(0:a, b); FREE e, e;",
       "BLOCK(ALLOC(VAR e(DIM(INT 10)), VAR e(DIM(VAR a, INT 0), "
       "DIM(VAR b))), FREE(VAR e, VAR e))"},
      // What is not declared ends the list that it stands in.
      {"CALL s(1, no(*), 2); CALL s(no(*), 2);",
       "BLOCK(CALL SUB s(INT 1, INT 2), CALL SUB s(INT 2))"},
  };
  for (const TreeCase& row : ROWS)
    EXPECT_EQ(row.tree, body(row.source)) << row.source;
  EXPECT_EQ("", reports.text());
}

TEST_F(Parse, WorkedExample) {
  EXPECT_EQ(RC_OK, parse("PROGRAM demo; INTEGER i; i = 1;"
                         "WHILE i < 3 DO PRINT i; i += 1; END WHILE"));
  EXPECT_EQ(
      "BLOCK(ASSIGN(VAR i, INT 1), WHILE(OPERA<(VAR i, INT 3), "
      "BLOCK(PRINT(VAR i), ASSIGN+(VAR i, INT 1))))",
      tree());
  EXPECT_STREQ("demo", program.name);
}

// A TRACE node carries the line on which its own statement began.
TEST_F(Parse, TraceLines) {
  write("a.mac",
        "PROGRAM p;\n\n;\nPRINT\n1\n; BREAK\n\nWHILE 1\nDO\n;\nIF 2 THEN "
        "BREAK\nELSE\nBREAK\nEND IF END\nWHILE SELECT 1;\nCASE 2;\nBREAK\nEND "
        "SELECT\nLET %a = 1;\n");
  mc_parse.trace_level = -1;
  ASSERT_EQ(RC_OK, McSrcOpen("a.mac", nullptr));
  EXPECT_EQ(RC_OK, McParseProgram(&program, nullptr));
  EXPECT_EQ(
      "BLOCK(TRACE 4(PRINT(INT 1)), TRACE 6(BREAK), "
      "TRACE 8(WHILE(INT 1, BLOCK(TRACE 11(IF(INT 2, TRACE 11(BREAK), "
      "TRACE 13(BREAK)))))), "
      "TRACE 15(SELECT(INT 1, CASE(TRACE 17(BREAK), OPERA==(INT 2)))), "
      "TRACE 19(ASSIGN(EXTERN %a, INT 1)))",
      tree());
}

TEST_F(Parse, RoutinesAndScopes) {
  ASSERT_EQ(RC_OK,
            parse("PROGRAM p; IMPORT x, y FROM z; IMPORT CSUB k;"
                  "SUB s(INTEGER a, b(*); STRING c; OPTIONAL REAL o)"
                  "  COMMON m INTEGER v; END COMMON COMMON n REAL r; END COMMON"
                  "  INTEGER l, a; l = v = a; PRINT c, b(1), r; CALL t; CALL u;"
                  "END SUB "
                  "SUB t COMMON n POINT l; END COMMON l.Y = 1; SUBEND "
                  "COMMON m REAL v, w; END COMMON INTEGER v; v = w;"));
  ASSERT_EQ(RC_OK, McResolveCalls(&program));
  ASSERT_EQ(2u, program.subs.size());
  const McSub* s = &program.subs[0];
  const McSub* t = &program.subs[1];
  EXPECT_EQ(
      "BLOCK(ASSIGN(VAR l, ASSIGN(VAR v@16, VAR a)), "
      "PRINT(VAR c@3, VAR b@3(INT 1), VAR r@17), CALL #1, CALL SUB u)",
      TreeText(program, s)(s->body));
  EXPECT_EQ("ASSIGN(VAR l@16(REFER Y), INT 1)", TreeText(program, t)(t->body));
  EXPECT_EQ("ASSIGN(VAR v, VAR w@16)", tree());
  EXPECT_EQ(0, s->parameters.required);
  EXPECT_EQ(3u, program.imports.size());
}

TEST_F(Parse, ProgramText) {
  ASSERT_EQ(RC_OK, parse("PROGRAM p; INTEGER z; z = 1;"));
  const struct {
    const char* text;
    int code;
    const char* tree;
    const char* report;
  } rows[] = {
      {"PROGRAM t; z = 2;", 0, "ASSIGN(VAR z, INT 2)", ""},
      {"PROGRAM t; INTEGER n; n = z;", 0, "ASSIGN(VAR n, VAR z)", ""},
      {"PROGRAM t; PRINT n;", 0, "PRINT(VAR n)", ""},
      {"PROGRAM t; PRINT y;", 1, "PRINT",
       "-1: Line:0 Code:1 ! undefined variable 'y'\n\n"},
      {"PROGRAM t; PRINT );", 1, "BLOCK", "-1: Line:0 Code:0 ! syntax error\n"},
      {"MODULE t; SUB u ; SUBEND", 4, "none",
       "-1: Line:0 Code:4 ! error in declaration\n\n"},
      {"", 5, "none", "-1: Line:0 Code:5 ! error in declaration\n\n"},
  };
  std::string printed;
  for (const auto& row : rows) {
    McNodeRef slot = 99;
    EXPECT_EQ(row.code, McParseProgramText(row.text, &program, &slot))
        << row.text;
    EXPECT_EQ(row.tree, TreeText(program, nullptr)(slot));
    printed += row.report;
  }
  EXPECT_EQ("ASSIGN(VAR z, INT 1)", tree()) << "the body is as it was";
  EXPECT_EQ(printed, reports.text());
}

TEST_F(Parse, HandlerText) {
  EditorList list;
  MaskObject* holder;
  ASSERT_EQ(RC_OK, MaskParseHandlerText("ON ENTER DO act;", &list, &holder));
  ASSERT_EQ(1, holder->handlers.count);
  EXPECT_EQ(1u, holder->handlers.entries[0].event.mask);
  ASSERT_EQ(1, holder->handlers.entries[0].attributes.count);
  ASSERT_EQ(RC_OK,
            MaskParseHandlerText("ON KEY 5 EXECUTE { INTEGER a; a = 1; }",
                                 &list, &holder));
  const McProgram& handler = *holder->handlers.entries[0].program;
  EXPECT_EQ("ASSIGN(VAR a, INT 1)", TreeText(handler, nullptr)(handler.body));
  EXPECT_EQ("", reports.text());
  EXPECT_EQ(3, MaskParseHandlerText("PROGRAM p; ;", &list, &holder));
  EXPECT_EQ(nullptr, holder);
  EXPECT_EQ(5, MaskParseHandlerText("WINDOW w { ; }", &list, &holder));
  EXPECT_EQ(2, MaskParseHandlerText("1", &list, &holder));
  EXPECT_EQ(5281, MaskParseHandlerText("ON ENTER", &list, &holder));
  EXPECT_EQ(5281, MaskParseHandlerText("ON ENTER DO a; ON", &list, &holder));
}

TEST_F(Parse, HandlerTextWithLocation) {
  McProgram* handler;
  EXPECT_EQ(RC_OK, MaskParseHandlerText(nullptr, "m.msk (10)", &handler));
  EXPECT_EQ(nullptr, handler);
  EXPECT_EQ(RC_OK, MaskParseHandlerText("ON ENTER DO act;", "", &handler));
  EXPECT_EQ(nullptr, handler);
  ASSERT_EQ(RC_OK,
            MaskParseHandlerText("ON ENTER EXECUTE { BREAK }", "", &handler));
  EXPECT_EQ("BREAK", TreeText(*handler, nullptr)(handler->body));
  McProgramFree(&handler);
  EXPECT_EQ("", reports.text());
  constexpr char FAULT[] = "ON ENTER\nEXECUTE\n{ PRINT x; }";
  for (const char* location : {"m.msk (10)", "m.msk", "(10)", ""}) {
    EXPECT_EQ(1, MaskParseHandlerText(FAULT, location, &handler));
    EXPECT_EQ(nullptr, handler);
  }
  EXPECT_EQ(
      "-1:m.msk Line:8 Code:1 ! undefined variable 'x'\n\n"
      "-1: Line:1 Code:1 ! undefined variable 'x'\n\n"
      "-1: Line:1 Code:1 ! undefined variable 'x'\n\n"
      "-1: Line:1 Code:1 ! undefined variable 'x'\n\n",
      reports.text());
}

// What each entry says to inputs that it does not take, and to errors that
// end the parse or a statement. Text input has no lines.
TEST_F(Parse, Failures) {
  constexpr char SYNTAX[] = "Code:0 ! syntax error\n";
  enum Entry { PROGRAM, MASK, EXPRESSIONS };
  const struct {
    Entry entry;
    const char* source;
    int code;
    std::string report;  // behind the place
  } rows[] = {
      {PROGRAM, "! nothing", 5, "Code:5 ! error in declaration\n\n"},
      {PROGRAM, "INTEGER a;", 5, "Code:5 ! error in declaration\n\n"},
      {PROGRAM, "PRINT 1;", 5, "Code:5 ! error in declaration\n\n"},
      {PROGRAM, "SUB s ; SUBEND", 5, "Code:5 ! error in declaration\n\n"},
      {PROGRAM, ") PROGRAM", 5, "Code:5 ! error in declaration\n\n"},
      {PROGRAM, "WINDOW w { ; }", 5, "Code:5 ! error in declaration\n\n"},
      {PROGRAM, "ON ENTER DO a;", 7, "Code:7 ! error in declaration\n\n"},
      {PROGRAM, "1 + 2, )", 2, "Code:2 ! error in declaration\n\n"},
      {PROGRAM, "PROGRAM ; ;", 5281, SYNTAX},
      {PROGRAM, "PROGRAM p ;", 1, SYNTAX},
      {PROGRAM, "PROGRAM p; IMPORT a, ; ;", 5281, SYNTAX},
      {PROGRAM, "PROGRAM p; IMPORT a FROM b MODULE; ;", 5281, SYNTAX},
      {PROGRAM, "PROGRAM p; INCLUDE \"a\"; ;", 1006,
       "Code:1006 ! file 'a' not found\n\n"},
      {PROGRAM, "MODULE m;", 5281, SYNTAX},
      {PROGRAM, "MODULE m; INTEGER a;", 5281, SYNTAX},
      {PROGRAM, "MODULE m; SUB s(INTEGER a,) ; SUBEND", 5281, SYNTAX},
      {PROGRAM, "MODULE m; SUB s(OPTIONAL) ; SUBEND", 5281, SYNTAX},
      {PROGRAM, "MODULE m; SUB s() ; SUBEND", 5281, SYNTAX},
      {PROGRAM, "PROGRAM p; ; SUBEND PRINT );", 5281, SYNTAX},
      {PROGRAM, "PROGRAM p; ; } PRINT );", 5281, SYNTAX},
      {PROGRAM, "PROGRAM p; ; INTEGER a;", 1, SYNTAX},
      {PROGRAM, "PROGRAM p; INTEGER a; IMPORT b; ;", 1, SYNTAX},
      {PROGRAM, "PROGRAM p; ; ELSE PRINT 2;", 1, SYNTAX},
      {PROGRAM, "PROGRAM p; RETURN;", 1, SYNTAX},
      {PROGRAM, "PROGRAM p; EXIT;", 1, SYNTAX},
      {PROGRAM, "PROGRAM p; CALL 5;", 1, SYNTAX},
      {PROGRAM, "PROGRAM p; INTEGER x; x;", 1, SYNTAX},
      {PROGRAM, "PROGRAM p; SELECT 1; CASE ELSE PRINT 1;", 1, SYNTAX},
      {PROGRAM, "PROGRAM p; PRINT ABS(a(*));", 1, SYNTAX},
      {PROGRAM, "PROGRAM p; PRINT MSGGLOB(\"f\", 1);", 1, SYNTAX},
      {MASK, "PROGRAM p; ;", 3, "Code:3 ! error in declaration\n\n"},
      {MASK, "MODULE m;", 4, "Code:4 ! error in declaration\n\n"},
      {MASK, "ON ENTER DO a;", 7, "Code:7 ! error in declaration\n\n"},
      {MASK, "a.X + FNf(b)", 2, "Code:2 ! error in declaration\n\n"},
      {MASK, "PRINT 1;", 5281, SYNTAX},
      {MASK, "BUTTON b { ; }", 5281, SYNTAX},
      {MASK, "WINDOW w { }", 5281, SYNTAX},
      {MASK, "WINDOW w { a = -1; }", 5281, SYNTAX},
      {MASK, "WINDOW w { \"a\" = MSG(\"f\", 7); }", 5281, SYNTAX},
      {MASK, "WINDOW w { MODULE { SUB s ; SUBEND } }", 5281, SYNTAX},
      {EXPRESSIONS, "a, b(1) + c.X, d = 5, (z), \"t\", MSG(\"f\", 1)", 0, ""},
      {EXPRESSIONS, "1 +", 5281, SYNTAX},
      {EXPRESSIONS, "1;", 5281, SYNTAX},
      {EXPRESSIONS, "", 5, "Code:5 ! error in declaration\n\n"},
      {EXPRESSIONS, "PROGRAM p; ;", 3, "Code:3 ! error in declaration\n\n"},
  };
  std::string printed;
  for (const auto& row : rows) {
    McParseReset();
    ASSERT_EQ(RC_OK, McSrcSetText(row.source));
    EditorList list;
    const int code = row.entry == PROGRAM ? McParseProgram(&program, nullptr)
                     : row.entry == MASK  ? MaskParseDefinition(&list, nullptr)
                                          : McParseExpressionList();
    EXPECT_EQ(row.code, code) << row.source;
    if (!row.report.empty()) printed += "-1: Line:0 " + row.report;
    EXPECT_EQ(printed, reports.text()) << row.source;
    if (HasFailure()) return;
  }
}

// Which object may contain which. Every keyword stands for an object with an
// empty attribute in it.
TEST_F(Parse, Containment) {
  constexpr const char* MEMBERS[] = {
      "WINDOW",  "APPLICATION", "BUTTON", "SCROLLBAR", "RECORD", "DIALOG",
      "GRAPHIC", "MENUBAR",     "MENU",   "ITEM",      "TABLE",  "TEXT",
      "GROUP",   "LABEL",       "HELP",   "ON ENTER",  "MODULE"};
  const std::string simple = " BUTTON SCROLLBAR RECORD DIALOG GRAPHIC ";
  const std::string menus = " MENUBAR MENU ";
  const struct {
    std::string around, parent, allowed;
  } rows[] = {
      {"", "WINDOW",
       simple + menus +
           " LABEL TABLE TEXT GROUP HELP ON ENTER "
           "MODULE "},
      {"", "APPLICATION", " WINDOW HELP ON ENTER MODULE "},
      {"WINDOW", "BUTTON", " HELP ON ENTER "},
      {"WINDOW", "SCROLLBAR", " HELP ON ENTER "},
      {"WINDOW", "RECORD", " HELP ON ENTER "},
      {"WINDOW", "DIALOG", " HELP ON ENTER "},
      {"WINDOW", "GRAPHIC", " HELP ON ENTER "},
      {"WINDOW", "MENUBAR", menus + " ITEM HELP ON ENTER "},
      {"WINDOW", "MENU", menus + " ITEM HELP ON ENTER "},
      {"WINDOW { MENU", "ITEM", " HELP ON ENTER "},
      {"WINDOW", "TABLE",
       simple + menus +
           " LABEL ITEM TEXT GROUP HELP "
           "ON ENTER "},
      {"WINDOW", "TEXT", " ITEM HELP ON ENTER "},
      {"WINDOW", "GROUP", simple + menus + " LABEL TABLE TEXT GROUP HELP "},
      {"WINDOW", "LABEL", ""},
      {"APPLICATION", "WINDOW",
       simple + menus +
           " LABEL TABLE TEXT GROUP HELP "
           "ON ENTER MODULE "},
  };
  for (const auto& row : rows)
    for (const std::string member : MEMBERS) {
      std::string source = row.around + (row.around.empty() ? "" : " { ");
      source += row.parent + " { " + member +
                (member == "MODULE" ? " { INTEGER x; } " : " { ; } ") + "}";
      for (const char c : row.around) source += c == '{' ? " }" : "";
      if (!row.around.empty()) source += " }";
      ASSERT_EQ(RC_OK, McSrcSetText(source.c_str()));
      EditorList list;
      const bool allowed =
          row.allowed.find(" " + member + " ") != std::string::npos;
      EXPECT_EQ(allowed ? RC_OK : RC_PARSE_FAILED,
                MaskParseDefinition(&list, nullptr))
          << source;
    }
}

TEST_F(Parse, KeysAndEvents) {
  const struct {
    const char* events;
    uint32_t mask, key;
  } rows[] = {
      {"KEY PF10 OR ENTER", 0x9, 298},
      {"KEY x", 0x8, 120},
      {"KEY XYZ", 0x8, 88},
      {"KEY <PF1>", 0x8, 289},
      {"KEY 13", 0x8, 13},
      {"KEY 'A'", 0x8, 65},
      {"KEY RETURN", 0x8, 266},
      {"KEY PGUP OR KEY CUL", 0x8, 270},
      {"ENTER OR KEY 13", 0x9, 13},
      {"KEY 13 OR ENTER", 0x9, 13},
      {"KEY 13 OR ENTER OR KEY 27", 0x9, 27},
      {"BUTTON PRESS", 0x80, 1},
      {"BUTTON RELEASE", 0x80, 1},
      {"BUTTON PRESS OR EXIT", 0x82, 1},
      {"EXIT OR BUTTON PRESS", 0x82, 0},
      {"CONTROL OR ABORT OR MOTION", 0x114, 0},
      {"DESTROY OR CONFIRM OR CREATE", 0x6800, 0},
      {"SHOW OR HIDE OR COMPUTE", 0x38000, 0},
      {"ACTIVATE OR MODIFY", 0x140000, 0},
  };
  for (const auto& row : rows) {
    EditorList list;
    MaskObject* holder;
    const std::string text = std::string("ON ") + row.events + " { ; }";
    ASSERT_EQ(RC_OK, MaskParseHandlerText(text.c_str(), &list, &holder))
        << row.events;
    const EventSpec event = holder->handlers.entries[0].event;
    EXPECT_EQ(row.mask, event.mask) << row.events;
    EXPECT_EQ(row.key, event.key) << row.events;
  }
}

}  // namespace
