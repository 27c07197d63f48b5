// select() with sets of our own size: FD_SETSIZE is 64 unless every file agrees on another value,
// and the system looks only at the count.
#include <winsock2.h>

#include "platform/wait.h"

namespace kiv::platform {
namespace {

struct BigSet {
  u_int count;
  SOCKET sockets[kMaxSockets];
};
static_assert(offsetof(BigSet, sockets) == offsetof(fd_set, fd_array));

fd_set* load(BigSet* big, const SocketSet* set) {
  if (set == nullptr) return nullptr;
  big->count = static_cast<u_int>(set->count);
  for (std::int32_t i = 0; i < set->count; ++i) {
    big->sockets[i] = static_cast<SOCKET>(set->sockets[i]);
  }
  return reinterpret_cast<fd_set*>(big);
}

void store(SocketSet* set, const BigSet& big) {
  if (set == nullptr) return;
  set->count = static_cast<std::int32_t>(big.count);
  for (std::int32_t i = 0; i < set->count; ++i) {
    set->sockets[i] = static_cast<std::int32_t>(big.sockets[i]);
  }
}

timeval limited(std::int64_t timeout_us) {
  constexpr std::int64_t kLongest = std::int64_t{INT32_MAX} * 1000000;
  if (timeout_us < 0) timeout_us = 0;
  if (timeout_us > kLongest) timeout_us = kLongest;
  return {static_cast<long>(timeout_us / 1000000), static_cast<long>(timeout_us % 1000000)};
}

}  // namespace

std::int32_t wait_ready(SocketSet* read, SocketSet* write, SocketSet* except,
                        const std::int64_t* timeout_us) noexcept {
  BigSet big_read;
  BigSet big_write;
  BigSet big_except;
  timeval timeout = timeout_us == nullptr ? timeval{} : limited(*timeout_us);
  const int result = select(0, load(&big_read, read), load(&big_write, write),
                            load(&big_except, except), timeout_us == nullptr ? nullptr : &timeout);
  if (result <= 0) return result;
  store(read, big_read);
  store(write, big_write);
  store(except, big_except);
  return result;
}

}  // namespace kiv::platform
