// What a run reads beside sources: defaults files and message catalogs; and the
// scanner alone.
#include <filesystem>
#include <vector>

#include "elut/grammar.h"
#include "quillo/defaults.h"
#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/targets.h"
#include "trt/catalog.h"

namespace {

// A file found by its name, in a directory of its own in memory.
class NamedFile {
 public:
  explicit NamedFile(const char* name) {
    FUZZ_CHECK(mkdtemp(root_.data()) != nullptr);
    path_ = root_ + "/" + name;
    std::filesystem::create_directories(path_.parent_path());
  }
  ~NamedFile() { std::filesystem::remove_all(root_); }
  const char* root() const { return root_.c_str(); }
  const char* path() const { return path_.c_str(); }

  void set(const uint8_t* bytes, size_t size) const {
    FILE* file = fopen(path(), "wb");
    FUZZ_CHECK(file != nullptr && fwrite(bytes, 1, size, file) == size);
    FUZZ_CHECK(fclose(file) == 0);
  }

 private:
  std::string root_ = "/dev/shm/quillo-fuzz-XXXXXX";
  std::filesystem::path path_;
};

using Token = std::pair<int, std::string>;  // number and value

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
  static const NamedFile file("a.dflt");
  file.set(bytes, size);
  CatalogReset();
  FUZZ_CHECK(DefaultsLoadFile("fuzz", file.path()) == RC_OK);
  DefaultsReset();
}

void FuzzCatalog(const uint8_t* bytes, size_t size) {
  static const NamedFile file("1700/msg_c/de/c.txt");
  setenv("HD_U", file.root(), 1);
  setenv("TQS_MSG_ID", size % 2 == 0 ? "0" : "1", 1);
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
  unsetenv("HD_U");
  unsetenv("TQS_MSG_ID");
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
