// What happens when a socket of a raw box is ready: a system call under the lock, then one call of
// the application without it.
#include "event/endpoint.h"
#include "event/ip_text.h"
#include "event/raw_box.h"
#include "event/stream.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

using platform::Waiting;

// Nothing came after all, or what was there is gone: a copy of a closed descriptor reports on.
bool came_too_late(zu_box& box, std::int32_t socket) {
  const std::int32_t error = platform::last_error();
  return error == platform::kWouldBlock ||
         (error == platform::kNotASocket && box.poller.is_dead(socket));
}

// The waits of a connecting socket are over, however it went.
void end_connecting(zu_box& box, Socket& socket) {
  remove_wait(box, Kind::write, socket);
  remove_wait(box, Kind::except, socket);
}

// Asks for the error once, since asking clears it. A connect that failed within the call has left
// no error to ask for, but no peer either.
std::int32_t connect_error(const Socket& socket) {
  std::int32_t error = 0;
  platform::WireAddress peer;
  if (platform::socket_pending_error(socket.id, &error) != 0) return platform::last_error();
  if (error != 0 || platform::socket_peer_address(socket.id, &peer) == 0) return error;
  return socket.stream != nullptr && socket.stream->error != 0 ? socket.stream->error
                                                               : kNotConnected;
}

Served call(zu_box& box, base::Guard& guard, const SocketHandler& chosen, std::int32_t socket,
            std::int32_t reason) {
  const SocketHandler handler = chosen;
  void* const handle = box.handle;
  guard.unlock();
  call_with_reason(box, reason, handler, handle, socket);
  return Served::called;
}

Served fail(zu_box& box, base::Guard& guard, Socket& socket, std::int32_t reason) {
  abandon(box, socket);
  return call(box, guard, socket.failure, socket.id, reason);
}

}  // namespace

Served serve_stream(zu_box& box, Socket& socket, Kind kind, base::Guard& guard) {
  if (socket.stream != nullptr) {
    if (socket.stream->is_closing) return serve_closing(box, socket, guard);
    socket.stream->has_received = true;
  }
  char data[kMaxReadLength + 1];
  const std::int32_t id = socket.id;
  const std::int32_t length =
      platform::socket_receive(id, data, socket.max_read_length, Waiting::never);
  if (length > 0) {
    if (length < socket.max_read_length) box.poller.was_short_read(id);
    data[length] = '\0';
    const ReadHandler read = socket.read;
    void* const handle = box.handle;
    guard.unlock();
    read(handle, id, data, length);
    return Served::called;
  }
  if (length < 0 && came_too_late(box, id)) return Served::nothing;
  // deliberate: the socket stays in the box, closed by the peer but not here, until the
  // application deletes it.
  const std::int32_t reason = length < 0 ? platform::last_error() : KIV_REASON_END;
  remove_wait(box, kind, socket);
  return call(box, guard, socket.close, id, end_reading(box, socket, reason));
}

Served serve_datagram(zu_box& box, Socket& socket, Kind, base::Guard& guard) {
  char data[kMaxReadLength + 1];
  zu_sock_peer from = {};
  const std::int32_t id = socket.id;
  std::int32_t length = read_datagram(id, data, kMaxReadLength, from, Waiting::never);
  if (length < 0) {
    if (came_too_late(box, id)) return Served::nothing;
    length = 0;
    from = {};
  }
  data[length] = '\0';
  const DatagramHandler datagram = socket.datagram;
  void* const handle = box.handle;
  guard.unlock();
  datagram(handle, id, data, length, &from);
  return Served::called;
}

Served serve_accept(zu_box& box, Socket& socket, Kind, base::Guard& guard) {
  platform::WireAddress peer;
  const std::int32_t listener = socket.id;
  const std::int32_t client = platform::socket_accept(listener, &peer);
  if (client < 1) {
    return came_too_late(box, listener) ? Served::nothing : Served::called;
  }
  const AcceptHandler accept = socket.accept;
  void* const handle = box.handle;
  guard.unlock();
  if (accept.function == nullptr) {
    platform::socket_close(client);
    return Served::called;
  }
  zu_sock_keep_alive(client);
  accept(handle, listener, client, IpText(peer.address).text, platform::swap_order(peer.port));
  return Served::called;
}

Served serve_connected(zu_box& box, Socket& socket, Kind, base::Guard& guard) {
  end_connecting(box, socket);
  const std::int32_t error = connect_error(socket);
  if (error != 0) return fail(box, guard, socket, error);
  const bool is_awaited = socket.wait(Kind::read).serve != nullptr;
  if (!is_awaited && !add_wait(box, Kind::read, socket.id, {serve_stream})) {
    return fail(box, guard, socket, KIV_REASON_NO_MEMORY);
  }
  start_queue(box, socket);
  if (is_awaited) return Served::called;
  zu_sock_keep_alive(socket.id);
  return call(box, guard, socket.connect, socket.id, KIV_REASON_NONE);
}

Served serve_connect_failed(zu_box& box, Socket& socket, Kind, base::Guard& guard) {
  end_connecting(box, socket);
  return fail(box, guard, socket, kAskSocket);
}

Served serve_import(zu_box&, Socket& socket, Kind kind, base::Guard& guard) {
  const Wait wait = socket.wait(kind);
  guard.unlock();
  wait.callback(wait.user);
  return Served::called;
}

}  // namespace kiv::event
