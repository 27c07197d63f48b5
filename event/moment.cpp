#include "event/moment.h"

#include <atomic>

#include "platform/clock.h"

namespace kiv::event {
namespace {

std::int32_t wrapped(std::int64_t seconds) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(seconds));
}

// What the steady clock lacks to the wall clock, fixed at the first call.
std::int64_t epoch_offset_us() {
  static const std::int64_t offset = platform::wall_us() - platform::steady_us();
  return offset;
}

}  // namespace

Moment later_by(const Moment& moment, std::uint32_t milliseconds) noexcept {
  const std::int64_t microseconds = moment.microseconds + std::int64_t{milliseconds % 1000} * 1000;
  const std::int64_t carry = microseconds >= kMicrosecondsPerSecond ? 1 : 0;
  return {wrapped(std::int64_t{moment.seconds} + milliseconds / 1000 + carry),
          static_cast<std::int32_t>(microseconds - carry * kMicrosecondsPerSecond)};
}

Moment time_until(const Moment& from, const Moment& to) noexcept {
  if (!earlier(from, to)) return {};
  const bool borrow = to.microseconds < from.microseconds;
  return {seconds_between(from, to) - (borrow ? 1 : 0),
          to.microseconds - from.microseconds + (borrow ? kMicrosecondsPerSecond : 0)};
}

Moment present() noexcept {
  const std::int64_t now_us = epoch_offset_us() + platform::steady_us();
  return {wrapped(now_us / kMicrosecondsPerSecond),
          static_cast<std::int32_t>(now_us % kMicrosecondsPerSecond)};
}

}  // namespace kiv::event
