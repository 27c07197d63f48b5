/* An echo server: reading pauses while bytes wait to be sent. */
#include <stdio.h>
#include <string.h>

#include "kiv_base.h"

enum { TOTAL = 4000000 };

static char bytes[TOTAL];
static kiv_box* box;
static int32_t sent, received;

static void KIV_CALL on_read(void* handle, void* argument, int32_t socket, char* data,
                             int32_t length) {
  (void)handle, (void)argument;
  if (kivx_box_Send(box, socket, data, length) == 0) kiv_box_DeleteSock(box, socket);
  if (kivx_box_GetQueued(box, socket) > 0) kivx_box_PauseRead(box, socket);
}

static void KIV_CALL on_drained(void* handle, void* argument, int32_t socket) {
  (void)handle, (void)argument;
  kivx_box_ResumeRead(box, socket);
}

static void KIV_CALL on_end(void* handle, void* argument, int32_t socket) {
  (void)handle, (void)argument;
  printf("server: %s\n", zu_sock_ReasonText(kivx_box_GetReason(box, socket)));
  kivx_box_CloseAfterSend(box, socket, 10000, NULL, NULL);
}

static void KIV_CALL on_accept(void* handle, void* argument, int32_t listener, int32_t socket,
                               const char* peer_ip, uint16_t peer_port) {
  (void)handle, (void)argument, (void)listener, (void)peer_ip, (void)peer_port;
  if (kiv_box_AcceptTcpClient(box, socket, on_read, NULL, on_end, NULL) < 0) return;
  kivx_box_SetDrained(box, socket, on_drained, NULL);
}

/* The client sends all of it at once, and then nothing more. */
static void KIV_CALL on_connect(void* handle, void* argument, int32_t socket) {
  (void)handle, (void)argument;
  kivx_box_SetSendLimit(box, socket, TOTAL, NULL, NULL);
  if (kivx_box_Send(box, socket, bytes, TOTAL) == 1) sent = TOTAL;
  kivx_box_Shutdown(box, socket);
}

static void KIV_CALL on_echo(void* handle, void* argument, int32_t socket, char* data,
                             int32_t length) {
  (void)handle, (void)argument, (void)socket;
  if (memcmp(data, bytes + received, (size_t)length) == 0) received += length;
}

static void KIV_CALL on_client_end(void* handle, void* argument, int32_t socket) {
  (void)handle, (void)argument;
  printf("client: %s\n", zu_sock_ReasonText(kivx_box_GetReason(box, socket)));
  kiv_box_BreakLoop(box);
}

int main(void) {
  uint16_t port = 0;
  int32_t i;
  box = kiv_box_new();
  if (box == NULL) return 1;
  for (i = 0; i < TOTAL; ++i) bytes[i] = (char)(i * 7 / 3);
  if (zu_sock_GetLocal(kiv_box_NewTcpServer(box, "127.0.0.1", 0, on_accept, NULL), NULL, 0,
                       &port) == 0) {
    return 1;
  }
  kiv_box_NewTcpClient(box, "127.0.0.1", port, on_connect, NULL, on_client_end, NULL, on_echo, NULL,
                       on_client_end, NULL);
  kiv_box_loop(box);
  printf("%d bytes sent, %d came back\n", (int)sent, (int)received);
  kiv_Shutdown();
  return 0;
}
