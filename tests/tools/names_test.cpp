// What names mean: the same as in the compiled program, and in cases by hand.
#include "tools/tree/syntax_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/tools/smith_sources.h"

namespace {

class UndefinedNames : public McReportSink {
 public:
  void report(const McReport& report) override {
    if (report.kind != McReportKind::ERROR) return;
    constexpr std::string_view BEGIN = "undefined variable '";
    if (report.text.starts_with(BEGIN))
      names.emplace(report.text.substr(BEGIN.size(),
                                       report.text.size() - BEGIN.size() - 2));
    else if (!report.text.starts_with("message reference too long"))
      others++;
  }
  std::set<std::string> names;
  int others = 0;
};

using Variables = std::vector<std::pair<int, int>>;  // selector, number

Variables InTree(const McProgram& program, McTree body) {
  Variables found;
  for (McNodeRef n = body.first; n != body.end(); n++) {
    const McNode& node = program.store->nodes[n];
    if (node.kind() == McNodeKind::VAR || node.kind() == McNodeKind::REFVAR)
      found.emplace_back(node.scope(), node.index());
  }
  std::sort(found.begin(), found.end());
  return found;
}

// The variables that a routine uses in its statements. What stands in the
// parentheses of a coordinate is dropped when the variable has none: such uses
// are left out unless `all`.
Variables InNames(const SyntaxTree& tree, const SyntaxNames& names,
                  uint32_t scope, bool all) {
  Variables found;
  for (const SyntaxUse& use : names.uses) {
    const SyntaxSymbol& symbol = names.symbols[use.symbol];
    if (symbol.scope != scope || use.role == SyntaxRole::DEFINE ||
        symbol.meaning == SyntaxMeaning::UNDECLARED)
      continue;
    bool counts = true;
    for (uint32_t n = tree.node_of(use.token); n != 0;
         n = tree.nodes[n].parent) {
      const SyntaxNode& node = tree.nodes[n];
      if (node.symbol == SYMBOL_declarator) counts = false;
      if (!all && node.symbol == SYMBOL_variable_reference &&
          node.first_token != use.token)
        counts = false;
    }
    if (counts) found.emplace_back(symbol.selector, symbol.index);
  }
  std::sort(found.begin(), found.end());
  return found;
}

void ExpectSame(const SyntaxTree& tree, const SyntaxNames& names,
                uint32_t scope, const McProgram& program, McTree body) {
  const Variables compiled = InTree(program, body);
  const Variables most = InNames(tree, names, scope, true);
  // An operand that is not declared takes others with it.
  const bool complete = std::none_of(
      names.symbols.begin(), names.symbols.end(), [](const SyntaxSymbol& s) {
        return s.meaning == SyntaxMeaning::UNDECLARED;
      });
  const Variables least =
      complete ? InNames(tree, names, scope, false) : Variables();
  ASSERT_TRUE(std::includes(most.begin(), most.end(), compiled.begin(),
                            compiled.end()));
  ASSERT_TRUE(std::includes(compiled.begin(), compiled.end(), least.begin(),
                            least.end()));
}

void ExpectSameTable(const SyntaxNames& names, uint32_t scope, McScope selector,
                     const McVarTable& table, const SyntaxTree& tree) {
  size_t count = 0;
  for (const SyntaxSymbol& symbol : names.symbols) {
    if (symbol.scope != scope || symbol.selector != selector || symbol.refused)
      continue;
    count++;
    ASSERT_LT(symbol.index, table.entries.size());
    const McVar& variable = table.entries[symbol.index];
    ASSERT_EQ(variable.name, tree.text_of(symbol.definition));
    ASSERT_EQ(variable.type, symbol.type);
    ASSERT_EQ(variable.storage, symbol.storage) << variable.name;
    ASSERT_EQ(variable.dim_count, symbol.dimensions) << variable.name;
  }
  ASSERT_EQ(count, table.entries.size());
}

void Compare(uint64_t seed, bool damaged) {
  RandomSource source(seed, damaged);
  UndefinedNames reports;
  McRun run;
  McFront front(&run, &source.files, &reports);
  McProgram program;
  EditorList masks(&run.attribute_names);
  ASSERT_EQ(McSrcOpen(&front.scanner.source, source.name.c_str()), RC_OK);
  (void)(source.is_mask ? MaskParseDefinition(&front, &masks)
                        : McParseProgram(&front, &program));
  SyntaxOptions options;
  options.files = &source.files;
  options.form = source.is_mask ? SyntaxForm::MASK : SyntaxForm::PROGRAM;
  const SyntaxTree tree = SyntaxParse(source.name, source.text(), options);
  const SyntaxNames names = SyntaxResolve(tree);
  ASSERT_EQ(tree.errors.empty(), reports.others == 0);
  if (!tree.errors.empty()) return;

  // Names that are not declared. ALLOCATE and NAME(*) say nothing about them.
  std::set<std::string> certain, possible;
  for (const SyntaxUse& use : names.uses) {
    if (names.symbols[use.symbol].meaning != SyntaxMeaning::UNDECLARED)
      continue;
    const std::string name(tree.text_of(use.token));
    possible.insert(name);
    if (use.role != SyntaxRole::ALLOCATE && use.role != SyntaxRole::WHOLE)
      certain.insert(name);
  }
  ASSERT_TRUE(std::includes(possible.begin(), possible.end(),
                            reports.names.begin(), reports.names.end()));
  ASSERT_TRUE(std::includes(reports.names.begin(), reports.names.end(),
                            certain.begin(), certain.end()));
  if (source.is_mask) return;

  size_t subs = 0;
  for (uint32_t scope = 0; scope < names.scopes.size(); scope++) {
    const bool is_sub = names.scopes[scope].name != SYNTAX_NONE;
    SCOPED_TRACE("scope " + std::to_string(scope));
    if (!is_sub) {
      ExpectSame(tree, names, scope, program, program.body);
      ExpectSameTable(names, scope, MC_SCOPE_LOCAL, program.variables, tree);
      for (size_t i = 0; i < program.commons.size(); i++)
        ExpectSameTable(names, scope, static_cast<McScope>(MC_SCOPE_COMMON + i),
                        program.commons[i].variables, tree);
      continue;
    }
    ASSERT_LT(subs, program.subs.size());
    const McSub& sub = program.subs[subs++];
    ASSERT_EQ(sub.name,
              tree.text_of(names.symbols[names.scopes[scope].name].definition));
    ExpectSame(tree, names, scope, program, sub.body);
    ExpectSameTable(names, scope, MC_SCOPE_LOCAL, sub.locals, tree);
    ExpectSameTable(names, scope, MC_SCOPE_PARAMETER, sub.parameters, tree);
    for (size_t i = 0; i < sub.commons.size(); i++)
      ExpectSameTable(names, scope, static_cast<McScope>(MC_SCOPE_COMMON + i),
                      sub.commons[i].variables, tree);
  }
  ASSERT_EQ(subs, program.subs.size());
}

TEST(Names, MeanWhatTheCompilerTakesThemFor) {
  for (uint64_t seed = 1; seed <= SourceCount(); seed++)
    for (const bool damaged : {false, true}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + (damaged ? "d" : ""));
      Compare(seed, damaged);
      if (testing::Test::HasFatalFailure()) return;
    }
}

// Each use of a name as MEANING@the line of its definition, in token order.
struct NameCase {
  const char* source;
  const char* uses;
};
constexpr NameCase NAMES[] = {
    // A local hides a parameter, which hides a COMMON member.
    {"SUB s (REAL a, b)\nCOMMON c\nREAL a, b, d;\nEND COMMON\nINTEGER a;\n"
     "a = b + d;\nSUBEND\n",
     "s@1 a@1 b@1 c@2 a@3 b@3 d@3 a@5 =a@5 b@1 d@3 "},
    // A routine sees nothing of another one.
    {"PROGRAM p;\nSUB s\nINTEGER i;\ni += 1;\nSUBEND\ni = 1;\n",
     "p@1 s@2 i@3 +i@3 =i@0 "},
    // The first SUB of a name is called, wherever it stands.
    {"SUB a\nCALL b(FNc(1));\nSUBEND\nSUB b\nCFNa;\nSUBEND\nSUB b;SUBEND\n",
     "a@1 b@4 FNc@0 b@4 CFNa@0 b@7 "},
    {"PROGRAM p;\nIMPORT f, g FROM h;\nPRINT FNf(%x), %x;\nCALL g;\n",
     "p@1 f@2 g@2 FNf@2 %x@0 %x@0 g@2 "},
    // A bound that is not constant declares nothing.
    {"PROGRAM p;\nINTEGER n, a(n), b(2 * 3, 4);\na(1) = b(n, 1);\n",
     "p@1 n@2 a@2 n@2 b@2 =a@0 b@2 n@2 "},
    {"PROGRAM p;\nPOINT q(*), r;\nALLOCATE q(2);\nq(1).X = r.Y;\nFREE q;\n"
     "CALL f(q(*));\n",
     "p@1 q@2 r@2 q@2 =q@2 r@2 q@2 f@0 q@2 "},
};

TEST(Names, AreFound) {
  for (const NameCase& c : NAMES) {
    const SyntaxTree tree = SyntaxParse("a.mac", c.source);
    EXPECT_TRUE(tree.errors.empty()) << c.source;
    const SyntaxNames names = SyntaxResolve(tree);
    const SyntaxLines lines(tree.text());
    std::string uses;
    for (const SyntaxUse& use : names.uses) {
      const uint32_t definition = names.symbols[use.symbol].definition;
      const uint32_t line = definition == SYNTAX_NONE
                                ? 0
                                : lines.line_of(tree.tokens[definition].begin);
      if (use.role == SyntaxRole::WRITE) uses += '=';
      if (use.role == SyntaxRole::UPDATE) uses += '+';
      uses += tree.text_of(use.token);
      uses += "@" + std::to_string(line) + " ";
    }
    EXPECT_EQ(uses, c.uses) << c.source;
  }
}

}  // namespace
