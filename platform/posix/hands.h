// How often a descriptor number has changed hands, as far as this library takes part in it:
// opening, closing, and watching it anew. Who kept a number for a while sees without a system call
// that it may be somebody else's by now. Numbers share counts, so a change may be another number's.
#pragma once

#include <atomic>
#include <cstdint>

namespace kiv::platform {

inline constexpr std::uint32_t kHandCounts = 4096;
inline std::atomic<std::uint32_t> hand_counts[kHandCounts];

inline std::atomic<std::uint32_t>& hand_count(std::int32_t number) {
  return hand_counts[static_cast<std::uint32_t>(number) % kHandCounts];
}

// Returns the number.
inline std::int32_t in_new_hands(std::int32_t number) {
  if (number >= 0) hand_count(number).fetch_add(1, std::memory_order_release);
  return number;
}

}  // namespace kiv::platform
