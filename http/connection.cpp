#include "http/connection.h"

#include <cstring>

#include "event/box_core.h"
#include "event/box_registry.h"
#include "event/endpoint.h"

namespace kiv::http {

bool look_up(kiv_box* box, const char* name, std::int32_t port, Host& host) noexcept {
  event::ClientEndpoint endpoint;
  static_assert(sizeof host.ip == sizeof endpoint.ip);
  if (port < 0 || port > UINT16_MAX || kivx_box_IsValid(box) == 0) return false;
  host.port = static_cast<std::uint16_t>(port);
  if (!event::prepare(endpoint, event::Transport::tcp, name, host.port)) return false;
  std::memcpy(host.ip, endpoint.ip, sizeof host.ip);
  return true;
}

bool Connection::connect(kiv_box* on, const Host& host, const Handlers& handlers,
                         void* object) noexcept {
  box = on;
  socket = kiv_box_NewTcpClient(box, host.ip, host.port, handlers.on_connect, object,
                                handlers.on_failure, object, handlers.on_read, object,
                                handlers.on_close, object);
  return socket != -1;
}

bool Connection::start_timer(std::uint32_t timeout_ms, const Handlers& handlers,
                             void* object) noexcept {
  timer = kiv_box_NewOnceTimer(box, timeout_ms, handlers.on_timeout, object);
  return timer != -1;
}

void Connection::end_timer() noexcept {
  if (timer != -1) kiv_box_DeleteTimer(box, timer);
  timer = -1;
}

std::int32_t Connection::release() noexcept {
  const std::int32_t released = socket;
  if (socket != -1) kiv_box_DeleteSock(box, socket);
  socket = -1;
  end_timer();
  return released;
}

bool Connection::await_writing(zu_event_fn callback, void* object) noexcept {
  return kivx_box_ImportSockId_ForWrite(box, socket, callback, object) == 1;
}

// The box's own way to end a wait would also forget, and leave open, a socket that waits for
// nothing else, as one does whose peer has closed.
void Connection::stop_writing() noexcept {
  event::on_live_box(box, false, event::kNoWake, [this](kiv_box& live) {
    return event::is_usable(live.raw) &&
           live.raw->engine->delete_socket(event::Kind::write, socket);
  });
}

}  // namespace kiv::http
