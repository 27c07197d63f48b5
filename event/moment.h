// Moments of the timers: two 32-bit words that count from 1970-01-01 UTC.
#pragma once

#include <cstdint>

namespace kiv::event {

inline constexpr std::int32_t kMicrosecondsPerSecond = 1000000;

struct Moment {
  std::int32_t seconds = 0;
  std::int32_t microseconds = 0;  // 0 to 999999
};

// Seconds from `from` to `to`. They wrap around, so that order holds past the year 2038.
constexpr std::int32_t seconds_between(const Moment& from, const Moment& to) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(to.seconds) -
                                   static_cast<std::uint32_t>(from.seconds));
}

constexpr bool earlier(const Moment& a, const Moment& b) {
  const std::int32_t seconds = seconds_between(a, b);
  return seconds > 0 || (seconds == 0 && a.microseconds < b.microseconds);
}

Moment later_by(const Moment& moment, std::uint32_t milliseconds) noexcept;

// Time from `from` to `to`, zero when that has passed.
Moment time_until(const Moment& from, const Moment& to) noexcept;

// The present. It starts at the wall clock's time but advances steadily: a stepped system clock
// neither fires timers in a burst nor stalls them.
Moment present() noexcept;

}  // namespace kiv::event
