// Writing behind: a second thread writes a part of a file while the first one
// puts the next part together. That pays for outputs of half a megabyte and
// more, and while a processor is free: where as many compilers run as there are
// processors, a second thread only gets in the way.
//
// Nobody needs to know whether there is a thread: what it has not begun when it
// is waited for is written by who waits. It takes no memory, and no signal
// but that of a pipe without a reader.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstddef>

#include "Cutil/ut_file.h"

// True when fewer threads could run just now than there are processors.
[[nodiscard]] bool UtProcessorIsFree();

class UtWriteBehind {
 public:
  // The file is the caller's, who does nothing with it before finish().
  explicit UtWriteBehind(UtOutputFile* file);
  UtWriteBehind(const UtWriteBehind&) = delete;
  UtWriteBehind& operator=(const UtWriteBehind&) = delete;
  ~UtWriteBehind();

  // Begins to write `count` bytes, which stay as they are until the next call
  // of write() or finish() has returned. False, and nothing begun, when
  // something before them could not be written.
  [[nodiscard]] bool write(const void* bytes, size_t count);

  // Waits until all has been written; false when something could not be.
  [[nodiscard]] bool finish();

 private:
  enum class State { IDLE, WAITING, BUSY };
  static void* Run(void* self);
  void run();
  void do_write();

  UtOutputFile* file_;
  const void* bytes_ = nullptr;
  size_t count_ = 0;
  bool failed_ = false;

  pthread_t thread_ = {};
  bool has_thread_ = false;
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t to_do_ = PTHREAD_COND_INITIALIZER;
  pthread_cond_t done_ = PTHREAD_COND_INITIALIZER;
  // Changed with the mutex held.
  std::atomic<State> state_ = State::IDLE;
  std::atomic<bool> ending_ = false;
  bool asleep_ = false;   // the second thread
  bool waiting_ = false;  // the first one
};
