#include "event/kiv_box_verbs.h"

#include "event/endpoint.h"

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

// A host is looked up before the lock is taken, for a box that lives; on_live_box then asks again.
std::int32_t add_udp_client(kiv_box* box, const char* host, std::uint16_t port,
                            const DatagramHandler& datagram) {
  platform::WireAddress target;
  if (!is_live(box) || !find_target(host, port, target)) return -1;
  return on_live_box(box, -1, Wake::for_new_id("NewUdpClient"),
                     [&](kiv_box& live) { return add_udp_client(*live.raw, datagram); });
}

void delete_socket(kiv_box* box, std::int32_t socket) {
  on_live_box(box, 0, Wake::always("DeleteSock"), [=](kiv_box& live) {
    zu_box_sock_Delete(live.raw, socket);
    return 1;
  });
}

bool import_socket(kiv_box* box, std::int32_t socket, Kind kind, zu_event_fn callback,
                   void* argument) {
  constexpr decltype(&zu_box_sock_ImportSocketId_ForRead) kImports[] = {
      zu_box_sock_ImportSocketId_ForRead, zu_box_sock_ImportSocketId_ForWrite,
      zu_box_sock_ImportSocketId_ForExcept};
  constexpr Wake kWakes[] = {Wake::always("ImportSockId_ForRead"),
                             Wake::always("ImportSockId_ForWrite"),
                             Wake::always("ImportSockId_ForExcept")};
  const int i = index_of(kind);
  return on_raw_box<int>(box, 0, kWakes[i], kImports[i], socket, callback, argument) == 1;
}

bool export_socket(kiv_box* box, std::int32_t socket, Kind kind) {
  constexpr decltype(&zu_box_sock_ExportSocketId_ForRead) kExports[] = {
      zu_box_sock_ExportSocketId_ForRead, zu_box_sock_ExportSocketId_ForWrite,
      zu_box_sock_ExportSocketId_ForExcept};
  return on_raw_box<int>(box, 0, Wake::always("ExportSockId"), kExports[index_of(kind)], socket) ==
         1;
}

void stop_waiting(kiv_box* box, std::int32_t socket, Kind kind) {
  on_live_box(box, 0, kNoWake, [=](kiv_box& live) {
    Socket* const known = live.raw->sockets.find(socket);
    if (known != nullptr) remove_wait(*live.raw, kind, *known);
    return 1;
  });
}

void delete_timer(kiv_box* box, std::int32_t timer) {
  on_live_box(box, 0, Wake::always("DeleteTimer"), [=](kiv_box& live) {
    zu_box_timer_Delete(live.raw, timer);
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
