// Boxes: sockets and timers served by a loop. The contracts are those of the C functions that are
// called (kiv_base/event.h); ids are -1 and other results false where C returns -1 and 0.
//
//   struct Echo {
//     void on_accept(kiv::BoxRef box, kiv::SocketId, kiv::SocketId socket, kiv::TextRef, uint16_t)
//     {
//       box.adopt(socket, kiv::bind<&Echo::on_read>(*this), kiv::bind<&Echo::on_close>(*this));
//     }
//     void on_read(kiv::BoxRef box, kiv::SocketId socket, kiv::Buffer data) {
//       box.write(socket, data);
//     }
//     void on_close(kiv::BoxRef box, kiv::SocketId socket) { box.remove(socket); }
//   } echo;
//   auto box = kiv::Box::make();
//   if (box.listen("127.0.0.1", 7007, kiv::bind<&Echo::on_accept>(echo)) > 0) box.loop();
#ifndef KIV_BASE_CPP_BOX_HPP
#define KIV_BASE_CPP_BOX_HPP

#include <cstdint>
#include <span>

#include "kiv_base/cpp/callback.hpp"
#include "kiv_base/cpp/text.hpp"
#include "kiv_base/event.h"
#include "kiv_base/streams.h"

namespace kiv {

using SocketId = std::int32_t;
using TimerId = std::int32_t;
using Peer = zu_sock_peer;

class BoxRef;

// ---- Callbacks of a box and of a big box; `Owning` is BoxRef or BigBoxRef --------------------

// Connected; could not connect; closed by the peer; writable. To close the socket, a callback
// removes it from its box, and never closes it by other means.
template <typename Owning>
struct SocketKind {
  using Function = zu_box_socket_fn;
  using Signature = void(Owning, SocketId);
  template <typename Call>
  static void KIV_CALL call(void* box, void* argument, std::int32_t socket) noexcept {
    Call::on(argument, Owning::from(box), socket);
  }
};

// The bytes are valid during the call, with a NUL after them.
template <typename Owning>
struct ReadKind {
  using Function = zu_box_read_fn;
  using Signature = void(Owning, SocketId, Buffer);
  template <typename Call>
  static void KIV_CALL call(void* box, void* argument, std::int32_t socket, char* data,
                            std::int32_t length) noexcept {
    Call::on(argument, Owning::from(box), socket, Buffer(data, length));
  }
};

// Listener, new socket, and its peer. The new socket belongs to no box: adopt it or close it.
template <typename Owning>
struct AcceptKind {
  using Function = zu_box_accept_fn;
  using Signature = void(Owning, SocketId, SocketId, TextRef, std::uint16_t);
  template <typename Call>
  static void KIV_CALL call(void* box, void* argument, std::int32_t listener, std::int32_t socket,
                            const char* peer_ip, std::uint16_t peer_port) noexcept {
    Call::on(argument, Owning::from(box), listener, socket, TextRef(peer_ip), peer_port);
  }
};

template <typename Owning = BoxRef>
struct DatagramKind {
  using Function = zu_box_datagram_fn;
  using Signature = void(Owning, SocketId, Buffer, Peer&);
  template <typename Call>
  static void KIV_CALL call(void* box, void* argument, std::int32_t socket, char* data,
                            std::int32_t length, zu_sock_peer* from) noexcept {
    Call::on(argument, Owning::from(box), socket, Buffer(data, length), *from);
  }
};

// `times_fired` includes this firing.
template <typename Owning = BoxRef>
struct TimerKind {
  using Function = zu_box_timer_fn;
  using Signature = void(Owning, TimerId, std::int32_t);
  template <typename Call>
  static void KIV_CALL call(void* box, void* argument, std::int32_t timer,
                            std::int32_t times_fired) noexcept {
    Call::on(argument, Owning::from(box), timer, times_fired);
  }
};

// A socket that still belongs to the caller is ready.
struct ReadyKind {
  using Function = zu_event_fn;
  using Signature = void();
  template <typename Call>
  static void KIV_CALL call(void* argument) noexcept {
    Call::on(argument);
  }
};

// What no interface can count is refused.
inline std::int32_t piece_count(std::span<const zu_sock_piece> pieces) noexcept {
  return Buffer::narrow(pieces.size());
}

using OnSocket = Callback<SocketKind<BoxRef>>;
using OnRead = Callback<ReadKind<BoxRef>>;
using OnAccept = Callback<AcceptKind<BoxRef>>;
using OnDatagram = Callback<DatagramKind<>>;
using OnTimer = Callback<TimerKind<>>;
using OnReady = Callback<ReadyKind>;

// The callbacks of a connection that a box opens.
//
//   box.connect("example.org", 80, {.on_connect = greet, .on_read = kiv::bind<&Me::hear>(me)});
//   box.connect("example.org", 80, kiv::ClientCallbacks::of(me));
struct ClientCallbacks {
  OnSocket on_connect = {};
  OnSocket on_failure = {};
  OnRead on_read = {};
  OnSocket on_close = {};

  // Binds the handler's public members of these names: one function each, none missing.
  template <typename Handler>
  static constexpr ClientCallbacks of(Handler& handler) noexcept {
    ClientCallbacks callbacks;
    callbacks.on_connect = bind<&Handler::on_connect>(handler);
    callbacks.on_failure = bind<&Handler::on_failure>(handler);
    callbacks.on_read = bind<&Handler::on_read>(handler);
    callbacks.on_close = bind<&Handler::on_close>(handler);
    return callbacks;
  }
};

// ---- Boxes --------------------------------------------------------------------------------------

// Any thread may call, even after the box is freed: the C functions check the handle. The functions
// with `_unchecked` do not, and are for callbacks on the box's own thread.
class BoxRef : public Ref<kiv_box> {
 public:
  using Ref::Ref;
  static BoxRef from(void* handle) noexcept { return static_cast<kiv_box*>(handle); }

  bool is_live() const noexcept { return kivx_box_IsValid(object_) == 1; }
  std::int32_t thread_id() const noexcept { return kivx_box_GetThreadId(object_); }
  void break_loop() const noexcept { kiv_box_BreakLoop(object_); }

  // Additions: fair rounds instead of the default order; more sockets than 1024; a longer backlog;
  // posting a function to the loop's thread, with one that releases its argument if it never runs.
  bool set_fair_rounds(bool on) const noexcept {
    return kivx_box_SetFairRounds(object_, on ? 1 : 0) == 1;
  }
  bool set_capacity(std::int32_t count) const noexcept {
    return kivx_box_SetCapacity(object_, count) == 1;
  }
  bool set_backlog(SocketId listener, std::int32_t backlog) const noexcept {
    return kivx_box_SetBacklog(object_, listener, backlog) == 1;
  }
  bool post(zu_box_post_fn function, void* argument, zu_event_fn release = nullptr) const noexcept {
    return kivx_box_Post(object_, function, argument, release) == 1;
  }

  // Sockets.
  SocketId connect(TextRef host, std::uint16_t port, const ClientCallbacks& calls) const noexcept {
    return kiv_box_NewTcpClient(
        object_, host.c_str(), port, calls.on_connect.function(), calls.on_connect.argument(),
        calls.on_failure.function(), calls.on_failure.argument(), calls.on_read.function(),
        calls.on_read.argument(), calls.on_close.function(), calls.on_close.argument());
  }
  SocketId listen(TextRef local_ip, std::uint16_t port, OnAccept on_accept) const noexcept {
    return kiv_box_NewTcpServer(object_, local_ip.c_str(), port, on_accept.function(),
                                on_accept.argument());
  }
  // Adopts a connected socket, which the box then owns. Returns -1 on failure; the caller
  // still owns it.
  SocketId adopt(SocketId socket, OnRead on_read, OnSocket on_close) const noexcept {
    return kiv_box_AcceptTcpClient(object_, socket, on_read.function(), on_read.argument(),
                                   on_close.function(), on_close.argument());
  }
  SocketId open_udp(TextRef host, std::uint16_t port, OnDatagram on_datagram) const noexcept {
    return kiv_box_NewUdpClient(object_, host.c_str(), port, on_datagram.function(),
                                on_datagram.argument());
  }
  SocketId listen_udp(TextRef local_ip, std::uint16_t port, OnDatagram on_datagram) const noexcept {
    return kiv_box_NewUdpServer(object_, local_ip.c_str(), port, on_datagram.function(),
                                on_datagram.argument());
  }
  // Closes a socket of the box; the only way to do so.
  void remove(SocketId socket) const noexcept { kiv_box_DeleteSock(object_, socket); }
  bool has_socket(SocketId socket) const noexcept {
    return kiv_box_IsSockExist(object_, socket) == 1;
  }
  std::int32_t socket_count() const noexcept { return kiv_box_GetNumSock(object_); }
  SocketId current_socket() const noexcept { return kiv_box_GetThisSockId(object_); }
  bool set_max_read(SocketId socket, std::int32_t length) const noexcept {
    return kivx_box_SetMaxReadLen(object_, socket, length) == 1;
  }

  // Returns the number of bytes sent, which may be smaller than requested; -1 on failure, also if
  // the system's buffer is full.
  std::int32_t write(SocketId socket, Data data) const noexcept {
    return kiv_box_TcpWrite(object_, socket, data.data(), data.size());
  }
  std::int32_t write_to(SocketId socket, Data data, TextRef ip, std::uint16_t port) const noexcept {
    return kiv_box_UdpWrite(object_, socket, data.data(), data.size(), ip.c_str(), port);
  }
  std::int32_t write_unchecked(SocketId socket, Data data) const noexcept {
    return kivx_box_TcpWrite(object_, socket, data.data(), data.size());
  }
  std::int32_t write_to_unchecked(SocketId socket, Data data, TextRef ip,
                                  std::uint16_t port) const noexcept {
    return kivx_box_UdpWrite(object_, socket, data.data(), data.size(), ip.c_str(), port);
  }
  std::int32_t read_unchecked(SocketId socket, Buffer to) const noexcept {
    return kivx_box_TcpRead(object_, socket, to.data(), to.size());
  }
  std::int32_t read_from_unchecked(SocketId socket, Buffer to, Peer& from) const noexcept {
    return kivx_box_UdpRead(object_, socket, to.data(), to.size(), &from);
  }

  // Streams, additions (kiv_base/streams.h): all bytes or none, sent at once or queued; pausing;
  // and ends that lose nothing.
  bool send(SocketId socket, Data data) const noexcept {
    return kivx_box_Send(object_, socket, data.data(), data.size()) == 1;
  }
  bool send_pieces(SocketId socket, std::span<const zu_sock_piece> pieces) const noexcept {
    return kivx_box_SendPieces(object_, socket, pieces.data(), piece_count(pieces)) == 1;
  }
  bool send_file(SocketId socket, TextRef path, std::int64_t offset = 0,
                 std::int64_t length = -1) const noexcept {
    return kivx_box_SendFile(object_, socket, path.c_str(), offset, length) == 1;
  }
  std::int64_t queued(SocketId socket) const noexcept {
    return kivx_box_GetQueued(object_, socket);
  }
  bool set_send_limit(SocketId socket, std::int64_t limit,
                      OnSocket on_full = nullptr) const noexcept {
    return kivx_box_SetSendLimit(object_, socket, limit, on_full.function(), on_full.argument()) ==
           1;
  }
  bool set_drained(SocketId socket, OnSocket on_drained) const noexcept {
    return kivx_box_SetDrained(object_, socket, on_drained.function(), on_drained.argument()) == 1;
  }
  bool shutdown(SocketId socket) const noexcept { return kivx_box_Shutdown(object_, socket) == 1; }
  bool close_after_send(SocketId socket, std::uint32_t limit_ms,
                        OnSocket on_closed = nullptr) const noexcept {
    return kivx_box_CloseAfterSend(object_, socket, limit_ms, on_closed.function(),
                                   on_closed.argument()) == 1;
  }
  bool set_connect_limit(SocketId socket, std::uint32_t limit_ms) const noexcept {
    return kivx_box_SetConnectLimit(object_, socket, limit_ms) == 1;
  }
  bool set_idle_limit(SocketId socket, std::uint32_t read_ms,
                      std::uint32_t write_ms) const noexcept {
    return kivx_box_SetIdleLimit(object_, socket, read_ms, write_ms) == 1;
  }
  bool pause_read(SocketId socket) const noexcept {
    return kivx_box_PauseRead(object_, socket) == 1;
  }
  bool resume_read(SocketId socket) const noexcept {
    return kivx_box_ResumeRead(object_, socket) == 1;
  }
  // Within a failure, close or closed callback.
  std::int32_t reason(SocketId socket) const noexcept {
    return kivx_box_GetReason(object_, socket);
  }

  // Wait for a socket that still belongs to the caller, and give one away without closing it.
  bool import_for_read(SocketId socket, OnReady on_ready) const noexcept {
    return kivx_box_ImportSockId_ForRead(object_, socket, on_ready.function(),
                                         on_ready.argument()) == 1;
  }
  bool import_for_write(SocketId socket, OnReady on_ready) const noexcept {
    return kivx_box_ImportSockId_ForWrite(object_, socket, on_ready.function(),
                                          on_ready.argument()) == 1;
  }
  bool import_for_except(SocketId socket, OnReady on_ready) const noexcept {
    return kivx_box_ImportSockId_ForExcept(object_, socket, on_ready.function(),
                                           on_ready.argument()) == 1;
  }
  bool export_socket(SocketId socket) const noexcept {
    return kivx_box_ExportSockId(object_, socket) == 1;
  }
  bool export_for_read(SocketId socket) const noexcept {
    return kivx_box_ExportSockId_ForRead(object_, socket) == 1;
  }
  bool export_for_write(SocketId socket) const noexcept {
    return kivx_box_ExportSockId_ForWrite(object_, socket) == 1;
  }
  bool export_for_except(SocketId socket) const noexcept {
    return kivx_box_ExportSockId_ForExcept(object_, socket) == 1;
  }

  // Timers. A timer that has fired for the last time keeps its id until it is removed.
  TimerId once(std::uint32_t interval_ms, OnTimer on_timer) const noexcept {
    return kiv_box_NewOnceTimer(object_, interval_ms, on_timer.function(), on_timer.argument());
  }
  TimerId every(std::uint32_t interval_ms, OnTimer on_timer) const noexcept {
    return kiv_box_NewLoopTimer(object_, interval_ms, on_timer.function(), on_timer.argument());
  }
  TimerId repeat(std::int32_t limit, std::uint32_t interval_ms, OnTimer on_timer) const noexcept {
    return kiv_box_NewLimitTimer(object_, limit, interval_ms, on_timer.function(),
                                 on_timer.argument());
  }
  bool put_off_timer(TimerId timer, std::uint32_t interval_ms) const noexcept {
    return kiv_box_RefreshTimeout(object_, timer, interval_ms) == 1;
  }
  bool set_timer_callback(TimerId timer, OnTimer on_timer) const noexcept {
    return kiv_box_RefreshCallback(object_, timer, on_timer.function(), on_timer.argument()) == 1;
  }
  void remove_timer(TimerId timer) const noexcept { kiv_box_DeleteTimer(object_, timer); }
  bool has_timer(TimerId timer) const noexcept { return kiv_box_IsTimerExist(object_, timer) == 1; }
  std::int32_t timer_count() const noexcept { return kiv_box_GetNumTimer(object_); }
  TimerId current_timer() const noexcept { return kiv_box_GetThisTimerId(object_); }
};

// A box that this thread creates and runs. Destroying it frees the box immediately on the owner's
// thread; on another thread it only stops the loop, so a box whose loop is never run is not freed.
class Box : public Owner<BoxRef, kiv_box_free> {
 public:
  using Owner::Owner;
  // Returns null if out of memory or ports.
  static Box make() noexcept { return Box(kiv_box_new()); }

  // Runs the loop until it is stopped; the box is then freed and this object null. Do not move
  // this object meanwhile: callbacks stop the loop, and must neither destroy the object nor
  // run it again.
  void loop() noexcept {
    kiv_box_loop(object_);
    (void)release();
  }
};

// A box on its own thread, whose loop runs from the start. Destroying it stops the loop and does
// not wait: callbacks may still run for a moment. Call join() before destroying what they use.
class ThreadBox : public Owner<BoxRef, kivx_ThreadBox_destroy> {
 public:
  using Owner::Owner;
  // Returns null if the thread or the box cannot be created.
  static ThreadBox make() noexcept { return ThreadBox(kivx_ThreadBox_create()); }

  // Ends the box and blocks, unless called on the box's own thread, until none of its callbacks is
  // running. A callback that frees the box itself (kiv_box_free) is not waited for.
  void join() noexcept {
    const BoxRef box = get();
    const std::int32_t thread = box.thread_id();
    reset();
    // Compares the thread too, since another box may get the same address.
    while (thread > 0 && box.thread_id() == thread) zu_sleep(1);
  }
};

}  // namespace kiv

#endif
