// Jobs done by several threads, whose results are taken in the order of the
// jobs by the thread that asked for them.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

// Does `count` jobs in up to `threads` threads: `work(i)` returns the result of
// job i and does not throw, and `take(i, result)` gets it, in the order of i.
// In between `progress(done)` is called every tenth of a second or so. With one
// thread no other one is made; where the system gives fewer than are wanted,
// or none, the work is done with what there is.
template <class Result, class Work, class Take, class Progress>
void DoInOrder(size_t count, unsigned threads, Work work, Take take,
               Progress progress) {
  constexpr std::chrono::milliseconds TICK(100);
  auto last = std::chrono::steady_clock::now();
  const auto tick = [&](size_t done) {
    const auto now = std::chrono::steady_clock::now();
    if (now - last < TICK) return;
    last = now;
    progress(done);
  };
  std::atomic<size_t> next = 0, done = 0;
  std::mutex mutex;
  std::condition_variable ready;
  std::vector<std::optional<Result>> results(count);
  size_t wanted = 0;  // the job whose result is waited for
  const auto run = [&] {
    for (size_t i; (i = next.fetch_add(1)) < count;) {
      Result result = work(i);
      done++;
      const std::lock_guard lock(mutex);
      results[i] = std::move(result);
      if (i == wanted) ready.notify_one();
    }
  };
  std::vector<std::jthread> workers;
  try {
    for (unsigned i = 0; threads > 1 && i < threads && i < count; i++)
      workers.emplace_back(run);
  } catch (const std::system_error&) {
  } catch (const std::bad_alloc&) {
  }
  if (workers.empty()) {
    for (size_t i = 0; i < count; i++) {
      take(i, work(i));
      tick(i + 1);
    }
    return;
  }
  for (size_t i = 0; i < count; i++) {
    std::optional<Result> result;
    {
      std::unique_lock lock(mutex);
      wanted = i;
      while (
          !ready.wait_for(lock, TICK, [&] { return results[i].has_value(); }))
        tick(done.load());
      result = std::move(results[i]);
      results[i].reset();
    }
    take(i, *std::move(result));
    tick(done.load());
  }
}
