// Plain sockets on 127.0.0.1 for the other end of a test. Everything waits with a deadline and
// reports a failure when it passes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kiv::test {

// Owns a blocking socket.
class Socket {
 public:
  explicit Socket(std::int32_t id = -1) : id_(id) {}
  ~Socket() { close(); }
  Socket(Socket&& other) noexcept : id_(other.release()) {}
  Socket& operator=(Socket&& other) noexcept {
    close();
    id_ = other.release();
    return *this;
  }

  std::int32_t id() const { return id_; }
  std::int32_t release() { return std::exchange(id_, -1); }
  void close();

  // 0 on failure.
  std::uint16_t local_port() const;

  bool send(std::string_view data) const;
  bool send_to(std::uint16_t port, std::string_view data) const;

  // Bytes of a stream until there are `count` of them or it ends.
  std::string receive(std::size_t count) const;
  std::string receive_to_end() const;
  // What has come, at least a byte of it; empty at the end of the stream.
  std::string receive_some() const;
  // One datagram, and the port it came from.
  std::string receive_datagram(std::uint16_t* from = nullptr) const;

  // Is something there to read, or the end, before the deadline? Silent when not.
  bool readable_within(int milliseconds) const;

 private:
  std::int32_t id_;
};

// Port 0 takes a free port.
Socket tcp_listener(std::uint16_t port = 0);
Socket tcp_connect(std::uint16_t port);
Socket tcp_accept(const Socket& listener);
inline constexpr std::uint32_t kLoopback = 0x7f000001;
Socket udp_socket(std::uint16_t port = 0, std::uint32_t address = kLoopback);
// Both ends of a connection.
std::pair<Socket, Socket> tcp_pair();

// Sockets until the process may have no more; fewer where that takes too long.
std::vector<Socket> every_descriptor();

// A port that nobody listens on just now.
std::uint16_t free_tcp_port();
std::uint16_t free_udp_port();

}  // namespace kiv::test
