#include "http/connection.h"

#include "event/endpoint.h"
#include "event/kiv_box_verbs.h"

namespace kiv::http {

bool look_up(kiv_box* box, const char* name, std::int32_t port,
             platform::WireAddress& host) noexcept {
  return port >= 0 && port <= UINT16_MAX && event::is_live(box) &&
         event::find_target(name, static_cast<std::uint16_t>(port), host);
}

bool Connection::connect(kiv_box* on, const platform::WireAddress& host, const Handlers& handlers,
                         void* object) noexcept {
  box = on;
  socket = event::connect(box, host,
                          {{handlers.on_connect, object},
                           {handlers.on_failure, object},
                           {handlers.on_read, object},
                           {handlers.on_close, object}});
  return socket != -1;
}

bool Connection::start_timer(std::uint32_t timeout_ms, const Handlers& handlers,
                             void* object) noexcept {
  timer = event::add_once_timer(box, timeout_ms, {handlers.on_timeout, object});
  return timer != -1;
}

void Connection::end_timer() noexcept {
  if (timer != -1) event::delete_timer(box, timer);
  timer = -1;
}

std::int32_t Connection::release() noexcept {
  const std::int32_t released = socket;
  if (socket != -1) event::delete_socket(box, socket);
  socket = -1;
  end_timer();
  return released;
}

bool Connection::await_writing(zu_event_fn callback, void* object) noexcept {
  return event::import_socket(box, socket, event::Kind::write, callback, object);
}

// The box's own way to end a wait would also forget, and leave open, a socket that waits for
// nothing else, as one does whose peer has closed.
void Connection::stop_writing() noexcept {
  event::stop_waiting(box, socket, event::Kind::write);
}

}  // namespace kiv::http
