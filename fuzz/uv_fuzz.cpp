// Feeds datagrams to both ends of a virtual connection. The input is a row of pieces: a byte of
// choices, a byte of length, and so many bytes.
#include <sanitizer/lsan_interface.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "protocol/uvc.h"
#include "protocol/uvs.h"

namespace {

using namespace kiv::protocol::uv;

enum Choice : unsigned { to_client = 1, as_control = 2, from_other = 4, end_in_callback = 8 };

unsigned choice;

struct Port {
  std::int32_t socket;
  std::uint16_t port;
};

kiv_box* box;
Port near, other, server_port, client_port;

Port open_port() {
  static std::uint16_t next = 20000;
  for (;;) {
    const std::int32_t socket =
        kiv_box_NewUdpServer(box, "127.0.0.1", ++next, ignore_datagram, nullptr);
    if (socket > 0) return {socket, next};
  }
}

int KIV_CALL on_client(kiv_uvc* client, void*) {
  return (choice & end_in_callback) != 0 ? kiv_uvc_free(client) : 0;
}
int KIV_CALL on_client_data(kiv_uvc* client, void* user, char* data, std::int32_t length) {
  on_client(client, user);
  return data[length] == '\0' ? 0 : (std::abort(), 0);
}
int KIV_CALL on_client_foreign(kiv_uvc* client, void* user, const char*, std::uint16_t, char* data,
                               std::int32_t length) {
  return on_client_data(client, user, data, length);
}

int KIV_CALL on_close(kiv_uvs* server, void*) {
  if ((choice & end_in_callback) == 0) return 0;
  return kiv_uvs_DeleteClient(server, kiv_uvs_GetThisClientId(server));
}
int KIV_CALL on_data(kiv_uvs* server, void* user, char* data, std::int32_t length) {
  kiv_uvs_write(server, kiv_uvs_GetThisClientId(server), data, length);
  return on_close(server, user);
}
int KIV_CALL on_connect(kiv_uvs* server, void*, std::int32_t id, const char*, std::uint16_t) {
  return kiv_uvs_AcceptClient(server, id, on_data, nullptr, on_close, nullptr);
}

// A control datagram carries the text that the client has drawn, which no input could guess.
std::string datagram_of(const std::string& piece, const kiv_uvc& client) {
  if ((choice & as_control) == 0 || piece.empty()) return piece;
  return piece.substr(0, 1) + '\0' + std::string(client.session, kSession);
}

}  // namespace

// One box for all inputs, which never loops; the leak check cannot see into its packed tables.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  __lsan_disable();
  box = kiv_box_new();
  for (Port* each : {&near, &other, &server_port, &client_port}) *each = open_port();
  kivx_box_ExportSockId_ForRead(box, server_port.socket);
  kivx_box_ExportSockId_ForRead(box, client_port.socket);
  __lsan_enable();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  kiv_uvs* const server = kiv_uvs_make();
  kiv_uvc* const client = kiv_uvc_make();
  if (kivx_uvs_attach(box, server, server_port.socket, on_connect, {}, {}, {}) == 0 ||
      kivx_uvc_attach(box, client, client_port.socket, "127.0.0.1", near.port, on_client, {},
                      on_client, {}, on_client_data, {}, on_client, {}, on_client_foreign,
                      {}) == 0) {
    std::abort();
  }
  for (std::size_t at = 0; at + 2 < size && __kiv_sem_check(client) == 1;) {
    choice = static_cast<unsigned char>(data[at]);
    const std::size_t length =
        std::min<std::size_t>(static_cast<unsigned char>(data[at + 1]), size - at - 2);
    const std::string bytes = datagram_of(std::string(data + at + 2, length), *client);
    at += 2 + length;
    zu_sock_write_ByPeerIp((choice & from_other) != 0 ? other.socket : near.socket, bytes.data(),
                           static_cast<std::int32_t>(bytes.size()), "127.0.0.1",
                           (choice & to_client) != 0 ? client_port.port : server_port.port);
    serve_client(client);
    serve_peers(server);
  }
  kiv_uvc_free(client);
  kiv_uvs_free(server);
  char left[64];
  while (zu_sock_read_ByPeerIp(client_port.socket, left, sizeof left, nullptr, nullptr) >= 0) {
  }
  while (zu_sock_read_ByPeerIp(server_port.socket, left, sizeof left, nullptr, nullptr) >= 0) {
  }
  if (kiv_box_GetNumTimer(box) != 1) std::abort();
  return 0;
}
