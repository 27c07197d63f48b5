#include "base/random.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "platform/clock.h"
#include "platform/process.h"
#include "platform/random.h"

namespace kiv::base {
namespace {

std::uint64_t seed() {
  std::uint64_t value;
  if (platform::random_bytes(&value, sizeof value)) return value;
  return static_cast<std::uint64_t>(platform::wall_us() ^ platform::steady_us() << 20 ^
                                    std::int64_t{platform::process_id()} << 40);
}

std::atomic<std::uint64_t> state{0};

void begin_anew() {
  state = seed();
}

// SplitMix64 (Steele, Lea, Flood 2014): the state only counts, so that one atomic addition gives
// every thread a number of its own.
std::uint64_t next_random() {
  constexpr std::uint64_t kStep = 0x9e3779b97f4a7c15;
  // A forked process that went on where its parent was would draw the same numbers.
  static const bool follows_forks = [] {
    begin_anew();
    return platform::call_when_forked(begin_anew);
  }();
  if (!follows_forks) return seed();
  std::uint64_t z = state.fetch_add(kStep, std::memory_order_relaxed) + kStep;
  z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
  z = (z ^ z >> 27) * 0x94d049bb133111eb;
  return z ^ z >> 31;
}

// deliberate: some capitals come twice as often and "z" never; the session texts that applications
// know are drawn so.
char letter_or_digit(std::uint32_t random) {
  const auto drawn = static_cast<int>(random % 74);
  const int c = '0' + drawn;
  const bool punctuation = (c > '9' && c < 'A') || (c > 'Z' && c < 'a');
  return static_cast<char>(punctuation ? 'A' + (drawn + 48) % 25 : c);
}

}  // namespace

std::int32_t random_value() noexcept {
  return static_cast<int32_t>(next_random() >> 33);
}

bool random_text(char* buffer, std::int32_t count) noexcept {
  std::uint32_t drawn[64];  // as much as the system gives at once
  for (std::int32_t at = 0; at < count;) {
    const auto piece = std::min(std::size_t(count - at), std::size(drawn));
    if (!platform::random_bytes(drawn, piece * sizeof *drawn)) {
      *buffer = '\0';
      return false;
    }
    std::transform(drawn, drawn + piece, buffer + at, letter_or_digit);
    at += static_cast<std::int32_t>(piece);
  }
  buffer[count] = '\0';
  return true;
}

}  // namespace kiv::base
