// The native side: clients that speak packets over TCP, spread over the threads of a big box.
//
// A client is made on the master's thread and ended on its slave's, which runs all its callbacks:
// so none of them ever meets a client that is gone. Other threads only add to what it is sent, or
// doom it; its own thread sees that soon, at its next callback or the next tick.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "kiv_base/cpp/runtime.hpp"
#include "native_client.h"

namespace chat {

class NativeServer {
 public:
  // The room and the log, which may be null, outlive the server.
  NativeServer(Room& room, kiv::LogRef log, const NativeLimits& limits);
  // Returns when its threads run no callback any more.
  ~NativeServer();
  NativeServer(const NativeServer&) = delete;
  NativeServer& operator=(const NativeServer&) = delete;

  // Listens on 127.0.0.1, or with `is_public` on all addresses; false if the port cannot be opened.
  bool listen(std::uint16_t port, bool is_public);

  std::size_t clients() const;

 private:
  void on_accept(kiv::BigBoxRef box, kiv::SocketId listener, kiv::SocketId socket,
                 kiv::TextRef peer_ip, std::uint16_t peer_port);
  void on_read(kiv::BigBoxRef box, kiv::SocketId socket, std::string_view data);
  void on_close(kiv::BigBoxRef box, kiv::SocketId socket);
  void on_writable(kiv::BigBoxRef box, kiv::SocketId socket);
  void on_tick(kiv::BoxRef slave, kiv::TimerId timer, std::int32_t times);

  void accept(kiv::SocketId socket, kiv::TextRef peer_ip, std::uint16_t peer_port);
  template <typename Step>
  void serve(kiv::SocketId socket, Step step);
  void end_doomed(kiv::BoxRef slave);
  void end(kiv::SocketId socket);

  NativeShared shared_;
  kiv::LogRef log_;
  std::map<std::int32_t, std::unique_ptr<NativeClient>> clients_;  // by socket
  std::map<kiv_box*, std::set<std::int32_t>> by_slave_;
};

}  // namespace chat
