// A page is a head, the sections of its kind, and the names of the other pages.
#include "tools/manual/pages.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "tools/manual/command_table.h"
#include "tools/manual/markdown.h"
#include "tools/manual/roff.h"

namespace {

std::string Upper(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// "Compile programs" in the middle of a sentence. Words of capitals stay.
std::string AsTitle(std::string text) {
  if (text.size() > 1 && std::islower(static_cast<unsigned char>(text[1])))
    text[0] =
        static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  if (text.ends_with('.')) text.pop_back();
  return text;
}

std::string AsSentence(std::string text) {
  while (text.ends_with('\n')) text.pop_back();
  // A list of words that are to be typed stays as it is.
  if (!text.empty() && !text.substr(0, text.find(' ')).ends_with(','))
    text[0] =
        static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  if (!text.empty() && text.back() != '.') text += ".";
  return text;
}

std::string Head(const ManualSources& sources, const std::string& name,
                 char section, const std::string& title) {
  return "'\\\" t\n.\\\" Made by the build from the options and the "
         "documents.\n"
         ".Dd " +
         sources.date + "\n.Dt " + Upper(name) + " " + section +
         "\n.Os\n.Sh NAME\n.Nm " + name + "\n.Nd " +
         RoffEscape(AsTitle(title)) + "\n";
}

std::string Names(const CommandOption& option) {
  std::string out;
  for (const std::string& name : option.names) {
    if (!out.empty()) out += " , ";
    out += "Fl " + RoffArgument(name.substr(1));
    if (!option.value.empty()) out += " Ar " + RoffArgument(option.value);
  }
  return out;
}

std::string Synopsis(const CommandTable& table, const std::string& program) {
  std::string out = ".Sh SYNOPSIS\n.Nm " + program + "\n";
  for (const CommandOption& option : table.options) {
    if (option.names.empty()) continue;
    CommandOption shortest = option;
    shortest.names = {option.names.front()};
    out += option.required ? "." : ".Op ";
    out += Names(shortest) + (option.many ? " ...\n" : "\n");
  }
  for (const CommandOption& option : table.options) {
    if (!option.names.empty()) continue;
    std::string word = RoffArgument(option.value);
    out += (option.required ? ".Ar " : ".Op Ar ") + word +
           (option.many ? " ...\n" : "\n");
  }
  if (!table.commands.empty()) out += ".Ar command\n.Op Ar ...\n";
  return out;
}

std::string Options(const CommandTable& table) {
  std::string out;
  for (const CommandOption& option : table.options) {
    if (option.names.empty()) continue;
    out += ".It " + Names(option) + "\n" + RoffText(AsSentence(option.meaning));
    if (option.choices.empty()) continue;
    std::string choices = "One of ";
    for (size_t i = 0; i < option.choices.size(); i++)
      choices += (i == 0 ? "" : ", ") + option.choices[i];
    if (option.meaning.find(option.choices.back()) == std::string::npos)
      out += RoffText(choices + ".");
  }
  return ".Sh OPTIONS\n.Bl -tag -width Ds\n" + out + ".El\n";
}

bool IsAboutStatus(const std::string& paragraph) {
  return paragraph.starts_with("The exit status") ||
         paragraph.starts_with("Exit status");
}

// Text as its author set it: a paragraph with indented lines is an example.
std::string Paragraph(const std::string& text) {
  return text.find("\n  ") != std::string::npos || text.starts_with("  ")
             ? MarkdownToMdoc("```\n" + text + "\n```\n")
             : RoffText(text);
}

constexpr char STATUS[] =
    "The exit status is 0 when all is well; 1 when the answer is no; and 2 "
    "when the command was used wrongly, or a file cannot be read or written.";

std::string CommandPage(const ManualSources& sources, const CommandTable& table,
                        const std::string& see_also) {
  std::string description, status;
  size_t at = 0;
  const std::string& details = table.details;
  while (at < details.size()) {
    const size_t end = std::min(details.find("\n\n", at), details.size());
    std::string paragraph = details.substr(at, end - at);
    at = end + 2;
    while (paragraph.ends_with('\n')) paragraph.pop_back();
    if (paragraph.empty()) continue;
    std::string& where = IsAboutStatus(paragraph) ? status : description;
    if (!where.empty()) where += ".Pp\n";
    where += Paragraph(paragraph);
  }
  if (description.empty()) description = RoffText(AsSentence(table.title));
  if (status.empty()) status = RoffText(STATUS);
  const std::string name = "quillo-tools-" + table.name;
  std::string out = Head(sources, name, '1', table.title) +
                    Synopsis(table, "quillo-tools " + table.name) +
                    ".Sh DESCRIPTION\n" + description + Options(table);
  for (const CommandTable& command : table.commands)
    out += ".Ss " + command.name + "\n" + RoffText(AsSentence(command.title)) +
           Options(command).substr(sizeof ".Sh OPTIONS\n" - 1);
  return out + ".Sh EXIT STATUS\n" + status + see_also;
}

// "quillo 1" and the like, without the page itself.
std::string SeeAlso(const std::vector<std::string>& pages,
                    const std::string& own) {
  std::string out = ".Sh SEE ALSO\n";
  std::vector<std::string> others;
  for (const std::string& page : pages)
    if (page != own) others.push_back(page);
  for (size_t i = 0; i < others.size(); i++)
    out += ".Xr " + others[i] + (i + 1 < others.size() ? " ,\n" : "\n");
  return out;
}

// ERRORS is the name of a section that only other kinds of pages have.
std::string SectionTitle(const std::string& heading) {
  return heading == "Errors" ? "FAULTY SOURCES" : Upper(heading);
}

std::string Optional(const std::string& title, const std::string& document,
                     const std::string& heading) {
  try {
    return ".Sh " + title + "\n" +
           MarkdownToMdoc(MarkdownSectionNamed(document, heading));
  } catch (const std::runtime_error&) {
    return "";
  }
}

}  // namespace

std::map<std::string, std::string> ManualPages(const ManualSources& sources) {
  CommandTable tools = TableOf(*sources.tools);
  const CommandTable compiler = TableOfCompiler();
  std::vector<std::string> names = {"quillo 1", "quillo-tools 1"};
  for (const CommandTable& command : tools.commands)
    names.push_back("quillo-tools-" + command.name + " 1");
  names.insert(names.end(), {"quillo-macro 5", "quillo-mask 5"});
  std::sort(names.begin() + 2, names.end() - 2);

  std::map<std::string, std::string> pages;
  const auto add = [&](const std::string& name, char section,
                       const std::string& page) {
    pages[std::string("man") + section + "/" + name + "." + section] = page;
  };
  const auto see_also = [&](const std::string& own) {
    return SeeAlso(names, own);
  };

  add("quillo", '1',
      Head(sources, "quillo", '1', compiler.title) +
          Synopsis(compiler, "quillo") + ".Sh DESCRIPTION\n" +
          RoffText("Compiles sources of the macro language of a CAD suite to "
                   "the files that the suite's run time loads: programs and "
                   "modules to .cm files, mask definitions to .cg files. "
                   "Options and files may be mixed; the options hold for all "
                   "files. Of options that contradict each other the last one "
                   "counts.") +
          Options(compiler) + ".Sh OUTPUT NAMES\n" +
          MarkdownToMdoc(MarkdownSectionNamed(sources.readme, "Output names")) +
          ".Sh EXIT STATUS\n" +
          MarkdownToMdoc(MarkdownSectionNamed(sources.readme,
                                              "Exit status and error codes")) +
          see_also("quillo 1") + Optional("CAVEATS", sources.readme, "Traps"));

  std::string list;
  for (const CommandTable& command : tools.commands)
    list +=
        ".It Cm " + command.name + "\n" + RoffText(AsSentence(command.title));
  add("quillo-tools", '1',
      Head(sources, "quillo-tools", '1', tools.title) +
          Synopsis(tools, "quillo-tools") + ".Sh DESCRIPTION\n" +
          RoffText(
              "One program, a command for each job. Each has a page of its "
              "own, quillo-tools-COMMAND.") +
          ".Bl -tag -width decompile\n" + list + ".El\n" + Options(tools) +
          ".Sh EXIT STATUS\n" + RoffText(STATUS) + see_also("quillo-tools 1"));
  for (const CommandTable& command : tools.commands) {
    const std::string name = "quillo-tools-" + command.name;
    add(name, '1', CommandPage(sources, command, see_also(name + " 1")));
  }

  const std::string masks = MarkdownSectionNamed(sources.language, "Masks");
  std::string macro;
  for (const MarkdownSection& section : MarkdownSections(sources.language, 2))
    if (!section.heading.empty() && section.heading != "Masks")
      macro += ".Sh " + SectionTitle(section.heading) + "\n" +
               MarkdownToMdoc(section.text);
  add("quillo-macro", '5',
      Head(sources, "quillo-macro", '5', "the macro language") +
          ".Sh DESCRIPTION\n" +
          RoffText("What may be written in programs and modules, and what the "
                   "compiler makes of it. Masks are described in "
                   "quillo-mask(5).") +
          macro + see_also("quillo-macro 5"));
  add("quillo-mask", '5',
      Head(sources, "quillo-mask", '5', "mask definitions") +
          ".Sh DESCRIPTION\n" + MarkdownToMdoc(masks) +
          see_also("quillo-mask 5"));
  return pages;
}
