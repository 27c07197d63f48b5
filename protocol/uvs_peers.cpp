// The clients of a server of virtual connections, found by their address and by their id.
#include <cstring>

#include "base/owned.h"
#include "event/kiv_box_verbs.h"
#include "platform/random.h"
#include "protocol/uvs.h"

namespace kiv::protocol::uv {
namespace {

constexpr std::int32_t kBuckets = 5120;

struct Sender {
  std::uint32_t address;
  std::uint16_t port;
};

// Spreads address and port over the table: by the address alone, the clients behind one router
// would share a chain. Senders can be forged, so that the spread is the server's secret (the mixing
// of SplitMix64, Steele, Lea, Flood 2014).
std::int32_t key_of(const kiv_uvs& server, const Sender& sender) {
  std::uint64_t z = std::uint64_t{sender.address} << 16 | sender.port;
  z ^= std::uint64_t{server.secret[0]} << 32 | server.secret[1];
  z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
  z = (z ^ z >> 27) * 0x94d049bb133111eb;
  return static_cast<std::int32_t>(z >> 33);
}

void free_peer(const kiv_uvs& server, Peer* peer) {
  event::delete_timer(server.link.box, peer->liveness_timer);
  base::destroy(peer);
}

bool insert(kiv_uvs& server, Peer* peer) {
  if (!server.by_id.insert(peer->id, peer)) return false;
  if (server.by_address.insert(key_of(server, {peer->address, peer->port}), peer)) return true;
  server.by_id.remove(peer->id);
  return false;
}

}  // namespace

bool make_tables(kiv_uvs& server) {
  return server.by_address.create(kBuckets) && server.by_id.create(kBuckets) &&
         platform::random_bytes(&server.secret, sizeof server.secret);
}

void free_tables(kiv_uvs& server) {
  server.by_address.clear([](Peer&) {});
  server.by_id.clear([&](Peer& peer) { free_peer(server, &peer); });
  server.client_count = 0;
}

Peer* find_by_id(const kiv_uvs& server, std::int32_t id) {
  return server.by_id.find(id);
}

Peer* find_by_address(const kiv_uvs& server, const zu_sock_peer& from) {
  return server.by_address.find_if(
      key_of(server, {from.address, from.port}),
      [&](const Peer& peer) { return peer.address == from.address && peer.port == from.port; });
}

Peer* add_peer(kiv_uvs& server, const zu_sock_peer& sender, const char* session) {
  auto peer = base::make<Peer>();
  if (!peer) return nullptr;
  kiv_box* const box = server.link.box;
  peer->id = event::add_loop_timer(box, kLivenessMs, {liveness_tick, &server});
  if (peer->id < 1) return nullptr;
  peer->liveness_timer = peer->id;
  peer->liveness_pace.start();
  peer->address = sender.address;
  peer->port = sender.port;
  std::memcpy(peer->ip, sender.ip, sizeof peer->ip);
  std::memcpy(peer->session, session, kSession);
  peer->state = PeerState::connected;
  if (!insert(server, peer.get())) {
    event::delete_timer(box, peer->id);
    return nullptr;
  }
  ++server.client_count;
  return peer.release();
}

void delete_peer(kiv_uvs& server, Peer* peer) {
  server.by_id.remove(peer->id);
  server.by_address.remove(key_of(server, {peer->address, peer->port}), peer);
  free_peer(server, peer);
  --server.client_count;
}

}  // namespace kiv::protocol::uv
