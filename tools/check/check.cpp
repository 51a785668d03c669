// The compiler compiles the source as it is, and so decides whether there is an
// error. If there is one, repairs are looked for; the compiler then compiles
// the repaired source, so that what it still reports is independent of them.
// Names and the like are looked at in the tree of the repaired source, whose
// places are traced back.
#include "tools/check/check.h"

#include <algorithm>
#include <cstdio>

#include "Cutil/codes.h"
#include "elut/grammar.h"
#include "services/environment.h"
#include "tools/check/lint.h"
#include "tools/check/repair.h"
#include "tools/check/settings.h"
#include "tools/check/words.h"
#include "tools/findings/rules.h"
#include "tools/suggest.h"
#include "tools/tree/syntax_names.h"

namespace {

// Faults of a file whose effect alone the compiler is asked about.
constexpr size_t TRIED_APART = 40;
constexpr size_t TRIED_BYTES = size_t{1} << 26;  // of all its compiles
constexpr size_t MOST_FINDINGS = 5000;           // of a file
constexpr size_t MOST_REPAIRS = 300;

// The name of the module that takes in a file of SUBs to check it.
constexpr char FRAGMENT[] = " of an include file";

// A file as the repairs leave it.
struct Repaired {
  explicit Repaired(const CheckSource& of)
      : source(&of),
        text(of.repairs.apply(std::string_view(of.text).substr(0, of.size()))),
        lines(text) {}
  ToolRange range(size_t begin, size_t end) const {
    return source->range(source->repairs.before(begin),
                         source->repairs.before(end));
  }

  const CheckSource* source;
  std::string text;
  CheckLines lines;
  std::set<size_t> taken;  // places that a report was given
};

class Check {
 public:
  Check(const std::string& name, const CheckTexts& texts,
        const CheckSettings& settings)
      : name_(name), texts_(texts), settings_(settings), files_(&texts) {}

  CheckResult run();

 private:
  void repair();
  void add_faults();
  void add_reports(const CheckOutcome& outcome);
  void add_lint(const CheckTexts& texts);
  void add_fixes();
  void apply_settings();
  void drop_followers();
  // Whether there is an error more than in the repaired source.
  bool refuses(const CheckTexts& texts) {
    return CheckCompile(texts, name_, kind_).errors() > remaining_;
  }
  void add(ToolFinding finding) {
    result_.findings.push_back(std::move(finding));
  }
  void add_note(std::string message) {
    ToolFinding note;
    note.place.file = name_;
    note.severity = ToolSeverity::NOTE;
    note.message = std::move(message);
    add(std::move(note));
  }
  Repaired* repaired(const std::string& name);
  ToolRange place_of(const CheckReport& report, std::string_view word);
  void finish();

  CheckResult check_fragment();

  const std::string name_;
  const CheckTexts& texts_;
  const CheckSettings& settings_;
  CheckFiles files_;
  CheckKind kind_ = CheckKind::PROGRAM;
  CheckFile* main_ = nullptr;
  CheckOutcome original_;
  size_t remaining_ = 0;  // errors of the repaired source
  CheckNames dropped_;
  std::vector<std::string> variables_;  // that are declared somewhere
  CheckNames undefined_;                // names that the compiler does not know
  std::vector<std::string> included_;   // files, as the tree has them
  std::map<std::string, std::unique_ptr<Repaired>> repaired_;
  bool complete_ = true;      // the repairs go to the end of the source
  bool ended_early_ = false;  // because of too many errors
  CheckResult result_;
};

bool IsWordByte(char c) {
  return isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

// The last time that the word stands in the text up to `end`, if no other
// report has taken it.
size_t FindBack(Repaired* file, std::string_view word, size_t end) {
  const std::string& text = file->text;
  for (size_t at = end < word.size() ? std::string::npos
                                     : text.rfind(word, end - word.size());
       at != std::string::npos && !word.empty();
       at = at == 0 ? std::string::npos : text.rfind(word, at - 1)) {
    const size_t behind = at + word.size();
    if ((at > 0 && IsWordByte(text[at - 1])) ||
        (behind < text.size() && IsWordByte(text[behind])) ||
        file->taken.contains(at))
      continue;
    file->taken.insert(at);
    return at;
  }
  return std::string::npos;
}

Repaired* Check::repaired(const std::string& name) {
  auto& slot = repaired_[name];
  if (slot == nullptr) {
    CheckFile* file = files_.open(name);
    if (file == nullptr) return nullptr;
    slot = std::make_unique<Repaired>(file->source);
  }
  return slot.get();
}

// The place of a report in the repaired text, traced back: the word that it
// names, or the token that was read last.
ToolRange Check::place_of(const CheckReport& report, std::string_view word) {
  Repaired* file = repaired(report.file);
  if (file == nullptr) return {report.file, 0, 0, 0, 0, ""};
  const std::string& text = file->text;
  size_t end = text.size();
  if (!report.at_end) {
    const size_t length = file->lines.line(report.line).size();
    end = file->lines.start(report.line) + length -
          std::min(report.to_line_end, length);
  }
  if (!word.empty()) {
    const size_t at = FindBack(file, word, end);
    if (at != std::string::npos) return file->range(at, at + word.size());
  }
  size_t begin = end;
  while (begin > 0 && IsWordByte(text[begin - 1])) begin--;
  if (begin == end && begin > 0 && !report.at_end) begin--;
  return file->range(begin, end);
}

// What the compiler reports, by how its report begins.
struct ReportRow {
  std::string_view begin;
  const char* rule;
};
constexpr ReportRow REPORTS[] = {
    {"syntax error", "syntax-error"},
    {"yacc stack overflow", "nesting-too-deep"},
    {"error in declaration", "syntax-error"},
    {"undefined variable", "undefined-name"},
    {"integer constant", "number-range"},
    {"too many nested files", "include-depth"},
    {"message reference too long", "message-too-long"},
    {"too many entries", "table-full"},
    {"too many attribute", "table-full"},
    {"too many handlers", "table-full"},
    {"file '", "include-not-found"},
};

const char* RuleOf(const CheckReport& report) {
  for (const ReportRow& row : REPORTS)
    if (report.text.starts_with(row.begin)) return row.rule;
  return "syntax-error";
}

// The text between the first two quotes.
std::string_view Quoted(std::string_view text) {
  const size_t open = text.find('\'');
  if (open == std::string_view::npos) return {};
  return text.substr(open + 1, text.rfind('\'') - open - 1);
}

void Check::add_faults() {
  for (const auto& [name, file] : files_.all()) {
    CheckSource& source = file->source;
    size_t tried = 0;
    for (CheckFault& fault : source.faults) {
      if (fault.follows) continue;
      ToolFinding finding;
      finding.place = fault.place;
      finding.rule = fault.rule;
      finding.message = fault.message;
      finding.hint = fault.hint;
      finding.related = fault.related;
      const ToolRule* rule = ToolFindRule(fault.rule);
      finding.code = rule != nullptr ? rule->code : 0;
      // Whether the compiler minds this one alone.
      finding.refused = fault.refused || source.hopeless;
      if (!finding.refused && original_.refused() && tried++ < TRIED_APART &&
          tried * main_->source.raw.size() < TRIED_BYTES)
        finding.refused = refuses(files_.repaired(&source, &fault));
      add(std::move(finding));
    }
  }
}

// What the compiler says about the repaired source.
void Check::add_reports(const CheckOutcome& outcome) {
  bool syntax = false;
  std::map<std::string, size_t, std::less<>> names;  // and their findings
  for (const CheckReport& report : outcome.reports) {
    if (report.kind != McReportKind::ERROR) continue;
    ToolFinding finding;
    finding.code = report.code;
    finding.rule = RuleOf(report);
    finding.message = report.text;
    const std::string word(Quoted(report.text));
    const ToolRange place = place_of(report, word);
    if (finding.rule == "syntax-error" || finding.rule == "nesting-too-deep") {
      // Those that could be repaired have been.
      if (syntax || !complete_ || report.text.starts_with("error")) continue;
      syntax = true;
    }
    if (finding.rule == "undefined-name") {
      if (dropped_.contains(word)) continue;
      // One of another spelling, which is a fault of its own.
      if (place.end_column - place.column != word.size() ||
          place.text.find(word) == std::string::npos)
        continue;
      finding.message = "the variable '" + word + "' is not declared";
      std::string near = ToolNearest(word, variables_);
      if (near.empty()) near = CheckBuiltinMeantBy(word);
      if (!near.empty()) finding.hint = "did you mean '" + near + "'?";
      const auto [known, fresh] = names.emplace(word, result_.findings.size());
      if (!fresh) {
        ToolFinding& first = result_.findings[known->second];
        if (first.related.size() < 3)
          first.related.push_back({place, "here, too"});
        continue;
      }
    }
    if (finding.rule == "include-not-found") {
      finding.message = "there is no file '" + word + "'";
      finding.hint =
          "the name counts from the directory in which the compiler is started";
    }
    finding.place = place;
    finding.refused = true;
    add(std::move(finding));
  }
}

// What --fix would change.
void Check::add_fixes() {
  if (!complete_) return;
  CheckSource& source = main_->source;
  CheckEdits edits;
  const auto take = [&](const CheckFault& fault, size_t begin, size_t end,
                        const std::string& by) {
    ToolFinding fix;
    fix.place = fault.place;
    fix.rule = fault.rule;
    const std::string was = source.raw.substr(begin, end - begin);
    fix.message = by.ends_with('\n') ? "the last line is ended"
                  : was.empty()      ? "put in '" + by + "'"
                                     : "'" + was + "' is now '" + by + "'";
    result_.fixes.push_back(std::move(fix));
    edits.add(begin, end, by);
  };
  for (const CheckFault& fault : source.faults) {
    if (!fault.safe || fault.cut_line > 0) continue;
    for (const CheckEdit& edit : source.repairs.all())
      if (edit.number == fault.repair)
        take(fault, source.raw_offset(edit.begin), source.raw_offset(edit.end),
             edit.text);
  }
  // Behind all others: the line feed that the last line lacks.
  const bool returns = source.raw.find("\r\n") != std::string::npos;
  for (const CheckFault& fault : source.faults)
    if (fault.safe && fault.cut_line > 0) {
      result_.ends_last_line = true;
      take(fault, source.raw.size(), source.raw.size(),
           returns ? "\r\n" : "\n");
    }
  edits.sort();
  result_.fixed = edits.apply(source.raw);
}

// Rules about what is not there, or not the same, elsewhere in the source. With
// errors in it they would say what follows from these.
bool DependsOnAll(std::string_view rule) {
  static constexpr std::string_view RULES[] = {
      "unread-variable", "unassigned-variable", "unused-parameter",
      "unused-import",   "unused-sub",          "argument-count",
      "no-return-value", "unreachable-code",    "empty-block"};
  return std::ranges::find(RULES, rule) != std::end(RULES);
}

// What the tree of the repaired source shows.
void Check::add_lint(const CheckTexts& texts) {
  CheckProvider provider(&texts);
  SyntaxOptions options;
  options.form =
      kind_ == CheckKind::MASK ? SyntaxForm::MASK : SyntaxForm::PROGRAM;
  options.files = &provider;
  const auto found = texts.find(name_);
  if (found == texts.end()) return;
  const SyntaxTree tree = SyntaxParse(name_, found->second, options);
  if (!tree.errors.empty() && original_.refused() && !complete_) return;
  for (size_t i = 1; i < tree.files.size(); i++)
    included_.push_back(tree.files[i].name);
  const SyntaxNames names = SyntaxResolve(tree);
  CheckNames variables;
  for (const SyntaxSymbol& symbol : names.symbols)
    if (symbol.scope != SYNTAX_NONE && symbol.definition != SYNTAX_NONE)
      variables.emplace(tree.text_of(symbol.definition));
  variables_.assign(variables.begin(), variables.end());
  LintQuestions questions;
  questions.file = name_ == FRAGMENT && tree.files.size() > 1 ? 1 : 0;
  questions.real_equality =
      CheckSeverity(settings_, "real-equality") != ToolSeverity::OFF;
  if (settings_.catalogs != nullptr &&
      CheckSeverity(settings_, "unknown-message") != ToolSeverity::OFF)
    questions.catalogs = settings_.catalogs.get();
  LintResult lint = Lint(tree, names, questions);
  const auto range = [&](uint32_t first, uint32_t last) {
    const std::string& name = tree.files[tree.file_of(first)].name;
    Repaired* file = repaired(name);
    if (file == nullptr) return ToolRange{name, 0, 0, 0, 0, ""};
    return file->range(tree.tokens[first].begin, tree.tokens[last].end());
  };
  for (const auto& [name, finding] : lint.refused_names) {
    lint.findings[finding].refused = undefined_.contains(name);
    dropped_.insert(name);
  }
  // What a repair has put in is nobody's fault.
  const auto is_repair = [&](uint32_t token) {
    const std::string& name = tree.files[tree.file_of(token)].name;
    const Repaired* file = repaired(name);
    if (file == nullptr) return false;
    const CheckEdits& edits = file->source->repairs;
    const size_t begin = edits.before(tree.tokens[token].begin);
    return file->source->part(begin, edits.before(tree.tokens[token].end())) !=
           tree.text_of(token);
  };
  for (LintFinding& row : lint.findings) {
    if (original_.refused() &&
        (is_repair(row.first) || DependsOnAll(row.rule) ||
         // The value behind the name and its "=".
         (row.rule == std::string_view("attribute-type") &&
          is_repair(row.related + 2))))
      continue;
    ToolFinding finding;
    finding.place = range(row.first, row.last);
    finding.rule = row.rule;
    finding.message = std::move(row.message);
    finding.hint = std::move(row.hint);
    // In a mask a later success hides what has no report.
    finding.refused = row.refused && original_.refused();
    if (row.related != SYNTAX_NONE)
      finding.related.push_back(
          {range(row.related, row.related), std::move(row.related_message)});
    add(std::move(finding));
  }
}

// Severities as the user wants them.
void Check::apply_settings() {
  std::erase_if(result_.findings, [&](ToolFinding& finding) {
    if (finding.refused) return false;
    finding.severity = CheckSeverity(settings_, finding.rule);
    // An error is what the compiler or the user calls one.
    if (!settings_.severities.contains(finding.rule))
      finding.severity = std::min(finding.severity, ToolSeverity::WARNING);
    return finding.severity == ToolSeverity::OFF ||
           CheckSwitchedOff(finding.place.text, finding.rule);
  });
}

// What follows from another finding. A name on the line of an error in the
// syntax may be none, or be cut; where quotes do not pair, what stands between
// them is taken for text and the text for something else.
void Check::drop_followers() {
  using Place = std::pair<std::string, uint32_t>;
  static constexpr std::string_view VAGUE[] = {
      "syntax-error", "missing-part", "missing-semicolon", "stray-character",
      "keyword-as-name"};
  const auto is_vague = [](const ToolFinding& finding) {
    return std::ranges::find(VAGUE, finding.rule) != std::end(VAGUE);
  };
  std::map<Place, ToolFinding*> quotes;
  for (ToolFinding& finding : result_.findings)
    if (finding.rule == "unclosed-text")
      quotes.emplace(Place(finding.place.file, finding.place.line), &finding);
  std::set<Place> lines;
  std::set<const ToolFinding*> followers;
  for (const ToolFinding& finding : result_.findings) {
    if (!is_vague(finding)) continue;
    const Place place(finding.place.file, finding.place.line);
    lines.insert(place);
    for (const uint32_t line : {place.second, place.second - 1}) {
      const auto quote = quotes.find({place.first, line});
      if (quote == quotes.end()) continue;
      quote->second->refused |= finding.refused;
      followers.insert(&finding);
    }
  }
  for (const auto& [place, finding] : quotes) lines.insert(place);
  for (const ToolFinding& finding : result_.findings)
    if ((finding.rule == "undefined-name" ||
         finding.rule == "declaration-refused") &&
        lines.contains({finding.place.file, finding.place.line}))
      followers.insert(&finding);
  std::erase_if(result_.findings, [&](const ToolFinding& finding) {
    return followers.contains(&finding);
  });
}

void Check::finish() {
  auto& findings = result_.findings;
  drop_followers();
  apply_settings();
  if (ended_early_)
    add_note("there are too many errors: the rest of the file is not checked");
  if (findings.size() > MOST_FINDINGS) {
    // The compiler's own are not left out.
    std::stable_partition(
        findings.begin(), findings.end(),
        [](const ToolFinding& finding) { return finding.refused; });
    const size_t left_out = findings.size() - MOST_FINDINGS;
    findings.resize(MOST_FINDINGS);
    add_note(std::to_string(left_out) + " further findings");
  }
  std::ranges::stable_sort(findings, [](const auto& a, const auto& b) {
    return std::tie(a.place.file, a.place.line, a.place.column) <
           std::tie(b.place.file, b.place.line, b.place.column);
  });
  const auto errors = std::ranges::count_if(findings, &ToolFinding::refused);
  // Of several faults the code is that of the last one, mostly.
  for (ToolFinding& finding : findings) {
    if (!finding.refused) finding.code = 0;
    if (finding.refused && errors == 1) finding.code = original_.code;
    if (finding.refused && kind_ == CheckKind::MASK && original_.code == 0)
      finding.hint += std::string(finding.hint.empty() ? "" : "; ") +
                      "quillo reports it and ends with status 0 all the same";
  }
  if (original_.refused() && errors == 0) {
    // The compiler has the last word.
    for (const CheckReport& report : original_.reports) {
      if (report.kind != McReportKind::ERROR) continue;
      ToolFinding finding;
      finding.rule = RuleOf(report);
      finding.code = original_.code;
      finding.message = report.text;
      finding.place = place_of(report, "");
      finding.refused = true;
      return add(std::move(finding));
    }
    ToolFinding finding;
    finding.rule = ToolRuleOfCode(original_.code);
    finding.code = original_.code;
    finding.place.file = name_;
    finding.message = "the compiler refuses the source with code " +
                      std::to_string(original_.code);
    finding.refused = true;
    add(std::move(finding));
  }
}

// A file that others include is checked as what a module takes in.
CheckResult Check::check_fragment() {
  CheckTexts texts = texts_;
  texts[FRAGMENT] = "MODULE fragment;\nINCLUDE \"" + name_ + "\";\n";
  CheckResult result = Check(FRAGMENT, texts, settings_).run();
  // What is found behind the INCLUDE is found at the end of the file.
  const CheckFile* file = files_.open(name_);
  const size_t end = file->source.size();
  const ToolRange at_end = file->source.range(end, end);
  for (ToolFinding& finding : result.findings) {
    if (finding.place.file == FRAGMENT) finding.place = at_end;
    for (ToolRelated& related : finding.related)
      if (related.place.file == FRAGMENT) related.place = at_end;
  }
  result.fixes.clear();
  return result;
}

CheckResult Check::run() {
  main_ = files_.open(name_);
  if (main_ == nullptr) {
    result_.unreadable = true;
    return std::move(result_);
  }
  kind_ = CheckKindOf(name_, main_->source.raw);
  if (CheckIsFragment(name_, main_->source.raw)) return check_fragment();
  original_ = CheckCompile(texts_, name_, kind_);
  if (main_->source.hopeless) {
    add_faults();
    finish();
    return std::move(result_);
  }
  if (original_.refused()) {
    complete_ = CheckRepair(&files_, main_, kind_, MOST_REPAIRS, &dropped_);
    size_t faults = 0;
    for (const auto& [name, file] : files_.all())
      faults += file->source.faults.size();
    ended_early_ = !complete_ && faults >= MOST_REPAIRS;
  } else
    CheckScanAll(main_);
  const CheckTexts texts = files_.repaired();
  add_fixes();
  if (original_.refused()) {
    const CheckOutcome outcome = CheckCompile(texts, name_, kind_);
    remaining_ = outcome.errors();
    for (const CheckReport& report : outcome.reports)
      if (RuleOf(report) == std::string_view("undefined-name"))
        undefined_.emplace(Quoted(report.text));
    add_lint(texts);
    add_faults();
    add_reports(outcome);
  } else {
    add_lint(texts);
    for (const std::string& name : included_)
      if (CheckFile* file = files_.open(name)) CheckScanAll(file);
    add_faults();
  }
  finish();
  return std::move(result_);
}

}  // namespace

ToolSeverity CheckSeverity(const CheckSettings& settings,
                           std::string_view rule) {
  const auto found = settings.severities.find(rule);
  if (found != settings.severities.end()) return found->second;
  const ToolRule* row = ToolFindRule(rule);
  return row == nullptr ? ToolSeverity::ERROR : row->severity;
}

namespace {

// The first word of a source.
std::string FirstWord(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  for (;;) {
    const size_t at = text.find_first_not_of(" \t\r\n\f");
    if (at == std::string_view::npos) return {};
    text.remove_prefix(at);
    if (text[0] != '!' && text[0] != '#') break;
    const size_t feed = text.find_first_of("\n\r");
    if (feed == std::string_view::npos) return {};
    text.remove_prefix(feed);
  }
  std::string word;
  for (const char c : text) {
    if (isalnum(static_cast<unsigned char>(c)) == 0 && c != '_') break;
    word.push_back(c);
  }
  return word;
}

}  // namespace

CheckKind CheckKindOf(std::string_view name, std::string_view text) {
  const std::string word = FirstWord(text);
  if (word == "WINDOW" || word == "APPLICATION") return CheckKind::MASK;
  if (word == "PROGRAM" || word == "MODULE") return CheckKind::PROGRAM;
  return name.ends_with(".msk") ? CheckKind::MASK : CheckKind::PROGRAM;
}

bool CheckIsFragment(std::string_view name, std::string_view text) {
  const std::string word = FirstWord(text);
  return name.ends_with(".inc") && (word == "SUB" || word == "INCLUDE");
}

CheckResult CheckOne(const std::string& name, const CheckTexts& texts,
                     const CheckSettings& settings) {
  CheckResult result = Check(name, texts, settings).run();
  if (!result.ends_last_line) return result;
  // A last line that was not read may have more to mend.
  CheckTexts ended = texts;
  ended[name] = result.fixed;
  CheckResult more = Check(name, ended, settings).run();
  if (more.fixes.empty()) return result;
  std::ranges::move(more.fixes, std::back_inserter(result.fixes));
  result.fixed = std::move(more.fixed);
  return result;
}
