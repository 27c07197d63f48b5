#include "tally.h"

#include <algorithm>
#include <bit>

namespace uvc_ping {
namespace {

// Microseconds below 2048 have a bucket each; above, every power of two has 1024.
constexpr std::uint32_t kFine = 1024;

std::size_t bucket_of(std::uint32_t us) {
  const int shift = std::max(0, static_cast<int>(std::bit_width(us / kFine)) - 1);
  return static_cast<std::size_t>(shift) * kFine + (us >> shift);
}

double middle_us(std::size_t bucket) {
  if (bucket < 2 * kFine) return static_cast<double>(bucket);
  const std::uint64_t shift = bucket / kFine - 1;
  const std::uint64_t from = (bucket - shift * kFine) << shift;
  return static_cast<double>(from) + static_cast<double>((std::uint64_t{1} << shift) - 1) / 2;
}

std::uint32_t to_us(Clock::duration time) {
  const auto us = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(us, 0, UINT32_MAX));
}

}  // namespace

void Times::add(Clock::duration time) {
  min_ = is_empty() ? time : std::min(min_, time);
  max_ = is_empty() ? time : std::max(max_, time);
  ++count_;
  if (buckets_.empty()) buckets_.resize(bucket_of(UINT32_MAX) + 1);
  ++buckets_[bucket_of(to_us(time))];
}

double Times::median_ms() const {
  std::uint64_t below = 0;
  for (std::size_t i = 0; i < buckets_.size(); ++i) {
    below += buckets_[i];
    if (below * 2 >= count_) return std::clamp(middle_us(i) / 1000, min_ms(), max_ms());
  }
  return 0;
}

void Tally::add_sent(std::uint32_t number, Clock::time_point now) {
  recent_[number % kRemembered] = {number, false, now};
  ++sent_;
}

Tally::Answer Tally::take_answer(std::uint32_t number, Clock::time_point now) {
  Ping& ping = recent_[number % kRemembered];
  if (number == 0 || ping.number != number) return {Answer::unknown, {}};
  const Clock::duration time = now - ping.sent;
  if (ping.is_answered) {
    ++again_;
    return {Answer::again, time};
  }
  ping.is_answered = true;
  ++received_;
  times_.add(time);
  if (number < highest_answered_) {
    ++out_of_order_;
    return {Answer::out_of_order, time};
  }
  highest_answered_ = number;
  return {Answer::in_order, time};
}

}  // namespace uvc_ping
