// The HTTP server: connections of a box, each with a request filter.
#include <memory>

#include "base/callback.h"
#include "base/kiv_sem.h"
#include "base/owned.h"
#include "containers/int_tree.h"
#include "event/endpoint.h"
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
  OwnedFilter filter;
  base::Callback<kiv_http_server_request_fn> on_request;
  base::Callback<kiv_http_server_close_fn> on_close;
};

}  // namespace
}  // namespace kiv::http

struct kiv_http_server {
  kiv_box* box = nullptr;
  std::int32_t listener = -1;  // -1: none
  std::uint16_t port = 0;
  kiv::base::Callback<kiv_http_server_accept_fn> on_accept;
  kiv::containers::IntTree<kiv::http::Client> clients;  // by socket
};

namespace kiv::http {
namespace {

using Locked = base::Locked<kiv_http_server>;

void free_client(kiv_box* box, Client* client) {
  event::delete_socket(box, client->socket);
  base::destroy(client);
}

// Takes a client out and frees it with its socket.
void delete_client(const Locked& server, Client* client) {
  server->clients.remove(client->socket);
  free_client(server->box, client);
}

void KIV_CALL handle_read(void* box, void* argument, std::int32_t socket, char* data,
                          std::int32_t length);

// Closes one socket that the server accepted, or with 0 all.
void close_accepted(kiv_box* box, const void* server, std::int32_t socket) {
  event::close_adopted(box, {handle_read, const_cast<void*>(server)}, socket);
}

// Closes the listener, all clients and the connections nobody took.
void close_all(const Locked& server) {
  if (server->listener != -1) event::delete_socket(server->box, server->listener);
  server->listener = -1;
  server->clients.clear([&](Client& client) { free_client(server->box, &client); });
  close_accepted(server->box, server.get(), 0);
}

// Tells the application that a client's connection is of no more use. Without a callback nobody
// would ever delete the client.
void report_close(Locked& locked, kiv_http_server* server, Client* client) {
  if (client->on_close.function == nullptr) return delete_client(locked, client);
  const auto on_close = client->on_close;
  const std::int32_t socket = client->socket;
  locked.unlock();
  on_close(server, socket);
}

// The client that a handler was called for. Null when there is none (any more): then the socket, of
// which nobody else knows, is closed.
Client* client_or_close(const Locked& locked, void* box, const void* server, std::int32_t socket) {
  Client* const client = locked && locked->box == box ? locked->clients.find(socket) : nullptr;
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
  const OwnedTable table(kiv_http_filter_request_get(client->filter.get(), &bytes, &status));
  const OwnedJitter body(bytes);
  if (table == nullptr) return;
  if (status != KIV_HTTP_COMPLETE) return report_close(locked, server, client);
  const auto on_request = client->on_request;
  const std::int32_t socket = client->socket;
  locked.unlock();
  on_request(server, socket, table.get(), body.get());
}

// The requests that were complete when the stream broke, then the close: as if each had come in a
// read of its own. A client that a callback has added meanwhile has another filter, not broken.
void deliver_rest(kiv_http_server* server, std::int32_t socket) {
  for (;;) {
    Locked locked(server);
    Client* const client = locked ? locked->clients.find(socket) : nullptr;
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
      event::adopt(static_cast<kiv_box*>(box), socket, {handle_read, server},
                   {handle_close, server}) < 1) {
    platform::socket_close(socket);  // no box knows it: it would stay open for ever
    return;
  }
  event::set_buffers(socket, kSendBuffer, kReceiveBuffer);
  const auto on_accept = locked->on_accept;
  locked.unlock();
  on_accept(server, socket, peer_ip, peer_port);
}

}  // namespace
}  // namespace kiv::http

using namespace kiv::http;

kiv_http_server* KIV_CALL kiv_http_server_make() KIV_NOEXCEPT {
  auto server = kiv::base::make<kiv_http_server>();
  return server && kiv::base::insert_object(server.get()) ? server.release() : nullptr;
}

int KIV_CALL kiv_http_server_attach(kiv_box* box, kiv_http_server* server, uint16_t port,
                                    kiv_http_server_accept_fn on_accept,
                                    void* accept_user) KIV_NOEXCEPT {
  if (box == nullptr || port == 0 || on_accept == nullptr) return 0;
  const Locked locked(server);
  if (!locked) return 0;
  close_all(locked);
  locked->box = box;
  locked->port = port;
  locked->on_accept = {on_accept, accept_user};
  locked->listener = kiv::event::add_tcp_server(box, nullptr, port, {handle_accept, server});
  return locked->listener > 0 ? 1 : 0;
}

int KIV_CALL kiv_http_server_AcceptClient(kiv_http_server* server, int32_t socket,
                                          kiv_http_server_request_fn on_request, void* request_user,
                                          kiv_http_server_close_fn on_close,
                                          void* close_user) KIV_NOEXCEPT {
  if (socket < 1) return 0;
  const Locked locked(server);
  if (!locked || locked->clients.find(socket) != nullptr) return 0;
  OwnedFilter filter(kiv_http_filter_request_make());
  if (filter == nullptr) return 0;
  auto client = kiv::base::make<Client>(
      socket, std::move(filter),
      kiv::base::Callback<kiv_http_server_request_fn>{on_request, request_user},
      kiv::base::Callback<kiv_http_server_close_fn>{on_close, close_user});
  if (!client || !locked->clients.insert(socket, client.get())) return 0;
  (void)client.release();
  return 1;
}

int KIV_CALL kiv_http_server_DeleteClient(kiv_http_server* server, int32_t socket) KIV_NOEXCEPT {
  const Locked locked(server);
  if (!locked) return 0;
  Client* const client = locked->clients.find(socket);
  if (client == nullptr) {
    kiv::event::delete_socket(locked->box, socket);
    return 0;
  }
  delete_client(locked, client);
  return 1;
}

int32_t KIV_CALL kiv_http_server_NumClients(kiv_http_server* server) KIV_NOEXCEPT {
  const Locked locked(server);
  return locked ? locked->clients.size() : 0;
}

int KIV_CALL kiv_http_server_free(kiv_http_server* server) KIV_NOEXCEPT {
  Locked locked(server);
  if (!locked) return 0;
  close_all(locked);
  kiv::base::objects().remove(server);
  kiv::base::destroy(server);
  return locked.unlock();
}
