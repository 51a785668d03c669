// What a run reads beside sources: defaults files and message catalogs; and the
// scanner alone.
#include <filesystem>

#include "quillo/defaults.h"
#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/targets.h"
#include "tests/token_text.h"

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

// Includes and message files are named in the input. Without a slash they are
// files of the directory above; others are never opened.
bool NamesOtherFiles(const uint8_t* bytes, size_t size) {
  return TextOf(bytes, size).find('/') != std::string::npos;
}

std::string TokensOf(const std::string& text) {
  Lexer lexer;
  const std::string tokens = lexer.tokens_of_file(text);
  FUZZ_CHECK(lexer.count <= text.size());  // each byte begins one at most
  return tokens;
}

}  // namespace

void FuzzDefaults(const uint8_t* bytes, size_t size) {
  if (NamesOtherFiles(bytes, size)) return;
  static const NamedFile file("a.dflt");
  file.set(bytes, size);
  CatalogSet catalogs;
  Defaults defaults(&catalogs);
  FUZZ_CHECK(defaults.load_file("fuzz", file.path()) == RC_OK);
  (void)defaults.value("fuzz", "a");
}

void FuzzCatalog(const uint8_t* bytes, size_t size) {
  if (NamesOtherFiles(bytes, size)) return;
  static const NamedFile file("1700/msg_c/de/c.txt");
  setenv("HD_U", file.root(), 1);
  setenv("TQS_MSG_ID", size % 2 == 0 ? "0" : "1", 1);
  file.set(bytes, size);
  CatalogSet catalogs;
  for (const int number : {1, 2, 12, 40, 2147483647, 0, -1}) {
    const std::string text = catalogs.lookup("c.txt", number, nullptr);
    FUZZ_CHECK(text == catalogs.lookup("c.txt", number, nullptr));
    (void)catalogs.lookup("c.txt", number, "default##");
  }
  const std::string reference = TextOf(bytes, size);
  (void)catalogs.expand_reference(reference.c_str());
  (void)catalogs.expand_reference(("\4c.txt\4" + reference).c_str());
  unsetenv("HD_U");
  unsetenv("TQS_MSG_ID");
}

void FuzzLexer(const uint8_t* bytes, size_t size) {
  const std::string text = TextOf(bytes, size);
  const std::string tokens = TokensOf(text);
  // The reader takes 64 KiB at a time: let the input stand across that border.
  constexpr size_t BLOCK = 64 * 1024;
  if (size == 0 || size > BLOCK || size % 4 != 0) return;
  std::string moved(BLOCK - size / 2, '!');
  for (size_t i = 0; i < moved.size(); i += 8000) moved[i] = '\n';
  moved.back() = '\n';
  FUZZ_CHECK(TokensOf(moved + text) == tokens);
}
