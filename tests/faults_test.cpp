// Faults of the machine: every allocation and every written byte fails once,
// over the examples. A run ends with a code that says so, or it does not need
// what failed and does its work; it never leaves a part of a program behind.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include "compile.h"
#include "file_tree.h"
#include "quillo_run.h"

namespace {

using std::filesystem::exists;

// Runs `work` with the first, the second, the third ... allocation failing
// until it needs no more of them. `judge` gets its result, and whether one
// failed.
void EachAllocationFails(auto work, auto judge) {
  for (uint64_t nth = 1;; nth++) {
    UtFailAllocation(nth);
    const auto result = work();
    const bool struck = UtPendingFault() == 0;
    UtFailAllocation(0);
    judge(result, struck);
    if (testing::Test::HasFailure()) FAIL() << "allocation " << nth;
    if (!struck) return;
  }
}

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

int Store(McProgram* program, int transport, const char* path) {
  return McXdrWriteToFile(program, transport, path);
}
int Store(EditorList* masks, int transport, const char* path) {
  return MaskListWrite(masks, transport, path);
}
int ReadBack(McProgram*, const std::string& bytes) {
  UtPtr<McProgram> program;
  return McXdrReadFromBytes(bytes, &program);
}
int ReadBack(EditorList*, const std::string& bytes) {
  McRun run;
  EditorList masks(&run.attribute_names);
  const int code = MaskListReadFromBytes(bytes, &masks);
  EXPECT_TRUE(code == RC_OK || run.attribute_names.count() == 0);
  return code;
}

class Faults : public FileTree {
 protected:
  Faults() {
    std::filesystem::create_directory_symlink(SOURCE_DIRECTORY "/examples",
                                              "examples");
    // More than the buffers of reader, stream and file hold: a fault may strike
    // when the first part has gone well.
    std::string large = "PROGRAM large;\n";
    for (int i = 0; i < 8000; i++)
      large += "PRINT \"text" + std::to_string(i) + "\";\n";
    write("large.mac", large);
    programs_ = Examples(".mac");
    programs_.push_back("large.mac");
    signal(SIGXFSZ, SIG_IGN);
  }

  // Every allocation of a run. The output is removed first: writing over an old
  // file would wait for the disk.
  static void check_run(const std::string& source,
                        const std::vector<std::string>& options,
                        const char* output) {
    SCOPED_TRACE(source);
    const auto run = [&] {
      std::filesystem::remove(output);
      std::vector<std::string> arguments = {"-o", "a", source};
      arguments.insert(arguments.begin(), options.begin(), options.end());
      return RunDriverHere(arguments);
    };
    const RunResult good = run();
    ASSERT_EQ(RC_OK, good.status) << good.err;
    const std::string bytes = ReadWhole(output).value();
    EachAllocationFails(run, [&](const RunResult& result, bool struck) {
      const std::string written = ReadWhole(output).value_or("");
      switch (result.status) {
        case RC_OK: {
          EXPECT_EQ(good.out, result.out);
          // A mask run does not look at how its writing went.
          const bool part = struck && options[0] == "-w";
          EXPECT_EQ(part ? bytes.substr(0, written.size()) : bytes, written);
          return;
        }
        case RC_SYNTAX:  // the exit status of a run without its source
          EXPECT_EQ("file '" + source + "' not found\n", result.err);
          break;
        case RC_NO_MEMORY:
        case RC_BODY_FAILED: break;
        default: ADD_FAILURE() << result.status << result.err;
      }
      EXPECT_TRUE(struck);
      EXPECT_FALSE(exists(output));
    });
  }

  // Every byte and every allocation of writing, every allocation of reading. A
  // file that is not complete is not there, or is there as far as it goes.
  static void check_file(auto* model, bool in_parts) {
    for (const int transport : {XD_TRANSPORT_XDR, XD_TRANSPORT_PLAIN}) {
      const std::string bytes = Written(model, transport);
      const auto write = [&] {
        std::filesystem::remove("cut");
        return Store(model, transport, "cut");
      };
      for (size_t n = 0; n < bytes.size(); n += n < 4200 ? 1 : 509) {
        int code;
        {
          const FileLimit limit(n);
          code = write();
        }
        ASSERT_EQ(n < 8 ? 6198 : 3016, code) << n;
        ASSERT_EQ(in_parts && n >= 8 ? std::optional(bytes.substr(0, n))
                                     : std::nullopt,
                  ReadWhole("cut"));
      }
      EachAllocationFails(write, [&](int code, bool struck) {
        EXPECT_EQ(struck ? 3016 : 0, code);
        const std::string part = ReadWhole("cut").value_or("");
        EXPECT_EQ(bytes.substr(0, part.size()), part);
        EXPECT_TRUE(struck ? in_parts || !exists("cut") : part == bytes);
      });
      EachAllocationFails(
          [&] { return ReadBack(model, bytes); },
          [](int code, bool struck) { EXPECT_EQ(struck ? 3016 : 0, code); });
    }
    std::filesystem::remove("cut");
    // The examples, large.mac, and nothing that was written beside its target.
    EXPECT_EQ(2, std::distance(std::filesystem::directory_iterator("."), {}));
  }

  std::vector<std::string> programs_;
};

TEST_F(Faults, EachAllocationOfARun) {
  for (const std::string& source : programs_) {
    check_run(source, {"-dump", "-xdr"}, "a.cm");
    check_run(source, {"-noxdr"}, "a.cm");
  }
  for (const std::string& source : Examples(".msk"))
    check_run(source, {"-w", "-cg"}, "a.cg");
}

TEST_F(Faults, Files) {
  std::vector<std::string> sources = Examples(".msk");
  sources.insert(sources.end(), programs_.begin(), programs_.end());
  for (const std::string& source : sources) {
    SCOPED_TRACE(source);
    McSrcFiles disk;
    Compile compile(nullptr, &disk);
    ASSERT_EQ(RC_OK, compile.compile(source)) << compile.reports.text;
    if (source.ends_with(".msk"))
      check_file(&compile.masks, true);
    else
      check_file(&compile.program, false);
  }
}

}  // namespace
