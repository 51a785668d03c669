// Sections of the documents as sections of manual pages.
//
// Of Markdown it knows what the documents use: headings, paragraphs, lists,
// tables, fenced and indented blocks, `code`, **bold**, *emphasis* and links,
// of which the text remains. Lists of links within the page are left out.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// What stands below one heading, down to the next one of its rank.
struct MarkdownSection {
  std::string heading;
  std::string text;
};

// The sections of a rank: 2 for "## Masks". What stands above the first one
// has no heading.
std::vector<MarkdownSection> MarkdownSections(std::string_view document,
                                              int rank);

// The text of the section with that heading, whatever its rank; throws
// std::runtime_error when there is none.
std::string MarkdownSectionNamed(std::string_view document,
                                 std::string_view heading);

// The text as mdoc; headings in it become subsections.
std::string MarkdownToMdoc(std::string_view text);
