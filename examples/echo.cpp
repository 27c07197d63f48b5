#include "kiv_base.h"

// Reading pauses while bytes wait to be sent back: a peer that never reads cannot fill the memory.
static void KIV_CALL on_read(void* handle, void*, int32_t socket, char* data, int32_t length) {
  auto* box = static_cast<kiv_box*>(handle);
  if (kivx_box_Send(box, socket, data, length) == 0) kiv_box_DeleteSock(box, socket);
  if (kivx_box_GetQueued(box, socket) > 0) kivx_box_PauseRead(box, socket);
}
static void KIV_CALL on_drained(void* box, void*, int32_t socket) {
  kivx_box_ResumeRead(static_cast<kiv_box*>(box), socket);
}
static void KIV_CALL on_close(void* box, void*, int32_t socket) {
  kivx_box_CloseAfterSend(static_cast<kiv_box*>(box), socket, 10000, nullptr, nullptr);
}

static void KIV_CALL on_accept(void* handle, void*, int32_t, int32_t socket, const char*,
                               uint16_t) {
  auto* box = static_cast<kiv_box*>(handle);
  if (kiv_box_AcceptTcpClient(box, socket, on_read, nullptr, on_close, nullptr) < 0) return;
  kivx_box_SetDrained(box, socket, on_drained, nullptr);
}

int main() {
  kiv_box* box = kiv_box_new();
  kivx_box_SetFairRounds(box, 1);
  if (kiv_box_NewTcpServer(box, "127.0.0.1", 7007, on_accept, nullptr) < 0) return 1;
  kiv_box_loop(box);
}
