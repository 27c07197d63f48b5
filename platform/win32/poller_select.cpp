// The poller of Windows: select(), with sets of our own size. FD_SETSIZE is 64 unless every file
// agrees on another value, and the system looks only at the count.
#include <winsock2.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <new>

#include "platform/clock.h"
#include "platform/heap.h"
#include "platform/poller.h"
#include "platform/socket.h"

namespace kiv::platform {
namespace {

struct Watch {
  std::int32_t socket;
  Kinds kinds;
  Kinds fresh;  // those watched since the wait began
  Kinds ready;
};

timeval limited(std::int64_t timeout_us) {
  constexpr std::int64_t kLongest = std::int64_t{INT32_MAX} * 1000000;
  const std::int64_t us = std::clamp<std::int64_t>(timeout_us, 0, kLongest);
  return {static_cast<long>(us / 1000000), static_cast<long>(us % 1000000)};
}

static_assert(offsetof(fd_set, fd_array) == sizeof(SOCKET));

// A call with few sockets costs no less than one with half of them; and dead sockets are noticed
// when all are asked for.
constexpr std::uint32_t kFew = 16;
constexpr std::int64_t kMostUsInPart = 10000;

}  // namespace

struct Poller::Backend {
  Watch* watches = nullptr;  // by socket, the lowest first
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;
  Kinds any_ready = 0;
  bool any_dead = false;  // so says the last wait, but not which

  // Sockets that the last waits found ready and that were not served yet: the system is asked for
  // the highest of them and those above it first. It would go through all others each time.
  std::int32_t lowest[3] = {};  // that this wait asks for
  std::int32_t served[3] = {-1, -1, -1};
  std::int64_t all_asked_us = 0;

  // What a wait asks for, the lowest first, and the set that select() changes, by kind and in one
  // block; the loop's thread alone uses them during a wait.
  SOCKET* sets = nullptr;
  SOCKET* next_sets = nullptr;  // larger ones for the next wait
  std::uint32_t set_size = 0;
  std::uint32_t asked[3] = {};
  int found = 0;
  int error = 0;

  ~Backend();
  Watch* place_of(std::int32_t socket) const;  // where it is, or would be
  bool is_at(const Watch* place, std::int32_t socket) const;
  bool reserve();
  bool add(std::int32_t socket, Kinds kinds);
  void remove(Watch* watch);
  std::int32_t unserved(Kind kind) const;
  SOCKET* members(Kind kind) const;
  SOCKET* set_members(Kind kind) const;
  fd_set* set(Kind kind) const;
  void list_asked();
  bool asks_part() const;
  int select_above_lowest(timeval* timeout);
  bool has_answer(Kind kind) const;
  void take_ready(Kind kind);
  void ask_below(Kind kind);
};

Poller::Backend::~Backend() {
  heap_free(watches);
  heap_free(sets);
  heap_free(next_sets);
}

Watch* Poller::Backend::place_of(std::int32_t socket) const {
  return std::lower_bound(watches, watches + count, socket,
                          [](const Watch& watch, std::int32_t id) { return watch.socket < id; });
}

bool Poller::Backend::is_at(const Watch* place, std::int32_t socket) const {
  return place != watches + count && place->socket == socket;
}

bool Poller::Backend::reserve() {
  if (count < capacity) return true;
  const std::uint32_t larger = std::max<std::uint32_t>(8, capacity * 2);
  auto* const fresh = static_cast<SOCKET*>(heap_alloc(3 * (2 * larger + 1) * sizeof(SOCKET)));
  auto* const wider = static_cast<Watch*>(heap_realloc(watches, larger * sizeof(Watch)));
  if (wider != nullptr) watches = wider;
  if (wider == nullptr || fresh == nullptr) {
    heap_free(fresh);
    return false;
  }
  heap_free(next_sets);
  next_sets = fresh;
  capacity = larger;
  return true;
}

bool Poller::Backend::add(std::int32_t socket, Kinds kinds) {
  if (!reserve()) return false;
  Watch* const place = place_of(socket);
  std::copy_backward(place, watches + count, watches + count + 1);
  *place = {socket, kinds, kinds, 0};
  ++count;
  return true;
}

void Poller::Backend::remove(Watch* watch) {
  std::copy(watch + 1, watches + count, watch);
  --count;
}

// The highest that is ready and below the one that was served last; 0 when there is none.
std::int32_t Poller::Backend::unserved(Kind kind) const {
  if ((any_ready & set_of(kind)) == 0) return 0;
  for (const Watch* watch = place_of(served[index_of(kind)]); watch-- != watches;) {
    if ((watch->ready & set_of(kind)) != 0) return watch->socket;
  }
  return 0;
}

SOCKET* Poller::Backend::members(Kind kind) const {
  return sets + static_cast<std::size_t>(index_of(kind)) * (2 * set_size + 1);
}

// They lie after the count, which takes as much room as one of them.
SOCKET* Poller::Backend::set_members(Kind kind) const {
  return members(kind) + set_size + 1;
}

fd_set* Poller::Backend::set(Kind kind) const {
  return reinterpret_cast<fd_set*>(set_members(kind) - 1);
}

void Poller::Backend::list_asked() {
  if (next_sets != nullptr) {
    heap_free(sets);
    sets = next_sets;
    next_sets = nullptr;
    set_size = capacity;
  }
  if (sets == nullptr) return;
  for (const Kind kind : kKinds) {
    SOCKET* end = members(kind);
    for (const Watch* watch = watches; watch != watches + count; ++watch) {
      if ((watch->kinds & set_of(kind)) != 0) *end++ = static_cast<SOCKET>(watch->socket);
    }
    asked[index_of(kind)] = static_cast<std::uint32_t>(end - members(kind));
  }
}

bool Poller::Backend::asks_part() const {
  return std::any_of(std::begin(lowest), std::end(lowest), [](auto socket) { return socket > 0; });
}

int Poller::Backend::select_above_lowest(timeval* timeout) {
  fd_set* given[3] = {};
  for (const Kind kind : kKinds) {
    const std::uint32_t number = asked[index_of(kind)];
    if (number == 0) continue;
    SOCKET* const end = members(kind) + number;
    SOCKET* const begin =
        std::lower_bound(members(kind), end, static_cast<SOCKET>(lowest[index_of(kind)]));
    given[index_of(kind)] = set(kind);
    set(kind)->fd_count = static_cast<u_int>(end - begin);
    std::copy(begin, end, set_members(kind));
  }
  return select(0, given[0], given[1], given[2], timeout);
}

// Is the highest that is ready among those that were asked for?
bool Poller::Backend::has_answer(Kind kind) const {
  return lowest[index_of(kind)] == 0 || set(kind)->fd_count > 0;
}

void Poller::Backend::take_ready(Kind kind) {
  for (Watch* watch = place_of(lowest[index_of(kind)]); watch != watches + count; ++watch) {
    watch->ready &= static_cast<Kinds>(~set_of(kind));
  }
  if (found <= 0 || asked[index_of(kind)] == 0) return;
  const SOCKET* const begin = set_members(kind);
  for (const SOCKET* member = begin; member != begin + set(kind)->fd_count; ++member) {
    const auto socket = static_cast<std::int32_t>(*member);
    Watch* const watch = place_of(socket);
    if (!is_at(watch, socket)) continue;
    watch->ready |= static_cast<Kinds>(set_of(kind) & watch->kinds & ~watch->fresh);
    any_ready |= static_cast<Kinds>(watch->ready & set_of(kind));
  }
}

// Callbacks have ended all waits that were asked for and ready; the next ones lie below them.
void Poller::Backend::ask_below(Kind kind) {
  const Watch* const above = place_of(lowest[index_of(kind)]);
  lowest[index_of(kind)] = 0;
  SOCKET* end = set_members(kind);
  for (const Watch* watch = watches; watch != above; ++watch) {
    if ((watch->kinds & ~watch->fresh & set_of(kind)) != 0) {
      *end++ = static_cast<SOCKET>(watch->socket);
    }
  }
  set(kind)->fd_count = static_cast<u_int>(end - set_members(kind));
  fd_set* given[3] = {};
  given[index_of(kind)] = set(kind);
  timeval none{};
  found = end == set_members(kind) ? 0 : select(0, given[0], given[1], given[2], &none);
  take_ready(kind);
}

std::int32_t Poller::capacity() noexcept {
  return 1024;
}

Poller::~Poller() {
  if (backend_ != nullptr) backend_->~Backend();
  heap_free(backend_);
}

bool Poller::open() noexcept {
  void* const memory = heap_alloc(sizeof(Backend));
  if (memory != nullptr) backend_ = new (memory) Backend;
  return backend_ != nullptr;
}

Poller::Watched Poller::watch(std::int32_t socket, Kinds kinds) noexcept {
  Watch* const watch = backend_->place_of(socket);
  if (!backend_->is_at(watch, socket)) {
    return kinds == 0 || backend_->add(socket, kinds) ? Watched::yes : Watched::out_of_memory;
  }
  if (kinds == 0) {
    backend_->remove(watch);
    return Watched::yes;
  }
  watch->fresh = static_cast<Kinds>((watch->fresh | ~watch->kinds) & kinds);
  watch->kinds = kinds;
  watch->ready &= kinds;
  return Watched::yes;
}

bool Poller::begin_wait() noexcept {
  Backend& self = *backend_;
  const bool may_ask_part =
      self.count > kFew && platform::steady_us() - self.all_asked_us < kMostUsInPart;
  for (const Kind kind : kKinds) {
    self.lowest[index_of(kind)] = may_ask_part ? self.unserved(kind) : 0;
    self.served[index_of(kind)] = -1;
  }
  self.any_ready = 0;
  self.any_dead = false;
  for (Watch* watch = self.watches; watch != self.watches + self.count; ++watch) watch->fresh = 0;
  self.list_asked();
  return true;
}

// A connect that failed is reported as an exception; there is nothing to ask for beside it.
void Poller::wait(const std::int64_t* timeout_us) noexcept {
  Backend& self = *backend_;
  self.found = 0;
  // All are paused, and select() fails for empty sets; soon another thread may have resumed one.
  if (self.sets == nullptr || (self.asked[0] | self.asked[1] | self.asked[2]) == 0) {
    constexpr std::int64_t kMostMs = 10;
    const std::int64_t ms = timeout_us == nullptr ? kMostMs : *timeout_us / 1000;
    Sleep(static_cast<DWORD>(std::clamp<std::int64_t>(ms, 0, kMostMs)));
    return;
  }
  bool is_answered = false;
  if (self.asks_part()) {
    timeval none{};
    self.found = self.select_above_lowest(&none);
    is_answered = self.found < 0 || std::all_of(std::begin(kKinds), std::end(kKinds),
                                                [&](Kind kind) { return self.has_answer(kind); });
  }
  if (!is_answered) {
    std::fill(std::begin(self.lowest), std::end(self.lowest), 0);
    timeval timeout = limited(timeout_us == nullptr ? 0 : *timeout_us);
    self.found = self.select_above_lowest(timeout_us == nullptr ? nullptr : &timeout);
  }
  if (self.found < 0) self.error = WSAGetLastError();
}

Poller::Result Poller::end_wait() noexcept {
  Backend& self = *backend_;
  if (!self.asks_part()) self.all_asked_us = platform::steady_us();
  for (const Kind kind : kKinds) self.take_ready(kind);
  if (self.found < 0) {
    self.any_dead = self.error == kNotASocket;
    return self.any_dead ? Result::dead_socket : Result::failed;
  }
  // Ready, too, if another thread has ended all those waits: what lies below was not asked for.
  return self.found > 0 ? Result::ready : Result::timed_out;
}

std::int32_t Poller::highest_ready(Kind kind, std::int32_t below) noexcept {
  Backend& self = *backend_;
  std::int32_t& found = self.served[index_of(kind)];
  const std::int32_t& lowest = self.lowest[index_of(kind)];
  for (found = -1;; self.ask_below(kind)) {
    const Watch* const end = self.place_of(lowest);
    const Watch* watch = self.place_of(below);
    if ((self.any_ready & set_of(kind)) == 0) watch = end;
    while (watch > end) {
      if (((--watch)->ready & set_of(kind)) != 0) return found = watch->socket;
    }
    if (lowest == 0) return found;
  }
}

// What select() found holds for the whole pass.
bool Poller::still_ready(Kind, std::int32_t) noexcept {
  return true;
}

void Poller::not_ready(Kind kind, std::int32_t socket) noexcept {
  Watch* const watch = backend_->place_of(socket);
  if (backend_->is_at(watch, socket)) watch->ready &= static_cast<Kinds>(~set_of(kind));
}

void Poller::was_short_read(std::int32_t) noexcept {}

// A number that was opened anew is served like the old one.
bool Poller::is_dead(std::int32_t socket) noexcept {
  return backend_->any_dead && !socket_is_open(socket);
}

}  // namespace kiv::platform
