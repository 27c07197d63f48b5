#include "kiv_base.hpp"

int main() {
  kiv::Box box = kiv::Box::make();
  auto on_read = [](kiv::BoxRef at, kiv::SocketId from, kiv::Data data) { at.write(from, data); };
  auto on_close = [](kiv::BoxRef at, kiv::SocketId socket) { at.remove(socket); };
  auto on_accept = [&](kiv::BoxRef at, kiv::SocketId, kiv::SocketId socket, auto...) {
    at.adopt(socket, on_read, on_close);
  };
  if (box.listen("127.0.0.1", 7007, on_accept) < 0) return 1;
  box.loop();
}
