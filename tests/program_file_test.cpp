// Compiled program files that none of our compilers writes. What they do write
// is among the cases.
#include "elut/files/program_file.h"

#include <gtest/gtest.h>

#include "compile.h"
#include "rows.h"
#include "tree_text.h"

namespace {

// The parts of a file. From the header to the name, P; with one text, "%v", in
// the pool. Two constants, and that the main body has one node. Main variables
// or locals: v. COMMON blocks: c with v. SUBs: s with a local, a parameter and
// BREAK; the same before its body. Calls: SUB u.
std::string Part(const std::string& name) {
  constexpr char ROWS[] = R"(
    START | EEEE 01 11 00 20 04 00 01 0001 00000001 00000004 00000001 00000003
      + 00000000 00000000 00000001 00000003 00001600 00000003 257600 00000001 50
    CONSTANTS | 00000002 02 3FF8000000000000 03 00000001 61 00000001
    VARIABLES | 0001 0000 01 00 00 00 00000001 76
    COMMONS | 0001 0001 0000 01 00 00 00 00000001 76 00000001 63
    SUB | 0001 00000001 73 0001 0000 01 00 00 00 00000001 76
      + 0001 0000 01 00 00 00 00000001 76 0000
    CALLS | 0001 81 00000001 75)";
  for (const auto& [known, hex] : Rows<2>(ROWS))
    if (known == name) return FromHex(hex);
  return FromHex(name);
}

TEST(ProgramFile, Records) {
  // What stands in the place of the imports, the constants, the main body, the
  // main variables, the body of the SUB, the calls, and behind them; then the
  // trees, or nothing when the file is refused. An empty place is as above.
  constexpr char ROWS[] = R"(
    | | | | | | | s: BREAK BREAK
    // Imports: kinds, and texts that are not there.
    0001 00 FFFFFFFF FFFFFFFF FFFFFFFF | | | | | | | s: BREAK BREAK
    0001 81 FFFFFFFF FFFFFFFF | | | | | | | s: BREAK BREAK
    0001 02 FFFFFFFF FFFFFFFF FFFFFFFF ;; 0001 82 FFFFFFFF FFFFFFFF
    // Constants of other types.
    | 00000001 01 00000001 00000001 ;; | 00000001 05 00000001 00000001
    // The last entry of each table, and one more; a constant of the other type.
    | | 03 00000000 00 | | | | | s: BREAK REAL 1.5 ;; | | 03 00000001 00
    | | 03 00000002 00 ;; | | 04 00000000 00 ;; | | 04 00000002 00
    | | 04 00000001 00 | | | | | s: BREAK STRING 'a'
    | | 1B 00000000 00 | | | | | s: BREAK EXTERN %v ;; | | 1B 00000001 00
    | | 0C 0000 00 | | | | | s: BREAK CALL SUB u ;; | | 0C 0001 00
    | | 01 0002 0000 00 | | | | | s: BREAK VAR v ;; | | 01 0002 0001 00
    | | 0D 0002 0000 00 | | | | | s: BREAK REFVAR v ;; | | 0D 0002 0001 00
    | | 01 0010 0000 00 | | | | | s: BREAK VAR v@16 ;; | | 01 0010 0001 00
    | | 01 0011 0000 00 ;; | | 01 000F 0000 00 ;; | | 01 0001 0000 00
    // Parameters are those of the SUB, COMMON blocks those of the main program.
    | | 01 0003 0000 00 ;; | | | | 01 0003 0001 00 ;; | | | | 01 0010 0000 00
    | | | | 01 0003 0000 00 | | | s: VAR v@3 BREAK
    // Further down; no such node.
    | | 0E 01 0002 0001 00 00 ;; | | 1D 00 ;; | | | | 1D 00
    | | 1C 24 00 | | | | | s: BREAK EXTIND $
    // Type, storage, dimensions and flags of a variable; a range of a STRING.
    | | | 0001 0000 04 03 FF 00 00000001 76 | | | | s: BREAK BREAK
    | | | 0001 0000 05 00 00 00 00000001 76
    | | | 0001 0000 01 04 00 00 00000001 76
    | | | 0001 0000 01 00 00 04 00000001 76
    | | | 0001 0000 03 00 00 01 00000001 76 0000000000000000
    // Calls: bound to the last SUB, to one more; kinds; a CFN is never external.
    | | 0C 0000 00 | | | 0001 01 0000 | | s: BREAK CALL #0
    | | | | | 0001 01 0001 ;; | | | | | 0001 00 0000 ;; | | | | | 0001 04 0000
    | | | | | 0001 83 00000001 75 ;; | | | | | | 00)";
  for (const auto& row : Rows<8>(ROWS)) {
    const auto part = [&](size_t i, const char* otherwise) {
      return Part(row[i].empty() ? otherwise : row[i]);
    };
    const std::string bytes =
        Part("START") + part(0, "0000") + part(1, "CONSTANTS") +
        part(2, "18 00") + part(3, "VARIABLES") + Part("COMMONS") +
        Part("SUB") + part(4, "18 00") + part(5, "CALLS") + part(6, "");
    SCOPED_TRACE(ToHex(bytes));
    UtPtr<McProgram> program;
    EXPECT_EQ(row[7].empty() ? 3016 : 0, McXdrReadFromBytes(bytes, &program));
    EXPECT_EQ(row[7].empty(), program == nullptr);
    if (program == nullptr) continue;
    std::string trees = AllTrees(*program);
    std::replace(trees.begin(), trees.end(), '\n', ' ');
    EXPECT_EQ(row[7] + " ", trees);
    EXPECT_EQ(ToHex(bytes), ToHex(Written(program.get(), 4)));
    for (size_t size = 8; size < bytes.size(); size++)
      EXPECT_EQ(3016, McXdrReadFromBytes(bytes.substr(0, size), &program));
  }
}

TEST(ProgramFile, Kinds) {
  // The kind of the file, the presence of a program, its body and main
  // variables: only a module has no body.
  constexpr char ROWS[] = R"(
    01 | 01 | 01 18 00 | 0 ;; 01 | 01 | 00 00 | 3016 ;; 02 | 01 | 00 00 | 0
    02 | 01 | 01 18 00 | 3016 ;; 03 | 01 | 01 18 00 | 6197
    01 | 00 | 01 18 00 | 3016 ;; 01 | 02 | 01 18 00 | 3016)";
  const std::string none(4, '\0');
  for (const auto& [kind, present, body, code] : Rows<4>(ROWS)) {
    UtPtr<McProgram> program;
    EXPECT_EQ(stoi(code),
              McXdrReadFromBytes(
                  FromHex("EEEE" + kind + "11 00 20 04 00" + present +
                          "0001 00000000 00000004") +
                      none + none + none + none + none + FromHex("FFFFFFFF") +
                      none + none.substr(2) + none.substr(1) + FromHex(body) +
                      none + none + none.substr(2),
                  &program))
        << kind << present << body;
  }
  UtPtr<McProgram> program;
  for (const char* path : {"/none", "/dev/null", "."})
    EXPECT_EQ(1008, McXdrReadFromFile(path, &program)) << path;
  for (const int transport : {0, 2, 3, 5, 257}) {
    McProgram empty;
    EXPECT_EQ("code 3011", Written(&empty, transport)) << transport;
  }
}

// Names as they are stored with calls and SUBs, and which calls are bound.
TEST(Program, Calls) {
  // The kind, the name, the name as it is stored, the SUB.
  constexpr char ROWS[] = R"(
    1 | FNs | FNs | - ;; 1 | {{20}}s^I | s | 1 ;; 2 | FN s{{20}} | s | -
    2 | FNFNs | FNs | - ;; 2 | FN | - | - ;; 3 | CFNs | s | - ;; 3 | FNs | FNs | -)";
  McProgram program;
  uint16_t index;
  const auto text = [](const char* name) {
    return name == nullptr ? "-" : name;
  };
  for (const char* sub : {"x", "\ts ", "s", ""})
    ASSERT_EQ(0, McSubAdd(&program, sub, &index));
  for (const auto& [kind, name, stored, bound] : Rows<4>(ROWS)) {
    ASSERT_EQ(
        0, McCallAdd(&program, McCallKind(stoi(kind)), name.c_str(), &index));
    EXPECT_EQ(stored, text(program.calls[index].name));
    EXPECT_EQ(kind != "3", program.calls[index].external);
  }
  ASSERT_EQ(0, McResolveCalls(&program));
  index = 0;
  for (const auto& [kind, name, stored, bound] : Rows<4>(ROWS)) {
    const McCallRef& call = program.calls[index++];
    EXPECT_EQ(bound == "-" ? stored : "-", text(call.name));
    EXPECT_EQ(bound == "-" && kind != "3", call.external);
    EXPECT_EQ(bound == "-" ? 0 : 1, call.sub_index);
  }
}

}  // namespace
