// The clients of a big box: how they come, how they are spread over the slaves, how they go.
#include <new>

#include "base/owned.h"
#include "event/bigbox_core.h"
#include "event/bigbox_registry.h"
#include "platform/clock.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

constexpr std::int32_t kMoreThanAnySlaveHas = 1000000;

struct Peer {
  char ip[kPeerText] = {};
  std::uint16_t port = 0;
};

bool ask_for_peer(std::int32_t socket, Peer& peer) {
  return zu_sock_GetPeer(socket, peer.ip, sizeof peer.ip, &peer.port) == 1;
}

struct Choice {
  Slave* best = nullptr;
  std::int32_t fewest = 0;
};

void KIV_CALL compare_slave(void* data, void* user) {
  auto* slave = static_cast<Slave*>(data);
  auto* choice = static_cast<Choice*>(user);
  const std::int32_t clients = zu_itree_nnodes(slave->clients);
  if (clients >= choice->fewest) return;
  *choice = {slave, clients};
}

// The first in the order of thread ids among those with the fewest clients.
Slave* least_loaded_slave(const kiv_bigbox& big) {
  Choice choice{nullptr, big.max_clients + kMoreThanAnySlaveHas};
  zu_itree_foreach(big.slaves, compare_slave, &choice);
  return choice.best;
}

// How a slave's box waits for one kind, and stops to.
struct Wait {
  int(KIV_CALL* start)(kiv_box*, std::int32_t, zu_event_fn, void*);
  int(KIV_CALL* stop)(kiv_box*, std::int32_t);
  zu_event_fn dispatch;
};
constexpr Wait kWaits[] = {
    {kivx_box_ImportSockId_ForRead, kivx_box_ExportSockId_ForRead, dispatch_client_read},
    {kivx_box_ImportSockId_ForWrite, kivx_box_ExportSockId_ForWrite, dispatch_client_write},
};

bool start_wait(kiv_bigbox& big, Client& client, Kind kind) {
  const Wait& wait = kWaits[index_of(kind)];
  const bool started = wait.start(client.slave_box, client.socket, wait.dispatch, &big) == 1;
  client.waits_for[index_of(kind)] = started;
  return started;
}

void stop_wait(Client& client, Kind kind) {
  if (!client.waits_for[index_of(kind)]) return;
  kWaits[index_of(kind)].stop(client.slave_box, client.socket);
  client.waits_for[index_of(kind)] = false;
}

// Until then the slave may be taking bytes from the socket.
void wait_until_unused(const Client& client) {
  while (client.users.load(std::memory_order_acquire) != 0) platform::sleep_ms(0);
}

// Takes the client out of both trees; it waits for nothing any more.
void forget(kiv_bigbox& big, Client* client) {
  zu_itree_delete(find_slave(big, client->slave_thread)->clients, client->socket);
  zu_itree_delete(big.clients, client->socket);
}

bool remember(kiv_bigbox& big, Slave& slave, Client* client) {
  if (zu_itree_insert(big.clients, client->socket, client) != 1) return false;
  if (zu_itree_insert(slave.clients, client->socket, client) == 1) return true;
  zu_itree_delete(big.clients, client->socket);
  return false;
}

// A client with nothing but its handlers changed by `set` starts to wait for one kind.
template <typename SetHandlers>
bool add_client(kiv_bigbox& big, std::int32_t socket, const Peer& peer, Kind kind,
                SetHandlers set) {
  Slave* slave = least_loaded_slave(big);
  auto memory = base::Owned<Client>::allocate();
  // A read or write that waits would stop the slave, or hold up who deletes the client.
  if (slave == nullptr || !memory || platform::socket_set_blocking(socket, false) != 0) {
    return false;
  }
  auto* client = new (memory.get()) Client;
  client->slave_thread = slave->thread;
  client->slave_box = slave->box;
  client->socket = socket;
  client->peer_ip = client->text;
  zu_strncpy(client->text, peer.ip, kPeerText - 1);
  client->peer_port = peer.port;
  set(*client);
  if (!start_wait(big, *client, kind)) return false;
  if (!remember(big, *slave, client)) {
    stop_wait(*client, kind);
    return false;
  }
  (void)memory.release();
  return true;
}

// Gives a client, or what becomes one, new handlers and lets it wait for one kind.
template <typename SetHandlers>
int import(kiv_bigbox* big, std::int32_t socket, Kind kind, SetHandlers set) {
  return on_live_bigbox(big, 0, [&](kiv_bigbox& live) {
    Client* client = find_client(live, socket);
    if (client == nullptr) {
      Peer peer;
      return ask_for_peer(socket, peer) && add_client(live, socket, peer, kind, set) ? 1 : 0;
    }
    if (!client->waits_for[index_of(kind)] && !start_wait(live, *client, kind)) return 0;
    set(*client);
    return 1;
  });
}

template <typename ClearHandlers>
int stop_waiting(kiv_bigbox* big, std::int32_t socket, Kind kind, ClearHandlers clear) {
  return on_live_bigbox(big, 0, [&](kiv_bigbox& live) {
    Client* client = find_client(live, socket);
    if (client == nullptr) return 0;
    stop_wait(*client, kind);
    wait_until_unused(*client);
    clear(*client);
    if (!client->waits_for[0] && !client->waits_for[1]) {
      forget(live, client);
      release_client(client);
    }
    return 1;
  });
}

Client* use_client(kiv_bigbox* big, std::int32_t socket) {
  return on_live_bigbox<Client*>(big, nullptr, [=](kiv_bigbox& live) {
    Client* client = find_client(live, socket);
    if (client != nullptr) begin_use(*client);
    return client;
  });
}

}  // namespace

void release_client(Client* client) {
  // Not more than the client began: the socket may also be one of the slave's own.
  stop_wait(*client, Kind::read);
  stop_wait(*client, Kind::write);
  wait_until_unused(*client);
  _zu_free(client);
}

}  // namespace kiv::event

using namespace kiv;
using namespace kiv::event;

int KIV_CALL kiv_bigbox_accept(kiv_bigbox* big, std::int32_t socket, const char* peer_ip,
                               std::uint16_t peer_port, zu_box_read_fn on_read, void* read_arg,
                               zu_box_socket_fn on_close, void* close_arg) KIV_NOEXCEPT {
  if (socket < 1) return 0;
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    Peer peer;
    if (peer_ip != nullptr) {
      zu_strncpy(peer.ip, peer_ip, kPeerText - 1);
      peer.port = peer_port;
    } else if (!ask_for_peer(socket, peer)) {
      return 0;
    }
    if (find_client(live, socket) != nullptr) return 0;
    return add_client(live, socket, peer, Kind::read,
                      [=](Client& client) {
                        client.read = {on_read, read_arg};
                        client.close = {on_close, close_arg};
                      })
               ? 1
               : 0;
  });
}

std::int32_t KIV_CALL kiv_bigbox_write(kiv_bigbox* big, std::int32_t socket, const void* data,
                                       std::int32_t length) KIV_NOEXCEPT {
  if (data == nullptr || length <= 0) return 0;
  Client* client = use_client(big, socket);
  if (client == nullptr) return 0;
  // Sent without a lock: two slaves write at the same time.
  const std::int32_t sent =
      kivx_box_IsValid(client->slave_box) == 1 ? platform::socket_send(socket, data, length) : -1;
  end_use(*client);
  return sent;
}

std::int32_t KIV_CALL kivx_bigbox_write(std::int32_t socket, const void* data,
                                        std::int32_t length) KIV_NOEXCEPT {
  return zu_box_sock_TcpWrite(nullptr, socket, data, length);
}

void KIV_CALL kiv_bigbox_DeleteSock(kiv_bigbox* big, std::int32_t socket) KIV_NOEXCEPT {
  on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    if (Client* client = find_client(live, socket)) {
      forget(live, client);
      release_client(client);
    } else if (Listener* listener = find_listener(live, socket)) {
      zu_itree_delete(live.listeners, socket);
      release_listener(live.master, listener);
    } else {
      kiv_box_DeleteSock(live.master, socket);
    }
    return 1;
  });
}

kiv_box* KIV_CALL kiv_bigbox_GetSlaveBox(kiv_bigbox* big, std::int32_t socket) KIV_NOEXCEPT {
  return on_live_bigbox<kiv_box*>(big, nullptr, [=](kiv_bigbox& live) {
    const Client* client = find_client(live, socket);
    return client == nullptr ? nullptr : client->slave_box;
  });
}

int KIV_CALL kiv_bigbox_GetSockIP(kiv_bigbox* big, std::int32_t socket, char* text,
                                  std::int32_t size, std::uint16_t* port) KIV_NOEXCEPT {
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    const Client* client = find_client(live, socket);
    if (client == nullptr) return 0;
    if (text != nullptr && size > 0) zu_strncpy(text, client->peer_ip, size - 1);
    if (port != nullptr) *port = client->peer_port;
    return 1;
  });
}

int KIV_CALL kivx_bigbox_import_ForRead(kiv_bigbox* big, std::int32_t socket,
                                        zu_box_read_fn on_read, void* read_arg,
                                        zu_box_socket_fn on_close, void* close_arg) KIV_NOEXCEPT {
  return import(big, socket, Kind::read, [=](Client& client) {
    client.read = {on_read, read_arg};
    client.close = {on_close, close_arg};
  });
}

int KIV_CALL kivx_bigbox_import_ForWrite(kiv_bigbox* big, std::int32_t socket,
                                         zu_box_socket_fn on_write, void* write_arg) KIV_NOEXCEPT {
  if (on_write == nullptr) return 0;
  return import(big, socket, Kind::write, [=](Client& client) {
    client.writable = {on_write, write_arg};
  });
}

int KIV_CALL kivx_bigbox_export_ForRead(kiv_bigbox* big, std::int32_t socket) KIV_NOEXCEPT {
  return stop_waiting(big, socket, Kind::read, [](Client& client) {
    client.read = {};
    client.close = {};
  });
}

int KIV_CALL kivx_bigbox_export_ForWrite(kiv_bigbox* big, std::int32_t socket) KIV_NOEXCEPT {
  return stop_waiting(big, socket, Kind::write, [](Client& client) { client.writable = {}; });
}
