// The clients of a big box: how they come, how they are spread over the slaves, how they go.
#include "base/str.h"
#include "event/bigbox.h"
#include "event/stream.h"
#include "platform/socket.h"
#include "platform/thread.h"

namespace kiv::event {
namespace {

struct Peer {
  char ip[kPeerText] = {};
  std::uint16_t port = 0;
};

bool ask_for_peer(std::int32_t socket, Peer& peer) {
  return zu_sock_GetPeer(socket, peer.ip, sizeof peer.ip, &peer.port) == 1;
}

// One whose loop has ended, as its wait failed, serves nobody.
bool is_alive(Slave& slave) {
  if (!slave.is_dead) slave.is_dead = on_slave(slave, kNoWake, [](zu_box&) { return 1; }) == 0;
  return !slave.is_dead;
}

// The first in the order of thread ids among those with the fewest clients; null when none lives.
Slave* least_loaded_slave(kiv_bigbox& big) {
  for (;;) {
    Slave* best = nullptr;
    for (std::int32_t i = 0; i < big.slave_count; ++i) {
      Slave& slave = big.slaves[i];
      if (slave.is_dead) continue;
      if (best == nullptr || slave.client_count < best->client_count) best = &slave;
    }
    if (best == nullptr || is_alive(*best)) return best;
  }
}

constexpr Wait wait_of(Kind kind, Client& client) {
  return kind == Kind::read ? Wait{serve_client_read, nullptr, &client, false}
                            : Wait{serve_client_write, nullptr, &client, true};
}

bool start_wait(Client& client, Kind kind) {
  const Wake wake = kind == Kind::read ? Wake::always("ImportSockId_ForRead")
                                       : Wake::always("ImportSockId_ForWrite");
  const int started = on_slave(*client.slave, wake, [&](zu_box& raw) {
    return add_wait(raw, kind, client.socket, wait_of(kind, client)) ? 1 : 0;
  });
  client.waits_for[index_of(kind)] = started == 1;
  return started == 1;
}

// Not more than the client began: the socket may also be one of the slave's own.
void stop_wait(Client& client, Kind kind) {
  if (!client.waits_for[index_of(kind)]) return;
  client.waits_for[index_of(kind)] = false;
  on_slave(*client.slave, Wake::always("ExportSockId"), [&](zu_box& raw) {
    Socket* const socket = raw.sockets.find(client.socket);
    if (socket != nullptr && socket->wait(kind).user == &client) remove_wait(raw, kind, *socket);
    return 1;
  });
}

// Changes the handlers of a client that may be served at this moment.
template <typename SetHandlers>
void set_handlers(Client& client, SetHandlers set) {
  on_slave(*client.slave, kNoWake, [&](zu_box&) {
    set(client);
    return 1;
  });
}

// A client with nothing but its handlers changed by `set` starts to wait for one kind.
template <typename SetHandlers>
bool add_client(kiv_bigbox& big, std::int32_t socket, const Peer& peer, Kind kind,
                SetHandlers set) {
  Slave* const slave = least_loaded_slave(big);
  auto client = base::make<Client>(&big, slave, socket);
  // A read or write that blocks would stop the slave, or delay who deletes the client.
  if (slave == nullptr || !client || platform::socket_set_blocking(socket, false) != 0) {
    return false;
  }
  base::copy_within(client->peer_ip, kPeerText, peer.ip);
  client->peer_port = peer.port;
  set(*client);
  if (!big.clients.insert(socket, client.get())) return false;
  if (!start_wait(*client, kind)) {
    big.clients.erase(socket);
    return false;
  }
  ++slave->client_count;
  (void)client.release();
  return true;
}

// Takes the client out of the table; it waits for nothing any more.
void forget(kiv_bigbox& big, Client& client) {
  --client.slave->client_count;
  big.clients.erase(client.socket);
  release_client(client);
}

// Gives a client, or what becomes one, new handlers and lets it wait for one kind.
template <typename SetHandlers>
int import(kiv_bigbox* big, std::int32_t socket, Kind kind, SetHandlers set) {
  return on_live_bigbox(big, 0, [&](kiv_bigbox& live) {
    Client* const client = live.clients.find(socket);
    if (client == nullptr) {
      Peer peer;
      return ask_for_peer(socket, peer) && add_client(live, socket, peer, kind, set) ? 1 : 0;
    }
    set_handlers(*client, set);  // before the wait: it may be served at once
    return client->waits_for[index_of(kind)] || start_wait(*client, kind) ? 1 : 0;
  });
}

template <typename ClearHandlers>
int stop_waiting(kiv_bigbox* big, std::int32_t socket, Kind kind, ClearHandlers clear) {
  return on_live_bigbox(big, 0, [&](kiv_bigbox& live) {
    Client* const client = live.clients.find(socket);
    if (client == nullptr) return 0;
    stop_wait(*client, kind);
    set_handlers(*client, clear);
    if (!client->waits_for[0] && !client->waits_for[1]) forget(live, *client);
    return 1;
  });
}

// Sends on the slave's box, whose lock keeps the socket the client's meanwhile.
std::int32_t send_on_this_slave(kiv_bigbox* big, std::int32_t socket, const void* data,
                                std::int32_t length, bool& is_ours) {
  return on_live_box(box_of_this_thread(), 0, kNoWake, [&](kiv_box& live) {
    is_ours = client_of(*live.raw, big, socket) != nullptr;
    return is_ours ? platform::socket_send(socket, data, length) : 0;
  });
}

// Forgets the queue and the limits of a client; true when its socket was to be closed.
bool release_stream(zu_box& raw, const Client& client) {
  Socket* const socket = raw.sockets.find(client.socket);
  if (socket == nullptr || socket->is_own() || socket->stream == nullptr) return false;
  if (socket->wait(Kind::read).user != &client) return false;
  const bool is_closing = socket->stream->is_closing;
  drop_stream(*socket);
  if (socket->wait(Kind::write).serve == serve_queue) remove_wait(raw, Kind::write, *socket);
  return is_closing;
}

}  // namespace

Client* client_of(const zu_box& raw, const kiv_bigbox* big, std::int32_t id) {
  Socket* const socket = raw.sockets.find(id);
  if (socket == nullptr) return nullptr;
  for (const Wait& wait : socket->waits) {
    if (wait.serve != serve_client_read && wait.serve != serve_client_write) continue;
    auto* const client = static_cast<Client*>(wait.user);
    if (client->big == big) return client;
  }
  return nullptr;
}

void release_client(Client& client) {
  const bool is_closing = on_slave(*client.slave, kNoWake, [&](zu_box& raw) {
                            return release_stream(raw, client) ? 1 : 0;
                          }) == 1;
  stop_wait(client, Kind::read);
  stop_wait(client, Kind::write);
  if (is_closing) platform::socket_close(client.socket);
  base::destroy(&client);
}

bool close_done_client(void* big, std::int32_t socket) {
  return on_live_bigbox(static_cast<kiv_bigbox*>(big), false, [=](kiv_bigbox& live) {
    Client* const client = live.clients.find(socket);
    if (client == nullptr) return false;
    const int is_done = on_slave(*client->slave, kNoWake, [=](zu_box& raw) {
      const Socket* const known = raw.sockets.find(socket);
      return known != nullptr && known->stream != nullptr && known->stream->is_done ? 1 : 0;
    });
    if (is_done == 1) forget(live, *client);
    return is_done == 1;
  });
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
      base::copy_within(peer.ip, kPeerText, peer_ip);
      peer.port = peer_port;
    } else if (!ask_for_peer(socket, peer)) {
      return 0;
    }
    if (live.clients.find(socket) != nullptr) return 0;
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
  bool is_ours = false;
  const std::int32_t sent = send_on_this_slave(big, socket, data, length, is_ours);
  if (is_ours) return sent;
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    const Client* const client = live.clients.find(socket);
    if (client == nullptr) return 0;
    std::int32_t result = -1;
    on_slave(*client->slave, kNoWake, [&](zu_box&) {
      result = platform::socket_send(socket, data, length);
      return 1;
    });
    return result;
  });
}

std::int32_t KIV_CALL kivx_bigbox_write(std::int32_t socket, const void* data,
                                        std::int32_t length) KIV_NOEXCEPT {
  return zu_box_sock_TcpWrite(nullptr, socket, data, length);
}

void KIV_CALL kiv_bigbox_DeleteSock(kiv_bigbox* big, std::int32_t socket) KIV_NOEXCEPT {
  on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    if (Client* const client = live.clients.find(socket)) {
      forget(live, *client);
    } else if (Listener* const listener = live.listeners.find(socket)) {
      live.listeners.erase(socket);
      release_listener(live, *listener);
    } else {
      delete_on_master(live, socket);
    }
    return 1;
  });
}

kiv_box* KIV_CALL kiv_bigbox_GetSlaveBox(kiv_bigbox* big, std::int32_t socket) KIV_NOEXCEPT {
  return on_live_bigbox<kiv_box*>(big, nullptr, [=](kiv_bigbox& live) {
    const Client* const client = live.clients.find(socket);
    return client == nullptr ? nullptr : client->slave->box;
  });
}

int KIV_CALL kiv_bigbox_GetSockIP(kiv_bigbox* big, std::int32_t socket, char* text,
                                  std::int32_t size, std::uint16_t* port) KIV_NOEXCEPT {
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    const Client* const client = live.clients.find(socket);
    if (client == nullptr) return 0;
    if (text != nullptr && size > 0) {
      base::copy_within(text, static_cast<std::size_t>(size), client->peer_ip);
    }
    if (port != nullptr) *port = client->peer_port;
    return 1;
  });
}

int KIV_CALL kivx_bigbox_Post(kiv_bigbox* big, std::int32_t socket, zu_box_post_fn function,
                              void* argument, zu_event_fn release) KIV_NOEXCEPT {
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    const Client* const client = live.clients.find(socket);
    if (client == nullptr) return 0;
    Slave& slave = *client->slave;
    return on_slave(slave, kNoWake, [&](zu_box&) {
      return post(slave.box, {function, argument, release, &live}) ? 1 : 0;
    });
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
