// UDP beyond single datagrams: groups, broadcasts, and many of them in one call.
#include "kiv_base/datagrams.h"

#include <algorithm>
#include <bit>
#include <iterator>

#include "base/str.h"
#include "event/ip_text.h"
#include "platform/socket_datagrams.h"

namespace {

namespace platform = kiv::platform;
using kiv::event::IpText;
using platform::Datagram;
using platform::kMostDatagrams;

// A numeric address in network order; false for any other text.
bool read_address(const char* text, std::uint32_t& address) {
  if (text == nullptr) return false;
  address = platform::numeric_address(text);
  return address != platform::kNoAddress;
}

int set_membership(std::int32_t socket, bool is_member, const char* group_ip,
                   const char* local_ip) {
  std::uint32_t group = 0;
  std::uint32_t local = 0;
  if (!read_address(group_ip, group) || (local_ip != nullptr && !read_address(local_ip, local))) {
    return 0;
  }
  zu_sock_startup();
  return platform::socket_set_membership(socket, is_member, group, local) == 0 ? 1 : 0;
}

int set_broadcast(std::int32_t socket, bool on) {
  zu_sock_startup();
  return platform::socket_set_broadcast(socket, on) == 0 ? 1 : 0;
}

void fill(zu_sock_peer& peer, const platform::WireAddress& address) {
  peer.addr = std::bit_cast<zu_sock_addr>(address);
  peer.addr_len = sizeof address;
  kiv::base::copy_within(peer.ip, sizeof peer.ip, IpText(address.address).text);
  peer.address = platform::swap_order(address.address);
  peer.port = platform::swap_order(address.port);
}

bool has_bytes(const zu_sock_datagram& datagram) {
  return datagram.data != nullptr && datagram.length > 0;
}

bool can_be_sent(const zu_sock_datagram& datagram) {
  return has_bytes(datagram) && datagram.peer != nullptr &&
         datagram.peer->addr_len >= std::int32_t{sizeof(platform::WireAddress)};
}

// Those from the first on, as many as one call takes, up to one that `is_good` refuses.
template <typename IsGood>
std::int32_t copy_good(const zu_sock_datagram* from, std::int32_t count, Datagram* to,
                       IsGood is_good) {
  std::int32_t copied = 0;
  for (; copied < std::min(count, kMostDatagrams) && is_good(from[copied]); ++copied) {
    to[copied] = {from[copied].data, from[copied].length, {}};
  }
  return copied;
}

// Calls move(first, left) until all are through, or one call moved none.
template <typename Move>
std::int32_t move_all(std::int32_t count, Move move) {
  std::int32_t done = 0;
  while (done < count) {
    const std::int32_t moved = move(done, count - done);
    if (moved <= 0) return done > 0 ? done : moved;
    done += moved;
  }
  return done;
}

}  // namespace

int KIV_CALL zu_sock_join_group(int32_t socket, const char* group,
                                const char* local_ip) KIV_NOEXCEPT {
  return set_membership(socket, true, group, local_ip);
}

int KIV_CALL zu_sock_leave_group(int32_t socket, const char* group,
                                 const char* local_ip) KIV_NOEXCEPT {
  return set_membership(socket, false, group, local_ip);
}

int KIV_CALL zu_sock_set_multicast_ttl(int32_t socket, int32_t ttl) KIV_NOEXCEPT {
  if (ttl < 0 || ttl > 255) return 0;
  zu_sock_startup();
  return platform::socket_set_multicast_ttl(socket, static_cast<std::uint8_t>(ttl)) == 0 ? 1 : 0;
}

int KIV_CALL zu_sock_set_multicast_interface(int32_t socket, const char* local_ip) KIV_NOEXCEPT {
  std::uint32_t local = 0;
  if (!read_address(local_ip, local)) return 0;
  zu_sock_startup();
  return platform::socket_set_multicast_interface(socket, local) == 0 ? 1 : 0;
}

int KIV_CALL zu_sock_set_multicast_loop(int32_t socket, int on) KIV_NOEXCEPT {
  zu_sock_startup();
  return platform::socket_set_multicast_loop(socket, on != 0) == 0 ? 1 : 0;
}

int KIV_CALL zu_sock_set_broadcast(int32_t socket) KIV_NOEXCEPT {
  return set_broadcast(socket, true);
}

int KIV_CALL zu_sock_set_nonbroadcast(int32_t socket) KIV_NOEXCEPT {
  return set_broadcast(socket, false);
}

int KIV_CALL zu_sock_MakePeer(zu_sock_peer* peer, const char* ip, uint16_t port) KIV_NOEXCEPT {
  if (peer == nullptr || ip == nullptr || port == 0) return 0;
  platform::WireAddress address = platform::wire_address(0, port);
  address.address = platform::numeric_address(ip);
  // The broadcast address reads as no address.
  constexpr char kBroadcast[] = "255.255.255.255";
  if (address.address == platform::kNoAddress &&
      !std::equal(std::begin(kBroadcast), std::end(kBroadcast), ip)) {
    return 0;
  }
  fill(*peer, address);
  return 1;
}

int32_t KIV_CALL zu_sock_WriteDatagrams(int32_t socket, const zu_sock_datagram* datagrams,
                                        int32_t count) KIV_NOEXCEPT {
  if (socket < 1 || datagrams == nullptr || count < 1) return 0;
  zu_sock_startup();
  return move_all(count, [=](std::int32_t first, std::int32_t left) {
    Datagram batch[kMostDatagrams];
    const std::int32_t good = copy_good(datagrams + first, left, batch, can_be_sent);
    for (std::int32_t i = 0; i < good; ++i) {
      batch[i].peer = std::bit_cast<platform::WireAddress>(datagrams[first + i].peer->addr);
    }
    return good > 0 ? platform::socket_send_datagrams(socket, batch, good) : 0;
  });
}

int32_t KIV_CALL zu_sock_ReadDatagrams(int32_t socket, zu_sock_datagram* datagrams,
                                       int32_t count) KIV_NOEXCEPT {
  if (socket < 1 || datagrams == nullptr || count < 1) return 0;
  zu_sock_startup();
  return move_all(count, [=](std::int32_t first, std::int32_t left) {
    Datagram batch[kMostDatagrams];
    const std::int32_t room = copy_good(datagrams + first, left, batch, has_bytes);
    const std::int32_t received =
        room > 0 ? platform::socket_receive_datagrams(socket, batch, room) : 0;
    for (std::int32_t i = 0; i < received; ++i) {
      zu_sock_datagram& datagram = datagrams[first + i];
      datagram.length = batch[i].length;
      if (datagram.peer != nullptr) fill(*datagram.peer, batch[i].peer);
    }
    return received;
  });
}
