// What UDP sockets do beyond single datagrams, with the results of platform/socket.h.
#pragma once

#include <cstdint>

#include "platform/socket.h"

namespace kiv::platform {

struct Datagram {
  void* data;
  std::int32_t length;  // received: -1 for one longer than that
  WireAddress peer;
};

// Each moves some of the datagrams, from the first on, at most kMostDatagrams: how many, or -1 if
// none. Receiving never waits.
inline constexpr std::int32_t kMostDatagrams = 64;
std::int32_t socket_send_datagrams(std::int32_t socket, const Datagram* datagrams,
                                   std::int32_t count) noexcept;
std::int32_t socket_receive_datagrams(std::int32_t socket, Datagram* datagrams,
                                      std::int32_t count) noexcept;

// Addresses in network order; a local one of 0 leaves the interface to the system.
std::int32_t socket_set_membership(std::int32_t socket, bool is_member, std::uint32_t group,
                                   std::uint32_t local) noexcept;
std::int32_t socket_set_multicast_interface(std::int32_t socket, std::uint32_t local) noexcept;
std::int32_t socket_set_multicast_ttl(std::int32_t socket, std::uint8_t ttl) noexcept;
std::int32_t socket_set_multicast_loop(std::int32_t socket, bool on) noexcept;
std::int32_t socket_set_broadcast(std::int32_t socket, bool on) noexcept;

}  // namespace kiv::platform
