// Opening and adopting the sockets of a raw box, for the parts of the library that hold its lock.
#pragma once

#include <cstdint>

#include "event/raw_box.h"
#include "platform/socket.h"

namespace kiv::event {

struct ClientHandlers {
  SocketHandler connect;
  SocketHandler failure;
  ReadHandler read;
  SocketHandler close;
};

// Each returns the socket's id, or -1 with nothing left behind. Addresses are those of
// event/endpoint.h.
std::int32_t add_tcp_client(zu_box& box, const platform::WireAddress& target,
                            const ClientHandlers& handlers);
std::int32_t add_udp_client(zu_box& box, const DatagramHandler& datagram);
std::int32_t add_tcp_server(zu_box& box, const platform::WireAddress& local,
                            const AcceptHandler& accept);
std::int32_t add_udp_server(zu_box& box, const platform::WireAddress& local,
                            const DatagramHandler& datagram);
// The same for a socket of open_udp_server(), which is closed on -1.
std::int32_t take_udp_server(zu_box& box, std::int32_t id, const DatagramHandler& datagram);
// A socket that is open already; it stays the caller's on -1.
std::int32_t adopt(zu_box& box, std::int32_t socket, const ReadHandler& read,
                   const SocketHandler& close);

}  // namespace kiv::event
