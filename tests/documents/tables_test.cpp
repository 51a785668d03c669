// Tables in the documentation say what the compiler does: its words, built-in
// functions, kinds of nodes and operators, and how deep it nests.
#include <gtest/gtest.h>

#include "Cutil/codes.h"
#include "elut/compile/builtins.h"
#include "tests/compile.h"
#include "tests/documents/pages.h"

namespace {

// A signature in words, with the values to call it with.
struct Signature {
  explicit Signature(const std::string& text) {
    const size_t optional = text.size() - std::min(text.find('.'), text.size());
    for (const char c : text.substr(0, text.size() - optional)) {
      static const std::map<char, std::string> WORDS = {
          {'A', "any"},    {'N', "number"},  {'I', "INTEGER"},
          {'R', "REAL"},   {'S', "STRING"},  {'M', "number or POINT"},
          {'s', "STRING"}, {'i', "integer"}, {'r', "real"}};
      words += (words.empty() ? "" : ", ") + WORDS.at(c);
    }
    if (optional > 0) words += words.empty() ? "[any" : ", [any";
    if (optional > 1) words += " × " + std::to_string(optional);
    if (optional > 0) words += "]";
    if (words.empty()) words = "none";
  }
  std::string words;
};

struct Builtin {
  std::string name, signature, function;
};
const std::vector<Builtin> BUILTINS = {
#define MC_BUILTIN(name, signature, function) {#name, signature, #function},
#include "elut/syntax/builtins.def"
#undef MC_BUILTIN
};

TEST(Tables, Builtins) {
  size_t number = 0;
  for (const std::string& line :
       Lines(Page("docs/language.md").section("Built-in functions"))) {
    const auto cells = CellsOf(line);
    if (cells.size() != 6 || cells[0] == "No.") continue;
    ASSERT_LT(number, BUILTINS.size());
    const Builtin& builtin = BUILTINS[number];
    EXPECT_EQ(std::to_string(number), cells[0]);
    EXPECT_EQ("`" + builtin.name + "`", cells[1]);
    EXPECT_EQ(Signature(builtin.signature).words, cells[2]) << builtin.name;
    EXPECT_EQ(builtin.function == "nullptr" ? "—" : "yes", cells[4]);
    // The results of those that may stand in bounds; VAL wants a number.
    ReportText reports;
    McMath math{&reports};
    std::vector<McValue> arguments;
    for (const char type : builtin.signature)
      if (type == 'S') {
        ASSERT_EQ(0, McValueString(&arguments.emplace_back(), "1"));
      } else if (type != '.') {
        arguments.push_back(McValueReal(1));
      }
    McValue result;
    const int code = McFuncCall(&math, static_cast<unsigned>(number),
                                static_cast<uint32_t>(arguments.size()),
                                arguments.data(), &result);
    static constexpr const char* TYPES[] = {"", "INTEGER", "REAL", "STRING"};
    if (cells[4] != "yes") {
      EXPECT_EQ(RC_BAD_FUNCTION, code) << builtin.name;
    } else if (builtin.name != "ABS") {
      EXPECT_EQ(TYPES[static_cast<int>(result.type)], cells[3]) << builtin.name;
    }
    number++;
  }
  EXPECT_EQ(BUILTINS.size(), number);
}

TEST(Tables, ReservedWords) {
  const std::vector<std::string> keywords = {
#define MC_KEYWORD(name) #name,
#include "elut/syntax/tokens.def"
#undef MC_KEYWORD
  };
  auto listed = Quoted(Page("docs/language.md").section("Reserved words"));
  listed.resize(std::min(listed.size(), keywords.size()));
  EXPECT_EQ(keywords, listed);
}

TEST(Tables, NodesAndOperators) {
  const Page page("docs/compiled-program-file.md");
  const std::vector<std::string> kinds = {
#define MC_KIND(name, payload) #name,
#include "elut/model/node_kinds.def"
#undef MC_KIND
  };
  size_t kind = 1;
  for (const std::string& line : Lines(page.section("Program record"))) {
    const auto cells = CellsOf(line);
    if (cells.size() != 5 || cells[0] == "Kind") continue;
    ASSERT_LT(kind, kinds.size());
    EXPECT_EQ(std::to_string(kind), cells[0]);
    EXPECT_EQ(kinds[kind], cells[1]);
    kind++;
  }
  EXPECT_EQ(kinds.size(), kind);
  std::string operators;
#define MC_OPERATOR(number, name, token, text) \
  operators += std::to_string(number) + " `" text "`, ";
#include "elut/syntax/operators.def"
#undef MC_OPERATOR
  std::string prose = page.prose;
  std::ranges::replace(prose, '\n', ' ');
  EXPECT_NE(std::string::npos,
            prose.find("Operators: " +
                       operators.substr(0, operators.size() - 2) + "."));
}

int CodeOf(const std::string& text, bool mask) {
  Compile compile;
  return mask ? compile.masks_of(text) : compile.program_of(text);
}

// The README's table of codes has a cell for programs and one for masks. What
// is in it can be met there, and what cannot is not in it.
TEST(Tables, CodesOfPrograms) {
  struct Case {
    int code;
    const char* program;  // nullptr: cannot be met
    const char* mask;
  };
  static constexpr Case CASES[] = {
      {1, "PROGRAM p; x = 1;", "WINDOW w { ON SHOW EXECUTE { x = 1; } }"},
      {2, "x = 1;", "1 + 2"},
      {3, nullptr, "PROGRAM p; ;"},
      {4, nullptr, "MODULE m; SUB s ; SUBEND"},
      {5, "WINDOW w { ; }", nullptr},
      {5, "", nullptr},
      {5, "INTEGER i;", nullptr},
      {6, "PROGRAM p; INTEGER i j; ;", "WINDOW w { MODULE { INTEGER i j; } }"},
      {7, "ON SHOW DO a;", "ON SHOW DO a;"},
      {1006, "PROGRAM p; SUB s ; SUBEND INCLUDE \"\"; ;",
       "WINDOW w { ON SHOW EXECUTE { INCLUDE \"\"; ; } }"},
      {5104, "PROGRAM p; ALLOCATE x(1);",
       "WINDOW w { ON SHOW EXECUTE { ALLOCATE x(1); } }"},
      {5281, "MODULE m;", ""},
      {5281, "MODULE m; INTEGER i;", "INTEGER i;"},
      {5672, "PROGRAM p; PRINT 9999999999;", "WINDOW w { x = 9999999999; }"},
      {0, nullptr,  // cleared by the next object
       "WINDOW w { ON SHOW EXECUTE { x = 1; } BUTTON { ; } }"}};
  std::map<int, std::vector<std::string>> rows;
  for (const std::string& line :
       Lines(ReadWhole(SOURCE_DIRECTORY "/README.md").value()))
    if (const auto cells = CellsOf(line);
        cells.size() == 4 && !cells[0].empty() && isdigit(cells[0][0]) != 0)
      rows[std::stoi(cells[0])] = cells;
  for (const Case& row : CASES) {
    ASSERT_TRUE(rows.contains(row.code)) << row.code;
    EXPECT_EQ(std::to_string(row.code & 255), rows[row.code][1]);
    for (const bool mask : {false, true}) {
      const char* text = mask ? row.mask : row.program;
      EXPECT_TRUE(row.code == 0 ||
                  (text == nullptr) == rows[row.code][mask ? 3 : 2].empty())
          << row.code << mask;
      if (text == nullptr) continue;
      EXPECT_EQ(row.code, CodeOf(text + std::string("\n"), mask)) << text;
    }
  }
}

// A row of the table of nested constructs shows one level. The next one takes
// the place of its last "1" in parentheses or in front of ";", or of its last
// ";" that stands alone.
std::string Nested(const std::string& level, int levels) {
  const bool expression = level.starts_with("x = ");
  const size_t inner = expression ? level.rfind('1') : level.rfind(" ;") + 1;
  const size_t begin = expression && level != "x = 1;" ? 4 : 0;
  const std::string front = level.substr(begin, inner - begin);
  const std::string back =
      level.substr(inner + 1, level.size() - inner - 1 - (expression ? 1 : 0));
  std::string text = expression ? level.substr(0, begin) : "";
  for (int i = 0; i < levels; i++) text += front;
  text += level[inner];
  for (int i = 0; i < levels; i++) text += back;
  if (expression) text += ";";
  return level.find('{') != std::string::npos
             ? "WINDOW {" + text + "}\n"
             : "PROGRAM p;\nINTEGER x, l(2);\nPOINT p;\n" + text + "\n";
}

TEST(Tables, Nesting) {
  int rows = 0;
  for (const std::string& line :
       Lines(Page("docs/limits.md").section("Nesting"))) {
    const auto cells = CellsOf(line);
    if (cells.size() != 3 || cells[0] == "Nested") continue;
    const int levels = std::stoi(cells[2]);
    for (const std::string& level : Quoted(cells[1])) {
      rows++;
      const bool mask = level.find('{') != std::string::npos;
      EXPECT_EQ(RC_OK, CodeOf(Nested(level, levels), mask)) << level;
      EXPECT_NE(RC_OK, CodeOf(Nested(level, levels + 1), mask)) << level;
    }
  }
  EXPECT_EQ(27, rows);
}

}  // namespace
