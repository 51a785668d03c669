// Pages of the documentation, taken apart.
#pragma once

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/file_tree.h"

inline std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// The cells of a table's row, without blanks around them; nothing for other
// lines and the line under the head.
inline std::vector<std::string> CellsOf(const std::string& line) {
  std::vector<std::string> cells;
  if (!line.starts_with("|") || line.starts_with("|-")) return cells;
  std::istringstream stream(line.substr(1));
  for (std::string cell; std::getline(stream, cell, '|');) {
    cell.erase(0, cell.find_first_not_of(' '));
    cell.erase(cell.find_last_not_of(' ') + 1);
    cells.push_back(cell);
  }
  return cells;
}

// The parts of a text that stand between backquotes.
inline std::vector<std::string> Quoted(const std::string& text) {
  std::vector<std::string> parts;
  for (size_t from = 0;;) {
    const size_t open = text.find('`', from);
    const size_t close = text.find('`', open + 1);
    if (open == std::string::npos || close == std::string::npos) return parts;
    parts.push_back(text.substr(open + 1, close - open - 1));
    from = close + 1;
  }
}

struct Block {
  std::string kind, name, text;
  int line;  // of its fence
};

struct Page {
  explicit Page(const std::string& path) {
    int number = 0;
    bool inside = false;
    size_t indent = 0;
    for (std::string line :
         Lines(ReadWhole(SOURCE_DIRECTORY "/" + path).value_or(""))) {
      number++;
      const size_t blanks = std::min(line.find_first_not_of(' '), line.size());
      if (line.compare(blanks, 3, "```") == 0) {
        inside = !inside;
        if (!inside) continue;
        indent = blanks;
        std::istringstream words(line.substr(blanks + 3));
        blocks.push_back({"", "", "", number});
        words >> blocks.back().kind >> blocks.back().name;
      } else if (inside) {
        blocks.back().text += line.substr(std::min(indent, blanks)) + "\n";
      } else {
        prose += line + "\n";
        if (line.starts_with("#")) anchors.insert(anchor_of(line));
      }
    }
  }

  // The lines under a heading, up to the next one.
  std::string section(const std::string& heading) const {
    const size_t start = prose.find("## " + heading + "\n");
    if (start == std::string::npos) return "";
    return prose.substr(start, prose.find("\n## ", start) - start);
  }

  std::vector<Block> blocks;
  std::string prose;  // all other lines
  std::set<std::string> anchors;

 private:
  static std::string anchor_of(const std::string& heading) {
    std::string anchor;
    for (const char c : heading.substr(heading.find(' ') + 1))
      if (isalnum(c) != 0 || c == '-' || c == '_')
        anchor += static_cast<char>(tolower(c));
      else if (c == ' ')
        anchor += '-';
    return anchor;
  }
};

// Files below a folder of the project whose names end so, as paths from its
// root. What is made by a build is left out.
inline std::vector<std::string> FilesOf(const std::string& folder,
                                        const std::string& ending) {
  const std::filesystem::path root = SOURCE_DIRECTORY;
  std::vector<std::string> files;
  for (auto entry =
           std::filesystem::recursive_directory_iterator(root / folder);
       entry != std::filesystem::recursive_directory_iterator(); ++entry) {
    const std::string name = entry->path().filename().string();
    if (entry->is_directory() &&
        (name == "build" || name == "node_modules" || name[0] == '.'))
      entry.disable_recursion_pending();
    else if (!entry->is_directory() && name.ends_with(ending))
      files.push_back(entry->path().lexically_relative(root).string());
  }
  std::ranges::sort(files);
  return files;
}

inline std::vector<std::string> AllPages() {
  return FilesOf("", ".md");
}
