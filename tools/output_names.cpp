// Nearly all files of a build differ, and their sources need not be opened to
// see that: each source is taken for a program and for a mask at once. Only
// where two of these files are one, as for plate.mac and a mask plate.msk whose
// plate.cg is a link to plate.cm, the kinds decide.
//
// Files that are there are compared as the system knows them, by device and
// inode, links followed. Others are compared by their names, with directories
// as the system sees them, each of which is asked for once.
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

// What tells one file from another, whatever names lead to it.
class FileKeys {
 public:
  std::string of(std::string path) {
    struct stat status;
    if (stat(path.c_str(), &status) == 0)
      return std::to_string(status.st_dev) + ":" +
             std::to_string(status.st_ino);
    // A link that leads to nothing is followed when a file is made.
    constexpr int MOST_LINKS = 40;  // as many as the system itself follows
    std::error_code error;
    for (int links = 0; links < MOST_LINKS; links++) {
      const fs::path text = fs::read_symlink(path, error);
      if (error) break;
      path = (fs::path(path).parent_path() / text).string();
    }
    const fs::path directory = fs::path(path).parent_path();
    const auto [place, added] = real_.try_emplace(directory.string());
    if (added) {
      place->second =
          fs::weakly_canonical(directory.empty() ? "." : directory, error)
              .string();
      if (error) place->second = directory.string();
    }
    return place->second + "/" + path.substr(path.rfind('/') + 1);
  }

 private:
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

// One of the files that may be written for a source.
struct Written {
  size_t source;
  bool mask;
  bool depfile;
};

class Plan {
 public:
  Plan(const ToolOutputOptions& options, McSrcProvider* files,
       const std::vector<std::string>& sources,
       const std::vector<std::string>& stems)
      : options_(options), files_(files), sources_(sources), stems_(stems) {}

  bool sound(std::string* complaint);

 private:
  std::string path(const Written& file) const;
  bool happens(const Written& file);
  bool differ(const std::vector<Written>& same, std::string* complaint);

  const ToolOutputOptions& options_;
  McSrcProvider* files_;
  const std::vector<std::string>& sources_;
  const std::vector<std::string>& stems_;
  std::unordered_map<size_t, Extensions> extensions_;
};

std::string Plan::path(const Written& file) const {
  const std::string output =
      stems_[file.source] + ToolOutputExtension(file.mask);
  return file.depfile ? ToolDepfilePrefix(options_) + output + ".d"
                      : ToolAsPrefix(options_.directory) + output;
}

// Whether the source is of the kind for which the file is written.
bool Plan::happens(const Written& file) {
  if (options_.masks) return file.mask == *options_.masks;
  const auto [place, added] = extensions_.try_emplace(file.source);
  if (added) place->second = ExtensionsOf(files_, sources_[file.source]);
  return file.mask ? place->second.mask : place->second.program;
}

// All of them lead to one file.
bool Plan::differ(const std::vector<Written>& same, std::string* complaint) {
  const Written* first = nullptr;
  for (const Written& file : same) {
    if (!happens(file)) continue;
    if (first == nullptr) {
      first = &file;
      continue;
    }
    // Of a pipe, which may be of either kind.
    if (first->source == file.source && first->mask != file.mask) continue;
    const std::string name = path(*first), other = path(file);
    *complaint = "'" + name + "' would be written twice: for '" +
                 sources_[first->source] + "' and" +
                 (other == name ? "" : ", as '" + other + "',") + " for '" +
                 sources_[file.source] + "'";
    return false;
  }
  return true;
}

bool Plan::sound(std::string* complaint) {
  FileKeys keys;
  std::unordered_map<std::string, std::vector<Written>> users;
  std::vector<const std::vector<Written>*> order;  // as they come first
  for (size_t i = 0; i < sources_.size(); i++)
    for (const bool depfile : {false, true})
      for (const bool mask : {false, true}) {
        if (depfile && !options_.depfiles) continue;
        auto& same = users[keys.of(path({i, mask, depfile}))];
        if (same.empty()) order.push_back(&same);
        same.push_back({i, mask, depfile});
      }
  for (const auto* same : order)
    if (same->size() > 1 && !differ(*same, complaint)) return false;
  if (!options_.sources_stay) return true;
  for (const std::string& source : sources_) {
    const auto same = users.find(keys.of(source));
    if (same == users.end()) continue;
    for (const Written& file : same->second) {
      if (!happens(file)) continue;
      *complaint = "'" + path(file) + "', which would be written for '" +
                   sources_[file.source] + "', is the source '" + source + "'";
      return false;
    }
  }
  return true;
}

}  // namespace

const char* ToolOutputExtension(bool mask) {
  return mask ? ".cg" : ".cm";
}

std::string ToolAsPrefix(std::string directory) {
  if (!directory.empty() && !directory.ends_with('/')) directory += '/';
  return directory;
}

std::string ToolDepfilePrefix(const ToolOutputOptions& options) {
  return ToolAsPrefix(options.depfile_directory.empty()
                          ? options.directory
                          : options.depfile_directory);
}

bool ToolPlanOutputs(const ToolOutputOptions& options, McSrcProvider* files,
                     const std::vector<std::string>& sources,
                     std::vector<std::string>* stems, std::string* complaint) {
  for (const std::string& source : sources) {
    std::string below;
    if (!BelowRoot(options.root, source, &below)) {
      *complaint = "'" + source + "' is not below '" + options.root + "'";
      return false;
    }
    stems->push_back(WithoutExtension(below));
  }
  return Plan(options, files, sources, *stems).sound(complaint);
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
