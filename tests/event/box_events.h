// Records what a box calls back: each callback becomes one line of text, then a hook may act.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "kiv_base/event.h"
#include "tests/support/sockets.h"

namespace kiv::test {

using Lines = std::vector<std::string>;

struct Event {
  std::string text;  // "connect", "read ping", ...
  void* handle;
  std::int32_t id;
  std::int32_t accepted = -1;
  std::uint16_t port = 0;
};

// The `argument` of all callbacks below, on any threads.
struct Recorder {
  std::mutex lock;  // of the next three
  std::condition_variable changed;
  Lines lines;
  std::size_t handled = 0;
  std::function<void(const Event&)> then = [](const Event&) {};

  static void note(void* recorder, const Event& event) {
    auto* self = static_cast<Recorder*>(recorder);
    {
      const std::lock_guard guard(self->lock);
      self->lines.push_back(event.text);
    }
    self->then(event);
    const std::lock_guard guard(self->lock);
    ++self->handled;
    self->changed.notify_all();
  }

  // Waits until so many events were recorded and acted upon.
  void await(std::size_t count) {
    std::unique_lock guard(lock);
    EXPECT_TRUE(
        changed.wait_for(guard, std::chrono::seconds(60), [&] { return handled >= count; }));
  }
};

inline constexpr const char* kSocketEvents[] = {"connect", "failure", "close", "writable"};
template <int Which>
void KIV_CALL on_socket(void* handle, void* recorder, std::int32_t socket) {
  Recorder::note(recorder, {kSocketEvents[Which], handle, socket});
}
inline constexpr zu_box_socket_fn on_connect = on_socket<0>, on_failure = on_socket<1>,
                                  on_close = on_socket<2>, on_writable = on_socket<3>;
inline void KIV_CALL on_read(void* handle, void* recorder, std::int32_t socket, char* data,
                             std::int32_t length) {
  EXPECT_EQ(data[length], '\0');
  Recorder::note(recorder, {"read " + std::string(data, std::size_t(length)), handle, socket});
}
inline void KIV_CALL on_accept(void* handle, void* recorder, std::int32_t listener,
                               std::int32_t socket, const char* ip, std::uint16_t port) {
  Recorder::note(recorder, {"accept " + std::string(ip), handle, listener, socket, port});
}
inline void KIV_CALL on_datagram(void* handle, void* recorder, std::int32_t socket, char* data,
                                 std::int32_t length, zu_sock_peer* from) {
  const std::string bytes(data, std::size_t(length));
  Recorder::note(recorder, {"datagram " + bytes, handle, socket, -1, from->port});
}
inline void KIV_CALL on_timer(void* handle, void* recorder, std::int32_t timer,
                              std::int32_t times) {
  Recorder::note(recorder, {"timer " + std::to_string(times), handle, timer});
}

// The local port of a socket that somebody else owns.
inline std::uint16_t port_of(std::int32_t socket) {
  Socket borrowed(socket);
  const std::uint16_t port = borrowed.local_port();
  (void)borrowed.release();
  return port;
}

}  // namespace kiv::test
