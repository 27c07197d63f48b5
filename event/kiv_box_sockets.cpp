// The sockets of a box for any thread.
#include "event/endpoint.h"
#include "event/kiv_box_verbs.h"
#include "platform/socket.h"

using namespace kiv::event;

std::int32_t KIV_CALL kiv_box_NewTcpClient(kiv_box* box, const char* host, std::uint16_t port,
                                           zu_box_socket_fn on_connect, void* connect_arg,
                                           zu_box_socket_fn on_failure, void* failure_arg,
                                           zu_box_read_fn on_read, void* read_arg,
                                           zu_box_socket_fn on_close,
                                           void* close_arg) KIV_NOEXCEPT {
  kiv::platform::WireAddress target;
  if (!is_live(box) || !find_target(host, port, target)) return -1;
  return connect(box, target,
                 {{on_connect, connect_arg},
                  {on_failure, failure_arg},
                  {on_read, read_arg},
                  {on_close, close_arg}});
}

std::int32_t KIV_CALL kiv_box_NewUdpClient(kiv_box* box, const char* host, std::uint16_t port,
                                           zu_box_datagram_fn on_datagram,
                                           void* datagram_arg) KIV_NOEXCEPT {
  return add_udp_client(box, host, port, {on_datagram, datagram_arg});
}

std::int32_t KIV_CALL kiv_box_NewTcpServer(kiv_box* box, const char* local_ip, std::uint16_t port,
                                           zu_box_accept_fn on_accept,
                                           void* accept_arg) KIV_NOEXCEPT {
  return add_tcp_server(box, local_ip, port, {on_accept, accept_arg});
}

std::int32_t KIV_CALL kiv_box_NewUdpServer(kiv_box* box, const char* local_ip, std::uint16_t port,
                                           zu_box_datagram_fn on_datagram,
                                           void* datagram_arg) KIV_NOEXCEPT {
  return add_udp_server(box, local_ip, port, {on_datagram, datagram_arg});
}

std::int32_t KIV_CALL kiv_box_AcceptTcpClient(kiv_box* box, std::int32_t socket,
                                              zu_box_read_fn on_read, void* read_arg,
                                              zu_box_socket_fn on_close,
                                              void* close_arg) KIV_NOEXCEPT {
  return adopt(box, socket, {on_read, read_arg}, {on_close, close_arg});
}

void KIV_CALL kiv_box_DeleteSock(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  delete_socket(box, socket);
}

std::int32_t KIV_CALL kiv_box_GetNumSock(kiv_box* box) KIV_NOEXCEPT {
  return on_raw_box(box, -1, kNoWake, zu_box_sock_GetNumSock);
}

std::int32_t KIV_CALL kiv_box_GetThisSockId(kiv_box* box) KIV_NOEXCEPT {
  return on_raw_box(box, -1, kNoWake, zu_box_sock_GetThisId);
}

int KIV_CALL kiv_box_IsSockExist(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return on_raw_box(box, 0, kNoWake, zu_box_sock_IsExist, socket);
}

int KIV_CALL kivx_box_SetMaxReadLen(kiv_box* box, std::int32_t socket,
                                    std::int32_t length) KIV_NOEXCEPT {
  return set_max_read(box, socket, length);
}

std::int32_t KIV_CALL kiv_box_TcpWrite(kiv_box* box, std::int32_t socket, const void* data,
                                       std::int32_t length) KIV_NOEXCEPT {
  return write(box, socket, data, length);
}

std::int32_t KIV_CALL kiv_box_UdpWrite(kiv_box* box, std::int32_t socket, const void* data,
                                       std::int32_t length, const char* ip,
                                       std::uint16_t port) KIV_NOEXCEPT {
  return write_to(box, socket, data, length, ip, port);
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
  return import_socket(box, socket, Kind::read, callback, argument);
}

int KIV_CALL kivx_box_ImportSockId_ForWrite(kiv_box* box, std::int32_t socket, zu_event_fn callback,
                                            void* argument) KIV_NOEXCEPT {
  return import_socket(box, socket, Kind::write, callback, argument);
}

int KIV_CALL kivx_box_ImportSockId_ForExcept(kiv_box* box, std::int32_t socket,
                                             zu_event_fn callback, void* argument) KIV_NOEXCEPT {
  return import_socket(box, socket, Kind::except, callback, argument);
}

int KIV_CALL kivx_box_ExportSockId(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return on_raw_box(box, 0, Wake::always("ExportSockId"), zu_box_sock_ExportSocketId, socket);
}

int KIV_CALL kivx_box_ExportSockId_ForRead(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return export_socket(box, socket, Kind::read);
}

int KIV_CALL kivx_box_ExportSockId_ForWrite(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return export_socket(box, socket, Kind::write);
}

int KIV_CALL kivx_box_ExportSockId_ForExcept(kiv_box* box, std::int32_t socket) KIV_NOEXCEPT {
  return export_socket(box, socket, Kind::except);
}

int KIV_CALL kivx_box_SetBacklog(kiv_box* box, std::int32_t listener,
                                 std::int32_t backlog) KIV_NOEXCEPT {
  return on_live_box(box, 0, kNoWake, [=](kiv_box& live) {
    return set_backlog(*live.raw, listener, backlog) ? 1 : 0;
  });
}
