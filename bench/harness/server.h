// What the echo servers share: a listening socket, and the two kinds of line on their output, the
// port at the start and then the time of each tick of a timer on the same loop.
#ifndef KIV_BENCH_HARNESS_SERVER_H
#define KIV_BENCH_HARNESS_SERVER_H

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "bench/harness/process.h"

namespace bench {

constexpr int kTickMs = 100;
constexpr std::size_t kReadSize = 5120;  // of a box; the peers read as much

inline void tick() {
  report("tick", now());
}

inline std::uint16_t port_of(int socket) {
  sockaddr_in here{};
  socklen_t size = sizeof here;
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&here), &size) != 0) give_up("port");
  return ntohs(here.sin_port);
}

inline void announce(int listener) {
  report("port", port_of(listener));
  tick();
}

inline sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

inline int listen_anywhere() {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
  const sockaddr_in any = loopback(0);
  if (bind(listener, reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0 ||
      listen(listener, SOMAXCONN) != 0) {
    give_up("listener");
  }
  return listener;
}

// Sends back what came. False at the end of the connection.
inline bool echo(int socket) {
  char bytes[kReadSize];
  const ssize_t got = recv(socket, bytes, sizeof bytes, 0);
  if (got > 0) return send(socket, bytes, static_cast<std::size_t>(got), MSG_NOSIGNAL) == got;
  return got < 0 && errno == EAGAIN;
}

}  // namespace bench

#endif
