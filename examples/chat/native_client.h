// One native client: its packets in, its packets out.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "kiv_base/cpp/bigbox.hpp"
#include "packet.h"
#include "room.h"

namespace chat {

using Clock = std::chrono::steady_clock;

struct NativeLimits {
  std::int32_t slaves = 4;
  std::int32_t clients = 4000;              // a slave's box has room for 1022
  std::size_t backlog = 256 * 1024;         // bytes that a client may leave unread
  std::int32_t half_packet = 32 * 1024;     // bytes that a client may send without ending a packet
  std::chrono::milliseconds login{10'000};  // from the connection to a name
};

// What all native clients share.
struct NativeShared {
  kiv::BigBox box;
  Room* room = nullptr;
  NativeLimits limits;
  kiv::OnBigSocket on_writable;
};

// For holders of the room's mutex.
class NativeClient {
 public:
  NativeClient(NativeShared& shared, std::int32_t socket, std::string peer)
      : shared_(shared), socket_(socket), peer_(std::move(peer)) {}

  std::int32_t socket() const { return socket_; }
  const std::string& peer() const { return peer_; }
  const std::string& name() const { return name_; }  // empty before the login

  // Why the connection has to end; empty while it goes on. The client's own thread ends it.
  const std::string& doomed() const { return doom_; }

  void receive(std::string_view bytes);
  void on_writable();
  void close() { doom("closed by the peer"); }
  void hear(const Message& message);
  void look_at_clock(Clock::time_point now);

 private:
  void doom(const char* why) {
    if (doom_.empty()) doom_ = why;
  }
  void obey();
  void login();
  void tell_who();
  void send(const std::string& bytes);
  void send_rest();

  NativeShared& shared_;
  std::int32_t socket_;
  std::string peer_;
  std::string name_;
  std::string doom_;
  Clock::time_point since_ = Clock::now();
  PacketStream stream_;
  Packet in_, out_;
  std::string unsent_;
  bool waits_for_room_ = false;
  int turns_without_progress_ = 0;
};

}  // namespace chat
