// The sources that a command line names.
//
//   a.mac      itself, whether there is such a file or not
//   @LIST      the names in the file LIST, one in a line; @- reads them from
//              the standard input
//   DIR        the .mac and .msk files in the directory and those below it, in
//              the order of their names; links to directories are not followed
//
// A name is a byte string. In a list a carriage return in front of the line
// feed does not count, nor do empty lines.
#pragma once

#include <string>
#include <vector>

// Appends the sources to `*sources`. False when a list or a directory cannot be
// read, or when there is no source at all; `*complaint` then says what is
// wrong.
[[nodiscard]] bool ToolExpandSources(const std::vector<std::string>& arguments,
                                     std::vector<std::string>* sources,
                                     std::string* complaint);
