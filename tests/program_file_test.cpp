#include "elut/program_file.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include "elut/parse.h"
#include "elut/token_strings.h"
#include "elut/variables.h"
#include "file_tree.h"
#include "quillo_run.h"
#include "util/xd_header.h"
#include "xd_support.h"

namespace {

// A file that is on no disk, so that thousands of them take no time.
struct MemoryFile {
  ~MemoryFile() { close(descriptor); }
  void set_bytes(const std::string& bytes) const {
    EXPECT_EQ(0, ftruncate(descriptor, 0));
    EXPECT_EQ(ssize_t(bytes.size()),
              pwrite(descriptor, bytes.data(), bytes.size(), 0));
  }
  std::string bytes() const {
    const off_t size = lseek(descriptor, 0, SEEK_END);
    std::string all(static_cast<size_t>(size), ' ');
    EXPECT_EQ(size, pread(descriptor, all.data(), all.size(), 0));
    return all;
  }
  const int descriptor = memfd_create("program", MFD_CLOEXEC);
  const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
};

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
    return written(&program, transport);
  }
  std::string written(McProgram* from, int transport) {
    EXPECT_EQ(RC_OK, McXdrWriteToFile(from, transport, out.path.c_str()));
    return out.bytes();
  }
  // Reads the bytes as a file and writes what that gives; "code" and a number
  // when it is refused.
  std::string again(const std::string& bytes) {
    in.set_bytes(bytes);
    McProgram* copy;
    const int code = McXdrReadFromFile(in.path.c_str(), &copy);
    if (code != RC_OK) {
      EXPECT_EQ(nullptr, copy);
      return "code " + std::to_string(code);
    }
    const std::string rewritten = written(copy, uint8_t(bytes[6]));
    McProgramFree(&copy);
    return rewritten;
  }

  McProgram program;
  MemoryFile in, out;
};

constexpr char MODULE[] = "MODULE M; SUB S ; SUBEND";

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

TEST_F(ProgramFile, Bytes) {
  const struct {
    const char* source;
    int transport;
    const char* hex;
  } rows[] = {
      {MODULE, 4,
       "EE EE 02 11 00 20 04 00 01"
       "0001 00000000 00000004 00000000 00000000 00000000 00000000 00000000"
       "00000001 4D 0000 00000000 00000000 00 00000000 0000"
       "0001 00000001 53 00000000 00000000 0000 0800 0000"},
      {MODULE, 1,
       "EE EE 02 11 00 20 01 00 00000001"
       "00000001 00000000 00000004 00000000 00000000 00000000 00000000 00000000"
       "00000001 00000001 4D000000 00000000 00000000 00000000 00000000"
       "00000000 00000000 00000000"
       "00000001 00000001 00000001 53000000 00000000 00000000"
       "00000000 00000000 00000000 00000008 00000000 00000000"},
      {EVERYTHING, 4, EVERYTHING_PLAIN},
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
  }
  EXPECT_EQ(82u, compile(MODULE, 4).size());
}

TEST_F(ProgramFile, NodesOfEveryKind) {
  // Each statement as the only one of a main body, from its first byte on.
  constexpr struct {
    const char* statement;
    const char* hex;
  } ROWS[] = {
      {";", "08 00"},
      {"PRINT 5;;BREAK", "08 0E 02 00000005 00 00 18 00 00"},
      {"CONTINUE", "19 00"},
      {"SUBEXIT", "16 00"},
      {"RETURN 1;", "11 02 00000001 00 00"},
      {"EXIT 1;", "17 02 00000001 00 00"},
      {"i = -+(i);",
       "07 00 01 0002 0000 00 10 02 10 01 10 00 01 0002 0000 00 "
       "00 00 00 00"},
      {"IF i THEN BREAK ELSE BREAK END IF",
       "09 01 0002 0000 00 18 00 18 00 00"},
      {"WHILE 1 DO BREAK END WHILE", "0A 02 00000001 00 18 00 00"},
      {"SELECT 1; CASE 2, 3 TO 4; BREAK END SELECT",
       "12 02 00000001 00 13 18 00 06 10 02 00000002 00 00 "
       "06 20 02 00000003 00 02 00000004 00 00 00 00"},
      {"ALLOCATE e(0:9); ",
       "14 01 0002 0001 0B 02 00000009 00 02 00000000 00 "
       "00 00 00"},
      {"FREE e;", "15 01 0002 0001 00 00"},
      {"CALL t(e(*));", "0C 0000 0D 0002 0001 00 00"},
      {"p.Z = p.X(1);",
       "07 00 01 0002 0002 1A 0002 00 00 01 0002 0002 1A 0000 "
       "02 00000001 00 00 00 00"},
  };
  const std::string before = "PROGRAM P; INTEGER i, e(*); POINT p; ";
  for (const auto& row : ROWS) {
    const std::string bytes = compile((before + row.statement).c_str(), 4);
    // Header, presence, pool, name, imports, constants, node count.
    const std::string expected = ToHex(FromHex(row.hex));
    EXPECT_EQ(expected, ToHex(bytes.substr(8 + 1 + 30 + 5 + 2 + 4 + 4))
                            .substr(0, expected.size()))
        << row.statement;
    EXPECT_TRUE(bytes == again(bytes)) << row.statement;
  }
}

// A header that does not go with its body.
TEST_F(ProgramFile, Headers) {
  const std::string body = compile(MODULE, 4).substr(8);
  const struct {
    const char* header;
    const char* outcome;
  } rows[] = {
      {"EE EE 03 11 00 20 04 00", "code 6197"},  // a mask
      {"EE EE 02 11 00 20 01 00", "code 3016"},  // the body is plain
      {"EE EE 01 11 00 20 04 00", "code 3016"},  // and a module
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.outcome, again(FromHex(row.header) + body)) << row.header;
  EXPECT_EQ(RC_INVALID, McXdrWriteToFile(&program, 2, "none"));
}

// Whatever happened to a file, reading it ends with a code or with a program
// that can be written.
TEST_F(ProgramFile, DamagedFiles) {
  for (const int transport : {4, 1}) {
    const std::string good = compile(EVERYTHING, transport);
    for (size_t length = 0; length < good.size(); length++)
      EXPECT_EQ(0u, again(good.substr(0, length)).find("code ")) << length;
    EXPECT_EQ("code 3016", again(good + '\0'));
    for (size_t i = 8; i < good.size(); i++) {
      for (const int change : {1, 2, 0x7F, 0x80, 0xFF}) {
        std::string bad = good;
        bad[i] = static_cast<char>(bad[i] ^ change);
        again(bad);
      }
      // Counts and lengths that the file cannot hold.
      for (const char* count : {"FFFFFFFE", "00FFFFFF", "7FFFFFFF"}) {
        std::string bad = good;
        bad.replace(i, 4, FromHex(count));
        again(bad);
      }
    }
  }
}

TEST_F(ProgramFile, UnsoundModels) {
  ASSERT_NE("", compile("PROGRAM P; INTEGER i[1:2]; STRING s; CALL x;", 4));
  program.variables.entries[0].type = McValueType::POINT;
  EXPECT_EQ(RC_BODY_FAILED, McXdrWriteToFile(&program, 1, "bad.cm"));
  program.variables.entries[0].type = McValueType::INTEGER;
  program.calls[0].kind = static_cast<McCallKind>(4);
  EXPECT_EQ(RC_BODY_FAILED, McXdrWriteToFile(&program, 4, "bad.cm"));
  EXPECT_FALSE(ReadWhole("bad.cm"));
}

}  // namespace
