// The server of virtual connections: its life, attaching, and what the application does to clients.
#include "protocol/uvs.h"

#include "base/owned.h"
#include "event/endpoint.h"
#include "event/kiv_box_verbs.h"

namespace kiv::protocol::uv {
namespace {

using LockedServer = base::Locked<kiv_uvs>;

constexpr std::int32_t kServerBuffer = 0x100000;
constexpr char kOwnSocketHost[] = "127.0.0.1";
constexpr std::uint16_t kOwnSocketPort = 82;

struct Handlers {
  kiv_uvs_connect_fn on_connect;
  void* spare;
  kiv_uvs_foreign_fn on_foreign;
  void* argument;
};

enum class Ownership { own, given };

void release(kiv_uvs& server) {
  if (server.keep_alive_timer > 0) event::delete_timer(server.link.box, server.keep_alive_timer);
  server.keep_alive_timer = 0;
  if (server.link.socket > 0) {
    event::export_socket(server.link.box, server.link.socket, event::Kind::read);
    const std::uint32_t wait = event::current_wait(server.link.box);
    server.link.close();
    event::wait_until_over(server.link.box, wait);  // now its port is free
  }
  free_tables(server);
}

bool start(kiv_uvs& server) {
  // The larger one where the system allows it.
  event::set_buffers(server.link.socket, kServerBuffer, kServerBuffer);
  server.keep_alive_pace.start();
  server.keep_alive_timer =
      event::add_loop_timer(server.link.box, kKeepAliveMs, {keep_alive_tick, &server});
  return server.keep_alive_timer > 0;
}

bool open_link(kiv_uvs& server, kiv_box* box, std::int32_t socket, Ownership ownership) {
  return ownership == Ownership::own ? server.link.open_own(box, socket, serve_peers, &server)
                                     : server.link.open_given(box, socket, serve_peers, &server);
}

// The server is released before: its socket may hold the port that `make_socket` asks for.
template <typename MakeSocket>
int attach(kiv_box* box, kiv_uvs* server, const Handlers& handlers, Ownership ownership,
           MakeSocket make_socket) {
  if (box == nullptr) return 0;
  const LockedServer locked(server);
  if (!locked) return 0;
  release(*server);
  server->on_connect = handlers.on_connect;
  server->spare = handlers.spare;
  server->on_foreign = handlers.on_foreign;
  server->argument = handlers.argument;
  server->current_id = -1;
  if (make_tables(*server) && open_link(*server, box, make_socket(), ownership) && start(*server)) {
    return 1;
  }
  release(*server);
  return 0;
}

}  // namespace
}  // namespace kiv::protocol::uv

using namespace kiv::protocol::uv;

kiv_uvs* KIV_CALL kiv_uvs_make() KIV_NOEXCEPT {
  auto server = kiv::base::make<kiv_uvs>();
  if (!server || !kiv::base::insert_object(server.get())) return nullptr;
  server->current_id = -1;
  return server.release();
}

int KIV_CALL kivx_uvs_attach(kiv_box* box, kiv_uvs* server, int32_t socket,
                             kiv_uvs_connect_fn on_connect, void* spare,
                             kiv_uvs_foreign_fn on_foreign, void* argument) KIV_NOEXCEPT {
  const Handlers handlers{on_connect, spare, on_foreign, argument};
  if (socket > 0) {
    return attach(box, server, handlers, Ownership::given, [=] { return socket; });
  }
  // deliberate: a client's socket serves as well as a server's; host and port are only checked.
  return attach(box, server, handlers, Ownership::own, [=] {
    return kiv::event::add_udp_client(box, kOwnSocketHost, kOwnSocketPort, {ignore_datagram});
  });
}

int KIV_CALL kiv_uvs_attach(kiv_box* box, kiv_uvs* server, uint16_t port,
                            kiv_uvs_connect_fn on_connect, void* spare,
                            kiv_uvs_foreign_fn on_foreign, void* argument) KIV_NOEXCEPT {
  const Handlers handlers{on_connect, spare, on_foreign, argument};
  return attach(box, server, handlers, Ownership::own,
                [=] { return kiv::event::add_udp_server(box, nullptr, port, {ignore_datagram}); });
}

int KIV_CALL kiv_uvs_AcceptClient(kiv_uvs* server, int32_t client, kiv_uvs_data_fn on_data,
                                  void* data_arg, kiv_uvs_close_fn on_close,
                                  void* close_arg) KIV_NOEXCEPT {
  const LockedServer locked(server);
  Peer* const peer = locked ? find_by_id(*server, client) : nullptr;
  if (peer == nullptr) return 0;
  peer->on_data = {on_data, data_arg};
  peer->on_close = {on_close, close_arg};
  return 1;
}

int32_t KIV_CALL kiv_uvs_write(kiv_uvs* server, int32_t client, const void* bytes,
                               int32_t length) KIV_NOEXCEPT {
  const LockedServer locked(server);
  Peer* const peer = locked ? find_by_id(*server, client) : nullptr;
  if (peer == nullptr) return 0;
  const std::int32_t sent = server->link.send_data(peer->sender(), server->sent, bytes, length);
  if (sent > 0) peer->sent_recently = 1;
  return sent;
}

int KIV_CALL kiv_uvs_DeleteClient(kiv_uvs* server, int32_t client) KIV_NOEXCEPT {
  const LockedServer locked(server);
  Peer* const peer = locked ? find_by_id(*server, client) : nullptr;
  if (peer == nullptr) return 0;
  if (peer->state == PeerState::connected) {
    server->link.send_control(peer->sender(), Type::close, kNoCode, peer->session);
  }
  delete_peer(*server, peer);
  return 1;
}

int32_t KIV_CALL kiv_uvs_GetThisClientId(kiv_uvs* server) KIV_NOEXCEPT {
  const LockedServer locked(server);
  return locked ? server->current_id : 0;
}

int KIV_CALL kiv_uvs_free(kiv_uvs* server) KIV_NOEXCEPT {
  LockedServer locked(server);
  if (!locked) return 0;
  release(*server);
  kiv::base::objects().remove(server);
  kiv::base::destroy(server);
  return locked.unlock();
}
