#include "echo_server.h"

#include <cstdio>

#include "message.h"

namespace uvc_ping {
namespace {

constexpr int kMaxLinesPerSecond = 20;
constexpr char kClose = 14;  // the type of a datagram

EchoServer* to_server(void* self) {
  return static_cast<EchoServer*>(self);
}

}  // namespace

bool EchoServer::listen(kiv_box* box, std::uint16_t port) {
  return kiv_uvs_attach(box, server_, port, on_connect, nullptr, on_foreign, this) == 1;
}

void EchoServer::stop() {
  const std::lock_guard guard(mutex_);
  for (const auto& [id, client] : clients_) kiv_uvs_DeleteClient(server_, id);
  clients_.clear();
  kiv_uvs_free(server_);  // so that none comes back before the loop ends
}

std::string EchoServer::summary() {
  const std::lock_guard guard(mutex_);
  return "pings answered: " + std::to_string(answers_) + ", clients: " + std::to_string(came_) +
         ", refused: " + std::to_string(refused_) + ", never pinged: " + std::to_string(silent_) +
         ", strange datagrams: " + std::to_string(strange_);
}

int KIV_CALL EchoServer::on_connect(kiv_uvs* server, void* self, std::int32_t id, const char* ip,
                                    std::uint16_t port) {
  EchoServer& me = *to_server(self);
  const std::lock_guard guard(me.mutex_);
  me.clients_[id] = {std::string(ip) + ":" + std::to_string(port)};
  return kiv_uvs_AcceptClient(server, id, on_data, self, on_close, self);
}

int KIV_CALL EchoServer::on_data(kiv_uvs* server, void* self, char* body, std::int32_t length) {
  EchoServer& me = *to_server(self);
  const std::int32_t id = kiv_uvs_GetThisClientId(server);
  const std::lock_guard guard(me.mutex_);
  const auto found = me.clients_.find(id);
  if (found != me.clients_.end()) {
    me.take(id, found->second, {body, static_cast<std::size_t>(length)});
  }
  return 0;
}

int KIV_CALL EchoServer::on_close(kiv_uvs* server, void* self) {
  EchoServer& me = *to_server(self);
  const std::int32_t id = kiv_uvs_GetThisClientId(server);
  const std::lock_guard guard(me.mutex_);
  const auto found = me.clients_.find(id);
  if (found == me.clients_.end()) return 0;
  const Client& client = found->second;
  if (client.answers == 0) {
    ++me.silent_;
  } else {
    me.say(client.name + " is gone after " + std::to_string(client.answers) + " pings");
  }
  me.forget(id);
  return 0;
}

// A close comes five times, and the first was the end of its client.
int KIV_CALL EchoServer::on_foreign(kiv_uvs*, void* self, const char*, std::uint16_t,
                                    char* datagram, std::int32_t length) {
  EchoServer& me = *to_server(self);
  const std::lock_guard guard(me.mutex_);
  if (length < 1 || datagram[0] != kClose) ++me.strange_;
  return 0;
}

void EchoServer::take(std::int32_t id, Client& client, std::string_view body) {
  const auto text = cipher_.decipher(body);
  auto message = text ? parse_message(*text) : std::nullopt;
  if (message && message->kind == Message::Kind::ping) {
    if (client.answers == 0) {
      ++came_;
      say(client.name + " pings");
    }
    message->kind = Message::Kind::pong;
    const std::string answer = cipher_.encipher(to_text(*message));
    kiv_uvs_write(server_, id, answer.data(), static_cast<std::int32_t>(answer.size()));
    ++client.answers;
    ++answers_;
  } else if (client.answers == 0) {
    ++refused_;
    say(client.name + " is refused: wrong key");
    forget(id);
  } else {
    ++strange_;
  }
}

void EchoServer::forget(std::int32_t id) {
  kiv_uvs_DeleteClient(server_, id);
  clients_.erase(id);
}

// Strangers decide how much there is to say, so that what is too much for a second is omitted.
void EchoServer::say(const std::string& line) {
  const auto now = std::chrono::steady_clock::now();
  if (now - second_began_ > std::chrono::seconds(1)) {
    second_began_ = now;
    lines_of_second_ = 0;
  }
  if (++lines_of_second_ > kMaxLinesPerSecond) return;
  std::puts(line.c_str());
  std::fflush(stdout);
}

}  // namespace uvc_ping
