// A directory is read through the system's own iterator, which keeps a stack of
// its own, and sorted as a whole, since the system gives names in any order.
#include "tools/source_list.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>

namespace {

namespace fs = std::filesystem;

bool AddLines(std::istream& list, std::vector<std::string>* sources) {
  std::string line;
  while (std::getline(list, line)) {
    if (line.ends_with('\r')) line.pop_back();
    if (!line.empty()) sources->push_back(line);
  }
  return !list.bad();
}

bool AddList(const std::string& name, std::vector<std::string>* sources) {
  if (name == "-") return AddLines(std::cin, sources);
  std::ifstream list(name, std::ios::binary);
  return list.is_open() && !fs::is_directory(name) && AddLines(list, sources);
}

bool IsSourceName(const fs::path& path) {
  return path.extension() == ".mac" || path.extension() == ".msk";
}

bool AddDirectory(const std::string& name, std::vector<std::string>* sources) {
  const auto first = static_cast<std::ptrdiff_t>(sources->size());
  std::error_code error;
  fs::recursive_directory_iterator entry(name, error);
  for (; !error && entry != fs::recursive_directory_iterator();
       entry.increment(error))
    if (IsSourceName(entry->path()) && !entry->is_directory(error))
      sources->push_back(entry->path().string());
  std::sort(sources->begin() + first, sources->end());
  return !error;
}

}  // namespace

bool ToolExpandSources(const std::vector<std::string>& arguments,
                       std::vector<std::string>* sources,
                       std::string* complaint) {
  for (const std::string& argument : arguments) {
    std::error_code error;
    if (argument.starts_with('@')) {
      if (AddList(argument.substr(1), sources)) continue;
      *complaint = "the list '" + argument.substr(1) + "' cannot be read";
      return false;
    }
    if (!fs::is_directory(argument, error)) {
      sources->push_back(argument);
    } else if (!AddDirectory(argument, sources)) {
      *complaint = "the directory '" + argument + "' cannot be read";
      return false;
    }
  }
  if (sources->empty()) *complaint = "there is no source";
  return !sources->empty();
}
