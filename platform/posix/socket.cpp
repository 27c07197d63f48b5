#include "platform/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <ctime>

#include "platform/clock.h"
#include "platform/posix/hands.h"

namespace kiv::platform {
namespace {

static_assert(sizeof(sockaddr_in) == sizeof(WireAddress) && AF_INET == kIpv4Family);

// Descriptors below this belong to the standard streams.
constexpr int kFirstFree = 3;

struct ErrorPair {
  int posix;
  std::int32_t winsock;
};

constexpr ErrorPair kErrors[] = {
    {EINTR, 10004},
    {EBADF, kNotASocket},
    {EACCES, 10013},
    {EPERM, 10013},
    {EFAULT, kFault},
    {EINVAL, 10022},
    {EMFILE, kOutOfSockets},
    {ENFILE, kOutOfSockets},
    {EAGAIN, kWouldBlock},
    {EINPROGRESS, kWouldBlock},
    {EALREADY, 10037},
    {ENOTSOCK, kNotASocket},
    {EDESTADDRREQ, 10039},
    {EMSGSIZE, kMessageTooLong},
    {EPROTOTYPE, 10041},
    {ENOPROTOOPT, 10042},
    {EPROTONOSUPPORT, 10043},
    {ESOCKTNOSUPPORT, 10044},
    {EOPNOTSUPP, 10045},
    {EPFNOSUPPORT, 10046},
    {EAFNOSUPPORT, 10047},
    {EADDRINUSE, 10048},
    {EADDRNOTAVAIL, 10049},
    {ENETDOWN, 10050},
    {ENETUNREACH, 10051},
    {ENETRESET, 10052},
    {ECONNABORTED, 10053},
    {ECONNRESET, kConnectionReset},
    {EPIPE, kConnectionReset},
    {ENOBUFS, 10055},
    {ENOMEM, 10055},
    {EISCONN, 10056},
    {ENOTCONN, 10057},
    {ETIMEDOUT, 10060},
    {ECONNREFUSED, 10061},
    {EHOSTDOWN, 10064},
    {EHOSTUNREACH, 10065},
};

// An error that Winsock has no number for keeps its own, which is below all of Winsock's.
std::int32_t winsock_error(int error) {
  for (const ErrorPair& pair : kErrors) {
    if (pair.posix == error) return pair.winsock;
  }
  return error;
}

std::int32_t fail(int error) {
  errno = error;
  return -1;
}

template <typename Call>
auto resumed(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// Moves a socket above the standard streams: ids are above 0, and nothing printed may reach it.
std::int32_t above_standard_streams(int descriptor) {
  if (descriptor < 0 || descriptor >= kFirstFree) return descriptor;
  const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstFree);
  const int error = errno;
  close(descriptor);
  errno = error;
  return moved;
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

// A spare descriptor for the moment when no other is left.
std::atomic<int> spare{-1};

void keep_spare() {
  if (spare.load(std::memory_order_relaxed) >= 0) return;
  const int fresh = open("/dev/null", O_RDONLY | O_CLOEXEC);
  int none = -1;
  if (fresh >= 0 && !spare.compare_exchange_strong(none, fresh)) close(fresh);
}

// Uses the spare descriptor to take a waiting connection off the listener and drop it.
void drop_connection(std::int32_t listener) {
  const int freed = spare.exchange(-1);
  if (freed >= 0) close(freed);
  const int dropped = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
  if (dropped >= 0) close(dropped);
  keep_spare();
}

// A connect that a signal interrupted goes on by itself; its outcome is awaited here.
std::int32_t finish_connect(std::int32_t socket) {
  pollfd entry{socket, POLLOUT, 0};
  if (resumed([&] { return poll(&entry, 1, -1); }) < 0) return -1;
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) < 0) return -1;
  return error == 0 ? 0 : fail(error);
}

// A broken connection shows with every answer.
bool is_ready(std::int32_t socket, short event, std::int64_t timeout_us) {
  pollfd entry{socket, event, 0};
  const std::int64_t end_us = timeout_us > 0 ? steady_us() + timeout_us : 0;
  for (std::int64_t left_us = timeout_us;; left_us = end_us - steady_us()) {
    const std::int64_t us = left_us > 0 ? left_us : 0;
    const timespec timeout = {us / 1000000, us % 1000000 * 1000};
    const int result = ppoll(&entry, 1, &timeout, nullptr);
    if (result >= 0 || errno != EINTR) return result > 0 && (entry.revents & POLLNVAL) == 0;
  }
}

constexpr int flags_for(Waiting waiting) {
  return waiting == Waiting::never ? MSG_DONTWAIT : 0;
}

std::int32_t named(int (*ask)(int, sockaddr*, socklen_t*), std::int32_t socket,
                   WireAddress* address) {
  sockaddr_in found{};
  socklen_t size = sizeof found;
  if (ask(socket, generic(&found), &size) < 0) return -1;
  *address = std::bit_cast<WireAddress>(found);
  return 0;
}

}  // namespace

bool network_start() noexcept {
  return true;
}
void network_stop() noexcept {}

std::int32_t last_error() noexcept {
  return winsock_error(errno);
}

std::int32_t socket_open(Transport transport) noexcept {
  const bool tcp = transport == Transport::tcp;
  return in_new_hands(above_standard_streams(::socket(
      AF_INET, (tcp ? SOCK_STREAM : SOCK_DGRAM) | SOCK_CLOEXEC, tcp ? IPPROTO_TCP : IPPROTO_UDP)));
}

std::int32_t socket_close(std::int32_t socket) noexcept {
  in_new_hands(socket);
  // An interrupted close has closed; trying again could hit another thread's descriptor.
  return close(socket) == 0 || errno == EINTR ? 0 : -1;
}

std::int32_t listener_close(std::int32_t listener) noexcept {
  // A wait of another thread keeps what it waits for open until it ends.
  shutdown(listener, SHUT_RD);
  return socket_close(listener);
}

std::int32_t socket_bind(std::int32_t socket, const WireAddress& local) noexcept {
  int type = 0;
  socklen_t size = sizeof type;
  if (getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &size) < 0) return -1;
  // A restarted server binds its port again at once, as it does on Windows without the option. On
  // datagram sockets it would let two share a port.
  if (type == SOCK_STREAM && socket_set_option(socket, Option::reuse_address, 1) < 0) return -1;
  const sockaddr_in address = system_address(local);
  return bind(socket, generic(&address), sizeof address);
}

std::int32_t socket_listen(std::int32_t socket, std::int32_t backlog) noexcept {
  keep_spare();
  return listen(socket, backlog);
}

std::int32_t socket_connect(std::int32_t socket, const WireAddress& peer) noexcept {
  const sockaddr_in address = system_address(peer);
  if (connect(socket, generic(&address), sizeof address) == 0) return 0;
  return errno == EINTR ? finish_connect(socket) : -1;
}

std::int32_t socket_accept(std::int32_t listener, WireAddress* peer) noexcept {
  sockaddr_in from{};
  const int taken = resumed([&] {
    socklen_t size = sizeof from;
    return accept4(listener, generic(&from), &size, SOCK_NONBLOCK | SOCK_CLOEXEC);
  });
  if (taken < 0) {
    if (errno != EMFILE && errno != ENFILE) return -1;
    drop_connection(listener);
    return fail(EMFILE);
  }
  keep_spare();
  if (peer != nullptr) *peer = std::bit_cast<WireAddress>(from);
  return in_new_hands(above_standard_streams(taken));
}

std::int32_t socket_send(std::int32_t socket, const void* data, std::int32_t length) noexcept {
  if (data == nullptr || length < 0) return fail(EFAULT);
  return static_cast<std::int32_t>(
      resumed([&] { return send(socket, data, static_cast<std::size_t>(length), MSG_NOSIGNAL); }));
}

std::int32_t socket_receive(std::int32_t socket, void* buffer, std::int32_t length,
                            Waiting waiting) noexcept {
  if (buffer == nullptr || length < 0) return fail(EFAULT);
  return static_cast<std::int32_t>(resumed(
      [&] { return recv(socket, buffer, static_cast<std::size_t>(length), flags_for(waiting)); }));
}

std::int32_t socket_send_to(std::int32_t socket, const void* data, std::int32_t length,
                            const WireAddress& peer, std::int32_t address_length) noexcept {
  const sockaddr_in address = system_address(peer);
  if (data == nullptr || length < 0 || address_length < std::int32_t{sizeof address}) {
    return fail(EFAULT);
  }
  return static_cast<std::int32_t>(resumed([&] {
    return sendto(socket, data, static_cast<std::size_t>(length), MSG_NOSIGNAL, generic(&address),
                  sizeof address);
  }));
}

std::int32_t socket_receive_from(std::int32_t socket, void* buffer, std::int32_t length,
                                 WireAddress* peer, Waiting waiting) noexcept {
  if (buffer == nullptr || length < 0) return fail(EFAULT);
  sockaddr_in from{};
  iovec piece{buffer, static_cast<std::size_t>(length)};
  msghdr message{};
  message.msg_iov = &piece;
  message.msg_iovlen = 1;
  if (peer != nullptr) {
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
  }
  const auto received = resumed([&] { return recvmsg(socket, &message, flags_for(waiting)); });
  if (received < 0) return -1;
  if (peer != nullptr) *peer = std::bit_cast<WireAddress>(from);
  if ((message.msg_flags & MSG_TRUNC) != 0) return fail(EMSGSIZE);
  return static_cast<std::int32_t>(received);
}

std::int32_t socket_set_blocking(std::int32_t socket, bool blocking) noexcept {
  int non_blocking = blocking ? 0 : 1;
  return ioctl(socket, FIONBIO, &non_blocking);
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
  return setsockopt(socket, name.level, name.option, &value, sizeof value);
}

std::int32_t socket_set_linger(std::int32_t socket, bool on, std::uint16_t seconds) noexcept {
  const linger value{on ? 1 : 0, seconds};
  return setsockopt(socket, SOL_SOCKET, SO_LINGER, &value, sizeof value);
}

std::int32_t socket_pending_error(std::int32_t socket, std::int32_t* error) noexcept {
  int value = 0;
  socklen_t size = sizeof value;
  if (getsockopt(socket, SOL_SOCKET, SO_ERROR, &value, &size) < 0) return -1;
  *error = value == 0 ? 0 : winsock_error(value);
  return 0;
}

bool socket_is_open(std::int32_t socket) noexcept {
  int type = 0;
  socklen_t size = sizeof type;
  return getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &size) == 0;
}

bool socket_readable(std::int32_t socket, std::int64_t timeout_us) noexcept {
  return is_ready(socket, POLLIN, timeout_us);
}

bool socket_writable(std::int32_t socket, std::int64_t timeout_us) noexcept {
  return is_ready(socket, POLLOUT, timeout_us);
}

std::int32_t socket_local_address(std::int32_t socket, WireAddress* local) noexcept {
  return named(getsockname, socket, local);
}

std::int32_t socket_peer_address(std::int32_t socket, WireAddress* peer) noexcept {
  return named(getpeername, socket, peer);
}

std::uint32_t numeric_address(const char* text) noexcept {
  return inet_addr(text);
}

std::int32_t resolve_host(const char* host, std::uint32_t* addresses,
                          std::int32_t capacity) noexcept {
  addrinfo wanted{};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;  // without a type each address would come once for every type
  addrinfo* found = nullptr;
  if (getaddrinfo(host, nullptr, &wanted, &found) != 0) return -1;
  std::int32_t count = 0;
  for (const addrinfo* entry = found; entry != nullptr && count < capacity;
       entry = entry->ai_next) {
    addresses[count++] = reinterpret_cast<const sockaddr_in*>(entry->ai_addr)->sin_addr.s_addr;
  }
  freeaddrinfo(found);
  return count;
}

std::int32_t local_host_name(char* buffer, std::int32_t length) noexcept {
  if (length < 1) return fail(EFAULT);
  return gethostname(buffer, static_cast<std::size_t>(length));
}

}  // namespace kiv::platform
