#include "tests/support/sockets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>

#include "platform/socket.h"

namespace kiv::test {
namespace {

constexpr int kDeadlineMs = 20000;

const bool network_started = platform::network_start();

platform::WireAddress loopback(std::uint16_t port) {
  return platform::wire_address(kLoopback, port);
}

Socket opened(platform::Transport transport) {
  Socket made(platform::socket_open(transport));
  EXPECT_TRUE(network_started && made.id() > 0) << "no socket, error " << platform::last_error();
  return made;
}

Socket bound(platform::Transport transport, std::uint16_t port, std::uint32_t address = kLoopback) {
  Socket made = opened(transport);
  EXPECT_EQ(platform::socket_bind(made.id(), platform::wire_address(address, port)), 0)
      << platform::last_error();
  return made;
}

bool readable(const Socket& socket) {
  const bool ready = socket.readable_within(kDeadlineMs);
  EXPECT_TRUE(ready) << "nothing to read before the deadline";
  return ready;
}

}  // namespace

void Socket::close() {
  if (id_ > 0) platform::socket_close(id_);
  id_ = -1;
}

std::uint16_t Socket::local_port() const {
  platform::WireAddress local;
  return platform::socket_local_address(id_, &local) == 0 ? platform::swap_order(local.port) : 0;
}

bool Socket::send(std::string_view data) const {
  while (!data.empty()) {
    const std::int32_t sent =
        platform::socket_send(id_, data.data(), static_cast<std::int32_t>(data.size()));
    if (sent <= 0) return false;
    data.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool Socket::send_to(std::uint16_t port, std::string_view data) const {
  const auto length = static_cast<std::int32_t>(data.size());
  return platform::socket_send_to(id_, data.data(), length, loopback(port),
                                  sizeof(platform::WireAddress)) == length;
}

std::string Socket::receive(std::size_t count) const {
  std::string all;
  char piece[16384];
  while (all.size() < count && readable(*this)) {
    const auto wanted =
        static_cast<std::int32_t>(std::min<std::size_t>(sizeof piece, count - all.size()));
    const std::int32_t got = platform::socket_receive(id_, piece, wanted);
    if (got <= 0) break;
    all.append(piece, static_cast<std::size_t>(got));
  }
  return all;
}

std::string Socket::receive_to_end() const {
  return receive(std::numeric_limits<std::size_t>::max());
}

std::string Socket::receive_some() const {
  std::string piece(16384, '\0');
  const std::int32_t got = readable(*this) ? platform::socket_receive(id_, piece.data(), 16384) : 0;
  piece.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return piece;
}

std::string Socket::receive_datagram(std::uint16_t* from) const {
  std::string data(65536, '\0');
  platform::WireAddress sender;
  const std::int32_t got =
      readable(*this) ? platform::socket_receive_from(id_, data.data(), 65536, &sender) : 0;
  if (from != nullptr) *from = platform::swap_order(sender.port);
  data.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return data;
}

bool Socket::readable_within(int milliseconds) const {
  return platform::socket_readable(id_, std::int64_t{milliseconds} * 1000);
}

Socket tcp_listener(std::uint16_t port) {
  Socket made = bound(platform::Transport::tcp, port);
  EXPECT_EQ(platform::socket_listen(made.id(), 100), 0) << platform::last_error();
  return made;
}

Socket tcp_connect(std::uint16_t port) {
  Socket made = opened(platform::Transport::tcp);
  EXPECT_EQ(platform::socket_connect(made.id(), loopback(port)), 0) << platform::last_error();
  return made;
}

Socket tcp_accept(const Socket& listener) {
  Socket made(readable(listener) ? platform::socket_accept(listener.id(), nullptr) : -1);
  EXPECT_GT(made.id(), 0) << platform::last_error();
  platform::socket_set_blocking(made.id(), true);
  return made;
}

Socket udp_socket(std::uint16_t port, std::uint32_t address) {
  return bound(platform::Transport::udp, port, address);
}

std::pair<Socket, Socket> tcp_pair() {
  const Socket listener = tcp_listener();
  Socket client = tcp_connect(listener.local_port());
  return {std::move(client), tcp_accept(listener)};
}

std::vector<Socket> every_descriptor() {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
  std::vector<Socket> all;
  while (all.size() < 25000 && std::chrono::steady_clock::now() < deadline) {
    Socket socket(platform::socket_open(platform::Transport::udp));
    if (socket.id() < 1) break;
    all.push_back(std::move(socket));
  }
  return all;
}

std::uint16_t free_tcp_port() {
  return tcp_listener().local_port();
}
std::uint16_t free_udp_port() {
  return udp_socket().local_port();
}

}  // namespace kiv::test
