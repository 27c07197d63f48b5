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

#include "kiv_base/base.h"
#include "native_client.h"

namespace chat {

class NativeServer {
 public:
  // The room and the log, which may be NULL, outlive the server.
  NativeServer(Room& room, zu_log* log, const NativeLimits& limits);
  // Returns when its threads run no callback any more.
  ~NativeServer();
  NativeServer(const NativeServer&) = delete;
  NativeServer& operator=(const NativeServer&) = delete;

  // Listens on 127.0.0.1, or with `is_public` on all addresses; false when the port cannot be had.
  bool listen(std::uint16_t port, bool is_public);

  std::size_t clients() const;

 private:
  static void KIV_CALL on_accept(void* box, void* user, std::int32_t listener, std::int32_t socket,
                                 const char* peer_ip, std::uint16_t peer_port);
  static void KIV_CALL on_read(void* box, void* user, std::int32_t socket, char* data,
                               std::int32_t length);
  static void KIV_CALL on_close(void* box, void* user, std::int32_t socket);
  static void KIV_CALL on_writable(void* box, void* user, std::int32_t socket);
  static void KIV_CALL on_tick(void* slave, void* user, std::int32_t timer, std::int32_t times);

  void accept(std::int32_t socket, const char* peer_ip, std::uint16_t peer_port);
  template <typename Step>
  static void serve(void* user, Step step);
  void end_doomed(kiv_box* slave);
  void end(std::int32_t socket);
  void close_socket(std::int32_t socket);

  NativeShared shared_;
  zu_log* log_;
  std::map<std::int32_t, std::unique_ptr<NativeClient>> clients_;  // by socket
  std::map<kiv_box*, std::set<std::int32_t>> by_slave_;
};

}  // namespace chat
