// The loop of a raw box. Each step takes the lock for as long as it uses the tables.
#include <algorithm>

#include "event/raw_box.h"
#include "event/stream.h"
#include "platform/clock.h"

namespace kiv::event {
namespace {

constexpr std::int32_t kNone = -1;
constexpr std::int32_t kAboveAll = INT32_MAX;
constexpr std::uint32_t kRoundsPerClock =
    32;  // a busy loop looks at the limits of streams so seldom

std::int32_t socket_waits(const zu_box& box) {
  return box.wait_counts[0] + box.wait_counts[1] + box.wait_counts[2];
}

// A socket that only wakes the loop keeps none alive.
bool is_left(const zu_box& box) {
  return socket_waits(box) > (box.wake_socket > 0 ? 1 : 0) || !box.schedule.empty() ||
         !box.streams.empty();
}

class Loop {
 public:
  explicit Loop(zu_box& box) : box_(box), poller_(box.poller) {}

  void run() {
    while (!stopped() && pass()) {
    }
  }

 private:
  using Result = platform::Poller::Result;

  // One iteration. False ends the loop: stopped, nothing left to wait for, or a wait error that no
  // sweep can repair. Each serving step is false once the loop is stopped.
  bool pass() {
    if (!run_posts() || !run_streams()) return false;
    const Result result = wait();
    was_idle_ = result == Result::timed_out;
    switch (result) {
      case Result::ready:
        return box_.is_fair ? serve_all() && fire_due_timers() : serve_highest();
      case Result::timed_out:
        return fire_due_timers();
      case Result::dead_socket:
        return sweep();
      case Result::failed:
        return false;
    }
    return false;
  }

  bool run_posts() {
    if (!box_.posts.empty()) box_.posts.run([this] { return stopped(); });
    return !stopped();
  }

  bool run_streams() {
    const StreamWork& work = box_.streams;
    if (work.has_notices.load(std::memory_order_acquire)) run_notices(box_);
    if (work.next_check_us.load(std::memory_order_relaxed) != StreamWork::kNever &&
        (was_idle_ || ++rounds_ % kRoundsPerClock == 0)) {
      run_limits(box_);
    }
    return !stopped();
  }

  Result wait() {
    std::int64_t timeout_us = 0;
    bool is_limited = false;
    bool has_sockets = false;
    {
      const base::Guard guard(box_.lock);
      // Those that came while the last ones ran: nobody wakes the loop for them.
      const bool has_posts = !box_.posts.empty() || box_.streams.notices.first != nullptr;
      if (!has_posts && !is_left(box_)) return Result::failed;
      is_limited = has_posts || first_due_us() != StreamWork::kNever;
      has_sockets = socket_waits(box_) > 0;
      const bool blocks = (!has_sockets || poller_.begin_wait()) && !has_posts;
      if (blocks && is_limited) timeout_us = time_to_first();
      if (has_sockets) box_.waits.fetch_add(1, std::memory_order_relaxed);
    }
    return has_sockets ? wait_for_sockets(is_limited ? &timeout_us : nullptr) : sleep(timeout_us);
  }

  Result wait_for_sockets(const std::int64_t* timeout_us) {
    poller_.wait(timeout_us);
    box_.waits.fetch_add(1, std::memory_order_release);
    const base::Guard guard(box_.lock);
    const Result result = poller_.end_wait();
    if (result == Result::ready) choose();
    return result;
  }

  // The first timer, or the next look at the limits of streams.
  std::int64_t first_due_us() const {
    const std::int64_t check_us = box_.streams.next_check_us.load(std::memory_order_relaxed);
    return box_.schedule.empty() ? check_us : std::min(box_.schedule.first_us(), check_us);
  }

  std::int64_t time_to_first() const {
    return std::max<std::int64_t>(first_due_us() - platform::steady_us(), 0);
  }

  Result sleep(std::int64_t timeout_us) {
    if (timeout_us > 0) {
      platform::sleep_ms(static_cast<std::uint32_t>(
          std::min<std::int64_t>(timeout_us / kMicrosecondsPerMs, INT32_MAX)));
    }
    return stopped() ? Result::failed : Result::timed_out;
  }

  // The sockets to serve are those that were ready at the end of the wait, whatever a callback does
  // to the others meanwhile.
  void choose() {
    for (const Kind kind : kKinds) chosen_[index_of(kind)] = highest_ready(kind, kAboveAll);
  }

  std::int32_t highest_ready(Kind kind, std::int32_t below) {
    for (;;) {
      const std::int32_t socket = poller_.highest_ready(kind, below);
      if (socket == kNone || !asks_first(kind, socket)) return socket;
      if (poller_.still_ready(kind, socket)) return socket;
    }
  }

  bool asks_first(Kind kind, std::int32_t socket) const {
    return box_.sockets.find(socket)->wait(kind).asks_first;
  }

  // deliberate: one socket per kind, the highest, and no timer in a pass that had a ready socket,
  // not even an overdue one; applications rely on this order.
  bool serve_highest() {
    for (const Kind kind : kKinds) {
      if (chosen_[index_of(kind)] != kNone) serve_next(kind, kAboveAll);
      if (stopped()) return false;
    }
    return true;
  }

  bool serve_all() {
    for (const Kind kind : kKinds) {
      if (chosen_[index_of(kind)] == kNone) continue;
      for (std::int32_t at = kAboveAll; at != kNone;) {
        at = serve_next(kind, at);
        if (stopped()) return false;
      }
    }
    return true;
  }

  // Serves the highest ready socket below `below` and returns its number, kNone when there is none.
  std::int32_t serve_next(Kind kind, std::int32_t below) {
    base::Guard guard(box_.lock);
    for (;;) {
      std::int32_t socket = poller_.highest_ready(kind, below);
      if (socket != chosen_[index_of(kind)]) socket = highest_ready(kind, below);
      if (socket == kNone) return kNone;
      Socket& record = *box_.sockets.find(socket);
      box_.current_socket.store(socket, std::memory_order_relaxed);
      const Served served = record.wait(kind).serve(box_, record, kind, guard);
      box_.current_socket.store(kNone, std::memory_order_relaxed);
      if (served == Served::called) return socket;
      poller_.not_ready(kind, socket);
    }
  }

  // One, or in fair rounds all that are due now, each once: one that is late fires again in the
  // next round.
  bool fire_due_timers() {
    const std::int64_t now_us = platform::steady_us();
    if (!box_.is_fair) {
      fire_due_timer(now_us, INT64_MIN);
    } else {
      set_next_round(now_us + 1);
      while (!stopped() && fire_due_timer(now_us, now_us + 1)) {
      }
      set_next_round(INT64_MIN);
    }
    return !stopped();
  }

  void set_next_round(std::int64_t us) {
    const base::Guard guard(box_.lock);
    box_.next_round_us = us;
  }

  // False when none is due. A timer that repeats fires no earlier than `again_us`.
  bool fire_due_timer(std::int64_t now_us, std::int64_t again_us) {
    base::Guard guard(box_.lock);
    if (box_.schedule.empty() || box_.schedule.first_us() > now_us) return false;
    Timer& timer = box_.schedule.first();
    repeat_or_end(timer, again_us);
    const TimerHandler handler = timer.handler;
    void* const handle = box_.handle;
    const std::int32_t id = timer.id;
    const std::int32_t times_fired = ++timer.times_fired;
    box_.current_timer.store(id, std::memory_order_relaxed);
    guard.unlock();
    // deliberate: the record of a timer that fired for the last time stays; applications ask for it
    // and delete it.
    handler(handle, id, times_fired);
    box_.current_timer.store(kNone, std::memory_order_relaxed);
    return true;
  }

  // deliberate: counts from the former due time, not from now; a late timer catches up in a burst.
  void repeat_or_end(Timer& timer, std::int64_t again_us) {
    const bool repeats = timer.kind == TimerKind::loop ||
                         (timer.kind == TimerKind::limit && --timer.firings_left > 0);
    if (!repeats) return box_.schedule.remove(timer);
    timer.due_us += std::int64_t{timer.interval_ms} * kMicrosecondsPerMs;
    box_.schedule.move(timer, again_us);
  }

  bool sweep() {
    const base::Guard guard(box_.lock);
    sweep_one_dead_socket(box_);
    return true;
  }

  // deliberate: no run clears the flag; a box stopped before its loop starts must not start.
  bool stopped() const { return box_.break_flag.load(std::memory_order_acquire) == 1; }

  zu_box& box_;
  platform::Poller& poller_;
  bool was_idle_ = false;
  std::uint32_t rounds_ = 0;
  std::int32_t chosen_[3] = {kNone, kNone, kNone};
};

}  // namespace

void run_loop(zu_box& box) {
  Loop(box).run();
}

}  // namespace kiv::event
