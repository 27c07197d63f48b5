#include "kiv_base.h"

static void KIV_CALL on_read(void* box, void*, int32_t socket, char* data, int32_t length) {
  kiv_box_TcpWrite(static_cast<kiv_box*>(box), socket, data, length);
}
static void KIV_CALL on_close(void* box, void*, int32_t socket) {
  kiv_box_DeleteSock(static_cast<kiv_box*>(box), socket);
}
static void KIV_CALL on_accept(void* box, void*, int32_t, int32_t socket, const char*, uint16_t) {
  kiv_box_AcceptTcpClient(static_cast<kiv_box*>(box), socket, on_read, nullptr, on_close, nullptr);
}
int main() {
  kiv_box* box = kiv_box_new();
  if (kiv_box_NewTcpServer(box, "127.0.0.1", 7007, on_accept, nullptr) < 0) return 1;
  kiv_box_loop(box);
}
