// What is different between two compiled files, in the words of the language.
#ifndef TOOLS_COMPARE_DIFFERENCE_H
#define TOOLS_COMPARE_DIFFERENCE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "tools/output.h"

enum class ChangeHow : uint8_t { ADDED, REMOVED, CHANGED };

struct Change {
  std::string_view where;  // "SUB area", "WINDOW w / ON ENTER"; empty: the file
  std::string_view what;   // "statement", "variable", "import" ...
  ChangeHow how;
  std::string_view before;  // empty where there is nothing to show
  std::string_view after;
  bool affects_users;  // those who call or use it from elsewhere
};

struct ComparedOutlines;

// There may be as many changes as the files have lines, and more, so they are
// not kept but found again when they are asked for.
struct Difference {
  std::string trouble;  // why the files cannot be compared; empty: they were
  bool same_bytes = false;
  bool other_encoding = false;  // the same content in another transport
  std::shared_ptr<const ComparedOutlines> outlines;

  // Hands over the changes, one after the other, in the order of the files. The
  // texts of a change live no longer than its call.
  void each_change(const std::function<void(const Change&)>& use) const;

  bool same() const { return same_bytes || other_encoding; }
  bool affects_users() const;
};

// Compares two files by their bytes. `a_name` and `b_name` stand in messages.
Difference FindDifference(std::string_view a, const std::string& a_name,
                          std::string_view b, const std::string& b_name);

// Why a file of masks and one of a program or module are not compared; `a` is
// the one or the other.
std::string NothingInCommon(const std::string& a, bool a_is_mask,
                            const std::string& b);

// One change as lines of text.
void PrintChange(ToolOutput* out, const Change& change);

// All of it.
void PrintDifference(ToolOutput* out, const Difference& difference);

// {"version": 1, "same": false, "other_encoding": false,
//  "affects_users": true, "changes": [
//   {"where": "SUB area", "what": "statement", "how": "changed",
//    "before": "x = 1;", "after": "x = 2;", "affects_users": false}]}
void PrintDifferenceJson(ToolOutput* out, const Difference& difference);

#endif
