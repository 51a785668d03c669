// Manual pages, completions and file types, as the build made them.
#include <gtest/gtest.h>

#include "tests/file_tree.h"
#include "tests/quillo_run.h"

namespace {

namespace fs = std::filesystem;

constexpr const char PAGES[] = MANUAL "/man";

// Their checker has nothing to say but that pages which are not installed are
// referred to; those must be among the pages here.
TEST(Manual, PagesAreSound) {
  size_t pages = 0;
  for (const auto& entry : fs::recursive_directory_iterator(PAGES)) {
    if (!entry.is_regular_file()) continue;
    pages++;
    const std::string name = entry.path().string();
    EXPECT_EQ(
        RunShell("mandoc -Tlint " + name + " | grep -v 'not found: Xr quillo'")
            .out,
        "");
  }
  EXPECT_EQ(RunShell("cd " + std::string(PAGES) +
                     " && sed -n 's/^[.]Xr \\([^ ]*\\) \\(.\\).*/"
                     "man\\2\\/\\1.\\2/p' man?/* | sort -u | xargs ls | wc -l")
                .out,
            std::to_string(pages) + "\n");
  // A page for each command that the help lists.
  EXPECT_EQ(RunShell("quillo-tools --help | sed -n '/^Subcommands/,$p' | "
                     "sed -n 's/^  \\([a-z]*\\) .*/\\1/p' | while read c; do "
                     "ls " +
                     std::string(PAGES) +
                     "/man1/quillo-tools-$c.1; "
                     "done | wc -l")
                .out,
            std::to_string(pages - 4) + "\n");
}

struct Completion {
  const char* line;
  const char* words;  // sorted
};
constexpr Completion COMPLETIONS[] = {
    {"quillo-tools comp", "compile"},
    {"quillo-tools compile --depfile-d", "--depfile-dir"},
    {"quillo-tools compile --format j", "json"},
    {"quillo-tools compile --kind m", "mask"},
    {"quillo-tools compile --color a", "always,auto"},
    {"quillo-tools check --format s", "sarif"},
    {"quillo-tools check --baseline two", "two words,two words.msk"},
    {"quillo-tools compile -q two", "two words,two words.msk"},
    {"quillo-tools deps --j", "--json"},
    {"quillo -no", "-noxdr"},
};

class Shells : public FileTree {};

TEST_F(Shells, Complete) {
  write("two words", "");
  write("two words.msk", "");
  const std::string directory = MANUAL "/completions";
  EXPECT_EQ(RunShell("cd " + directory +
                     " && bash -n bash/quillo bash/quillo-tools && zsh -n "
                     "zsh/_quillo && zsh -n zsh/_quillo-tools && fish -n "
                     "fish/*")
                .err,
            "");
  for (const Completion& row : COMPLETIONS) {
    const std::string line = row.line;
    const std::string program = line.substr(0, line.find(' '));
    EXPECT_EQ(RunShell("bash -c '. " + directory + "/bash/" + program +
                       "; COMP_WORDS=(" + line +
                       "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); $(complete "
                       "-p " +
                       program +
                       " | sed \"s/.*-F \\([^ ]*\\) .*/\\1/\"); printf "
                       "\"%s\\n\" \"${COMPREPLY[@]}\"' 2>&1 | sort | paste "
                       "-sd,")
                  .out,
              std::string(row.words) + "\n")
        << line;
    EXPECT_EQ(
        RunShell("HOME=/nonexistent fish --no-config -c 'source " + directory +
                 "/fish/" + program + ".fish; complete -C \"" + line +
                 "\"' | cut -f1 | tr -d "
                 "'\\\\' | sort | paste -sd,")
            .out,
        std::string(row.words) + "\n")
        << line;
  }
}

class Types : public FileTree {};

TEST_F(Types, MagicKnowsCompiledFiles) {
  write("p.mac", "PROGRAM p;\nPRINT 1;\n");
  write("m.mac", "MODULE m;\nSUB s ; SUBEND\n");
  write("w.msk", "WINDOW w { k = 1; }\n");
  EXPECT_EQ(RunShell("quillo p.mac; quillo -noxdr m.mac; quillo -w -cg w.msk\n"
                     "m=" SOURCE_DIRECTORY "/share/quillo.magic\n"
                     "file -m $m *.c?; file -bi -m $m m.cm")
                .out,
            "m.cm: compiled quillo module, version 17.0, plain\n"
            "p.cm: compiled quillo program, version 17.0, XDR\n"
            "w.cg: compiled quillo masks, version 17.0, XDR\n"
            "application/x-quillo-program; charset=binary\n");
}

}  // namespace
