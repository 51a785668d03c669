// The lists of words, operators and kinds, held against each other and against
// the grammar.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "compile.h"
#include "elut/compile/builtins.h"
#include "elut/grammar.h"
#include "elut/model/mask_events.h"

namespace {

using Names = std::set<std::string>;

const std::vector<std::string> KEYWORDS = {
#define MC_KEYWORD(name) #name,
#include "elut/syntax/tokens.def"
#undef MC_KEYWORD
};

const std::map<int, std::string> OPERATORS = {
#define MC_OPERATOR(number, name, token, text) {number, text},
#include "elut/syntax/operators.def"
#undef MC_OPERATOR
};

// The tokens that the grammar writes in quotes.
Names QuotedTokens() {
  Names tokens;
  for (int i = 0; i < MC_GRAMMAR.tokens; i++) {
    const std::string name = MC_GRAMMAR.names[i];
    if (name[0] == '"') tokens.insert(name.substr(1, name.size() - 2));
  }
  return tokens;
}

bool IsWord(const std::string& token) {
  return isupper(static_cast<uint8_t>(token[0])) != 0;
}

TEST(Words, KeywordsAreThoseOfTheGrammar) {
  Names words = QuotedTokens();
  std::erase_if(words, [](const auto& token) { return !IsWord(token); });
  EXPECT_EQ(words, Names(KEYWORDS.begin(), KEYWORDS.end()));
  EXPECT_TRUE(std::ranges::is_sorted(KEYWORDS));
}

TEST(Words, OperatorsAreTokens) {
  const Names tokens = QuotedTokens();
  for (const auto& [number, text] : OPERATORS)
    EXPECT_TRUE(tokens.contains(text)) << text;
  // Whatever else stands in quotes is punctuation, or a name for reports.
  Names rest = tokens;
  for (const auto& [number, text] : OPERATORS) rest.erase(text);
  std::erase_if(rest, [](const auto& token) { return token.size() > 1; });
  EXPECT_EQ((Names{";", ",", ")", ".", "(", ":", "]", "[", "{", "}"}), rest);
}

TEST(Words, BuiltinsAreNoKeywords) {
  Names names(KEYWORDS.begin(), KEYWORDS.end());
  for (const char* name : MC_BUILTIN_NAMES)
    EXPECT_TRUE(names.insert(name).second) << name;
}

// What masks print can be read back as the words they are.
TEST(Words, PrintedTypesAndEventsAreKeywords) {
  Names words(KEYWORDS.begin(), KEYWORDS.end());
  // The exceptions: MODIFY is printed otherwise, and two are never written.
  for (const char* word : {"MODIFIED", "EXPOSE", "RESIZE"}) words.insert(word);
  for (const char* name : MASK_TYPE_NAMES)
    EXPECT_TRUE(*name == '\0' || words.contains(name)) << name;
  for (const EventWord& event : EVENT_WORDS)
    EXPECT_TRUE(words.contains(event.word)) << event.word;
}

TEST(Words, SignaturesAreKnown) {
  constexpr const char* SIGNATURES[] = {
#define MC_BUILTIN(name, signature, function) signature,
#include "elut/syntax/builtins.def"
#undef MC_BUILTIN
  };
  for (const std::string signature : SIGNATURES)
    EXPECT_EQ(std::string::npos, signature.find_first_not_of("AINMRSsir."))
        << signature;
}

}  // namespace
