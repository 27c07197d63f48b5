// What a loop has to do for the streams of its box beside serving ready sockets.
#pragma once

#include <atomic>
#include <cstdint>

namespace kiv::event {

struct Stream;

// A list that runs through the streams in it: to add one takes no memory.
struct StreamList {
  Stream* first = nullptr;
  Stream* last = nullptr;
};

// The two atomics are for the loop, which looks at them without the lock.
struct StreamWork {
  static constexpr std::int64_t kNever = INT64_MAX;

  std::atomic<bool> has_notices{false};
  std::atomic<std::int64_t> next_check_us{kNever};  // when the limits are looked at again
  StreamList notices;                               // of which the application is to be called
  StreamList limited;                               // that have a time limit
  StreamList due;                                   // of these, those whose time is up

  // Does it keep the loop running?
  bool empty() const {
    return notices.first == nullptr && limited.first == nullptr && due.first == nullptr;
  }
};

}  // namespace kiv::event
