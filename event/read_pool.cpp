#include "event/read_pool.h"

#include "base/guard.h"
#include "event/bigbox_registry.h"
#include "kiv_base/base.h"

namespace kiv::event {
namespace {

constexpr std::uint32_t kPoolBytes = 0x400000;

// Guarded by the lock of the big boxes, like all that follows.
struct ReadPool {
  void* pool = nullptr;     // lies at the start of its memory
  std::int32_t in_use = 0;  // buffers that are out
  bool is_retired = false;
};
ReadPool shared;

bool make_pool() {
  if (shared.pool == nullptr) shared.pool = zu_mem_init(_zu_malloc(kPoolBytes), kPoolBytes);
  shared.is_retired = false;
  return shared.pool != nullptr;
}

char* take() {
  if (!make_pool()) return nullptr;
  auto* buffer = static_cast<char*>(zu_mem_malloc(shared.pool, kReadBytes));
  if (buffer != nullptr) ++shared.in_use;
  return buffer;
}

// A shut-down must not take the memory from under the reads that go on.
void free_if_idle() {
  if (!shared.is_retired || shared.in_use > 0) return;
  zu_mem_destroy(shared.pool);
  _zu_free(shared.pool);
  shared.pool = nullptr;
}

void give_back(char* buffer) {
  const base::Guard guard(bigbox_registry().lock());
  zu_mem_free(shared.pool, buffer);
  --shared.in_use;
  free_if_idle();
}

}  // namespace

void read_pool_shutdown() {
  const base::Guard guard(bigbox_registry().lock());
  shared.is_retired = true;
  free_if_idle();
}

void ReadBuffer::take_large_nolock() {
  large_ = take();
}

ReadBuffer::~ReadBuffer() {
  if (large_ != nullptr) give_back(large_);
}

}  // namespace kiv::event
