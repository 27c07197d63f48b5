#include "platform/clock.h"

#include <windows.h>

#include <ctime>

namespace kiv::platform {

namespace {

constexpr std::int64_t kUsFrom1601To1970 = 11644473600000000;
// The C runtimes' calendar ends with the year 3000; beyond it, and before 1970, the newer of them
// ends the process.
constexpr std::int64_t kLastSecond = 32535215999;

}  // namespace

std::int64_t wall_us() noexcept {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  const std::int64_t ticks =
      static_cast<std::int64_t>(std::uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime);
  return ticks / 10 - kUsFrom1601To1970;
}

std::int64_t steady_us() noexcept {
  static const std::int64_t frequency = [] {
    LARGE_INTEGER value;
    QueryPerformanceFrequency(&value);
    return std::int64_t{value.QuadPart};
  }();
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  // In two steps, as ticks times a million overflow after some days.
  return now.QuadPart / frequency * 1000000 + now.QuadPart % frequency * 1000000 / frequency;
}

void sleep_ms(std::uint32_t milliseconds) noexcept {
  Sleep(milliseconds == INFINITE ? INFINITE - 1 : milliseconds);
}

bool local_time(std::int64_t seconds, std::tm* out) noexcept {
  if (seconds < 0 || seconds > kLastSecond) return false;
  const __time64_t value = seconds;
  return _localtime64_s(out, &value) == 0;
}

std::int64_t seconds_of_local_time(std::tm fields) noexcept {
  return _mktime64(&fields);
}

}  // namespace kiv::platform
