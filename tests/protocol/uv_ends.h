// Both ends of a virtual connection as tests see them: what they call back becomes lines to wait
// for, and their datagrams are text.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

#include "kiv_base/protocol.h"
#include "tests/support/eventually.h"
#include "tests/support/looping_box.h"
#include "tests/support/sockets.h"

namespace kiv::test {

enum Type : char { kConnect = 10, kAccept, kRefuse, kConfirm, kClose, kData, kKeepAlive };

inline std::string datagram(char type, const std::string& body = "", char code = 0) {
  return std::string{type, code} + body;
}

inline void expect_five(const Socket& socket, const std::string& expected) {
  for (int i = 0; i < 5; ++i) EXPECT_EQ(socket.receive_datagram(), expected) << i;
}

// The `argument` of all callbacks below.
class Seen {
 public:
  // Runs in the callback, which reads its data only afterwards.
  std::function<void(const std::string&)> then = [](const std::string&) {};

  void add(const std::string& line) {
    const std::lock_guard guard(lock_);
    lines_.push_back(line);
    more_.notify_all();
  }
  bool any() {
    const std::lock_guard guard(lock_);
    return !lines_.empty();
  }
  std::string next() {
    std::unique_lock guard(lock_);
    more_.wait_for(guard, std::chrono::seconds(20), [&] { return !lines_.empty(); });
    if (lines_.empty()) return "(nothing)";
    std::string line = lines_.front();
    lines_.pop_front();
    return line;
  }

 private:
  std::mutex lock_;
  std::condition_variable more_;
  std::deque<std::string> lines_;
};

inline int note(void* seen, const char* what, const char* data = "", std::int32_t length = 0) {
  auto* const self = static_cast<Seen*>(seen);
  self->then(what);
  EXPECT_EQ(data[length], '\0');
  self->add(what + std::string(data, static_cast<std::size_t>(length)));
  return 0;
}

struct Client {
  explicit Client(Seen& s) : seen(s) {}
  ~Client() { kiv_uvc_free(handle); }
  operator kiv_uvc*() const { return handle; }

  int attach(kiv_box* box, std::uint16_t port, std::int32_t socket = 0,
             const char* host = "127.0.0.1") {
    const auto connected = [](kiv_uvc*, void* s) { return note(s, "connected"); };
    const auto failed = [](kiv_uvc*, void* s) { return note(s, "failed"); };
    const auto data = [](kiv_uvc*, void* s, char* bytes, std::int32_t length) {
      return note(s, "data ", bytes, length);
    };
    const auto lost = [](kiv_uvc*, void* s) { return note(s, "lost"); };
    const auto foreign = [](kiv_uvc*, void* s, const char* ip, std::uint16_t from, char* bytes,
                            std::int32_t length) {
      EXPECT_TRUE(length == 0 || (ip == std::string("127.0.0.1") && from != 0));
      return note(s, "foreign ", bytes, length);
    };
    return kivx_uvc_attach(box, handle, socket, host, port, connected, &seen, failed, &seen, data,
                           &seen, lost, &seen, foreign, &seen);
  }
  std::int32_t write(const std::string& text) const {
    return kiv_uvc_write(handle, text.data(), static_cast<std::int32_t>(text.size()));
  }

  Seen& seen;
  kiv_uvc* const handle = kiv_uvc_make();
};

// Accepts every client, and notes the ends of its clients by "closed".
struct Server {
  ~Server() { kiv_uvs_free(handle); }
  operator kiv_uvs*() const { return handle; }

  static int KIV_CALL on_data(kiv_uvs*, void* s, char* bytes, std::int32_t length) {
    return note(s, "data ", bytes, length);
  }
  static int KIV_CALL on_close(kiv_uvs*, void* s) { return note(s, "closed"); }
  static int KIV_CALL on_connect(kiv_uvs* server, void* s, std::int32_t id, const char* ip,
                                 std::uint16_t port) {
    EXPECT_TRUE(std::string(ip).starts_with("127.") && port != 0 && id > 0);
    kiv_uvs_AcceptClient(server, id, on_data, s, on_close, s);
    return note(s, "connect");
  }
  static int KIV_CALL on_foreign(kiv_uvs*, void* s, const char*, std::uint16_t, char* bytes,
                                 std::int32_t length) {
    return note(s, "foreign ", bytes, length);
  }
  int attach(kiv_box* box) {
    return kiv_uvs_attach(box, handle, port, on_connect, nullptr, on_foreign, &seen);
  }

  std::int32_t current() const { return kiv_uvs_GetThisClientId(handle); }

  Seen seen;
  kiv_uvs* const handle = kiv_uvs_make();
  const std::uint16_t port = free_udp_port();
};

}  // namespace kiv::test
