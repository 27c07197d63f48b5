#include "event/kiv_box_verbs.h"

namespace kiv::event {
namespace {

bool is_adopted_with(const Socket& socket, const ReadHandler& read) {
  return socket.kind == SocketKind::remote_tcp_client && socket.read.function == read.function &&
         socket.read.argument == read.argument;
}

Socket* any_adopted_with(const zu_box& box, const ReadHandler& read) {
  Socket* found = nullptr;
  box.sockets.for_each([&](Socket& socket) {
    if (is_adopted_with(socket, read)) found = &socket;
  });
  return found;
}

}  // namespace

std::int32_t connect(kiv_box* box, const platform::WireAddress& target,
                     const ClientHandlers& handlers) {
  return on_live_box(box, -1, Wake::for_new_id("NewTcpClient"),
                     [&](kiv_box& live) { return add_tcp_client(*live.raw, target, handlers); });
}

bool start_waiting(kiv_box* box, std::int32_t socket, Kind kind, Serve serve, void* user) {
  const Wake wake = kind == Kind::read ? Wake::always("ImportSockId_ForRead")
                                       : Wake::always("ImportSockId_ForWrite");
  return on_live_box(box, 0, wake, [&](kiv_box& live) {
           return socket > 0 && add_wait(*live.raw, kind, socket, {serve, nullptr, user}) ? 1 : 0;
         }) == 1;
}

void stop_waiting(kiv_box* box, std::int32_t socket, Kind kind) {
  on_live_box(box, 0, kNoWake, [=](kiv_box& live) {
    Socket* const known = live.raw->sockets.find(socket);
    if (known != nullptr) remove_wait(*live.raw, kind, *known);
    return 1;
  });
}

void close_adopted(kiv_box* box, const ReadHandler& read, std::int32_t socket) {
  on_live_box(box, 0, Wake::for_new_id("DeleteSock"), [&](kiv_box& live) {
    zu_box& raw = *live.raw;
    std::int32_t closed = 0;
    if (socket != 0) {
      Socket* const known = raw.sockets.find(socket);
      if (known == nullptr || !is_adopted_with(*known, read)) return 0;
      delete_socket(raw, *known);
      return 1;
    }
    while (Socket* const next = any_adopted_with(raw, read)) {
      delete_socket(raw, *next);
      ++closed;
    }
    return closed;
  });
}

}  // namespace kiv::event
