// The sockets of a raw box: taking them in, asking about them and giving them away.
#include <initializer_list>
#include <new>

#include "base/owned.h"
#include "event/box_core.h"
#include "event/endpoint.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

template <typename Record>
struct SocketBlock {
  SocketEntry entry;
  Record record;
};

template <typename Record>
base::Owned<SocketBlock<Record>> make_block(SocketKind kind) {
  auto block = base::Owned<SocketBlock<Record>>::allocate();
  if (!block) return block;
  new (block.get()) SocketBlock<Record>{{kind, -1, nullptr}, {}};
  block->entry.record = &block->record;
  return block;
}

struct Wait {
  Kind kind;
  zu_event_fn dispatcher;
};

// Puts an entry into the table and starts its waits; all or nothing.
bool take_in(zu_box& box, SocketEntry& entry, std::initializer_list<Wait> waits) {
  if (zu_ihash_insert(box.sockets, entry.socket, &entry) != 1) return false;
  for (const Wait& wait : waits) {
    if (box.engine->add_socket(wait.kind, entry.socket, wait.dispatcher, &box)) continue;
    for (const Wait& begun : waits) {
      if (&begun == &wait) break;
      box.engine->delete_socket(begun.kind, entry.socket);
    }
    zu_ihash_delete(box.sockets, entry.socket);
    return false;
  }
  ++box.socket_count;
  return true;
}

// Opens the endpoint of a new block and takes it in.
template <typename Record>
std::int32_t open_and_take_in(zu_box& box, base::Owned<SocketBlock<Record>>& block,
                              std::initializer_list<Wait> waits) {
  auto& endpoint = block->record.endpoint;
  if (!open(endpoint)) return -1;
  const std::int32_t socket = endpoint.socket;
  block->entry.socket = socket;
  block->record.socket = socket;
  if (!take_in(box, block->entry, waits)) {
    close(endpoint);
    return -1;
  }
  (void)block.release();
  return socket;
}

// The entry leaves the table and is the caller's; null when there is none.
SocketEntry* take_out(zu_box& box, std::int32_t socket) {
  SocketEntry* entry = find_socket(box, socket);
  if (entry == nullptr) return nullptr;
  zu_ihash_delete(box.sockets, socket);
  --box.socket_count;
  return entry;
}

void stop_waiting(zu_box& box, std::int32_t socket) {
  for (const Kind kind : kKinds) box.engine->delete_socket(kind, socket);
}

bool is_awaited(const zu_box& box, std::int32_t socket) {
  for (const Kind kind : kKinds) {
    if (box.engine->find_socket(kind, socket, nullptr)) return true;
  }
  return false;
}

// The box forgets a socket with its last wait.
int stop_one_wait(zu_box* box, std::int32_t socket, Kind kind) {
  if (!is_usable(box)) return 0;
  box->engine->delete_socket(kind, socket);
  if (!is_awaited(*box, socket)) _zu_free(take_out(*box, socket));
  return 1;
}

int start_raw_wait(zu_box* box, std::int32_t socket, Kind kind, zu_event_fn callback,
                   void* argument) {
  return is_usable(box) && socket > 0 && box->engine->add_socket(kind, socket, callback, argument);
}

struct Visit {
  zu_box_visit_fn visit;
  void* handle;
  void* argument;
};

void KIV_CALL visit_entry(void* data, void* user) {
  const auto* entry = static_cast<SocketEntry*>(data);
  const auto* visit = static_cast<Visit*>(user);
  visit->visit(visit->handle, static_cast<std::int32_t>(entry->kind), entry->socket,
               visit->argument);
}

}  // namespace

SocketEntry* find_socket(const zu_box& box, std::int32_t socket) {
  void* entry = nullptr;
  zu_ihash_find(box.sockets, socket, &entry);
  return static_cast<SocketEntry*>(entry);
}

void close_and_free(SocketEntry* entry) {
  switch (entry->kind) {
    case SocketKind::local_tcp_client:
      close(entry->local_tcp_client()->endpoint);
      break;
    case SocketKind::remote_tcp_client:
      platform::socket_close(entry->socket);
      break;
    case SocketKind::local_udp_client:
      close(entry->local_udp_client()->endpoint);
      break;
    case SocketKind::local_tcp_server:
      close(entry->local_tcp_server()->endpoint);
      break;
    case SocketKind::local_udp_server:
      close(entry->local_udp_server()->endpoint);
      break;
  }
  _zu_free(entry);
}

std::int32_t add_tcp_client(zu_box& box, const ClientEndpoint& prepared,
                            const SocketHandler& connect, const SocketHandler& failure,
                            const StreamHandlers& stream) {
  auto block = make_block<LocalTcpClient>(SocketKind::local_tcp_client);
  if (!block) return -1;
  block->record.endpoint = prepared;
  block->record.connect = connect;
  block->record.failure = failure;
  block->record.stream = stream;
  return open_and_take_in(
      box, block, {{Kind::write, dispatch_connected}, {Kind::except, dispatch_connect_failed}});
}

std::int32_t add_udp_client(zu_box& box, const ClientEndpoint& prepared,
                            const DatagramHandler& datagram) {
  auto block = make_block<LocalUdpClient>(SocketKind::local_udp_client);
  if (!block) return -1;
  block->record.endpoint = prepared;
  block->record.datagram = datagram;
  return open_and_take_in(box, block, {{Kind::read, dispatch_datagram}});
}

}  // namespace kiv::event

using namespace kiv::event;

std::int32_t KIV_CALL zu_box_sock_AddLocalTcpClient(zu_box* box, const char* host,
                                                    std::uint16_t port, zu_box_socket_fn on_connect,
                                                    void* connect_arg, zu_box_socket_fn on_failure,
                                                    void* failure_arg, zu_box_read_fn on_read,
                                                    void* read_arg, zu_box_socket_fn on_close,
                                                    void* close_arg) KIV_NOEXCEPT {
  ClientEndpoint endpoint;
  if (!is_usable(box) || !prepare(endpoint, Transport::tcp, host, port)) return -1;
  return add_tcp_client(*box, endpoint, {on_connect, connect_arg}, {on_failure, failure_arg},
                        {{on_read, read_arg}, {on_close, close_arg}});
}

std::int32_t KIV_CALL zu_box_sock_AddRemoteTcpClient(zu_box* box, std::int32_t socket,
                                                     zu_box_read_fn on_read, void* read_arg,
                                                     zu_box_socket_fn on_close,
                                                     void* close_arg) KIV_NOEXCEPT {
  if (!is_usable(box) || socket < 1 || find_socket(*box, socket) != nullptr) return -1;
  auto block = make_block<RemoteTcpClient>(SocketKind::remote_tcp_client);
  // Reads happen under the lock: one that waits would stop every loop that shares it.
  if (!block || kiv::platform::socket_set_blocking(socket, false) != 0) return -1;
  block->entry.socket = socket;
  block->record = {socket, kMaxReadLength, {{on_read, read_arg}, {on_close, close_arg}}};
  if (!take_in(*box, block->entry, {{Kind::read, dispatch_stream}})) return -1;
  (void)block.release();
  zu_sock_keep_alive(socket);
  return socket;
}

std::int32_t KIV_CALL zu_box_sock_AddLocalUdpClient(zu_box* box, const char* host,
                                                    std::uint16_t port,
                                                    zu_box_datagram_fn on_datagram,
                                                    void* datagram_arg) KIV_NOEXCEPT {
  ClientEndpoint endpoint;
  if (!is_usable(box) || !prepare(endpoint, Transport::udp, host, port)) return -1;
  return add_udp_client(*box, endpoint, {on_datagram, datagram_arg});
}

std::int32_t KIV_CALL zu_box_sock_AddLocalTcpServer(zu_box* box, const char* local_ip,
                                                    std::uint16_t port, zu_box_accept_fn on_accept,
                                                    void* accept_arg) KIV_NOEXCEPT {
  if (!is_usable(box)) return -1;
  auto block = make_block<LocalTcpServer>(SocketKind::local_tcp_server);
  if (!block || !prepare(block->record.endpoint, Transport::tcp, local_ip, port)) return -1;
  block->record.accept = {on_accept, accept_arg};
  return open_and_take_in(*box, block, {{Kind::read, dispatch_accept}});
}

std::int32_t KIV_CALL zu_box_sock_AddLocalUdpServer(zu_box* box, const char* local_ip,
                                                    std::uint16_t port,
                                                    zu_box_datagram_fn on_datagram,
                                                    void* datagram_arg) KIV_NOEXCEPT {
  if (!is_usable(box)) return -1;
  auto block = make_block<LocalUdpServer>(SocketKind::local_udp_server);
  if (!block || !prepare(block->record.endpoint, Transport::udp, local_ip, port)) return -1;
  block->record.datagram = {on_datagram, datagram_arg};
  return open_and_take_in(*box, block, {{Kind::read, dispatch_datagram}});
}

void KIV_CALL zu_box_sock_Delete(zu_box* box, std::int32_t socket) KIV_NOEXCEPT {
  if (!is_usable(box) || socket <= 0) return;
  stop_waiting(*box, socket);
  SocketEntry* entry = take_out(*box, socket);
  if (entry != nullptr) close_and_free(entry);
}

void KIV_CALL zu_box_sock_DeleteThis(zu_box* box) KIV_NOEXCEPT {
  zu_box_sock_Delete(box, zu_box_sock_GetThisId(box));
}

std::int32_t KIV_CALL zu_box_sock_GetThisId(zu_box* box) KIV_NOEXCEPT {
  return is_usable(box) ? box->engine->this_socket() : -1;
}

std::int32_t KIV_CALL zu_box_sock_GetNumSock(zu_box* box) KIV_NOEXCEPT {
  return is_usable(box) ? box->socket_count : -1;
}

int KIV_CALL zu_box_sock_IsExist(zu_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return is_usable(box) && socket > 0 && find_socket(*box, socket) != nullptr;
}

void KIV_CALL zu_box_sock_foreach(zu_box* box, zu_box_visit_fn visit, void* argument) KIV_NOEXCEPT {
  if (!is_usable(box) || visit == nullptr) return;
  Visit state{visit, box->handle, argument};
  zu_ihash_foreach(box->sockets, visit_entry, &state);
}

int KIV_CALL zu_box_sock_SetMaxReadLen(zu_box* box, std::int32_t socket,
                                       std::int32_t length) KIV_NOEXCEPT {
  SocketEntry* entry = is_usable(box) && socket > 0 ? find_socket(*box, socket) : nullptr;
  if (entry == nullptr) return 0;
  if (length < 1) length = 1;
  if (length > kMaxReadLength) length = kMaxReadLength;
  if (LocalTcpClient* local = entry->local_tcp_client()) {
    local->max_read_length = length;
  } else if (RemoteTcpClient* remote = entry->remote_tcp_client()) {
    remote->max_read_length = length;
  } else {
    return 0;
  }
  return 1;
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

int KIV_CALL zu_box_sock_ExportSocketId(zu_box* box, std::int32_t socket) KIV_NOEXCEPT {
  if (!is_usable(box)) return 0;
  stop_waiting(*box, socket);
  _zu_free(take_out(*box, socket));
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
  return start_raw_wait(box, socket, Kind::read, callback, argument);
}

int KIV_CALL zu_box_sock_ImportSocketId_ForWrite(zu_box* box, std::int32_t socket,
                                                 zu_event_fn callback,
                                                 void* argument) KIV_NOEXCEPT {
  return start_raw_wait(box, socket, Kind::write, callback, argument);
}

int KIV_CALL zu_box_sock_ImportSocketId_ForExcept(zu_box* box, std::int32_t socket,
                                                  zu_event_fn callback,
                                                  void* argument) KIV_NOEXCEPT {
  return start_raw_wait(box, socket, Kind::except, callback, argument);
}
