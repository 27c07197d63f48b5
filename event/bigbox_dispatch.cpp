// What happens when a client's socket is ready, on the thread of its slave and under the lock of
// the slave's box.
#include "event/bigbox.h"
#include "event/read_pool.h"
#include "event/stream.h"
#include "platform/socket.h"

namespace kiv::event {

Served serve_client_read(zu_box& slave, Socket& socket, Kind kind, base::Guard& guard) {
  if (socket.stream != nullptr) {
    if (socket.stream->is_closing) return serve_closing(slave, socket, guard);
    socket.stream->has_received = true;
  }
  const Client& client = *static_cast<Client*>(socket.wait(kind).user);
  ReadBuffer buffer;
  const std::int32_t id = socket.id;
  const std::int32_t room = buffer.size() - 1;
  const std::int32_t length =
      platform::socket_receive(id, buffer.data(), room, platform::Waiting::never);
  if (length < 0 && platform::last_error() == platform::kWouldBlock) return Served::nothing;
  if (length > 0 && length < room) slave.poller.was_short_read(id);
  kiv_bigbox* const big = client.big;
  if (length > 0) {
    buffer.data()[length] = '\0';
    const ReadHandler read = client.read;
    guard.unlock();
    read(big, id, buffer.data(), length);
  } else {
    // deliberate: the socket is still waited for, so this comes again every iteration until the
    // application deletes it; hosts count on being reminded.
    const SocketHandler close = client.close;
    const std::int32_t error = length < 0 ? platform::last_error() : KIV_REASON_END;
    const std::int32_t reason = end_reading(slave, socket, error);
    guard.unlock();
    call_with_reason(slave, reason, close, big, id);
  }
  return Served::called;
}

Served serve_client_write(zu_box&, Socket& socket, Kind kind, base::Guard& guard) {
  const Client& client = *static_cast<Client*>(socket.wait(kind).user);
  const SocketHandler writable = client.writable;
  kiv_bigbox* const big = client.big;
  const std::int32_t id = socket.id;
  guard.unlock();
  writable(big, id);
  return Served::called;
}

}  // namespace kiv::event
