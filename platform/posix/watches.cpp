#include "platform/posix/watches.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "platform/heap.h"
#include "platform/posix/hands.h"

namespace kiv::platform {
namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1000000;

// Null waits without limit.
int poll_for(pollfd* entries, nfds_t count, const std::int64_t* timeout_us) {
  if (timeout_us == nullptr) return ppoll(entries, count, nullptr, nullptr);
  const std::int64_t us = std::max<std::int64_t>(*timeout_us, 0);
  const timespec timeout = {static_cast<std::time_t>(us / kMicrosecondsPerSecond),
                            static_cast<long>(us % kMicrosecondsPerSecond * 1000)};
  return ppoll(entries, count, &timeout, nullptr);
}

}  // namespace

short poll_events(Kinds kinds) noexcept {
  short events = 0;
  if ((kinds & set_of(Kind::read)) != 0) events |= POLLIN;
  if ((kinds & set_of(Kind::write)) != 0) events |= POLLOUT;
  if ((kinds & set_of(Kind::except)) != 0) events |= POLLPRI;
  return events;
}

// A broken connection counts as readable and writable: whoever waits finds out by trying.
Kinds found_by_poll(short events, Kinds kinds) noexcept {
  const bool broken = (events & (POLLERR | POLLHUP)) != 0;
  unsigned found = 0;
  if (broken || (events & POLLIN) != 0) found |= set_of(Kind::read);
  if (broken || (events & POLLOUT) != 0) found |= set_of(Kind::write);
  if ((events & POLLPRI) != 0 || (broken && (kinds & kConnecting) != 0)) {
    found |= set_of(Kind::except);
  }
  return static_cast<Kinds>(found & kinds);
}

short shown_now(std::int32_t socket, short events) noexcept {
  pollfd entry{socket, events, 0};
  int result = ::poll(&entry, 1, 0);
  while (result < 0 && errno == EINTR) result = ::poll(&entry, 1, 0);
  return result > 0 ? entry.revents : short{0};
}

bool is_open(std::int32_t socket) noexcept {
  return (shown_now(socket, 0) & POLLNVAL) == 0;
}

Watches::~Watches() {
  heap_free(watches_);
  heap_free(places_);
  heap_free(polled_);
  heap_free(next_polled_);
}

Watch* Watches::find(std::int32_t socket) noexcept {
  if (places_ == nullptr) {
    Watch* const found = std::find_if(
        begin(), end(), [socket](const Watch& watch) { return watch.socket == socket; });
    return found != end() ? found : nullptr;
  }
  if (static_cast<std::uint32_t>(socket) >= place_count_) return nullptr;
  const std::uint32_t place = places_[socket];
  return place < count_ && watches_[place].socket == socket ? watches_ + place : nullptr;
}

Watch* Watches::add(std::int32_t socket, Kinds kinds) noexcept {
  if (!reserve(socket)) return nullptr;
  if (places_ != nullptr) places_[socket] = count_;
  Watch& watch = watches_[count_++];
  watch = {socket, ++serial_, kinds, kinds};
  in_new_hands(socket);
  return &watch;
}

void Watches::remove(Watch& watch) noexcept {
  for (ReadySet& set : ready) set.erase(watch.socket);
  dead.erase(watch.socket);
  watch = watches_[--count_];
  if (places_ == nullptr) return;
  places_[watch.socket] = static_cast<std::uint32_t>(&watch - watches_);
  if (count_ > kFew / 2) return;
  heap_free(places_);
  places_ = nullptr;
  place_count_ = 0;
}

void Watches::set_kinds(Watch& watch, Kinds kinds) noexcept {
  for (const Kind kind : kKinds) {
    if ((kinds & set_of(kind)) == 0) ready[index_of(kind)].erase(watch.socket);
  }
  watch.fresh = static_cast<Kinds>((watch.fresh | ~watch.kinds) & kinds);
  watch.kinds = kinds;
  watch.serial = ++serial_;
  watch.is_muted = false;
}

void Watches::set_ready(const Watch& watch, Kinds found) noexcept {
  for (const Kind kind : kKinds) {
    if ((found & set_of(kind)) != 0) ready[index_of(kind)].insert(watch.socket);
  }
}

void Watches::clear_ready() noexcept {
  for (ReadySet& set : ready) set.clear();
}

bool Watches::any_ready() const noexcept {
  return !ready[0].empty() || !ready[1].empty() || !ready[2].empty();
}

bool Watches::reserve(std::int32_t socket) noexcept {
  for (ReadySet& set : ready) {
    if (!set.reserve(socket)) return false;
  }
  return dead.reserve(socket) && reserve_watches() && reserve_places(socket);
}

bool Watches::reserve_watches() noexcept {
  if (count_ < capacity_) return true;
  const std::uint32_t larger = std::max<std::uint32_t>(8, capacity_ * 2);
  auto* const polled = static_cast<pollfd*>(heap_alloc(larger * sizeof(pollfd)));
  auto* const watches = static_cast<Watch*>(heap_realloc(watches_, larger * sizeof(Watch)));
  if (watches != nullptr) watches_ = watches;
  if (watches == nullptr || polled == nullptr) {
    heap_free(polled);
    return false;
  }
  heap_free(next_polled_);
  next_polled_ = polled;
  capacity_ = larger;
  return true;
}

bool Watches::reserve_places(std::int32_t socket) noexcept {
  if (count_ < kFew && places_ == nullptr) return true;
  auto highest = static_cast<std::uint32_t>(socket);
  if (highest < place_count_) return true;
  for (const Watch& watch : *this) {
    highest = std::max(highest, static_cast<std::uint32_t>(watch.socket));
  }
  const std::uint32_t larger = std::max(highest + 1, place_count_ * 2);
  void* const fresh = heap_realloc(places_, larger * sizeof(std::uint32_t));
  if (fresh == nullptr) return false;
  places_ = static_cast<std::uint32_t*>(fresh);
  // A place that belongs to no socket is told by the watch that is there.
  std::memset(places_ + place_count_, 0, (larger - place_count_) * sizeof(std::uint32_t));
  place_count_ = larger;
  for (std::uint32_t i = 0; i < count_; ++i) places_[watches_[i].socket] = i;
  return true;
}

void Watches::begin_poll() noexcept {
  if (next_polled_ != nullptr) {
    heap_free(polled_);
    polled_ = next_polled_;
    next_polled_ = nullptr;
  }
  clear_ready();
  dead.clear();
  polled_count_ = 0;
  for (Watch& watch : *this) {
    watch.fresh = 0;
    if (watch.is_muted) {
      const short shown = shown_now(watch.socket, 0);
      if ((shown & POLLNVAL) != 0) dead.insert(watch.socket);
      watch.is_muted = (shown & (POLLERR | POLLHUP)) != 0;  // it may have been connected since
    }
    // A negative number is passed over by poll().
    polled_[polled_count_++] = {watch.is_muted ? ~watch.socket : watch.socket,
                                poll_events(watch.kinds), 0};
  }
}

void Watches::poll(const std::int64_t* timeout_us) noexcept {
  found_ = poll_for(polled_, polled_count_, timeout_us);
  if (found_ < 0 && errno == EINTR) found_ = 0;
}

bool Watches::end_poll() noexcept {
  int left = found_;
  for (const pollfd* entry = polled_; left > 0; ++entry) {
    if (entry->revents == 0) continue;
    --left;
    Watch* const watch = find(entry->fd);
    if (watch == nullptr || watch->kinds == watch->fresh) continue;
    const auto kinds = static_cast<Kinds>(watch->kinds & ~watch->fresh);
    const Kinds found = found_by_poll(entry->revents, kinds);
    if ((entry->revents & POLLNVAL) != 0) {
      dead.insert(entry->fd);
    } else if (found != 0) {
      set_ready(*watch, found);
    } else if (watch->fresh == 0) {
      watch->is_muted = true;
    }
  }
  return found_ >= 0;
}

}  // namespace kiv::platform
