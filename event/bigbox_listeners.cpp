// The listening sockets of a big box, and who is let in.
#include "base/owned.h"
#include "event/bigbox.h"
#include "event/ip_text.h"
#include "platform/socket.h"
#include "platform/thread.h"

namespace kiv::event {
namespace {

void forget(kiv_bigbox& big, Listener& listener) {
  big.listeners.erase(listener.socket);
  base::destroy(&listener);
}

bool take_in(kiv_bigbox& big, std::int32_t socket, const AcceptHandler& accept) {
  // One that was closed without the knowledge of the big box may have left its number.
  if (Listener* const stale = big.listeners.find(socket)) forget(big, *stale);
  auto listener = base::make<Listener>(socket, accept);
  if (!listener || !big.listeners.insert(socket, listener.get())) return false;
  (void)listener.release();
  return true;
}

// Who gets the next connection of a listener; nobody when there are too many clients, or when the
// listener or the big box has just gone: one made in the record of another is not the one that the
// old master serves.
AcceptHandler receiver_of(kiv_bigbox* big, std::int32_t listener) {
  return on_live_bigbox(big, AcceptHandler{}, [=](kiv_bigbox& live) -> AcceptHandler {
    if (live.clients.count() >= static_cast<std::uint32_t>(live.max_clients) ||
        live.master_thread != platform::current_thread_id()) {
      return {};
    }
    const Listener* const known = live.listeners.find(listener);
    return known == nullptr ? AcceptHandler{} : known->accept;
  });
}

void KIV_CALL let_in(void*, void* argument, std::int32_t listener, std::int32_t socket,
                     const char* peer_ip, std::uint16_t peer_port) {
  auto* const big = static_cast<kiv_bigbox*>(argument);
  const AcceptHandler receiver = receiver_of(big, listener);
  if (receiver.function == nullptr) {
    platform::socket_close(socket);
    return;
  }
  receiver(big, listener, socket, peer_ip, peer_port);
}

Served serve_imported_listener(zu_box& master, Socket& socket, Kind kind, base::Guard& guard) {
  socket.accept = {let_in, socket.wait(kind).user};
  return serve_accept(master, socket, kind, guard);
}

bool import_listener(kiv_bigbox& big, std::int32_t socket, const AcceptHandler& accept) {
  platform::WireAddress local;
  // Accepting happens under the lock of the master: a socket that blocks would stop its callers.
  if (platform::socket_local_address(socket, &local) != 0 ||
      platform::socket_set_blocking(socket, false) != 0 || !take_in(big, socket, accept)) {
    return false;
  }
  const int started = on_master(big, Wake::always("ImportSockId_ForRead"), [&](zu_box& raw) {
    return add_wait(raw, Kind::read, socket, {serve_imported_listener, nullptr, &big, true}) ? 1
                                                                                             : 0;
  });
  if (started != 1) forget(big, *big.listeners.find(socket));
  return started == 1;
}

}  // namespace

void delete_on_master(kiv_bigbox& big, std::int32_t socket) {
  on_master(big, Wake::always("DeleteSock"), [=](zu_box& raw) {
    zu_box_sock_Delete(&raw, socket);
    return 1;
  });
}

void release_listener(kiv_bigbox& big, Listener& listener) {
  delete_on_master(big, listener.socket);
  base::destroy(&listener);
}

}  // namespace kiv::event

using namespace kiv;
using namespace kiv::event;

std::int32_t KIV_CALL kiv_bigbox_attach(kiv_bigbox* big, const char* local_ip, std::uint16_t port,
                                        zu_box_accept_fn on_accept, void* accept_arg) KIV_NOEXCEPT {
  if (on_accept == nullptr) return -1;
  return on_live_bigbox(big, -1, [=](kiv_bigbox& live) {
    const std::int32_t socket = on_master(live, Wake::for_new_id("NewTcpServer"), [&](zu_box& raw) {
      return zu_box_sock_AddLocalTcpServer(&raw, local_ip, port, let_in, &live);
    });
    if (socket < 1) return -1;
    if (take_in(live, socket, {on_accept, accept_arg})) return socket;
    delete_on_master(live, socket);
    return -1;
  });
}

int KIV_CALL kivx_bigbox_import_ForListen(kiv_bigbox* big, std::int32_t socket,
                                          zu_box_accept_fn on_accept,
                                          void* accept_arg) KIV_NOEXCEPT {
  if (socket < 1 || on_accept == nullptr) return 0;
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    const AcceptHandler accept{on_accept, accept_arg};
    Listener* const known = live.listeners.find(socket);
    if (known == nullptr) return import_listener(live, socket, accept) ? 1 : 0;
    known->accept = accept;
    return 1;
  });
}

int KIV_CALL kivx_bigbox_export_ForListen(kiv_bigbox* big, std::int32_t socket) KIV_NOEXCEPT {
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    Listener* const listener = live.listeners.find(socket);
    if (listener == nullptr) return 0;
    on_master(live, Wake::always("ExportSockId"),
              [=](zu_box& raw) { return zu_box_sock_ExportSocketId(&raw, socket); });
    forget(live, *listener);
    return 1;
  });
}

int KIV_CALL kivx_bigbox_SetBacklog(kiv_bigbox* big, std::int32_t listener,
                                    std::int32_t backlog) KIV_NOEXCEPT {
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    if (live.listeners.find(listener) == nullptr) return 0;
    return on_master(live, kNoWake,
                     [=](zu_box& raw) { return set_backlog(raw, listener, backlog) ? 1 : 0; });
  });
}
