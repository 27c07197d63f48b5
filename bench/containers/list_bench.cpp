// Both list sorts beside std::list, with the same comparison function, over random values and
// over values that are sorted but for one in a hundred. The ceiling sorts an array of pointers.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <list>
#include <random>
#include <vector>

#include "kiv_base/containers.h"

namespace {

int KIV_CALL compare(const void* a, const void* b) {
  const int x = *static_cast<const int*>(a), y = *static_cast<const int*>(b);
  return x < y ? -1 : x > y;
}

// Hides the function from the optimiser: neither side may inline it.
zu_compare_fn hidden_compare() {
  zu_compare_fn fn = compare;
  benchmark::DoNotOptimize(fn);
  return fn;
}

std::vector<int> values_for(const benchmark::State& state) {
  std::mt19937 dice(1);
  std::vector<int> values;
  const auto count = static_cast<int>(state.range(0));
  const bool nearly_sorted = state.range(1) != 0;
  for (int i = 0; i < count; ++i) {
    const int any = static_cast<int>(dice() >> 1);
    values.push_back(nearly_sorted && dice() % 100 ? i : nearly_sorted ? any % count : any);
  }
  return values;
}

template <zu_list*(KIV_CALL* sort)(zu_list*, zu_compare_fn) noexcept>
void zu_sort(benchmark::State& state) {
  std::vector<int> values = values_for(state);
  const zu_compare_fn order = hidden_compare();
  zu_list* list = nullptr;
  for (auto it = values.rbegin(); it != values.rend(); ++it) list = zu_list_prepend(list, &*it);
  for (auto _ : state) {
    state.PauseTiming();
    std::size_t i = 0;
    for (zu_list* node = list; node; node = node->next) node->data = &values[i++];
    state.ResumeTiming();
    list = sort(list, order);
  }
  zu_list_destroy_all(list, nullptr, nullptr);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void std_list_sort(benchmark::State& state) {
  std::vector<int> values = values_for(state);
  const zu_compare_fn order = hidden_compare();
  std::list<void*> list(values.size());
  for (auto _ : state) {
    state.PauseTiming();
    std::size_t i = 0;
    for (void*& data : list) data = &values[i++];
    state.ResumeTiming();
    list.sort([order](void* a, void* b) { return order(a, b) < 0; });
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void array_stable_sort(benchmark::State& state) {
  std::vector<int> values = values_for(state);
  const zu_compare_fn order = hidden_compare();
  std::vector<void*> array(values.size());
  for (auto _ : state) {
    state.PauseTiming();
    for (std::size_t i = 0; i < values.size(); ++i) array[i] = &values[i];
    state.ResumeTiming();
    std::stable_sort(array.begin(), array.end(),
                     [order](void* a, void* b) { return order(a, b) < 0; });
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void sizes(benchmark::internal::Benchmark* bench) {
  for (int nearly_sorted : {0, 1}) {
    for (int count : {1000, 100000}) bench->Args({count, nearly_sorted});
  }
  bench->ArgNames({"n", "nearly_sorted"});
}

BENCHMARK(zu_sort<zu_list_sort>)->Apply(sizes)->Name("zu_list_sort");
BENCHMARK(zu_sort<zu_list_sort2>)->Apply(sizes)->Name("zu_list_sort2");
BENCHMARK(std_list_sort)->Apply(sizes);
BENCHMARK(array_stable_sort)->Apply(sizes);

}  // namespace
