// How the repair of a syntax error is found: changes are collected
// (repair_candidates.cpp), the parser tries each of them (repair.cpp), and what
// was chosen is told (repair_findings.cpp).
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tools/check/parser.h"
#include "tools/check/repair.h"

// A change of the source with which the parser might go on.
struct CheckChange {
  enum Kind {
    PUT_IN,
    TAKE_OUT,
    SPELL,         // another keyword was meant
    KEYWORD_NAME,  // a keyword stands for a name
    WRONG_END,
    SUB_END,  // in other words
    BRACKETS,
    CALL_WORD,
    OPERATOR,   // of another language
    NOT_EQUAL,  // "!=", which begins a comment
    COMMENT,    // of another language
    COMMA,      // in a number
    POINT,      // behind a number
    MISPLACED,  // a whole construct
    SKIPPED,    // a statement that nothing helps
  } kind;
  size_t back;    // tokens in front of the error that it begins at
  size_t remove;  // tokens from there on
  std::vector<int> put;
  int cost;
  bool only = false;  // SPELL: no other keyword is as near
  std::string text;   // in the place of what is removed, if not `put`
  size_t progress = 0;
};

class CheckRepairer : private CheckParser {
 public:
  CheckRepairer(CheckFiles* files, CheckFile* main, CheckKind kind, size_t most,
                CheckNames* dropped)
      : CheckParser(files, main, kind), left_(most), dropped_(dropped) {}

  bool run();

 private:
  static constexpr size_t LOOK_LONG =
      1000;  // tokens that the best are tried on

  bool repair(const CheckToken& error);
  void begin_file();
  bool too_deep(const CheckToken& token);

  // Candidates.
  void collect(const CheckToken& error);
  void collect_missing(const CheckToken& error);
  void collect_superfluous(const CheckToken& error);
  void collect_spellings();
  void collect_ends();
  void collect_words();
  void collect_constructs();
  void collect_skips();
  void collect_foreign(const CheckToken& error);
  void consider(CheckChange change) {
    if (change.back <= static_cast<size_t>(-back_limit()))
      changes_.push_back(std::move(change));
  }
  bool is_sub(std::string_view name);

  // Choice.
  size_t progress(const CheckChange& change, size_t limit);
  size_t advance(const CheckChange& change, size_t limit);
  bool goes_on(const CheckPart& part, size_t sync, size_t progress) const;
  size_t end_of_routine(const CheckChange& change);
  size_t end_of_body(const CheckChange& change);
  void leave(const CheckPart& part, size_t sync);
  void mute(const CheckChange& change);
  void make(const CheckChange& change, const CheckToken& error);

  // Findings.
  void report(const CheckChange& change, const CheckToken& error);
  void report_missing(const CheckChange& change);
  void report_missing_end(const CheckChange& change);
  void report_wrong_end(const CheckChange& change);
  void report_unexpected(const CheckToken& error);
  CheckFault* fault(const char* rule, const CheckToken& first,
                    const CheckToken& last, std::string message,
                    std::string hint = "");
  CheckFault* fault_behind(const char* rule, ptrdiff_t at, std::string message,
                           std::string hint = "");

  size_t left_;
  CheckNames* dropped_;
  size_t little_ = 0;  // repairs in a row that mended little

  // While a repair is looked for.
  std::vector<CheckChange> changes_;
  std::vector<std::vector<int>> next_words_;  // that the error may stand for
  CheckFault* fault_ = nullptr;

  std::set<std::string, std::less<>> names_of_keywords_;
  std::map<std::string, CheckFault*, std::less<>> keyword_faults_;
  std::set<std::string, std::less<>> subs_;
  bool has_subs_ = false;
};
