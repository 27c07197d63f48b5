#include "platform/socket_stream.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/sendfile.h>
#endif

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>

#include "platform/posix/uninterrupted.h"

namespace kiv::platform {
namespace {

int set_tcp_option(std::int32_t socket, int option, int value) {
  return setsockopt(socket, IPPROTO_TCP, option, &value, sizeof value);
}

}  // namespace

std::int32_t socket_send_parts(std::int32_t socket, const Bytes* parts,
                               std::int32_t count) noexcept {
  iovec pieces[kMostParts];
  for (std::int32_t i = 0; i < count; ++i) {
    pieces[i] = {const_cast<void*>(parts[i].data), static_cast<std::size_t>(parts[i].length)};
  }
  msghdr message{};
  message.msg_iov = pieces;
  message.msg_iovlen = static_cast<decltype(message.msg_iovlen)>(count);
  return static_cast<std::int32_t>(
      uninterrupted([&] { return sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT); }));
}

#if defined(__linux__)

namespace {

// sendfile() cannot be told to raise no SIGPIPE: this thread takes it in while the object lives.
class NoBrokenPipeSignal {
 public:
  NoBrokenPipeSignal() {
    sigemptyset(&signal_);
    sigaddset(&signal_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    is_pending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &signal_, &before_);
  }
  ~NoBrokenPipeSignal() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

  void take() const {
    const timespec at_once{};
    if (!is_pending_) uninterrupted([&] { return sigtimedwait(&signal_, nullptr, &at_once); });
  }

 private:
  sigset_t signal_;
  sigset_t before_;
  bool is_pending_;
};

}  // namespace

std::int64_t socket_send_file(std::int32_t socket, std::intptr_t file, std::int64_t offset,
                              std::int64_t count) noexcept {
  const NoBrokenPipeSignal guarded;
  off_t from = offset;
  const std::int64_t sent = uninterrupted([&] {
    return sendfile(socket, static_cast<int>(file), &from, static_cast<std::size_t>(count));
  });
  if (sent < 0 && errno == EPIPE) {
    guarded.take();
    errno = EPIPE;
  }
  return sent;
}

#else

std::int64_t socket_send_file(std::int32_t socket, std::intptr_t file, std::int64_t offset,
                              std::int64_t count) noexcept {
  char bytes[16384];
  const auto wanted = std::min<std::size_t>(static_cast<std::size_t>(count), sizeof bytes);
  const auto length =
      uninterrupted([&] { return pread(static_cast<int>(file), bytes, wanted, offset); });
  if (length <= 0) return length;
  const Bytes part{bytes, static_cast<std::int32_t>(length)};
  return socket_send_parts(socket, &part, 1);
}

#endif

std::int32_t socket_end_sending(std::int32_t socket) noexcept {
  return shutdown(socket, SHUT_WR);
}

std::int32_t socket_set_keep_alive_times(std::int32_t socket, std::int32_t idle_s,
                                         std::int32_t interval_s, std::int32_t probes) noexcept {
#if defined(TCP_KEEPIDLE)
  const int idle = TCP_KEEPIDLE;
#else
  const int idle = TCP_KEEPALIVE;
#endif
  const bool done = set_tcp_option(socket, idle, idle_s) == 0 &&
                    set_tcp_option(socket, TCP_KEEPINTVL, interval_s) == 0 &&
                    set_tcp_option(socket, TCP_KEEPCNT, probes) == 0;
  return done ? 0 : -1;
}

}  // namespace kiv::platform
