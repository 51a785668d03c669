// Tables in the documentation say what the compiler does: its words, built-in
// functions, kinds of nodes and operators, and how deep it nests.
#include <gtest/gtest.h>

#include "Cutil/codes.h"
#include "elut/compile/builtins.h"
#include "elut/compile/parse.h"
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

class Silence : public McReportSink {
  void report(const McReport& report) override { text += report.text; }

 public:
  std::string text;
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
    Silence reports;
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
#define MC_OPERATOR(number, name, text) \
  operators += std::to_string(number) + " `" text "`, ";
#include "elut/model/operators.def"
#undef MC_OPERATOR
  std::string prose = page.prose;
  std::ranges::replace(prose, '\n', ' ');
  EXPECT_NE(std::string::npos,
            prose.find("Operators: " +
                       operators.substr(0, operators.size() - 2) + "."));
}

class TextFile : public McSrcProvider {
 public:
  explicit TextFile(std::string text) : text_(std::move(text)) {}
  UtPtr<McSrcBytes> open(const char*) override {
    return UtMake<McSrcMemory>(text_);
  }

 private:
  std::string text_;
};

bool Compiles(const std::string& text, bool mask) {
  TextFile file(text);
  Silence reports;
  McRun run;
  McFront front(&run, &file, &reports);
  if (McSrcOpen(&front.scanner.source, "text") != RC_OK) return false;
  McProgram program;
  EditorList masks(&run.attribute_names);
  return (mask ? MaskParseDefinition(&front, &masks)
               : McParseProgram(&front, &program)) == RC_OK;
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
      EXPECT_TRUE(Compiles(Nested(level, levels), mask))
          << Nested(level, levels);
      EXPECT_FALSE(Compiles(Nested(level, levels + 1), mask))
          << Nested(level, 2) << levels;
    }
  }
  EXPECT_EQ(27, rows);
}

}  // namespace
