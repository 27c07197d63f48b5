// What the posix pollers share: the watched sockets, which of them are ready, and a wait by poll().
#pragma once

#include <poll.h>

#include <cstdint>

#include "platform/poller.h"
#include "platform/posix/ready_set.h"

namespace kiv::platform {

// Up to this many sockets are looked up, and waited for, by going through them all.
inline constexpr std::uint32_t kFew = 16;

struct Watch {
  std::int32_t socket;
  std::uint32_t serial;  // tells the results of what is watched now from older ones
  Kinds kinds;
  Kinds fresh;              // those watched since the wait began
  std::uint32_t hands = 0;  // count of the number's hands when it was last known to be this socket
  std::int8_t is_tcp = -1;  // -1: not asked yet; no other kind has given all with a short read
  bool short_reads_lie = false;  // the stream has ended or carries urgent data
  bool is_file = false;          // the system cannot watch it: always ready
  bool is_muted = false;  // it would end every poll() and nothing watches for what it reports
};

class Watches {
 public:
  Watches() = default;
  ~Watches();
  Watches(const Watches&) = delete;
  Watches& operator=(const Watches&) = delete;

  std::uint32_t count() const noexcept { return count_; }
  Watch* begin() noexcept { return watches_; }
  Watch* end() noexcept { return watches_ + count_; }

  // Null when it is not watched.
  Watch* find(std::int32_t socket) noexcept;
  // Watches a socket that is not watched yet; null if out of memory.
  Watch* add(std::int32_t socket, Kinds kinds) noexcept;
  void remove(Watch& watch) noexcept;
  // What a socket is no longer watched for it is not ready for either.
  void set_kinds(Watch& watch, Kinds kinds) noexcept;
  // Takes over what a wait found: those of `found` that are watched for.
  void set_ready(const Watch& watch, Kinds found) noexcept;
  void clear_ready() noexcept;
  bool any_ready() const noexcept;

  // The wait by poll(): copy the watches, wait, take the results over. Only poll() may run without
  // the lock. A signal ends it early. False when the wait failed.
  void begin_poll() noexcept;
  void poll(const std::int64_t* timeout_us) noexcept;
  bool end_poll() noexcept;

  ReadySet ready[3];  // by Kind
  ReadySet dead;

 private:
  bool reserve(std::int32_t socket) noexcept;
  bool reserve_watches() noexcept;
  bool reserve_places(std::int32_t socket) noexcept;

  Watch* watches_ = nullptr;
  std::uint32_t count_ = 0;
  std::uint32_t capacity_ = 0;
  std::uint32_t serial_ = 0;
  std::uint32_t* places_ = nullptr;  // by socket; only while there are more than a few
  std::uint32_t place_count_ = 0;

  pollfd* polled_ = nullptr;       // the loop's thread alone uses it during a wait
  pollfd* next_polled_ = nullptr;  // a larger one for the next wait
  std::uint32_t polled_count_ = 0;
  int found_ = 0;
};

// What poll() is asked for, and what its answer means.
short poll_events(Kinds kinds) noexcept;
Kinds found_by_poll(short events, Kinds kinds) noexcept;
// Asks for one socket at once: the events shown, POLLNVAL for a number that is not open.
short shown_now(std::int32_t socket, short events) noexcept;
// Is the number open? Leaves a pending error in place.
bool is_open(std::int32_t socket) noexcept;

}  // namespace kiv::platform
