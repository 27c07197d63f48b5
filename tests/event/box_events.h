// Records what a box calls back: each callback becomes one line of text, then a hook may act.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "kiv_base/event.h"
#include "tests/support/sockets.h"

namespace kiv::test {

// The local port of a socket that somebody else owns.
inline std::uint16_t port_of(std::int32_t socket) {
  Socket borrowed(socket);
  const std::uint16_t port = borrowed.local_port();
  (void)borrowed.release();
  return port;
}

struct Event {
  std::string text;  // "connect", "read ping", ...
  void* handle;
  std::int32_t id;
  std::int32_t accepted = -1;
  std::uint16_t port = 0;
};

// The `argument` of all callbacks below.
struct Recorder {
  std::vector<std::string> lines;
  std::function<void(const Event&)> then = [](const Event&) {};

  static void note(void* recorder, Event event) {
    auto* self = static_cast<Recorder*>(recorder);
    self->lines.push_back(event.text);
    self->then(event);
  }
};

inline void KIV_CALL on_connect(void* handle, void* recorder, std::int32_t socket) {
  Recorder::note(recorder, {"connect", handle, socket});
}
inline void KIV_CALL on_failure(void* handle, void* recorder, std::int32_t socket) {
  Recorder::note(recorder, {"failure", handle, socket});
}
inline void KIV_CALL on_close(void* handle, void* recorder, std::int32_t socket) {
  Recorder::note(recorder, {"close", handle, socket});
}
inline void KIV_CALL on_read(void* handle, void* recorder, std::int32_t socket, char* data,
                             std::int32_t length) {
  EXPECT_EQ(data[length], '\0');
  const std::string bytes(data, static_cast<std::size_t>(length));
  Recorder::note(recorder, {"read " + bytes, handle, socket});
}
inline void KIV_CALL on_accept(void* handle, void* recorder, std::int32_t listener,
                               std::int32_t socket, const char* ip, std::uint16_t port) {
  EXPECT_STREQ(ip, "127.0.0.1");
  Recorder::note(recorder, {"accept", handle, listener, socket, port});
}
inline void KIV_CALL on_datagram(void* handle, void* recorder, std::int32_t socket, char* data,
                                 std::int32_t length, zu_sock_peer* from) {
  EXPECT_EQ(data[length], '\0');
  const std::string bytes(data, static_cast<std::size_t>(length));
  Recorder::note(recorder, {"datagram " + bytes, handle, socket, -1, from->port});
}
inline void KIV_CALL on_timer(void* handle, void* recorder, std::int32_t timer,
                              std::int32_t times_fired) {
  Recorder::note(recorder, {"timer " + std::to_string(times_fired), handle, timer});
}

}  // namespace kiv::test
