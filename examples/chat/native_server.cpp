#include "native_server.h"

#include <chrono>
#include <exception>
#include <thread>
#include <vector>

namespace chat {
namespace {

constexpr std::uint32_t kTickMs = 500;
constexpr std::int32_t kSendBuffer = 64 * 1024;

}  // namespace

NativeServer::NativeServer(Room& room, kiv::LogRef log, const NativeLimits& limits) : log_(log) {
  shared_.room = &room;
  shared_.limits = limits;
  shared_.on_writable = kiv::bind<&NativeServer::on_writable>(*this);
  shared_.box = kiv::BigBox::make(limits.slaves, limits.clients);
  shared_.box.set_fair_rounds(true);
  room.listen([this](const Message& message) {
    for (auto& [socket, client] : clients_) client->hear(message);
  });
}

NativeServer::~NativeServer() {
  std::vector<kiv::BoxRef> threads = {shared_.box.master()};
  for (const auto& [slave, sockets] : by_slave_) threads.emplace_back(slave);
  {
    const std::lock_guard lock(shared_.room->mutex);
    for (const auto& [socket, client] : clients_) {
      shared_.box.remove(socket);
      shared_.box.close_removed(socket);
    }
    shared_.box.reset();
  }
  // A box is gone when its loop is: then its last callback has returned. Nothing tells of that.
  for (const kiv::BoxRef box : threads) {
    while (box.is_live()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

bool NativeServer::listen(std::uint16_t port, bool is_public) {
  return shared_.box.listen(is_public ? nullptr : "127.0.0.1", port,
                            kiv::bind<&NativeServer::on_accept>(*this)) > 0;
}

std::size_t NativeServer::clients() const {
  const std::lock_guard lock(shared_.room->mutex);
  return clients_.size();
}

void NativeServer::on_accept(kiv::BigBoxRef, kiv::SocketId, kiv::SocketId socket,
                             kiv::TextRef peer_ip, std::uint16_t peer_port) {
  const std::lock_guard lock(shared_.room->mutex);
  try {
    accept(socket, peer_ip, peer_port);
  } catch (const std::exception&) {  // no memory
    end(socket);
  }
}

void NativeServer::accept(kiv::SocketId socket, kiv::TextRef peer_ip, std::uint16_t peer_port) {
  zu_sock_set_nondelay(socket);
  zu_sock_set_send_buff(socket, kSendBuffer);  // what a client does not read waits here, not there
  clients_[socket] = std::make_unique<NativeClient>(
      shared_, socket, std::string(peer_ip.view()) + ':' + std::to_string(peer_port));
  if (!shared_.box.accept(socket, peer_ip, peer_port, kiv::bind<&NativeServer::on_read>(*this),
                          kiv::bind<&NativeServer::on_close>(*this))) {
    end(socket);
    return;
  }
  const kiv::BoxRef slave = shared_.box.slave_of(socket);
  if (by_slave_.count(slave.get()) == 0) {
    slave.every(kTickMs, kiv::bind<&NativeServer::on_tick>(*this));
  }
  by_slave_[slave.get()].insert(socket);
}

void NativeServer::on_read(kiv::BigBoxRef, kiv::SocketId socket, std::string_view data) {
  serve(socket, [&](NativeClient& client) { client.receive(data); });
}

void NativeServer::on_close(kiv::BigBoxRef, kiv::SocketId socket) {
  serve(socket, [](NativeClient& client) { client.close(); });
}

void NativeServer::on_writable(kiv::BigBoxRef, kiv::SocketId socket) {
  serve(socket, [](NativeClient& client) { client.on_writable(); });
}

// Runs one step of a client and ends those of this thread that are doomed. Nothing may be thrown
// into the library: a step that runs out of memory costs its client.
template <typename Step>
void NativeServer::serve(kiv::SocketId socket, Step step) {
  const std::lock_guard lock(shared_.room->mutex);
  NativeClient& client = *clients_.at(socket);
  try {
    step(client);
  } catch (const std::exception&) {
    client.close();
  }
  end_doomed(shared_.box.current_slave());
}

void NativeServer::on_tick(kiv::BoxRef slave, kiv::TimerId, std::int32_t) {
  const std::lock_guard lock(shared_.room->mutex);
  end_doomed(slave);
}

// Those of one slave, on its own thread. One that ends makes a message, which may doom others.
void NativeServer::end_doomed(kiv::BoxRef slave) {
  const auto now = Clock::now();
  std::vector<std::int32_t> over;
  for (const std::int32_t socket : by_slave_[slave.get()]) {
    NativeClient& client = *clients_.at(socket);
    client.look_at_clock(now);
    if (!client.doomed().empty()) over.push_back(socket);
  }
  for (const std::int32_t socket : over) {
    by_slave_[slave.get()].erase(socket);
    end(socket);
  }
}

// The big box releases sockets without closing them.
void NativeServer::end(kiv::SocketId socket) {
  const auto found = clients_.find(socket);
  if (found != clients_.end()) {
    const std::unique_ptr<NativeClient> client = std::move(found->second);
    clients_.erase(found);
    shared_.box.remove(socket);
    if (client && log_) {
      log_.notice(client->peer() + " (" + client->name() + ") ended: " + client->doomed() + '\n');
    }
    if (client && !client->name().empty()) shared_.room->leave(client->name());
  }
  shared_.box.close_removed(socket);
}

}  // namespace chat
