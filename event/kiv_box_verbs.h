// What the library does with boxes: the functions for applications with typed arguments, and some
// beyond those.
#pragma once

#include <cstdint>

#include "event/box_sockets.h"
#include "event/kiv_box.h"

namespace kiv::event {

// ---- sockets: the id, or -1

// kiv_box_NewTcpClient with a target that find_target has found.
std::int32_t connect(kiv_box* box, const platform::WireAddress& target,
                     const ClientHandlers& handlers);
std::int32_t add_udp_client(kiv_box* box, const char* host, std::uint16_t port,
                            const DatagramHandler& datagram);

inline std::int32_t add_tcp_server(kiv_box* box, const char* local_ip, std::uint16_t port,
                                   const AcceptHandler& accept) {
  return on_raw_box(box, -1, Wake::for_new_id("NewTcpServer"), zu_box_sock_AddLocalTcpServer,
                    local_ip, port, accept.function, accept.argument);
}

inline std::int32_t add_udp_server(kiv_box* box, const char* local_ip, std::uint16_t port,
                                   const DatagramHandler& datagram) {
  return on_raw_box(box, -1, Wake::for_new_id("NewUdpServer"), zu_box_sock_AddLocalUdpServer,
                    local_ip, port, datagram.function, datagram.argument);
}

inline std::int32_t adopt(kiv_box* box, std::int32_t socket, const ReadHandler& read,
                          const SocketHandler& close) {
  return on_raw_box(box, -1, Wake::for_new_id("AcceptTcpClient"), zu_box_sock_AddRemoteTcpClient,
                    socket, read.function, read.argument, close.function, close.argument);
}

void delete_socket(kiv_box* box, std::int32_t socket);

// Closes a socket that was adopted with this read handler, or with 0 every such socket. Its number
// alone says little: another thread may have deleted the socket that a handler was called for, and
// opened one of its own.
void close_adopted(kiv_box* box, const ReadHandler& read, std::int32_t socket);

// ---- reading and writing

inline bool set_max_read(kiv_box* box, std::int32_t socket, std::int32_t length) {
  return on_raw_box(box, 0, Wake::always("SetMaxReadLen"), zu_box_sock_SetMaxReadLen, socket,
                    length) == 1;
}

inline std::int32_t write(kiv_box* box, std::int32_t socket, const void* data,
                          std::int32_t length) {
  return on_raw_box(box, -1, kNoWake, zu_box_sock_TcpWrite, socket, data, length);
}

inline std::int32_t write_to(kiv_box* box, std::int32_t socket, const void* data,
                             std::int32_t length, const char* ip, std::uint16_t port) {
  return on_raw_box(box, -1, kNoWake, zu_box_sock_UdpWriteByIp, socket, data, length, ip, port);
}

// Has a callback run whenever a socket is ready for one kind.
bool import_socket(kiv_box* box, std::int32_t socket, Kind kind, zu_event_fn callback,
                   void* argument);
// Ends that; a socket that waits for nothing else is forgotten, and stays open.
bool export_socket(kiv_box* box, std::int32_t socket, Kind kind);
// The same, but the socket stays known, also if it waits for nothing else.
void stop_waiting(kiv_box* box, std::int32_t socket, Kind kind);

// ---- timers: the id, or -1

inline std::int32_t add_once_timer(kiv_box* box, std::uint32_t interval_ms,
                                   const TimerHandler& handler) {
  return on_raw_box(box, -1, Wake::for_new_id("NewOnceTimer"), zu_box_timer_AddOnceTimer,
                    interval_ms, handler.function, handler.argument);
}

inline std::int32_t add_loop_timer(kiv_box* box, std::uint32_t interval_ms,
                                   const TimerHandler& handler) {
  return on_raw_box(box, -1, Wake::for_new_id("NewLoopTimer"), zu_box_timer_AddLoopTimer,
                    interval_ms, handler.function, handler.argument);
}

void delete_timer(kiv_box* box, std::int32_t timer);

}  // namespace kiv::event
