// Runs share nothing, so each may have a thread of its own: compiles beside
// each other give what they give one after the other. The thread sanitizer
// watches this program under the tsan preset.
#include <gtest/gtest.h>

#include <thread>

#include "compile.h"
#include "elut/files/listing.h"
#include "elut/files/mask_print.h"
#include "file_tree.h"
#include "quillo/defaults.h"
#include "smith/smith.h"

namespace {

// A provider over the files of the disk and texts beside them.
class AllFiles : public McSrcProvider {
 public:
  UtPtr<McSrcBytes> open(const char* name) override {
    UtPtr<McSrcBytes> text = texts_.open(name);
    return text != nullptr ? std::move(text) : disk_.open(name);
  }
  void add(const SmithSource& source) {
    texts_.texts.insert(source.includes.begin(), source.includes.end());
    texts_.texts[source.file] = source.text;
  }

 private:
  TextFiles texts_;
  McSrcFiles disk_;
};

using Threads = FileTree;

// All that a compile of a run says and yields.
std::string Outcome(McRun* run, AllFiles* files, const std::string& source) {
  Compile compile(run, files);
  const int code = compile.compile(source);
  std::string text = std::to_string(code) + compile.reports.text;
  if (code != RC_OK) return text;
  Channels channels;
  const auto take = [](const char* part, void* to) {
    *static_cast<std::string*>(to) += part;
    return 0;
  };
  (void)channels.bind_callback(CHANNEL_MASKS, 0, take, &text);
  if (source.ends_with(".msk")) {
    (void)MaskListPrint(&channels, CHANNEL_MASKS, &compile.masks);
    return text + Written(&compile.masks, XD_TRANSPORT_XDR);
  }
  (void)McPrintExpr(&channels, CHANNEL_MASKS, "", &compile.program);
  return text + Written(&compile.program, XD_TRANSPORT_PLAIN);
}

TEST_F(Threads, CompileAlike) {
  std::filesystem::create_directory_symlink(SOURCE_DIRECTORY "/examples",
                                            "examples");
  write("a.dflt", "a: MSGGET(\"none\",1,\"b\")\n");
  AllFiles files;
  std::vector<std::string> sources = Examples(".mac");
  for (const std::string& mask : Examples(".msk")) sources.push_back(mask);
  constexpr SmithKind KINDS[] = {SmithKind::PROGRAM, SmithKind::MODULE,
                                 SmithKind::MASK};
  for (uint64_t seed = 0; seed < 30; seed++) {
    const std::string name = "s" + std::to_string(seed);
    SmithSource source = Smith(KINDS[seed % 3], seed, SmithSize::SMALL, name);
    if (seed >= 15) source.text = SmithDamage(source.text, seed);
    files.add(source);
    sources.push_back(source.file);
  }
  write(
      "bad.mac",
      "PROGRAM p;\nINTEGER a(INT(1)), b(1/0), c(LEN(MSGGET(\"x\",1,\"y\")));\n"
      "INCLUDE \"none\";\nPRINT x;\n");
  sources.push_back("bad.mac");

  const auto compile_all = [&](std::string* all) {
    McRun run;
    Defaults defaults(&run.catalogs);
    (void)defaults.load_file("class", "a.dflt");
    for (const std::string& source : sources)
      *all += Outcome(&run, &files, source);
  };
  std::string alone;
  compile_all(&alone);
  EXPECT_NE(std::string::npos, alone.find("p: Fehler bei Funktionsaufruf"));
  std::string beside[4];
  std::vector<std::thread> threads;
  for (std::string& all : beside) threads.emplace_back(compile_all, &all);
  for (std::thread& thread : threads) thread.join();
  for (const std::string& all : beside) EXPECT_TRUE(alone == all);
}

}  // namespace
