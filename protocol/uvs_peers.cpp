// The clients of a server of virtual connections, found by their address and by their id.
#include <cstring>

#include "base/owned.h"
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

int KIV_CALL has_address(void* data, void* user) {
  const auto* peer = static_cast<Peer*>(data);
  const auto* sender = static_cast<Sender*>(user);
  return peer->address == sender->address && peer->port == sender->port;
}

void KIV_CALL free_peer(void* data, void* box) {
  auto* peer = static_cast<Peer*>(data);
  kiv_box_DeleteTimer(static_cast<kiv_box*>(box), peer->liveness_timer);
  _zu_free(peer);
}

bool insert(const kiv_uvs& server, Peer* peer) {
  if (zu_ihash_insert(server.by_id, peer->id, peer) != 1) return false;
  const std::int32_t key = key_of(server, {peer->address, peer->port});
  if (zu_ihash_insert(server.by_address, key, peer) == 1) return true;
  zu_ihash_delete(server.by_id, peer->id);
  return false;
}

}  // namespace

bool make_tables(kiv_uvs& server) {
  server.by_address = zu_ihash_malloc(kBuckets);
  server.by_id = zu_ihash_malloc(kBuckets);
  return server.by_address != nullptr && server.by_id != nullptr &&
         platform::random_bytes(&server.secret, sizeof server.secret);
}

void free_tables(kiv_uvs& server) {
  zu_ihash_free(server.by_address);
  zu_ihash_freex(server.by_id, free_peer, server.link.box);
  server.by_address = server.by_id = nullptr;
  server.client_count = 0;
}

Peer* find_by_id(const kiv_uvs& server, std::int32_t id) {
  void* peer = nullptr;
  zu_ihash_find(server.by_id, id, &peer);
  return static_cast<Peer*>(peer);
}

Peer* find_by_address(const kiv_uvs& server, const zu_sock_peer& from) {
  Sender sender{from.address, from.port};
  void* peer = nullptr;
  zu_ihash_findx(server.by_address, key_of(server, sender), has_address, &sender, &peer);
  return static_cast<Peer*>(peer);
}

Peer* add_peer(kiv_uvs& server, const zu_sock_peer& sender, const char* session) {
  auto peer = base::Owned<Peer>::allocate_zeroed();
  if (!peer) return nullptr;
  kiv_box* const box = server.link.box;
  peer->id = kiv_box_NewLoopTimer(box, kLivenessMs, liveness_tick, &server);
  if (peer->id < 1) return nullptr;
  peer->liveness_timer = peer->id;
  peer->liveness_pace.start();
  peer->address = sender.address;
  peer->port = sender.port;
  std::memcpy(peer->ip, sender.ip, sizeof peer->ip);
  std::memcpy(peer->session, session, kSession);
  peer->state = PeerState::connected;
  if (!insert(server, peer.get())) {
    kiv_box_DeleteTimer(box, peer->id);
    return nullptr;
  }
  ++server.client_count;
  return peer.release();
}

void delete_peer(kiv_uvs& server, Peer* peer) {
  zu_ihash_delete(server.by_id, peer->id);
  zu_ihash_deletex(server.by_address, key_of(server, {peer->address, peer->port}), peer);
  free_peer(peer, server.link.box);
  --server.client_count;
}

}  // namespace kiv::protocol::uv
