#include "tests/seams/clock_seam.h"

#include <algorithm>
#include <atomic>

#include "platform/clock.h"

// The platform's own clock, compiled for the seam under these names.
namespace kiv::platform {
std::int64_t real_wall_us() noexcept;
std::int64_t real_steady_us() noexcept;
void real_sleep_ms(std::uint32_t milliseconds) noexcept;
bool real_local_time(std::int64_t seconds, std::tm* out) noexcept;
}  // namespace kiv::platform

namespace {

std::atomic<bool> stopped{false};
std::atomic<std::int64_t> wall{0};
std::atomic<std::int64_t> steady{0};
std::atomic<std::int64_t> slept{0};
std::atomic<std::int64_t> ahead{0};  // of the real steady clock, which must never go back

void pass(std::int64_t us) {
  wall += us;
  steady += us;
}

}  // namespace

namespace kiv::platform {

std::int64_t wall_us() noexcept {
  return stopped ? wall.load() : real_wall_us();
}
std::int64_t steady_us() noexcept {
  return stopped ? steady.load() : real_steady_us();
}

void sleep_ms(std::uint32_t milliseconds) noexcept {
  if (!stopped) return real_sleep_ms(milliseconds);
  slept += milliseconds;
  pass(std::int64_t{milliseconds} * 1000);
}

bool local_time(std::int64_t seconds, std::tm* out) noexcept {
  return real_local_time(seconds, out);
}

}  // namespace kiv::platform

namespace kiv::test {

StoppedClock::StoppedClock(std::int64_t wall_us) {
  wall = wall_us;
  steady = platform::real_steady_us() + ahead;
  slept = 0;
  stopped = true;
}

StoppedClock::~StoppedClock() {
  stopped = false;
}

void StoppedClock::advance_ms(std::int64_t milliseconds) {
  pass(milliseconds * 1000);
}
void StoppedClock::step_wall_ms(std::int64_t milliseconds) {
  wall += milliseconds * 1000;
}
std::int64_t StoppedClock::slept_ms() const {
  return slept;
}
bool StoppedClock::pass_us(std::int64_t microseconds) {
  if (stopped) pass(microseconds);
  return stopped;
}

}  // namespace kiv::test
