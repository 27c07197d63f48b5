// Helpers over plain sockets.
#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>

#include "base/layout.h"
#include "base/str.h"
#include "event/endpoint.h"
#include "event/ip_text.h"
#include "kiv_base/event.h"
#include "kiv_base/streams.h"
#include "platform/socket.h"

namespace {

namespace platform = kiv::platform;
using kiv::event::IpText;
using kiv::event::kIpText;
using platform::Option;
using platform::WireAddress;

KIV_LAYOUT(zu_sock_addr, 16, zero, 8);
KIV_LAYOUT(zu_sock_peer, 44, port, 40);
static_assert(sizeof(zu_sock_ip_slot) == 21);

std::atomic<int> started{0};

// Sets an option and gives 1 or 0.
int set(std::int32_t socket, Option option, std::int32_t value) {
  zu_sock_startup();
  return platform::socket_set_option(socket, option, value) >= 0 ? 1 : 0;
}

int set_linger(std::int32_t socket, bool on, std::uint16_t seconds) {
  zu_sock_startup();
  return platform::socket_set_linger(socket, on, seconds) >= 0 ? 1 : 0;
}

int set_blocking(std::int32_t socket, bool blocking) {
  zu_sock_startup();
  return platform::socket_set_blocking(socket, blocking);
}

int resolve_into(const char* host, zu_sock_ip_slot* slots, std::int32_t max_slots,
                 std::int32_t* count) {
  constexpr std::int32_t kMostAddresses = 256;
  std::uint32_t found[kMostAddresses];
  const std::int32_t stored =
      platform::resolve_host(host, found, std::clamp(max_slots, 0, kMostAddresses));
  if (stored < 0) return 0;
  for (std::int32_t i = 0; i < stored; ++i) {
    kiv::base::copy_within(slots[i], sizeof slots[i], IpText(found[i]).text);
  }
  if (count != nullptr) *count = stored;
  return 1;
}

// One end of a connection.
int name_of(std::int32_t (*ask)(std::int32_t, WireAddress*) noexcept, std::int32_t socket,
            char* text, std::int32_t size, std::uint16_t* port) {
  zu_sock_startup();
  WireAddress found;
  if (ask(socket, &found) < 0) return 0;
  if (text != nullptr && size > 0) {
    kiv::base::copy_within(text, static_cast<std::size_t>(size), IpText(found.address).text);
  }
  if (port != nullptr) *port = platform::swap_order(found.port);
  return 1;
}

}  // namespace

std::int32_t kiv::event::read_datagram(std::int32_t socket, void* buffer, std::int32_t length,
                                       zu_sock_peer& from, platform::Waiting waiting) {
  WireAddress peer;
  const std::int32_t received =
      platform::socket_receive_from(socket, buffer, length, &peer, waiting);
  from.addr = std::bit_cast<zu_sock_addr>(peer);
  from.addr_len = sizeof peer;
  if (received > 0) {
    kiv::base::copy_within(from.ip, sizeof from.ip, IpText(peer.address).text);
    from.address = platform::swap_order(peer.address);
    from.port = platform::swap_order(peer.port);
  }
  return received;
}

bool kiv::event::find_address(const char* host, std::uint32_t& address) {
  if (host == nullptr) return false;
  zu_sock_startup();
  // From the whole text of a numeric host: as an address text it might be cut.
  std::uint32_t found = platform::numeric_address(host);
  if (found == platform::kNoAddress && platform::resolve_host(host, &found, 1) != 1) return false;
  address = platform::swap_order(found);
  return true;
}

int KIV_CALL zu_sock_startup(void) KIV_NOEXCEPT {
  if (started.load(std::memory_order_acquire) == 1) return 1;
  if (!platform::network_start()) return 0;
  started.store(1, std::memory_order_release);
  return 1;
}

void KIV_CALL zu_sock_cleanup(void) KIV_NOEXCEPT {
  if (started.exchange(0) == 1) platform::network_stop();
}

int KIV_CALL zu_sock_set_block(int32_t socket) KIV_NOEXCEPT {
  return set_blocking(socket, true);
}

int KIV_CALL zu_sock_set_nonblock(int32_t socket) KIV_NOEXCEPT {
  return set_blocking(socket, false);
}

int KIV_CALL zu_sock_set_recv_buff(int32_t socket, int32_t size) KIV_NOEXCEPT {
  return set(socket, Option::receive_buffer, size);
}

int KIV_CALL zu_sock_set_send_buff(int32_t socket, int32_t size) KIV_NOEXCEPT {
  return set(socket, Option::send_buffer, size);
}

int KIV_CALL zu_sock_keep_alive(int32_t socket) KIV_NOEXCEPT {
  return set(socket, Option::keep_alive, 1);
}

int KIV_CALL zu_sock_keep_nonalive(int32_t socket) KIV_NOEXCEPT {
  return set(socket, Option::keep_alive, 0);
}

int KIV_CALL zu_sock_set_linger(int32_t socket, uint16_t seconds) KIV_NOEXCEPT {
  return set_linger(socket, true, seconds);
}

int KIV_CALL zu_sock_set_nonlinger(int32_t socket) KIV_NOEXCEPT {
  return set_linger(socket, false, 0);
}

int KIV_CALL zu_sock_set_delay(int32_t socket) KIV_NOEXCEPT {
  return set(socket, Option::no_delay, 0);
}

int KIV_CALL zu_sock_set_nondelay(int32_t socket) KIV_NOEXCEPT {
  return set(socket, Option::no_delay, 1);
}

int KIV_CALL zu_sock_set_reuse(int32_t socket) KIV_NOEXCEPT {
  return set(socket, Option::reuse_address, 1);
}

int KIV_CALL zu_sock_set_nonreuse(int32_t socket) KIV_NOEXCEPT {
  return set(socket, Option::reuse_address, 0);
}

int KIV_CALL zu_sock_fd_status(int32_t socket, int32_t* status) KIV_NOEXCEPT {
  zu_sock_startup();
  std::int32_t pending = 0;
  const bool known = platform::socket_pending_error(socket, &pending) >= 0;
  if (status != nullptr) *status = known ? pending : platform::last_error();
  return known ? 1 : 0;
}

int KIV_CALL zu_sock_is_fd_valid(int32_t socket, int32_t* error) KIV_NOEXCEPT {
  zu_sock_startup();
  std::int32_t pending = 0;
  if (platform::socket_pending_error(socket, &pending) >= 0) return 1;
  if (error != nullptr) *error = platform::last_error();
  return 0;
}

int KIV_CALL zu_sock_is_fd_writable(int32_t socket) KIV_NOEXCEPT {
  if (socket < 0) return 0;
  zu_sock_startup();
  return platform::socket_writable(socket, 0) ? 1 : 0;
}

int KIV_CALL zu_sock_IsRealIp(const char* text) KIV_NOEXCEPT {
  // deliberate: 255.255.255.255 reads as no address, as the all-ones word of inet_addr means both.
  return text != nullptr && platform::numeric_address(text) < platform::kNoAddress;
}

int KIV_CALL zu_sock_GetLocalHostname(char* buffer, int32_t length) KIV_NOEXCEPT {
  return buffer == nullptr ? -1 : platform::local_host_name(buffer, length);
}

int KIV_CALL zu_sock_GetHostIP(const char* host, zu_sock_ip_slot* slots, int32_t max_slots,
                               int32_t* count) KIV_NOEXCEPT {
  if (host == nullptr || (slots == nullptr && max_slots > 0)) return 0;
  zu_sock_startup();
  if (zu_sock_IsRealIp(host) == 1) {
    if (max_slots > 0) kiv::base::copy_within(slots[0], sizeof slots[0], host);
    // deliberate: one address is counted even with no slot for it; callers take it for "numeric".
    if (count != nullptr) *count = 1;
    return 1;
  }
  return resolve_into(host, slots, max_slots, count);
}

int KIV_CALL zu_sock_GetLocalHostIP(zu_sock_ip_slot* slots, int32_t max_slots,
                                    int32_t* count) KIV_NOEXCEPT {
  zu_sock_startup();
  char name[256];
  return zu_sock_GetLocalHostname(name, sizeof name) == 0 &&
         zu_sock_GetHostIP(name, slots, max_slots, count) == 1;
}

int KIV_CALL zu_sock_GetHostFirstIP(const char* host, char* text) KIV_NOEXCEPT {
  zu_sock_ip_slot slot;
  std::int32_t count = 0;
  if (text == nullptr || zu_sock_GetHostIP(host, &slot, 1, &count) == 0 || count < 1) return 0;
  kiv::base::copy_within(text, kIpText, slot);
  return 1;
}

int KIV_CALL zu_sock_HostnameTo32bits(uint32_t* address, const char* host) KIV_NOEXCEPT {
  return address != nullptr && kiv::event::find_address(host, *address);
}

int KIV_CALL zu_sock_GetPeer(int32_t socket, char* text, int32_t size,
                             uint16_t* port) KIV_NOEXCEPT {
  return name_of(platform::socket_peer_address, socket, text, size, port);
}

int KIV_CALL zu_sock_GetLocal(int32_t socket, char* text, int32_t size,
                              uint16_t* port) KIV_NOEXCEPT {
  return name_of(platform::socket_local_address, socket, text, size, port);
}

int32_t KIV_CALL zu_sock_write_ByPeerIp(int32_t socket, const void* data, int32_t length,
                                        const char* ip, uint16_t port) KIV_NOEXCEPT {
  if (data == nullptr || ip == nullptr || length <= 0 || port == 0) return 0;
  zu_sock_startup();
  WireAddress to = platform::wire_address(0, port);
  to.address = platform::numeric_address(ip);
  return platform::socket_send_to(socket, data, length, to, sizeof to);
}

int32_t KIV_CALL zu_sock_write_ByAddr(int32_t socket, const void* data, int32_t length,
                                      const zu_sock_peer* peer) KIV_NOEXCEPT {
  if (data == nullptr || peer == nullptr || length < 1 || socket < 1) return 0;
  zu_sock_startup();
  return platform::socket_send_to(socket, data, length, std::bit_cast<WireAddress>(peer->addr),
                                  peer->addr_len);
}

int32_t KIV_CALL zu_sock_read_ByPeerIp(int32_t socket, void* buffer, int32_t length, char* ip,
                                       uint16_t* port) KIV_NOEXCEPT {
  zu_sock_startup();
  if (ip == nullptr) {
    return platform::socket_receive_from(socket, buffer, length, nullptr);
  }
  WireAddress from;
  const std::int32_t received = platform::socket_receive_from(socket, buffer, length, &from);
  if (received > 0) {
    kiv::base::copy_within(ip, kIpText, IpText(from.address).text);
    if (port != nullptr) *port = platform::swap_order(from.port);
  }
  return received;
}

int32_t KIV_CALL zu_sock_read_ByAddr(int32_t socket, void* buffer, int32_t length,
                                     zu_sock_peer* peer) KIV_NOEXCEPT {
  zu_sock_startup();
  if (peer == nullptr) {
    return platform::socket_receive_from(socket, buffer, length, nullptr);
  }
  return kiv::event::read_datagram(socket, buffer, length, *peer, platform::Waiting::as_set);
}
