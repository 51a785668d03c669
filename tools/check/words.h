// The symbols of the grammar in words of the language.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// "';'", "IF", "a name", "the end of the file".
std::string CheckWordOf(int token);

// How a token is written; "name" and "0" for names and values.
std::string CheckSpelling(int token);

// Tokens that could stand at a place, summed up: "an expression", "a statement
// or END". Empty for none.
std::string CheckWordsOf(const std::vector<int>& tokens);

bool CheckIsKeyword(int token);
int CheckKeyword(std::string_view word);  // 0: none

// A word that is no keyword, and what was probably meant: one or two keywords.
struct CheckMeant {
  std::vector<int> tokens;  // empty: nothing
  int distance = 0;         // 0: the case alone is wrong, or a blank missing
  bool only = false;        // no other keyword is as near
};
CheckMeant CheckMeantBy(std::string_view word);

// The built-in function that a name was probably meant for: SIN for sin, LEN
// for LENG. Empty for none.
std::string CheckBuiltinMeantBy(std::string_view word);
