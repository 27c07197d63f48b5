// What the parts of a big box share. The lock of the big boxes is held at every call, or nobody
// else knows the big box.
#pragma once

#include <cstdint>

#include "event/bigbox_records.h"

namespace kiv::event {

// Null when the tree has no such entry.
template <typename Record>
Record* find_in(zu_itree* tree, std::int32_t key) {
  void* record = nullptr;
  zu_itree_find(tree, key, &record);
  return static_cast<Record*>(record);
}

inline Client* find_client(const kiv_bigbox& big, std::int32_t socket) {
  return find_in<Client>(big.clients, socket);
}
inline Listener* find_listener(const kiv_bigbox& big, std::int32_t socket) {
  return find_in<Listener>(big.listeners, socket);
}
inline Slave* find_slave(const kiv_bigbox& big, std::int32_t thread) {
  return find_in<Slave>(big.slaves, thread);
}

// Between these two, the record and the number of the socket stay what they are without the lock.
// Nothing may block or call back in between: a thread that removes the client waits.
inline void begin_use(Client& client) {
  client.users.fetch_add(1, std::memory_order_relaxed);
}
inline void end_use(Client& client) {
  client.users.fetch_sub(1, std::memory_order_release);
}

// Ends the waits of a client on its slave's box and frees it. The socket stays open.
void release_client(Client* client);
// Ends the wait of a listener on the master, closes its socket when the master opened it, and frees
// it.
void release_listener(kiv_box* master, Listener* listener);

// What a big box registers with its boxes; the argument is the big box.
void KIV_CALL dispatch_client_read(void* big);
void KIV_CALL dispatch_client_write(void* big);
void KIV_CALL dispatch_imported_listener(void* big);
void KIV_CALL dispatch_new_connection(void* master, void* big, std::int32_t listener,
                                      std::int32_t socket, const char* peer_ip,
                                      std::uint16_t peer_port);

}  // namespace kiv::event
