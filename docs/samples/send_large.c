/* Sends more than the system buffers: writes what it takes now, and goes on when it takes more. */
#include <stdio.h>

#include "kiv_base.h"

enum { TOTAL = 4000000 };

static char bytes[TOTAL];
static kiv_box* box;
static int32_t sender = -1;
static int32_t sent;
static int32_t received;

/* Runs in every iteration in which the socket takes data, until there is nothing left to send. */
static void KIV_CALL on_writable(void* argument) {
  const int32_t count = kiv_box_TcpWrite(box, sender, bytes + sent, TOTAL - sent);
  (void)argument;
  if (count > 0) sent += count;
  if (sent == TOTAL) kivx_box_ExportSockId_ForWrite(box, sender);
}

static void KIV_CALL on_connect(void* handle, void* argument, int32_t socket) {
  (void)handle, (void)argument;
  sender = socket;
  kivx_box_ImportSockId_ForWrite(box, socket, on_writable, NULL);
}

static void KIV_CALL on_read(void* handle, void* argument, int32_t socket, char* data,
                             int32_t length) {
  (void)handle, (void)argument, (void)socket, (void)data;
  received += length;
  if (received == TOTAL) kiv_box_BreakLoop(box);
}

static void KIV_CALL on_end(void* handle, void* argument, int32_t socket) {
  (void)handle, (void)argument;
  kiv_box_DeleteSock(box, socket);
  kiv_box_BreakLoop(box);
}

static void KIV_CALL on_accept(void* handle, void* argument, int32_t listener, int32_t socket,
                               const char* peer_ip, uint16_t peer_port) {
  (void)handle, (void)argument, (void)listener, (void)peer_ip, (void)peer_port;
  kiv_box_AcceptTcpClient(box, socket, on_read, NULL, on_end, NULL);
}

int main(void) {
  uint16_t port = 24100;
  box = kiv_box_new();
  if (box == NULL) return 1;
  while (kiv_box_NewTcpServer(box, "127.0.0.1", port, on_accept, NULL) < 0) {
    if (++port == 0) return 1;
  }
  kiv_box_NewTcpClient(box, "127.0.0.1", port, on_connect, NULL, on_end, NULL, NULL, NULL, on_end,
                       NULL);
  kiv_box_loop(box);
  printf("%d bytes sent, %d received\n", (int)sent, (int)received);
  kiv_Shutdown();
  return 0;
}
