// The poller of Windows: select(), with sets of our own size. FD_SETSIZE is 64 unless every file
// agrees on another value, and the system looks only at the count.
#include <winsock2.h>

#include <algorithm>
#include <cstddef>
#include <new>

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

}  // namespace

struct Poller::Backend {
  Watch* watches = nullptr;  // by socket, the lowest first
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;
  Kinds any_ready = 0;
  bool any_dead = false;  // so says the last wait, but not which

  // The sets that select() gets and gives, in one block; the loop's thread alone uses them during a
  // wait.
  SOCKET* sets = nullptr;
  SOCKET* next_sets = nullptr;  // larger ones for the next wait
  std::uint32_t set_size = 0;
  int found = 0;
  int error = 0;

  ~Backend();
  Watch* place_of(std::int32_t socket) const;  // where it is, or would be
  bool is_at(const Watch* place, std::int32_t socket) const;
  bool reserve();
  bool add(std::int32_t socket, Kinds kinds);
  void remove(Watch* watch);
  fd_set* set(Kind kind) const;
  SOCKET* members(Kind kind) const;
  void fill_sets();
  void take_ready(Kind kind);
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
  auto* const fresh = static_cast<SOCKET*>(heap_alloc(3 * (larger + 1) * sizeof(SOCKET)));
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

fd_set* Poller::Backend::set(Kind kind) const {
  return reinterpret_cast<fd_set*>(members(kind) - 1);
}

// They lie after the count, which takes as much room as one of them.
SOCKET* Poller::Backend::members(Kind kind) const {
  return sets + static_cast<std::size_t>(index_of(kind)) * (set_size + 1) + 1;
}

void Poller::Backend::fill_sets() {
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
    set(kind)->fd_count = static_cast<u_int>(end - members(kind));
  }
}

void Poller::Backend::take_ready(Kind kind) {
  const SOCKET* const begin = members(kind);
  for (const SOCKET* member = begin; member != begin + set(kind)->fd_count; ++member) {
    const auto socket = static_cast<std::int32_t>(*member);
    Watch* const watch = place_of(socket);
    if (!is_at(watch, socket)) continue;
    watch->ready |= static_cast<Kinds>(set_of(kind) & watch->kinds & ~watch->fresh);
    any_ready |= watch->ready;
  }
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
  self.any_ready = 0;
  self.any_dead = false;
  for (Watch* watch = self.watches; watch != self.watches + self.count; ++watch) {
    watch->fresh = watch->ready = 0;
  }
  self.fill_sets();
  return true;
}

// A connect that failed is reported as an exception; there is nothing to ask for beside it.
void Poller::wait(const std::int64_t* timeout_us) noexcept {
  Backend& self = *backend_;
  fd_set* sets[3] = {};
  bool any = false;
  for (const Kind kind : kKinds) {
    if (self.sets == nullptr || self.set(kind)->fd_count == 0) continue;
    sets[index_of(kind)] = self.set(kind);
    any = true;
  }
  self.found = 0;
  // All are paused, and select() fails for empty sets; soon another thread may have resumed one.
  if (!any) {
    constexpr std::int64_t kMostMs = 10;
    const std::int64_t ms = timeout_us == nullptr ? kMostMs : *timeout_us / 1000;
    Sleep(static_cast<DWORD>(std::clamp<std::int64_t>(ms, 0, kMostMs)));
    return;
  }
  timeval timeout = limited(timeout_us == nullptr ? 0 : *timeout_us);
  self.found = select(0, sets[0], sets[1], sets[2], timeout_us == nullptr ? nullptr : &timeout);
  if (self.found < 0) self.error = WSAGetLastError();
}

Poller::Result Poller::end_wait() noexcept {
  Backend& self = *backend_;
  if (self.found == 0) return Result::timed_out;
  if (self.found < 0) {
    self.any_dead = self.error == kNotASocket;
    return self.any_dead ? Result::dead_socket : Result::failed;
  }
  for (const Kind kind : kKinds) self.take_ready(kind);
  return self.any_ready != 0 ? Result::ready : Result::timed_out;
}

std::int32_t Poller::highest_ready(Kind kind, std::int32_t below) noexcept {
  const Backend& self = *backend_;
  if ((self.any_ready & set_of(kind)) == 0) return -1;
  for (const Watch* watch = self.place_of(below); watch-- != self.watches;) {
    if ((watch->ready & set_of(kind)) != 0) return watch->socket;
  }
  return -1;
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
