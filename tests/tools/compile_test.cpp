// What quillo-tools compile and deps do, run as users run them.
#include <gtest/gtest.h>

#include <set>

#include "tests/file_tree.h"
#include "tests/quillo_run.h"
#include "tests/smith/smith.h"

namespace {

namespace fs = std::filesystem;

// Both programs stand in one directory.
RunResult RunTools(const std::string& script) {
  return RunShell("tools() { quillo-tools \"$@\"; }\n" + script);
}

class CompileTest : public FileTree {
 protected:
  // Random sources of all kinds, every third one damaged. Their names.
  std::vector<std::string> write_sources(uint64_t count) {
    std::vector<std::string> names;
    for (uint64_t seed = 1; seed <= count; seed++) {
      const auto kind = static_cast<SmithKind>(seed % 3);
      SmithSource source =
          Smith(kind, seed, SmithSize::SMALL, "s" + std::to_string(seed));
      for (const auto& [name, text] : source.includes) write(name, text);
      if (seed % 9 < 3) source.text = SmithDamage(source.text, seed);
      write(source.file, source.text);
      names.push_back(source.file);
    }
    return names;
  }
};

// A source is compiled exactly when quillo has nothing to say about it, to the
// same bytes; and how many are compiled at a time changes nothing.
TEST_F(CompileTest, SameBytesAsTheCompiler) {
  const std::vector<std::string> names = write_sources(90);
  std::string list;
  for (const std::string& name : names) list += name + "\r\n";
  write("list", list);
  const RunResult one =
      RunTools("tools compile -j1 -o one --noxdr --trace @list");
  const RunResult four =
      RunTools("tools compile -j4 -o four --noxdr --trace --depfile @- <list");
  EXPECT_EQ(one.status, 1);
  EXPECT_EQ(one.out, four.out);
  EXPECT_EQ(one.err, four.err);
  size_t compiled = 0;
  for (const std::string& name : names) {
    const std::string stem = fs::path(name).stem();
    const bool mask = name.ends_with(".msk");
    const RunResult quillo = RunTools(
        "quillo -noxdr -t 1 " + std::string(mask ? "-w -cg " : "") + name);
    const bool silent =
        quillo.status == 0 && quillo.out.empty() && quillo.err.empty();
    const std::string output = stem + (mask ? ".cg" : ".cm");
    const auto expected = silent ? ReadWhole(output) : std::nullopt;
    EXPECT_EQ(ReadWhole("one/" + output), expected) << name;
    EXPECT_EQ(ReadWhole("four/" + output), expected) << name;
    EXPECT_EQ(fs::exists("four/" + output + ".d"), silent) << name;
    compiled += silent;
  }
  EXPECT_EQ(one.err, std::to_string(compiled) + " compiled, " +
                         std::to_string(names.size() - compiled) + " failed\n");
  EXPECT_GT(compiled, names.size() / 3);
  // The scanner alone finds the same files as the compile.
  std::string rules;
  for (const std::string& name : names)
    for (const char* extension : {".cm.d", ".cg.d"})
      if (const auto text =
              ReadWhole("four/" + fs::path(name).stem().string() + extension)) {
        EXPECT_EQ(RunTools("tools deps --make -o four " + name).out, *text);
        rules += *text;
      }
  EXPECT_NE(rules.find("_1.inc"), std::string::npos);
  EXPECT_EQ(RunTools("ls -A | grep quillo-").out, "");  // nothing half done
}

// A script, the status it ends with, and what it prints in both streams.
struct Case {
  const char* script;
  int status;
  const char* output;
};
constexpr const char GOOD[] = "PROGRAM p;\nPRINT 1;\n";
constexpr const char BAD[] = "PROGRAM p;\nx = 1;\n";
constexpr const char MASK[] = "WINDOW w { k = 1; }\n";
// The code of an EXECUTE handler is wrong, which the compiler's status hides.
constexpr const char BAD_MASK[] = "WINDOW w { ON ENTER EXECUTE { x = 1; } }\n";

const Case OUTCOMES[] = {
    // Names.
    {"tools compile a/x.mac a/x.msk; ls *.c?", 0,
     "x.cg\nx.cm\n2 compiled, 0 failed\n"},
    {"tools compile -q -o o/p a/x.mac; find o -type f", 0, "o/p/x.cm\n"},
    {"tools compile -q -o o --root a a ./a/../a/s.d/y --depfile-dir d\n"
     "find o d -type f | sort",
     0, "d/s.d/y.cm.d\nd/x.cg.d\nd/x.cm.d\no/s.d/y.cm\no/x.cg\no/x.cm\n"},
    {"tools compile --root a b/x.mac; echo $?; ls *.c?", 2,
     "2\nquillo-tools: 'b/x.mac' is not below 'a'\n"
     "ls: cannot access '*.c?': No such file or directory\n"},
    // Nothing is written when two outputs would be one.
    {"tools compile -o o a/x.mac b/x.mac a/x.msk; echo $?; ls", 0,
     "2\na\nb\nbad.mac\nbad.msk\n"
     "quillo-tools: 'o/x.cm' would be written twice: for 'a/x.mac' and for "
     "'b/x.mac'\n"},
    {"ln -s a c; tools compile --root . a/x.mac c/x.mac", 2,
     "quillo-tools: 'a/x.cm' would be written twice: for 'a/x.mac' and, as "
     "'c/x.cm', for 'c/x.mac'\n"},
    {"cp bad.mac y.mac; echo 1 >x.cm; ln x.cm y.cm\n"
     "tools compile -j2 y.mac a/x.mac; cat x.cm",
     0,
     "1\nquillo-tools: 'y.cm' would be written twice: for 'y.mac' and, as "
     "'x.cm', for 'a/x.mac'\n"},
    {"mkdir o; ln -s ../o/y.cm o/x.cm; cp a/x.mac y.mac\n"
     "tools compile -o o y.mac a/x.mac; ls -l o | wc -l",
     0,
     "2\nquillo-tools: 'o/y.cm' would be written twice: for 'y.mac' and, as "
     "'o/x.cm', for 'a/x.mac'\n"},
    {"mkdir d; ln -s ../x.cm d/x.cm.d; tools compile --depfile-dir d a/x.mac",
     2,
     "quillo-tools: 'x.cm' would be written twice: for 'a/x.mac' and, as "
     "'d/x.cm.d', for 'a/x.mac'\n"},
    // Those of the other kind are not written.
    {"ln -s x.cg x.cm; tools compile a/x.msk; ls *.c?", 0,
     "x.cg\nx.cm\n1 compiled, 0 failed\n"},
    // What would be written is a source, by whatever name.
    {"ln a/x.mac y.cm; mv b/x.mac y.mac; tools compile -q y.mac a/x.mac\n"
     "cmp y.cm a/x.mac; ls *.c?",
     0,
     "y.cm\nquillo-tools: 'y.cm', which would be written for 'y.mac', is the "
     "source 'a/x.mac'\n"},
    {"mv b/x.mac x.cm.d; tools compile --depfile a/x.mac x.cm.d", 2,
     "quillo-tools: 'x.cm.d', which would be written for 'a/x.mac', is the "
     "source 'x.cm.d'\n"},
    {"mkdir x.cm.d; tools compile -q --depfile a/x.mac", 1,
     "x.cm.d: error: the file cannot be stored\n"},
    // Honest: what quillo hides in its status, and one failure among others.
    {"tools compile bad.msk", 1,
     "bad.msk:1:31: error: undefined variable 'x' [undefined-name]\n"
     "  WINDOW w { ON ENTER EXECUTE { x = 1; } }\n"
     "                                ^\n0 compiled, 1 failed\n"},
    {"tools compile --format gcc bad.mac none.mac a/x.mac; echo $?; ls *.c?", 0,
     "bad.mac:2:1: error: undefined variable 'x' [undefined-name]\n"
     "none.mac: error: file not found\n1\nx.cm\n1 compiled, 2 failed\n"},
    {"printf 'PROGRAM p; ? PRINT 1;\\n' >s.mac; tools compile -q --format gcc "
     "s.mac; ls *.c?",
     2,
     "s.mac:1:12: warning: '?' begins no token\n"
     "ls: cannot access '*.c?': No such file or directory\n"},
    {"mkdir x.cm; tools compile -q a/x.mac", 1,
     "x.cm: error: the file cannot be stored\n"},
    {"ln -s /dev/full x.cg; tools compile -q a/x.msk", 1,
     "x.cg: error: the file cannot be stored\n"},
    // Compiled, but not told.
    {"tools compile --format json a/x.mac >/dev/full; echo $?; ls *.c?", 0,
     "1\nx.cm\n1 compiled, 0 failed\nquillo-tools: cannot write the "
     "output\n"},
    // What is expected; what is of no kind has the reports of that.
    {"echo 1 >x.cg; echo 2 >y.cg; echo 'k = 1;' >k; mkfifo p\n"
     "timeout 60 sh -c 'cat a/x.msk >p' &\n"
     "tools compile -q --format gcc --kind program a/x.msk p\n"
     "tools compile -q --format gcc --kind mask --remove-stale a/s.d/y k "
     "b/x.mac"
     "\necho $?; ls *.c?; tools compile --kind mask a/x.msk",
     0,
     "a/x.msk: error: this is a mask, no program\n"
     "p: error: this is a mask, no program\n"
     "a/s.d/y: error: this is no mask\n"
     "k:1:6: error: error in declaration [syntax-error]\nb/x.mac: error: this "
     "is no mask\n1\n"
     "ls: cannot access '*.c?': No such file or directory\n"
     "1 compiled, 0 failed\n"},
    // What was there before.
    {"echo old >bad.cm; tools compile -q --format json bad.mac | grep -c rule\n"
     "cat bad.cm; tools compile -q --remove-stale bad.mac | wc -l; ls *.c?",
     2, "1\nold\n3\nls: cannot access '*.c?': No such file or directory\n"},
    {"echo old >none.cg; tools compile -q --remove-stale none.msk; ls *.c?", 2,
     "none.msk: error: file not found\n"
     "ls: cannot access '*.c?': No such file or directory\n"},
    // One at a time, also pipes, and the same name type in two masks.
    {"mkfifo f.mac; timeout 60 sh -c 'cat a/x.msk >f.mac' &\n"
     "tools compile -q f.mac; ls *.c?",
     0, "f.cg\n"},
    {"cd a; mkfifo f.mac d.msk; mkdir d.mac; ln -s x.mac l.mac\n"
     "timeout 60 quillo-tools compile . && ls *.c?\n"
     "timeout 60 quillo-tools check .",
     0,
     "l.cm\nx.cg\nx.cm\n3 files checked: nothing found\n"
     "3 compiled, 0 failed\n"},
    // Where there is no room for threads. A sanitizer does not even start.
    {"few() { quillo-tools --version && ulimit -v 12000 && quillo-tools "
     "--version; } >/dev/null 2>&1\n"
     "(few) && few; tools compile -j9 a/x.mac a/x.msk; tools check -j9 a b",
     0, "3 files checked: nothing found\n2 compiled, 0 failed\n"},
    {"echo 'WINDOW w { k = 1; }' >1.msk; echo 'WINDOW w { k = \"1\"; }' "
     ">2.msk\n"
     "tools compile -j1 [12].msk",
     0, "2 compiled, 0 failed\n"},
    // Interrupted: nothing half done stays; a second signal does not wait.
    {"{ echo 'PROGRAM p;'; yes 'PRINT 1;' | head -200000; } >1.mac\n"
     "cp 1.mac 2.mac; for t in 04 06 08 10 12; do\n"
     "quillo-tools compile -q -j2 1.mac 2.mac & sleep 0.$t; kill $!; wait $!\n"
     "done 2>err; ls -A | grep quillo-; mkfifo x.cm\n"
     "quillo-tools compile -q a/x.mac & sleep 0.3; kill $!; sleep 0.1\n"
     "{ kill $! && wait $!; } 2>err",
     143, ""},
    // Usage.
    {"tools compile", 2,
     "quillo-tools: source is required\n"
     "Run with --help for more information.\n"},
    {"mkdir e; tools compile e", 2, "quillo-tools: there is no source\n"},
    {"tools compile @none", 2,
     "quillo-tools: the list 'none' cannot be read\n"},
    {"echo >f; tools compile -o f a/x.mac", 2,
     "quillo-tools: the directory 'f/' cannot be made\n"},
    {"tools compile a/x.mac --deepfile 2>&1 | sed -n 2p", 0,
     "did you mean '--depfile'?\n"},
    // deps
    {"tools deps i.mac none.mac", 1,
     "i.mac\n  a/1.inc\n  b/2 $.inc (missing)\n"
     "quillo-tools: file 'none.mac' not found\n"},
    {"tools deps --ninja i.mac a/x.msk -o 'o d'", 0,
     "o\\ d/i.cm: i.mac \\\n a/1.inc \\\n b/2\\ $$.inc\no\\ d/x.cg: a/x.msk\n"},
    {"tools deps --json i.mac | tr -d '\\n'", 0,
     "{\"version\":1,\"sources\":[{\"source\":\"i.mac\",\"kind\":\"program\","
     "\"output\":\"i.cm\",\"includes\":[{\"file\":\"a/1.inc\",\"missing\":"
     "false},{\"file\":\"b/2 $.inc\",\"missing\":true}]}]}"},
    {"tools deps --make 'b/=.mac'", 1,
     "quillo-tools: '=.cm' cannot stand in a depfile\n"},
};

TEST_F(CompileTest, Outcomes) {
  for (const Case& row : OUTCOMES) {
    for (const auto& entry : fs::directory_iterator(".")) fs::remove_all(entry);
    write("a/x.mac", GOOD);
    write("a/x.msk", MASK);
    write("a/s.d/y", GOOD);
    write("b/x.mac", GOOD);
    write("bad.mac", BAD);
    write("bad.msk", BAD_MASK);
    if (std::string(row.script).find("deps") != std::string::npos) {
      write("i.mac",
            "PROGRAM i;\nINCLUDE \"a/1.inc\"; # INCLUDE \"no\";\nPRINT "
            "\"INCLUDE\";\nx = 1;\n");
      write("a/1.inc", "INCLUDE \"b/2 $.inc\";\nSUB s ; SUBEND\n");
      write("b/=.mac", GOOD);
    }
    const RunResult result = RunTools(row.script);
    EXPECT_EQ(result.status, row.status) << row.script;
    EXPECT_EQ(result.out + result.err, row.output) << row.script;
  }
}

}  // namespace
