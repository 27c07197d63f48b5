#include <string>

#include "kiv_base.hpp"

struct Client {
  kiv::BoxRef box;
  kiv::SocketId socket;
  std::string unsent;

  bool receive() {
    return box.adopt(socket, kiv::bind<&Client::on_read>(*this),
                     kiv::bind<&Client::on_close>(*this)) > 0;
  }
  bool send() {
    const auto count = box.write(socket, unsent);
    if (count > 0) unsent.erase(0, static_cast<std::size_t>(count));
    return count > 0;
  }

  void on_read(kiv::BoxRef, kiv::SocketId, kiv::Buffer data) {
    unsent.assign(data.data(), data.data() + data.size());
    send();
    if (unsent.empty()) return;
    box.export_socket(socket);
    box.import_for_write(socket, kiv::bind<&Client::on_writable>(*this));
  }
  void on_writable() {
    if (send() && !unsent.empty()) return;
    if (receive()) box.export_for_write(socket);
  }
  void on_close(kiv::BoxRef, kiv::SocketId) {
    box.remove(socket);
    delete this;
  }
};

int main() {
  kiv::Box box = kiv::Box::make();
  box.set_fair_rounds(true);
  auto on_accept = [&](kiv::BoxRef at, kiv::SocketId, kiv::SocketId socket, auto...) {
    auto* client = new Client{at, socket, {}};
    if (!client->receive()) delete client;
  };
  if (box.listen("127.0.0.1", 7007, on_accept) < 0) return 1;
  box.loop();
}
