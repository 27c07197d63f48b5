#include "event/engine.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <new>

#include "base/guard.h"
#include "base/owned.h"
#include "platform/clock.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

static_assert(sizeof(void*) != 4 ||
              (offsetof(Engine, sockets) == sizeof(TimerSet) &&
               offsetof(Engine, break_flag) == sizeof(TimerSet) + sizeof(FdTable) &&
               offsetof(Engine, work) == offsetof(Engine, break_flag) + 4 &&
               offsetof(Engine, ready) == offsetof(Engine, work) + 3 * 4100 &&
               offsetof(Engine, timeout) == offsetof(Engine, ready) + 12 &&
               offsetof(Engine, timeout_or_null) == offsetof(Engine, timeout) + 8));

void copy_image(platform::SocketSet& to, const platform::SocketSet& from, std::int32_t count) {
  to.count = count;
  std::copy_n(from.sockets, count, to.sockets);
}

// What a full wait found ready for reading beside the one that it is followed by, the highest
// first. A wait costs by the number of its sockets, and one is served for each. While a socket is
// known to be ready, only those above it need to be asked. This many turns at most, so that sockets
// closed behind the loop's back are found.
class Known {
 public:
  bool any() const { return next_ < count_; }
  std::int32_t highest() const { return sockets_[next_]; }
  void forget() { next_ = count_ = 0; }

  void remember(const platform::SocketSet& ready) {
    const std::int32_t* const begin = ready.sockets;
    std::int32_t* const end = std::partial_sort_copy(begin, begin + ready.count, sockets_,
                                                     sockets_ + kTurns, std::greater<>());
    count_ = static_cast<std::int32_t>(end - sockets_);
    next_ = 0;
    turns_ = 0;
  }

  // The turn that serves the highest of these. False when it is time for a full wait.
  bool take_turn(const platform::SocketSet& ready) {
    const std::int32_t served = *std::max_element(ready.sockets, ready.sockets + ready.count);
    while (any() && highest() >= served) ++next_;
    return ++turns_ < kTurns;
  }

 private:
  static constexpr std::int32_t kTurns = 32;
  std::int32_t sockets_[kTurns];
  std::int32_t count_ = 0;
  std::int32_t next_ = 0;
  std::int32_t turns_ = 0;
};

// The running loop of an engine. Each step takes the lock for as long as it uses the tables.
class Loop {
 public:
  Loop(Engine& engine, zu_sem* lock) : engine_(engine), lock_(lock) {}

  void run() {
    while (!stopped() && pass()) {
    }
  }

 private:
  enum class Wait { ready, timed_out, dead_socket, failed, nothing_left };

  // One turn. False ends the loop: stopped, nothing left to wait for, or a wait error that no sweep
  // can repair. Each serving step is false once the loop is stopped.
  bool pass() {
    switch (wait()) {
      case Wait::ready:
        // deliberate: one socket per kind, the highest, and no timer in a pass that had a ready
        // socket, not even an overdue one; applications rely on this order.
        return serve_first(Kind::read) && serve_first(Kind::write) && serve_first(Kind::except);
      case Wait::timed_out:
        return fire_due_timer();
      case Wait::dead_socket:
        return sweep_one_dead_socket();
      default:
        return false;
    }
  }

  Wait wait() {
    if (known_.any() && ask_the_highest()) return Wait::ready;
    known_.forget();
    const Wait result = wait_for_all();
    if (result == Wait::ready && only_read_) {
      known_.remember(*engine_.ready[index_of(Kind::read)]);
      known_.take_turn(*engine_.ready[index_of(Kind::read)]);
    }
    return result;
  }

  // Asks the sockets down to one that was ready a moment ago. False when that one is not any more,
  // or when asking all would cost little more.
  bool ask_the_highest() {
    platform::SocketSet* const ready = &engine_.work[index_of(Kind::read)];
    {
      const base::Guard guard(lock_);
      FdTable& sockets = engine_.sockets;
      const platform::SocketSet& image = sockets.images[index_of(Kind::read)];
      const std::int32_t count = sockets.count_down_to(Kind::read, known_.highest());
      if (count == 0 || count > image.count / 2 || image.count != sockets.total) return false;
      sockets.begin_pass();
      copy_image(*ready, image, count);
      ++engine_.waits;
    }
    engine_.ready[index_of(Kind::read)] = ready;
    const std::int64_t at_once = 0;
    const std::int32_t found = platform::wait_ready(ready, nullptr, nullptr, &at_once);
    ++engine_.waits;
    if (found <= 0) return false;
    if (!known_.take_turn(*ready)) known_.forget();
    return true;
  }

  Wait wait_for_all() {
    const Moment* timeout = nullptr;
    bool has_sockets = false;
    {
      const base::Guard guard(lock_);
      timeout = time_to_next_timer();
      has_sockets = engine_.sockets.total > 0;
      if (has_sockets) {
        copy_images();
        ++engine_.waits;
      }
    }
    if (has_sockets) return wait_for_sockets(timeout);
    return timeout != nullptr ? sleep(*timeout) : Wait::nothing_left;
  }

  const Moment* time_to_next_timer() {
    const TimerRecord* next = engine_.timers.earliest();
    if (next != nullptr) engine_.timeout = time_until(present(), next->due);
    engine_.timeout_or_null = next != nullptr ? &engine_.timeout : nullptr;
    return engine_.timeout_or_null;
  }

  void copy_images() {
    engine_.sockets.begin_pass();
    for (Kind kind : kKinds) {
      const int k = index_of(kind);
      const bool any = engine_.sockets.lists[k].count > 0;
      if (any)
        copy_image(engine_.work[k], engine_.sockets.images[k], engine_.sockets.images[k].count);
      engine_.ready[k] = any ? &engine_.work[k] : nullptr;
    }
    only_read_ = engine_.sockets.lists[index_of(Kind::read)].count == engine_.sockets.total;
  }

  Wait wait_for_sockets(const Moment* timeout) {
    std::int64_t timeout_us = 0;
    if (timeout != nullptr) {
      timeout_us = std::int64_t{timeout->seconds} * kMicrosecondsPerSecond + timeout->microseconds;
    }
    const std::int32_t ready =
        platform::wait_ready(engine_.ready[0], engine_.ready[1], engine_.ready[2],
                             timeout != nullptr ? &timeout_us : nullptr);
    ++engine_.waits;
    if (ready > 0) return Wait::ready;
    if (ready == 0) return Wait::timed_out;
    return platform::last_error() == platform::kNotASocket ? Wait::dead_socket : Wait::failed;
  }

  Wait sleep(const Moment& timeout) {
    const std::int64_t milliseconds =
        std::int64_t{timeout.seconds} * 1000 + timeout.microseconds / 1000;
    const bool overdue = timeout.seconds == 0 && timeout.microseconds == 0;
    if (!overdue) {
      platform::sleep_ms(
          static_cast<std::uint32_t>(std::min<std::int64_t>(milliseconds, INT32_MAX)));
    }
    return stopped() ? Wait::nothing_left : Wait::timed_out;
  }

  bool serve_first(Kind kind) {
    Call call;
    {
      const base::Guard guard(lock_);
      const platform::SocketSet* ready = engine_.ready[index_of(kind)];
      if (ready == nullptr) return true;
      const FdRecord* record = engine_.sockets.first_ready(kind, *ready);
      if (record == nullptr) return !stopped();
      call = {record->callback, record->user};
      engine_.sockets.current.store(record->socket, std::memory_order_relaxed);
    }
    call();
    engine_.sockets.current.store(-1, std::memory_order_relaxed);
    return !stopped();
  }

  bool fire_due_timer() {
    Call call;
    {
      const base::Guard guard(lock_);
      if (!engine_.timers.take_due(present(), &call)) return !stopped();
    }
    call();
    engine_.timers.current.store(-1, std::memory_order_relaxed);
    return !stopped();
  }

  bool sweep_one_dead_socket() {
    const base::Guard guard(lock_);
    engine_.sockets.sweep_one_dead_socket();
    return true;
  }

  // deliberate: no run clears the mark; a box stopped before its loop starts must not start.
  bool stopped() const { return engine_.break_flag.load(std::memory_order_acquire) == 1; }

  Engine& engine_;
  zu_sem* const lock_;
  Known known_;
  bool only_read_ = false;  // in this pass
};

}  // namespace

// The network is started once more for each engine: a shut-down would close the sockets of one that
// still ends, whose numbers may be somebody else's when it closes them itself.
Engine* Engine::make() noexcept {
  zu_sock_startup();
  auto memory = base::Owned<Engine>::allocate();
  if (!memory || !platform::network_start()) return nullptr;
  return new (memory.release()) Engine;
}

void Engine::free(Engine* engine) noexcept {
  if (engine == nullptr) return;
  engine->clear();
  platform::network_stop();
  _zu_free(engine);
}

bool Engine::add_socket(Kind kind, std::int32_t socket, zu_event_fn callback, void* user) noexcept {
  return sockets.add(kind, socket, callback, user);
}

bool Engine::find_socket(Kind kind, std::int32_t socket, FdRecord* record) const noexcept {
  const FdRecord* found = sockets.find(kind, socket);
  if (found != nullptr && record != nullptr) *record = *found;
  return found != nullptr;
}

bool Engine::delete_socket(Kind kind, std::int32_t socket) noexcept {
  return sockets.remove(kind, socket);
}

std::int32_t Engine::this_socket() const noexcept {
  return sockets.current.load(std::memory_order_relaxed);
}

bool Engine::add_timer(TimerKind kind, std::int32_t id, std::uint32_t interval_ms,
                       zu_event_fn callback, void* user, std::int32_t limit,
                       std::int32_t starting_count) noexcept {
  return timers.add({{}, id, callback, user, kind, interval_ms, limit, starting_count}, present());
}

bool Engine::refresh_timer(std::int32_t id, std::uint32_t interval_ms, zu_event_fn callback,
                           void* user) noexcept {
  return timers.refresh(id, interval_ms, callback, user);
}

bool Engine::delete_timer(std::int32_t id) noexcept {
  return timers.remove(id);
}

std::int32_t Engine::this_timer() const noexcept {
  return timers.current.load(std::memory_order_relaxed);
}

void Engine::break_loop() noexcept {
  break_flag.store(1, std::memory_order_release);
}

void Engine::clear() noexcept {
  sockets.clear();
  timers.clear();
  for (platform::SocketSet*& set : ready) set = nullptr;
  timeout_or_null = nullptr;
}

void Engine::run(zu_sem* lock) noexcept {
  Loop(*this, lock).run();
}

}  // namespace kiv::event
