// The engine under every box: waits for sockets and timers and calls what was registered.
//
// One thread runs the loop. Other threads may use the engine while it runs only under the lock
// that run() was given; break_loop needs no lock. Callbacks run on the loop's thread without the
// lock and may do everything but free the engine.
#pragma once

#include <atomic>
#include <cstdint>

#include "event/fd_table.h"
#include "event/timer_set.h"
#include "kiv_base/base.h"

namespace kiv::event {

struct Engine {
  TimerSet timers;
  FdTable sockets;
  std::atomic<std::int32_t> break_flag{0};  // 1: stop; never cleared
  platform::SocketSet work[3];              // what a wait gave, by Kind
  platform::SocketSet* ready[3] = {};       // null: no registration of that kind in this pass
  Moment timeout;
  Moment* timeout_or_null = nullptr;    // null: no timer
  std::atomic<std::uint32_t> waits{0};  // begun and ended: odd during a wait for sockets

  // Starts the network. Null without memory.
  static Engine* make() noexcept;
  // Frees the engine with all registrations; null is ignored. Not while it runs.
  static void free(Engine* engine) noexcept;

  // False, and no change, for a negative socket, no callback, a second registration of the kind, or
  // when the kind has 1024 already.
  bool add_socket(Kind kind, std::int32_t socket, zu_event_fn callback, void* user) noexcept;
  // `record` may be null.
  bool find_socket(Kind kind, std::int32_t socket, FdRecord* record) const noexcept;
  bool delete_socket(Kind kind, std::int32_t socket) noexcept;
  // The socket whose callback is running, or -1.
  std::int32_t this_socket() const noexcept;

  // False, and no change, for a negative id, interval 0, no callback, a limit below 1, a starting
  // count not below the limit, or an id in use.
  bool add_timer(TimerKind kind, std::int32_t id, std::uint32_t interval_ms, zu_event_fn callback,
                 void* user, std::int32_t limit = 1, std::int32_t starting_count = 0) noexcept;
  // Adds the interval to the due time of the timer, once, and replaces callback and argument; the
  // timer keeps its own interval. False when there is no such timer.
  bool refresh_timer(std::int32_t id, std::uint32_t interval_ms, zu_event_fn callback,
                     void* user) noexcept;
  bool delete_timer(std::int32_t id) noexcept;
  // The timer whose callback is running, or -1.
  std::int32_t this_timer() const noexcept;

  // Any thread; a wait that has begun is not woken by it.
  void break_loop() noexcept;
  // Drops all registrations and timers. The break flag stays.
  void clear() noexcept;

  // Runs until break_loop, until no socket and no timer is left, or until waiting fails. `lock`
  // guards the tables; null: one thread uses the engine.
  void run(zu_sem* lock) noexcept;
};

}  // namespace kiv::event
