// poll() rather than select(): a descriptor above 1023 would write outside an fd_set.
#include <poll.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "platform/clock.h"
#include "platform/wait.h"

namespace kiv::platform {
namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1000000;

// The entries of a poll, one for each socket: the system refuses more entries than the process may
// have descriptors, and a connecting socket is in two sets.
class Entries {
 public:
  void add(const SocketSet* set, short event) {
    if (set == nullptr) return;
    const bool merge = count_ > 0;
    if (merge && !placed_) place_all();
    for (std::int32_t i = 0; i < set->count; ++i) {
      if (!merge || !add_event(set->sockets[i], event)) append(set->sockets[i], event);
    }
  }

  pollfd* begin() { return entries_; }
  pollfd* end() { return entries_ + count_; }

 private:
  // Where sockets share a place, one of them may get two entries. That does no harm: such sockets
  // are kPlaces apart, so the process may have more descriptors than there are entries.
  static constexpr unsigned kPlaces = 4096;
  static_assert(kPlaces > 3 * kMaxSockets);

  std::uint16_t& place_of(std::int32_t socket) {
    return places_[static_cast<unsigned>(socket) % kPlaces];
  }

  void append(std::int32_t socket, short event) {
    if (placed_) place_of(socket) = count_;
    entries_[count_++] = {socket, event, 0};
  }

  bool add_event(std::int32_t socket, short event) {
    const std::uint16_t place = place_of(socket);
    if (entries_[place].fd != socket) return false;
    entries_[place].events |= event;
    return true;
  }

  // Left undone while there is one set, as most loops wait for reading alone.
  void place_all() {
    std::memset(places_, 0, sizeof places_);
    for (std::uint16_t i = 0; i < count_; ++i) place_of(entries_[i].fd) = i;
    placed_ = true;
  }

  bool placed_ = false;
  std::uint16_t count_ = 0;
  std::uint16_t places_[kPlaces];
  pollfd entries_[3 * kMaxSockets];
};

// Takes the ready sockets over. A broken connection counts for every kind that was asked for:
// poll() always reports it, so it would otherwise end each wait with nothing to serve.
void add_ready(SocketSet* set, const pollfd& entry, short event) {
  if ((entry.events & event) == 0) return;
  if ((entry.revents & (event | POLLERR | POLLHUP)) == 0) return;
  set->sockets[set->count++] = entry.fd;
}

void empty(SocketSet* set) {
  if (set != nullptr) set->count = 0;
}

std::int32_t count_of(const SocketSet* set) {
  return set == nullptr ? 0 : set->count;
}

int poll_for(pollfd* entries, nfds_t count, std::int64_t timeout_us) {
  const timespec timeout = {static_cast<std::time_t>(timeout_us / kMicrosecondsPerSecond),
                            static_cast<long>(timeout_us % kMicrosecondsPerSecond * 1000)};
  return ppoll(entries, count, &timeout, nullptr);
}

int poll_resumed(pollfd* entries, nfds_t count, const std::int64_t* timeout_us) {
  if (timeout_us == nullptr) {
    int result = ppoll(entries, count, nullptr, nullptr);
    while (result < 0 && errno == EINTR) result = ppoll(entries, count, nullptr, nullptr);
    return result;
  }
  std::int64_t left = *timeout_us < 0 ? 0 : *timeout_us;
  const std::int64_t end = left == 0 ? 0 : steady_us() + left;
  int result = poll_for(entries, count, left);
  while (result < 0 && errno == EINTR) {
    left = end - steady_us();
    result = poll_for(entries, count, left < 0 ? 0 : left);
  }
  return result;
}

}  // namespace

std::int32_t wait_ready(SocketSet* read, SocketSet* write, SocketSet* except,
                        const std::int64_t* timeout_us) noexcept {
  Entries entries;
  entries.add(read, POLLIN);
  entries.add(write, POLLOUT);
  entries.add(except, POLLPRI);
  int left = poll_resumed(entries.begin(), static_cast<nfds_t>(entries.end() - entries.begin()),
                          timeout_us);
  if (left <= 0) return left;

  empty(read);
  empty(write);
  empty(except);
  for (const pollfd& entry : entries) {
    if (entry.revents == 0) continue;
    if ((entry.revents & POLLNVAL) != 0) {
      errno = EBADF;
      return -1;
    }
    add_ready(read, entry, POLLIN);
    add_ready(write, entry, POLLOUT);
    add_ready(except, entry, POLLPRI);
    if (--left == 0) break;
  }
  return count_of(read) + count_of(write) + count_of(except);
}

}  // namespace kiv::platform
