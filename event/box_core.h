// What the parts of a raw box share.
#pragma once

#include <cstdint>

#include "base/guard.h"
#include "event/box_records.h"

namespace kiv::event {

// A destroyed box has no engine and refuses everything.
inline bool is_usable(const zu_box* box) {
  return box != nullptr && box->engine != nullptr;
}

// Null when the box has no such entry.
SocketEntry* find_socket(const zu_box& box, std::int32_t socket);
TimerEntry* find_timer(const zu_box& box, std::int32_t timer);

// Closes the socket of an entry and frees the entry with its record.
void close_and_free(SocketEntry* entry);

// Opens a client whose endpoint prepare() of event/endpoint.h has filled. Socket id or -1.
std::int32_t add_tcp_client(zu_box& box, const ClientEndpoint& prepared,
                            const SocketHandler& connect, const SocketHandler& failure,
                            const StreamHandlers& stream);
std::int32_t add_udp_client(zu_box& box, const ClientEndpoint& prepared,
                            const DatagramHandler& datagram);

// What a box registers with its engine; the argument is the box. Each asks the engine which
// socket or timer it serves, works under the lock, and calls the application without it.
void KIV_CALL dispatch_stream(void* box);
void KIV_CALL dispatch_datagram(void* box);
void KIV_CALL dispatch_accept(void* box);
void KIV_CALL dispatch_connected(void* box);
void KIV_CALL dispatch_connect_failed(void* box);
void KIV_CALL dispatch_timer(void* box);

}  // namespace kiv::event
