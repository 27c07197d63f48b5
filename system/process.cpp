// Random numbers for ids, and thread ids.
#include <atomic>
#include <cstdint>

#include "kiv_base/system.h"
#include "platform/clock.h"
#include "platform/random.h"
#include "platform/thread.h"

using namespace kiv;

namespace {

std::uint64_t seed() {
  std::uint64_t value;
  if (platform::random_bytes(&value, sizeof value)) return value;
  return static_cast<std::uint64_t>(platform::wall_us() ^ platform::steady_us() << 20);
}

// SplitMix64 (Steele, Lea, Flood 2014): the state only counts, so that one atomic addition gives
// every thread a number of its own.
std::uint64_t next_random() {
  constexpr std::uint64_t kStep = 0x9e3779b97f4a7c15;
  static std::atomic<std::uint64_t> state{seed()};
  std::uint64_t z = state.fetch_add(kStep, std::memory_order_relaxed) + kStep;
  z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
  z = (z ^ z >> 27) * 0x94d049bb133111eb;
  return z ^ z >> 31;
}

}  // namespace

int32_t KIV_CALL zu_RandomValue(void) KIV_NOEXCEPT {
  return static_cast<int32_t>(next_random() >> 33);
}

int32_t KIV_CALL zu_GetPid(void) KIV_NOEXCEPT {
  // deliberate: the thread's id despite the name; hosts tell a box's own thread by it.
  return platform::current_thread_id();
}
