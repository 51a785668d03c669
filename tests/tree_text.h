// Tokens and trees as text, so that tests compare lines:
//
//   x += 1 ;            IDENT x, ASSIGNOP 1, 1, ;
//   ASSIGN+(VAR x, INT 1)
#pragma once

#include <string>

#include "elut/grammar.h"
#include "elut/program.h"
#include "elut/tree_walk.h"
#include "value_text.h"

// Control bytes as "^A", so that they can be read.
inline std::string Readable(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c >= ' ' || c < 0)
      result += c;
    else
      result += {'^', static_cast<char>(c + '@')};
  }
  return result;
}

inline std::string RealText(double real) {
  return ValueText(McValueReal(real));
}

// The token in words; releases what it holds.
inline std::string TokenText(int token, const TokenValue& value) {
  // In the order of the grammar's token numbers.
  static constexpr const char* KEYWORDS[] = {
#define MC_KEYWORD(name) #name,
#include "elut/tokens.def"
#undef MC_KEYWORD
  };
  static constexpr const char* SIGNS[] = {
      ":", ";", ",", ".",  "[",  "]",  "(", ")",  "{", "}", "+",
      "-", "*", "/", "**", "==", "<>", ">", ">=", "<", "<="};
  switch (token) {
    case TOKEN_IDENT: return std::string("IDENT ") + value.name->text();
    case TOKEN_FNNAME: return std::string("FNNAME ") + value.name->text();
    case TOKEN_CFNNAME: return std::string("CFNNAME ") + value.name->text();
    case TOKEN_SIGILNAME: return std::string("SIGILNAME ") + value.name->text();
    case TOKEN_SIGIL: return std::string("SIGIL ") + char(value.code);
    case TOKEN_ASSIGNOP: return "ASSIGNOP " + std::to_string(value.code);
    case TOKEN_BUILTIN: return "BUILTIN " + std::to_string(value.integer);
    case TOKEN_ICONST: return std::to_string(value.integer);
    case TOKEN_RCONST: return RealText(value.real);
    case TOKEN_SCONST: {
      const std::string text(value.text->text(), value.text->length);
      McTokenTextRelease(value.text);
      return "'" + Readable(text) + "'";
    }
    default: break;
  }
  if (token >= TOKEN_COLON && token <= TOKEN_LESS_EQUAL)
    return SIGNS[token - TOKEN_COLON];
  if (token >= TOKEN_ABORT && token <= TOKEN_WITH)
    return KEYWORDS[token - TOKEN_ABORT];
  return "token " + std::to_string(token);
}

inline std::string OperatorText(uint8_t op) {
  static constexpr const char* TEXTS[] = {
      "",  "+", "-", "/", "*",  "**", " MOD", " DIV", "?", "?",  "?",    "?",
      "?", "?", "?", "?", "==", "<>", ">",    ">=",   "<", "<=", " AND", " OR"};
  return op == 32 ? " TO" : op < 24 ? TEXTS[op] : "?";
}

// Variables by their names, behind them "@" and the scope if that is not the
// local one; calls by kind and name, or "#" and the number of the SUB.
class TreeText {
 public:
  TreeText(const McProgram& program, const McSub* sub)
      : program_(program), sub_(sub) {}

  std::string operator()(McNodeRef root) const {
    std::string text;
    bool first = true;
    unsigned depth = 0;
    if (root == 0) return "none";
    McTreeWalker().walk(
        program_.nodes, root,
        [&](const McNode& node) {
          text += depth == 0 ? "" : first ? "(" : ", ";
          text += MC_KIND_NAMES[static_cast<int>(node.kind)] + payload(node);
          first = true;
          depth++;
          return true;
        },
        [&](const McNode& node) {
          if (node.child != 0) text += ")";
          first = false;
          depth--;
          return true;
        });
    return text;
  }

 private:
  std::string payload(const McNode& node) const {
    switch (MC_KIND_PAYLOADS[static_cast<int>(node.kind)]) {
      case McPayload::NONE: return "";
      case McPayload::VARIABLE: return " " + variable(node);
      case McPayload::INTEGER: return " " + std::to_string(node.integer);
      case McPayload::NUMBER: return " " + number(node);
      case McPayload::FUNCTION: return " " + std::to_string(node.index);
      case McPayload::OPERATOR:
        return node.kind == McNodeKind::UNARY ? " " + std::to_string(node.op)
                                              : OperatorText(node.op);
      case McPayload::INDEX:
        return " " + (node.kind == McNodeKind::CALL
                          ? call(program_.calls[node.index])
                          : std::string(1, char('X' + node.index)));
      case McPayload::SIGIL: return std::string(" ") + char(node.sigil);
    }
    return "?";
  }
  std::string number(const McNode& node) const {
    if (node.kind == McNodeKind::TRACE) return std::to_string(node.number);
    if (node.kind == McNodeKind::EXTERN)
      return StringPoolText(&program_.strings, node.number);
    const McConstant& constant = program_.constants[node.number];
    if (constant.type == McValueType::REAL) return RealText(constant.real);
    return "'" + Readable({constant.text, constant.length}) + "'";
  }
  std::string variable(const McNode& node) const {
    const auto [scope, index] = node.variable;
    const auto& commons = sub_ != nullptr ? sub_->commons : program_.commons;
    const McVarTable& table = scope >= MC_SCOPE_COMMON
                                  ? commons[scope - 16u].variables
                              : scope == MC_SCOPE_PARAMETER ? sub_->parameters
                              : sub_ != nullptr             ? sub_->locals
                                                : program_.variables;
    const std::string name = table.entries[index].name;
    return scope == MC_SCOPE_LOCAL ? name : name + "@" + std::to_string(scope);
  }
  static std::string call(const McCallRef& call) {
    static constexpr const char* KINDS[] = {"?", "SUB ", "FN ", "CFN "};
    return call.name == nullptr
               ? "#" + std::to_string(call.sub_index)
               : std::string(KINDS[static_cast<int>(call.kind)]) + call.name;
  }

  const McProgram& program_;
  const McSub* sub_;
};
