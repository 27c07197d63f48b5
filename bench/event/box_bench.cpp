// From a call in one thread to a callback in the loop of another, median and 99th percentile of
// single round trips; and what a checked call costs. The plain rows are a thread in poll() that an
// eventfd wakes, and a mutex with a lookup in a hash set.
#include <benchmark/benchmark.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <thread>
#include <unordered_set>
#include <vector>

#include "kiv_base/event.h"
#ifdef KIV_BENCH_LIBEVENT
#include <event2/event.h>
#include <event2/thread.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

// Rings once; the waiting thread spins, so that only the loop's own waking is measured.
struct Bell {
  std::atomic<bool> rung{false};
  void ring() { rung.store(true, std::memory_order_release); }
  void await() {
    while (!rung.exchange(false, std::memory_order_acquire)) {
    }
  }
};

// Times post() until the bell rings. The pause lets the loop go back to sleep.
template <typename Post>
void measure(benchmark::State& state, Bell& bell, Post post) {
  std::vector<double> samples;
  for (auto _ : state) {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    const auto start = Clock::now();
    post();
    bell.await();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    state.SetIterationTime(seconds);
    samples.push_back(seconds * 1e6);
  }
  std::sort(samples.begin(), samples.end());
  state.counters["median_us"] = samples[samples.size() / 2];
  state.counters["p99_us"] = samples[samples.size() * 99 / 100];
}

struct Posted {
  kiv_box* box;
  std::int32_t socket;
  Bell bell;
};

void KIV_CALL run_posted(void* posted) {
  auto* self = static_cast<Posted*>(posted);
  kivx_box_ExportSockId(self->box, self->socket);
  self->bell.ring();
}

// A box has no bare post; a socket that is ready at once comes closest. The wake costs one turn of
// the loop, the socket the next.
void box_wake(benchmark::State& state) {
  std::promise<kiv_box*> made;
  std::thread loop([&] {
    kiv_box* box = kiv_box_new();
    made.set_value(box);
    kiv_box_loop(box);
  });
  Posted posted{made.get_future().get(), eventfd(1, 0), {}};
  measure(state, posted.bell,
          [&] { kivx_box_ImportSockId_ForRead(posted.box, posted.socket, run_posted, &posted); });
  kiv_box_free(posted.box);
  loop.join();
  close(posted.socket);
}
BENCHMARK(box_wake)->UseManualTime()->Iterations(5000);

void poll_wake(benchmark::State& state) {
  const int wake = eventfd(0, 0);
  Bell bell;
  std::atomic<bool> stop{false};
  std::thread loop([&] {
    pollfd entry{wake, POLLIN, 0};
    eventfd_t count = 0;
    while (!stop && poll(&entry, 1, -1) > 0) {
      eventfd_read(wake, &count);
      bell.ring();
    }
  });
  measure(state, bell, [&] { eventfd_write(wake, 1); });
  stop = true;
  eventfd_write(wake, 1);
  loop.join();
  close(wake);
}
BENCHMARK(poll_wake)->UseManualTime()->Iterations(5000);

void box_checked_call(benchmark::State& state) {
  kiv_box* box = kiv_box_new();
  for (auto _ : state) benchmark::DoNotOptimize(kiv_box_GetNumSock(box));
  kiv_box_free(box);
}
BENCHMARK(box_checked_call);

void mutex_and_set(benchmark::State& state) {
  std::recursive_mutex lock;
  std::unordered_set<const void*> live{&lock};
  for (auto _ : state) {
    const std::lock_guard guard(lock);
    benchmark::DoNotOptimize(live.count(&lock));
  }
}
BENCHMARK(mutex_and_set);

#ifdef KIV_BENCH_LIBEVENT
void ring_bell(evutil_socket_t, short, void* bell) {
  static_cast<Bell*>(bell)->ring();
}

void libevent_wake(benchmark::State& state) {
  evthread_use_pthreads();
  event_base* base = event_base_new();
  std::thread loop([&] { event_base_loop(base, EVLOOP_NO_EXIT_ON_EMPTY); });
  Bell bell;
  const timeval now{0, 0};
  measure(state, bell, [&] { event_base_once(base, -1, EV_TIMEOUT, ring_bell, &bell, &now); });
  event_base_loopbreak(base);
  loop.join();
  event_base_free(base);
}
BENCHMARK(libevent_wake)->UseManualTime()->Iterations(5000);
#endif

}  // namespace
