// An interrupted compile leaves nothing half done beside its outputs.
//
// A file that is being stored stands under another name until it is complete.
// The signals that people and build programs end a process with wait until no
// thread is storing, which is soon, and then do what they always do. A second
// one, or one after some seconds, does not wait for a file that cannot be
// stored, as a pipe that nobody reads.
#pragma once

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>

// What those who store go through.
class StoreGate {
 public:
  // Stores as long as it lives. When the gate is closed, nothing more is
  // stored: the thread waits for the end of the process.
  class Hold {
   public:
    explicit Hold(StoreGate* gate);
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    ~Hold();

   private:
    StoreGate* gate_;
  };

  // Lets nobody in any more. True when nobody is inside, now or within that
  // time.
  bool close(std::chrono::milliseconds time);

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  unsigned inside_ = 0;
  bool closed_ = false;
};

// Keeps the signals back in the thread that makes it, in those that this thread
// makes later, and so in the whole process. Where there is no thread to wait
// for them, nothing is changed.
class Interrupts {
 public:
  explicit Interrupts(StoreGate* gate);
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;
  ~Interrupts();

 private:
  void watch(const std::stop_token& stop);

  StoreGate* gate_;
  sigset_t signals_, before_;
  std::jthread watcher_;
};
