// Tokens as text: "IDENT.x ASSIGNOP.1 25.0".
#pragma once

#include "compile.h"
#include "elut/grammar.h"
#include "elut/syntax/lexer.h"
#include "rows.h"
#include "value_text.h"

inline std::string TokenText(int64_t token, const TokenValue& value) {
  switch (token) {
    case TOKEN_IDENT: return std::string("IDENT.") + value.name->text();
    case TOKEN_FNNAME: return std::string("FNNAME.") + value.name->text();
    case TOKEN_CFNNAME: return std::string("CFNNAME.") + value.name->text();
    case TOKEN_SIGILNAME: return std::string("SIGILNAME.") + value.name->text();
    case TOKEN_SIGIL: return std::string("SIGIL.") + char(value.code);
    case TOKEN_ASSIGNOP: return "ASSIGNOP." + std::to_string(value.code);
    case TOKEN_BUILTIN: return "BUILTIN." + std::to_string(value.integer);
    case TOKEN_ICONST: return std::to_string(value.integer);
    case TOKEN_RCONST: return ValueText(McValueReal(value.real));
    case TOKEN_SCONST:
      return "'" + std::string(value.text->text(), value.text->length) + "'";
  }
  const std::string name = MC_GRAMMAR.names[token];
  return name.starts_with('"') ? name.substr(1, name.size() - 2) : name;
}

// Takes texts, or files in memory, apart.
struct Lexer {
  std::string tokens_of_text(std::string_view text) {
    McSrcSetText(&scanner.source, text);
    return tokens();
  }
  std::string tokens_of_file(const std::string& text) {
    files.texts["a"] = text;
    return McSrcOpen(&scanner.source, "a") == RC_OK ? tokens() : "not open";
  }

  TextFiles files;
  ReportText reports;
  McScanner scanner{&files, &reports};
  size_t count = 0;  // of the tokens so far

 private:
  std::string tokens() {
    std::string all;
    for (McToken token; (token = McLex(&scanner)).token != 0; count++) {
      all += (all.empty() ? "" : " ") + TokenText(token.token, token.value);
      if (token.token == TOKEN_SCONST)
        McTokenTextRelease(&scanner.strings, token.value.text);
    }
    return all;
  }
};
