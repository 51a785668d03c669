// Runs the compiler in the current directory: the built program as a user does,
// and the driver inside the test process, where allocations can be made to
// fail.
#pragma once

#include <sys/wait.h>

#include <filesystem>
#include <string>
#include <vector>

#include "quillo/driver.h"
#include "stream_catch.h"

struct RunResult {
  int status;  // of a process: codes are cut to 8 bits; -1: killed
  std::string out;
  std::string err;
};

// Runs a shell script to which the program is known as quillo. What as_nobody
// runs may do no more than any user.
inline RunResult RunShell(const std::string& script) {
  const std::string command =
      "PATH=" + std::filesystem::path(QUILLO_BINARY).parent_path().string() +
      ":$PATH\n" +
      "as_nobody() { if [ $(id -u) != 0 ]; then \"$@\"; else\n"
      "setpriv --reuid=65534 --clear-groups \"$@\"; fi; }\n" +
      script;
  const StreamCatch out(stdout), err(stderr);
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out.text(), err.text()};
}

inline RunResult RunQuillo(const std::vector<std::string>& arguments) {
  std::string command = "exec quillo";
  for (const auto& argument : arguments) command += " '" + argument + "'";
  return RunShell(command);
}

inline RunResult RunDriverHere(const std::vector<std::string>& arguments) {
  std::vector<char*> argv = {const_cast<char*>("quillo")};
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const StreamCatch out(stdout), err(stderr);
  const int status =
      RunDriver(static_cast<int>(arguments.size()) + 1, argv.data());
  return {status, out.text(), err.text()};
}
