#include <algorithm>

#include "kiv_base.h"

// A connection. It is read from or, while the socket is full, waits to send the rest: a peer that
// never reads cannot fill the memory.
struct Client {
  kiv_box* box;
  int32_t socket;
  char bytes[5120];  // a read callback gets no more
  int32_t length, sent;

  bool receive() { return kiv_box_AcceptTcpClient(box, socket, on_read, this, on_close, this) > 0; }
  bool send() {
    const int32_t count = kiv_box_TcpWrite(box, socket, bytes + sent, length - sent);
    sent += std::max(count, 0);
    return count > 0;
  }

  static void KIV_CALL on_read(void*, void* argument, int32_t, char* data, int32_t length) {
    auto* client = static_cast<Client*>(argument);
    std::copy_n(data, length, client->bytes);
    client->length = length;
    client->sent = 0;
    client->send();
    if (client->sent == length) return;
    kivx_box_ExportSockId(client->box, client->socket);
    kivx_box_ImportSockId_ForWrite(client->box, client->socket, on_writable, client);
  }
  static void KIV_CALL on_writable(void* argument) {
    auto* client = static_cast<Client*>(argument);
    if (client->send() && client->sent < client->length) return;
    // All is sent, or the connection is lost: reading goes on, and on_close is called.
    if (client->receive()) kivx_box_ExportSockId_ForWrite(client->box, client->socket);
  }
  static void KIV_CALL on_close(void* box, void* argument, int32_t socket) {
    kiv_box_DeleteSock(static_cast<kiv_box*>(box), socket);
    delete static_cast<Client*>(argument);
  }
};

static void KIV_CALL on_accept(void* box, void*, int32_t, int32_t socket, const char*, uint16_t) {
  auto* client = new Client{static_cast<kiv_box*>(box), socket, {}, 0, 0};
  if (!client->receive()) delete client;
}

int main() {
  kiv_box* box = kiv_box_new();
  kivx_box_SetFairRounds(box, 1);
  if (kiv_box_NewTcpServer(box, "127.0.0.1", 7007, on_accept, nullptr) < 0) return 1;
  kiv_box_loop(box);
}
