// Two outlines are gone through side by side. Parts belong together when they
// have the same name, the first of a name to the first and so on; the lines of
// a body are compared as a text, everything else as a set of named things.
#include "tools/compare/difference.h"

#include <algorithm>
#include <map>

#include "tools/compare/line_diff.h"
#include "tools/compare/outline.h"

struct ComparedOutlines {
  LineTable table;
  Outline a, b;
};

namespace {

using Lines = std::vector<std::string_view>;

// The word of a line that says what it is about: of "INTEGER n[1:2];" the n, of
// "title = 1;" the title.
std::string_view NameIn(std::string_view line, bool is_declaration) {
  if (is_declaration)
    line.remove_prefix(std::min(line.find(' ') + 1, line.size()));
  if (!line.empty() && line[0] == '"') return line.substr(0, line.find(" = "));
  return line.substr(0, line.find_first_of(" [(;,"));
}

constexpr std::string_view IMPORT = "IMPORT ", COMMON = "COMMON ";

bool IsMainBody(const OutlinePart& routine) {
  return routine.name == "main program" || routine.name == "EXECUTE block";
}

class Comparison {
 public:
  Comparison(const ComparedOutlines& outlines,
             const std::function<void(const Change&)>& use)
      : table_(outlines.table), a_(outlines.a), b_(outlines.b), use_(use) {}

  void run() {
    headers();
    parts(a_.root, b_.root, "");
    constants();
    if (found_ == 0) recorded_lines();
    if (found_ == 0)
      use_({"", "tables", ChangeHow::CHANGED, "",
            "other unused entries, or another order of entries", false});
  }

 private:
  void add(std::string_view where, std::string_view what,
           std::string_view before, std::string_view after,
           bool affects_users = false) {
    const ChangeHow how = before.empty()  ? ChangeHow::ADDED
                          : after.empty() ? ChangeHow::REMOVED
                                          : ChangeHow::CHANGED;
    use_({where, what, how, before, after, affects_users});
    found_++;
  }

  // The same names in two orders.
  void order(const std::string& where, const std::string& what, const Lines& a,
             const Lines& b, bool affects_users = false) {
    const auto first = std::mismatch(a.begin(), a.end(), b.begin()).first;
    if (first == a.end()) return;
    const auto last = std::mismatch(a.rbegin(), a.rend(), b.rbegin()).first;
    const auto begin = static_cast<size_t>(first - a.begin());
    const auto end = static_cast<size_t>(last.base() - a.begin());
    const auto text = [&](const Lines& names) {
      constexpr size_t MOST_NAMES = 5;
      std::string shown;
      for (size_t i = begin; i < end; i++) {
        if (i > begin) shown += ", ";
        if (i == begin + MOST_NAMES) return shown + "...";
        shown += names[i];
      }
      return shown;
    };
    add(where, what, text(a), text(b), affects_users);
  }

  void headers() {
    const auto version = [](const XdHeader& header) {
      return std::to_string(header.maVers) + '.' +
             std::to_string(header.miVers) + '.' +
             std::to_string(header.Sub_vers);
    };
    if (version(a_.header) != version(b_.header))
      add("", "format version", version(a_.header), version(b_.header));
    // PROGRAM a;  or  MODULE a;
    const std::string_view a = first_line(a_.root), b = first_line(b_.root);
    if (!a_.is_mask && a != b) add("", "name", a, b, true);
  }

  std::string_view first_line(const OutlinePart& part) const {
    return part.lines.empty() ? std::string_view() : table_[part.lines[0]];
  }

  Lines lines_of(const OutlinePart& part) const {
    Lines lines;
    for (const uint32_t line : part.lines) lines.push_back(table_[line]);
    return lines;
  }

  void parts(const OutlinePart& a, const OutlinePart& b,
             const std::string& where) {
    std::map<std::string_view, std::vector<const OutlinePart*>> others;
    for (const OutlinePart& part : b.parts) others[key(part)].push_back(&part);
    std::map<std::string_view, size_t> taken;
    std::vector<const OutlinePart*> in_both;  // as the other file has them
    for (const OutlinePart& part : a.parts) {
      const std::string_view name = key(part);
      const size_t number = taken[name]++;
      const auto found = others.find(name);
      if (found == others.end() || number >= found->second.size()) {
        one_sided(part, where, true);
        continue;
      }
      const OutlinePart* other = found->second[number];
      in_both.push_back(other);
      both(part, *other, where);
    }
    std::map<std::string_view, size_t> seen;
    for (const OutlinePart& part : b.parts) {
      const std::string_view name = key(part);
      if (seen[name]++ >= taken[name]) one_sided(part, where, false);
    }
    if (std::is_sorted(in_both.begin(), in_both.end())) return;
    const Lines before = names(in_both);
    std::sort(in_both.begin(), in_both.end());
    order(where, "order", before, names(in_both));
  }

  Lines names(const std::vector<const OutlinePart*>& parts) const {
    Lines result;
    for (const OutlinePart* part : parts)
      result.push_back(part->part == TextPart::HANDLER ? events(*part)
                                                       : part->name);
    return result;
  }

  // Parts without a name are one of a kind.
  std::string_view key(const OutlinePart& part) const {
    static constexpr const char* KEYS[] = {"\1", "",   "\2", "\3", "\4",
                                           "",   "\5", "",   "\6"};
    if (part.part == TextPart::HANDLER) return events(part);
    return part.name.empty() ? KEYS[static_cast<unsigned>(part.part)]
                             : std::string_view(part.name);
  }

  // ON KEY PF1 OR ENTER
  std::string_view events(const OutlinePart& handler) const {
    if (handler.lines.empty()) return "ON";
    const std::string_view line = first_line(handler);
    return line.substr(0, std::min({line.find(" DO "), line.find(" EXECUTE "),
                                    line.find(" {")}));
  }

  static std::string inside(const std::string& where, std::string_view part) {
    if (part.empty() || part[0] < ' ') return where;
    return where.empty() ? std::string(part)
                         : where + " / " + std::string(part);
  }

  static const char* word(TextPart part) {
    switch (part) {
      case TextPart::IMPORTS: return "import";
      case TextPart::ROUTINE: return "SUB";
      case TextPart::SIGNATURE: return "parameters";
      case TextPart::VARIABLES: return "variable";
      case TextPart::BODY: return "statement";
      case TextPart::OBJECT: return "object";
      case TextPart::ATTRIBUTES: return "attribute";
      case TextPart::HANDLER: return "handler";
      case TextPart::MODULE: return "MODULE block";
    }
    return "";
  }

  // A part that only one of the files has.
  void one_sided(const OutlinePart& part, const std::string& where,
                 bool removed) {
    switch (part.part) {
      case TextPart::ROUTINE:
      case TextPart::OBJECT:
      case TextPart::HANDLER:
      case TextPart::MODULE: {
        const bool by_name =
            part.part == TextPart::ROUTINE || part.part == TextPart::OBJECT;
        const std::string text(part.part == TextPart::HANDLER ? events(part)
                                                              : part.name);
        // The code of a handler is nobody else's affair.
        add(where, IsMainBody(part) ? part.name : word(part.part),
            removed ? text : "", removed ? "" : text,
            by_name && removed && part.name != "EXECUTE block");
        return;
      }
      case TextPart::IMPORTS:
      case TextPart::SIGNATURE:
      case TextPart::VARIABLES:
      case TextPart::BODY:
      case TextPart::ATTRIBUTES: break;
    }
    const OutlinePart none = {part.part, {}, {}, {}};
    both(removed ? part : none, removed ? none : part, where);
  }

  void both(const OutlinePart& a, const OutlinePart& b,
            const std::string& where) {
    if (a.lines == b.lines && a.parts.empty() && b.parts.empty()) return;
    switch (a.part) {
      case TextPart::ROUTINE:
      case TextPart::OBJECT:
      case TextPart::MODULE: return parts(a, b, inside(where, a.name));
      case TextPart::HANDLER: {
        const std::string in = inside(where, events(a));
        texts(handler_lines(a), handler_lines(b), in, "action",
              [](std::string_view line) { return line; });
        return parts(a, b, in);
      }
      case TextPart::SIGNATURE:
        return add(where, "parameters", first_line(a), first_line(b), true);
      case TextPart::VARIABLES:
        return variables(lines_of(a), lines_of(b), where);
      case TextPart::IMPORTS:
        return named(lines_of(a), lines_of(b), where, "import", false, false);
      case TextPart::ATTRIBUTES:
        return named(lines_of(a), lines_of(b), where, "attribute", false,
                     false);
      case TextPart::BODY:
        return texts(a.lines, b.lines, where, "statement",
                     [this](uint32_t line) { return table_[line]; });
    }
  }

  // What a handler does when that is no program.
  Lines handler_lines(const OutlinePart& handler) const {
    Lines lines = lines_of(handler);
    if (!lines.empty())
      lines[0].remove_prefix(
          std::min(events(handler).size() + 1, lines[0].size()));
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [](std::string_view line) {
                                 return line == "{" || line == "}" ||
                                        line == ";" || line == "EXECUTE {";
                               }),
                lines.end());
    return lines;
  }

  template <class Line, class Shown>
  void texts(const std::vector<Line>& a, const std::vector<Line>& b,
             const std::string& where, const char* what, Shown shown) {
    if (a == b) return;
    for (const LineHunk& hunk : DiffLines(a, b)) {
      size_t i = hunk.a_first, j = hunk.b_first;
      // Lines that face each other are taken for the same one, changed.
      for (; i < hunk.a_end && j < hunk.b_end; i++, j++)
        if (a[i] != b[j]) add(where, what, shown(a[i]), shown(b[j]));
      for (; i < hunk.a_end; i++) add(where, what, shown(a[i]), "");
      for (; j < hunk.b_end; j++) add(where, what, "", shown(b[j]));
    }
  }

  // Things that have a name: what is new, what is gone, what is another one.
  void named(const Lines& a, const Lines& b, const std::string& where,
             const char* what, bool is_declaration, bool affects_users) {
    if (a == b) return;
    std::multimap<std::string_view, std::string_view> others;
    const auto name = [&](std::string_view line) {
      return line.starts_with(IMPORT)
                 ? line.substr(0, std::min(line.find(" FROM"), line.find(';')))
                 : NameIn(line, is_declaration);
    };
    for (const std::string_view line : b) others.emplace(name(line), line);
    const uint64_t before = found_;
    for (const std::string_view line : a) {
      const auto found = others.find(name(line));
      if (found == others.end()) {
        add(where, what, line, "", affects_users);
      } else {
        if (found->second != line)
          add(where, what, line, found->second, affects_users);
        others.erase(found);
      }
    }
    for (const std::string_view line : b) {
      const auto found = others.find(name(line));
      if (found == others.end() || found->second.data() != line.data())
        continue;
      add(where, what, "", line, affects_users);
      others.erase(found);
    }
    if (found_ != before) return;
    Lines a_names, b_names;
    const auto bare = [&](std::string_view line) {
      const std::string_view all = name(line);
      return line.starts_with(IMPORT) ? all.substr(IMPORT.size()) : all;
    };
    std::transform(a.begin(), a.end(), std::back_inserter(a_names), bare);
    std::transform(b.begin(), b.end(), std::back_inserter(b_names), bare);
    order(where, std::string("order of ") + what + "s", a_names, b_names,
          affects_users);
  }

  // COMMON blocks are shared with others, so all of a block counts.
  void variables(const Lines& a, const Lines& b, const std::string& where) {
    if (a == b) return;
    Blocks a_blocks, b_blocks;
    named(outside_blocks(a, &a_blocks), outside_blocks(b, &b_blocks), where,
          "variable", true, false);
    for (const auto& [name, lines] : a_blocks.lines) {
      const auto found = b_blocks.lines.find(name);
      if (found == b_blocks.lines.end())
        add(where, "COMMON block", name, "", true);
      else
        named(lines, found->second, inside(where, name), "COMMON variable",
              true, true);
    }
    for (const auto& [name, lines] : b_blocks.lines)
      if (a_blocks.lines.count(name) == 0)
        add(where, "COMMON block", "", name, true);
    order(where, "order of COMMON blocks", a_blocks.in_both(b_blocks),
          b_blocks.in_both(a_blocks));
  }

  struct Blocks {
    std::map<std::string_view, Lines> lines;
    Lines names;  // in their order

    // Without COMMON.
    Lines in_both(const Blocks& others) const {
      Lines result;
      for (const std::string_view name : names)
        if (others.lines.count(name) > 0)
          result.push_back(name.substr(COMMON.size()));
      return result;
    }
  };

  static Lines outside_blocks(const Lines& lines, Blocks* blocks) {
    Lines outside;
    Lines* block = nullptr;
    for (const std::string_view line : lines) {
      if (line.starts_with(COMMON)) {
        const auto [place, is_new] = blocks->lines.try_emplace(line);
        if (is_new) blocks->names.push_back(line);
        block = &place->second;
      } else if (line == "END COMMON") {
        block = nullptr;
      } else {
        (block != nullptr ? *block : outside).push_back(line);
      }
    }
    return outside;
  }

  void constants() {
    const auto missing = [](const std::vector<std::string>& from,
                            const std::vector<std::string>& in) {
      std::vector<std::string> result;
      std::set_difference(from.begin(), from.end(), in.begin(), in.end(),
                          std::back_inserter(result));
      return result;
    };
    for (const std::string& text : missing(a_.constants, b_.constants))
      add("", "constant in use", text, "");
    for (const std::string& text : missing(b_.constants, a_.constants))
      add("", "constant in use", "", text);
  }

  void recorded_lines() {
    if (a_.lines == b_.lines) return;
    const auto text = [](const Outline& outline) {
      return outline.lines.empty() ? "none" : "there";
    };
    size_t first = 0;
    while (first < std::min(a_.lines.size(), b_.lines.size()) &&
           a_.lines[first] == b_.lines[first])
      first++;
    if (a_.lines.size() != b_.lines.size())
      return add("", "recorded lines", text(a_), text(b_));
    add("", "recorded lines",
        "statement " + std::to_string(first + 1) + " on line " +
            std::to_string(a_.lines[first]),
        "on line " + std::to_string(b_.lines[first]));
  }

  const LineTable& table_;
  const Outline& a_;
  const Outline& b_;
  const std::function<void(const Change&)>& use_;
  uint64_t found_ = 0;
};

const char* How(const Change& change) {
  switch (change.how) {
    case ChangeHow::ADDED: return "added";
    case ChangeHow::REMOVED: return "removed";
    case ChangeHow::CHANGED: return "changed";
  }
  return "";
}

}  // namespace

void Difference::each_change(
    const std::function<void(const Change&)>& use) const {
  if (outlines != nullptr) Comparison(*outlines, use).run();
}

bool Difference::affects_users() const {
  bool affected = false;
  each_change([&](const Change& change) { affected |= change.affects_users; });
  return affected;
}

Difference FindDifference(std::string_view a, const std::string& a_name,
                          std::string_view b, const std::string& b_name) {
  Difference difference;
  const auto outlines = std::make_shared<ComparedOutlines>();
  std::string wrong = MakeOutline(a, &outlines->table, &outlines->a);
  if (!wrong.empty()) wrong = a_name + ": " + wrong;
  if (wrong.empty() && a == b) {
    difference.same_bytes = true;
    return difference;
  }
  if (wrong.empty()) {
    wrong = MakeOutline(b, &outlines->table, &outlines->b);
    if (!wrong.empty()) wrong = b_name + ": " + wrong;
  }
  if (wrong.empty() && outlines->a.is_mask != outlines->b.is_mask)
    wrong = NothingInCommon(a_name, outlines->a.is_mask, b_name);
  difference.trouble = wrong;
  if (!wrong.empty()) return difference;
  if (outlines->a.header.transport != outlines->b.header.transport)
    difference.other_encoding = SameInOtherTransport(a, b);
  if (!difference.other_encoding) difference.outlines = outlines;
  return difference;
}

std::string NothingInCommon(const std::string& a, bool a_is_mask,
                            const std::string& b) {
  return "masks and programs have nothing in common to compare: " +
         (a_is_mask ? a : b) + " holds masks, " + (a_is_mask ? b : a) +
         " a program or module";
}

//   SUB area: statement changed
//     - x = 1;
//     + x = 2;
void PrintChange(ToolOutput* out, const Change& change) {
  if (!change.where.empty()) {
    out->put(change.where);
    out->put(": ");
  }
  out->put(change.what);
  out->put(' ');
  out->put(How(change));
  if (change.affects_users) out->put("  (affects callers or users)");
  out->put('\n');
  const auto line = [&](std::string_view sign, std::string_view text) {
    if (text.empty()) return;
    out->put(sign);
    out->put(text);
    out->put('\n');
  };
  line("  - ", change.before);
  line("  + ", change.after);
}

void PrintDifference(ToolOutput* out, const Difference& difference) {
  if (difference.same_bytes) return out->put("same file content\n");
  if (difference.other_encoding)
    return out->put("same program, other encoding\n");
  bool affected = false;
  difference.each_change([&](const Change& change) {
    PrintChange(out, change);
    affected |= change.affects_users;
  });
  out->put(affected
               ? "callers or users are affected\n"
               : "the change is internal: no caller or user is affected\n");
}

void PrintDifferenceJson(ToolOutput* out, const Difference& difference) {
  ToolJson json(out);
  json.begin_object();
  json.key("version").number(1);
  json.key("same").boolean(difference.same());
  json.key("other_encoding").boolean(difference.other_encoding);
  json.key("affects_users").boolean(difference.affects_users());
  json.key("changes").begin_array();
  difference.each_change([&](const Change& change) {
    json.begin_object();
    json.key("where").text(change.where);
    json.key("what").text(change.what);
    json.key("how").text(How(change));
    json.key("before").text(change.before);
    json.key("after").text(change.after);
    json.key("affects_users").boolean(change.affects_users);
    json.end_object();
  });
  json.end_array();
  json.end_object();
}
