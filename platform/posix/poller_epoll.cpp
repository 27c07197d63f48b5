// The poller of Linux. A few sockets are waited for with poll(), which serves so few as fast as
// anything and sees at once when one was closed behind the loop's back. More are registered with
// epoll, edge-triggered: a wait reports what became ready since the last one, and the ready sets
// keep it until a call on the socket shows that it is ready no more.
//
// epoll forgets a closed socket without a word. What it no longer knows is found by a sweep over
// all sockets, every 10 ms or, if that is more, at one percent of the loop's time. What was ready
// then may be another socket's number by now: one that has changed hands is asked for before it is
// served.
#include <netinet/in.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <new>

#include "platform/clock.h"
#include "platform/heap.h"
#include "platform/posix/hands.h"
#include "platform/posix/watches.h"

namespace kiv::platform {
namespace {

constexpr int kBatch = 128;
constexpr std::int64_t kSweepEveryUs = 10000;
constexpr std::int64_t kSweepShare = 100;      // of the loop's time: one in a hundred
constexpr std::uint32_t kPassesPerClock = 32;  // a busy loop asks for the time so seldom
constexpr std::uint32_t kPassesPerTry = 1000;  // while the system refuses an epoll instance

// A child process has the same epoll instance as its parent, and must not change it.
std::atomic<std::uint32_t> forks{0};

void watch_forks() {
  static const int registered =
      pthread_atfork(nullptr, nullptr, [] { forks.fetch_add(1, std::memory_order_relaxed); });
  (void)registered;
}

std::uint32_t epoll_events(Kinds kinds) {
  std::uint32_t events = EPOLLET;
  if ((kinds & set_of(Kind::read)) != 0) events |= EPOLLIN | EPOLLRDHUP | EPOLLPRI;
  if ((kinds & set_of(Kind::write)) != 0) events |= EPOLLOUT;
  if ((kinds & set_of(Kind::except)) != 0) events |= EPOLLPRI;
  return events;
}

bool is_tcp_socket(std::int32_t socket) {
  int protocol = 0;
  socklen_t size = sizeof protocol;
  return getsockopt(socket, SOL_SOCKET, SO_PROTOCOL, &protocol, &size) == 0 &&
         protocol == IPPROTO_TCP;
}

static_assert(EPOLLIN == POLLIN && EPOLLOUT == POLLOUT && EPOLLPRI == POLLPRI &&
              EPOLLERR == POLLERR && EPOLLHUP == POLLHUP);

// What it means for reading, beside the kinds that are ready.
bool shows_end_or_urgent_data(std::uint32_t events) {
  return (events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR | EPOLLPRI)) != 0;
}

// Microseconds where the system can, else the next whole millisecond.
int wait_for_events(int epoll, epoll_event* events, const std::int64_t* timeout_us) {
  if (timeout_us == nullptr) return epoll_wait(epoll, events, kBatch, -1);
  if (*timeout_us <= 0) return epoll_wait(epoll, events, kBatch, 0);
  const timespec timeout = {static_cast<std::time_t>(*timeout_us / 1000000),
                            static_cast<long>(*timeout_us % 1000000 * 1000)};
  const int count = epoll_pwait2(epoll, events, kBatch, &timeout, nullptr);
  if (count >= 0 || (errno != ENOSYS && errno != EPERM)) return count;
  constexpr std::int64_t kLongest = INT32_MAX;
  return epoll_wait(epoll, events, kBatch,
                    static_cast<int>(std::min((*timeout_us + 999) / 1000, kLongest)));
}

}  // namespace

struct Poller::Backend {
  Watches watches;
  int epoll = -1;  // -1: waits with poll()
  std::uint32_t forked = forks.load(std::memory_order_relaxed);
  std::uint32_t passes_to_try = 0;
  std::uint32_t files = 0;  // watched; always ready to be read and written
  int found = 0;
  bool is_busy = false;      // something was ready before the wait
  std::uint32_t passes = 0;  // since the last sweep
  std::int64_t next_sweep_us = 0;
  std::int64_t sweep_in_us = -1;  // of the wait that begins; -1: none needed
  epoll_event events[kBatch];

  bool uses_epoll() const { return epoll >= 0; }
  int control(int operation, const Watch& watch) const;
  bool enroll(Watch& watch);
  bool is_here(Watch& watch) const;
  bool changed_hands(Watch& watch) const;
  bool may_have_urgent_data(const Watch& watch) const;
  void bury(const Watch& watch);
  void leave_parent();
  void choose_wait();
  void start_epoll();
  void stop_epoll();
  Watched change(Watch& watch, Kinds kinds);
  void end(Watch& watch);
  void plan_sweep();
  void sweep();
  void take_events();
  void set_files_ready();
};

int Poller::Backend::control(int operation, const Watch& watch) const {
  epoll_event event{epoll_events(watch.kinds), {}};
  event.data.u64 = std::uint64_t{watch.serial} << 32 | static_cast<std::uint32_t>(watch.socket);
  return epoll_ctl(epoll, operation, watch.socket, &event);
}

// False when the system has no room for it.
bool Poller::Backend::enroll(Watch& watch) {
  watch.hands = hand_count(watch.socket).load(std::memory_order_acquire);
  if (control(EPOLL_CTL_ADD, watch) == 0) return true;
  switch (errno) {
    case EEXIST:
      return control(EPOLL_CTL_MOD, watch) == 0;
    case EPERM:
      watch.is_file = true;
      ++files;
      return true;
    case EBADF:
      watches.dead.insert(watch.socket);
      return true;
    default:
      return false;
  }
}

// Does the number still belong to what is watched?
bool Poller::Backend::is_here(Watch& watch) const {
  watch.hands = hand_count(watch.socket).load(std::memory_order_acquire);
  return watch.is_file ? is_open(watch.socket) : control(EPOLL_CTL_MOD, watch) == 0;
}

bool Poller::Backend::changed_hands(Watch& watch) const {
  return watch.hands != hand_count(watch.socket).load(std::memory_order_acquire) && !is_here(watch);
}

// A read that finds nothing steps over an urgent byte, and nobody would be told of it any more.
bool Poller::Backend::may_have_urgent_data(const Watch& watch) const {
  return (watch.kinds & set_of(Kind::except)) != 0 && !watch.is_file;
}

// It is swept in the next pass, and not served before.
void Poller::Backend::bury(const Watch& watch) {
  for (ReadySet& set : watches.ready) set.erase(watch.socket);
  watches.dead.insert(watch.socket);
}

void Poller::Backend::stop_epoll() {
  close(epoll);
  epoll = -1;
  files = 0;
  for (Watch& watch : watches) watch.is_file = false;
}

// Where the system refuses, poll() serves any number.
void Poller::Backend::start_epoll() {
  epoll = epoll_create1(EPOLL_CLOEXEC);
  if (!uses_epoll()) return;
  watches.clear_ready();
  watches.dead.clear();
  passes = 0;
  next_sweep_us = 0;
  for (Watch& watch : watches) {
    watch.short_reads_lie = watch.is_muted = false;
    if (!enroll(watch)) return stop_epoll();
  }
}

void Poller::Backend::leave_parent() {
  const std::uint32_t now = forks.load(std::memory_order_relaxed);
  if (now != forked && uses_epoll()) stop_epoll();
  forked = now;
}

void Poller::Backend::choose_wait() {
  if (watches.count() > kFew) {
    if (uses_epoll() || passes_to_try-- > 0) return;
    start_epoll();
    passes_to_try = uses_epoll() ? 0 : kPassesPerTry;
  } else if (uses_epoll()) {
    stop_epoll();
  }
}

Poller::Watched Poller::Backend::change(Watch& watch, Kinds kinds) {
  const bool is_more = (kinds & ~watch.kinds) != 0;
  if (!uses_epoll() || watch.is_file) {
    watches.set_kinds(watch, kinds);
    return Watched::yes;
  }
  const Watch before = watch;
  watches.set_kinds(watch, kinds);
  if (control(EPOLL_CTL_MOD, watch) == 0 || !is_more) return Watched::yes;
  const bool is_gone = errno == ENOENT || errno == EBADF;
  watch = before;
  return is_gone ? Watched::dead : Watched::out_of_memory;
}

void Poller::Backend::end(Watch& watch) {
  if (uses_epoll() && !watch.is_file) control(EPOLL_CTL_DEL, watch);
  if (watch.is_file) --files;
  watches.remove(watch);
}

// A loop that goes to sleep does so with a sweep ahead when something ran since the last one.
void Poller::Backend::plan_sweep() {
  ++passes;
  sweep_in_us = -1;
  if (passes <= 1 || (is_busy && passes % kPassesPerClock != 0)) return;
  const std::int64_t now_us = steady_us();
  if (now_us >= next_sweep_us) return sweep();
  sweep_in_us = next_sweep_us - now_us;
}

void Poller::Backend::sweep() {
  const std::int64_t begun_us = steady_us();
  for (Watch& watch : watches) {
    if (!is_here(watch)) watches.dead.insert(watch.socket);
  }
  const std::int64_t ended_us = steady_us();
  next_sweep_us = ended_us + std::max(kSweepEveryUs, kSweepShare * (ended_us - begun_us));
  passes = 1;  // this one: what it calls runs after the sweep
}

void Poller::Backend::take_events() {
  for (int i = 0; i < found; ++i) {
    const auto socket = static_cast<std::int32_t>(events[i].data.u64 & UINT32_MAX);
    const auto serial = static_cast<std::uint32_t>(events[i].data.u64 >> 32);
    Watch* const watch = watches.find(socket);
    // A number that was closed may report on through a copy of its descriptor.
    if (watch == nullptr || watch->serial != serial) continue;
    const std::uint32_t shown = events[i].events;
    if (shows_end_or_urgent_data(shown)) watch->short_reads_lie = true;
    watches.set_ready(*watch, found_by_poll(static_cast<short>(shown & 0x7fff), watch->kinds));
  }
}

void Poller::Backend::set_files_ready() {
  const Kinds both = set_of(Kind::read) | set_of(Kind::write);
  for (const Watch& watch : watches) {
    if (watch.is_file) watches.set_ready(watch, static_cast<Kinds>(watch.kinds & both));
  }
}

std::int32_t Poller::capacity() noexcept {
  return INT32_MAX;
}

Poller::~Poller() {
  if (backend_ == nullptr) return;
  if (backend_->uses_epoll()) close(backend_->epoll);
  backend_->~Backend();
  heap_free(backend_);
}

bool Poller::open() noexcept {
  watch_forks();
  void* const memory = heap_alloc(sizeof(Backend));
  if (memory != nullptr) backend_ = new (memory) Backend;
  return backend_ != nullptr;
}

Poller::Watched Poller::watch(std::int32_t socket, Kinds kinds) noexcept {
  Backend& self = *backend_;
  self.leave_parent();
  if (Watch* const watch = self.watches.find(socket)) {
    if (kinds != 0) return self.change(*watch, kinds);
    self.end(*watch);
    return Watched::yes;
  }
  if (kinds == 0) return Watched::yes;
  Watch* const watch = self.watches.add(socket, kinds);
  if (watch == nullptr) return Watched::out_of_memory;
  if (!self.uses_epoll() || self.enroll(*watch)) return Watched::yes;
  self.watches.remove(*watch);
  return Watched::out_of_memory;
}

bool Poller::begin_wait() noexcept {
  Backend& self = *backend_;
  self.leave_parent();
  self.choose_wait();
  if (!self.uses_epoll()) {
    self.watches.begin_poll();
    return true;
  }
  if (self.files > 0) self.set_files_ready();
  self.is_busy = self.watches.any_ready();
  self.plan_sweep();
  if (!self.watches.dead.empty()) self.is_busy = true;
  return !self.is_busy;
}

void Poller::wait(const std::int64_t* timeout_us) noexcept {
  Backend& self = *backend_;
  if (!self.uses_epoll()) return self.watches.poll(timeout_us);
  const std::int64_t at_once = 0;
  if (self.is_busy) {
    timeout_us = &at_once;
  } else if (self.sweep_in_us >= 0 && (timeout_us == nullptr || self.sweep_in_us < *timeout_us)) {
    timeout_us = &self.sweep_in_us;
  }
  self.found = wait_for_events(self.epoll, self.events, timeout_us);
  if (self.found < 0 && errno == EINTR) self.found = 0;
}

Poller::Result Poller::end_wait() noexcept {
  Backend& self = *backend_;
  if (!self.uses_epoll()) {
    if (!self.watches.end_poll()) return Result::failed;
  } else {
    if (self.found < 0) return Result::failed;
    self.take_events();
    // All that is ready counts, not just what fits into one batch.
    for (std::uint32_t left = self.watches.count() / kBatch + 1; self.found == kBatch && left > 0;
         --left) {
      self.found = std::max(epoll_wait(self.epoll, self.events, kBatch, 0), 0);
      self.take_events();
    }
  }
  if (!self.watches.dead.empty()) return Result::dead_socket;
  return self.watches.any_ready() ? Result::ready : Result::timed_out;
}

std::int32_t Poller::highest_ready(Kind kind, std::int32_t below) noexcept {
  Backend& self = *backend_;
  for (;;) {
    const std::int32_t socket = self.watches.ready[index_of(kind)].highest(below);
    if (socket < 0 || !self.uses_epoll()) return socket;
    Watch& watch = *self.watches.find(socket);
    if (self.changed_hands(watch)) {
      self.bury(watch);
    } else if (kind != Kind::read || !self.may_have_urgent_data(watch) ||
               still_ready(kind, socket)) {
      return socket;
    }
  }
}

bool Poller::still_ready(Kind kind, std::int32_t socket) noexcept {
  if (!backend_->uses_epoll()) return true;
  Watch& watch = *backend_->watches.find(socket);
  // Whoever else has the number now may be ready, too.
  if (!backend_->is_here(watch)) {
    backend_->bury(watch);
    return false;
  }
  const short shown = shown_now(socket, poll_events(set_of(kind)));
  if ((found_by_poll(shown, watch.kinds) & set_of(kind)) != 0) return true;
  not_ready(kind, socket);
  return false;
}

void Poller::not_ready(Kind kind, std::int32_t socket) noexcept {
  Watches& watches = backend_->watches;
  watches.ready[index_of(kind)].erase(socket);
  if (kind != Kind::read) return;
  if (Watch* const watch = watches.find(socket)) watch->short_reads_lie = false;
}

void Poller::was_short_read(std::int32_t socket) noexcept {
  Watch* const watch = backend_->watches.find(socket);
  if (watch == nullptr || watch->short_reads_lie || !backend_->uses_epoll()) return;
  if (watch->is_tcp < 0) watch->is_tcp = is_tcp_socket(socket) ? 1 : 0;
  if (watch->is_tcp == 1) backend_->watches.ready[index_of(Kind::read)].erase(socket);
}

bool Poller::is_dead(std::int32_t socket) noexcept {
  Watches& watches = backend_->watches;
  if (watches.dead.contains(socket)) return true;
  Watch* const watch = watches.find(socket);
  if (watch == nullptr || !backend_->uses_epoll() || backend_->is_here(*watch)) return false;
  watches.dead.insert(socket);
  return true;
}

}  // namespace kiv::platform
