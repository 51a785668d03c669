#include "elut/files/program_file.h"

#include <gtest/gtest.h>

#include "elut/compile/parse.h"
#include "elut/compile/variables.h"
#include "elut/syntax/token_strings.h"
#include "file_tree.h"
#include "quillo_run.h"
#include "xd_support.h"

namespace {

class ProgramFile : public FileTree {
 protected:
  ~ProgramFile() override {
    McSrcReset();
    (void)McCompileEnter(nullptr);
    McTokenStringsFree();
  }

  std::string compile(const char* source, int transport) {
    EXPECT_EQ(RC_OK, McSrcSetText(source));
    EXPECT_EQ(RC_OK, McParseProgram(&program, nullptr));
    EXPECT_EQ(RC_OK, McResolveCalls(&program));
    EXPECT_EQ(RC_OK, McXdrWriteToFile(&program, transport, "out"));
    return ReadWhole("out").value_or("");
  }
  // Reads the bytes as a file and writes what that gives; "code" and a number
  // when it is refused.
  std::string again(const std::string& bytes) {
    write("in", bytes);
    McProgram* copy;
    const int code = McXdrReadFromFile("in", &copy);
    if (code != RC_OK) return "code " + std::to_string(code);
    EXPECT_EQ(RC_OK, McXdrWriteToFile(copy, uint8_t(bytes[6]), "out"));
    McProgramFree(&copy);
    return ReadWhole("out").value_or("");
  }

  McProgram program;
};

constexpr char EVERYTHING[] =
    "PROGRAM P; IMPORT a FROM b MODULE c; IMPORT CSUB k FROM FILE \"f\";"
    "IMPORT d;"
    "SUB S(INTEGER N(*)) COMMON D REAL V; END COMMON"
    "  REAL L; L = N(1); SUBEND "
    "INTEGER I[1:10]; REAL R[0:1.5](0:2); STRING T(*);"
    "COMMON C POINT Q; END COMMON "
    "CALL S(I); CALL E; CFNx; R(1) = FNy(2.5, \"abc\"); Q.Y += SYSTEM;"
    "%v = $(\"n\");";

constexpr char EVERYTHING_PLAIN[] =
    "EE EE 01 11 00 20 04 00"                       // header
    "01 0001 00000001 00000004"                     // pool: one slot, flags
    "00000001 00000003 00000000 00000000 00000001"  // slot, search starts
    "00000003 00001600 00000003 257600"             // buffer "%v"
    "00000001 50"                                   // P
    "0003"                                          // imports
    "00 00000001 61 00000001 62 00000001 63"
    "81 00000001 6B 00000001 66"
    "00 00000001 64 FFFFFFFF FFFFFFFF"
    "00000004"  // constants; the bound 1.5 is one
    "02 3FF8000000000000 02 4004000000000000 03 00000003 616263 03 00000001 6E"
    "00000013"                                 // nodes
    "08"                                       // BLOCK
    "0C0000 01 0002 0000 00 00"                // CALL S(VAR I)
    "0C0001 00 0C0002 00"                      // CALL E, CFNx
    "07 00 01 0002 0001 02 00000001 00 00"     // R(1) =
    "0C0003 03 00000001 00 04 00000002 00 00"  // FNy(2.5, "abc")
    "00"
    "07 01 01 0010 0000 1A 0001 00 00"           // Q.Y +=
    "05 0007 0007 00 00"                         // SYSTEM
    "07 00 1B 00000000 00"                       // %v =
    "1C 24 04 00000003 00 00 00"                 // $("n")
    "00"                                         // end of the BLOCK
    "0003 0000"                                  // main variables
    "01 00 00 01 00000001 49 00000001 0000000A"  // I[1:10]
    "02 00 01 03 00000001 52 0000000000000000 3FF8000000000000"
    "00000000 00000002"                                   // R[0:1.5](0:2)
    "03 02 01 00 00000001 54"                             // T(*)
    "0001 0001 0000 04 00 00 00 00000001 51"              // COMMON block: Q
    "00000001 43"                                         // C
    "0001 00000001 53"                                    // SUB S
    "0001 0000 02 00 00 00 00000001 4C"                   // L
    "0001 0000 01 01 01 00 00000001 4E"                   // N(*)
    "0001 0001 0000 02 00 00 00 00000001 56 00000001 44"  // COMMON D: V
    "07 00 01 0002 0000 00 01 0003 0000 02 00000001 00 00 00"
    "0004 01 0000 81 00000001 45 03 00000001 78 82 00000001 79";  // calls

constexpr char STATEMENTS[] =
    "PROGRAM P; INTEGER i, e(*); POINT p;"
    "PRINT 5; CONTINUE SUBEXIT RETURN 1; EXIT 1; i = -+(i);"
    "IF i THEN BREAK ELSE BREAK END IF WHILE 1 DO BREAK END WHILE "
    "SELECT 1; CASE 2, 3 TO 4; BREAK END SELECT "
    "ALLOCATE e(0:9); FREE e; CALL t(e(*)); p.Z = p.X(1);";

constexpr char STATEMENTS_PLAIN[] =
    "EE EE 01 11 00 20 04 00 01"
    "0001 00000000 00000004 00000000 00000000 00000000 00000000 00000000"
    "00000001 50 0000 00000000 0000002E"
    "08 0E 02 00000005 00 00 19 00 16 00"  // PRINT, CONTINUE, SUBEXIT
    "11 02 00000001 00 00 17 02 00000001 00 00"
    "07 00 01 0002 0000 00 10 02 10 01 10 00 01 0002 0000 00 00 00 00 00"
    "09 01 0002 0000 00 18 00 18 00 00"  // IF
    "0A 02 00000001 00 18 00 00"         // WHILE
    "12 02 00000001 00 13 18 00"         // SELECT, CASE
    "06 10 02 00000002 00 00 06 20 02 00000003 00 02 00000004 00 00 00 00"
    "14 01 0002 0001 0B 02 00000009 00 02 00000000 00 00 00 00"
    "15 01 0002 0001 00 00 0C 0000 0D 0002 0001 00 00"  // FREE, CALL
    "07 00 01 0002 0002 1A 0002 00 00"                  // p.Z =
    "01 0002 0002 1A 0000 02 00000001 00 00 00 00 00"   // p.X(1)
    "0003 0000 01 00 00 00 00000001 69 01 02 01 00 00000001 65"
    "04 00 00 00 00000001 70 0000 0000 0001 81 00000001 74";

TEST_F(ProgramFile, Bytes) {
  const struct {
    const char* source;
    int transport;
    const char* hex;
  } rows[] = {
      {"MODULE M; SUB S ; SUBEND", 1,
       "EE EE 02 11 00 20 01 00 00000001"
       "00000001 00000000 00000004 00000000 00000000 00000000 00000000 00000000"
       "00000001 00000001 4D000000 00000000 00000000 00000000 00000000"
       "00000000 00000000 00000000"
       "00000001 00000001 00000001 53000000 00000000 00000000"
       "00000000 00000000 00000000 00000008 00000000 00000000"},
      {EVERYTHING, 4, EVERYTHING_PLAIN},
      {STATEMENTS, 4, STATEMENTS_PLAIN},
      // Constants and payloads in the other transport.
      {"PROGRAM P; PRINT 2.5, \"abcde\", -1, &(1);", 1,
       "EE EE 01 11 00 20 01 00 00000001"
       "00000001 00000000 00000004 00000000 00000000 00000000 00000000 00000000"
       "00000001 00000001 50000000 00000000"
       "00000002 00000002 4004000000000000 00000003 00000005 00000005"
       "6162636465000000 00000007 0000000E"
       "00000003 00000000 00000000 00000004 00000001 00000000"
       "00000010 00000002 00000002 00000001 00000000 00000000"
       "0000001C 00000026 00000002 00000001 00000000 00000000 00000000"
       "00000000 00000000 00000000 00000000 00000000"},
  };
  for (const auto& row : rows) {
    const std::string bytes = compile(row.source, row.transport);
    EXPECT_EQ(ToHex(FromHex(row.hex)), ToHex(bytes)) << row.source;
    EXPECT_EQ(ToHex(bytes), ToHex(again(bytes)));
    EXPECT_EQ("code 3016", again(bytes + '\0'));
  }
}

}  // namespace
