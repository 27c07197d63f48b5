// What happens when a socket of a raw box is ready: the engine's bare callback becomes one
// application callback.
#include "event/box_core.h"
#include "event/ip_text.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

// The socket being served, with the box locked until the application is called.
struct Served {
  explicit Served(void* argument)
      : box(*static_cast<zu_box*>(argument)),
        guard(box.lock),
        socket(box.engine->this_socket()),
        entry(find_socket(box, socket)),
        handle(box.handle) {}

  zu_box& box;
  base::Guard guard;
  std::int32_t socket;
  SocketEntry* entry;  // null when another thread was faster
  void* handle;
};

struct Stream {
  std::int32_t max_read_length;
  StreamHandlers handlers;
};

bool stream_of(SocketEntry* entry, Stream& stream) {
  if (entry == nullptr) return false;
  if (const LocalTcpClient* local = entry->local_tcp_client()) {
    stream = {local->max_read_length, local->stream};
  } else if (const RemoteTcpClient* remote = entry->remote_tcp_client()) {
    stream = {remote->max_read_length, remote->stream};
  } else {
    return false;
  }
  return true;
}

bool datagram_handler_of(SocketEntry* entry, DatagramHandler& handler) {
  if (entry == nullptr) return false;
  if (const LocalUdpClient* client = entry->local_udp_client()) {
    handler = client->datagram;
  } else if (const LocalUdpServer* server = entry->local_udp_server()) {
    handler = server->datagram;
  } else {
    return false;
  }
  return true;
}

// The waits of a connecting socket are over, however it went. Null, and no change, when another
// thread deleted it just now, even if a new client has its number already.
LocalTcpClient* end_connecting(Served& served, Kind kind) {
  Engine& engine = *served.box.engine;
  if (served.entry == nullptr || !engine.sockets.took_part(kind, served.socket)) return nullptr;
  engine.delete_socket(Kind::write, served.socket);
  engine.delete_socket(Kind::except, served.socket);
  return served.entry->local_tcp_client();
}

// Asks for the error once, since asking clears it. A connect that failed within the call has left
// no error to ask for, but no peer either.
bool is_connected(std::int32_t socket) {
  std::int32_t error = 0;
  platform::WireAddress peer;
  return platform::socket_pending_error(socket, &error) == 0 && error == 0 &&
         platform::socket_peer_address(socket, &peer) == 0;
}

}  // namespace

void KIV_CALL dispatch_stream(void* box) {
  char data[kMaxReadLength + 1];
  Stream stream;
  Served served(box);
  if (!stream_of(served.entry, stream)) return;
  const std::int32_t length = platform::socket_receive(served.socket, data, stream.max_read_length);
  if (length > 0) {
    data[length] = '\0';
    served.guard.unlock();
    stream.handlers.read(served.handle, served.socket, data, length);
    return;
  }
  if (length < 0 && platform::last_error() == platform::kWouldBlock) return;
  // deliberate: the socket stays in the box, closed by the peer but not here, until the
  // application deletes it.
  served.box.engine->delete_socket(Kind::read, served.socket);
  served.guard.unlock();
  stream.handlers.close(served.handle, served.socket);
}

void KIV_CALL dispatch_datagram(void* box) {
  char data[kMaxReadLength + 1];
  zu_sock_peer from = {};
  DatagramHandler handler;
  Served served(box);
  if (!datagram_handler_of(served.entry, handler)) return;
  std::int32_t length = zu_sock_read_ByAddr(served.socket, data, kMaxReadLength, &from);
  if (length < 0) {
    if (platform::last_error() == platform::kWouldBlock) return;
    length = 0;
    from = {};
  }
  data[length] = '\0';
  served.guard.unlock();
  handler(served.handle, served.socket, data, length, &from);
}

void KIV_CALL dispatch_accept(void* box) {
  Served served(box);
  LocalTcpServer* server = served.entry != nullptr ? served.entry->local_tcp_server() : nullptr;
  if (server == nullptr) return;
  platform::WireAddress peer;
  const std::int32_t client = platform::socket_accept(served.socket, &peer);
  if (client < 1) return;
  ++server->endpoint.accepted;
  const AcceptHandler handler = server->accept;
  served.guard.unlock();
  if (handler.callback == nullptr) {
    platform::socket_close(client);
    return;
  }
  zu_sock_keep_alive(client);
  handler(served.handle, served.socket, client, IpText(peer.address).text,
          platform::swap_order(peer.port));
}

void KIV_CALL dispatch_connected(void* box) {
  Served served(box);
  const LocalTcpClient* client = end_connecting(served, Kind::write);
  if (client == nullptr) return;
  SocketHandler outcome = client->failure;
  if (is_connected(served.socket)) {
    Engine& engine = *served.box.engine;
    if (engine.add_socket(Kind::read, served.socket, dispatch_stream, box)) {
      zu_sock_keep_alive(served.socket);
      outcome = client->connect;
    } else if (engine.find_socket(Kind::read, served.socket, nullptr)) {
      return;
    }
  }
  served.guard.unlock();
  outcome(served.handle, served.socket);
}

void KIV_CALL dispatch_connect_failed(void* box) {
  Served served(box);
  const LocalTcpClient* client = end_connecting(served, Kind::except);
  if (client == nullptr) return;
  const SocketHandler failure = client->failure;
  served.guard.unlock();
  failure(served.handle, served.socket);
}

}  // namespace kiv::event
