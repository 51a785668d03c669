// Size: what a large source needs is time in proportion, and nothing else.
#include <gtest/gtest.h>

#include "Cutil/codes.h"
#include "elut/program_file.h"
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
    const RunResult run = RunQuillo({"-noxdr", "a.mac"});
    EXPECT_EQ("", run.err);
    ASSERT_EQ(0, run.status);
    McProgram* read;
    ASSERT_EQ(RC_OK, McXdrReadFromFile("a.cm", &read));
    McProgramFree(&read);
  }
  void full(const std::string& source, const std::string& report,
            const char* option = "-xdr") {
    write("a.mac", source);
    const RunResult run = RunQuillo({option, "a.mac"});
    EXPECT_EQ(RC_INVALID & 255, run.status);
    EXPECT_NE(std::string::npos, run.err.find("Code:3011 ! " + report + "\n\n"))
        << run.err.substr(0, 200);
  }
};

TEST_F(Scale, LongChains) {
  std::string chain = "PRINT 1";
  for (int i = 0; i < 1000000; i++) chain += i % 20 ? "+1" : "\n-1";
  compiles(chain + "\n;\n");
  // A bound is evaluated as well.
  compiles("INTEGER a(" + chain.substr(6) + ");\n;\n");
}

TEST_F(Scale, ManyOfEach) {
  compiles("INTEGER " + lines(65534, "v", ",") + "last;\nlast = v65533;\n");
  compiles(lines(100000, "PRINT \"text ", "\";"));
  compiles(lines(65535, "CALL s", ";"));
  compiles(lines(65535, "IMPORT i", ";") + ";\n");
  compiles(lines(65535, "SUB s", " ; SUBEND") + "CALL s65534;\n");
  compiles(lines(100000, "%x", " = 1.5;"));
  compiles(lines(65520, "COMMON c", " REAL x; END COMMON") + "x = 1;\n");
  compiles("CALL s(" + lines(200000, "", ",") + "1);\n");
}

TEST_F(Scale, FullTables) {
  full("PROGRAM p;\nINTEGER " + lines(65535, "v", ",") + "last;\n;\n",
       "too many entries");
  full("PROGRAM p;\n" + lines(65536, "CALL s", ";"), "too many entries");
  full("PROGRAM p;\n" + lines(65536, "IMPORT i", ";") + ";\n",
       "too many entries");
  full("PROGRAM p;\n" + lines(65536, "SUB s", " ; SUBEND") + ";\n",
       "too many entries");
  full("PROGRAM p;\n" + lines(65521, "COMMON c", " REAL x; END COMMON") + ";\n",
       "too many entries");
  full("WINDOW w {\n" + lines(65505, "a = ", ";") + "}\n",
       "too many attributes", "-w");
  full("WINDOW w {\n" + lines(65529, "ON KEY ", " DO x;") + "}\n",
       "too many handlers", "-w");
  full("WINDOW w {\n" + lines(60000, "a", " = 1;") + "BUTTON {\n" +
           lines(5537, "b", " = 1;") + "}\n}\n",
       "too many attribute names", "-w");
}

}  // namespace
