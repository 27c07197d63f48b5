#include "platform/clock.h"

#include <cerrno>
#include <ctime>
#include <limits>

#include "platform/posix/environment.h"

namespace kiv::platform {

namespace {

std::int64_t read_us(clockid_t clock) {
  timespec now;
  clock_gettime(clock, &now);
  return std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

}  // namespace

std::int64_t wall_us() noexcept {
  return read_us(CLOCK_REALTIME);
}
std::int64_t steady_us() noexcept {
  return read_us(CLOCK_MONOTONIC);
}

void sleep_ms(std::uint32_t milliseconds) noexcept {
  timespec end;
  clock_gettime(CLOCK_MONOTONIC, &end);
  end.tv_sec += milliseconds / 1000;
  end.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
  if (end.tv_nsec >= 1000000000) {
    end.tv_nsec -= 1000000000;
    ++end.tv_sec;
  }
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}

bool local_time(std::int64_t seconds, std::tm* out) noexcept {
  if (seconds < std::numeric_limits<std::time_t>::min() ||
      seconds > std::numeric_limits<std::time_t>::max()) {
    return false;
  }
  const auto value = static_cast<std::time_t>(seconds);
  const EnvironmentLock lock;
  return localtime_r(&value, out) != nullptr;
}

std::int64_t seconds_of_local_time(std::tm fields) noexcept {
  const EnvironmentLock lock;
  return mktime(&fields);
}

}  // namespace kiv::platform
