// Size: what a large source needs is time in proportion, and nothing else.
#include <gtest/gtest.h>

#include "Cutil/codes.h"
#include "elut/files/program_file.h"
#include "file_tree.h"
#include "quillo_run.h"

namespace {

class Scale : public FileTree {
 protected:
  // Lines with a running number in front of and behind it.
  static std::string lines(unsigned count, const std::string& before,
                           const std::string& behind) {
    std::string all;
    for (unsigned i = 0; i < count; i++)
      all += before + std::to_string(i) + behind + "\n";
    return all;
  }
  // Compiles a program and reads it back.
  void compiles(const std::string& source) {
    write("a.mac", "PROGRAM p;\n" + source);
    EXPECT_EQ("", RunQuillo({"-noxdr", "a.mac"}).err);
    McProgram* read;
    ASSERT_EQ(RC_OK, McXdrReadFromFile("a.cm", &read));
    McProgramFree(&read);
  }
  void full(const std::string& contents, const std::string& report) {
    write("a.msk", "WINDOW w {\n" + contents + "}\n");
    const std::string printed = RunQuillo({"-w", "a.msk"}).err;
    EXPECT_NE(printed.npos, printed.find("Code:3011 ! " + report + "\n\n"));
  }
};

TEST_F(Scale, ManyOfEach) {
  compiles("INTEGER a(1" + lines(300000, "+0*", "") + ");\n;\n");
  compiles("INTEGER " + lines(65534, "v", ",") + "last;\nlast = v65533;\n");
  compiles(lines(65535, "SUB s", " ; SUBEND") + "CALL s65534;\n");
  compiles(lines(100000, "%x", " = 1.5;"));
  compiles("CALL s(" + lines(200000, "", ",") + "1);\n");
}

TEST_F(Scale, FullTables) {
  full("ON EXIT EXECUTE {\n" + lines(65536, "CALL s", ";") + "}\n",
       "too many entries");
  full(lines(65505, "a = ", ";"), "too many attributes");
  full(lines(65529, "ON KEY ", " DO x;"), "too many handlers");
}

}  // namespace
