// quillo_measure: the time and the memory of whole processes.
//
//   quillo_measure ROUNDS
//
// reads commands, one in a line, words between blanks, and runs each of them
// once per round. Prints for each command a line of "SECONDS:KIB" for each run;
// ends with 1 when a command fails. What the commands print goes nowhere.
//
// A program of its own, because a process begins with the memory of the one
// that started it, and the system's figure never goes down again: a script's
// interpreter is larger than a compile.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Command {
  std::vector<std::string> words;
  std::string results;
};

bool Run(Command* command, const posix_spawn_file_actions_t* actions) {
  std::vector<char*> arguments;
  for (std::string& word : command->words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const auto start = std::chrono::steady_clock::now();
  pid_t process;
  if (posix_spawnp(&process, arguments[0], actions, nullptr, arguments.data(),
                   environ) != 0)
    return false;
  int status;
  rusage usage;
  if (wait4(process, &status, 0, &usage) != process) return false;
  const std::chrono::duration<double> time =
      std::chrono::steady_clock::now() - start;
  char result[64];
  snprintf(result, sizeof result, "%.6f:%ld ", time.count(), usage.ru_maxrss);
  command->results += result;
  return status == 0;
}

}  // namespace

int main(int count, char** arguments) {
  const int rounds = count == 2 ? atoi(arguments[1]) : 0;
  std::vector<Command> commands;
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    commands.emplace_back();
    for (std::string word; words >> word;)
      commands.back().words.push_back(word);
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  for (int round = 0; round < rounds; round++)
    for (Command& command : commands)
      if (!Run(&command, &actions)) {
        fprintf(stderr, "quillo_measure: %s failed\n",
                command.words.front().c_str());
        return 1;
      }
  for (const Command& command : commands) puts(command.results.c_str());
}
