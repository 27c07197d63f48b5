#include "server.h"

#include <cstring>
#include <exception>
#include <vector>

#include "request.h"

namespace http_files {
namespace {

constexpr std::size_t kPieceSize = 64 * 1024;
constexpr std::int32_t kSendBufferSize = 256 * 1024;
constexpr std::chrono::milliseconds kLookEvery{1000};

}  // namespace

Server::Server(kiv_box* box, const Folder& folder, zu_log* log, const ServerOptions& options,
               Application* application)
    : options_(options), http_(kiv_http_server_make()) {
  shared_.box = box;
  shared_.log = log;
  shared_.folder = &folder;
  shared_.mount = options.mount;
  shared_.application = application;
  shared_.on_writable = on_writable;
  shared_.piece.resize(kPieceSize);
  shared_.now = Clock::now();
  next_look_ = shared_.now + kLookEvery;
}

Server::~Server() {
  kiv_http_server_free(http_);
}

bool Server::listen() {
  return kiv_http_server_attach(shared_.box, http_, options_.port, on_accept, this) == 1 &&
         kiv_box_NewLoopTimer(shared_.box, kLookEvery.count(), on_tick, this) > 0;
}

void KIV_CALL Server::on_accept(kiv_http_server*, void* user, std::int32_t socket,
                                const char* peer_ip, std::uint16_t peer_port) {
  auto& server = *static_cast<Server*>(user);
  server.shared_.now = Clock::now();
  server.look_around();
  server.accept(socket, peer_ip, peer_port);
}

void Server::accept(std::int32_t socket, const char* peer_ip, std::uint16_t peer_port) {
  if (!options_.is_public && std::strncmp(peer_ip, "127.", 4) != 0) {
    if (shared_.log != nullptr) zu_log_warn(shared_.log, "%s turned away\n", peer_ip);
    kiv_http_server_DeleteClient(http_, socket);
    return;
  }
  zu_sock_set_nondelay(socket);
  zu_sock_set_send_buff(socket, kSendBufferSize);
  auto connection = std::make_unique<Connection>(
      shared_, this, socket, std::string(peer_ip) + ':' + std::to_string(peer_port));
  if (kiv_http_server_AcceptClient(http_, socket, on_request, connection.get(), on_close,
                                   connection.get()) != 1) {
    kiv_http_server_DeleteClient(http_, socket);
    return;
  }
  connections_.insert_or_assign(socket, std::move(connection));
}

void KIV_CALL Server::on_request(kiv_http_server*, void* user, std::int32_t, kiv_http_table* table,
                                 zu_jitter* body) {
  serve(user, [=](Connection& connection) { return connection.take(read_request(table, body)); });
}

void KIV_CALL Server::on_close(kiv_http_server*, void* user, std::int32_t) {
  serve(user, [](Connection& connection) { return connection.on_end_of_requests(); });
}

void KIV_CALL Server::on_writable(void* user) {
  serve(user, [](Connection& connection) { return connection.on_writable(); });
}

// Runs one step of a connection, and deletes the connection when it is over. Nothing may be thrown
// into the library: a step that runs out of memory costs its connection.
template <typename Step>
void Server::serve(void* user, Step step) {
  auto& connection = *static_cast<Connection*>(user);
  auto& server = *static_cast<Server*>(connection.owner());
  server.shared_.now = Clock::now();
  server.run(connection, step);
  server.look_around();
}

template <typename Step>
void Server::run(Connection& connection, Step step) {
  bool goes_on = false;
  try {
    goes_on = step(connection);
  } catch (const std::exception&) {
  }
  if (!goes_on) drop(connection.socket());
}

void Server::answer(Connection& connection, int status, const std::string& text) {
  run(connection, [&](Connection& waiting) { return waiting.on_answer(status, text); });
}

void KIV_CALL Server::on_tick(void*, void* user, std::int32_t, std::int32_t) {
  auto& server = *static_cast<Server*>(user);
  server.shared_.now = Clock::now();
  server.look_around();
}

// The box's timers wait for as long as any socket is ready, so that the timer alone would let a
// busy client keep idle ones alive: every callback looks at the clock.
void Server::look_around() {
  if (shared_.application != nullptr) shared_.application->on_turn();
  if (shared_.now < next_look_) return;
  next_look_ = shared_.now + kLookEvery;
  drop_idle_connections();
}

void Server::drop_idle_connections() {
  std::vector<std::int32_t> over;
  for (const auto& [socket, connection] : connections_) {
    if (shared_.now - connection->last_progress() < options_.idle) continue;
    if (!connection->on_time_out()) over.push_back(socket);
  }
  for (const std::int32_t socket : over) drop(socket);
}

void Server::drop(std::int32_t socket) {
  kiv_http_server_DeleteClient(http_, socket);
  connections_.erase(socket);
}

}  // namespace http_files
