// Paths as the suite writes them, with "/", a drive or a share in front, are
// asked of a system that knows the first only. The system answers for one path
// at a time; nothing here is remembered but the current directory.
#include "services/environment.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Cutil/ut_chars.h"

namespace {

bool IsAbsolute(const char* path) {
  if (UtIsSlash(path[0])) return true;
  return UtIsLetter(path[0]) && path[1] == ':' && UtIsSlash(path[2]);
}

// A network share by its name with backslashes.
bool IsShare(const char* path) {
  if (!UtIsSlash(path[0]) || !UtIsSlash(path[1]) || path[2] == '\0')
    return false;
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

// The current directory, however long its path is; empty when it cannot be
// obtained.
UtString CurrentDirectory() {
  UtString path(256, '\0');
  while (getcwd(path.data(), path.size()) == nullptr) {
    if (errno != ERANGE) return {};
    path.resize(path.size() * 2);
  }
  path.resize(strlen(path.c_str()));
  return path;
}

}  // namespace

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

const UtString& WorkingDirectory::path() {
  if (taken_) return path_;
  path_ = CurrentDirectory();
  if (path_.empty())
    path_ = ".";
  else if (UtIsSlash(path_.back()))
    path_.pop_back();
  taken_ = true;
  return path_;
}

UtString WorkingDirectory::join(const UtString& head, const char* tail) {
  UtString joined;
  if (tail[0] == '.' && UtIsSlash(tail[1])) {
    joined = path();
    tail++;
  } else if (!IsAbsolute(tail)) {
    joined = head;
    if (joined.empty() || !UtIsSlash(joined.back())) joined += '/';
  }
  joined += tail;
  return joined;
}
