// IPv4 sockets with the results of Winsock on every system: a call that fails returns -1 and
// last_error() then tells why in Winsock's numbers. Where systems differ in behaviour, the
// comments below say what holds on all of them.
//
// Socket ids are above 0 and fit in 31 bits. No call raises a signal, and none is cut short by one.
#pragma once

#include <bit>
#include <cstdint>

namespace kiv::platform {

// Error numbers that the library itself looks at or gives.
inline constexpr std::int32_t kFault = 10014;
inline constexpr std::int32_t kOutOfSockets = 10024;
inline constexpr std::int32_t kWouldBlock = 10035;
inline constexpr std::int32_t kNotASocket = 10038;
inline constexpr std::int32_t kMessageTooLong = 10040;
inline constexpr std::int32_t kConnectionReset = 10054;

// An address as the socket calls take it: port and address in network order.
struct WireAddress {
  std::uint16_t family = 0;
  std::uint16_t port = 0;
  std::uint32_t address = 0;
  std::uint8_t zero[8] = {};
};
static_assert(sizeof(WireAddress) == 16);

inline constexpr std::uint16_t kIpv4Family = 2;

// Network order to host order and back.
constexpr std::uint16_t swap_order(std::uint16_t value) {
  if constexpr (std::endian::native == std::endian::big) return value;
  return static_cast<std::uint16_t>(value >> 8 | value << 8);
}
constexpr std::uint32_t swap_order(std::uint32_t value) {
  if constexpr (std::endian::native == std::endian::big) return value;
  return value >> 24 | (value >> 8 & 0xff00U) | (value << 8 & 0xff0000U) | value << 24;
}

// The wire address of an address and a port in host order.
constexpr WireAddress wire_address(std::uint32_t host_order_address, std::uint16_t port) {
  return {kIpv4Family, swap_order(port), swap_order(host_order_address), {}};
}

enum class Transport { tcp, udp };

// Starts the process's use of the network; false when there is none. Each start is undone by one
// network_stop.
bool network_start() noexcept;
void network_stop() noexcept;

// Why the last failed call of this thread failed.
std::int32_t last_error() noexcept;

// A new blocking socket, or -1. Child processes do not inherit it.
std::int32_t socket_open(Transport transport) noexcept;
std::int32_t socket_close(std::int32_t socket) noexcept;
// Closes a listener that no other process has. Its port is free at once, also while another thread
// waits for it.
std::int32_t listener_close(std::int32_t listener) noexcept;

std::int32_t socket_bind(std::int32_t socket, const WireAddress& local) noexcept;
// Makes a bound TCP socket a listener.
std::int32_t socket_listen(std::int32_t socket, std::int32_t backlog) noexcept;
// On a non-blocking socket the usual result is -1 with kWouldBlock.
std::int32_t socket_connect(std::int32_t socket, const WireAddress& peer) noexcept;
// Takes one waiting connection; `peer` may be null. The new socket never blocks, whatever the
// listener does. When the process has no descriptor left, the waiting connection is closed and the
// result is -1 with kOutOfSockets, so that the listener does not stay ready for ever.
std::int32_t socket_accept(std::int32_t listener, WireAddress* peer) noexcept;

// Does a call wait for data? A socket is ready by what the loop saw a while ago; the application
// may have made it blocking since.
enum class Waiting { as_set, never };

// Number of bytes moved; receiving returns 0 at the end of a stream.
std::int32_t socket_send(std::int32_t socket, const void* data, std::int32_t length) noexcept;
std::int32_t socket_receive(std::int32_t socket, void* buffer, std::int32_t length,
                            Waiting waiting = Waiting::as_set) noexcept;
// An address length below 16 fails; all of `peer` is used otherwise.
std::int32_t socket_send_to(std::int32_t socket, const void* data, std::int32_t length,
                            const WireAddress& peer, std::int32_t address_length) noexcept;
// `peer` may be null. A datagram longer than the buffer is lost: -1 with kMessageTooLong.
std::int32_t socket_receive_from(std::int32_t socket, void* buffer, std::int32_t length,
                                 WireAddress* peer, Waiting waiting = Waiting::as_set) noexcept;

enum class Option { receive_buffer, send_buffer, keep_alive, no_delay, reuse_address };

std::int32_t socket_set_blocking(std::int32_t socket, bool blocking) noexcept;
std::int32_t socket_set_option(std::int32_t socket, Option option, std::int32_t value) noexcept;
std::int32_t socket_set_linger(std::int32_t socket, bool on, std::uint16_t seconds) noexcept;

// Reads and clears the pending error of a socket, 0 when it has none.
std::int32_t socket_pending_error(std::int32_t socket, std::int32_t* error) noexcept;
// Is this the id of an open socket? Leaves a pending error in place.
bool socket_is_open(std::int32_t socket) noexcept;

// Waits until a call would not block, or the connection is broken; with 0 it asks only. False when
// the time is up and for an invalid socket.
bool socket_readable(std::int32_t socket, std::int64_t timeout_us) noexcept;
bool socket_writable(std::int32_t socket, std::int64_t timeout_us) noexcept;

std::int32_t socket_local_address(std::int32_t socket, WireAddress* local) noexcept;
std::int32_t socket_peer_address(std::int32_t socket, WireAddress* peer) noexcept;

// The address of a numeric host ("10.0.0.1", "127.1", "0x7f000001") in network order; all ones
// when the text is none, as for the text 255.255.255.255.
inline constexpr std::uint32_t kNoAddress = 0xffffffffU;
std::uint32_t numeric_address(const char* text) noexcept;

// Asks the resolver for the addresses of a host and stores at most `capacity` of them, in network
// order. The number stored, or -1 when the host is unknown. May take seconds.
std::int32_t resolve_host(const char* host, std::uint32_t* addresses,
                          std::int32_t capacity) noexcept;

// Name of this machine with its terminator: 0, or -1 when it does not fit.
std::int32_t local_host_name(char* buffer, std::int32_t length) noexcept;

}  // namespace kiv::platform
