// The server and the client of the first program, in C++.
#include <cstdint>
#include <cstdio>

#include "kiv_base.hpp"

// An object whose members are called back.
struct Server {
  void on_accept(kiv::BoxRef box, kiv::SocketId, kiv::SocketId socket, kiv::TextRef peer_ip,
                 std::uint16_t) {
    std::printf("server: a client from %s\n", peer_ip.c_str());
    box.adopt(socket, kiv::bind<&Server::on_read>(*this), kiv::bind<&Server::on_close>(*this));
  }
  void on_read(kiv::BoxRef box, kiv::SocketId socket, kiv::Buffer data) { box.write(socket, data); }
  void on_close(kiv::BoxRef box, kiv::SocketId socket) { box.remove(socket); }
};

int main() {
  kiv::Library library;  // kiv_Setup, and kiv_Shutdown at its end
  Server server;
  kiv::Box box = kiv::Box::make();
  if (!box) return 1;
  std::uint16_t port = 24600;
  while (box.listen("127.0.0.1", port, kiv::bind<&Server::on_accept>(server)) < 0) {
    if (++port == 0) return 1;
  }

  // Callables of the caller's; they stay where they are while the box may call them.
  auto on_connect = [](kiv::BoxRef self, kiv::SocketId socket) { self.write(socket, "hello"); };
  auto on_end = [](kiv::BoxRef self, kiv::SocketId) { self.break_loop(); };
  auto on_read = [](kiv::BoxRef self, kiv::SocketId socket, kiv::Buffer data) {
    std::printf("client: %d bytes came back: %s\n", static_cast<int>(data.size()), data.data());
    self.remove(socket);
    self.break_loop();
  };
  box.connect(
      "127.0.0.1", port,
      {.on_connect = on_connect, .on_failure = on_end, .on_read = on_read, .on_close = on_end});
  box.loop();
  return 0;
}
