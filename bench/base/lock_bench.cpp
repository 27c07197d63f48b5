// Locks and the registry of live objects, alone and with threads in each other's way. The standard
// recursive mutex is both the peer of zu_sem and, as each registry operation takes one lock, the
// floor of the registry.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <mutex>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/system.h"

namespace {

void sem(benchmark::State& state) {
  static const uintptr_t lock = zu_sem_malloc();
  for (auto _ : state) {
    zu_sem_lock(lock);
    zu_sem_unlock(lock);
  }
}

void std_recursive_mutex(benchmark::State& state) {
  static std::recursive_mutex lock;
  for (auto _ : state) {
    lock.lock();
    lock.unlock();
  }
}

// Lock and unlock one of the live objects, 48 bytes apart.
void registry(benchmark::State& state) {
  static std::vector<char> objects(10000 * 48);
  const auto count = static_cast<std::size_t>(state.range(0));
  for (std::size_t i = 0; i < count; ++i) __kiv_sem_insert(&objects[i * 48]);
  std::size_t at = 0;
  for (auto _ : state) {
    if (__kiv_sem_lock(&objects[at * 48]) == 1) __kiv_sem_unlock();
    at = at + 1 == count ? 0 : at + 1;
  }
  if (state.thread_index() == 0 && state.threads() == 1) kiv_sem_Shutdown();
}

void registry_stale_handle(benchmark::State& state) {
  char object;
  for (auto _ : state) benchmark::DoNotOptimize(__kiv_sem_lock(&object));
}

void registry_insert_remove(benchmark::State& state) {
  char object;
  for (auto _ : state) {
    __kiv_sem_insert(&object);
    __kiv_sem_remove(&object);
  }
}

void random_value(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(zu_RandomValue());
}

void thread_id(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(zu_GetPid());
}

BENCHMARK(sem)->Threads(1)->Threads(2);
BENCHMARK(std_recursive_mutex)->Threads(1)->Threads(2);
BENCHMARK(registry)->Arg(1)->Arg(100)->Arg(10000);
BENCHMARK(registry)->Arg(100)->Threads(2);
BENCHMARK(registry_stale_handle);
BENCHMARK(registry_insert_remove);
BENCHMARK(random_value)->Threads(1)->Threads(2);
BENCHMARK(thread_id);

}  // namespace
