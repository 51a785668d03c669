#include "services/environment.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t LARGEST_FILE = size_t{1} << 30;

struct EnvironmentState {
  bool has_directory = false;
  char directory[PATH_MAX] = {};  // without a slash at its end
} state;

bool IsSlash(char c) {
  return c == '/' || c == '\\';
}

bool IsAbsolute(const char* path) {
  if (IsSlash(path[0])) return true;
  return isalpha(static_cast<unsigned char>(path[0])) && path[1] == ':' &&
         IsSlash(path[2]);
}

// A network share by its name with backslashes.
bool IsShare(const char* path) {
  if (!IsSlash(path[0]) || !IsSlash(path[1]) || path[2] == '\0') return false;
  bool is_directory = false;
  const int code = UtGuarded([&] {
    UtString share(path);
    std::replace(share.begin(), share.end(), '/', '\\');
    struct stat status;
    is_directory = stat(share.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    return RC_OK;
  });
  return code == RC_OK && is_directory;
}

class File {
 public:
  explicit File(int descriptor) : descriptor_(descriptor) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  operator int() const { return descriptor_; }

 private:
  int descriptor_;
};

// Reads to the end; the size that the system states is only a first guess.
int ReadAll(int file, size_t expected, UtString* text) {
  text->resize(expected + 1);
  size_t size = 0;
  while (true) {
    const ssize_t count = read(file, text->data() + size, text->size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return RC_CANNOT_OPEN;
    if (count == 0) break;
    size += static_cast<size_t>(count);
    if (size >= LARGEST_FILE) return RC_CANNOT_OPEN;
    if (size == text->size()) text->resize(size * 2);
  }
  text->resize(size);
  return RC_OK;
}

}  // namespace

void EnvReset() {
  state = {};
}

const char* EnvValue(const char* name) {
  return getenv(name);
}

const char* EnvValue(const char* name, const char* otherwise) {
  const char* value = getenv(name);
  return value == nullptr ? otherwise : value;
}

bool EnvHostName(char (&name)[HOST_NAME_BYTES]) {
  const bool fits = gethostname(name, sizeof name) == 0 &&
                    memchr(name, '\0', sizeof name) != nullptr;
  if (!fits) name[0] = '\0';
  return fits;
}

bool PathIsDirectory(const char* path) {
  if (path[0] == '\0') return false;
  const char drive[] = {path[0], ':', '\\', '\0'};
  const bool is_drive = path[1] == ':' && path[2] == '\0';
  struct stat status;
  if (stat(is_drive ? drive : path, &status) == 0)
    return S_ISDIR(status.st_mode);
  return IsShare(path);
}

bool PathIsFile(const char* path) {
  struct stat status;
  return stat(path, &status) == 0 && !PathIsDirectory(path);
}

int PathJoin(const char* head, const char* tail, UtString* joined) {
  return UtGuarded([&] {
    UtString path;
    if (tail[0] == '.' && IsSlash(tail[1])) {
      path = PathCurrentDirectory();
      tail++;
    } else if (!IsAbsolute(tail)) {
      path = head;
      if (path.empty() || !IsSlash(path.back())) path += '/';
    }
    path += tail;
    joined->swap(path);
    return RC_OK;
  });
}

const char* PathCurrentDirectory() {
  if (state.has_directory) return state.directory;
  state.has_directory = true;
  if (getcwd(state.directory, sizeof state.directory) == nullptr)
    strcpy(state.directory, ".");
  const size_t length = strlen(state.directory);
  if (IsSlash(state.directory[length - 1])) state.directory[length - 1] = '\0';
  return state.directory;
}

int FileReadWhole(const char* path, UtString* text) {
  text->clear();
  // The kind is asked before opening, because opening a pipe for reading
  // already wakes its writer; and again behind it, because a pipe may have
  // taken the file's place meanwhile.
  struct stat status;
  if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
    return RC_CANNOT_OPEN;
  const File file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (file < 0 || fstat(file, &status) != 0 || !S_ISREG(status.st_mode))
    return RC_CANNOT_OPEN;
  const auto expected = static_cast<size_t>(status.st_size);
  if (expected >= LARGEST_FILE) return RC_CANNOT_OPEN;
  const int code = UtGuarded([&] { return ReadAll(file, expected, text); });
  if (code != RC_OK) text->clear();
  return code;
}
