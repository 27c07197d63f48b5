// The server of virtual connections: what datagrams and timers do to it and its clients.
#include "protocol/uvs.h"

namespace kiv::protocol::uv {
namespace {

using LockedServer = base::Locked<kiv_uvs>;

// What there is to tell the application once the lock is released.
enum class News { none, connected, data, closed, foreign };

Datagram datagram_of(const kiv_uvs& server) {
  return {server.received, server.received_length};
}

void tell_connected(LockedServer& locked, const Peer& peer) {
  kiv_uvs* const server = locked.get();
  const Callback<kiv_uvs_connect_fn> on_connect{server->on_connect, server->argument};
  const Peer copy = peer;
  server->current_id = copy.id;
  locked.unlock();
  on_connect(server, copy.id, copy.ip, copy.port);
}

void tell_data(LockedServer& locked, const Peer& peer) {
  kiv_uvs* const server = locked.get();
  const Callback<kiv_uvs_data_fn> on_data = peer.on_data;
  const std::int32_t length = server->received_length - kHeader;
  DatagramCopy copy(datagram_of(*server));
  server->current_id = peer.id;
  locked.unlock();
  on_data(server, copy.bytes + kHeader, length);
}

void tell_closed(LockedServer& locked, const Peer& peer) {
  kiv_uvs* const server = locked.get();
  const Callback<kiv_uvs_close_fn> on_close = peer.on_close;
  server->current_id = peer.id;
  locked.unlock();
  on_close(server);
}

void tell_foreign(LockedServer& locked, const zu_sock_peer& from) {
  kiv_uvs* const server = locked.get();
  const Callback<kiv_uvs_foreign_fn> on_foreign{server->on_foreign, server->argument};
  const std::int32_t length = server->received_length;
  DatagramCopy copy(datagram_of(*server));
  locked.unlock();
  on_foreign(server, from.ip, from.port, copy.bytes, length);
}

// deliberate: only the first of the repeated requests is answered, and all refusals are; a client
// that got one accept of five needs no more.
News take_request(kiv_uvs& server, const zu_sock_peer& from, Peer*& peer) {
  const Datagram datagram = datagram_of(server);
  if (!datagram.is_control()) return News::foreign;
  const Address sender{from.ip, from.port};
  if (peer != nullptr) {
    if (!datagram.carries(peer->session)) {
      server.link.send_control(sender, Type::refuse, kAddressTaken, datagram.session());
    }
    return News::none;
  }
  if (server.client_count >= kMaxClients) {
    server.link.send_control(sender, Type::refuse, kServerFull, datagram.session());
    return News::none;
  }
  peer = add_peer(server, from, datagram.session());
  if (peer == nullptr) return News::none;
  server.link.send_control(sender, Type::accept, kNoCode, peer->session);
  return News::connected;
}

News take_close(const kiv_uvs& server, Peer* peer) {
  if (peer == nullptr || !datagram_of(server).carries(peer->session)) return News::foreign;
  peer->state = PeerState::closed;
  return News::closed;
}

News take_data(const kiv_uvs& server, const Peer* peer) {
  if (peer == nullptr) return News::foreign;
  const bool has_body = server.received_length > kHeader;
  return peer->state == PeerState::connected && has_body ? News::data : News::none;
}

// deliberate: data does not show that the client lives, only this does; clients that never pause
// are lost, and peers were built around it.
News take_keep_alive(Peer* peer) {
  if (peer == nullptr) return News::foreign;
  if (peer->state == PeerState::connected) peer->peer_alive = 1;
  return News::none;
}

// `peer` is the sender, null while it is unknown.
News take_datagram(kiv_uvs& server, const zu_sock_peer& from, Peer*& peer) {
  const Datagram datagram = datagram_of(server);
  if (!datagram.has_header()) return News::foreign;
  switch (datagram.type()) {
    case Type::connect:
      return take_request(server, from, peer);
    case Type::confirm:
      return News::none;
    case Type::close:
      return take_close(server, peer);
    case Type::data:
      return take_data(server, peer);
    case Type::keep_alive:
      return take_keep_alive(peer);
    default:
      return News::foreign;
  }
}

// Also called instead of a tick that is held up.
void keep_alive(kiv_uvs& server) {
  if (!server.keep_alive_pace.take_tick(kKeepAliveMs)) return;
  for (Peer& peer : server.by_id) {
    if (peer.sent_recently == 0) server.link.send_keep_alive(peer.sender());
    peer.sent_recently = 0;
  }
}

}  // namespace

void KIV_CALL serve_peers(void* argument) {
  auto* const server = static_cast<kiv_uvs*>(argument);
  LockedServer locked(server);
  zu_sock_peer from;
  Peer* peer = nullptr;
  News news = News::none;
  for (int i = 0; locked && i < kBatch && news == News::none; ++i) {
    server->received_length = server->link.receive(server->received, from);
    if (server->received_length < 0) return;
    peer = find_by_address(*server, from);
    news = take_datagram(*server, from, peer);
    if (news == News::foreign && server->on_foreign == nullptr) news = News::none;
    if (server->keep_alive_pace.is_overdue(kKeepAliveMs)) keep_alive(*server);
  }
  switch (news) {
    case News::none:
      return;
    case News::connected:
      return tell_connected(locked, *peer);
    case News::data:
      return tell_data(locked, *peer);
    case News::closed:
      return tell_closed(locked, *peer);
    case News::foreign:
      return tell_foreign(locked, from);
  }
}

void KIV_CALL keep_alive_tick(void*, void* argument, std::int32_t timer, std::int32_t) {
  auto* const server = static_cast<kiv_uvs*>(argument);
  const LockedServer locked(server);
  if (locked && timer == server->keep_alive_timer) keep_alive(*server);
}

// deliberate: a client that is lost, or has closed, is reported again at every tick; the
// application ends that by deleting it.
void KIV_CALL liveness_tick(void*, void* argument, std::int32_t timer, std::int32_t) {
  auto* const server = static_cast<kiv_uvs*>(argument);
  LockedServer locked(server);
  Peer* const peer = locked ? find_by_id(*server, timer) : nullptr;
  if (peer == nullptr || !peer->liveness_pace.take_tick(kLivenessMs)) return;
  if (peer->peer_alive != 0) {
    peer->peer_alive = 0;
    return;
  }
  peer->state = PeerState::lost;
  tell_closed(locked, *peer);
}

}  // namespace kiv::protocol::uv
