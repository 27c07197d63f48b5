// The sockets of a box for any thread.
#include "event/box_sockets.h"
#include "event/endpoint.h"
#include "event/kiv_box.h"
#include "platform/socket.h"

using namespace kiv::event;

// A host is looked up before the lock is taken, for a box that lives; on_live_box then asks again.
std::int32_t KIV_CALL kiv_box_NewTcpClient(kiv_box* box, const char* host, std::uint16_t port,
                                           zu_box_socket_fn on_connect, void* connect_arg,
                                           zu_box_socket_fn on_failure, void* failure_arg,
                                           zu_box_read_fn on_read, void* read_arg,
                                           zu_box_socket_fn on_close,
                                           void* close_arg) KIV_NOEXCEPT {
  kiv::platform::WireAddress target;
  if (kivx_box_IsValid(box) == 0 || !find_target(host, port, target)) return -1;
  return on_live_box(box, -1, Wake::for_new_id("NewTcpClient"), [&](kiv_box& live) {
    return add_tcp_client(*live.raw, target,
                          {{on_connect, connect_arg},
                           {on_failure, failure_arg},
                           {on_read, read_arg},
                           {on_close, close_arg}});
  });
}

std::int32_t KIV_CALL kiv_box_NewUdpClient(kiv_box* box, const char* host, std::uint16_t port,
                                           zu_box_datagram_fn on_datagram,
                                           void* datagram_arg) KIV_NOEXCEPT {
  kiv::platform::WireAddress target;
  if (kivx_box_IsValid(box) == 0 || !find_target(host, port, target)) return -1;
  return on_live_box(box, -1, Wake::for_new_id("NewUdpClient"), [&](kiv_box& live) {
    return add_udp_client(*live.raw, {on_datagram, datagram_arg});
  });
}

std::int32_t KIV_CALL kiv_box_NewTcpServer(kiv_box* box, const char* local_ip, std::uint16_t port,
                                           zu_box_accept_fn on_accept,
                                           void* accept_arg) KIV_NOEXCEPT {
  return on_live_box(box, -1, Wake::for_new_id("NewTcpServer"), [&](kiv_box& live) {
    return zu_box_sock_AddLocalTcpServer(live.raw, local_ip, port, on_accept, accept_arg);
  });
}

std::int32_t KIV_CALL kiv_box_NewUdpServer(kiv_box* box, const char* local_ip, std::uint16_t port,
                                           zu_box_datagram_fn on_datagram,
                                           void* datagram_arg) KIV_NOEXCEPT {
  return on_live_box(box, -1, Wake::for_new_id("NewUdpServer"), [&](kiv_box& live) {
    return zu_box_sock_AddLocalUdpServer(live.raw, local_ip, port, on_datagram, datagram_arg);
  });
}

std::int32_t KIV_CALL kiv_box_AcceptTcpClient(kiv_box* box, std::int32_t socket,
                                              zu_box_read_fn on_read, void* read_arg,
                                              zu_box_socket_fn on_close,
                                              void* close_arg) KIV_NOEXCEPT {
  return on_live_box(box, -1, Wake::for_new_id("AcceptTcpClient"), [&](kiv_box& live) {
    return zu_box_sock_AddRemoteTcpClient(live.raw, socket, on_read, read_arg, on_close, close_arg);
  });
}

void KIV_CALL kiv_box_DeleteSock(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  on_live_box(box, 0, Wake::always("DeleteSock"), [=](kiv_box& live) {
    zu_box_sock_Delete(live.raw, socket);
    return 1;
  });
}

std::int32_t KIV_CALL kiv_box_GetNumSock(kiv_box* box) KIV_NOEXCEPT {
  return on_live_box(box, -1, kNoWake,
                     [](kiv_box& live) { return zu_box_sock_GetNumSock(live.raw); });
}

std::int32_t KIV_CALL kiv_box_GetThisSockId(kiv_box* box) KIV_NOEXCEPT {
  return on_live_box(box, -1, kNoWake,
                     [](kiv_box& live) { return zu_box_sock_GetThisId(live.raw); });
}

int KIV_CALL kiv_box_IsSockExist(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return on_live_box(box, 0, kNoWake,
                     [=](kiv_box& live) { return zu_box_sock_IsExist(live.raw, socket); });
}

int KIV_CALL kivx_box_SetMaxReadLen(kiv_box* box, std::int32_t socket,
                                    std::int32_t length) KIV_NOEXCEPT {
  return on_live_box(box, 0, Wake::always("SetMaxReadLen"), [=](kiv_box& live) {
    return zu_box_sock_SetMaxReadLen(live.raw, socket, length);
  });
}

std::int32_t KIV_CALL kiv_box_TcpWrite(kiv_box* box, std::int32_t socket, const void* data,
                                       std::int32_t length) KIV_NOEXCEPT {
  return on_live_box(box, -1, kNoWake, [=](kiv_box& live) {
    return zu_box_sock_TcpWrite(live.raw, socket, data, length);
  });
}

std::int32_t KIV_CALL kiv_box_UdpWrite(kiv_box* box, std::int32_t socket, const void* data,
                                       std::int32_t length, const char* ip,
                                       std::uint16_t port) KIV_NOEXCEPT {
  return on_live_box(box, -1, kNoWake, [=](kiv_box& live) {
    return zu_box_sock_UdpWriteByIp(live.raw, socket, data, length, ip, port);
  });
}

// The unlocked forms do not look at the box: it may be another thread's business by now.
std::int32_t KIV_CALL kivx_box_TcpWrite(kiv_box* box, std::int32_t socket, const void* data,
                                        std::int32_t length) KIV_NOEXCEPT {
  return box == nullptr ? -1 : zu_box_sock_TcpWrite(nullptr, socket, data, length);
}

std::int32_t KIV_CALL kivx_box_UdpWrite(kiv_box* box, std::int32_t socket, const void* data,
                                        std::int32_t length, const char* ip,
                                        std::uint16_t port) KIV_NOEXCEPT {
  return box == nullptr ? -1 : zu_box_sock_UdpWriteByIp(nullptr, socket, data, length, ip, port);
}

std::int32_t KIV_CALL kivx_box_TcpRead(kiv_box* box, std::int32_t socket, void* buffer,
                                       std::int32_t length) KIV_NOEXCEPT {
  if (box == nullptr || buffer == nullptr || length < 0) return -1;
  return kiv::platform::socket_receive(socket, buffer, length);
}

std::int32_t KIV_CALL kivx_box_UdpRead(kiv_box* box, std::int32_t socket, void* buffer,
                                       std::int32_t length, zu_sock_peer* from) KIV_NOEXCEPT {
  return box == nullptr ? -1 : zu_sock_read_ByAddr(socket, buffer, length, from);
}

int KIV_CALL kivx_box_ImportSockId_ForRead(kiv_box* box, std::int32_t socket, zu_event_fn callback,
                                           void* argument) KIV_NOEXCEPT {
  return on_live_box(box, 0, Wake::always("ImportSockId_ForRead"), [=](kiv_box& live) {
    return zu_box_sock_ImportSocketId_ForRead(live.raw, socket, callback, argument);
  });
}

int KIV_CALL kivx_box_ImportSockId_ForWrite(kiv_box* box, std::int32_t socket, zu_event_fn callback,
                                            void* argument) KIV_NOEXCEPT {
  return on_live_box(box, 0, Wake::always("ImportSockId_ForWrite"), [=](kiv_box& live) {
    return zu_box_sock_ImportSocketId_ForWrite(live.raw, socket, callback, argument);
  });
}

int KIV_CALL kivx_box_ImportSockId_ForExcept(kiv_box* box, std::int32_t socket,
                                             zu_event_fn callback, void* argument) KIV_NOEXCEPT {
  return on_live_box(box, 0, Wake::always("ImportSockId_ForExcept"), [=](kiv_box& live) {
    return zu_box_sock_ImportSocketId_ForExcept(live.raw, socket, callback, argument);
  });
}

int KIV_CALL kivx_box_ExportSockId(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return on_live_box(box, 0, Wake::always("ExportSockId"),
                     [=](kiv_box& live) { return zu_box_sock_ExportSocketId(live.raw, socket); });
}

int KIV_CALL kivx_box_ExportSockId_ForRead(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return on_live_box(box, 0, Wake::always("ExportSockId"), [=](kiv_box& live) {
    return zu_box_sock_ExportSocketId_ForRead(live.raw, socket);
  });
}

int KIV_CALL kivx_box_ExportSockId_ForWrite(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return on_live_box(box, 0, Wake::always("ExportSockId"), [=](kiv_box& live) {
    return zu_box_sock_ExportSocketId_ForWrite(live.raw, socket);
  });
}

int KIV_CALL kivx_box_ExportSockId_ForExcept(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return on_live_box(box, 0, Wake::always("ExportSockId"), [=](kiv_box& live) {
    return zu_box_sock_ExportSocketId_ForExcept(live.raw, socket);
  });
}

int KIV_CALL kivx_box_SetBacklog(kiv_box* box, std::int32_t listener,
                                 std::int32_t backlog) KIV_NOEXCEPT {
  return on_live_box(box, 0, kNoWake, [=](kiv_box& live) {
    return set_backlog(*live.raw, listener, backlog) ? 1 : 0;
  });
}
