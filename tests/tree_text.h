// Trees as text: "ASSIGN+(VAR x, INT 1)". Nothing else in the tests knows how
// nodes hang together.
//
// Whatever a node refers to is looked up with a check: a number that no table
// has throws std::out_of_range.
#pragma once

#include <stdexcept>

#include "elut/model/program.h"
#include "value_text.h"

inline std::string Readable(const std::string& text) {  // ^A: byte 1
  std::string result;
  for (const char c : text)
    result +=
        c >= 0 && c < ' ' ? std::string{'^', char(c + '@')} : std::string(1, c);
  return result;
}

// Variables by their names and, if not local, scopes; calls by names or "#".
class TreeText {
 public:
  // The trees of a routine are read with its tables.
  explicit TreeText(const McProgram& program, const McSub* sub = nullptr)
      : program_(program), sub_(sub), nodes_(program.store->nodes) {}

  // One statement of a BLOCK to a line.
  std::string lines(const McTree& tree) const {
    if (tree.is_none()) return "";
    std::string text;
    int depth = 0;
    const bool block = nodes_[tree.root()].kind() == McNodeKind::BLOCK;
    McWalkTrees(
        nodes_, tree,
        [&](McNodeRef at) {
          const McNode& node = nodes_[at];
          if (depth++ == 0 && block) return true;
          const bool statement = depth == (block ? 2 : 1);
          if (!text.empty() && text.back() != '(')
            text += statement ? "\n" : ", ";
          text += MC_KIND_NAMES[static_cast<int>(node.kind())] + payload(node);
          if (!node.is_leaf()) text += "(";
          return true;
        },
        [&](McNodeRef at) {
          depth--;
          if (!nodes_[at].is_leaf() && (depth > 0 || !block)) text += ")";
          return true;
        });
    if (text.empty()) text = "BLOCK";
    return text + "\n";
  }

 private:
  std::string payload(const McNode& node) const {
    switch (MC_KIND_PAYLOADS[static_cast<int>(node.kind())]) {
      case McPayload::NONE: return "";
      case McPayload::VARIABLE: return " " + variable(node);
      case McPayload::INTEGER: return " " + std::to_string(node.integer());
      case McPayload::NUMBER: return " " + number(node);
      case McPayload::FUNCTION: return " " + std::to_string(node.scope());
      case McPayload::OPERATOR: return operator_text(node.op());
      case McPayload::INDEX:
        return " " + (node.kind() == McNodeKind::CALL
                          ? call(program_.calls.at(node.scope()))
                          : std::string(1, char('X' + node.scope())));
      case McPayload::SIGIL: return std::string(" ") + char(node.op());
    }
    return "?";
  }
  static std::string operator_text(uint8_t op) {
    static constexpr const char* TEXTS[] = {
        "",   "+",  "-", "/",  "*", "**", " MOD", " DIV",
        "?",  "?",  "?", "?",  "?", "?",  "?",    "?",
        "==", "<>", ">", ">=", "<", "<=", " AND", " OR"};
    if (op < std::size(TEXTS)) return TEXTS[op];
    return op == MC_RANGE ? " TO" : "?";
  }
  std::string number(const McNode& node) const {
    if (node.kind() == McNodeKind::TRACE) return std::to_string(node.number());
    if (node.kind() == McNodeKind::EXTERN) {
      const char* name = StringPoolText(&program_.strings, node.number());
      return name != nullptr ? name : throw std::out_of_range("string slot");
    }
    if (node.number() >= program_.constants.count())
      throw std::out_of_range("constant");
    const McConstant& constant = program_.constants[node.number()];
    if (constant.type == McValueType::REAL)
      return ValueText(McValueReal(constant.real));
    return "'" + Readable({constant.text, constant.length}) + "'";
  }
  std::string variable(const McNode& node) const {
    const uint16_t scope = node.scope(), index = node.index();
    const auto& commons = sub_ != nullptr ? sub_->commons : program_.commons;
    const McVarTable* table =
        sub_ != nullptr ? &sub_->locals : &program_.variables;
    if (scope >= MC_SCOPE_COMMON)
      table = &commons.at(scope - size_t{MC_SCOPE_COMMON}).variables;
    else if (scope == MC_SCOPE_PARAMETER && sub_ != nullptr)
      table = &sub_->parameters;
    else if (scope != MC_SCOPE_LOCAL)
      throw std::out_of_range("scope");
    const std::string name = or_dash(table->entries.at(index).name);
    return scope == MC_SCOPE_LOCAL ? name : name + "@" + std::to_string(scope);
  }
  std::string call(const McCallRef& call) const {
    static const std::string KINDS[] = {"?", "SUB ", "FN ", "CFN "};
    if (call.external || call.kind == McCallKind::CFN)
      return KINDS[static_cast<int>(call.kind)] + or_dash(call.name);
    (void)program_.subs.at(call.sub_index);
    return "#" + std::to_string(call.sub_index);
  }
  static std::string or_dash(const char* name) {
    return name == nullptr ? "-" : name;
  }

  const McProgram& program_;
  const McSub* sub_;
  const McNodes& nodes_;
};

// The bodies of all routines, those of SUBs behind their names.
inline std::string AllTrees(const McProgram& program) {
  std::string text;
  for (const McSub& sub : program.subs)
    text += std::string(sub.name == nullptr ? "" : sub.name) + ":\n" +
            TreeText(program, &sub).lines(sub.body);
  return text + TreeText(program).lines(program.body);
}

// The first item of a body that is one PRINT; none if it has none.
inline McTree PrintedItem(const McProgram& program) {
  const McNodes& nodes = program.store->nodes;
  const McTree& body = program.body;
  if (nodes[body.root()].is_leaf()) return {};
  const McNodeRef item = nodes.first_child(body.root());
  return {body.first, item + 1 - body.first};
}
