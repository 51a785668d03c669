// Rules, their examples and pages, and the forms in which findings are written.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "Cutil/codes.h"
#include "tests/file_tree.h"
#include "tools/check/check.h"
#include "tools/findings/columns.h"
#include "tools/findings/rules.h"
#include "tools/findings/writer.h"

namespace {

std::string ExampleName(std::string_view text) {
  if (text.starts_with("WINDOW")) return "demo.msk";
  return text.starts_with("INCLUDE") || text.starts_with("SUB") ? "demo.inc"
                                                                : "demo.mac";
}

// Rules of an example, with those on that are off by default.
std::string RulesOf(const ToolRule& rule, const char* example) {
  const std::string name = ExampleName(example);
  CheckSettings settings;
  settings.catalogs = CheckCatalogs::of_environment();
  if (rule.severity == ToolSeverity::OFF)
    settings.severities[rule.name] = ToolSeverity::WARNING;
  std::string rules;
  for (const ToolFinding& finding :
       CheckOne(name, {{name, ToolExampleText(example)}}, settings).findings)
    rules += (rules.empty() ? "" : " ") + finding.rule;
  return rules;
}

using RuleExamples = FileTree;

TEST_F(RuleExamples, GiveTheFindingAndCorrectedOnesNone) {
  set_environment("HD_U", root().c_str());
  set_environment("HD_VE", "1700");
  set_environment("HD_LA", "en");
  write("1700/msg/en/cad_msg.txt", "1 TRT 1 : MMSGID 950:Messages\n12 Close\n");
  for (const ToolRule& rule : ToolRules()) {
    EXPECT_EQ(RulesOf(rule, rule.bad), rule.name);
    EXPECT_EQ(RulesOf(rule, rule.good), "") << rule.name;
  }
}

TEST_F(RuleExamples, AMessageIsLookedUpInEveryLanguageAtHand) {
  set_environment("HD_U", root().c_str());
  set_environment("HD_VE", "1700");
  set_environment("HD_LA", "de");
  const std::string header = "1 TRT 1 : MMSGID 950:Messages\n";
  write("1700/msg/en/a.txt", header + "3 three\n");
  write("1700/msg_c/de/a.txt", header + "3 drei\n4 vier\n");
  write("1700/msg/fr/a.txt", header + "5 cinq\n");
  const struct {
    const char* text;
    const char* message;  // "" for none
  } rows[] = {
      {"MSGGET(\"a.txt\", 3, \"x\")", ""},
      {"MSG(\"a.txt\", 4)", "message 4 of \"a.txt\" is missing in en, fr"},
      {"MSG(\"x\", \"a.txt\", 5)",
       "message 5 of \"a.txt\" is missing in de, en"},
      {"MSG(\"a.txt\", 6)", "no catalog has message 6 of \"a.txt\""},
      {"MSG(\"b.txt\", 3)", "no catalog has message 3 of \"b.txt\""},
  };
  CheckSettings settings;
  settings.catalogs = CheckCatalogs::of_environment();
  for (const auto& row : rows) {
    std::string messages;
    const std::string source = std::string("PROGRAM x;\nPRINT ") + row.text;
    for (const ToolFinding& finding :
         CheckOne("a.mac", {{"a.mac", source + ";\n"}}, settings).findings)
      messages += finding.message;
    EXPECT_EQ(messages, row.message) << row.text;
  }
}

TEST(Rules, ExamplesOfCodesGiveThem) {
  for (const ToolCode& code : ToolCodes()) {
    const ToolRule* rule = ToolFindRule(code.rule);
    // What a bound ends with is not what the compile ends with.
    if (rule == nullptr || rule->severity != ToolSeverity::ERROR ||
        ExampleName(rule->bad) != "demo.mac")
      continue;
    const CheckOutcome outcome =
        CheckCompile({{"demo.mac", ToolExampleText(rule->bad)}}, "demo.mac",
                     CheckKind::PROGRAM);
    EXPECT_EQ(outcome.code, code.code) << rule->name;
  }
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  return std::string((std::istreambuf_iterator<char>(file)), {});
}

// docs/findings/ is made by quillo-tools explain --pages docs/findings.
TEST(Rules, PagesAreThoseOfTheTable) {
  const std::string directory = SOURCE_DIRECTORY "/docs/findings/";
  EXPECT_EQ(ReadFile(directory + "README.md"), ToolIndexPage());
  for (const ToolRule& rule : ToolRules())
    EXPECT_EQ(ReadFile(directory + rule.name + ".md"), ToolRulePage(rule));
}

// Every code of the compiler has a row: the header lists them.
TEST(Rules, EveryCodeIsExplained) {
  std::ifstream file(SOURCE_DIRECTORY "/Cutil/codes.h");
  size_t codes = 0;
  for (std::string line; std::getline(file, line);) {
    const size_t equals = line.find(" = ");
    if (!line.starts_with("  RC_") || equals == std::string::npos) continue;
    const int code = std::stoi(line.substr(equals + 3));
    if (code <= 0) continue;
    codes++;
    EXPECT_NE(ToolExplain(std::to_string(code)), "") << code;
  }
  EXPECT_EQ(codes, ToolCodes().size());
}

struct MarkCase {
  const char* line;
  uint32_t begin, end;
  const char* marks;
};
constexpr MarkCase MARKS[] = {
    {"a = b;", 5, 6, "    ^"},
    {"a = bcd;", 5, 8, "    ^~~"},
    {"\ta\tb = c;", 4, 5, "\t \t^"},
    {"\ta\tb;", 2, 5, "\t^\t~"},
    {"größe = x;", 9, 10, "        ^"},
    {"gr\xF6\xDF\x65 = x;", 9, 10, "        ^"},
    {"\"日本\" = x;", 2, 4, " ^~~~"},
    {"\"日本\" = x;", 8, 9, "         ^"},
    {"e\xCC\x81 = x;", 6, 7, "    ^"},  // e and an accent: one column
    {"a = 1", 6, 6, "     ^"},          // behind the line
};

TEST(Columns, MarksStandBelowTheText) {
  for (const MarkCase& row : MARKS)
    EXPECT_EQ(ToolMark(row.line, row.begin, row.end).marks, row.marks)
        << row.line;
  EXPECT_EQ(ToolMark("a\033[2Jb", 1, 2).line, "a\xEF\xBF\xBD[2Jb");
  const ToolMarkedLine wide = ToolMark(
      std::string(5000, 'x') + "!" + std::string(5000, 'y'), 5001, 5002);
  EXPECT_LT(wide.line.size(), 250U);
  EXPECT_EQ(wide.line[wide.marks.find('^')], '!');
}

std::vector<ToolFinding> SomeFindings() {
  const std::string text =
      "PROGRAM x;\nPRINT a,\xE4\n  b;\nPRINT \"\xE4\", c\nPRINT \"\x01\"+;\n";
  return CheckOne("a b.mac", {{"a b.mac", text}}, {}).findings;
}

std::string Written(ToolFormat format) {
  std::string out;
  ToolFindingWriter writer(format, false, &out);
  for (const ToolFinding& finding : SomeFindings()) writer.write(finding);
  writer.finish();
  return out;
}

TEST(Writer, AllFormsCarryTheSameFindings) {
  const std::vector<ToolFinding> findings = SomeFindings();
  ASSERT_GE(findings.size(), 4U);
  const auto json = nlohmann::json::parse(Written(ToolFormat::JSON));
  const auto sarif = nlohmann::json::parse(Written(ToolFormat::SARIF));
  EXPECT_EQ(json.at("version"), 1);
  const auto& rules =
      sarif.at("runs").at(0).at("tool").at("driver").at("rules");
  std::istringstream gcc(Written(ToolFormat::GCC)),
      text(Written(ToolFormat::TEXT)), github(Written(ToolFormat::GITHUB));
  for (size_t i = 0; i < findings.size(); i++) {
    const ToolFinding& finding = findings[i];
    const auto& row = json.at("findings").at(i);
    const auto& result = sarif.at("runs").at(0).at("results").at(i);
    EXPECT_EQ(row.at("rule"), finding.rule);
    EXPECT_EQ(row.at("column"), finding.place.column);
    EXPECT_EQ(row.at("code").is_null(), finding.code == 0);
    EXPECT_EQ(result.at("ruleId"), finding.rule);
    EXPECT_EQ(rules.at(result.at("ruleIndex").get<size_t>()).at("id"),
              finding.rule);
    const auto& place = result.at("locations").at(0).at("physicalLocation");
    EXPECT_EQ(place.at("artifactLocation").at("uri"), "a%20b.mac");
    const auto& region = place.at("region");
    EXPECT_EQ(region.at("startLine"), finding.place.line);
    EXPECT_EQ(region.at("startColumn"), finding.place.column);
    EXPECT_EQ(region.at("endColumn"), finding.place.end_column);
    std::string line, other, command;
    std::getline(gcc, line);
    EXPECT_EQ(line,
              "a b.mac:" + std::to_string(finding.place.line) + ":" +
                  std::to_string(finding.place.column) + ": " +
                  TOOL_SEVERITY_NAMES[static_cast<int>(finding.severity)] +
                  ": " + row.at("message").get<std::string>() + " [" +
                  finding.rule + "]");
    while (std::getline(text, other) && other != line) {
    }
    EXPECT_EQ(other, line);
    std::getline(github, command);
    EXPECT_NE(command.find("title=" + finding.rule), std::string::npos);
    EXPECT_EQ(command.find('\n'), std::string::npos);
  }
  for (const ToolFormat format : {ToolFormat::JSON, ToolFormat::SARIF}) {
    std::string out;
    ToolFindingWriter(format, false, &out).finish();
    EXPECT_TRUE(nlohmann::json::parse(out).is_object());
  }
}

}  // namespace
