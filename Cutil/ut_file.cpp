// Where a target is written is decided once, when it is opened. A new file
// beside it gets a name that begins with a point and ends with the process and
// the time, and is made exclusively: of two writers that meet, one tries again.
#include "Cutil/ut_file.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace {

constexpr int MOST_LINKS = 40;  // as many as the system itself follows
constexpr int MOST_NAMES = 100;

// The directory of a path, with its slash; empty for the current one.
UtString DirectoryOf(const UtString& path) {
  const size_t slash = path.rfind('/');
  return slash == UtString::npos ? UtString() : path.substr(0, slash + 1);
}

// The text of a symbolic link; empty when it cannot be read.
UtString LinkText(const UtString& path, size_t length) {
  UtString text(length + 1, '\0');
  const ssize_t got = readlink(path.c_str(), text.data(), text.size());
  text.resize(got > 0 ? static_cast<size_t>(got) : 0);
  return text;
}

// What stands at the end of the symbolic links that a path may be.
enum class Found { ABSENT, FILE, FAILED };

Found FollowLinks(UtString* path, struct stat* status) {
  for (int links = 0; links <= MOST_LINKS; links++) {
    if (lstat(path->c_str(), status) != 0)
      return errno == ENOENT ? Found::ABSENT : Found::FAILED;
    if (!S_ISLNK(status->st_mode)) return Found::FILE;
    // Links of /proc do not tell how long they are.
    const auto length = std::max<off_t>(status->st_size, 4096);
    const UtString text = LinkText(*path, static_cast<size_t>(length));
    if (text.empty()) return Found::FAILED;
    *path = text[0] == '/' ? text : DirectoryOf(*path) + text;
  }
  return Found::FAILED;
}

// In a directory that many may write to, only its owner replaces a file.
bool MayBeReplaced(const UtString& path, const struct stat& file) {
  struct stat directory;
  UtString name = DirectoryOf(path);
  if (name.empty()) name = ".";
  if (stat(name.c_str(), &directory) != 0) return false;
  const uid_t user = geteuid();
  return (directory.st_mode & S_ISVTX) == 0 || user == 0 ||
         user == file.st_uid || user == directory.st_uid;
}

// A name for a file that is being written: what a killed compiler left under
// the same process number is no obstacle. The digits are made here, since a
// start needs neither a clock nor a formatted print for anything else.
UtString TemporaryName(int attempt) {
  uint64_t number = static_cast<uint64_t>(getpid());
  (void)!getrandom(&number, sizeof number, GRND_NONBLOCK);
  number += static_cast<uint64_t>(attempt);
  UtString name = ".quillo-";
  for (int shift = 60; shift >= 0; shift -= 4)
    name += "0123456789abcdef"[number >> shift & 15];
  return name;
}

// Reads to the end; the size that the system states is only a first guess.
int ReadToEnd(int file, size_t expected, size_t limit, UtString* text) {
  text->resize(expected + 1);
  size_t size = 0;
  for (;;) {
    const ptrdiff_t count =
        UtRead(file, text->data() + size, text->size() - size);
    if (count < 0) return RC_CANNOT_OPEN;
    if (count == 0) break;
    size += static_cast<size_t>(count);
    if (size >= limit) return RC_CANNOT_OPEN;
    if (size == text->size()) text->resize(size * 2);
  }
  text->resize(size);
  return RC_OK;
}

int ReadAll(int file, size_t expected, size_t limit, UtString* text) {
  const int code =
      UtGuarded([&] { return ReadToEnd(file, expected, limit, text); });
  if (code != RC_OK) UtString().swap(*text);
  return code;
}

}  // namespace

bool UtDescriptor::close() {
  const int number = std::exchange(number_, -1);
  return number < 0 || ::close(number) == 0;
}

ptrdiff_t UtRead(int descriptor, void* place, size_t bytes) {
  for (;;) {
    const ssize_t got = read(descriptor, place, bytes);
    if (got >= 0 || errno != EINTR) return got;
  }
}

int UtReadWhole(const char* path, size_t limit, UtString* text) {
  text->clear();
  // The kind is asked before opening, because opening a pipe for reading
  // already wakes its writer; and again after it, because a pipe may have
  // taken the file's place meanwhile.
  struct stat status;
  if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
    return RC_CANNOT_OPEN;
  const UtDescriptor file(
      open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file.is_open() || fstat(file.number(), &status) != 0 ||
      !S_ISREG(status.st_mode))
    return RC_CANNOT_OPEN;
  const auto expected = static_cast<size_t>(status.st_size);
  if (expected >= limit) return RC_CANNOT_OPEN;
  return ReadAll(file.number(), expected, limit, text);
}

int UtReadStream(int descriptor, size_t limit, UtString* text) {
  constexpr size_t FIRST_ROOM = size_t{64} * 1024;
  text->clear();
  return ReadAll(descriptor, FIRST_ROOM, limit, text);
}

int UtOutputFile::open(const char* path) {
  return UtGuarded([&]() -> int {
    target_ = path;
    struct stat status;
    const Found found = FollowLinks(&target_, &status);
    if (found == Found::FAILED) return RC_CANNOT_CREATE;
    if (found == Found::ABSENT) return open_beside(nullptr);
    if (faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0)
      return RC_CANNOT_CREATE;
    if (S_ISREG(status.st_mode) && status.st_nlink == 1 &&
        MayBeReplaced(target_, status)) {
      const int code = open_beside(&status);
      // Only a directory that cannot be written leaves nothing but its file.
      if (code == RC_OK ||
          (errno != EACCES && errno != EPERM && errno != EROFS))
        return code;
    }
    file_ =
        UtDescriptor(::open(target_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    return file_.is_open() ? RC_OK : RC_CANNOT_CREATE;
  });
}

// Makes the new file beside the target, as like as possible to the existing
// one. errno tells why it could not be made.
int UtOutputFile::open_beside(const struct stat* existing) {
  const UtString directory = DirectoryOf(target_);
  for (int i = 0; i < MOST_NAMES; i++) {
    temporary_ = directory + TemporaryName(i);
    file_ = UtDescriptor(::open(temporary_.c_str(),
                                O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (file_.is_open()) break;
    if (errno != EEXIST) break;
  }
  if (!file_.is_open()) {
    temporary_.clear();
    return RC_CANNOT_CREATE;
  }
  if (existing != nullptr) {
    // Only the administrator can give a file away; the rest keeps its own.
    if (existing->st_uid != geteuid() || existing->st_gid != getegid())
      (void)!fchown(file_.number(), existing->st_uid, existing->st_gid);
    (void)fchmod(file_.number(), existing->st_mode & 07777);
  }
  return RC_OK;
}

bool UtOutputFile::write(const void* bytes, size_t count) {
  const char* from = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t done = ::write(file_.number(), from, count);
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) return false;
    from += done;
    count -= static_cast<size_t>(done);
    written_ += static_cast<uint64_t>(done);
  }
  return true;
}

bool UtOutputFile::commit() {
  if (temporary_.empty()) {
    if (file_.close()) return true;
    (void)!truncate(target_.c_str(), 0);
    return false;
  }
  const bool moved =
      file_.close() && rename(temporary_.c_str(), target_.c_str()) == 0;
  if (!moved) (void)unlink(temporary_.c_str());
  temporary_.clear();
  return moved;
}

void UtOutputFile::abandon() {
  if (!file_.is_open()) return;
  if (temporary_.empty())
    (void)!ftruncate(file_.number(), 0);
  else
    (void)unlink(temporary_.c_str());
  temporary_.clear();
  (void)file_.close();
}
