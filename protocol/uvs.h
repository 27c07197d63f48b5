// The records behind a server of virtual connections and its clients.
#pragma once

#include <cstdint>

#include "base/kiv_sem.h"
#include "containers/int_map.h"
#include "kiv_base/protocol.h"
#include "protocol/uv_wire.h"

namespace kiv::protocol::uv {

inline constexpr std::int32_t kMaxClients = 10000;

enum class PeerState : std::uint8_t { connected = 1, lost = 2, closed = 3 };

// One client of a server.
struct Peer {
  std::int32_t id;        // that of its timer
  std::uint32_t address;  // host order
  char ip[16];
  std::uint16_t port;
  char session[kSession + 1];
  std::int32_t sent_recently;
  std::int32_t liveness_timer;
  std::int32_t peer_alive;
  Callback<kiv_uvs_data_fn> on_data;
  Callback<kiv_uvs_close_fn> on_close;
  PeerState state;

  Pace liveness_pace;

  Address sender() const { return {ip, port}; }
};

}  // namespace kiv::protocol::uv

// As it is made, it has never been attached: every handle and number is 0 or null.
struct kiv_uvs {
  kiv::protocol::uv::Link link;
  kiv::containers::IntMap<kiv::protocol::uv::Peer> by_address;
  kiv::containers::IntMap<kiv::protocol::uv::Peer> by_id;
  std::int32_t keep_alive_timer;  // below 1: none
  std::int32_t current_id;
  kiv_uvs_connect_fn on_connect;
  void* spare;
  kiv_uvs_foreign_fn on_foreign;
  void* argument;
  char received[kiv::protocol::uv::kMaxDatagram + 1];
  std::int32_t received_length;
  char sent[kiv::protocol::uv::kMaxDatagram];
  std::int32_t client_count;

  kiv::protocol::uv::Pace keep_alive_pace;
  std::uint32_t secret[2];  // of the address table
};

namespace kiv::protocol::uv {

// The tables. All need the lock of the server.

bool make_tables(kiv_uvs& server);
// Frees all clients and the tables.
void free_tables(kiv_uvs& server);

// Null for an unknown one.
Peer* find_by_id(const kiv_uvs& server, std::int32_t id);
Peer* find_by_address(const kiv_uvs& server, const zu_sock_peer& sender);

// Adds a client with its timer; null, and no change, if out of memory.
Peer* add_peer(kiv_uvs& server, const zu_sock_peer& sender, const char* session);
void delete_peer(kiv_uvs& server, Peer* peer);

// The box's handlers; the argument is the server.
void KIV_CALL serve_peers(void* server);
void KIV_CALL keep_alive_tick(void* box, void* server, std::int32_t timer, std::int32_t times);
void KIV_CALL liveness_tick(void* box, void* server, std::int32_t timer, std::int32_t times);

}  // namespace kiv::protocol::uv
