#include "tests/smith/words.h"

#include <algorithm>

const std::vector<std::string_view>& SmithKeywords() {
  static const std::vector<std::string_view> words = {
#define MC_KEYWORD(name) #name,
#include "elut/syntax/tokens.def"
#undef MC_KEYWORD
  };
  return words;
}

const std::vector<std::string_view>& SmithBuiltins() {
  static const std::vector<std::string_view> words = {
#define MC_BUILTIN(name, signature, function) #name,
#include "elut/syntax/builtins.def"
#undef MC_BUILTIN
  };
  return words;
}

bool SmithIsReserved(std::string_view name) {
  const auto among = [name](const std::vector<std::string_view>& words) {
    return std::ranges::find(words, name) != words.end();
  };
  for (const std::string_view prefix : {"FN", "CFN"})
    if (name.starts_with(prefix) && name.size() > prefix.size() &&
        SmithIsLetter(name[prefix.size()]))
      return true;
  return name == "PI" || among(SmithKeywords()) || among(SmithBuiltins());
}
