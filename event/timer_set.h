// The timers of a loop: a list sorted by due time, earliest first.
//
// Express lanes over the list find the place of a new timer without walking it all (W. Pugh, "Skip
// lists", 1990; the list is the lowest lane), and an index finds a timer by its id.
#pragma once

#include <atomic>
#include <cstdint>

#include "event/id_index.h"
#include "event/moment.h"
#include "kiv_base/containers.h"
#include "kiv_base/event.h"

namespace kiv::event {

enum class TimerKind : std::int32_t { once = 0, loop = 1, limit = 2 };

struct TimerRecord {
  Moment due;
  std::int32_t id;
  zu_event_fn callback;
  void* user;
  TimerKind kind;
  std::uint32_t interval_ms;
  std::int32_t limit;  // firings of a limit timer; 1 for the others
  std::int32_t count;  // firings done of a limit timer
};

struct TimerNode;

// A callback and its argument, copied out so that it can be called without the lock.
struct Call {
  zu_event_fn callback = nullptr;
  void* user = nullptr;
  void operator()() const { callback(user); }
};

struct TimerSet {
  zu_list* first = nullptr;
  std::int32_t count = 0;
  std::atomic<std::int32_t> current{-1};  // the timer whose callback is running

  static constexpr int kLanes = 8;  // above the list itself; each holds about a quarter of the one
                                    // below it
  TimerNode* lanes[kLanes] = {};
  IdIndex index;
  std::uint32_t random = 0x9e3779b9;

  // Adds a timer due at `now` + its interval; the due time of `timer` is not looked at. It goes
  // before the timers of the same due time. False for a bad value, a known id or without memory.
  bool add(const TimerRecord& timer, const Moment& now) noexcept;
  // Moves the due time by an interval, from what it was, and replaces the callback. The timer keeps
  // its own interval for later firings.
  bool refresh(std::int32_t id, std::uint32_t interval_ms, zu_event_fn callback,
               void* user) noexcept;
  bool remove(std::int32_t id) noexcept;
  void clear() noexcept;

  // The earliest timer; null when there is none.
  const TimerRecord* earliest() const noexcept;
  // When the earliest timer is due: makes it the current one, reschedules or removes it, and gives
  // its call.
  bool take_due(const Moment& now, Call* call) noexcept;
};

}  // namespace kiv::event
