// What no run of the compiler shows: which object may hold which, and text in
// the place of a file.
#include "elut/compile/parse.h"

#include <gtest/gtest.h>

#include "compile.h"
#include "elut/compile/parse_text.h"
#include "rows.h"
#include "tree_text.h"

namespace {

TEST(Parse, Containment) {
  // The beginning of a mask, and what may stand there.
  constexpr char ROWS[] = R"(
    WINDOW { | BUTTON SCROLLBAR RECORD DIALOG GRAPHIC LABEL MENUBAR MENU TEXT
      + GROUP HELP TABLE ON MODULE
    APPLICATION { | HELP ON WINDOW MODULE
    WINDOW { BUTTON { | HELP ON
    WINDOW { MENUBAR { | HELP ON MENUBAR MENU ITEM
    WINDOW { MENU { ITEM { | HELP ON
    WINDOW { TABLE { | BUTTON SCROLLBAR RECORD DIALOG GRAPHIC LABEL MENUBAR MENU
      + TEXT GROUP HELP ITEM ON
    WINDOW { TEXT { | HELP ON ITEM
    WINDOW { GROUP { | BUTTON SCROLLBAR RECORD DIALOG GRAPHIC LABEL MENUBAR MENU
      + TEXT GROUP HELP TABLE
    WINDOW { LABEL { |)";
  for (const auto& [parents, allowed] : Rows<2>(ROWS))
    for (const std::string member :
         {"WINDOW", "APPLICATION", "BUTTON", "SCROLLBAR", "RECORD", "DIALOG",
          "GRAPHIC", "MENUBAR", "MENU", "ITEM", "TABLE", "TEXT", "GROUP",
          "LABEL", "HELP", "ON", "MODULE"}) {
      std::string source = parents + " " + member;
      source += member == "ON"       ? " ENTER { ; }"
                : member == "MODULE" ? " { INTEGER x; }"
                                     : " { ; }";
      for (const char c : parents) source += c == '{' ? " }" : "";
      const bool may =
          (" " + allowed + " ").find(" " + member + " ") != std::string::npos;
      EXPECT_EQ(may ? 0 : 5281, Compile().masks_of(source + "\n")) << source;
    }
}

// The body of a text goes to the caller; it sees what the program has.
TEST(Parse, ProgramText) {
  Compile first;
  ASSERT_EQ(0, first.program_of("PROGRAM p;\nSUB s ; SUBEND COMMON m REAL v, w;"
                                "END COMMON INTEGER v;\nv = w; %x = 1.5;\n"));
  UtPtr<McProgram> program;
  ASSERT_EQ(0, McXdrReadFromBytes(Written(&first.program, 4), &program));
  Compile text;
  McTree body;
  EXPECT_EQ(0, McParseProgramText(&text.front,
                                  "PROGRAM t; PRINT w, %x, 1.5, 2.5; CALL s;",
                                  program.get(), &body));
  EXPECT_EQ("PRINT(VAR w@16, EXTERN %x, REAL 1.5, REAL 2.5)\nCALL SUB s\n",
            TreeText(*program).lines(body));
  EXPECT_EQ("s:\nBLOCK\nASSIGN(VAR v, VAR w@16)\nASSIGN(EXTERN %x, REAL 1.5)\n",
            AllTrees(*program))
      << "the program's own body is as it was";
  EXPECT_EQ(2u, program->constants.count());
}

// What each entry for text says: to programs, handlers and expressions.
TEST(Parse, TextEntries) {
  constexpr char ROWS[] = R"(
    P | PROGRAM p; INCLUDE "a"; ; | 1006 | 0 Code:1006 ! file 'a' not found^J
    P | PROGRAM p; PRINT ); | 1 | 0 Code:0 ! syntax error
    P | MODULE m; | 4 | 0 Code:4 ! error in declaration^J
    H | ON ENTER DO a; | 0
    H | ON ENTER EXECUTE { PRINT x; } | 1 | 0 Code:1 ! undefined variable 'x'^J
    H | WINDOW w { ; } | 5 | 0 Code:5 ! error in declaration^J
    E | a, b(1) + c.X, d = 5, (z), "t", MSG("f", 1), %x, $(1), FNx, CFNy(2) | 0
    E | 1; | 5281 | 0 Code:0 ! syntax error
    E | ON ENTER DO a; | 7 | 0 Code:7 ! error in declaration^J
    // With a location that has a line, and with one that has none.
    L | ON ENTER^JEXECUTE^J{ PRINT x; }
      + | 1 | m.msk Line:8 Code:1 ! undefined variable 'x'^J
    l | ON ENTER EXECUTE { PRINT x; } | 1 | 1 Code:1 ! undefined variable 'x'^J
    L | ON ENTER EXECUTE { PRINT 1; } | 0 ;; L | ON ENTER DO a; | 0)";
  for (const auto& [entry, source, code, report] : Rows<4>(ROWS)) {
    SCOPED_TRACE(source);
    Compile text;
    McFront* front = &text.front;
    McTree body;
    MaskObject* holder = nullptr;
    McProgram* handler = nullptr;
    int found = -1;
    switch (entry[0]) {
      case 'P':
        found = McParseProgramText(front, source.c_str(), &text.program, &body);
        break;
      case 'H':
        found =
            MaskParseHandlerText(front, source.c_str(), &text.masks, &holder);
        break;
      case 'E':
        McSrcSetText(&front->scanner.source, source);
        found = McParseExpressionList(front);
        break;
      default:
        found = MaskParseHandlerText(front, source.c_str(),
                                     entry == "L" ? "m.msk (10)" : "m.msk",
                                     &text.masks, &handler);
    }
    EXPECT_EQ(stoi(code), found);
    const bool named = report.starts_with("m.msk");
    EXPECT_EQ(
        report.empty() ? "" : (named ? "-1:" : "-1: Line:") + report + "\n",
        text.reports.text);
    EXPECT_EQ(entry == "H" && code == "0", holder != nullptr);
    EXPECT_EQ(source.ends_with("1; }"), handler != nullptr);
    EXPECT_EQ(0, MaskParseHandlerText(front, nullptr, "m.msk", &text.masks,
                                      &handler));
    EXPECT_EQ(nullptr, handler);
  }
}

}  // namespace
