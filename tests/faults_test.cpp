// Faults of the machine: every allocation and every written byte fails once,
// over the examples. A run ends with a code that says so, or it does not need
// what failed and does its work; it never leaves a part of a program behind.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <functional>

#include "Cutil/codes.h"
#include "Cutil/ut_memory.h"
#include "elut/compile/parse.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"
#include "elut/syntax/token_strings.h"
#include "file_tree.h"
#include "quillo_run.h"

namespace {

using std::filesystem::exists;

// Runs `work` with the first, the second, the third ... allocation failing
// until it needs no more of them. `judge` gets its result, and whether one
// failed.
template <class Work, class Judge>
void EachAllocationFails(Work work, Judge judge) {
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

// What can be done to a compiled file of either kind.
struct FileOperations {
  std::function<int(int transport, const char* path)> write;
  std::function<int(const char* path)> read;  // and release
  bool removed;                               // a file that is not complete
};

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
    ForgetRuns();
  }
  ~Faults() override { ForgetRuns(); }

  // Every allocation of a run. The output is removed first: writing over an old
  // file would wait for the disk.
  static void check_run(const std::string& source,
                        const std::vector<std::string>& options,
                        const char* output) {
    SCOPED_TRACE(source);
    const auto run = [&] {
      ForgetRuns();
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

  // Every byte and every allocation of writing, every allocation of reading.
  static void check_file(const FileOperations& file) {
    const auto write = [&](int transport, const char* path) {
      std::filesystem::remove(path);
      return file.write(transport, path);
    };
    constexpr std::pair<int, const char*> FILES[] = {
        {XD_TRANSPORT_XDR, "xdr"}, {XD_TRANSPORT_PLAIN, "plain"}};
    for (const auto& [transport, good] : FILES) {
      ASSERT_EQ(RC_OK, write(transport, good));
      const std::string bytes = ReadWhole(good).value();
      for (size_t n = 0; n < bytes.size(); n += n < 4200 ? 1 : 509) {
        int code;
        {
          const FileLimit limit(n);
          code = write(transport, "cut");
        }
        ASSERT_EQ(n < 8 ? RC_HEADER_WRITE : RC_BODY_FAILED, code) << n;
        ASSERT_EQ(
            file.removed ? std::nullopt : std::optional(bytes.substr(0, n)),
            ReadWhole("cut"));
      }
      EachAllocationFails([&] { return write(transport, "cut"); },
                          [&](int code, bool struck) {
                            EXPECT_EQ(struck ? RC_BODY_FAILED : RC_OK, code);
                            EXPECT_EQ(!struck || !file.removed, exists("cut"));
                          });
    }
    // What was written is not needed any more: names may get other numbers.
    for (const auto& [transport, good] : FILES)
      EachAllocationFails(
          [&, path = good] {
            AttributeNamesReset();
            return file.read(path);
          },
          [](int code, bool struck) {
            EXPECT_EQ(struck ? RC_BODY_FAILED : RC_OK, code);
          });
  }

  // Parses a source with one of the entries.
  template <class Product>
  static void parse(const std::string& source, Product* product,
                    int (*entry)(Product*, McLineStore*)) {
    McLineStore lines;
    McSrcReset();
    ASSERT_EQ(RC_OK, McSrcOpen(source.c_str(), &lines));
    ASSERT_EQ(RC_OK, entry(product, &lines));
    ASSERT_EQ(RC_OK, McCompileEnter(nullptr));
    McTokenStringsFree();
    McSrcReset();
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

TEST_F(Faults, ProgramFiles) {
  for (const std::string& source : programs_) {
    SCOPED_TRACE(source);
    McProgram* program = McProgramCreate();
    parse(source, program, McParseProgram);
    check_file({
        [&](int transport, const char* path) {
          return McXdrWriteToFile(program, transport, path);
        },
        [](const char* path) {
          McProgram* read;
          const int code = McXdrReadFromFile(path, &read);
          McProgramFree(&read);
          return code;
        },
        true,
    });
    McProgramFree(&program);
  }
}

TEST_F(Faults, MaskFiles) {
  for (const std::string& source : Examples(".msk")) {
    SCOPED_TRACE(source);
    EditorList list;
    parse(source, &list, MaskParseDefinition);
    check_file({
        [&](int transport, const char* path) {
          return MaskListWrite(&list, transport, path);
        },
        [](const char* path) {
          EditorList read;
          return MaskListRead(path, &read);
        },
        false,
    });
  }
}

}  // namespace
