// The big box: TCP clients distributed over threads (kiv_base/event.h). Callbacks receive the
// big box first; accept callbacks run on the master's thread, those of a client on the thread
// of its slave.
#ifndef KIV_BASE_CPP_BIGBOX_HPP
#define KIV_BASE_CPP_BIGBOX_HPP

#include "kiv_base/cpp/box.hpp"

namespace kiv {

class BigBoxRef;
using BigBox = Owner<BigBoxRef, kiv_bigbox_free>;

using OnBigSocket = Callback<SocketKind<BigBoxRef>>;
using OnBigRead = Callback<ReadKind<BigBoxRef>>;
using OnBigAccept = Callback<AcceptKind<BigBoxRef>>;

// Any thread may call, even after the big box is freed. False, -1, 0 and null are the failure
// values of the C functions.
class BigBoxRef : public Ref<kiv_bigbox> {
 public:
  using Ref::Ref;
  static BigBoxRef from(void* handle) noexcept { return static_cast<kiv_bigbox*>(handle); }

  // Returns null if out of memory, threads, ports or descriptors. Destroying a BigBox ends its
  // threads and does not wait for them: count the clients to know when their callbacks have ended.
  // It closes no client's socket.
  static BigBox make(std::int32_t slaves, std::int32_t max_clients) noexcept {
    return BigBox(kiv_bigbox_make(slaves, max_clients));
  }

  // Additions; see BoxRef. A posted function runs on the thread that serves the client.
  bool set_fair_rounds(bool on) const noexcept {
    return kivx_bigbox_SetFairRounds(object_, on ? 1 : 0) == 1;
  }
  bool set_backlog(SocketId listener, std::int32_t backlog) const noexcept {
    return kivx_bigbox_SetBacklog(object_, listener, backlog) == 1;
  }
  bool post(SocketId client, zu_box_post_fn function, void* argument,
            zu_event_fn release = nullptr) const noexcept {
    return kivx_bigbox_Post(object_, client, function, argument, release) == 1;
  }

  SocketId listen(TextRef local_ip, std::uint16_t port, OnBigAccept on_accept) const noexcept {
    return kiv_bigbox_attach(object_, local_ip.c_str(), port, on_accept.function(),
                             on_accept.argument());
  }
  // Makes a socket a client; if it returns false, the caller must still close the socket.
  bool accept(SocketId socket, TextRef peer_ip, std::uint16_t peer_port, OnBigRead on_read,
              OnBigSocket on_close) const noexcept {
    return kiv_bigbox_accept(object_, socket, peer_ip.c_str(), peer_port, on_read.function(),
                             on_read.argument(), on_close.function(), on_close.argument()) == 1;
  }
  std::int32_t write(SocketId socket, Data data) const noexcept {
    return kiv_bigbox_write(object_, socket, data.data(), data.size());
  }
  static std::int32_t write_unchecked(SocketId socket, Data data) noexcept {
    return kivx_bigbox_write(socket, data.data(), data.size());
  }

  // Streams, additions; see BoxRef.
  bool send(SocketId client, Data data) const noexcept {
    return kivx_bigbox_Send(object_, client, data.data(), data.size()) == 1;
  }
  bool send_pieces(SocketId client, std::span<const zu_sock_piece> pieces) const noexcept {
    return kivx_bigbox_SendPieces(object_, client, pieces.data(), piece_count(pieces)) == 1;
  }
  bool send_file(SocketId client, TextRef path, std::int64_t offset = 0,
                 std::int64_t length = -1) const noexcept {
    return kivx_bigbox_SendFile(object_, client, path.c_str(), offset, length) == 1;
  }
  std::int64_t queued(SocketId client) const noexcept {
    return kivx_bigbox_GetQueued(object_, client);
  }
  bool set_send_limit(SocketId client, std::int64_t limit,
                      OnBigSocket on_full = nullptr) const noexcept {
    return kivx_bigbox_SetSendLimit(object_, client, limit, on_full.function(),
                                    on_full.argument()) == 1;
  }
  bool set_drained(SocketId client, OnBigSocket on_drained) const noexcept {
    return kivx_bigbox_SetDrained(object_, client, on_drained.function(), on_drained.argument()) ==
           1;
  }
  bool shutdown(SocketId client) const noexcept {
    return kivx_bigbox_Shutdown(object_, client) == 1;
  }
  bool close_after_send(SocketId client, std::uint32_t limit_ms,
                        OnBigSocket on_closed = nullptr) const noexcept {
    return kivx_bigbox_CloseAfterSend(object_, client, limit_ms, on_closed.function(),
                                      on_closed.argument()) == 1;
  }
  bool set_idle_limit(SocketId client, std::uint32_t read_ms,
                      std::uint32_t write_ms) const noexcept {
    return kivx_bigbox_SetIdleLimit(object_, client, read_ms, write_ms) == 1;
  }
  bool pause_read(SocketId client) const noexcept {
    return kivx_bigbox_PauseRead(object_, client) == 1;
  }
  bool resume_read(SocketId client) const noexcept {
    return kivx_bigbox_ResumeRead(object_, client) == 1;
  }
  std::int32_t reason(SocketId client) const noexcept {
    return kivx_bigbox_GetReason(object_, client);
  }

  // Releases a client, whose socket stays open, or closes a listener.
  void remove(SocketId socket) const noexcept { kiv_bigbox_DeleteSock(object_, socket); }
  // Closes a socket that the big box has released or rejected: the master adopts it and removes it.
  // Returns false if the master cannot, and the socket is then still open.
  bool close_removed(SocketId socket) const noexcept {
    const BoxRef box = master();
    if (box.adopt(socket, nullptr, nullptr) < 1) return false;
    box.remove(socket);
    return true;
  }

  std::int32_t client_count() const noexcept { return kiv_bigbox_nnodes(object_); }
  BoxRef slave_of(SocketId socket) const noexcept {
    return kiv_bigbox_GetSlaveBox(object_, socket);
  }
  BoxRef master() const noexcept { return kiv_bigbox_GetMasterBox(object_); }
  // Returns false if the socket is not a client.
  bool peer(SocketId socket, Buffer ip, std::uint16_t& port) const noexcept {
    return kiv_bigbox_GetSockIP(object_, socket, ip.data(), ip.size(), &port) == 1;
  }
  // For callbacks on a slave's thread; 0 and null elsewhere.
  SocketId current_client() const noexcept { return kiv_bigbox_InvokeClientID(object_); }
  BoxRef current_slave() const noexcept { return kiv_bigbox_InvokeSlaveBox(object_); }

  // Wait for sockets that still belong to the caller.
  bool import_for_read(SocketId socket, OnBigRead on_read, OnBigSocket on_close) const noexcept {
    return kivx_bigbox_import_ForRead(object_, socket, on_read.function(), on_read.argument(),
                                      on_close.function(), on_close.argument()) == 1;
  }
  bool import_for_write(SocketId socket, OnBigSocket on_write) const noexcept {
    return kivx_bigbox_import_ForWrite(object_, socket, on_write.function(), on_write.argument()) ==
           1;
  }
  bool import_for_listen(SocketId socket, OnBigAccept on_accept) const noexcept {
    return kivx_bigbox_import_ForListen(object_, socket, on_accept.function(),
                                        on_accept.argument()) == 1;
  }
  bool export_for_read(SocketId socket) const noexcept {
    return kivx_bigbox_export_ForRead(object_, socket) == 1;
  }
  bool export_for_write(SocketId socket) const noexcept {
    return kivx_bigbox_export_ForWrite(object_, socket) == 1;
  }
  bool export_for_listen(SocketId socket) const noexcept {
    return kivx_bigbox_export_ForListen(object_, socket) == 1;
  }
};

}  // namespace kiv

#endif
