// The clocks of the seam tests: real time until a test takes them over.
#pragma once

#include <cstdint>

namespace kiv::test {

// Stops the clocks while it lives; only the test, and the library's own sleeping, moves them. Waits
// for sockets still take real time, except in programs with the seam for waits.
class StoppedClock {
 public:
  // Starts at the given wall time, in microseconds since 1970, by default 2009-03-07 09:05:01 UTC.
  explicit StoppedClock(std::int64_t wall_us = 1236416701000000);
  ~StoppedClock();
  StoppedClock(const StoppedClock&) = delete;
  StoppedClock& operator=(const StoppedClock&) = delete;

  void advance_ms(std::int64_t milliseconds);      // time passes: both clocks
  void step_wall_ms(std::int64_t milliseconds);    // somebody sets the system clock
  std::int64_t slept_ms() const;                   // asked for by the library so far
  static bool pass_us(std::int64_t microseconds);  // false, and nothing, while the clocks run
};

}  // namespace kiv::test
