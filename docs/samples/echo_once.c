/* A server and its client in one loop: the client sends a line, the server sends it back. */
#include <stdio.h>
#include <string.h>

#include "kiv_base.h"

/* The server's end of a connection. */
static void KIV_CALL on_server_read(void* box, void* argument, int32_t socket, char* data,
                                    int32_t length) {
  (void)argument;
  kiv_box_TcpWrite((kiv_box*)box, socket, data, length);
}

static void KIV_CALL on_server_close(void* box, void* argument, int32_t socket) {
  (void)argument;
  kiv_box_DeleteSock((kiv_box*)box, socket);
}

static void KIV_CALL on_accept(void* box, void* argument, int32_t listener, int32_t socket,
                               const char* peer_ip, uint16_t peer_port) {
  int32_t adopted;
  (void)argument, (void)listener, (void)peer_port;
  printf("server: a client from %s\n", peer_ip);
  adopted =
      kiv_box_AcceptTcpClient((kiv_box*)box, socket, on_server_read, NULL, on_server_close, NULL);
  if (adopted < 0) {
    printf("server: no room for it\n");
    kiv_box_BreakLoop((kiv_box*)box);
  }
}

/* The client's end. */
static void KIV_CALL on_connect(void* box, void* argument, int32_t socket) {
  const char* const text = (const char*)argument;
  kiv_box_TcpWrite((kiv_box*)box, socket, text, (int32_t)strlen(text));
}

static void KIV_CALL on_failure(void* box, void* argument, int32_t socket) {
  (void)argument, (void)socket;
  printf("client: no connection\n");
  kiv_box_BreakLoop((kiv_box*)box);
}

static void KIV_CALL on_client_read(void* box, void* argument, int32_t socket, char* data,
                                    int32_t length) {
  (void)argument;
  printf("client: %d bytes came back: %s\n", (int)length, data);
  kiv_box_DeleteSock((kiv_box*)box, socket);
  kiv_box_BreakLoop((kiv_box*)box);
}

static void KIV_CALL on_time_up(void* box, void* argument, int32_t timer, int32_t times_fired) {
  (void)argument, (void)timer, (void)times_fired;
  printf("nothing came back\n");
  kiv_box_BreakLoop((kiv_box*)box);
}

int main(void) {
  static char text[] = "hello";
  uint16_t port = 24000;
  kiv_box* box;
  kiv_Setup();
  box = kiv_box_new();
  if (box == NULL) return 1;
  while (kiv_box_NewTcpServer(box, "127.0.0.1", port, on_accept, NULL) < 0) {
    if (++port == 0) return 1;
  }
  kiv_box_NewTcpClient(box, "127.0.0.1", port, on_connect, text, on_failure, NULL, on_client_read,
                       NULL, on_failure, NULL);
  kiv_box_NewOnceTimer(box, 30000, on_time_up, NULL);
  kiv_box_loop(box); /* until BreakLoop; frees the box with all it has */
  kiv_Shutdown();
  return 0;
}
