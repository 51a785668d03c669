// Tokens and trees as text: "IDENT x" and "ASSIGN+(VAR x, INT 1)".
#pragma once

#include "elut/grammar.h"
#include "elut/model/program.h"
#include "elut/model/tree_walk.h"
#include "value_text.h"

inline std::string Readable(const std::string& text) {  // ^A: byte 1
  std::string result;
  for (const char c : text)
    result +=
        c >= 0 && c < ' ' ? std::string{'^', char(c + '@')} : std::string(1, c);
  return result;
}

// Releases what the token holds.
inline std::string TokenText(int token, const TokenValue& value) {
  static constexpr const char* KEYWORDS[] = {
#define MC_KEYWORD(name) #name,
#include "elut/syntax/tokens.def"
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
    case TOKEN_RCONST: return ValueText(McValueReal(value.real));
    case TOKEN_SCONST: {
      const std::string text(value.text->text(), value.text->length);
      McTokenTextRelease(value.text);
      return "'" + Readable(text) + "'";
    }
  }
  if (token >= TOKEN_ABORT && token <= TOKEN_WITH)
    return KEYWORDS[token - TOKEN_ABORT];
  return SIGNS[token - TOKEN_COLON];
}

// Variables by their names and, if not local, scopes; calls by names or "#".
struct TreeText {
  const McProgram& program;
  const McSub* sub;

  std::string operator()(McNodeRef root) const {
    std::string text;
    McTreeWalker().walk(
        program.nodes, root,
        [&](const McNode& node) {
          if (!text.empty() && text.back() != '(') text += ", ";
          text += MC_KIND_NAMES[static_cast<int>(node.kind)] + payload(node);
          if (node.child != 0) text += "(";
          return true;
        },
        [&](const McNode& node) {
          if (node.child != 0) text += ")";
          return true;
        });
    return text;
  }

  std::string payload(const McNode& node) const {
    static constexpr const char* OPERATORS[] = {
        "",   "+",  "-", "/",  "*", "**", " MOD", " DIV",
        "?",  "?",  "?", "?",  "?", "?",  "?",    "?",
        "==", "<>", ">", ">=", "<", "<=", " AND", " OR"};
    switch (MC_KIND_PAYLOADS[static_cast<int>(node.kind)]) {
      case McPayload::NONE: return "";
      case McPayload::VARIABLE: return " " + variable(node);
      case McPayload::INTEGER: return " " + std::to_string(node.integer);
      case McPayload::NUMBER: return " " + number(node);
      case McPayload::FUNCTION: return " " + std::to_string(node.index);
      case McPayload::OPERATOR:
        return node.op == MC_RANGE ? " TO" : OPERATORS[node.op];
      case McPayload::INDEX:
        return " " + (node.kind == McNodeKind::CALL
                          ? call(program.calls[node.index])
                          : std::string(1, char('X' + node.index)));
      case McPayload::SIGIL: return std::string(" ") + char(node.sigil);
    }
    return "?";
  }
  std::string number(const McNode& node) const {
    if (node.kind == McNodeKind::TRACE) return std::to_string(node.number);
    if (node.kind == McNodeKind::EXTERN)
      return StringPoolText(&program.strings, node.number);
    const McConstant& constant = program.constants[node.number];
    if (constant.type == McValueType::REAL)
      return ValueText(McValueReal(constant.real));
    return "'" + Readable({constant.text, constant.length}) + "'";
  }
  std::string variable(const McNode& node) const {
    const auto [scope, index] = node.variable;
    const auto& commons = sub != nullptr ? sub->commons : program.commons;
    const McVarTable& table = scope >= MC_SCOPE_COMMON
                                  ? commons[scope - 16u].variables
                              : scope == MC_SCOPE_PARAMETER ? sub->parameters
                              : sub != nullptr              ? sub->locals
                                                            : program.variables;
    const std::string name = table.entries[index].name;
    return scope == MC_SCOPE_LOCAL ? name : name + "@" + std::to_string(scope);
  }
  static std::string call(const McCallRef& call) {
    static const std::string KINDS[] = {"?", "SUB ", "FN ", "CFN "};
    return call.name == nullptr ? "#" + std::to_string(call.sub_index)
                                : KINDS[int(call.kind)] + call.name;
  }
};
