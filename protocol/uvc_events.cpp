// The client of a virtual connection: what datagrams and timers do to it.
#include "protocol/uvc.h"

#include "event/kiv_box_verbs.h"

namespace kiv::protocol::uv {
namespace {

using LockedClient = base::Locked<kiv_uvc>;

// What there is to tell the application once the lock is released.
enum class News { none, connected, failed, lost, data, foreign };

Datagram datagram_of(const kiv_uvc& client) {
  return {client.received, client.received_length};
}

void tell(LockedClient& locked, const Callback<kiv_uvc_fn>& callback) {
  const Callback<kiv_uvc_fn> copy = callback;
  kiv_uvc* const client = locked.get();
  locked.unlock();
  copy(client);
}

void tell_data(LockedClient& locked) {
  kiv_uvc* const client = locked.get();
  const Callback<kiv_uvc_data_fn> on_data = client->on_data;
  const std::int32_t length = client->received_length - kHeader;
  DatagramCopy copy(datagram_of(*client));
  locked.unlock();
  on_data(client, copy.bytes + kHeader, length);
}

void tell_foreign(LockedClient& locked, const zu_sock_peer& from) {
  kiv_uvc* const client = locked.get();
  const Callback<kiv_uvc_foreign_fn> on_foreign = client->on_foreign;
  const std::int32_t length = client->received_length;
  DatagramCopy copy(datagram_of(*client));
  locked.unlock();
  on_foreign(client, from.ip, from.port, copy.bytes, length);
}

// Also called instead of a tick that is held up.
void keep_alive(kiv_uvc& client) {
  if (!client.keep_alive_pace.take_tick(kKeepAliveMs)) return;
  if (client.sent_recently == 0) client.link.send_keep_alive(client.server());
  client.sent_recently = 0;
}

void KIV_CALL keep_alive_tick(void*, void* argument, std::int32_t timer, std::int32_t) {
  auto* const client = static_cast<kiv_uvc*>(argument);
  const LockedClient locked(client);
  if (locked && timer == client->keep_alive_timer) keep_alive(*client);
}

void KIV_CALL liveness_tick(void*, void* argument, std::int32_t timer, std::int32_t) {
  auto* const client = static_cast<kiv_uvc*>(argument);
  LockedClient locked(client);
  if (!locked || timer != client->liveness_timer || !client->liveness_pace.take_tick(kLivenessMs)) {
    return;
  }
  if (client->peer_alive != 0) {
    client->peer_alive = 0;
    return;
  }
  release(*client);
  client->state = ClientState::lost;
  tell(locked, client->on_lost);
}

bool start_timers(kiv_uvc& client) {
  kiv_box* const box = client.link.box;
  client.keep_alive_timer = event::add_loop_timer(box, kKeepAliveMs, {keep_alive_tick, &client});
  client.liveness_timer = event::add_loop_timer(box, kLivenessMs, {liveness_tick, &client});
  client.keep_alive_pace.start();
  client.liveness_pace.start();
  client.sent_recently = client.peer_alive = 0;
  return client.keep_alive_timer > 0 && client.liveness_timer > 0;
}

News fail(kiv_uvc& client) {
  release(client);
  return News::failed;
}

News take_accept(kiv_uvc& client) {
  if (client.state != ClientState::connecting) return News::none;
  event::delete_timer(client.link.box, client.connect_timer);
  client.connect_timer = 0;
  if (!start_timers(client)) return fail(client);
  client.state = ClientState::connected;
  client.link.send_control(client.server(), Type::confirm, kNoCode, client.session);
  return News::connected;
}

News take_close(kiv_uvc& client) {
  if (client.state == ClientState::connecting) return fail(client);
  if (client.state != ClientState::connected) return News::none;
  client.state = ClientState::closed;
  release(client);
  return News::lost;
}

News take_data(kiv_uvc& client) {
  if (client.state == ClientState::connecting) return News::foreign;
  if (client.state != ClientState::connected) return News::none;
  client.peer_alive = 1;
  return client.received_length > kHeader ? News::data : News::none;
}

News take_keep_alive(kiv_uvc& client) {
  if (client.received_length != kHeader) return News::foreign;
  client.peer_alive = 1;
  return News::none;
}

News take_datagram(kiv_uvc& client) {
  const Datagram datagram = datagram_of(client);
  if (!datagram.has_header()) return News::foreign;
  const bool is_ours = datagram.carries(client.session);
  switch (datagram.type()) {
    case Type::accept:
      return is_ours ? take_accept(client) : News::foreign;
    case Type::refuse:
      if (!is_ours) return News::foreign;
      return client.state == ClientState::connecting ? fail(client) : News::none;
    case Type::close:
      return is_ours ? take_close(client) : News::foreign;
    case Type::data:
      return take_data(client);
    case Type::keep_alive:
      return take_keep_alive(client);
    default:
      return News::foreign;
  }
}

}  // namespace

void KIV_CALL serve_client(void* argument) {
  auto* const client = static_cast<kiv_uvc*>(argument);
  LockedClient locked(client);
  zu_sock_peer from;
  News news = News::none;
  for (int i = 0; locked && i < kBatch && news == News::none; ++i) {
    client->received_length = client->link.receive(client->received, from);
    if (client->received_length < 0) return;
    news = take_datagram(*client);
    if (news == News::foreign && client->on_foreign.function == nullptr) news = News::none;
    const bool connected = client->state == ClientState::connected;
    if (connected && client->keep_alive_pace.is_overdue(kKeepAliveMs)) keep_alive(*client);
  }
  switch (news) {
    case News::none:
      return;
    case News::connected:
      return tell(locked, client->on_connected);
    case News::failed:
      return tell(locked, client->on_failed);
    case News::lost:
      return tell(locked, client->on_lost);
    case News::data:
      return tell_data(locked);
    case News::foreign:
      return tell_foreign(locked, from);
  }
}

void KIV_CALL connect_timed_out(void*, void* argument, std::int32_t timer, std::int32_t) {
  auto* const client = static_cast<kiv_uvc*>(argument);
  LockedClient locked(client);
  if (!locked || timer != client->connect_timer) return;
  client->link.send_control(client->server(), Type::close, kNoCode, client->session);
  release(*client);
  tell(locked, client->on_failed);
}

}  // namespace kiv::protocol::uv
