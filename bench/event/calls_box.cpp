// Calls a second in one thread on a box of its own, and in two threads on one box each.
//
//   calls_box raw|checked ask|timer SECONDS
//
// A zu_box without a lock or a kiv_box; a question, or a timer added and deleted.
#include <atomic>
#include <cstdint>
#include <cstring>
#include <latch>
#include <thread>

#include "bench/harness/process.h"
#include "kiv_base/base.h"
#include "kiv_base/event.h"

namespace {

constexpr std::uint32_t kHourMs = 3600 * 1000;

void KIV_CALL never(void*, void*, std::int32_t, std::int32_t) {}

struct RawCalls {
  zu_box* box = zu_box_malloc();
  ~RawCalls() { zu_box_free(box); }
  void ask() { zu_box_sock_IsExist(box, 5); }
  void timer() { zu_box_timer_Delete(box, zu_box_timer_AddOnceTimer(box, kHourMs, never, this)); }
};

struct CheckedCalls {
  kiv_box* box = kiv_box_new();
  ~CheckedCalls() { kiv_box_free(box); }
  void ask() { kiv_box_IsSockExist(box, 5); }
  void timer() { kiv_box_DeleteTimer(box, kiv_box_NewOnceTimer(box, kHourMs, never, this)); }
};

// The calls of all threads together in one second.
template <typename Calls>
double rate(int threads, void (Calls::*call)(), double seconds) {
  std::atomic<bool> stopped{false};
  std::atomic<std::int64_t> total{0};
  std::latch ready(threads + 1);
  const auto run = [&](int core) {
    bench::pin(core);
    Calls calls;  // its thread owns the box
    std::int64_t count = 0;
    ready.arrive_and_wait();
    for (; !stopped.load(std::memory_order_relaxed); count += 64) {
      for (int i = 0; i < 64; ++i) (calls.*call)();
    }
    total += count;
  };
  std::thread first(run, 0);
  std::thread second = threads > 1 ? std::thread(run, 1) : std::thread();
  ready.arrive_and_wait();
  const double start = bench::now();
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  stopped = true;
  const double elapsed = bench::now() - start;
  first.join();
  if (second.joinable()) second.join();
  return static_cast<double>(total) / elapsed;
}

template <typename Calls>
void measure(const char* what, double seconds) {
  const auto call = std::strcmp(what, "ask") == 0 ? &Calls::ask : &Calls::timer;
  const double one = rate<Calls>(1, call, seconds);
  const double two = rate<Calls>(2, call, seconds);
  bench::report("one_ns", 1e9 / one);
  bench::report("gain", two / one);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  kiv_Setup();
  const double seconds = std::atof(argv[3]) / 2;
  std::strcmp(argv[1], "raw") == 0 ? measure<RawCalls>(argv[2], seconds)
                                   : measure<CheckedCalls>(argv[2], seconds);
}
