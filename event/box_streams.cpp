// Streams of a raw box.
#include "event/stream.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

template <typename Operation>
int on_client(zu_box* box, std::int32_t id, Operation op) {
  Socket* const socket = own_client(box, id);
  return socket != nullptr ? static_cast<int>(op(*box, *socket).result) : 0;
}

}  // namespace

Socket* own_client(const zu_box* box, std::int32_t id) {
  Socket* const socket = is_usable(box) && id > 0 ? box->sockets.find(id) : nullptr;
  return socket != nullptr && socket->is_stream() ? socket : nullptr;
}

}  // namespace kiv::event

using namespace kiv::event;

int KIV_CALL zu_box_sock_Send(zu_box* box, std::int32_t id, const void* data,
                              std::int32_t length) KIV_NOEXCEPT {
  const zu_sock_piece piece{data, length};
  return zu_box_sock_SendPieces(box, id, &piece, 1);
}

int KIV_CALL zu_box_sock_SendPieces(zu_box* box, std::int32_t id, const zu_sock_piece* pieces,
                                    std::int32_t count) KIV_NOEXCEPT {
  return on_client(box, id,
                   [=](zu_box& live, Socket& socket) { return send(live, socket, pieces, count); });
}

int KIV_CALL zu_box_sock_SendFile(zu_box* box, std::int32_t id, const char* path,
                                  std::int64_t offset, std::int64_t length) KIV_NOEXCEPT {
  return on_client(box, id, [=](zu_box& live, Socket& socket) {
    return send_file(live, socket, path, offset, length);
  });
}

std::int64_t KIV_CALL zu_box_sock_GetQueued(zu_box* box, std::int32_t id) KIV_NOEXCEPT {
  const Socket* const socket = own_client(box, id);
  return socket != nullptr ? queued(*socket) : -1;
}

int KIV_CALL zu_box_sock_SetSendLimit(zu_box* box, std::int32_t id, std::int64_t limit,
                                      zu_box_socket_fn on_full, void* full_arg) KIV_NOEXCEPT {
  return on_client(box, id, [=](zu_box&, Socket& socket) {
    return Change{set_send_limit(socket, limit, {on_full, full_arg})};
  });
}

int KIV_CALL zu_box_sock_SetDrained(zu_box* box, std::int32_t id, zu_box_socket_fn on_drained,
                                    void* drained_arg) KIV_NOEXCEPT {
  return on_client(box, id, [=](zu_box&, Socket& socket) {
    return Change{set_drained(socket, {on_drained, drained_arg})};
  });
}

int KIV_CALL zu_box_sock_Shutdown(zu_box* box, std::int32_t id) KIV_NOEXCEPT {
  return on_client(box, id, end_sending);
}

int KIV_CALL zu_box_sock_CloseAfterSend(zu_box* box, std::int32_t id, std::uint32_t limit_ms,
                                        zu_box_socket_fn on_closed, void* closed_arg) KIV_NOEXCEPT {
  return on_client(box, id, [=](zu_box& live, Socket& socket) {
    return close_after_send(live, socket, limit_ms, {on_closed, closed_arg});
  });
}

int KIV_CALL zu_box_sock_PauseRead(zu_box* box, std::int32_t id) KIV_NOEXCEPT {
  Socket* const socket = find_own(box, id);
  return socket != nullptr && set_reading(*box, *socket, false).result == 1;
}

int KIV_CALL zu_box_sock_ResumeRead(zu_box* box, std::int32_t id) KIV_NOEXCEPT {
  Socket* const socket = find_own(box, id);
  return socket != nullptr && set_reading(*box, *socket, true).result == 1;
}

// The number may belong to a callback that has closed the socket.
std::int32_t KIV_CALL zu_box_sock_GetReason(zu_box* box, std::int32_t id) KIV_NOEXCEPT {
  if (id <= 0 || zu_box_sock_GetThisId(box) != id) return 0;
  std::int32_t reason = box->current_reason.load(std::memory_order_relaxed);
  if (reason != kAskSocket) return reason;
  if (kiv::platform::socket_pending_error(id, &reason) != 0) reason = kiv::platform::last_error();
  if (reason == 0) reason = kNotConnected;
  box->current_reason.store(reason, std::memory_order_relaxed);
  return reason;
}

int KIV_CALL zu_box_sock_SetConnectLimit(zu_box* box, std::int32_t id,
                                         std::uint32_t limit_ms) KIV_NOEXCEPT {
  return on_client(box, id, [=](zu_box& raw, Socket& socket) {
    return limit_connecting(raw, socket, limit_ms);
  });
}

int KIV_CALL zu_box_sock_SetIdleLimit(zu_box* box, std::int32_t id, std::uint32_t read_ms,
                                      std::uint32_t write_ms) KIV_NOEXCEPT {
  return on_client(box, id, [=](zu_box& raw, Socket& socket) {
    return limit_silence(raw, socket, read_ms, write_ms);
  });
}
