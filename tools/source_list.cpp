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

}  // namespace

bool ToolAddDirectory(const std::string& name,
                      std::initializer_list<std::string_view> extensions,
                      std::vector<std::string>* sources) {
  const auto first = static_cast<std::ptrdiff_t>(sources->size());
  std::error_code error, unknown;
  fs::recursive_directory_iterator entry(name, error);
  for (; !error && entry != fs::recursive_directory_iterator();
       entry.increment(error)) {
    const std::string extension = entry->path().extension().string();
    if (std::find(extensions.begin(), extensions.end(), extension) !=
            extensions.end() &&
        entry->is_regular_file(unknown))
      sources->push_back(entry->path().string());
  }
  std::sort(sources->begin() + first, sources->end());
  return !error;
}

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
    } else if (!ToolAddDirectory(argument, {".mac", ".msk"}, sources)) {
      *complaint = "the directory '" + argument + "' cannot be read";
      return false;
    }
  }
  if (sources->empty()) *complaint = "there is no source";
  return !sources->empty();
}
