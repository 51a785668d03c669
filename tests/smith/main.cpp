// quillo_smith: prints a random source, or writes many of them.
//
//   quillo_smith [--kind program|module|mask|any] [--seed N] [--count N]
//                [--damage] [--large] [--coverage] [-o DIRECTORY]
//
// With -o the sources of the seeds N, N + 1 ... become p000001.mac or .msk,
// p000002 ..., with the files that they include; without it their texts go to
// the standard output, or, with --coverage, the productions that none of them
// used. --damage gives each of them one to three faults.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/smith/random.h"
#include "tests/smith/smith.h"

namespace {

struct Options {
  const char* kind = "any";
  uint64_t seed = 1;
  uint64_t count = 1;
  bool damage = false;
  bool large = false;
  bool coverage = false;
  const char* directory = nullptr;
};

[[noreturn]] void Fail(const char* what, const char* which) {
  fprintf(stderr, "quillo_smith: %s '%s'\n", what, which);
  exit(1);
}

struct KindName {
  const char* name;
  SmithKind kind;
};
constexpr KindName KIND_NAMES[] = {
    {"program", SmithKind::PROGRAM},
    {"module", SmithKind::MODULE},
    {"mask", SmithKind::MASK},
};
constexpr SmithKind ANY_KIND[] = {SmithKind::PROGRAM, SmithKind::PROGRAM,
                                  SmithKind::MODULE, SmithKind::MASK,
                                  SmithKind::MASK};

SmithKind KindOf(const char* name, uint64_t seed) {
  if (strcmp(name, "any") == 0) return SmithRandom(seed, 102).pick(ANY_KIND);
  for (const KindName& row : KIND_NAMES)
    if (strcmp(row.name, name) == 0) return row.kind;
  Fail("no such kind:", name);
}

Options ReadOptions(char** argument) {
  Options options;
  const auto is = [&](const char* name) {
    return strcmp(*argument, name) == 0;
  };
  while (*++argument != nullptr) {
    const char* name = *argument;
    const char** text = is("--kind") ? &options.kind
                        : is("-o")   ? &options.directory
                                     : nullptr;
    uint64_t* number = is("--seed")    ? &options.seed
                       : is("--count") ? &options.count
                                       : nullptr;
    bool* flag = is("--damage")     ? &options.damage
                 : is("--large")    ? &options.large
                 : is("--coverage") ? &options.coverage
                                    : nullptr;
    if (flag != nullptr) {
      *flag = true;
      continue;
    }
    if (text == nullptr && number == nullptr) Fail("unknown option", name);
    if (*++argument == nullptr) Fail("value missing behind", name);
    if (text != nullptr) *text = *argument;
    if (number != nullptr) *number = strtoull(*argument, nullptr, 10);
  }
  return options;
}

void Write(const std::string& directory, const std::string& name,
           const std::string& text) {
  const std::string path = directory + '/' + name;
  FILE* file = fopen(path.c_str(), "wb");
  if (file == nullptr) Fail("cannot write", path.c_str());
  const size_t written = fwrite(text.data(), 1, text.size(), file);
  if (fclose(file) != 0 || written != text.size())
    Fail("cannot write", path.c_str());
}

// Prints the names that have no count.
void PrintUnused(const std::vector<std::string>& names,
                 const std::vector<uint64_t>& counts) {
  for (size_t i = 0; i < names.size(); i++)
    if (counts[i] == 0) printf("%s\n", names[i].c_str());
}

// Most faults are in the source itself, some in what it includes.
void Damage(SmithSource* source, uint64_t seed, SmithCoverage* coverage) {
  std::string* text = &source->text;
  SmithRandom random(seed, 101);
  if (!source->includes.empty() && random.percent(30)) {
    auto include = source->includes.begin();
    std::advance(include, random.index(source->includes.size()));
    text = &include->second;
  }
  *text = SmithDamage(std::move(*text), seed, coverage);
}

}  // namespace

int main(int, char** arguments) {
  const Options options = ReadOptions(arguments);
  const SmithSize size = options.large ? SmithSize::LARGE : SmithSize::SMALL;
  SmithCoverage coverage;
  for (uint64_t i = 0; i < options.count; i++) {
    const uint64_t seed = options.seed + i;
    const SmithKind kind = KindOf(options.kind, seed);
    std::string name = std::to_string(i + 1);
    name.insert(0, name.size() < 6 ? 6 - name.size() : 0, '0');
    name.insert(0, 1, 'p');
    SmithSource source = Smith(kind, seed, size, name, &coverage);
    if (options.damage) Damage(&source, seed, &coverage);
    if (options.directory != nullptr) {
      Write(options.directory, source.file, source.text);
      for (const auto& [include, text] : source.includes)
        Write(options.directory, include, text);
    } else if (!options.coverage) {
      fwrite(source.text.data(), 1, source.text.size(), stdout);
    }
  }
  if (options.coverage) PrintUnused(SmithProductions(), coverage.productions);
  if (options.coverage && options.damage)
    PrintUnused(SmithDamages(), coverage.damages);
}
