// The records behind a big box, and the pattern of every operation on one.
//
// The lock of a big box guards its tables. What a slave needs to serve a client, the handlers, it
// finds with the socket under the lock of its own box; they change under both locks. The lock of
// the big box is taken before that of a box, never the other way round.
#pragma once

#include <cstdint>

#include "event/handles.h"
#include "event/id_map.h"
#include "event/kiv_box.h"

namespace kiv::event {

inline constexpr std::int32_t kPeerText = 20;  // an address as it is kept, with its terminator

// A thread box that serves clients.
struct Slave {
  kiv_box* box = nullptr;
  std::int32_t thread = 0;
  std::int32_t client_count = 0;
  bool is_dead = false;  // its loop has ended
};

struct Listener {
  std::int32_t socket = -1;
  AcceptHandler accept;
};

struct Client {
  kiv_bigbox* big = nullptr;
  Slave* slave = nullptr;
  std::int32_t socket = -1;
  char peer_ip[kPeerText] = {};
  std::uint16_t peer_port = 0;
  ReadHandler read = {};
  SocketHandler close = {};
  SocketHandler writable = {};
  bool waits_for[2] = {};  // by Kind: reading, writing
};

}  // namespace kiv::event

struct kiv_bigbox : kiv::event::HandleRecord {
  kiv_box* master = nullptr;
  std::int32_t master_thread = 0;
  kiv::event::IdMap<kiv::event::Listener> listeners;
  kiv::base::RawStorage<kiv::event::Slave> slaves;  // in the order of their thread ids
  std::int32_t slave_count = 0;
  kiv::event::IdMap<kiv::event::Client> clients;
  std::int32_t max_clients = 0;
};

namespace kiv::event {

Handles<kiv_bigbox>& bigboxes();

// Runs op(big) with its lock held when the handle is a live big box.
template <typename Result, typename Operation>
Result on_live_bigbox(kiv_bigbox* big, Result failure, Operation op) {
  if (!bigboxes().has(big)) return failure;
  const base::Guard guard(big->lock);
  return big->is_known ? op(*big) : failure;
}

// Runs op(raw) on the box of a thread when it still lives; the record may serve another box by now.
template <typename Operation>
int on_box_of_thread(kiv_box* box, std::int32_t thread, const Wake& wake, Operation op) {
  return on_live_box(
      box, 0, wake, [&](kiv_box& live) { return live.owner_thread == thread ? op(*live.raw) : 0; });
}

// Runs op(raw) on the master's box; 0 when that has ended.
template <typename Operation>
int on_master(kiv_bigbox& big, const Wake& wake, Operation op) {
  return on_box_of_thread(big.master, big.master_thread, wake, op);
}

// Runs op(raw) on the slave's box; 0 when that has ended.
template <typename Operation>
int on_slave(Slave& slave, const Wake& wake, Operation op) {
  return on_box_of_thread(slave.box, slave.thread, wake, op);
}

// The client of a big box that a box serves; the caller holds the lock of the box.
Client* client_of(const zu_box& raw, const kiv_bigbox* big, std::int32_t socket);
// Ends the waits of a client on its slave's box and frees it. The socket stays open,
// unless it was to be closed.
void release_client(Client& client);
// Deletes a socket of the master's box.
void delete_on_master(kiv_bigbox& big, std::int32_t socket);
// Ends the wait of a listener on the master, closes its socket when the master opened it, and frees
// it.
void release_listener(kiv_bigbox& big, Listener& listener);

// How a slave waits for its client, the wait's argument.
Served serve_client_read(zu_box& slave, Socket& socket, Kind kind, base::Guard& guard);
Served serve_client_write(zu_box& slave, Socket& socket, Kind kind, base::Guard& guard);

}  // namespace kiv::event
