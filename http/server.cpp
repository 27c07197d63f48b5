// The HTTP server: connections of a box, each with a request filter.
#include <memory>

#include "base/kiv_sem.h"
#include "base/owned.h"
#include "event/kiv_box_verbs.h"
#include "http/filter.h"
#include "platform/socket.h"

namespace kiv::http {
namespace {

constexpr std::int32_t kSendBuffer = 32768;
constexpr std::int32_t kReceiveBuffer = 524288;

using OwnedFilter = std::unique_ptr<kiv_http_filter, FreedBy<kiv_http_filter_request_free>>;

struct Client {
  std::int32_t socket;
  char* reserved_text;
  std::int32_t timer;  // -1: none
  kiv_http_filter* filter;
  kiv_http_server_request_fn on_request;
  void* request_user;
  kiv_http_server_close_fn on_close;
  void* close_user;
};

}  // namespace
}  // namespace kiv::http

struct kiv_http_server {
  kiv_box* box;
  std::int32_t listener;  // -1: none
  char* reserved_text;
  std::uint16_t port;
  kiv_http_server_accept_fn on_accept;
  void* accept_user;
  zu_itree* clients;  // by socket
};

namespace kiv::http {
namespace {

class Locked : public base::Locked<kiv_http_server> {
 public:
  using base::Locked<kiv_http_server>::Locked;

  Client* client(std::int32_t socket) const {
    void* found = nullptr;
    zu_itree_find(get()->clients, socket, &found);
    return static_cast<Client*>(found);
  }
};

void KIV_CALL free_client(void* data, void* box) {
  auto* client = static_cast<Client*>(data);
  auto* owner = static_cast<kiv_box*>(box);
  kiv_box_DeleteSock(owner, client->socket);
  if (client->timer != -1) kiv_box_DeleteTimer(owner, client->timer);
  kiv_http_filter_request_free(client->filter);
  _zu_free(client->reserved_text);
  _zu_free(client);
}

// Takes a client out and frees it with its socket.
void delete_client(const Locked& server, Client* client) {
  zu_itree_delete(server->clients, client->socket);
  free_client(client, server->box);
}

void KIV_CALL handle_read(void* box, void* argument, std::int32_t socket, char* data,
                          std::int32_t length);

// Closes one socket that the server accepted, or with 0 all.
void close_accepted(kiv_box* box, const void* server, std::int32_t socket) {
  event::close_adopted(box, {handle_read, const_cast<void*>(server)}, socket);
}

// Closes the listener, all clients and the connections nobody took; the tree is left to be freed.
void close_all(const Locked& server) {
  if (server->listener != -1) kiv_box_DeleteSock(server->box, server->listener);
  server->listener = -1;
  zu_itree_foreach(server->clients, free_client, server->box);
  close_accepted(server->box, server.get(), 0);
}

// Tells the application that a client's connection is of no more use. Without a callback nobody
// would ever delete the client.
void report_close(Locked& locked, kiv_http_server* server, Client* client) {
  if (client->on_close == nullptr) return delete_client(locked, client);
  const auto on_close = client->on_close;
  void* const user = client->close_user;
  const std::int32_t socket = client->socket;
  locked.unlock();
  on_close(server, user, socket);
}

// The client that a handler was called for. Null when there is none (any more): then the socket, of
// which nobody else knows, is closed.
Client* client_or_close(const Locked& locked, void* box, const void* server, std::int32_t socket) {
  Client* const client = locked && locked->box == box ? locked.client(socket) : nullptr;
  if (client == nullptr) close_accepted(static_cast<kiv_box*>(box), server, socket);
  return client;
}

void KIV_CALL handle_close(void* box, void* argument, std::int32_t socket) {
  auto* const server = static_cast<kiv_http_server*>(argument);
  Locked locked(server);
  Client* const client = client_or_close(locked, box, server, socket);
  if (client == nullptr) return;
  report_close(locked, server, client);
}

// Passes the oldest request to the application; nothing if none is complete.
void deliver(Locked& locked, kiv_http_server* server, Client* client) {
  zu_jitter* bytes = nullptr;
  std::int32_t status = 0;
  const OwnedTable table(kiv_http_filter_request_get(client->filter, &bytes, &status));
  const OwnedJitter body(bytes);
  if (table == nullptr) return;
  if (status != KIV_HTTP_COMPLETE) return report_close(locked, server, client);
  const auto on_request = client->on_request;
  void* const user = client->request_user;
  const std::int32_t socket = client->socket;
  locked.unlock();
  if (on_request != nullptr) on_request(server, user, socket, table.get(), body.get());
}

// The requests that were complete when the stream broke, then the close: as if each had come in a
// read of its own. A client that a callback has added meanwhile has another filter, not broken.
void deliver_rest(kiv_http_server* server, std::int32_t socket) {
  for (;;) {
    Locked locked(server);
    Client* const client = locked ? locked.client(socket) : nullptr;
    if (client == nullptr || !client->filter->broken) return;
    if (client->filter->waiting() == 0) return report_close(locked, server, client);
    deliver(locked, server, client);
  }
}

// deliberate: one request for each read. What was sent in one piece with it waits for the next
// data; applications count on being called once for each.
void KIV_CALL handle_read(void* box, void* argument, std::int32_t socket, char* data,
                          std::int32_t length) {
  auto* const server = static_cast<kiv_http_server*>(argument);
  Locked locked(server);
  Client* const client = client_or_close(locked, box, server, socket);
  if (client == nullptr) return;
  kiv_http_filter& filter = *client->filter;
  const bool taken = kiv_http_filter_request_input(&filter, data, length) == 1;
  if (filter.waiting() > kMaxWaiting) {
    filter.break_stream();
    return report_close(locked, server, client);
  }
  if (taken) return deliver(locked, server, client);
  locked.unlock();
  deliver_rest(server, socket);
}

// Did the connection come in where the server listens now? Another thread may have attached it
// again meanwhile, and the new listener may have the number of the old.
bool is_current(const Locked& server, const void* box, std::int32_t socket) {
  platform::WireAddress local;
  return server->box == box && server->listener > 0 &&
         platform::socket_local_address(socket, &local) == 0 &&
         platform::swap_order(local.port) == server->port;
}

void KIV_CALL handle_accept(void* box, void* argument, std::int32_t, std::int32_t socket,
                            const char* peer_ip, std::uint16_t peer_port) {
  auto* const server = static_cast<kiv_http_server*>(argument);
  Locked locked(server);
  if (!locked || !is_current(locked, box, socket) ||
      kiv_box_AcceptTcpClient(static_cast<kiv_box*>(box), socket, handle_read, server, handle_close,
                              server) < 1) {
    platform::socket_close(socket);  // no box knows it: it would stay open for ever
    return;
  }
  zu_sock_set_send_buff(socket, kSendBuffer);
  zu_sock_set_recv_buff(socket, kReceiveBuffer);
  const auto on_accept = locked->on_accept;
  void* const user = locked->accept_user;
  locked.unlock();
  on_accept(server, user, socket, peer_ip, peer_port);
}

bool add_client(const Locked& server, const Client& values) {
  OwnedFilter filter(kiv_http_filter_request_make());
  auto client = base::Owned<Client>::allocate();
  if (filter == nullptr || !client) return false;
  *client = values;
  client->filter = filter.get();
  if (zu_itree_insert(server->clients, values.socket, client.get()) != 1) return false;
  (void)filter.release();
  (void)client.release();
  return true;
}

}  // namespace
}  // namespace kiv::http

using namespace kiv::http;

kiv_http_server* KIV_CALL kiv_http_server_make() KIV_NOEXCEPT {
  auto server = kiv::base::Owned<kiv_http_server>::allocate_zeroed();
  if (!server) return nullptr;
  server->listener = -1;
  server->clients = zu_itree_malloc();
  if (server->clients == nullptr) return nullptr;
  if (!kiv::base::insert_object(server.get())) {
    zu_itree_free(server->clients);
    return nullptr;
  }
  return server.release();
}

int KIV_CALL kiv_http_server_attach(kiv_box* box, kiv_http_server* server, uint16_t port,
                                    kiv_http_server_accept_fn on_accept,
                                    void* accept_user) KIV_NOEXCEPT {
  if (box == nullptr || port == 0 || on_accept == nullptr) return 0;
  const Locked locked(server);
  zu_itree* const clients = locked ? zu_itree_malloc() : nullptr;
  if (clients == nullptr) return 0;
  close_all(locked);
  zu_itree_free(locked->clients);
  locked->clients = clients;
  locked->box = box;
  locked->port = port;
  locked->on_accept = on_accept;
  locked->accept_user = accept_user;
  locked->listener = kiv_box_NewTcpServer(box, nullptr, port, handle_accept, server);
  return locked->listener > 0 ? 1 : 0;
}

int KIV_CALL kiv_http_server_AcceptClient(kiv_http_server* server, int32_t socket,
                                          kiv_http_server_request_fn on_request, void* request_user,
                                          kiv_http_server_close_fn on_close,
                                          void* close_user) KIV_NOEXCEPT {
  if (socket < 1) return 0;
  const Locked locked(server);
  if (!locked || locked.client(socket) != nullptr) return 0;
  return add_client(locked, {.socket = socket,
                             .reserved_text = nullptr,
                             .timer = -1,
                             .filter = nullptr,
                             .on_request = on_request,
                             .request_user = request_user,
                             .on_close = on_close,
                             .close_user = close_user})
             ? 1
             : 0;
}

int KIV_CALL kiv_http_server_DeleteClient(kiv_http_server* server, int32_t socket) KIV_NOEXCEPT {
  const Locked locked(server);
  if (!locked) return 0;
  Client* const client = locked.client(socket);
  if (client == nullptr) {
    kiv_box_DeleteSock(locked->box, socket);
    return 0;
  }
  delete_client(locked, client);
  return 1;
}

int32_t KIV_CALL kiv_http_server_NumClients(kiv_http_server* server) KIV_NOEXCEPT {
  const Locked locked(server);
  return locked ? zu_itree_nnodes(locked->clients) : 0;
}

int KIV_CALL kiv_http_server_free(kiv_http_server* server) KIV_NOEXCEPT {
  Locked locked(server);
  if (!locked) return 0;
  close_all(locked);
  zu_itree_free(server->clients);
  _zu_free(server->reserved_text);
  _zu_free(server);
  kiv::base::objects().remove(server);
  return locked.unlock();
}
