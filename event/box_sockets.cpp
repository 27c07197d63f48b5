// The sockets of a raw box: taking them in, asking about them and giving them away.
#include <algorithm>

#include "event/box_sockets.h"
#include "event/endpoint.h"
#include "event/stream.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

// The order in which a walk shows the sockets: by bucket, and in a bucket the newest first.
constexpr std::int32_t kBuckets = 5120;

// Accepting waits as the listener is set, so it is asked first.
constexpr Wait kAcceptWait{serve_accept, nullptr, nullptr, true};

// Makes a socket that has just been opened the box's own and starts to wait for it; closes it when
// that is not possible.
template <typename SetHandlers>
std::int32_t own(zu_box& box, std::int32_t id, SocketKind kind, SetHandlers set) {
  if (id < 1) return -1;
  Socket* const socket = take_in(box, id, kind);
  if (socket == nullptr) {
    platform::socket_close(id);
    return -1;
  }
  if (set(*socket)) return id;
  delete_socket(box, *socket);
  return -1;
}

// The box forgets a socket with its last wait. That of a queue is none of the application's.
int stop_one_wait(zu_box* box, std::int32_t id, Kind kind) {
  if (!is_usable(box)) return 0;
  Socket* const socket = box->sockets.find(id);
  if (socket == nullptr) return 1;
  const bool is_own = socket->is_own();
  if (socket->wait(kind).serve == serve_queue) return 1;
  remove_wait(*box, kind, *socket);
  if (is_own && !socket->wait(Kind::read).serve && !socket->wait(Kind::except).serve &&
      socket->wait(Kind::write).serve == serve_queue) {
    remove_wait(*box, Kind::write, *socket);
  }
  if (is_own && !socket->is_awaited()) give_away(*box, *socket);
  return 1;
}

int start_import(zu_box* box, std::int32_t socket, Kind kind, zu_event_fn callback,
                 void* argument) {
  return is_usable(box) && socket > 0 && callback != nullptr &&
         add_wait(*box, kind, socket, {serve_import, callback, argument, true});
}

// The newest own socket of a bucket that is older than `number`.
Socket* next_in_bucket(const zu_box& box, std::int32_t bucket, std::int32_t highest,
                       std::uint32_t number) {
  Socket* next = nullptr;
  for (std::int64_t id = bucket; id <= highest; id += kBuckets) {
    Socket* const socket = box.sockets.find(static_cast<std::int32_t>(id));
    if (socket == nullptr || !socket->is_own() || socket->number >= number) continue;
    if (next == nullptr || socket->number > next->number) next = socket;
  }
  return next;
}

}  // namespace

Socket* find_own(const zu_box* box, std::int32_t socket) {
  Socket* const found = is_usable(box) && socket > 0 ? box->sockets.find(socket) : nullptr;
  return found != nullptr && found->is_own() ? found : nullptr;
}

std::int32_t add_tcp_client(zu_box& box, const platform::WireAddress& target,
                            const ClientHandlers& handlers) {
  std::int32_t error = 0;
  const std::int32_t opened = open_tcp_client(target, error);
  return own(box, opened, SocketKind::local_tcp_client, [&](Socket& socket) {
    if (error != 0 && stream_of(socket) != nullptr) socket.stream->error = error;
    socket.connect = handlers.connect;
    socket.failure = handlers.failure;
    socket.read = handlers.read;
    socket.close = handlers.close;
    return add_wait(box, Kind::write, socket.id, {serve_connected}) &&
           add_wait(box, Kind::except, socket.id, {serve_connect_failed});
  });
}

std::int32_t add_udp_client(zu_box& box, const DatagramHandler& datagram) {
  return own(box, open_udp_client(), SocketKind::local_udp_client, [&](Socket& socket) {
    socket.datagram = datagram;
    return add_wait(box, Kind::read, socket.id, {serve_datagram});
  });
}

std::int32_t add_tcp_server(zu_box& box, const platform::WireAddress& local,
                            const AcceptHandler& accept) {
  return own(box, open_tcp_server(local, kListenBacklog), SocketKind::local_tcp_server,
             [&](Socket& socket) {
               socket.accept = accept;
               return add_wait(box, Kind::read, socket.id, kAcceptWait);
             });
}

std::int32_t take_udp_server(zu_box& box, std::int32_t id, const DatagramHandler& datagram) {
  return own(box, id, SocketKind::local_udp_server, [&](Socket& socket) {
    socket.datagram = datagram;
    return add_wait(box, Kind::read, socket.id, {serve_datagram});
  });
}

std::int32_t add_udp_server(zu_box& box, const platform::WireAddress& local,
                            const DatagramHandler& datagram) {
  return take_udp_server(box, open_udp_server(local), datagram);
}

// Reads happen under the lock: one that blocks would stop every caller of the box.
std::int32_t adopt(zu_box& box, std::int32_t id, const ReadHandler& read,
                   const SocketHandler& close) {
  if (id < 1 || find_own(&box, id) != nullptr) return -1;
  if (platform::socket_set_blocking(id, false) != 0) return -1;
  Socket* const socket = take_in(box, id, SocketKind::remote_tcp_client);
  if (socket == nullptr) return -1;
  socket->read = read;
  socket->close = close;
  if (!add_wait(box, Kind::read, id, {serve_stream})) {
    give_away(box, *socket);
    return -1;
  }
  zu_sock_keep_alive(id);
  return id;
}

bool set_backlog(const zu_box& box, std::int32_t listener, std::int32_t backlog) {
  const Socket* const socket = find_own(&box, listener);
  return socket != nullptr && socket->kind == SocketKind::local_tcp_server && backlog > 0 &&
         platform::socket_listen(listener, backlog) == 0;
}

}  // namespace kiv::event

using namespace kiv::event;
using kiv::platform::WireAddress;

std::int32_t KIV_CALL zu_box_sock_AddLocalTcpClient(zu_box* box, const char* host,
                                                    std::uint16_t port, zu_box_socket_fn on_connect,
                                                    void* connect_arg, zu_box_socket_fn on_failure,
                                                    void* failure_arg, zu_box_read_fn on_read,
                                                    void* read_arg, zu_box_socket_fn on_close,
                                                    void* close_arg) KIV_NOEXCEPT {
  WireAddress target;
  if (!is_usable(box) || !find_target(host, port, target)) return -1;
  return add_tcp_client(*box, target,
                        {{on_connect, connect_arg},
                         {on_failure, failure_arg},
                         {on_read, read_arg},
                         {on_close, close_arg}});
}

std::int32_t KIV_CALL zu_box_sock_AddRemoteTcpClient(zu_box* box, std::int32_t socket,
                                                     zu_box_read_fn on_read, void* read_arg,
                                                     zu_box_socket_fn on_close,
                                                     void* close_arg) KIV_NOEXCEPT {
  return is_usable(box) ? adopt(*box, socket, {on_read, read_arg}, {on_close, close_arg}) : -1;
}

std::int32_t KIV_CALL zu_box_sock_AddLocalUdpClient(zu_box* box, const char* host,
                                                    std::uint16_t port,
                                                    zu_box_datagram_fn on_datagram,
                                                    void* datagram_arg) KIV_NOEXCEPT {
  WireAddress target;
  if (!is_usable(box) || !find_target(host, port, target)) return -1;
  return add_udp_client(*box, {on_datagram, datagram_arg});
}

std::int32_t KIV_CALL zu_box_sock_AddLocalTcpServer(zu_box* box, const char* local_ip,
                                                    std::uint16_t port, zu_box_accept_fn on_accept,
                                                    void* accept_arg) KIV_NOEXCEPT {
  WireAddress local;
  if (!is_usable(box) || !find_local(local_ip, port, local)) return -1;
  return add_tcp_server(*box, local, {on_accept, accept_arg});
}

std::int32_t KIV_CALL zu_box_sock_AddLocalUdpServer(zu_box* box, const char* local_ip,
                                                    std::uint16_t port,
                                                    zu_box_datagram_fn on_datagram,
                                                    void* datagram_arg) KIV_NOEXCEPT {
  WireAddress local;
  if (!is_usable(box) || !find_local(local_ip, port, local)) return -1;
  return add_udp_server(*box, local, {on_datagram, datagram_arg});
}

void KIV_CALL zu_box_sock_Delete(zu_box* box, std::int32_t id) KIV_NOEXCEPT {
  Socket* const socket = is_usable(box) && id > 0 ? box->sockets.find(id) : nullptr;
  if (socket != nullptr) delete_socket(*box, *socket);
}

void KIV_CALL zu_box_sock_DeleteThis(zu_box* box) KIV_NOEXCEPT {
  zu_box_sock_Delete(box, zu_box_sock_GetThisId(box));
}

std::int32_t KIV_CALL zu_box_sock_GetThisId(zu_box* box) KIV_NOEXCEPT {
  return is_usable(box) ? box->current_socket.load(std::memory_order_relaxed) : -1;
}

std::int32_t KIV_CALL zu_box_sock_GetNumSock(zu_box* box) KIV_NOEXCEPT {
  return is_usable(box) ? box->own_sockets : -1;
}

int KIV_CALL zu_box_sock_IsExist(zu_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return find_own(box, socket) != nullptr;
}

void KIV_CALL zu_box_sock_foreach(zu_box* box, zu_box_visit_fn visit, void* argument) KIV_NOEXCEPT {
  if (!is_usable(box) || visit == nullptr) return;
  void* const handle = box->handle;
  std::int32_t highest = -1;
  box->sockets.for_each([&](const Socket& socket) { highest = std::max(highest, socket.id); });
  for (std::int32_t bucket = 0; bucket <= std::min(highest, kBuckets - 1); ++bucket) {
    std::uint32_t number = UINT32_MAX;
    while (const Socket* const socket = next_in_bucket(*box, bucket, highest, number)) {
      number = socket->number;
      visit(handle, static_cast<std::int32_t>(socket->kind), socket->id, argument);
    }
  }
}

int KIV_CALL zu_box_sock_SetMaxReadLen(zu_box* box, std::int32_t socket,
                                       std::int32_t length) KIV_NOEXCEPT {
  Socket* const known = find_own(box, socket);
  if (known == nullptr || !known->is_stream()) return 0;
  known->max_read_length = static_cast<std::int16_t>(std::clamp(length, 1, kMaxReadLength));
  return 1;
}

int KIV_CALL zu_box_sock_SetBacklog(zu_box* box, std::int32_t listener,
                                    std::int32_t backlog) KIV_NOEXCEPT {
  return is_usable(box) && set_backlog(*box, listener, backlog);
}

std::int32_t KIV_CALL zu_box_sock_TcpWrite(zu_box*, std::int32_t socket, const void* data,
                                           std::int32_t length) KIV_NOEXCEPT {
  if (data == nullptr || length < 0) return -1;
  return kiv::platform::socket_send(socket, data, length);
}

std::int32_t KIV_CALL zu_box_sock_UdpWrite(zu_box*, std::int32_t socket, const void* data,
                                           std::int32_t length,
                                           const zu_sock_peer* to) KIV_NOEXCEPT {
  return zu_sock_write_ByAddr(socket, data, length, to);
}

std::int32_t KIV_CALL zu_box_sock_UdpWriteByIp(zu_box*, std::int32_t socket, const void* data,
                                               std::int32_t length, const char* ip,
                                               std::uint16_t port) KIV_NOEXCEPT {
  return zu_sock_write_ByPeerIp(socket, data, length, ip, port);
}

int KIV_CALL zu_box_sock_ExportSocketId(zu_box* box, std::int32_t id) KIV_NOEXCEPT {
  if (!is_usable(box)) return 0;
  Socket* const socket = box->sockets.find(id);
  if (socket != nullptr && remove_waits(*box, *socket)) give_away(*box, *socket);
  return 1;
}

int KIV_CALL zu_box_sock_ExportSocketId_ForRead(zu_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return stop_one_wait(box, socket, Kind::read);
}

int KIV_CALL zu_box_sock_ExportSocketId_ForWrite(zu_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return stop_one_wait(box, socket, Kind::write);
}

int KIV_CALL zu_box_sock_ExportSocketId_ForExcept(zu_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return stop_one_wait(box, socket, Kind::except);
}

int KIV_CALL zu_box_sock_ImportSocketId_ForRead(zu_box* box, std::int32_t socket,
                                                zu_event_fn callback, void* argument) KIV_NOEXCEPT {
  return start_import(box, socket, Kind::read, callback, argument);
}

int KIV_CALL zu_box_sock_ImportSocketId_ForWrite(zu_box* box, std::int32_t socket,
                                                 zu_event_fn callback,
                                                 void* argument) KIV_NOEXCEPT {
  return start_import(box, socket, Kind::write, callback, argument);
}

int KIV_CALL zu_box_sock_ImportSocketId_ForExcept(zu_box* box, std::int32_t socket,
                                                  zu_event_fn callback,
                                                  void* argument) KIV_NOEXCEPT {
  return start_import(box, socket, Kind::except, callback, argument);
}
