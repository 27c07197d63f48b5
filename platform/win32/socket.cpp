#include "platform/socket.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <atomic>
#include <climits>

namespace kiv::platform {
namespace {

static_assert(sizeof(sockaddr_in) == sizeof(WireAddress) && AF_INET == kIpv4Family);
static_assert(kNoAddress == INADDR_NONE && kNotASocket == WSAENOTSOCK);

SOCKET system_socket(std::int32_t socket) {
  return static_cast<SOCKET>(socket);
}

std::int32_t fail(int error) {
  WSASetLastError(error);
  return -1;
}

// Socket handles are 64 bits wide on 64-bit systems, though their values are small.
std::int32_t id_of(SOCKET socket) {
  if (socket == INVALID_SOCKET) return -1;
  if (socket > INT32_MAX) {
    closesocket(socket);
    return fail(kOutOfSockets);
  }
  SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
  return static_cast<std::int32_t>(socket);
}

sockaddr_in system_address(const WireAddress& address) {
  return std::bit_cast<sockaddr_in>(address);
}

const sockaddr* generic(const sockaddr_in* address) {
  return reinterpret_cast<const sockaddr*>(address);
}

sockaddr* generic(sockaddr_in* address) {
  return reinterpret_cast<sockaddr*>(address);
}

std::int32_t set_option(std::int32_t socket, int level, int option, const void* value, int size) {
  return setsockopt(system_socket(socket), level, option, static_cast<const char*>(value), size);
}

std::int32_t get_option(std::int32_t socket, int option, int* value) {
  int size = sizeof *value;
  return getsockopt(system_socket(socket), SOL_SOCKET, option, reinterpret_cast<char*>(value),
                    &size);
}

fd_set only(std::int32_t socket) {
  fd_set set;
  set.fd_count = 1;
  set.fd_array[0] = system_socket(socket);
  return set;
}

timeval time_limit(std::int64_t timeout_us) {
  const std::int64_t us = std::max<std::int64_t>(timeout_us, 0);
  return {static_cast<long>(us / 1000000), static_cast<long>(us % 1000000)};
}

// A spare handle for the moment when no other is left.
std::atomic<HANDLE> spare{INVALID_HANDLE_VALUE};

void keep_spare() {
  if (spare.load(std::memory_order_relaxed) != INVALID_HANDLE_VALUE) return;
  const HANDLE fresh = CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                   nullptr, OPEN_EXISTING, 0, nullptr);
  HANDLE none = INVALID_HANDLE_VALUE;
  if (fresh != INVALID_HANDLE_VALUE && !spare.compare_exchange_strong(none, fresh)) {
    CloseHandle(fresh);
  }
}

// Uses the spare handle to take a waiting connection off the listener and drop it. Reports whether
// there was one.
bool drop_connection(SOCKET listener) {
  const HANDLE freed = spare.exchange(INVALID_HANDLE_VALUE);
  if (freed != INVALID_HANDLE_VALUE) CloseHandle(freed);
  const SOCKET dropped = accept(listener, nullptr, nullptr);
  if (dropped != INVALID_SOCKET) closesocket(dropped);
  keep_spare();
  return dropped != INVALID_SOCKET;
}

// Under Wine a shortage looks like a socket that is not a listener.
bool may_be_shortage(int error) {
  return error == WSAEMFILE || error == WSAENOBUFS || error == WSAEINVAL;
}

}  // namespace

bool network_start() noexcept {
  WSADATA data;
  return WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

void network_stop() noexcept {
  WSACleanup();
}

std::int32_t last_error() noexcept {
  return WSAGetLastError();
}

std::int32_t socket_open(Transport transport) noexcept {
  const bool tcp = transport == Transport::tcp;
  return id_of(::socket(AF_INET, tcp ? SOCK_STREAM : SOCK_DGRAM, tcp ? IPPROTO_TCP : IPPROTO_UDP));
}

std::int32_t socket_close(std::int32_t socket) noexcept {
  return closesocket(system_socket(socket));
}

std::int32_t listener_close(std::int32_t listener) noexcept {
  return socket_close(listener);
}

std::int32_t socket_bind(std::int32_t socket, const WireAddress& local) noexcept {
  const sockaddr_in address = system_address(local);
  return bind(system_socket(socket), generic(&address), sizeof address);
}

std::int32_t socket_listen(std::int32_t socket, std::int32_t backlog) noexcept {
  keep_spare();
  return listen(system_socket(socket), backlog);
}

std::int32_t socket_connect(std::int32_t socket, const WireAddress& peer) noexcept {
  const sockaddr_in address = system_address(peer);
  return connect(system_socket(socket), generic(&address), sizeof address);
}

std::int32_t socket_accept(std::int32_t listener, WireAddress* peer) noexcept {
  sockaddr_in from{};
  int size = sizeof from;
  const std::int32_t taken = id_of(accept(system_socket(listener), generic(&from), &size));
  if (taken < 0) {
    const int error = WSAGetLastError();
    const bool dropped = may_be_shortage(error) && drop_connection(system_socket(listener));
    return fail(dropped ? kOutOfSockets : error);
  }
  keep_spare();
  socket_set_blocking(taken, false);
  if (peer != nullptr) *peer = std::bit_cast<WireAddress>(from);
  return taken;
}

std::int32_t socket_send(std::int32_t socket, const void* data, std::int32_t length) noexcept {
  if (data == nullptr || length < 0) return fail(kFault);
  return send(system_socket(socket), static_cast<const char*>(data), length, 0);
}

// select() tells what is ready at this moment, so no call that it leads to waits.
std::int32_t socket_receive(std::int32_t socket, void* buffer, std::int32_t length,
                            Waiting) noexcept {
  if (buffer == nullptr || length < 0) return fail(kFault);
  return recv(system_socket(socket), static_cast<char*>(buffer), length, 0);
}

std::int32_t socket_send_to(std::int32_t socket, const void* data, std::int32_t length,
                            const WireAddress& peer, std::int32_t address_length) noexcept {
  const sockaddr_in address = system_address(peer);
  if (data == nullptr || length < 0 || address_length < std::int32_t{sizeof address}) {
    return fail(kFault);
  }
  return sendto(system_socket(socket), static_cast<const char*>(data), length, 0, generic(&address),
                sizeof address);
}

std::int32_t socket_receive_from(std::int32_t socket, void* buffer, std::int32_t length,
                                 WireAddress* peer, Waiting) noexcept {
  if (buffer == nullptr || length < 0) return fail(kFault);
  sockaddr_in from{};
  int size = sizeof from;
  const bool wants_peer = peer != nullptr;
  const int received =
      recvfrom(system_socket(socket), static_cast<char*>(buffer), length, 0,
               wants_peer ? generic(&from) : nullptr, wants_peer ? &size : nullptr);
  if (received >= 0 && wants_peer) *peer = std::bit_cast<WireAddress>(from);
  return received;
}

std::int32_t socket_set_blocking(std::int32_t socket, bool blocking) noexcept {
  u_long non_blocking = blocking ? 0 : 1;
  return ioctlsocket(system_socket(socket), static_cast<long>(FIONBIO), &non_blocking);
}

std::int32_t socket_set_option(std::int32_t socket, Option option, std::int32_t value) noexcept {
  struct Name {
    int level;
    int option;
  };
  static constexpr Name kNames[] = {{SOL_SOCKET, SO_RCVBUF},
                                    {SOL_SOCKET, SO_SNDBUF},
                                    {SOL_SOCKET, SO_KEEPALIVE},
                                    {IPPROTO_TCP, TCP_NODELAY},
                                    {SOL_SOCKET, SO_REUSEADDR}};
  const Name name = kNames[static_cast<int>(option)];
  return set_option(socket, name.level, name.option, &value, sizeof value);
}

std::int32_t socket_set_linger(std::int32_t socket, bool on, std::uint16_t seconds) noexcept {
  const linger value{static_cast<u_short>(on ? 1 : 0), seconds};
  return set_option(socket, SOL_SOCKET, SO_LINGER, &value, sizeof value);
}

std::int32_t socket_pending_error(std::int32_t socket, std::int32_t* error) noexcept {
  int value = 0;
  if (get_option(socket, SO_ERROR, &value) != 0) return -1;
  *error = value;
  return 0;
}

bool socket_is_open(std::int32_t socket) noexcept {
  int type = 0;
  return get_option(socket, SO_TYPE, &type) == 0;
}

bool socket_readable(std::int32_t socket, std::int64_t timeout_us) noexcept {
  fd_set set = only(socket);
  timeval timeout = time_limit(timeout_us);
  return select(0, &set, nullptr, nullptr, &timeout) > 0;
}

bool socket_writable(std::int32_t socket, std::int64_t timeout_us) noexcept {
  fd_set set = only(socket);
  timeval timeout = time_limit(timeout_us);
  return select(0, nullptr, &set, nullptr, &timeout) > 0;
}

std::int32_t socket_local_address(std::int32_t socket, WireAddress* local) noexcept {
  sockaddr_in found{};
  int size = sizeof found;
  if (getsockname(system_socket(socket), generic(&found), &size) != 0) return -1;
  *local = std::bit_cast<WireAddress>(found);
  return 0;
}

std::int32_t socket_peer_address(std::int32_t socket, WireAddress* peer) noexcept {
  sockaddr_in found{};
  int size = sizeof found;
  if (getpeername(system_socket(socket), generic(&found), &size) != 0) return -1;
  *peer = std::bit_cast<WireAddress>(found);
  return 0;
}

std::uint32_t numeric_address(const char* text) noexcept {
  return inet_addr(text);
}

std::int32_t resolve_host(const char* host, std::uint32_t* addresses,
                          std::int32_t capacity) noexcept {
  // Its storage belongs to the calling thread here.
  const hostent* found = gethostbyname(host);
  if (found == nullptr || found->h_addrtype != AF_INET) return -1;
  std::int32_t count = 0;
  for (char** entry = found->h_addr_list; *entry != nullptr && count < capacity; ++entry) {
    addresses[count++] = reinterpret_cast<const in_addr*>(*entry)->s_addr;
  }
  return count;
}

std::int32_t local_host_name(char* buffer, std::int32_t length) noexcept {
  if (length < 1) return fail(kFault);
  return gethostname(buffer, length);
}

}  // namespace kiv::platform
