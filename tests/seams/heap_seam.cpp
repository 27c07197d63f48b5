#include "tests/seams/heap_seam.h"

#include <atomic>
#include <cstdlib>

#include "platform/heap.h"

namespace {

std::atomic<std::int64_t> made{0};
std::atomic<std::int64_t> live{0};
std::atomic<std::int64_t> fail_from{0};  // in terms of `made`; 0: never
std::atomic<bool> fail_all_after{false};
std::atomic<bool> failed{false};

bool must_fail() {
  const std::int64_t number = ++made;
  const std::int64_t from = fail_from;
  if (from == 0 || number < from || (number > from && !fail_all_after)) return false;
  failed = true;
  return true;
}

}  // namespace

namespace kiv::platform {

void* heap_alloc(std::size_t size) noexcept {
  void* block = must_fail() ? nullptr : std::malloc(size);
  if (block != nullptr) ++live;
  return block;
}

void* heap_realloc(void* block, std::size_t size) noexcept {
  if (block == nullptr) return heap_alloc(size);
  return must_fail() ? nullptr : std::realloc(block, size);
}

void heap_free(void* block) noexcept {
  if (block != nullptr) --live;
  std::free(block);
}

}  // namespace kiv::platform

namespace kiv::test {

void fail_allocation(std::int64_t nth, bool all_after) {
  failed = false;
  fail_all_after = all_after;
  fail_from = nth == 0 ? 0 : made + nth;
}

bool allocation_failed() {
  return failed;
}
std::int64_t live_blocks() {
  return live;
}
std::int64_t allocations() {
  return made;
}

}  // namespace kiv::test
