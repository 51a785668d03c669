#include "quillo/defaults.h"

#include "file_tree.h"
#include "rows.h"
#include "services/environment.h"

namespace {

constexpr DefaultsEntry TABLE[] = {{"macro", "util", "glob", "MCPATH"}};

class DefaultsFiles : public FileTree {
 protected:
  DefaultsFiles() {
    for (const char* name : {"MCPATH", "HD_VE", "HD_LA", "TQS_MSG_ID"})
      set_environment(name, nullptr);
    set_environment("HD_U", (root() + "/u").c_str());
    write("u/1700/msg_c/de/cad.txt",
          "1 TRT 1 : MMSGID 20:Test\n12 Schliessen\n13 " +
              std::string(10000, 'c') + "\n");
  }
};

// The defaults of one run.
struct DefaultsRun {
  void start_up() {
    EXPECT_EQ(0, defaults.load_files("default", "1700", TABLE, 1, "dflt"));
  }
  int load(const std::string& name) {
    return defaults.load_file("default", name.c_str());
  }
  // The value of a resource; "-" when it has none.
  std::string value(const std::string& resource,
                    const char* of_class = "default") {
    const char* text = defaults.value(of_class, resource.c_str());
    return text == nullptr ? "-" : text;
  }
  // The values of these resources, a comma behind each.
  std::string values(const std::string& resources) {
    std::string all;
    std::istringstream names(resources);
    for (std::string name; std::getline(names, name, ',');)
      all += value(name) + ",";
    return all;
  }

  CatalogSet catalogs;
  Defaults defaults{&catalogs};
};

// Each file of the search order with its place in the precedence.
TEST_F(DefaultsFiles, LaterFilesOverrideEarlierOnes) {
  char host[HOST_NAME_BYTES];
  if (!EnvHostName(host)) GTEST_SKIP() << "the host's name is too long";
  // The path variable, "-" when it is not set; the file.
  constexpr char ROWS[] = R"(
    -        | u/1700/util/glob/dflt/macro.dflt
    -        | u/1700/util_s/glob/dflt/macro.dflt
    -        | u/1700/util_c/glob/dflt/macro.dflt
             | u/1700/util_c/glob/dflt/macro.dflt
    A; B ;   | A/glob/dflt/macro.dflt
    A; B ;   | A/dflt/macro.dflt
    ;{{09}}; | dflt/macro.dflt | not read
    A;B      | macro.dflt
    ;        | macro.dflt
    A;B      | macro-HOST.dflt)";
  for (auto [path, file, not_read] : Rows<3>(ROWS)) {
    if (const size_t at = file.find("HOST"); at != file.npos)
      file.replace(at, 4, host);
    write(file, "winner: " + file + "\n" + file + ": here\n");
    set_environment("MCPATH", path == "-" ? nullptr : path.c_str());
    DefaultsRun run;
    run.start_up();
    EXPECT_EQ(not_read.empty() ? "here" : "-", run.value(file)) << path;
    EXPECT_EQ(not_read.empty(), run.value("winner") == file) << path;
  }
}

TEST_F(DefaultsFiles, ReadsLines) {
  // A file, and values of resources in it.
  constexpr char ROWS[] = R"(
    a : {{09}}1{{20}}^Jb.c*d:2 | a,b.c*d | 1 ,2,
    ! a: 1^J!a: 2^Jb: 3 | a,!a,b | -,-,3,
    # a: 1^J#b: 2^J# include "f"^Jc: 3 | #b,c | -,3,
    no value^J: no name^Ja b: 1^Jc^J: 2^Jd: 3 | no,,a,b,c,d | -,-,-,-,-,3,
    a: 1\^J  2\^J3^Jb: x | a,b | 1  23,x,
    a: 1\ | a | 1,
    // Three octal digits make a character, and nothing less.
    a: x\ny\101\60\8\1019\t\" | a | x^JyA608A9t",
    a: \377\078\708\800\401.\77 | a | {{FF}}078708800^A.77,
    a: 1^Ja: 2^Jb: 3\101 | a,b | 2,3A,
    a^M: 1^M^J^Zz: ^Z2^M | a,z | 1,2,
    a: 1^@x^Jb: 2 | a,b | 1,2,
    // References to messages; the first that is not complete ends the replacing.
    a: MSGGET("cad.txt", 12, "Close") it | a | Schliessen it,
    a: MSGGET ( "no.txt" , 12 , "Close" ; ) ; MSGGET("cad.txt",12,"") | a
      + | Close ; Schliessen,
    a: MSGGET("no.txt", 12, "{{5000*d}}") | a | {{5000*d}},
    a: MSGGET("cad.txt", 12, "Close"^Jb: x
      + | a,b | MSGGET("cad.txt", 12, "Close",x,)";
  for (const auto& [file, resources, values] : Rows<3>(ROWS)) {
    DefaultsRun run;
    write("f", file);
    EXPECT_EQ(0, run.load("f"));
    EXPECT_EQ(values, run.values(resources)) << file;
  }
}

TEST_F(DefaultsFiles, BoundsNesting) {
  for (int i = 0; i <= 17; i++) {
    const std::string number = std::to_string(i);
    write("f" + number, "deepest: " + number + "\n#include \"f" +
                            std::to_string(i + 1) + "\"\n");
  }
  // A name of 511 characters with the directory is the longest.
  std::string path;
  for (int i = 0; i < 5; i++) path += std::string(99, 'd') + "/";
  write(path + "elevenchars", "eleven: yes");
  write(path + "twelve_chars", "twelve: yes");
  write(path + "g", "#include \"elevenchars\"\n#include \"twelve_chars\"");
  DefaultsRun run;
  EXPECT_EQ(0, run.load("f0"));
  EXPECT_EQ(0, run.load(path + "g"));
  EXPECT_EQ("16,yes,-,", run.values("deepest,eleven,twelve"));
}

// A run follows a thousand includes and reads 16 MiB, also when references make
// more of a file.
TEST_F(DefaultsFiles, BoundsNumberAndSize) {
  const std::string half = "a: 1\n!" + std::string((8 << 20) - 6, 'x');
  write("half", half);
  write("whole", half + half.substr(5) + "\nb: 22");
  write("references",
        Expanded("{{2000*!MSGGET(\"cad.txt\", 13, \"\")\n}}c: 3\n"));
  write("small", "d: 4\n");
  write("many", Expanded("{{999*#include \"none\"\n}}"));
  write("last", "#include \"small\"\n");
  write("beyond", "b: 5\n#include \"small\"\n");
  write("itself", Expanded("{{100*#include \"itself\"\n}}c: 6\n"));
  constexpr char ROWS[] = R"(
    half small | 1,-,-,4, ;; half half small | 1,-,-,-,
    // The last byte is not read.
    whole small | 1,2,-,-, ;; references small | -,-,-,-,
    many last | -,-,-,4, ;; many last half beyond | 1,5,-,4,
    many last beyond | -,5,-,4, ;; many beyond | -,5,-,4,
    itself beyond | -,5,6,-,)";
  for (const auto& [files, values] : Rows<2>(ROWS)) {
    DefaultsRun run;
    std::istringstream names(files);
    for (std::string name; names >> name;) EXPECT_EQ(0, run.load(name));
    EXPECT_EQ(values, run.values("a,b,c,d")) << files;
  }
}

// The class asked for last is remembered; another one has its own values.
TEST_F(DefaultsFiles, Classes) {
  write("f", "a: 1");
  write("g", "a: 2\nb: 3");
  const std::string longest(31, 'c');
  DefaultsRun run;
  EXPECT_EQ(0, run.defaults.load_file("one", "f"));
  EXPECT_EQ("1", run.value("a", "one"));
  EXPECT_EQ("-", run.value("a", "two"));
  EXPECT_EQ(0, run.defaults.load_file("two", "g"));
  EXPECT_EQ(0, run.defaults.load_file(longest.c_str(), "f"));
  EXPECT_EQ(0, run.defaults.ensure_class("two"));
  EXPECT_EQ(0, run.defaults.ensure_class("empty"));
  for (const char* of_class : {"two", "one", "two"})
    EXPECT_EQ(*of_class == 'o' ? "1-" : "23",
              run.value("a", of_class) + run.value("b", of_class));
  EXPECT_EQ("1-", run.value("a", longest.c_str()) + run.value("a", "empty"));
  for (const std::string& name : {std::string(), longest + "c"}) {
    EXPECT_EQ(3005, run.defaults.load_file(name.c_str(), "f"));
    EXPECT_EQ(3005, run.defaults.ensure_class(name.c_str()));
  }
}

TEST_F(DefaultsFiles, SkipWhatCannotBeRead) {
  for (const char* name : {"A/dflt", "B/dflt/macro.dflt"})
    std::filesystem::create_directories(name);
  make_pipe("A/dflt/macro.dflt");
  const std::string large(1 << 20, '"');
  write("macro.dflt", large + "MSGGET(" + large + "\na: 1");
  set_environment("MCPATH", "A;B;/dev/zero;missing");
  DefaultsRun run;
  run.start_up();
  EXPECT_EQ("1", run.value("a"));
  for (const char* name : {"A/dflt/macro.dflt", "B/dflt", "missing"})
    EXPECT_EQ(3071, run.load(name)) << name;
}

}  // namespace
