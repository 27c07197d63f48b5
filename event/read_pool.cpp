#include "event/read_pool.h"

#include <bit>

#include "base/lock.h"
#include "base/owned.h"

namespace kiv::event {
namespace {

constexpr std::uint32_t kBytes = 204800;
constexpr std::uint32_t kBuffers = 20;  // in 4 MiB
constexpr std::uint32_t kAllTaken = (1U << kBuffers) - 1;

struct Pool {
  base::StaticLock lock;
  base::RawStorage<char> memory;
  std::uint32_t taken = 0;  // a bit for each buffer
  bool is_retired = false;

  char* take_buffer() {
    const base::Guard guard(lock);
    if (!memory) memory = base::RawStorage<char>::allocate(kBytes * kBuffers);
    is_retired = false;
    if (!memory || taken == kAllTaken) return nullptr;
    const auto free = static_cast<std::uint32_t>(std::countr_one(taken));
    taken |= 1U << free;
    return &memory[free * kBytes];
  }

  void give_back(const char* buffer) {
    const base::Guard guard(lock);
    taken &= ~(1U << static_cast<std::uint32_t>(buffer - memory.get()) / kBytes);
    free_if_idle();
  }

  void retire() {
    const base::Guard guard(lock);
    is_retired = true;
    free_if_idle();
  }

  // A shut-down must not take the memory from under the reads that go on.
  void free_if_idle() {
    if (is_retired && taken == 0) memory.reset();
  }
};

Pool& shared() {
  static Pool pool;
  return pool;
}

}  // namespace

void read_pool_shutdown() {
  shared().retire();
}

ReadBuffer::ReadBuffer() : large_(shared().take_buffer()) {
  static_assert(kLarge == kBytes);
}

ReadBuffer::~ReadBuffer() {
  if (large_ != nullptr) shared().give_back(large_);
}

}  // namespace kiv::event
