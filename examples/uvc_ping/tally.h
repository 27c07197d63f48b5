// What became of the pings: counted, and timed.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace uvc_ping {

using Clock = std::chrono::steady_clock;

// Round-trip times in a fixed amount of memory, for runs of any length: the median is off by less
// than a thousandth.
class Times {
 public:
  void add(Clock::duration time);

  bool is_empty() const { return count_ == 0; }
  double min_ms() const { return to_ms(min_); }
  double median_ms() const;  // of an even number of times, the lower middle one
  double max_ms() const { return to_ms(max_); }

  static double to_ms(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
  }

 private:
  std::uint64_t count_ = 0;
  Clock::duration min_{}, max_{};
  std::vector<std::uint64_t> buckets_;
};

class Tally {
 public:
  struct Answer {
    enum Kind { in_order, out_of_order, again, unknown } kind;
    Clock::duration time;  // not for an unknown one
  };

  // Numbers go up from 1.
  void add_sent(std::uint32_t number, Clock::time_point now);
  // Unknown: of a ping that was not sent, or so long ago that it is forgotten.
  Answer take_answer(std::uint32_t number, Clock::time_point now);

  std::uint64_t sent() const { return sent_; }
  std::uint64_t received() const { return received_; }
  std::uint64_t missing() const { return sent_ - received_; }
  std::uint64_t out_of_order() const { return out_of_order_; }
  std::uint64_t again() const { return again_; }
  const Times& times() const { return times_; }

 private:
  struct Ping {
    std::uint32_t number = 0;
    bool is_answered = false;
    Clock::time_point sent;
  };
  static constexpr std::size_t kRemembered = 8192;

  std::vector<Ping> recent_ = std::vector<Ping>(kRemembered);
  std::uint32_t highest_answered_ = 0;
  std::uint64_t sent_ = 0, received_ = 0, out_of_order_ = 0, again_ = 0;
  Times times_;
};

}  // namespace uvc_ping
