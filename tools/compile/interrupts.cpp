// A handler could do nothing but note the signal, in a place that the whole
// process shares. So the signals are blocked, and a thread asks for them.
#include "tools/compile/interrupts.h"

#include <system_error>

namespace {

constexpr std::chrono::milliseconds STEP(100);
constexpr int MOST_STEPS = 50;

// Does nothing to a process: it wakes the watcher.
constexpr int WAKE = SIGURG;

}  // namespace

StoreGate::Hold::Hold(StoreGate* gate) : gate_(gate) {
  std::unique_lock lock(gate_->mutex_);
  gate_->changed_.wait(lock, [&] { return !gate_->closed_; });
  gate_->inside_++;
}

StoreGate::Hold::~Hold() {
  const std::lock_guard lock(gate_->mutex_);
  gate_->inside_--;
  if (gate_->closed_) gate_->changed_.notify_all();
}

bool StoreGate::close(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  closed_ = true;
  return changed_.wait_for(lock, time, [&] { return inside_ == 0; });
}

Interrupts::Interrupts(StoreGate* gate) : gate_(gate) {
  sigemptyset(&signals_);
  sigaddset(&signals_, WAKE);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action;
    // A blocked signal is kept even if it is to be ignored.
    if (sigaction(signal, nullptr, &action) == 0 &&
        action.sa_handler == SIG_DFL)
      sigaddset(&signals_, signal);
  }
  pthread_sigmask(SIG_BLOCK, &signals_, &before_);
  try {
    watcher_ =
        std::jthread([this](const std::stop_token& stop) { watch(stop); });
  } catch (const std::system_error&) {
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
}

Interrupts::~Interrupts() {
  if (!watcher_.joinable()) return;
  watcher_.request_stop();
  pthread_kill(watcher_.native_handle(), WAKE);
  watcher_.join();
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void Interrupts::watch(const std::stop_token& stop) {
  int signal = WAKE;
  while (signal == WAKE || signal < 0) {
    if (stop.stop_requested()) return;
    signal = sigwaitinfo(&signals_, nullptr);
  }
  constexpr timespec NOW = {0, 0};
  for (int i = 0; i < MOST_STEPS && !gate_->close(STEP); i++)
    if (sigtimedwait(&signals_, nullptr, &NOW) > 0) break;
  sigset_t one;
  sigemptyset(&one);
  sigaddset(&one, signal);
  pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
  raise(signal);
}
