// The sources that a command line names.
//
//   a.mac      itself, whether there is such a file or not
//   @LIST      the names in the file LIST, one in a line; @- reads them from
//              the standard input
//   DIR        the .mac and .msk files in the directory and those below it, in
//              the order of their names; links to directories are not followed,
//              and what is no file, as a pipe, is none whatever its name
//
// A name is a byte string. In a list a carriage return in front of the line
// feed does not count, nor do empty lines.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

// Appends the files with one of these extensions in a directory and below it.
// False when it cannot be read.
[[nodiscard]] bool ToolAddDirectory(
    const std::string& name, std::initializer_list<std::string_view> extensions,
    std::vector<std::string>* sources);

// Appends the sources to `*sources`. False when a list or a directory cannot be
// read, or when there is no source at all; `*complaint` then says what is
// wrong.
[[nodiscard]] bool ToolExpandSources(const std::vector<std::string>& arguments,
                                     std::vector<std::string>* sources,
                                     std::string* complaint);
