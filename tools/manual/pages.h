// The manual pages: quillo(1), quillo-tools(1), one per command,
// quillo-macro(5) and quillo-mask(5).
//
// Options come from the tables by which the programs read them, chapters from
// the documents, so that none of them says anything that the others do not.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>

struct ManualSources {
  const CLI::App* tools;  // with all commands
  std::string readme;     // README.md
  std::string language;   // docs/language.md
  std::string date;       // of the version, "November 23, 2026"
};

// The pages by their paths, "man1/quillo.1". Throws std::runtime_error when a
// document lacks a chapter that a page is made of.
std::map<std::string, std::string> ManualPages(const ManualSources& sources);
