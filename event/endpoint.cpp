#include "event/endpoint.h"

#include <bit>
#include <cstring>

#include "platform/socket.h"

namespace kiv::event {
namespace {

constexpr std::uint16_t kLastRefusedPort = 2;

zu_sock_addr socket_address(std::uint32_t address, std::uint16_t port) {
  return std::bit_cast<zu_sock_addr>(platform::wire_address(address, port));
}

platform::WireAddress wire(const zu_sock_addr& address) {
  return std::bit_cast<platform::WireAddress>(address);
}

// A non-blocking socket, or -1: reads and writes happen under locks that others wait for.
std::int32_t open_socket(Transport transport) {
  const std::int32_t socket = platform::socket_open(
      transport == Transport::tcp ? platform::Transport::tcp : platform::Transport::udp);
  if (socket < 1) return -1;
  if (platform::socket_set_blocking(socket, false) == 0) return socket;
  platform::socket_close(socket);
  return -1;
}

// How a connect goes the loop finds out: a writable socket without a peer has failed. One that
// fails within the call is not reported by every system's wait; a datagram socket takes its place,
// which is writable at once and has no peer either.
void start_connecting(const ClientEndpoint& endpoint, std::int32_t& socket) {
  if (platform::socket_connect(socket, wire(endpoint.peer)) == 0) return;
  if (platform::last_error() == platform::kWouldBlock) return;
  const std::int32_t stand_in = open_socket(Transport::udp);
  if (stand_in < 1) return;
  platform::socket_close(socket);
  socket = stand_in;
}

bool start_client(const ClientEndpoint& endpoint, std::int32_t& socket) {
  if (endpoint.transport == Transport::tcp) {
    start_connecting(endpoint, socket);
    return true;
  }
  // Windows refuses to read a datagram socket that has no local port yet.
  return platform::socket_bind(socket, platform::wire_address(0, 0)) == 0;
}

bool start_server(const ServerEndpoint& endpoint, std::int32_t& socket) {
  if (platform::socket_bind(socket, wire(endpoint.local)) != 0) return false;
  return endpoint.transport == Transport::udp ||
         platform::socket_listen(socket, endpoint.backlog) == 0;
}

template <typename Endpoint>
bool open_with(Endpoint& endpoint, bool (*start)(const Endpoint&, std::int32_t&)) {
  std::int32_t socket = open_socket(endpoint.transport);
  if (socket < 1) return false;
  if (!start(endpoint, socket)) {
    platform::socket_close(socket);
    return false;
  }
  endpoint.socket = socket;
  endpoint.state = EndpointState::open;
  return true;
}

template <typename Endpoint>
void close_socket(Endpoint& endpoint, std::int32_t (*close)(std::int32_t) noexcept) {
  if (endpoint.socket > 0) close(endpoint.socket);
  endpoint.socket = -1;
  endpoint.state = EndpointState::closed;
}

}  // namespace

bool prepare(ClientEndpoint& endpoint, Transport transport, const char* host, std::uint16_t port) {
  // deliberate: ports 1 and 2 are refused like port 0; applications test for it.
  if (host == nullptr || port <= kLastRefusedPort) return false;
  const std::size_t length = std::strlen(host);
  if (length > kMaxHostText) return false;
  endpoint.transport = transport;
  endpoint.port = port;
  std::memcpy(endpoint.host, host, length + 1);
  if (zu_sock_IsRealIp(host) == 1) {
    std::memcpy(endpoint.ip, host, length + 1);
  } else if (zu_sock_GetHostFirstIP(host, endpoint.ip) != 1) {
    return false;
  }
  endpoint.address = platform::swap_order(platform::numeric_address(endpoint.ip));
  endpoint.peer = socket_address(endpoint.address, port);
  return true;
}

bool prepare(ServerEndpoint& endpoint, Transport transport, const char* ip, std::uint16_t port) {
  endpoint.transport = transport;
  endpoint.port = port;
  if (ip != nullptr && ip[0] != '\0') {
    const std::uint32_t address = platform::numeric_address(ip);
    if (address == platform::kNoAddress) return false;
    endpoint.address = platform::swap_order(address);
    zu_strncpy(endpoint.ip, ip, sizeof endpoint.ip - 1);
  }
  endpoint.local = socket_address(endpoint.address, port);
  return true;
}

bool open(ClientEndpoint& endpoint) {
  return open_with(endpoint, start_client);
}
bool open(ServerEndpoint& endpoint) {
  return open_with(endpoint, start_server);
}

void close(ClientEndpoint& endpoint) {
  close_socket(endpoint, platform::socket_close);
  endpoint.is_closed = 1;
}

void close(ServerEndpoint& endpoint) {
  const bool listens = endpoint.transport == Transport::tcp;
  close_socket(endpoint, listens ? platform::listener_close : platform::socket_close);
}

}  // namespace kiv::event
