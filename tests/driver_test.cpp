// The command line, and what a run leaves: the program itself is run.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "file_tree.h"
#include "quillo_run.h"
#include "xd_support.h"

namespace {

using std::filesystem::exists;
using Words = std::vector<std::string>;

constexpr char PROGRAM[] = "PROGRAM p;\nPRINT 1;\n";
constexpr char MASK[] = "WINDOW w { ; }\n";

constexpr char USAGE[] =
    "usage: quillo [ options] exportfile\n"
    "       -h              help.\n"
    "       -w              Maskendefinition lesen.\n"
    "       -cg             Maskendefinition compilieren.\n"
    "       -print          Maskendefinition ausgeben.\n"
    "       -t level        Trace.\n"
    "       -o destination  destination filename.\n"
    "       -xdr          \tuse xdr to store (default).\n"
    "       -noxdr          don't use xdr to store.\n"
    "       -xrm resourceline.\n";

class Driver : public FileTree {
 protected:
  Driver() {
    write("a.mac", PROGRAM);
    write("b.mac", PROGRAM);
    write("m.msk", MASK);
  }
  static RunResult run(const std::string& arguments) {
    std::istringstream words(arguments);
    Words list;
    for (std::string word; words >> word;) list.push_back(word);
    return RunQuillo(list);
  }
};

TEST_F(Driver, CommandLinesInError) {
  const std::string long_name(256, 'x');
  std::string sources;
  for (int i = 0; i < 257; i++) sources += " a.mac";
  const struct {
    std::string arguments;
    int status;
    std::string message;
  } rows[] = {
      {"", 1, "missing filename"},
      {"-w -cg -t 3", 1, "missing filename"},
      {"-xrm x a.mac", 1, "illegal option: xrm"},
      {"- a.mac", 1, "illegal option: "},
      {"-H", 1, "illegal option: H"},
      {"-dumpx", 1, "illegal option: dumpx"},
      {"a.mac -bad -h", 1, "illegal option: bad"},
      {"a.mac -o", 3, "missing destination filename"},
      {"a.mac -o -w", 3, "missing destination filename"},
      {"a.mac -t", 3, "missing tracelevel"},
      {"a.mac -t -1", 3, "missing tracelevel"},
      {"a.mac b.mac -o none", 5, "directory not found"},
      {"a.mac b.mac -o a.mac", 5, "directory not found"},
      {"a.mac -o " + long_name, 3, "destination filename too long"},
      {"a.mac -bad -o " + long_name, 1, "illegal option: bad"},
      {sources, 1, "too many source files"},
      {sources + " -h", 1, "too many source files"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    const RunResult result = run(row.arguments);
    EXPECT_EQ(row.status, result.status);
    EXPECT_EQ("quillo: " + row.message + "\n" + USAGE, result.err);
    EXPECT_EQ("", result.out);
    EXPECT_FALSE(exists("a.cm"));
  }
}

TEST_F(Driver, Help) {
  for (const char* arguments : {"-h", "-h a.mac", "-w a.mac -h -bad", "-h -o"})
    for (const RunResult& result : {run(arguments)}) {
      SCOPED_TRACE(arguments);
      EXPECT_EQ(0, result.status);
      EXPECT_EQ("", result.err);
      EXPECT_EQ(std::string(USAGE) +
                    "Compiler fuer Programme, Module und Maskendefinitionen.\n",
                result.out);
      EXPECT_FALSE(exists("a.cm"));
    }
}

TEST_F(Driver, OutputNames) {
  write("src/c.mac", PROGRAM);
  write("src/d.e.mac", PROGRAM);
  write("src.d/f", PROGRAM);
  write("none", PROGRAM);
  std::filesystem::create_directory("dir");
  std::filesystem::create_directory("v1.2");
  const struct {
    const char* arguments;
    Words outputs;
  } rows[] = {
      {"src/c.mac", {"c.cm"}},
      {"src/d.e.mac", {"d.e.cm"}},
      {"none", {"none.cm"}},
      {"src.d/f", {"f.cm"}},
      {"a.mac -o out.x", {"out.cm"}},
      {"-o out a.mac", {"out.cm"}},
      {"-o first -o second a.mac", {"second.cm"}},
      {"a.mac b.mac -o dir", {"dir/a.cm", "dir/b.cm"}},
      {"a.mac b.mac -o dir/", {"dir/a.cm", "dir/b.cm"}},
      {"a.mac src/c.mac", {"a.cm", "c.cm"}},
      {"a.mac -o dir/", {"dir/.cm"}},
      {"a.mac -o v1.2/out", {"v1.cm"}},  // cut at the last point of them all
      {"none a.mac -o v1.2", {"v1.cm", "v1.2/a.cm"}},
      {"-w -cg m.msk", {"m.cg"}},
      {"-w -cg m.msk -o out.x", {"out.cg"}},
      {"-w m.msk", {}},
      {"-t abc -t 70000 -dump a.mac", {"a.cm"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    const RunResult result = run(row.arguments);
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    for (const std::string& name : row.outputs)
      EXPECT_TRUE(std::filesystem::remove(name)) << name;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(root()))
      EXPECT_FALSE(entry.path().extension() == ".cm" ||
                   entry.path().extension() == ".cg")
          << entry.path();
  }
}

TEST_F(Driver, TheLastFileDecides) {
  write("bad.mac", "PROGRAM p;\nPRINT );\n");
  write("bad.msk", "WINDOW w { }\n");
  const struct {
    const char* arguments;
    int status;
    const char* err;
    Words outputs, absent;
  } rows[] = {
      {"a.mac missing.mac b.mac",
       1,
       "file 'missing.mac' not found\n",
       {"a.cm"},
       {"b.cm"}},
      {"a.mac src b.mac", 1, "file 'src' not found\n", {"a.cm"}, {"b.cm"}},
      {"bad.mac a.mac",
       0,
       "0:bad.mac Line:2 Code:0 ! syntax error\n"
       "syntax error in line 2\nPRINT );\n"
       "quillo: Cannot compile bad.mac. Error Code: 1\n",
       {"a.cm"},
       {"bad.cm"}},
      {"a.mac bad.mac",
       1,
       "0:bad.mac Line:2 Code:0 ! syntax error\n"
       "syntax error in line 2\nPRINT );\n"
       "quillo: Cannot compile bad.mac. Error Code: 1\n",
       {"a.cm"},
       {"bad.cm"}},
      {"-w -cg m.msk bad.msk",
       5281 & 255,
       "0:bad.msk Line:1 Code:0 ! syntax error\n",
       {"m.cg"},
       {"bad.cg"}},
      {"-w -cg bad.msk m.msk",
       0,
       "0:bad.msk Line:1 Code:0 ! syntax error\n",
       {"m.cg"},
       {"bad.cg"}},
      {"-cg m.msk",
       5,
       "0:m.msk Line:1 Code:5 ! error in declaration\n\n"
       "quillo: Cannot compile m.msk. Error Code: 5\n",
       {},
       {"m.cg", "m.cm"}},
      {"-o none/out a.mac",
       1008 & 255,
       "quillo: Cannot store none/out.cm. Error Code: 1008\n",
       {},
       {}},
      {"-w -cg -o none/out m.msk", 0, "", {}, {}},  // nobody looks at it
  };
  std::filesystem::create_directory("src");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    const RunResult result = run(row.arguments);
    EXPECT_EQ(row.status, result.status);
    EXPECT_EQ(row.err, result.err);
    EXPECT_EQ("", result.out);
    for (const std::string& name : row.outputs)
      EXPECT_TRUE(std::filesystem::remove(name)) << name;
    for (const std::string& name : row.absent) EXPECT_FALSE(exists(name));
  }
}

// The last option decides about the transport, which is byte 6 of a file.
TEST_F(Driver, Transports) {
  const struct {
    const char* arguments;
    const char* output;
    const char* header;
  } rows[] = {
      {"a.mac", "a.cm", "EE EE 01 11 00 20 01 00"},
      {"-noxdr a.mac", "a.cm", "EE EE 01 11 00 20 04 00"},
      {"-noxdr a.mac -xdr", "a.cm", "EE EE 01 11 00 20 01 00"},
      {"-w -cg m.msk -noxdr", "m.cg", "EE EE 03 11 00 20 04 00"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(0, run(row.arguments).status);
    EXPECT_EQ(row.header, ToHex(ReadWhole(row.output)->substr(0, 8)));
  }
}

TEST_F(Driver, SourcesOfEveryKind) {
  std::string garbage;
  for (int i = 0; i < 5000; i++)
    garbage += static_cast<char>((i * i * 7 + i) % 251 + i % 5);
  write("garbage", garbage);
  write("zeros", std::string(70000, '\0'));
  write("echo", "\001\002\n");
  make_pipe("pipe");
  std::thread writer(
      [] { std::ofstream("pipe") << "PROGRAM p;\nPRINT );\nPRINT 1;\n"; });
  const RunResult piped = run("pipe");
  writer.join();
  EXPECT_EQ(1, piped.status);
  EXPECT_EQ(
      "0:pipe Line:2 Code:0 ! syntax error\n"
      "syntax error in line 2\nPRINT );\n"
      "quillo: Cannot compile pipe. Error Code: 1\n",
      piped.err);
  const std::string empty =
      " Code:5 ! error in declaration\n\n"
      "quillo: Cannot compile ";
  EXPECT_EQ("-1:/dev/null Line:1" + empty + "/dev/null. Error Code: 5\n",
            run("/dev/null").err);
  EXPECT_EQ("-1:zeros Line:1" + empty + "zeros. Error Code: 5\n",
            run("zeros").err);
  EXPECT_EQ("\001\002", run("echo").out);
  for (const char* arguments : {"garbage", "-w -cg garbage"})
    EXPECT_GE(run(arguments).status, 1) << arguments;
  EXPECT_FALSE(exists("garbage.cm") || exists("garbage.cg"));
}

TEST_F(Driver, LongNames) {
  // Together with ".cm" 255 bytes, which a directory of names this long takes.
  std::string directory;
  for (int i = 0; i < 5; i++) directory += std::string(49, 'd') + "/";
  std::filesystem::create_directories(directory);
  ASSERT_EQ(250u, directory.size());
  EXPECT_EQ(0, RunQuillo({"a.mac", "-o", directory + "ab.x"}).status);
  EXPECT_TRUE(exists(directory + "ab.cm"));
  // The name as it is given has its own limit, and it comes first.
  EXPECT_EQ(0, RunQuillo({"a.mac", "-o", directory + "cd.xy"}).status);
  const RunResult one_more = RunQuillo({"a.mac", "-o", directory + "abc"});
  EXPECT_EQ(1017 & 255, one_more.status);
  EXPECT_EQ(0u, one_more.err.find("quillo: Cannot store "));
  EXPECT_TRUE(one_more.err.ends_with(". Error Code: 1017\n"));
  // Such a file is not even parsed, and the loop goes on.
  write("abc.mac", "(");
  const RunResult loop =
      RunQuillo({"abc.mac", "missing", "-o", directory.substr(0, 249)});
  EXPECT_EQ(1, loop.status);
  EXPECT_NE(std::string::npos, loop.err.find("1017\nfile 'missing' not found"));
  // A mask is measured only when it is compiled.
  EXPECT_EQ(0, RunQuillo({"-w", "m.msk", "-o", directory + "abc"}).status);
  EXPECT_EQ(1017 & 255,
            RunQuillo({"-w", "-cg", "m.msk", "-o", directory + "abc"}).status);
}

// Failures of writing: at once, when the buffer is handed on, and at the end.
TEST_F(Driver, FullDestinations) {
  std::filesystem::create_symlink("/dev/full", "full.cm");
  std::filesystem::create_symlink("/dev/full", "full.cg");
  std::string large = "PROGRAM p;\n";
  for (int i = 0; i < 20000; i++) large += "PRINT 1;\n";
  write("large.mac", large);
  const RunResult full = run("-o full a.mac");
  EXPECT_EQ(6198 & 255, full.status);
  EXPECT_EQ("quillo: Cannot store full.cm. Error Code: 6198\n", full.err);
  EXPECT_TRUE(std::filesystem::is_symlink("full.cm"));
  const RunResult mask = run("-w -cg -o full m.msk");
  EXPECT_EQ(0, mask.status);
  EXPECT_EQ("", mask.err);
}

TEST_F(Driver, WhatCannotBeReadOrWritten) {
  std::filesystem::create_directory("a.cm");
  const RunResult result = run("a.mac");
  EXPECT_EQ(1008 & 255, result.status);
  EXPECT_EQ("quillo: Cannot store a.cm. Error Code: 1008\n", result.err);
  std::filesystem::create_symlink("nowhere", "dangling.mac");
  std::filesystem::create_symlink("loop.mac", "loop.mac");
  for (const char* source : {"dangling.mac", "loop.mac", "a.mac/a.mac"})
    EXPECT_EQ("file '" + std::string(source) + "' not found\n",
              run(source).err);
}

// The listing goes past the channels, and so do echoed characters; the order
// of the text must be that of the run all the same.
TEST_F(Driver, StandardOutputInOrder) {
  write("e.mac", "MODULE m;\n\001INCLUDE \"none\";\n");
  write("none", "");
  write("w.msk", "WINDOW w { ; }\n\002WINDOW w { ; }\n");
  write("n\\n.mac", "");
  EXPECT_EQ(0u, run("-dump e.mac").out.find("\001\n-----"));
  EXPECT_EQ("\002Ignore 2nd definition of editor w\nWINDOW w\n{\n}\n",
            run("-w -print w.msk").out);
  EXPECT_EQ("file 'x\n' not found\n", run("x\\n").err);
}

}  // namespace
