// Every construct of the language stands in at least one example. What a source
// uses is found by the automaton of the grammar, which tells the rules; its
// actions are not run, but for INCLUDE.
#include <gtest/gtest.h>

#include <set>

#include "elut/grammar.h"
#include "elut/syntax/lexer.h"
#include "tests/documents/pages.h"

namespace {

constexpr const McGrammarTables& G = MC_GRAMMAR;

class NoReports : public McReportSink {
  void report(const McReport& report) override {
    ADD_FAILURE() << report.file << ":" << report.line << ": " << report.text;
  }
};

struct Used {
  std::set<int> rules;
  std::set<int> builtins, tokens;
};

void Collect(const std::string& source, Used* used) {
  McSrcFiles files;
  NoReports reports;
  McScanner scanner(&files, &reports);
  ASSERT_EQ(0, McSrcOpen(&scanner.source, source.c_str()));
  std::vector<int> states = {0};
  McToken token = {-1, {}};
  std::string text;  // of the last text literal
  while (states.back() != G.final_state) {
    if (token.token < 0 && !G.reduces_at_once(states.back())) {
      token = McLex(&scanner);
      used->tokens.insert(static_cast<int>(token.token));
      if (token.token == TOKEN_BUILTIN)
        used->builtins.insert(token.value.integer);
      if (token.token == TOKEN_SCONST) text = token.value.text->text();
    }
    const auto step = G.step(states.back(), static_cast<int>(token.token));
    if (step.kind == G.step(0, 0).SHIFT) {
      states.push_back(step.number);
      token.token = -1;
      continue;
    }
    ASSERT_EQ(G.step(0, 0).REDUCE, step.kind)
        << source << ":" << scanner.source.cursor.line;
    used->rules.insert(step.number);
    states.resize(states.size() - static_cast<size_t>(G.length[step.number]));
    const int left = G.lhs[step.number];
    states.push_back(G.after(states.back(), left));
    if (std::string_view(G.names[left]) == "include") {
      ASSERT_EQ(0, McSrcInclude(&scanner.source, text.c_str())) << text;
    }
  }
}

TEST(Constructs, EachStandsInAnExample) {
  std::filesystem::current_path(SOURCE_DIRECTORY);
  Used used;
  for (const char* extension : {".mac", ".msk"})
    for (const std::string& source : FilesOf("examples", extension))
      Collect(source, &used);
  const auto grammar = Lines(ReadWhole("elut/syntax/grammar.y").value());
  // What only texts hold that are no sources of their own, and errors.
  static const std::set<std::string> elsewhere = {
      "expression_list", "expression_check", "handler_check", "statement_error",
      "declaration_error"};
  for (int rule = 2; rule < G.rules; rule++) {
    const auto number = static_cast<size_t>(G.line[rule]);
    const std::string& line = grammar[number - 1];
    const bool needed = !elsewhere.contains(G.names[G.lhs[rule]]) &&
                        line.find("error") == line.npos &&
                        line.find("expression_list") == line.npos &&
                        line.find("handler_check") == line.npos;
    if (needed && !used.rules.contains(rule))
      ADD_FAILURE() << "grammar.y:" << number << ": " << line;
  }
  static constexpr const char* BUILTINS[] = {
#define MC_BUILTIN(name, signature, function) #name,
#include "elut/syntax/builtins.def"
#undef MC_BUILTIN
  };
  for (int i = 0; i < static_cast<int>(std::size(BUILTINS)); i++)
    if (!used.builtins.contains(i)) ADD_FAILURE() << BUILTINS[i];
  for (int i = 3; i < G.tokens; i++)
    if (std::string_view(G.names[i]) != "SIGN" &&  // none: a precedence
        !used.tokens.contains(i))
      ADD_FAILURE() << G.names[i];
}

}  // namespace
