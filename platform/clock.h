// Wall time, steady time, local time and sleeping. Tests that move the clock link their own
// definition of these.
#pragma once

#include <cstdint>
#include <ctime>

namespace kiv::platform {

// Microseconds since 1970-01-01 UTC; follows every step of the system clock.
std::int64_t wall_us() noexcept;

// Microseconds since some fixed moment; never steps and never goes back.
std::int64_t steady_us() noexcept;

// Suspends the calling thread. Interruptions by signals do not shorten it. A count is never read
// as "for ever".
void sleep_ms(std::uint32_t milliseconds) noexcept;

// Seconds since the epoch as local calendar time; false when the value has none. Re-entrant.
bool local_time(std::int64_t seconds, std::tm* out) noexcept;

// The reverse. Fields beyond their range carry over; tm_isdst says whether it is summer time. -1
// when the calendar has no such time.
std::int64_t seconds_of_local_time(std::tm fields) noexcept;

}  // namespace kiv::platform
