// The server: sends every ping back as a pong.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "cipher.h"
#include "kiv_base/event.h"
#include "kiv_base/protocol.h"

namespace uvc_ping {

// Senders can be forged. A client is nobody until it has sent a ping that can be read: one that
// cannot be read ends it, silence lets it go after 10 to 20 s, and neither fills the screen. After
// its first ping, only its own end or its silence end it.
class EchoServer {
 public:
  explicit EchoServer(Cipher& cipher) : cipher_(cipher) {}
  ~EchoServer() { kiv_uvs_free(server_); }
  EchoServer(const EchoServer&) = delete;
  EchoServer& operator=(const EchoServer&) = delete;

  // On all addresses. False when the port is taken, or if out of memory.
  bool listen(kiv_box* box, std::uint16_t port);
  // From any thread: tells the clients that this is the end.
  void stop();

  std::string summary();

 private:
  struct Client {
    std::string name;
    std::uint64_t answers = 0;
  };

  static int KIV_CALL on_connect(kiv_uvs*, void* self, std::int32_t id, const char* ip,
                                 std::uint16_t port);
  static int KIV_CALL on_data(kiv_uvs*, void* self, char* body, std::int32_t length);
  static int KIV_CALL on_close(kiv_uvs*, void* self);
  static int KIV_CALL on_foreign(kiv_uvs*, void* self, const char*, std::uint16_t, char* datagram,
                                 std::int32_t length);

  // All of these are for holders of the mutex, which comes before the library's own lock.
  void take(std::int32_t id, Client& client, std::string_view body);
  void forget(std::int32_t id);
  void say(const std::string& line);

  Cipher& cipher_;
  kiv_uvs* server_ = kiv_uvs_make();
  std::mutex mutex_;
  std::map<std::int32_t, Client> clients_;
  std::uint64_t came_ = 0, refused_ = 0, silent_ = 0, answers_ = 0, strange_ = 0;
  std::chrono::steady_clock::time_point second_began_;
  int lines_of_second_ = 0;
};

}  // namespace uvc_ping
