// Tokens as text: "IDENT.x ASSIGNOP.1 25.0".
#pragma once

#include "compile.h"
#include "elut/grammar.h"
#include "elut/syntax/lexer.h"
#include "rows.h"
#include "value_text.h"

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
  if (token >= TOKEN_ABORT && token <= TOKEN_WITH)
    return KEYWORDS[token - TOKEN_ABORT];
  return SIGNS[token - TOKEN_COLON];
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
    TokenValue value;
    for (; const int token = McLex(&scanner, &value); count++) {
      all += (all.empty() ? "" : " ") + TokenText(token, value);
      if (token == TOKEN_SCONST)
        McTokenTextRelease(&scanner.strings, value.text);
    }
    return all;
  }
};
