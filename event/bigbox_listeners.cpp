// The listening sockets of a big box, and who is let in.
#include <new>

#include "base/owned.h"
#include "event/bigbox_core.h"
#include "event/bigbox_registry.h"
#include "event/ip_text.h"
#include "platform/socket.h"
#include "platform/thread.h"

namespace kiv::event {
namespace {

base::Owned<Listener> make_listener(const char* local_ip, std::uint16_t port,
                                    const AcceptHandler& accept) {
  auto listener = base::Owned<Listener>::allocate();
  if (!listener) return listener;
  new (listener.get()) Listener;
  listener->local_ip = listener->text;
  zu_strncpy(listener->text, local_ip, sizeof listener->text - 1);
  listener->port = port;
  listener->accept = accept;
  return listener;
}

void forget(kiv_bigbox& big, Listener* listener) {
  zu_itree_delete(big.listeners, listener->socket);
  _zu_free(listener);
}

bool take_in(kiv_bigbox& big, base::Owned<Listener>& listener, std::int32_t socket) {
  // One that was closed behind the big box's back may have left its number.
  Listener* stale = find_listener(big, socket);
  if (stale != nullptr) forget(big, stale);
  listener->socket = socket;
  if (zu_itree_insert(big.listeners, socket, listener.get()) != 1) return false;
  (void)listener.release();
  return true;
}

bool import_listener(kiv_bigbox& big, std::int32_t socket, const AcceptHandler& accept) {
  platform::WireAddress local;
  // Accepting happens under the lock: a socket that waits would stop every big box.
  if (platform::socket_local_address(socket, &local) != 0 ||
      platform::socket_set_blocking(socket, false) != 0) {
    return false;
  }
  auto listener = make_listener("0.0.0.0", platform::swap_order(local.port), accept);
  if (!listener || !take_in(big, listener, socket)) return false;
  if (kivx_box_ImportSockId_ForRead(big.master, socket, dispatch_imported_listener, &big) == 1) {
    return true;
  }
  forget(big, find_listener(big, socket));
  return false;
}

// A big box made at the address of one just freed is not the one that the old master serves.
bool is_master_thread(const kiv_bigbox& big) {
  return kivx_box_GetThreadId(big.master) == platform::current_thread_id();
}

// Who gets the next connection of a listener; nobody when there are too many clients, or when the
// listener or the big box has just gone.
AcceptHandler receiver_of(kiv_bigbox* big, std::int32_t listener) {
  return on_live_bigbox(big, AcceptHandler{}, [=](kiv_bigbox& live) -> AcceptHandler {
    if (zu_itree_nnodes(live.clients) >= live.max_clients || !is_master_thread(live)) return {};
    const Listener* known = find_listener(live, listener);
    return known == nullptr ? AcceptHandler{} : known->accept;
  });
}

}  // namespace

void release_listener(kiv_box* master, Listener* listener) {
  kiv_box_DeleteSock(master, listener->socket);
  _zu_free(listener);
}

void KIV_CALL dispatch_new_connection(void*, void* argument, std::int32_t listener,
                                      std::int32_t socket, const char* peer_ip,
                                      std::uint16_t peer_port) {
  auto* big = static_cast<kiv_bigbox*>(argument);
  const AcceptHandler receiver = receiver_of(big, listener);
  if (receiver.callback == nullptr) {
    platform::socket_close(socket);
    return;
  }
  receiver(big, listener, socket, peer_ip, peer_port);
}

void KIV_CALL dispatch_imported_listener(void* argument) {
  auto* big = static_cast<kiv_bigbox*>(argument);
  std::int32_t listener = -1;
  platform::WireAddress peer;
  const std::int32_t socket = on_live_bigbox(big, -1, [&](kiv_bigbox& live) {
    listener = is_master_thread(live) ? kiv_box_GetThisSockId(live.master) : -1;
    return find_listener(live, listener) != nullptr ? platform::socket_accept(listener, &peer) : -1;
  });
  if (socket < 1) return;
  zu_sock_keep_alive(socket);
  dispatch_new_connection(nullptr, big, listener, socket, IpText(peer.address).text,
                          platform::swap_order(peer.port));
}

}  // namespace kiv::event

using namespace kiv;
using namespace kiv::event;

std::int32_t KIV_CALL kiv_bigbox_attach(kiv_bigbox* big, const char* local_ip, std::uint16_t port,
                                        zu_box_accept_fn on_accept, void* accept_arg) KIV_NOEXCEPT {
  if (on_accept == nullptr) return -1;
  return on_live_bigbox(big, -1, [=](kiv_bigbox& live) {
    auto listener = make_listener(local_ip, port, {on_accept, accept_arg});
    if (!listener) return -1;
    const std::int32_t socket =
        kiv_box_NewTcpServer(live.master, local_ip, port, dispatch_new_connection, &live);
    if (socket < 1) return -1;
    if (take_in(live, listener, socket)) return socket;
    kiv_box_DeleteSock(live.master, socket);
    return -1;
  });
}

int KIV_CALL kivx_bigbox_import_ForListen(kiv_bigbox* big, std::int32_t socket,
                                          zu_box_accept_fn on_accept,
                                          void* accept_arg) KIV_NOEXCEPT {
  if (socket < 1 || on_accept == nullptr) return 0;
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    const AcceptHandler accept{on_accept, accept_arg};
    Listener* known = find_listener(live, socket);
    if (known == nullptr) return import_listener(live, socket, accept) ? 1 : 0;
    known->accept = accept;
    return 1;
  });
}

int KIV_CALL kivx_bigbox_export_ForListen(kiv_bigbox* big, std::int32_t socket) KIV_NOEXCEPT {
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    Listener* listener = find_listener(live, socket);
    if (listener == nullptr) return 0;
    kivx_box_ExportSockId(live.master, socket);
    forget(live, listener);
    return 1;
  });
}
