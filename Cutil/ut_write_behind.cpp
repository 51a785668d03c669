// The thread is made by hand, and not by the standard library, for the size of
// its stack: all that it runs is a system call.
#include "Cutil/ut_write_behind.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>

namespace {

constexpr size_t STACK_BYTES = size_t{256} << 10;

// To wake a thread takes some ten microseconds, and to fill a buffer fifty; so
// both sides look for a while before they sleep.
constexpr int LOOKS = 4000;

template <class Condition>
void LookFor(Condition&& condition) {
  for (int i = 0; i < LOOKS && !condition(); i++) {
#ifdef __SSE2__
    __builtin_ia32_pause();
#endif
  }
}

class Lock {
 public:
  explicit Lock(pthread_mutex_t* mutex) : mutex_(mutex) {
    pthread_mutex_lock(mutex_);
  }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  ~Lock() { pthread_mutex_unlock(mutex_); }

 private:
  pthread_mutex_t* mutex_;
};

bool MakeThread(pthread_t* thread, void* (*routine)(void*), void* argument) {
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  (void)pthread_attr_setstacksize(&attributes, STACK_BYTES);
  sigset_t others, before;
  sigfillset(&others);
  // A reader that is gone ends the process, whoever writes to it.
  sigdelset(&others, SIGPIPE);
  pthread_sigmask(SIG_SETMASK, &others, &before);
  const int code = pthread_create(thread, &attributes, routine, argument);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  pthread_attr_destroy(&attributes);
  return code == 0;
}

}  // namespace

bool UtProcessorIsFree() {
  // The fourth word: threads that could run, this one among them, and all.
  char text[128] = {};
  const UtDescriptor file(open("/proc/loadavg", O_RDONLY | O_CLOEXEC));
  if (!file.is_open() || UtRead(file.number(), text, sizeof text - 1) <= 0)
    return false;
  long running = 0;
  return sscanf(text, "%*s %*s %*s %ld", &running) == 1 &&
         running < sysconf(_SC_NPROCESSORS_ONLN);
}

UtWriteBehind::UtWriteBehind(UtOutputFile* file) : file_(file) {
  // Everything else is in its place by now.
  has_thread_ = MakeThread(&thread_, Run, this);
}

UtWriteBehind::~UtWriteBehind() {
  (void)finish();
  if (!has_thread_) return;
  {
    const Lock lock(&mutex_);
    ending_ = true;
    if (asleep_) pthread_cond_signal(&to_do_);
  }
  pthread_join(thread_, nullptr);
}

bool UtWriteBehind::write(const void* bytes, size_t count) {
  if (!finish()) return false;
  bytes_ = bytes;
  count_ = count;
  if (!has_thread_) {
    do_write();
    return true;
  }
  const Lock lock(&mutex_);
  state_ = State::WAITING;
  if (asleep_) pthread_cond_signal(&to_do_);
  return true;
}

bool UtWriteBehind::finish() {
  if (state_ == State::BUSY) LookFor([&] { return state_ != State::BUSY; });
  if (state_ == State::IDLE) return !failed_;
  pthread_mutex_lock(&mutex_);
  if (state_ == State::WAITING) {
    state_ = State::IDLE;
    pthread_mutex_unlock(&mutex_);
    do_write();
    return !failed_;
  }
  waiting_ = true;
  while (state_ != State::IDLE) pthread_cond_wait(&done_, &mutex_);
  waiting_ = false;
  pthread_mutex_unlock(&mutex_);
  return !failed_;
}

void UtWriteBehind::do_write() {
  if (!file_->write(bytes_, count_)) failed_ = true;
}

void* UtWriteBehind::Run(void* self) {
  static_cast<UtWriteBehind*>(self)->run();
  return nullptr;
}

void UtWriteBehind::run() {
  for (;;) {
    LookFor([&] { return state_ == State::WAITING || ending_; });
    pthread_mutex_lock(&mutex_);
    asleep_ = true;
    while (state_ != State::WAITING && !ending_)
      pthread_cond_wait(&to_do_, &mutex_);
    asleep_ = false;
    const bool begins = state_ == State::WAITING;
    if (begins) state_ = State::BUSY;
    pthread_mutex_unlock(&mutex_);
    if (!begins) return;
    do_write();
    const Lock lock(&mutex_);
    state_ = State::IDLE;
    if (waiting_) pthread_cond_signal(&done_);
  }
}
