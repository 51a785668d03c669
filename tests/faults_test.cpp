// Faults of the machine: every allocation and every written byte fails once,
// over the examples. A run ends with a code that says so, or it does not need
// what failed and does its work; it never leaves a part of a program behind.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <functional>

#include "Cutil/codes.h"
#include "Cutil/ut_memory.h"
#include "driver_run.h"
#include "elut/mask_file.h"
#include "elut/mask_print.h"
#include "elut/parse.h"
#include "elut/program_file.h"
#include "elut/token_strings.h"
#include "file_tree.h"
#include "mask_support.h"
#include "quillo_run.h"

namespace {

using std::filesystem::exists;

constexpr int TRANSPORTS[] = {XD_TRANSPORT_XDR, XD_TRANSPORT_PLAIN};

// Runs `step` with the first, the second, the third ... allocation failing
// until it needs no more of them. `step` is told whether one failed, behind
// its work.
template <class Work, class Judge>
void EachAllocationFails(Work work, Judge judge) {
  for (uint64_t nth = 1;; nth++) {
    UtFailAllocation(nth);
    const auto result = work();
    const bool struck = UtPendingFault() == 0;
    UtFailAllocation(0);
    judge(result, struck);
    if (!struck || testing::Test::HasFailure()) {
      EXPECT_FALSE(testing::Test::HasFailure()) << "allocation " << nth;
      return;
    }
  }
}

// More than the buffers of reader, stream and file hold: a fault may strike
// when the first part has gone well.
constexpr char LARGE_SOURCE[] = "large.mac";

class Faults : public FileTree {
 protected:
  Faults() {
    std::filesystem::create_directory_symlink(SOURCE_DIRECTORY "/examples",
                                              "examples");
    std::string large = "PROGRAM large;\n";
    for (int i = 0; i < 8000; i++)
      large += "PRINT \"text" + std::to_string(i) + "\";\n";
    write(LARGE_SOURCE, large);
    sources_ = Examples(".mac");
    sources_.push_back(LARGE_SOURCE);
    signal(SIGXFSZ, SIG_IGN);
    ForgetRuns();
  }
  ~Faults() override { ForgetRuns(); }

  std::vector<std::string> sources_;
};

// Whole runs -----------------------------------------------------------------

TEST_F(Faults, EachAllocationOfARun) {
  for (const std::string& source : sources_) {
    for (const char* transport : {"-xdr", "-noxdr"}) {
      SCOPED_TRACE(source + " " + transport);
      const auto run = [&] {
        ForgetRuns();
        std::filesystem::remove("a.cm");
        return RunDriverHere({"-dump", transport, "-o", "a", source});
      };
      const DriverResult good = run();
      ASSERT_EQ("", good.err);
      ASSERT_EQ(RC_OK, good.status);
      const std::string bytes = ReadWhole("a.cm").value();
      const std::string cannot_compile =
          "quillo: Cannot compile " + source + ". Error Code: 1001\n";
      EachAllocationFails(run, [&](const DriverResult& result, bool struck) {
        switch (result.status) {
          case RC_OK:
            EXPECT_EQ(bytes, ReadWhole("a.cm"));
            EXPECT_EQ(good.out, result.out);
            return;
          case RC_SYNTAX:  // the exit status of a run without its source
            EXPECT_EQ("file '" + source + "' not found\n", result.err);
            break;
          case RC_NO_MEMORY: EXPECT_EQ(cannot_compile, result.err); break;
          case RC_BODY_FAILED:
            EXPECT_EQ("quillo: Cannot store a.cm. Error Code: 3016\n",
                      result.err);
            break;
          default: ADD_FAILURE() << result.status << result.err;
        }
        EXPECT_TRUE(struck);
        EXPECT_FALSE(exists("a.cm"));
      });
    }
  }
}

TEST_F(Faults, EachAllocationOfAMaskRun) {
  for (const std::string& source : Examples(".msk")) {
    SCOPED_TRACE(source);
    const auto run = [&] {
      ForgetRuns();
      std::filesystem::remove("a.cg");
      return RunDriverHere({"-w", "-cg", "-o", "a", source});
    };
    ASSERT_EQ(RC_OK, run().status);
    const std::string bytes = ReadWhole("a.cg").value();
    EachAllocationFails(run, [&](const DriverResult& result, bool struck) {
      if (result.status == RC_OK) {
        // The run does not look at the writing, which ends where it failed.
        const std::string written = ReadWhole("a.cg").value();
        EXPECT_EQ(bytes.substr(0, struck ? written.size() : bytes.size()),
                  written);
        return;
      }
      EXPECT_TRUE(struck);
      EXPECT_TRUE(result.status == RC_NO_MEMORY ||
                  result.err == "file '" + source + "' not found\n")
          << result.status << result.err;
      EXPECT_FALSE(exists("a.cg"));
    });
  }
}

// Files ----------------------------------------------------------------------

// Lets each write up to byte `limit` of a file succeed.
class FileLimit {
 public:
  explicit FileLimit(rlim_t limit) {
    getrlimit(RLIMIT_FSIZE, &old_);
    const rlimit now = {limit, old_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &now);
  }
  ~FileLimit() { setrlimit(RLIMIT_FSIZE, &old_); }

 private:
  rlimit old_;
};

// What can be done to a compiled file of either kind.
struct FileOperations {
  std::function<int(int transport, const char* path)> write;
  std::function<int(const char* path)> read;  // and release
  bool removed;                               // a file that is not complete
};

// Steps through all lengths, in larger steps where the file is large.
size_t StepAt(size_t length) {
  return length < 4200 ? 1 : 509;
}

void CheckFile(const FileOperations& file) {
  for (const int transport : TRANSPORTS) {
    const std::string good = "good" + std::to_string(transport);
    ASSERT_EQ(RC_OK, file.write(transport, good.c_str()));
    const std::string bytes = ReadWhole(good).value();

    for (size_t n = 0; n < bytes.size(); n += StepAt(n)) {
      {
        const FileLimit limit(n);
        ASSERT_EQ(n < 8 ? RC_HEADER_WRITE : RC_BODY_FAILED,
                  file.write(transport, "cut"))
            << n;
      }
      ASSERT_EQ(!file.removed, exists("cut")) << n;
      if (file.removed) continue;
      ASSERT_EQ(bytes.substr(0, n), ReadWhole("cut")) << n;
    }
    {
      const FileLimit limit(bytes.size());
      ASSERT_EQ(RC_OK, file.write(transport, "cut"));
    }
    EXPECT_EQ(bytes, ReadWhole("cut"));

    EachAllocationFails([&] { return file.write(transport, "cut"); },
                        [&](int code, bool struck) {
                          EXPECT_EQ(struck ? RC_BODY_FAILED : RC_OK, code);
                          EXPECT_EQ(!struck || !file.removed, exists("cut"));
                        });
  }
  // What was written is not needed any more: names may get other numbers.
  for (const int transport : TRANSPORTS) {
    const std::string good = "good" + std::to_string(transport);
    EachAllocationFails(
        [&] {
          AttributeNamesReset();
          return file.read(good.c_str());
        },
        [](int code, bool struck) {
          EXPECT_EQ(struck ? RC_BODY_FAILED : RC_OK, code);
        });
  }
  ASSERT_FALSE(testing::Test::HasFailure());
}

class ProgramFaults : public Faults {
 protected:
  ~ProgramFaults() override { McProgramFree(&program_); }

  void check(const std::string& source) {
    SCOPED_TRACE(source);
    McProgramFree(&program_);
    program_ = McProgramCreate();
    {
      McLineStore lines;
      McSrcReset();
      McParseReset();
      ASSERT_EQ(RC_OK, McSrcOpen(source.c_str(), &lines));
      ASSERT_EQ(RC_OK, McParseProgram(program_, &lines));
      ASSERT_EQ(RC_OK, McResolveCalls(program_));
      ASSERT_EQ(RC_OK, McCompileEnter(nullptr));
      McTokenStringsFree();
      McSrcReset();
    }
    CheckFile({
        [&](int transport, const char* path) {
          return McXdrWriteToFile(program_, transport, path);
        },
        [](const char* path) {
          McProgram* read;
          const int code = McXdrReadFromFile(path, &read);
          EXPECT_EQ(code == RC_OK, read != nullptr);
          McProgramFree(&read);
          return code;
        },
        true,
    });
  }

 private:
  McProgram* program_ = nullptr;
};

TEST_F(ProgramFaults, ProgramFiles) {
  for (const std::string& source : sources_) check(source);
}

TEST_F(Faults, MaskFiles) {
  for (const std::string& source : Examples(".msk")) {
    SCOPED_TRACE(source);
    EditorList list;
    {
      McLineStore lines;
      McSrcReset();
      McParseReset();
      ASSERT_EQ(RC_OK, McSrcOpen(source.c_str(), &lines));
      ASSERT_EQ(RC_OK, MaskParseDefinition(&list, &lines));
      ASSERT_EQ(RC_OK, McCompileEnter(nullptr));
      McTokenStringsFree();
      McSrcReset();
    }
    {
      const ChannelCapture printed(0);
      EachAllocationFails(
          [&] { return MaskListPrint(0, &list); },
          [](int code, bool struck) {
            // A handler's program is printed as far as it goes.
            EXPECT_TRUE(code == RC_OK || (struck && code == RC_NO_MEMORY))
                << code;
          });
    }
    const auto write = [&](int transport, const char* path) {
      // Writing over an old file would wait for the disk.
      std::filesystem::remove(path);
      return MaskListWrite(&list, transport, path);
    };
    const auto read = [](const char* path) {
      EditorList other;
      const int code = MaskListRead(path, &other);
      EXPECT_EQ(code != RC_OK, other.editors.empty());
      return code;
    };
    CheckFile({write, read, false});
  }
}

}  // namespace
