#include "kiv_base.h"

static void KIV_CALL on_accept(void* box, void*, int32_t, int32_t socket, const char*, uint16_t) {
  auto* loop = static_cast<kiv_box*>(box);
  if (kiv_box_AcceptTcpClient(loop, socket, nullptr, nullptr, nullptr, nullptr) < 0) return;
  kiv_box_TcpWrite(loop, socket, "hello\n", 6);
  kiv_box_DeleteSock(loop, socket);
}

int main() {
  kiv_box* box = kiv_box_new();
  if (kiv_box_NewTcpServer(box, "127.0.0.1", 7007, on_accept, nullptr) < 0) return 1;
  kiv_box_loop(box);
}
