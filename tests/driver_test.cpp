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
    write("m.msk", "WINDOW w { ; }\n");
  }
  static RunResult run(const std::string& arguments) {
    std::istringstream words(arguments);
    return RunQuillo({std::istream_iterator<std::string>(words), {}});
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
      {"-xrm x a.mac", 1, "illegal option: xrm"},
      {"a.mac -bad -h", 1, "illegal option: bad"},
      {"a.mac -o -w", 3, "missing destination filename"},
      {"a.mac -t -1", 3, "missing tracelevel"},
      {"a.mac b.mac -o none", 5, "directory not found"},
      {"a.mac -o " + long_name, 3, "destination filename too long"},
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
  const RunResult help = run("-w a.mac -h -bad");
  EXPECT_EQ(0, help.status);
  EXPECT_EQ(std::string(USAGE) +
                "Compiler fuer Programme, Module und Maskendefinitionen.\n",
            help.out);
}

TEST_F(Driver, OutputNames) {
  write("src.d/f", PROGRAM);
  write("src/d.e.mac", PROGRAM);
  std::filesystem::create_directory("v1.2");
  const std::pair<const char*, Words> rows[] = {
      {"src/d.e.mac", {"d.e.cm"}},
      {"src.d/f", {"f.cm"}},
      {"-o first -o out.x a.mac", {"out.cm"}},
      {"a.mac b.mac -o src", {"src/a.cm", "src/b.cm"}},
      {"a.mac -o src/", {"src/.cm"}},
      {"a.mac -o v1.2/out", {"v1.cm"}},  // cut at the last point of them all
      {"-w -cg m.msk -o out.x", {"out.cg"}},
      {"-w m.msk", {}},
      {"-t abc -t 70000 -dump a.mac", {"a.cm"}},
  };
  for (const auto& [arguments, outputs] : rows) {
    SCOPED_TRACE(arguments);
    const RunResult result = run(arguments);
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    for (const std::string& name : outputs)
      EXPECT_TRUE(std::filesystem::remove(name)) << name;
    for (const char* name : {"a.cm", "m.cg", "m.cm", "first.cm"})
      EXPECT_FALSE(exists(name)) << name;
  }
}

TEST_F(Driver, TheLastFileDecides) {
  write("bad.mac", "PROGRAM p;\nPRINT );\n");
  write("bad.msk", "WINDOW w { }\n");
  std::filesystem::create_directory("src");
  const std::string bad =
      "0:bad.mac Line:2 Code:0 ! syntax error\n"
      "syntax error in line 2\nPRINT );\n"
      "quillo: Cannot compile bad.mac. Error Code: 1\n";
  const std::string bad_mask = "0:bad.msk Line:1 Code:0 ! syntax error\n";
  const struct {
    const char* arguments;
    int status;
    std::string err;
    const char* output;  // the only one
  } rows[] = {
      {"a.mac no.mac b.mac", 1, "file 'no.mac' not found\n", "a.cm"},
      {"bad.mac a.mac", 0, bad, "a.cm"},
      {"a.mac bad.mac", 1, bad, "a.cm"},
      {"-w -cg m.msk bad.msk", 5281 & 255, bad_mask, "m.cg"},
      {"-w -cg bad.msk m.msk", 0, bad_mask, "m.cg"},
      {"-o none/out a.mac", 1008 & 255,
       "quillo: Cannot store none/out.cm. Error Code: 1008\n", ""},
      {"-w -cg -o none/out m.msk", 0, "", ""},  // nobody looks at it
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    const RunResult result = run(row.arguments);
    EXPECT_EQ(row.status, result.status);
    EXPECT_EQ(row.err, result.err);
    EXPECT_EQ("", result.out);
    for (const char* name : {"a.cm", "b.cm", "m.cm", "m.cg", "bad.cm"})
      EXPECT_EQ(row.output == std::string(name), std::filesystem::remove(name));
  }
}

// The last option decides about the transport, which is byte 6 of a file.
TEST_F(Driver, Transports) {
  EXPECT_EQ(0, run("-noxdr a.mac -xdr").status);
  EXPECT_EQ("EE EE 01 11 00 20 01 00",
            ToHex(ReadWhole("a.cm").value().substr(0, 8)));
}

TEST_F(Driver, SourcesOfEveryKind) {
  make_pipe("pipe");
  std::thread writer([] { std::ofstream("pipe") << "PROGRAM p;\nPRINT );\n"; });
  const RunResult piped = run("pipe");
  writer.join();
  EXPECT_EQ(
      "0:pipe Line:2 Code:0 ! syntax error\n"
      "syntax error in line 2\nPRINT );\n"
      "quillo: Cannot compile pipe. Error Code: 1\n",
      piped.err);
  EXPECT_EQ("file 'a.mac/a.mac' not found\n", run("a.mac/a.mac").err);
}

TEST_F(Driver, LongNames) {
  // Together with ".cm" 255 bytes, which a directory of names this long takes.
  std::string directory;
  for (int i = 0; i < 5; i++) directory += std::string(49, 'd') + "/";
  std::filesystem::create_directories(directory);
  EXPECT_EQ(0, run("a.mac -o " + directory + "ab.x").status);
  EXPECT_TRUE(exists(directory + "ab.cm"));
  EXPECT_EQ(1017 & 255, run("a.mac -o " + directory + "abc").status);
  // Such a file is not even parsed, and the loop goes on.
  write("abc.mac", "(");
  const std::string err = run("abc.mac missing -o " + directory).err;
  EXPECT_EQ(0u, err.find("quillo: Cannot store "));
  EXPECT_TRUE(err.ends_with(" Code: 1017\nfile 'missing' not found\n"));
  // A mask is measured only when it is compiled.
  EXPECT_EQ(0, run("-w m.msk -o " + directory + "abc").status);
  EXPECT_EQ(1017 & 255, run("-w -cg m.msk -o " + directory + "abc").status);
}

TEST_F(Driver, FullDestinations) {
  std::filesystem::create_symlink("/dev/full", "full.cm");
  EXPECT_EQ("quillo: Cannot store full.cm. Error Code: 6198\n",
            run("-o full a.mac").err);
  EXPECT_TRUE(std::filesystem::is_symlink("full.cm"));
  // A file-size limit is a failed write, not a killed process.
  EXPECT_EQ(6198 & 255, WEXITSTATUS(std::system("ulimit -f 0; " QUILLO_BINARY
                                                " a.mac 2>/dev/null")));
  EXPECT_FALSE(exists("a.cm"));
}

// The listing goes past the channels, and so do echoed characters; the order
// of the text must be that of the run all the same.
TEST_F(Driver, StandardOutputInOrder) {
  write("w.msk", "WINDOW w { ; }\n\002WINDOW w { ; }\n");
  EXPECT_EQ("\002Ignore 2nd definition of editor w\nWINDOW w\n{\n}\n",
            run("-w -print w.msk").out);
  EXPECT_EQ("file 'x\n' not found\n", run("x\\n").err);
}

}  // namespace
