// The timers of a loop that are due one day: a heap of four children a node, the earliest at the
// top, and of those due at the same time the one that was scheduled last.
#pragma once

#include <cstdint>

#include "base/owned.h"
#include "event/handler.h"

namespace kiv::event {

enum class TimerKind : std::int32_t { once = 0, loop = 1, limit = 2 };

inline constexpr std::int64_t kMicrosecondsPerMs = 1000;
inline constexpr std::int32_t kNotScheduled = -1;

// A timer of a box. One that has fired for the last time stays, without being scheduled.
struct Timer {
  std::int32_t id;
  std::int32_t times_fired;
  TimerHandler handler;
  std::int64_t due_us;
  std::uint32_t interval_ms;
  TimerKind kind;
  std::int32_t firings_left;           // of a limit timer
  std::int32_t place = kNotScheduled;  // in the heap
};

class TimerHeap {
 public:
  TimerHeap() = default;
  ~TimerHeap() = default;
  TimerHeap(const TimerHeap&) = delete;
  TimerHeap& operator=(const TimerHeap&) = delete;

  bool empty() const { return count_ == 0; }
  // When the earliest is due; there must be one.
  std::int64_t first_us() const { return entries_[0].at_us; }
  Timer& first() const { return *entries_[0].timer; }

  // Makes room for one more; false if out of memory.
  bool reserve() noexcept;
  // Schedules a timer that is not scheduled, where room was made; not before `earliest_us`.
  void add(Timer& timer, std::int64_t earliest_us = INT64_MIN) noexcept;
  void remove(Timer& timer) noexcept;
  // Schedules it anew where it is scheduled.
  void move(Timer& timer, std::int64_t earliest_us = INT64_MIN) noexcept;

 private:
  struct Entry {
    std::int64_t at_us;
    std::uint64_t number;  // counts what was scheduled
    Timer* timer;

    // deliberate: the newest goes first among equals; applications rely on this order.
    bool before(const Entry& other) const {
      return at_us < other.at_us || (at_us == other.at_us && number > other.number);
    }
  };

  void put(std::uint32_t place, const Entry& entry) noexcept;
  void rise(std::uint32_t place, const Entry& entry) noexcept;
  void sink(std::uint32_t place, const Entry& entry) noexcept;
  void settle(std::uint32_t place, const Entry& entry) noexcept;

  base::RawStorage<Entry> entries_;
  std::uint32_t count_ = 0;
  std::uint32_t capacity_ = 0;
  std::uint64_t scheduled_ = 0;
};

}  // namespace kiv::event
