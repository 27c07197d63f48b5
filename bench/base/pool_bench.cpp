// The memory pool beside the process heap; a bump pointer shows the least that memory can cost.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "kiv_base/base.h"

namespace {

constexpr std::uint32_t kRegion = 1 << 20;

struct Pool {
  std::unique_ptr<char[]> region = std::make_unique<char[]>(kRegion);
  void* pool = zu_mem_init(region.get(), kRegion);
  void* allocate(std::uint32_t size) { return zu_mem_malloc(pool, size); }
  void release(void* block) { zu_mem_free(pool, block); }
};

struct Heap {
  void* allocate(std::uint32_t size) { return std::malloc(size); }
  void release(void* block) { std::free(block); }
};

struct Bump {
  std::unique_ptr<char[]> region = std::make_unique<char[]>(kRegion);
  std::uint32_t used = 0;
  void* allocate(std::uint32_t size) {
    if (used + size > kRegion) used = 0;
    used += size;
    return region.get() + used - size;
  }
  void release(void* block) { benchmark::DoNotOptimize(block); }
};

// One block taken and given back: neither search nor neighbours.
template <typename Allocator>
void one_block(benchmark::State& state) {
  Allocator memory;
  for (auto _ : state) {
    void* block = memory.allocate(40);
    benchmark::DoNotOptimize(block);
    memory.release(block);
  }
}

// A working set of 200 blocks of 16 to 255 bytes; each step replaces one of them.
template <typename Allocator>
void churn(benchmark::State& state) {
  Allocator memory;
  std::mt19937 random(1);
  std::vector<std::uint32_t> steps(4096);
  for (auto& step : steps) step = static_cast<std::uint32_t>(random());
  std::vector<void*> blocks(200);
  for (auto& block : blocks) block = memory.allocate(64);
  std::size_t at = 0;
  for (auto _ : state) {
    const std::uint32_t step = steps[at++ % steps.size()];
    void*& block = blocks[step % blocks.size()];
    memory.release(block);
    block = memory.allocate(16 + (step >> 16) % 240);
    benchmark::DoNotOptimize(block);
  }
  for (void* block : blocks) memory.release(block);
}

// What a parsed packet does: 20 small blocks, then all of them freed, last first.
template <typename Allocator>
void packet(benchmark::State& state) {
  Allocator memory;
  void* blocks[20];
  for (auto _ : state) {
    std::uint32_t size = 8;
    for (void*& block : blocks) block = memory.allocate(size++);
    benchmark::DoNotOptimize(blocks);
    for (int i = 20; i-- > 0;) memory.release(blocks[i]);
  }
}

BENCHMARK(one_block<Pool>);
BENCHMARK(one_block<Heap>);
BENCHMARK(one_block<Bump>);
BENCHMARK(churn<Pool>);
BENCHMARK(churn<Heap>);
BENCHMARK(churn<Bump>);
BENCHMARK(packet<Pool>);
BENCHMARK(packet<Heap>);
BENCHMARK(packet<Bump>);

}  // namespace
