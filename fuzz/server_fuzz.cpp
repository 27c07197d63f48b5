// Bytes from a peer, read in pieces, into an HTTP server: it answers, closes or waits, and is told
// of the end. The first byte chooses the size of the pieces and what the callbacks do.
#include <cstdio>
#include <cstdlib>

#include "kiv_base/base.h"
#include "kiv_base/event.h"
#include "kiv_base/http.h"
#include "platform/socket.h"

namespace {

unsigned choice;
kiv_box* box;

void check(bool holds) {
  if (!holds) std::abort();
}

void KIV_CALL on_close(kiv_http_server* server, void*, std::int32_t socket) {
  kiv_http_server_DeleteClient(server, socket);
  kiv_http_server_free(server);
  kiv_box_BreakLoop(box);
}
void KIV_CALL on_request(kiv_http_server* server, void*, std::int32_t socket,
                         kiv_http_table* request, zu_jitter* body) {
  check(kiv_http_table_GetMethod(request) != nullptr && zu_jitter_GetLen(body) >= 0);
  _zu_free(kiv_http_table_GetHeaderStr(request));
  if ((choice & 64) != 0) on_close(server, nullptr, socket);
}
void KIV_CALL on_accept(kiv_http_server* server, void*, std::int32_t socket, const char*,
                        std::uint16_t) {
  check(kiv_http_server_AcceptClient(server, socket, on_request, nullptr, on_close, nullptr) == 1);
  kivx_box_SetMaxReadLen(box, socket, 1 + static_cast<std::int32_t>(choice % 64));
}

kiv_http_server* open_server(std::uint16_t& port) {
  static std::uint16_t next = 25000;
  kiv_http_server* const server = kiv_http_server_make();
  do {
    port = ++next < 31000 ? next : next = 25000;
  } while (kiv_http_server_attach(box, server, port, on_accept, nullptr) == 0);
  return server;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size < 1 || size > 4000) return 0;
  choice = data[0];
  box = kiv_box_new();
  std::uint16_t port = 0;
  open_server(port);
  const std::int32_t peer = kiv::platform::socket_open(kiv::platform::Transport::tcp);
  check(kiv::platform::socket_connect(peer, kiv::platform::wire_address(0x7f000001, port)) == 0);
  kiv::platform::socket_send(peer, data + 1, static_cast<std::int32_t>(size) - 1);
  kiv::platform::socket_close(peer);
  kiv_box_loop(box);  // until the close callback
  return 0;
}
