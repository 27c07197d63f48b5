/* A server and a client over UDP: the server sends back what comes. */
#include <stdio.h>

#include "kiv_base.h"

static kiv_box* box;

/* The server. The client meant is asked for in the callback itself. */
static int KIV_CALL on_server_data(kiv_uvs* server, void* argument, char* body, int32_t length) {
  (void)argument;
  return kiv_uvs_write(server, kiv_uvs_GetThisClientId(server), body, length);
}

static int KIV_CALL on_server_close(kiv_uvs* server, void* argument) {
  (void)argument;
  return kiv_uvs_DeleteClient(server, kiv_uvs_GetThisClientId(server));
}

static int KIV_CALL on_server_connect(kiv_uvs* server, void* argument, int32_t client,
                                      const char* client_ip, uint16_t client_port) {
  (void)argument, (void)client_port;
  printf("server: a client from %s\n", client_ip);
  return kiv_uvs_AcceptClient(server, client, on_server_data, NULL, on_server_close, NULL);
}

/* The client. */
static int KIV_CALL on_connected(kiv_uvc* client, void* argument) {
  (void)argument;
  return kiv_uvc_write(client, "hello", 5);
}

static int KIV_CALL on_data(kiv_uvc* client, void* argument, char* body, int32_t length) {
  (void)argument;
  printf("client: %d bytes came back: %s\n", (int)length, body);
  kiv_uvc_close(client);
  kiv_box_BreakLoop(box);
  return 1;
}

static int KIV_CALL on_end(kiv_uvc* client, void* argument) {
  (void)client, (void)argument;
  printf("client: no connection\n");
  kiv_box_BreakLoop(box);
  return 1;
}

int main(void) {
  uint16_t port = 24300;
  kiv_uvs* server;
  kiv_uvc* client;
  kiv_Setup();
  box = kiv_box_new();
  server = kiv_uvs_make();
  client = kiv_uvc_make();
  if (box == NULL || server == NULL || client == NULL) return 1;
  while (!kiv_uvs_attach(box, server, port, on_server_connect, NULL, NULL, NULL)) {
    if (++port == 0) return 1;
  }
  kiv_uvc_attach(box, client, "127.0.0.1", port, on_connected, NULL, on_end, NULL, on_data, NULL,
                 on_end, NULL);
  kiv_box_loop(box);
  kiv_uvc_free(client);
  kiv_uvs_free(server);
  kiv_Shutdown();
  return 0;
}
