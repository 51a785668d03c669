// The sources of a run as the system knows them, under whatever names: none of
// them may be an output.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

class SourceIdentities {
 public:
  explicit SourceIdentities(const std::vector<std::string>& sources) {
    for (const std::string& source : sources) {
      struct stat status;
      if (stat(source.c_str(), &status) == 0) files_.insert(key(status));
    }
  }

  // True when `path` leads to one of them.
  bool hold(const char* path) const {
    struct stat status;
    return stat(path, &status) == 0 && files_.contains(key(status));
  }

 private:
  // Two files with one key are taken for the same; with 64-bit mixing that
  // costs nobody an output.
  static uint64_t key(const struct stat& status) {
    return static_cast<uint64_t>(status.st_ino) * 0x9E3779B97F4A7C15 ^
           static_cast<uint64_t>(status.st_dev);
  }

  std::unordered_set<uint64_t> files_;
};
