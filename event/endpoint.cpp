#include "event/endpoint.h"

#include <cstring>

#include "event/ip_text.h"
#include "kiv_base/event.h"

namespace kiv::event {
namespace {

constexpr std::uint16_t kLastRefusedPort = 2;
constexpr std::size_t kMaxHostLength = 256;

// A non-blocking socket, or -1: reads and writes happen under locks that others wait for.
std::int32_t open_socket(platform::Transport transport) {
  const std::int32_t socket = platform::socket_open(transport);
  if (socket < 1) return -1;
  if (platform::socket_set_blocking(socket, false) == 0) return socket;
  platform::socket_close(socket);
  return -1;
}

std::int32_t keep_if(bool usable, std::int32_t socket) {
  if (usable) return socket;
  platform::socket_close(socket);
  return -1;
}

bool bind(std::int32_t socket, const platform::WireAddress& local) {
  return platform::socket_bind(socket, local) == 0;
}

}  // namespace

bool find_target(const char* host, std::uint16_t port, platform::WireAddress& target) {
  // deliberate: ports 1 and 2 are refused like port 0; applications test for it.
  if (host == nullptr || port <= kLastRefusedPort || std::strlen(host) > kMaxHostLength) {
    return false;
  }
  char ip[kIpText];
  std::uint32_t address = platform::numeric_address(host);
  if (address == platform::kNoAddress) {
    if (zu_sock_GetHostFirstIP(host, ip) != 1) return false;
    address = platform::numeric_address(ip);
  }
  target = platform::wire_address(platform::swap_order(address), port);
  return true;
}

bool find_local(const char* ip, std::uint16_t port, platform::WireAddress& local) {
  std::uint32_t address = 0;
  if (ip != nullptr && ip[0] != '\0') {
    address = platform::numeric_address(ip);
    if (address == platform::kNoAddress) return false;
  }
  local = platform::wire_address(platform::swap_order(address), port);
  return true;
}

// How a connect goes the loop finds out: a writable socket without a peer has failed. One that
// fails within the call is not reported by every system's wait; a datagram socket takes its place,
// which is writable at once and has no peer either.
std::int32_t open_tcp_client(const platform::WireAddress& target, std::int32_t& error) {
  error = 0;
  const std::int32_t socket = open_socket(platform::Transport::tcp);
  if (socket < 1 || platform::socket_connect(socket, target) == 0) return socket;
  error = platform::last_error();
  if (error == platform::kWouldBlock) {
    error = 0;
    return socket;
  }
  const std::int32_t stand_in = open_socket(platform::Transport::udp);
  if (stand_in < 1) return socket;
  platform::socket_close(socket);
  return stand_in;
}

// Windows refuses to read a datagram socket that has no local port yet.
std::int32_t open_udp_client() {
  return open_udp_server(platform::wire_address(0, 0));
}

std::int32_t open_tcp_server(const platform::WireAddress& local, std::int32_t backlog) {
  const std::int32_t socket = open_socket(platform::Transport::tcp);
  if (socket < 1) return -1;
  return keep_if(bind(socket, local) && platform::socket_listen(socket, backlog) == 0, socket);
}

std::int32_t open_udp_server(const platform::WireAddress& local) {
  const std::int32_t socket = open_socket(platform::Transport::udp);
  return socket < 1 ? -1 : keep_if(bind(socket, local), socket);
}

void set_buffers(std::int32_t socket, std::int32_t send_bytes, std::int32_t receive_bytes) {
  platform::socket_set_option(socket, platform::Option::send_buffer, send_bytes);
  platform::socket_set_option(socket, platform::Option::receive_buffer, receive_bytes);
}

}  // namespace kiv::event
