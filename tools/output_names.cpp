// Nearly all names of a build differ, and their sources need not be opened to
// see that. Only where two stems are the same, as those of plate.mac and its
// mask plate.msk, the kinds decide.
//
// Different directories may be one, through symbolic links; so names are
// compared with their directories as the system sees them, each of which is
// asked for once.
#include "tools/output_names.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>
#include <unordered_map>
#include <unordered_set>

#include "tools/source_kind.h"

namespace {

namespace fs = std::filesystem;

// True when the path needs no other form to be compared with others.
bool IsNormal(const std::string& path) {
  return ("/" + path + "/").find("/../") == std::string::npos &&
         ("/" + path).find("/./") == std::string::npos &&
         path.find("//") == std::string::npos;
}

// Takes the root off a source. False when it lies outside.
bool BelowRoot(const std::string& root, const std::string& source,
               std::string* below) {
  if (root.empty()) {
    *below = source.substr(source.rfind('/') + 1);
    return true;
  }
  const std::string prefix = ToolAsPrefix(root);
  if (source.starts_with(prefix) && IsNormal(source)) {
    *below = source.substr(prefix.size());
    return true;
  }
  fs::path base = fs::absolute(root).lexically_normal();
  if (!base.has_filename()) base = base.parent_path();
  const fs::path full = fs::absolute(source).lexically_normal();
  *below = full.lexically_relative(base).string();
  return *below != "." && *below != ".." && !below->starts_with("../");
}

std::string WithoutExtension(std::string name) {
  const size_t slash = name.rfind('/');
  const size_t dot = name.rfind('.');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash))
    name.resize(dot);
  return name;
}

std::string DirectoryOf(const std::string& name) {
  const size_t slash = name.rfind('/');
  return slash == std::string::npos ? "" : name.substr(0, slash);
}

// Names with their directories as the system sees them.
class RealNames {
 public:
  explicit RealNames(const std::string& prefix) : prefix_(prefix) {}
  std::string name(const std::string& stem) {
    const std::string directory = DirectoryOf(stem);
    const auto [place, added] = real_.try_emplace(directory);
    if (added) {
      std::error_code error;
      const fs::path path = prefix_ + directory;
      place->second =
          fs::weakly_canonical(path.empty() ? "." : path, error).string();
      if (error) place->second = path.string();
    }
    return place->second + stem.substr(directory.size());
  }

 private:
  std::string prefix_;
  std::unordered_map<std::string, std::string> real_;
};

// A pipe cannot be asked for its kind and then be read, so it has both.
struct Extensions {
  bool program, mask;
};
Extensions ExtensionsOf(McSrcProvider* files, const std::string& source) {
  struct stat status;
  if (stat(source.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    return {true, true};
  const bool mask = ToolIsMask(ToolSource(files, source.c_str()).kind());
  return {!mask, mask};
}

}  // namespace

const char* ToolOutputExtension(bool mask) {
  return mask ? ".cg" : ".cm";
}

std::string ToolAsPrefix(std::string directory) {
  if (!directory.empty() && !directory.ends_with('/')) directory += '/';
  return directory;
}

bool ToolPlanOutputs(const ToolOutputOptions& options, McSrcProvider* files,
                     const std::vector<std::string>& sources,
                     std::vector<std::string>* stems, std::string* complaint) {
  const std::string prefix = ToolAsPrefix(options.directory);
  RealNames real(prefix);
  std::unordered_map<std::string, std::vector<size_t>> users;
  for (size_t i = 0; i < sources.size(); i++) {
    std::string below;
    if (!BelowRoot(options.root, sources[i], &below)) {
      *complaint = "'" + sources[i] + "' is not below '" + options.root + "'";
      return false;
    }
    stems->push_back(WithoutExtension(below));
    users[real.name(stems->back())].push_back(i);
  }
  for (size_t i = 0; i < sources.size(); i++) {
    const auto& same = users[real.name((*stems)[i])];
    // Each such stem once, where it comes first.
    if (same.size() == 1 || same.front() != i) continue;
    size_t owner[2] = {SIZE_MAX, SIZE_MAX};
    for (const size_t user : same) {
      const Extensions extensions = ExtensionsOf(files, sources[user]);
      for (const bool mask : {false, true}) {
        if (!(mask ? extensions.mask : extensions.program)) continue;
        if (owner[mask] != SIZE_MAX) {
          *complaint = "'" + prefix + (*stems)[i] + ToolOutputExtension(mask) +
                       "' would be written twice: for '" +
                       sources[owner[mask]] + "' and for '" + sources[user] +
                       "'";
          return false;
        }
        owner[mask] = user;
      }
    }
  }
  return true;
}

bool ToolMakeDirectories(const std::string& prefix,
                         const std::vector<std::string>& stems,
                         std::string* complaint) {
  std::unordered_set<std::string> made;
  for (const std::string& stem : stems) {
    const std::string directory = prefix + DirectoryOf(stem);
    if (directory.empty() || !made.insert(directory).second) continue;
    std::error_code error;
    fs::create_directories(directory, error);
    if (!error || fs::is_directory(directory)) continue;
    *complaint = "the directory '" + directory + "' cannot be made";
    return false;
  }
  return true;
}
