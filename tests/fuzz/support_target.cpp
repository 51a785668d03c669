// What a run reads beside sources: defaults files and message catalogs; and the
// scanner alone.
#include <sys/stat.h>

#include <cstring>
#include <string_view>
#include <vector>

#include "elut/grammar.h"
#include "quillo/defaults.h"
#include "quillo/environment.h"
#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/targets.h"
#include "trt/catalog.h"

namespace {

// A directory in memory with one file, which is found by its name.
class NamedFile {
 public:
  NamedFile(const char* directories, const char* name) {
    std::string path = "/dev/shm/quillo-fuzz-XXXXXX";
    FUZZ_CHECK(mkdtemp(path.data()) != nullptr);
    made_ = {path};
    for (std::string_view rest = directories; !rest.empty();) {
      const size_t end = std::min(rest.find('/'), rest.size());
      path.append("/").append(rest.substr(0, end));
      rest.remove_prefix(std::min(end + 1, rest.size()));
      FUZZ_CHECK(mkdir(path.c_str(), 0700) == 0);
      made_.push_back(path);
    }
    made_.push_back(path + "/" + name);
  }
  ~NamedFile() {
    for (; !made_.empty(); made_.pop_back()) remove(made_.back().c_str());
  }
  const char* root() const { return made_.front().c_str(); }
  const char* path() const { return made_.back().c_str(); }

  void set(const uint8_t* bytes, size_t size) const {
    FILE* file = fopen(path(), "wb");
    FUZZ_CHECK(file != nullptr);
    FUZZ_CHECK(fwrite(bytes, 1, size, file) == size);
    FUZZ_CHECK(fclose(file) == 0);
  }

 private:
  std::vector<std::string> made_;
};

// A value of an environment variable that is put back.
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) {
    const char* old = getenv(name);
    had_ = old != nullptr;
    if (had_) old_ = old;
    setenv(name, value, 1);
  }
  ~Environment() {
    if (had_)
      setenv(name_, old_.c_str(), 1);
    else
      unsetenv(name_);
  }

 private:
  const char* name_;
  bool had_;
  std::string old_;
};

struct Token {
  int number;
  std::string value;
  bool operator==(const Token&) const = default;
};

template <class Value>
std::string BytesOf(const Value& value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

std::vector<Token> TokensOf(const std::string& text) {
  OpenSource source(reinterpret_cast<const uint8_t*>(text.data()), text.size());
  std::vector<Token> tokens;
  TokenValue value;
  // Text input of the scanner: each byte begins one token at most.
  while (const int token = McLex(&value)) {
    FUZZ_CHECK(tokens.size() < text.size());
    std::string shown;
    switch (token) {
      case TOKEN_IDENT:
      case TOKEN_FNNAME:
      case TOKEN_CFNNAME:
      case TOKEN_SIGILNAME: shown = value.name->text(); break;
      case TOKEN_SCONST:
        shown.assign(value.text->text(), value.text->length);
        FUZZ_CHECK(strlen(value.text->text()) == shown.size());
        McTokenTextRelease(value.text);
        break;
      case TOKEN_ICONST:
      case TOKEN_BUILTIN: shown = BytesOf(value.integer); break;
      case TOKEN_RCONST: shown = BytesOf(value.real); break;
      case TOKEN_ASSIGNOP:
      case TOKEN_SIGIL: shown = BytesOf(value.code); break;
      default: break;
    }
    tokens.push_back({token, shown});
  }
  FUZZ_CHECK(McLex(&value) == 0);
  return tokens;
}

}  // namespace

void FuzzDefaults(const uint8_t* bytes, size_t size) {
  static const NamedFile file("", "a.dflt");
  static const Environment root("HD_U", file.root());
  file.set(bytes, size);
  CatalogReset();
  FUZZ_CHECK(DefaultsLoadFile("fuzz", file.path()) == RC_OK);
  (void)DefaultsValue("fuzz", "macro*title");
  DefaultsReset();
}

void FuzzCatalog(const uint8_t* bytes, size_t size) {
  static const NamedFile file("1700/msg_c/de", "c.txt");
  const Environment root("HD_U", file.root());
  const Environment version("HD_VE", "1700");
  const Environment language("HD_LA", "de");
  const Environment prefix("TQS_MSG_ID", size % 2 == 0 ? "0" : "1");
  file.set(bytes, size);
  CatalogReset();
  for (const int number : {1, 2, 12, 40, 2147483647, 0, -1}) {
    const std::string text = CatalogLookup("c.txt", number, nullptr);
    FUZZ_CHECK(text == CatalogLookup("c.txt", number, nullptr));
    (void)CatalogLookup("c.txt", number, "default##");
  }
  const std::string reference(reinterpret_cast<const char*>(bytes), size);
  (void)CatalogExpandReference(reference.c_str());
  (void)CatalogExpandReference(("\4c.txt\4" + reference).c_str());
  CatalogReset();
}

void FuzzLexer(const uint8_t* bytes, size_t size) {
  const ChannelCatch channels;
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  const std::vector<Token> tokens = TokensOf(text);
  // The reader takes 64 KiB at a time: let the input stand across that border.
  constexpr size_t BLOCK = 64 * 1024;
  if (size == 0 || size > BLOCK || size % 4 != 0) return;
  std::string moved(BLOCK - size / 2, '!');
  for (size_t i = 0; i < moved.size(); i += 8000) moved[i] = '\n';
  moved.back() = '\n';
  FUZZ_CHECK(TokensOf(moved + text) == tokens);
}
