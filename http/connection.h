// What an object of its own connection has to do with its box: a socket, and a timer that limits
// how long the first answer may take.
#pragma once

#include <cstdint>

#include "base/callback.h"
#include "base/kiv_sem.h"
#include "kiv_base/event.h"
#include "platform/socket.h"

namespace kiv::http {

using base::Callback;

// Looks a host up for a box that lives, which may take seconds: never under a lock. False for what
// a TCP client of the box refuses.
bool look_up(kiv_box* box, const char* name, std::int32_t port,
             platform::WireAddress& host) noexcept;

// What the box calls, each with the object that owns the connection as its argument.
struct Handlers {
  zu_box_socket_fn on_connect;
  zu_box_socket_fn on_failure;
  zu_box_read_fn on_read;
  zu_box_socket_fn on_close;
  zu_box_timer_fn on_timeout;
};

struct Connection {
  kiv_box* box = nullptr;
  std::int32_t socket = -1;  // -1: none
  std::int32_t timer = -1;   // -1: none

  // Starts to connect; the handlers get the object that this is part of. The caller holds the
  // object's lock, so that they wait until all is set up.
  bool connect(kiv_box* on, const platform::WireAddress& host, const Handlers& handlers,
               void* object) noexcept;

  bool start_timer(std::uint32_t timeout_ms, const Handlers& handlers, void* object) noexcept;

  void end_timer() noexcept;

  // Closes the socket and ends the timer. The socket's id, for a last callback.
  std::int32_t release() noexcept;

  // Has a callback run whenever the socket takes data, until told to stop.
  bool await_writing(zu_event_fn callback, void* object) noexcept;
  void stop_writing() noexcept;
};

// The lock on the object that a handler of the box serves. Holds nothing when the object is gone,
// or when it has by now another socket (or timer) than the one the handler was called for.
template <typename Object>
class Served : public base::Locked<Object> {
 public:
  Served(void* object, std::int32_t Connection::*id, std::int32_t called_for)
      : base::Locked<Object>(static_cast<Object*>(object)) {
    if (*this && (**this).connection.*id != called_for) this->unlock();
  }
};

}  // namespace kiv::http
