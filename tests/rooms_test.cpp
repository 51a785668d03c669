// The order of the rooms: a source includes its own room and those before it,
// and headers do not include each other in a circle.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <sstream>

#include "file_tree.h"

namespace {

// Each knows those before it.
const std::vector<std::string> ROOMS = {
    "Cutil",      "util",         "services",   "trt",   "elut/syntax",
    "elut/model", "elut/compile", "elut/files", "quillo"};

// The place of a file's room, or the number of rooms.
size_t RoomOf(const std::string& file) {
  // What is generated from the grammar: the tables of its tokens and rules, and
  // the parser, which calls the actions.
  if (file == "elut/grammar.h") return 4;
  if (file.starts_with("elut/grammar_")) return 6;
  const std::string folder = file == "elut/syntax/grammar.y"
                                 ? "elut/compile"
                                 : file.substr(0, file.rfind('/'));
  return static_cast<size_t>(std::ranges::find(ROOMS, folder) - ROOMS.begin());
}

// What each file of ours includes of ours.
std::map<std::string, std::set<std::string>> Includes() {
  std::map<std::string, std::set<std::string>> includes;
  for (const std::string& room : ROOMS)
    for (const auto& entry :
         std::filesystem::directory_iterator(SOURCE_DIRECTORY "/" + room)) {
      if (entry.is_directory() || entry.path().extension() == ".txt") continue;
      auto& of_file = includes[room + "/" + entry.path().filename().string()];
      std::istringstream lines(ReadWhole(entry.path()).value());
      for (std::string line; std::getline(lines, line);)
        if (line.starts_with("#include \""))
          of_file.insert(line.substr(10, line.rfind('"') - 10));
    }
  return includes;
}

TEST(Rooms, IncludeTheirElders) {
  const auto includes = Includes();
  EXPECT_LT(90u, includes.size());
  for (const auto& [file, included] : includes)
    for (const std::string& header : included)
      EXPECT_LE(RoomOf(header), RoomOf(file)) << file << ": " << header;
}

TEST(Rooms, NoCircles) {
  const auto includes = Includes();
  std::set<std::string> done, open;
  const std::function<void(const std::string&)> visit =
      [&](const std::string& file) {
        EXPECT_TRUE(open.insert(file).second) << file << " includes itself";
        if (done.insert(file).second && includes.contains(file))
          for (const std::string& header : includes.at(file)) visit(header);
        open.erase(file);
      };
  for (const auto& [file, included] : includes) visit(file);
}

}  // namespace
