#include "platform/socket_datagrams.h"

#include <winsock2.h>
#include <ws2tcpip.h>

namespace kiv::platform {
namespace {

template <typename Value>
std::int32_t set_option(std::int32_t socket, int level, int option, const Value& value) {
  return setsockopt(static_cast<SOCKET>(socket), level, option,
                    reinterpret_cast<const char*>(&value), sizeof value);
}

}  // namespace

std::int32_t socket_send_datagrams(std::int32_t socket, const Datagram* datagrams,
                                   std::int32_t count) noexcept {
  std::int32_t sent = 0;
  while (sent < count && sent < kMostDatagrams &&
         socket_send_to(socket, datagrams[sent].data, datagrams[sent].length, datagrams[sent].peer,
                        sizeof datagrams[sent].peer) >= 0) {
    ++sent;
  }
  return sent > 0 ? sent : -1;
}

// The socket may be one that blocks, so it is asked first. An answer that no port took shows up as
// a failed read, and is passed over: it is no datagram, and those behind it are there.
std::int32_t socket_receive_datagrams(std::int32_t socket, Datagram* datagrams,
                                      std::int32_t count) noexcept {
  constexpr int kMostPassedOver = 64;
  int passed_over = 0;
  std::int32_t received = 0;
  while (received < count && received < kMostDatagrams) {
    if (!socket_readable(socket, 0)) {
      if (received == 0 && socket_is_open(socket)) WSASetLastError(kWouldBlock);
      break;
    }
    Datagram& datagram = datagrams[received];
    const std::int32_t length =
        socket_receive_from(socket, datagram.data, datagram.length, &datagram.peer);
    if (length >= 0 || last_error() == kMessageTooLong) {
      datagram.length = length;
      ++received;
    } else if (last_error() != kConnectionReset || ++passed_over > kMostPassedOver) {
      break;
    }
  }
  return received > 0 ? received : -1;
}

std::int32_t socket_set_membership(std::int32_t socket, bool is_member, std::uint32_t group,
                                   std::uint32_t local) noexcept {
  ip_mreq membership{};
  membership.imr_multiaddr.s_addr = group;
  membership.imr_interface.s_addr = local;
  return set_option(socket, IPPROTO_IP, is_member ? IP_ADD_MEMBERSHIP : IP_DROP_MEMBERSHIP,
                    membership);
}

std::int32_t socket_set_multicast_interface(std::int32_t socket, std::uint32_t local) noexcept {
  return set_option(socket, IPPROTO_IP, IP_MULTICAST_IF, local);
}

std::int32_t socket_set_multicast_ttl(std::int32_t socket, std::uint8_t ttl) noexcept {
  return set_option(socket, IPPROTO_IP, IP_MULTICAST_TTL, DWORD{ttl});
}

std::int32_t socket_set_multicast_loop(std::int32_t socket, bool on) noexcept {
  return set_option(socket, IPPROTO_IP, IP_MULTICAST_LOOP, DWORD{on});
}

std::int32_t socket_set_broadcast(std::int32_t socket, bool on) noexcept {
  return set_option(socket, SOL_SOCKET, SO_BROADCAST, BOOL{on});
}

}  // namespace kiv::platform
