// Streams of the clients of a big box.
#include "event/bigbox.h"
#include "event/stream.h"

namespace kiv::event {
namespace {

// Runs op(raw, socket) on the box that serves a client, under that box's lock. On the client's own
// thread no other lock is taken.
template <std::size_t Size, typename Operation>
Change on_client(kiv_bigbox* big, const char (&name)[Size], std::int32_t id, Operation op) {
  Change change;
  bool is_ours = false;
  const auto run = [&](zu_box& raw) {
    if (client_of(raw, big, id) == nullptr) return 0;
    is_ours = true;
    change = op(raw, *raw.sockets.find(id));
    return change.wakes ? 1 : 0;
  };
  on_live_box(box_of_this_thread(), 0, kNoWake, [&](kiv_box& live) { return run(*live.raw); });
  if (is_ours) return change;
  on_live_bigbox(big, 0, [&](kiv_bigbox& live) {
    const Client* const client = live.clients.find(id);
    return client != nullptr ? on_slave(*client->slave, Wake::for_new_id(name), run) : 0;
  });
  return change;
}

template <std::size_t Size, typename Operation>
int result_on_client(kiv_bigbox* big, const char (&name)[Size], std::int32_t id, Operation op) {
  return static_cast<int>(on_client(big, name, id, op).result);
}

}  // namespace

bool find_client_target(const Socket& socket, Target& target) {
  const Wait& wait = socket.waits[index_of(Kind::read)];
  if (wait.serve != serve_client_read) return false;
  const auto& client = *static_cast<const Client*>(wait.user);
  target = {client.big, client.close};
  return true;
}

}  // namespace kiv::event

using namespace kiv::event;

int KIV_CALL kivx_bigbox_Send(kiv_bigbox* big, std::int32_t id, const void* data,
                              std::int32_t length) KIV_NOEXCEPT {
  const zu_sock_piece piece{data, length};
  return kivx_bigbox_SendPieces(big, id, &piece, 1);
}

int KIV_CALL kivx_bigbox_SendPieces(kiv_bigbox* big, std::int32_t id, const zu_sock_piece* pieces,
                                    std::int32_t count) KIV_NOEXCEPT {
  return result_on_client(big, "Send", id, [=](zu_box& raw, Socket& socket) {
    return send(raw, socket, pieces, count);
  });
}

int KIV_CALL kivx_bigbox_SendFile(kiv_bigbox* big, std::int32_t id, const char* path,
                                  std::int64_t offset, std::int64_t length) KIV_NOEXCEPT {
  return result_on_client(big, "Send", id, [=](zu_box& raw, Socket& socket) {
    return send_file(raw, socket, path, offset, length);
  });
}

std::int64_t KIV_CALL kivx_bigbox_GetQueued(kiv_bigbox* big, std::int32_t id) KIV_NOEXCEPT {
  // Never woken; one more than the number, as 0 is for no client.
  return on_client(big, "Send", id,
                   [](zu_box&, Socket& socket) { return Change{queued(socket) + 1}; })
             .result -
         1;
}

int KIV_CALL kivx_bigbox_SetSendLimit(kiv_bigbox* big, std::int32_t id, std::int64_t limit,
                                      zu_box_socket_fn on_full, void* full_arg) KIV_NOEXCEPT {
  return result_on_client(big, "Send", id, [=](zu_box&, Socket& socket) {
    return Change{set_send_limit(socket, limit, {on_full, full_arg})};
  });
}

int KIV_CALL kivx_bigbox_SetDrained(kiv_bigbox* big, std::int32_t id, zu_box_socket_fn on_drained,
                                    void* drained_arg) KIV_NOEXCEPT {
  return result_on_client(big, "Send", id, [=](zu_box&, Socket& socket) {
    return Change{set_drained(socket, {on_drained, drained_arg})};
  });
}

int KIV_CALL kivx_bigbox_Shutdown(kiv_bigbox* big, std::int32_t id) KIV_NOEXCEPT {
  return result_on_client(big, "Shutdown", id, end_sending);
}

int KIV_CALL kivx_bigbox_CloseAfterSend(kiv_bigbox* big, std::int32_t id, std::uint32_t limit_ms,
                                        zu_box_socket_fn on_closed, void* closed_arg) KIV_NOEXCEPT {
  return result_on_client(big, "CloseAfterSend", id, [=](zu_box& raw, Socket& socket) {
    return close_after_send(raw, socket, limit_ms, {on_closed, closed_arg});
  });
}

int KIV_CALL kivx_bigbox_PauseRead(kiv_bigbox* big, std::int32_t id) KIV_NOEXCEPT {
  return result_on_client(big, "PauseRead", id, [](zu_box& raw, Socket& socket) {
    return set_reading(raw, socket, false);
  });
}

int KIV_CALL kivx_bigbox_ResumeRead(kiv_bigbox* big, std::int32_t id) KIV_NOEXCEPT {
  return result_on_client(big, "ResumeRead", id, [](zu_box& raw, Socket& socket) {
    return set_reading(raw, socket, true);
  });
}

std::int32_t KIV_CALL kivx_bigbox_GetReason(kiv_bigbox* big, std::int32_t id) KIV_NOEXCEPT {
  return bigboxes().has(big) ? kivx_box_GetReason(box_of_this_thread(), id) : 0;
}

int KIV_CALL kivx_bigbox_SetIdleLimit(kiv_bigbox* big, std::int32_t id, std::uint32_t read_ms,
                                      std::uint32_t write_ms) KIV_NOEXCEPT {
  return result_on_client(big, "SetIdleLimit", id, [=](zu_box& raw, Socket& socket) {
    return limit_silence(raw, socket, read_ms, write_ms);
  });
}
