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

NativeServer::NativeServer(Room& room, zu_log* log, const NativeLimits& limits) : log_(log) {
  shared_.room = &room;
  shared_.limits = limits;
  shared_.on_writable = on_writable;
  shared_.box = kiv_bigbox_make(limits.slaves, limits.clients);
  room.listen([this](const Message& message) {
    for (auto& [socket, client] : clients_) client->hear(message);
  });
}

NativeServer::~NativeServer() {
  std::vector<kiv_box*> threads = {kiv_bigbox_GetMasterBox(shared_.box)};
  for (const auto& [slave, sockets] : by_slave_) threads.push_back(slave);
  {
    const std::lock_guard lock(shared_.room->mutex);
    for (const auto& [socket, client] : clients_) {
      kiv_bigbox_DeleteSock(shared_.box, socket);
      close_socket(socket);
    }
    kiv_bigbox_free(shared_.box);
  }
  // A box is gone when its loop is: then its last callback has returned. Nothing tells of that.
  for (kiv_box* const box : threads) {
    while (kivx_box_IsValid(box) == 1) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

bool NativeServer::listen(std::uint16_t port, bool is_public) {
  return kiv_bigbox_attach(shared_.box, is_public ? nullptr : "127.0.0.1", port, on_accept, this) >
         0;
}

std::size_t NativeServer::clients() const {
  const std::lock_guard lock(shared_.room->mutex);
  return clients_.size();
}

void KIV_CALL NativeServer::on_accept(void*, void* user, std::int32_t, std::int32_t socket,
                                      const char* peer_ip, std::uint16_t peer_port) {
  auto& server = *static_cast<NativeServer*>(user);
  const std::lock_guard lock(server.shared_.room->mutex);
  try {
    server.accept(socket, peer_ip, peer_port);
  } catch (const std::exception&) {  // no memory
    server.end(socket);
  }
}

void NativeServer::accept(std::int32_t socket, const char* peer_ip, std::uint16_t peer_port) {
  zu_sock_set_nondelay(socket);
  zu_sock_set_send_buff(socket, kSendBuffer);  // what a client does not read waits here, not there
  auto& client = clients_[socket];
  client = std::make_unique<NativeClient>(shared_, this, socket,
                                          std::string(peer_ip) + ':' + std::to_string(peer_port));
  if (kiv_bigbox_accept(shared_.box, socket, peer_ip, peer_port, on_read, client.get(), on_close,
                        client.get()) != 1) {
    end(socket);
    return;
  }
  kiv_box* const slave = kiv_bigbox_GetSlaveBox(shared_.box, socket);
  if (by_slave_.count(slave) == 0) kiv_box_NewLoopTimer(slave, kTickMs, on_tick, this);
  by_slave_[slave].insert(socket);
}

void KIV_CALL NativeServer::on_read(void*, void* user, std::int32_t, char* data,
                                    std::int32_t length) {
  serve(user, [&](NativeClient& client) {
    client.receive(std::string_view(data, static_cast<std::size_t>(length)));
  });
}

void KIV_CALL NativeServer::on_close(void*, void* user, std::int32_t) {
  serve(user, [](NativeClient& client) { client.close(); });
}

void KIV_CALL NativeServer::on_writable(void*, void* user, std::int32_t) {
  serve(user, [](NativeClient& client) { client.on_writable(); });
}

// Runs one step of a client and ends those of this thread that are doomed. Nothing may be thrown
// into the library: a step that runs out of memory costs its client.
template <typename Step>
void NativeServer::serve(void* user, Step step) {
  auto& client = *static_cast<NativeClient*>(user);
  auto& server = *static_cast<NativeServer*>(client.owner());
  const std::lock_guard lock(server.shared_.room->mutex);
  try {
    step(client);
  } catch (const std::exception&) {
    client.close();
  }
  server.end_doomed(kiv_bigbox_InvokeSlaveBox(server.shared_.box));
}

void KIV_CALL NativeServer::on_tick(void* slave, void* user, std::int32_t, std::int32_t) {
  auto& server = *static_cast<NativeServer*>(user);
  const std::lock_guard lock(server.shared_.room->mutex);
  server.end_doomed(static_cast<kiv_box*>(slave));
}

// Those of one slave, on its own thread. One that ends makes a message, which may doom others.
void NativeServer::end_doomed(kiv_box* slave) {
  const auto now = Clock::now();
  std::vector<std::int32_t> over;
  for (const std::int32_t socket : by_slave_[slave]) {
    NativeClient& client = *clients_.at(socket);
    client.look_at_clock(now);
    if (!client.doomed().empty()) over.push_back(socket);
  }
  for (const std::int32_t socket : over) {
    by_slave_[slave].erase(socket);
    end(socket);
  }
}

void NativeServer::end(std::int32_t socket) {
  const auto found = clients_.find(socket);
  if (found != clients_.end()) {
    const std::unique_ptr<NativeClient> client = std::move(found->second);
    clients_.erase(found);
    kiv_bigbox_DeleteSock(shared_.box, socket);
    if (client && log_ != nullptr) {
      zu_log_notice(log_, "%s (%s) ended: %s\n", client->peer().c_str(), client->name().c_str(),
                    client->doomed().c_str());
    }
    if (client && !client->name().empty()) shared_.room->leave(client->name());
  }
  close_socket(socket);
}

// The big box lets go of sockets without closing them. The master, as their owner, closes them.
void NativeServer::close_socket(std::int32_t socket) {
  kiv_box* const master = kiv_bigbox_GetMasterBox(shared_.box);
  kiv_box_AcceptTcpClient(master, socket, nullptr, nullptr, nullptr, nullptr);
  kiv_box_DeleteSock(master, socket);
}

}  // namespace chat
