#include "platform/socket_datagrams.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <bit>
#include <cerrno>

#include "platform/posix/uninterrupted.h"

namespace kiv::platform {
namespace {

template <typename Value>
std::int32_t set_option(std::int32_t socket, int level, int option, const Value& value) {
  return setsockopt(socket, level, option, &value, sizeof value);
}

}  // namespace

#if defined(__linux__)

namespace {

// The headers that the two calls take, over a run of datagrams.
struct Batch {
  mmsghdr headers[kMostDatagrams];
  iovec pieces[kMostDatagrams];
  sockaddr_in peers[kMostDatagrams];
  std::int32_t count;

  Batch(const Datagram* datagrams, std::int32_t wanted) : count(std::min(wanted, kMostDatagrams)) {
    for (std::int32_t i = 0; i < count; ++i) {
      pieces[i] = {datagrams[i].data, static_cast<std::size_t>(datagrams[i].length)};
      peers[i] = std::bit_cast<sockaddr_in>(datagrams[i].peer);
      headers[i] = {};
      headers[i].msg_hdr.msg_name = &peers[i];
      headers[i].msg_hdr.msg_namelen = sizeof peers[i];
      headers[i].msg_hdr.msg_iov = &pieces[i];
      headers[i].msg_hdr.msg_iovlen = 1;
    }
  }
};

}  // namespace

std::int32_t socket_send_datagrams(std::int32_t socket, const Datagram* datagrams,
                                   std::int32_t count) noexcept {
  Batch batch(datagrams, count);
  return uninterrupted([&] {
    return sendmmsg(socket, batch.headers, static_cast<unsigned>(batch.count), MSG_NOSIGNAL);
  });
}

std::int32_t socket_receive_datagrams(std::int32_t socket, Datagram* datagrams,
                                      std::int32_t count) noexcept {
  Batch batch(datagrams, count);
  const int received = uninterrupted([&] {
    return recvmmsg(socket, batch.headers, static_cast<unsigned>(batch.count), MSG_DONTWAIT,
                    nullptr);
  });
  for (int i = 0; i < received; ++i) {
    const bool is_cut = (batch.headers[i].msg_hdr.msg_flags & MSG_TRUNC) != 0;
    datagrams[i].length = is_cut ? -1 : static_cast<std::int32_t>(batch.headers[i].msg_len);
    datagrams[i].peer = std::bit_cast<WireAddress>(batch.peers[i]);
  }
  return received;
}

#else

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

std::int32_t socket_receive_datagrams(std::int32_t socket, Datagram* datagrams,
                                      std::int32_t count) noexcept {
  std::int32_t received = 0;
  for (; received < count && received < kMostDatagrams; ++received) {
    Datagram& datagram = datagrams[received];
    const std::int32_t length =
        socket_receive_from(socket, datagram.data, datagram.length, &datagram.peer, Waiting::never);
    if (length < 0 && last_error() != kMessageTooLong) break;
    datagram.length = length;
  }
  return received > 0 ? received : -1;
}

#endif

std::int32_t socket_set_membership(std::int32_t socket, bool is_member, std::uint32_t group,
                                   std::uint32_t local) noexcept {
#if defined(IP_MULTICAST_ALL)
  // Else it would receive what is sent to groups that other sockets have joined.
  if (is_member) set_option(socket, IPPROTO_IP, IP_MULTICAST_ALL, 0);
#endif
  const ip_mreq membership{{group}, {local}};
  return set_option(socket, IPPROTO_IP, is_member ? IP_ADD_MEMBERSHIP : IP_DROP_MEMBERSHIP,
                    membership);
}

std::int32_t socket_set_multicast_interface(std::int32_t socket, std::uint32_t local) noexcept {
  return set_option(socket, IPPROTO_IP, IP_MULTICAST_IF, in_addr{local});
}

// Bytes: not every system takes a number here.
std::int32_t socket_set_multicast_ttl(std::int32_t socket, std::uint8_t ttl) noexcept {
  return set_option(socket, IPPROTO_IP, IP_MULTICAST_TTL, ttl);
}

std::int32_t socket_set_multicast_loop(std::int32_t socket, bool on) noexcept {
  return set_option(socket, IPPROTO_IP, IP_MULTICAST_LOOP, std::uint8_t{on});
}

std::int32_t socket_set_broadcast(std::int32_t socket, bool on) noexcept {
  return set_option(socket, SOL_SOCKET, SO_BROADCAST, int{on});
}

}  // namespace kiv::platform
