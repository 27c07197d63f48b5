// The two ends that a box opens: a client aimed at a host, a server on a local address.
#pragma once

#include <cstdint>

#include "event/box_records.h"

namespace kiv::event {

// Checks the arguments and looks the host up, which may take seconds: never under a lock. False
// for ports 0 to 2, a text over 256 characters and an unknown host.
bool prepare(ClientEndpoint& endpoint, Transport transport, const char* host, std::uint16_t port);

// False when the address is neither numeric nor empty; null is empty.
bool prepare(ServerEndpoint& endpoint, Transport transport, const char* ip, std::uint16_t port);

// Makes the non-blocking socket of a prepared endpoint. A TCP client starts to connect, a TCP
// server listens. On false nothing is left open.
bool open(ClientEndpoint& endpoint);
bool open(ServerEndpoint& endpoint);

void close(ClientEndpoint& endpoint);
void close(ServerEndpoint& endpoint);

}  // namespace kiv::event
