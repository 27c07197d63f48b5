// Streams of a box for any thread.
#include "event/kiv_box.h"
#include "event/stream.h"

namespace kiv::event {
namespace {

// Wakes the loop, with the name of the operation, when that leaves it something to do.
template <std::size_t Size, typename Operation>
int on_client(kiv_box* box, const char (&name)[Size], std::int32_t id, Operation op) {
  Change change;
  on_live_box(box, 0, Wake::for_new_id(name), [&](kiv_box& live) {
    Socket* const socket = own_client(live.raw, id);
    if (socket != nullptr) change = op(*live.raw, *socket);
    return change.wakes ? 1 : 0;
  });
  return static_cast<int>(change.result);
}

}  // namespace
}  // namespace kiv::event

using namespace kiv::event;

int KIV_CALL kivx_box_Send(kiv_box* box, std::int32_t id, const void* data,
                           std::int32_t length) KIV_NOEXCEPT {
  const zu_sock_piece piece{data, length};
  return kivx_box_SendPieces(box, id, &piece, 1);
}

int KIV_CALL kivx_box_SendPieces(kiv_box* box, std::int32_t id, const zu_sock_piece* pieces,
                                 std::int32_t count) KIV_NOEXCEPT {
  return on_client(box, "Send", id,
                   [=](zu_box& raw, Socket& socket) { return send(raw, socket, pieces, count); });
}

int KIV_CALL kivx_box_SendFile(kiv_box* box, std::int32_t id, const char* path, std::int64_t offset,
                               std::int64_t length) KIV_NOEXCEPT {
  return on_client(box, "Send", id, [=](zu_box& raw, Socket& socket) {
    return send_file(raw, socket, path, offset, length);
  });
}

std::int64_t KIV_CALL kivx_box_GetQueued(kiv_box* box, std::int32_t id) KIV_NOEXCEPT {
  return on_raw_box(box, -1, kNoWake, zu_box_sock_GetQueued, id);
}

int KIV_CALL kivx_box_SetSendLimit(kiv_box* box, std::int32_t id, std::int64_t limit,
                                   zu_box_socket_fn on_full, void* full_arg) KIV_NOEXCEPT {
  return on_raw_box(box, 0, kNoWake, zu_box_sock_SetSendLimit, id, limit, on_full, full_arg);
}

int KIV_CALL kivx_box_SetDrained(kiv_box* box, std::int32_t id, zu_box_socket_fn on_drained,
                                 void* drained_arg) KIV_NOEXCEPT {
  return on_raw_box(box, 0, kNoWake, zu_box_sock_SetDrained, id, on_drained, drained_arg);
}

int KIV_CALL kivx_box_Shutdown(kiv_box* box, std::int32_t id) KIV_NOEXCEPT {
  return on_client(box, "Shutdown", id, end_sending);
}

int KIV_CALL kivx_box_CloseAfterSend(kiv_box* box, std::int32_t id, std::uint32_t limit_ms,
                                     zu_box_socket_fn on_closed, void* closed_arg) KIV_NOEXCEPT {
  return on_client(box, "CloseAfterSend", id, [=](zu_box& raw, Socket& socket) {
    return close_after_send(raw, socket, limit_ms, {on_closed, closed_arg});
  });
}

int KIV_CALL kivx_box_PauseRead(kiv_box* box, std::int32_t id) KIV_NOEXCEPT {
  return on_raw_box(box, 0, kNoWake, zu_box_sock_PauseRead, id);
}

int KIV_CALL kivx_box_ResumeRead(kiv_box* box, std::int32_t id) KIV_NOEXCEPT {
  return on_raw_box(box, 0, Wake::for_new_id("ResumeRead"), zu_box_sock_ResumeRead, id);
}

std::int32_t KIV_CALL kivx_box_GetReason(kiv_box* box, std::int32_t id) KIV_NOEXCEPT {
  return on_live_box(box, 0, kNoWake, [=](kiv_box& live) {
    return is_own_thread(live) ? zu_box_sock_GetReason(live.raw, id) : 0;
  });
}

int KIV_CALL kivx_box_SetConnectLimit(kiv_box* box, std::int32_t id,
                                      std::uint32_t limit_ms) KIV_NOEXCEPT {
  return on_client(box, "SetConnectLimit", id, [=](zu_box& raw, Socket& socket) {
    return limit_connecting(raw, socket, limit_ms);
  });
}

int KIV_CALL kivx_box_SetIdleLimit(kiv_box* box, std::int32_t id, std::uint32_t read_ms,
                                   std::uint32_t write_ms) KIV_NOEXCEPT {
  return on_client(box, "SetIdleLimit", id, [=](zu_box& raw, Socket& socket) {
    return limit_silence(raw, socket, read_ms, write_ms);
  });
}
