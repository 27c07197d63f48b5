// The two ends that a box opens: a client aimed at a host, a server on a local address.
#pragma once

#include <cstdint>

#include "kiv_base/event.h"
#include "platform/socket.h"

namespace kiv::event {

inline constexpr std::uint32_t kLoopback = 0x7f000001;  // 127.0.0.1

// Checks a client's target and looks its host up, which may take seconds: never under a lock. False
// for ports 0 to 2, a name over 256 characters and an unknown host.
bool find_target(const char* host, std::uint16_t port, platform::WireAddress& target);

// The first address of a host, in host order; false if it has none.
bool find_address(const char* host, std::uint32_t& address);

// Reads the local address of a server. False when it is neither numeric nor empty; null is empty.
bool find_local(const char* ip, std::uint16_t port, platform::WireAddress& local);

// Each returns a new non-blocking socket, or -1 with nothing left open. A TCP client has started to
// connect, a TCP server listens. `error` is why a connect failed at once, otherwise 0.
std::int32_t open_tcp_client(const platform::WireAddress& target, std::int32_t& error);
std::int32_t open_udp_client();
std::int32_t open_tcp_server(const platform::WireAddress& local, std::int32_t backlog);
std::int32_t open_udp_server(const platform::WireAddress& local);

// As zu_sock_read_ByAddr, which waits as the socket is set.
std::int32_t read_datagram(std::int32_t socket, void* buffer, std::int32_t length,
                           zu_sock_peer& from, platform::Waiting waiting);

// Asks the system for larger or smaller buffers, which it need not give.
void set_buffers(std::int32_t socket, std::int32_t send_bytes, std::int32_t receive_bytes);

}  // namespace kiv::event
