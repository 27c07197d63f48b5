// The client of a virtual connection: its life, attaching, writing and closing.
#include "protocol/uvc.h"

#include <cstring>

#include "base/owned.h"
#include "base/random.h"
#include "event/endpoint.h"
#include "event/ip_text.h"
#include "event/kiv_box_verbs.h"
#include "platform/socket.h"

namespace kiv::protocol::uv {
namespace {

using LockedClient = base::Locked<kiv_uvc>;

void delete_timer(const kiv_uvc& client, std::int32_t& timer) {
  if (timer > 0) event::delete_timer(client.link.box, timer);
  timer = 0;
}

void close(kiv_uvc& client) {
  if (client.state == ClientState::connected) {
    client.link.send_control(client.server(), Type::close, kNoCode, client.session);
  }
  client.state = ClientState::closed;
  release(client);
}

bool open_link(kiv_uvc& client, kiv_box* box, std::int32_t socket) {
  if (socket > 0) return client.link.open_given(box, socket, serve_client, &client);
  const std::int32_t made =
      event::add_udp_client(box, client.server_ip, client.server_port, {ignore_datagram});
  return client.link.open_own(box, made, serve_client, &client);
}

bool send_request(kiv_uvc& client) {
  if (!client.link.send_control(client.server(), Type::connect, kRequestCode, client.session)) {
    return false;
  }
  client.connect_timer =
      event::add_once_timer(client.link.box, kConnectTimeoutMs, {connect_timed_out, &client});
  return client.connect_timer > 0;
}

bool start(kiv_uvc& client, kiv_box* box, std::int32_t socket) {
  client.state = ClientState::connecting;
  client.sent_recently = client.peer_alive = 0;
  if (!base::random_text(client.session, kSession) || !open_link(client, box, socket)) return false;
  if (send_request(client)) return true;
  release(client);
  return false;
}

}  // namespace

void release(kiv_uvc& client) {
  delete_timer(client, client.connect_timer);
  delete_timer(client, client.keep_alive_timer);
  delete_timer(client, client.liveness_timer);
  client.link.close();
}

}  // namespace kiv::protocol::uv

using namespace kiv::protocol::uv;

kiv_uvc* KIV_CALL kiv_uvc_make() KIV_NOEXCEPT {
  auto client = kiv::base::make<kiv_uvc>();
  return client && kiv::base::insert_object(client.get()) ? client.release() : nullptr;
}

int KIV_CALL kivx_uvc_attach(kiv_box* box, kiv_uvc* client, int32_t socket, const char* host,
                             uint16_t port, kiv_uvc_fn on_connected, void* connected_arg,
                             kiv_uvc_fn on_failed, void* failed_arg, kiv_uvc_data_fn on_data,
                             void* data_arg, kiv_uvc_fn on_lost, void* lost_arg,
                             kiv_uvc_foreign_fn on_foreign, void* foreign_arg) KIV_NOEXCEPT {
  // The name is looked up before the lock, which all objects share.
  std::uint32_t address = 0;
  if (box == nullptr || !kiv::base::objects().contains(client) ||
      !kiv::event::find_address(host, address)) {
    return 0;
  }
  const LockedClient locked(client);
  if (!locked) return 0;
  close(*client);
  const kiv::event::IpText ip(kiv::platform::swap_order(address));
  std::memcpy(client->server_ip, ip.text, sizeof ip.text);
  client->server_address = address;
  client->server_port = port;
  client->on_connected = {on_connected, connected_arg};
  client->on_failed = {on_failed, failed_arg};
  client->on_data = {on_data, data_arg};
  client->on_lost = {on_lost, lost_arg};
  client->on_foreign = {on_foreign, foreign_arg};
  return start(*client, box, socket) ? 1 : 0;
}

int KIV_CALL kiv_uvc_attach(kiv_box* box, kiv_uvc* client, const char* host, uint16_t port,
                            kiv_uvc_fn on_connected, void* connected_arg, kiv_uvc_fn on_failed,
                            void* failed_arg, kiv_uvc_data_fn on_data, void* data_arg,
                            kiv_uvc_fn on_lost, void* lost_arg) KIV_NOEXCEPT {
  return kivx_uvc_attach(box, client, 0, host, port, on_connected, connected_arg, on_failed,
                         failed_arg, on_data, data_arg, on_lost, lost_arg, nullptr, nullptr);
}

int32_t KIV_CALL kiv_uvc_write(kiv_uvc* client, const void* bytes, int32_t length) KIV_NOEXCEPT {
  const LockedClient locked(client);
  if (!locked) return 0;
  const std::int32_t sent = client->link.send_data(client->server(), client->sent, bytes, length);
  if (sent > 0) client->sent_recently = 1;
  return sent;
}

int KIV_CALL kiv_uvc_close(kiv_uvc* client) KIV_NOEXCEPT {
  const LockedClient locked(client);
  if (!locked) return 0;
  close(*client);
  return 1;
}

int KIV_CALL kiv_uvc_free(kiv_uvc* client) KIV_NOEXCEPT {
  LockedClient locked(client);
  if (!locked) return 0;
  close(*client);
  kiv::base::objects().remove(client);
  kiv::base::destroy(client);
  return locked.unlock();
}
