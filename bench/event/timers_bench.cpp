// Timers among many: replacing one (add one, delete one), and firing all of them when they are due.
// The plain row is a std::multimap of due times, which has no ids, callbacks or loop.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "kiv_base/event.h"
#ifdef KIV_BENCH_LIBEVENT
#include <event2/event.h>
#endif

namespace {

constexpr std::uint32_t kFarMs = 3600 * 1000;

// Random intervals from an hour on, so that nothing fires.
class Intervals {
 public:
  std::uint32_t next() { return kFarMs + static_cast<std::uint32_t>(random_() % kFarMs); }

 private:
  std::minstd_rand random_{1};
};

std::size_t count_of(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}

void KIV_CALL nothing(void*, void*, std::int32_t, std::int32_t) {}

void box_replace(benchmark::State& state) {
  Intervals intervals;
  zu_box* box = zu_box_malloc();
  std::vector<std::int32_t> timers(count_of(state));
  for (auto& timer : timers) timer = zu_box_timer_AddOnceTimer(box, intervals.next(), nothing, box);
  std::size_t oldest = 0;
  for (auto _ : state) {
    zu_box_timer_Delete(box, timers[oldest]);
    timers[oldest] = zu_box_timer_AddOnceTimer(box, intervals.next(), nothing, box);
    oldest = oldest + 1 == timers.size() ? 0 : oldest + 1;
  }
  zu_box_free(box);
}
BENCHMARK(box_replace)->Arg(1000)->Arg(50000);

void multimap_replace(benchmark::State& state) {
  Intervals intervals;
  std::multimap<std::uint64_t, int> due;
  std::vector<std::multimap<std::uint64_t, int>::iterator> timers(count_of(state));
  const auto add = [&] {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto now_us = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
    return due.emplace(static_cast<std::uint64_t>(now_us) + intervals.next() * 1000ULL, 0);
  };
  for (auto& timer : timers) timer = add();
  std::size_t oldest = 0;
  for (auto _ : state) {
    due.erase(timers[oldest]);
    timers[oldest] = add();
    oldest = oldest + 1 == timers.size() ? 0 : oldest + 1;
  }
}
BENCHMARK(multimap_replace)->Arg(1000)->Arg(50000);

// Every timer is overdue when the loop starts; it ends when the last one has fired.
void box_fire(benchmark::State& state) {
  const auto fired = [](void* box, void*, std::int32_t, std::int32_t) {
    zu_box_timer_DeleteThis(static_cast<zu_box*>(box));
  };
  zu_box* box = zu_box_malloc();
  std::minstd_rand random(1);
  for (auto _ : state) {
    state.PauseTiming();
    for (std::size_t i = 0; i < count_of(state); ++i) {
      zu_box_timer_AddOnceTimer(box, 1 + static_cast<std::uint32_t>(random() % 20), fired, nullptr);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(21));
    state.ResumeTiming();
    zu_box_StartLoop(box);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  zu_box_free(box);
}
BENCHMARK(box_fire)->Arg(1000)->Arg(50000);

#ifdef KIV_BENCH_LIBEVENT
timeval interval_of(std::uint32_t milliseconds) {
  return {static_cast<time_t>(milliseconds / 1000),
          static_cast<suseconds_t>(milliseconds % 1000 * 1000)};
}

event* peer_timer(event_base* base, std::uint32_t milliseconds) {
  event* timer = event_new(
      base, -1, 0, [](evutil_socket_t, short, void*) {}, nullptr);
  const timeval interval = interval_of(milliseconds);
  event_add(timer, &interval);
  return timer;
}

void libevent_replace(benchmark::State& state) {
  Intervals intervals;
  event_base* base = event_base_new();
  std::vector<event*> timers(count_of(state));
  for (auto& timer : timers) timer = peer_timer(base, intervals.next());
  std::size_t oldest = 0;
  for (auto _ : state) {
    event_free(timers[oldest]);
    timers[oldest] = peer_timer(base, intervals.next());
    oldest = oldest + 1 == timers.size() ? 0 : oldest + 1;
  }
  for (auto& timer : timers) event_free(timer);
  event_base_free(base);
}
BENCHMARK(libevent_replace)->Arg(1000)->Arg(50000);

void libevent_fire(benchmark::State& state) {
  event_base* base = event_base_new();
  std::minstd_rand random(1);
  for (auto _ : state) {
    state.PauseTiming();
    for (std::size_t i = 0; i < count_of(state); ++i) {
      const timeval interval = interval_of(1 + static_cast<std::uint32_t>(random() % 20));
      event_base_once(
          base, -1, EV_TIMEOUT, [](evutil_socket_t, short, void*) {}, nullptr, &interval);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(21));
    state.ResumeTiming();
    event_base_dispatch(base);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  event_base_free(base);
}
BENCHMARK(libevent_fire)->Arg(1000)->Arg(50000);
#endif

}  // namespace
