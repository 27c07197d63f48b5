#include "tests/seams/wait_seam.h"

#include <poll.h>
#include <sys/epoll.h>

#include <atomic>
#include <cstdint>

#include "tests/seams/clock_seam.h"

namespace {

constexpr std::int64_t kWithoutLimit = -1;

std::atomic<int> waits{0};

std::int64_t microseconds(const timespec* timeout) {
  if (timeout == nullptr) return kWithoutLimit;
  return std::int64_t{timeout->tv_sec} * 1000000 + timeout->tv_nsec / 1000;
}

// `found_now` asks without waiting, `wait` is the system's call as it stands.
template <typename Ask, typename Wait>
int wait_for(std::int64_t timeout_us, Ask found_now, Wait wait) {
  ++waits;
  if (timeout_us == kWithoutLimit) return wait();
  const int found = found_now();
  if (found != 0 || timeout_us == 0) return found;
  return kiv::test::StoppedClock::pass_us(timeout_us) ? 0 : wait();
}

}  // namespace

int kiv::test::waits_made() {
  return waits;
}

extern "C" {

int __real_ppoll(pollfd* entries, nfds_t count, const timespec* timeout, const sigset_t* mask);
int __real_epoll_wait(int epoll, epoll_event* events, int count, int timeout_ms);
int __real_epoll_pwait2(int epoll, epoll_event* events, int count, const timespec* timeout,
                        const sigset_t* mask);
int __wrap_ppoll(pollfd* entries, nfds_t count, const timespec* timeout, const sigset_t* mask);
int __wrap_epoll_wait(int epoll, epoll_event* events, int count, int timeout_ms);
int __wrap_epoll_pwait2(int epoll, epoll_event* events, int count, const timespec* timeout,
                        const sigset_t* mask);

int __wrap_ppoll(pollfd* entries, nfds_t count, const timespec* timeout, const sigset_t* mask) {
  return wait_for(
      microseconds(timeout), [&] { return poll(entries, count, 0); },
      [&] { return __real_ppoll(entries, count, timeout, mask); });
}

int __wrap_epoll_wait(int epoll, epoll_event* events, int count, int timeout_ms) {
  return wait_for(
      timeout_ms < 0 ? kWithoutLimit : std::int64_t{timeout_ms} * 1000,
      [&] { return __real_epoll_wait(epoll, events, count, 0); },
      [&] { return __real_epoll_wait(epoll, events, count, timeout_ms); });
}

int __wrap_epoll_pwait2(int epoll, epoll_event* events, int count, const timespec* timeout,
                        const sigset_t* mask) {
  return wait_for(
      microseconds(timeout), [&] { return __real_epoll_wait(epoll, events, count, 0); },
      [&] { return __real_epoll_pwait2(epoll, events, count, timeout, mask); });
}

}  // extern "C"
