#include "kiv_base.hpp"

int main() {
  kiv::Box box = kiv::Box::make();
  box.set_fair_rounds(true);
  auto on_read = [](kiv::BoxRef at, kiv::SocketId socket, kiv::Buffer data) {
    if (!at.send(socket, data)) at.remove(socket);
    if (at.queued(socket) > 0) at.pause_read(socket);
  };
  auto on_drained = [](kiv::BoxRef at, kiv::SocketId socket) { at.resume_read(socket); };
  auto on_close = [](kiv::BoxRef at, kiv::SocketId socket) { at.close_after_send(socket, 10000); };
  auto on_accept = [&](kiv::BoxRef at, kiv::SocketId, kiv::SocketId socket, auto...) {
    if (at.adopt(socket, on_read, on_close) > 0) at.set_drained(socket, on_drained);
  };
  if (box.listen("127.0.0.1", 7007, on_accept) < 0) return 1;
  box.loop();
}
